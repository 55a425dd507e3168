// compare_libraries OLD.so NEW.so [SEED] [CASES]
//
// Loads two builds of the shared library side by side and makes the same long
// random sequence of entry-point calls on both: tone setups with random curve
// files and parameter strings, loads of random pattern banks, BMP matrices and
// threshold blocks, banded jobs of every screen in NEW's registry (any width,
// 0-12 planes, bands of any height, junk in the control word's unread bits,
// clock seconds pinned), whole-page entries and utilities with random tone
// tables, pacing. Every call's result, output (with guard bytes before and
// after it) and source must be the same in both; the first ten differences
// are reported with the calls that made them, exit status 1. The two builds keep
// their own state, so carried lines, generators and stores run on in each.
#include <dlfcn.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "halftone/halftone.h"
#include "support/entry_points.h"
#include "support/split_mix.h"

namespace {

using Bytes = std::vector<unsigned char>;

// Everything one call of any entry point takes.
struct Call {
  unsigned char* source = nullptr;
  unsigned char* dots = nullptr;
  std::int64_t width = 0, height = 0;  // cast to each entry's own types
  std::uint32_t control = 0;
  unsigned char* byte_table = nullptr;
  int* int_table = nullptr;
  const char* text = nullptr;  // a file name or a parameter string
  int mode = 0;
  bool kept_pointer = true;  // the reference utilities leave `dots` as it is
};
using Caller = std::function<int(Call&)>;

template <class W, class H>
Caller caller(int (*f)(unsigned char*, unsigned char*, W, H, unsigned) noexcept) {
  return [f](Call& c) {
    return f(c.source, c.dots, static_cast<W>(c.width), static_cast<H>(c.height), c.control);
  };
}
Caller caller(int (*f)(unsigned char*, unsigned char*, unsigned, unsigned) noexcept) {
  return [f](Call& c) {
    return f(c.source, c.dots, static_cast<unsigned>(c.width), static_cast<unsigned>(c.height));
  };
}
Caller caller(int (*f)(unsigned char*, unsigned char*, unsigned, unsigned,
                       unsigned char*) noexcept) {
  return [f](Call& c) {
    return f(c.source, c.dots, static_cast<unsigned>(c.width), static_cast<unsigned>(c.height),
             c.byte_table);
  };
}
Caller caller(int (*f)(unsigned char*, unsigned char*, int, int, int*, unsigned char*) noexcept) {
  return [f](Call& c) {
    return f(c.source, c.dots, static_cast<int>(c.width), static_cast<int>(c.height), c.int_table,
             nullptr);
  };
}
Caller caller(int (*f)(unsigned char*, unsigned char*&, int, int, int*, unsigned char*) noexcept) {
  return [f](Call& c) {
    unsigned char* dots = c.dots;
    const int r = f(c.source, dots, static_cast<int>(c.width), static_cast<int>(c.height),
                    c.int_table, nullptr);
    c.kept_pointer = dots == c.dots;
    return r;
  };
}
Caller caller(int (*f)(char const*, int, int) noexcept) {
  return [f](Call& c) { return f(c.text, static_cast<int>(c.width), static_cast<int>(c.height)); };
}
Caller caller(int (*f)(int, char const*) noexcept) {
  return [f](Call& c) { return f(c.mode, c.text); };
}
Caller caller(int (*f)(unsigned) noexcept) {
  return [f](Call& c) { return f(c.control); };
}
Caller caller(int (*f)() noexcept) {
  return [f](Call&) { return f(); };
}

struct Library {
  void* handle = nullptr;
  std::map<std::string, Caller> entries;
  void (*pin_seed_time)(std::uint32_t) noexcept = nullptr;
  void (*set_data_folder)(char const*) noexcept = nullptr;
  // The registry, where the build has one.
  decltype(&halftone_screen_count) screen_count = nullptr;
  decltype(&halftone_screen_info_at) screen_info_at = nullptr;

  template <class F>
  F* find(std::string const& symbol) {
    return reinterpret_cast<F*>(dlsym(handle, symbol.c_str()));
  }

  bool open(std::string const& file) {
    handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
      std::fprintf(stderr, "compare_libraries: %s\n", dlerror());
      return false;
    }
    using halftone::test::decorated;
    bool all = true;
#define RESOLVE(name)                                                   \
  if (auto* f = find<decltype(name)>(decorated<decltype(name)>(#name))) \
    entries[#name] = caller(f);                                         \
  else                                                                  \
    all = false, std::fprintf(stderr, "compare_libraries: %s has no %s\n", file.c_str(), #name);
    HALFTONE_ENTRY_POINTS(RESOLVE)
#undef RESOLVE
    pin_seed_time = find<decltype(halftone::pin_seed_time)>(
        decorated<decltype(halftone::pin_seed_time)>("pin_seed_time", true));
    set_data_folder = find<decltype(halftone::set_data_folder)>(
        decorated<decltype(halftone::set_data_folder)>("set_data_folder", true));
    screen_count = find<decltype(halftone_screen_count)>("halftone_screen_count");
    screen_info_at = find<decltype(halftone_screen_info_at)>("halftone_screen_info_at");
    if (!pin_seed_time || !set_data_folder) {
      std::fprintf(stderr, "compare_libraries: %s cannot pin the clock or the data folder\n",
                   file.c_str());
      all = false;
    }
    return all;
  }
};

struct Rng : halftone::test::SplitMix {
  std::uint32_t range(std::uint32_t lo, std::uint32_t hi) { return lo + below(hi - lo + 1); }
  bool chance(unsigned percent) { return below(100) < percent; }
  Bytes bytes(std::size_t n) {
    Bytes v(n);
    for (auto& b : v) b = static_cast<unsigned char>(next());
    return v;
  }
};

// A packed row's bytes; none for the widths below 1 the int entries are given.
std::size_t row_bytes(std::int64_t width, unsigned bits) {
  return width <= 0 ? 0 : halftone::row_bytes(static_cast<std::uint32_t>(width), bits);
}

constexpr std::size_t kGuard = 32;

class Comparison {
 public:
  Comparison(Library& a, Library& b, std::filesystem::path folder)
      : a_(a), b_(b), folder_(std::move(folder)) {}

  long failures = 0;

  // One case: a few calls made on both builds with the same arguments.
  void run(Rng& r, long number) {
    case_ = number;
    const std::uint32_t k = r.below(100);
    if (k < 8)
      tone_setup(r);
    else if (k < 12)
      load_patterns(r);
    else if (k < 15)
      load_matrix(r);
    else if (k < 17)
      load_blocks(r);
    else if (k < 19)
      constants(r);
    else if (k < 31)
      page(r);
    else
      job(r);
  }

 private:
  Library& a_;
  Library& b_;
  std::filesystem::path folder_;
  long case_ = 0;

  void write(std::string const& name, Bytes const& bytes) {
    std::ofstream(folder_ / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  }

  // Calls `entry` on both builds with `call`, each on its own copy of the
  // source and of the guarded output (`out` bytes), and compares everything.
  void both(std::string const& entry, Call call, Bytes const& source, std::size_t out,
            unsigned char guard, std::uint32_t seconds, std::string const& what) {
    Bytes src[2] = {source, source};
    Bytes dots[2] = {Bytes(out + 2 * kGuard, guard), Bytes(out + 2 * kGuard, guard)};
    int result[2];
    bool kept[2];
    Library* lib[2] = {&a_, &b_};
    for (int i = 0; i < 2; ++i) {
      lib[i]->pin_seed_time(seconds);
      Call c = call;
      c.source = src[i].data();
      c.dots = dots[i].data() + kGuard;
      result[i] = lib[i]->entries.at(entry)(c);
      kept[i] = c.kept_pointer;
    }
    std::string diff;
    if (result[0] != result[1])
      diff = "result " + std::to_string(result[0]) + " against " + std::to_string(result[1]);
    else if (kept[0] != kept[1])
      diff = "the output pointer";
    else if (src[0] != src[1])
      diff = "the source";
    else if (dots[0] != dots[1]) {
      std::size_t at = 0;
      while (dots[0][at] == dots[1][at]) ++at;
      const long offset = static_cast<long>(at) - static_cast<long>(kGuard);
      char buf[96];
      std::snprintf(buf, sizeof buf, "output byte %ld of %zu: %02x against %02x", offset, out,
                    dots[0][at], dots[1][at]);
      diff = buf;
    }
    if (diff.empty()) return;
    if (++failures <= 10)
      std::printf("case %ld: %s %s (seconds %" PRIu32 "): %s\n", case_, entry.c_str(), what.c_str(),
                  seconds, diff.c_str());
  }

  void tone_setup(Rng& r) {
    if (r.chance(70)) write("ToneAry.ham", r.bytes(r.chance(85) ? 15 * 256 : r.below(15 * 256)));
    static const int modes[] = {0, 1, 2, 3, 4, 5, 11, 12, 13, 14, 15, 16, 17};
    Call c;
    c.mode = r.chance(90) ? modes[r.below(13)] : static_cast<int>(r.below(40)) - 5;
    std::string params;
    for (std::uint32_t i = 0, n = r.below(12); i < n; ++i)
      params += std::to_string(r.chance(85) ? r.below(256) : r.below(5000)) + ",";
    if (r.chance(20) && !params.empty()) params.pop_back();
    c.text = r.chance(3) ? nullptr : params.c_str();
    both("Itsdiufiavs", c, {}, 0, 0, 0, "mode " + std::to_string(c.mode) + " \"" + params + "\"");
  }

  void load_patterns(Rng& r) {
    static const int widths[] = {8, 16, 24, 32, 40, 64, 128, 256};
    Call c;
    c.width = widths[r.below(8)];
    c.height = r.chance(30) ? c.width : r.range(1, 64);
    if (r.chance(5)) c.width = static_cast<int>(r.below(600)) - 200;
    if (r.chance(5)) c.height = static_cast<int>(r.below(600)) - 200;
    const bool two = r.chance(40);
    const std::size_t full =
        c.width > 0 && c.height > 0
            ? static_cast<std::size_t>((two ? c.width * 2 : c.width) / 8 * c.height * 256)
            : 1000;
    write("Moths/bank.bin",
          r.bytes(r.chance(90) ? full : r.below(static_cast<std::uint32_t>(full))));
    c.text = r.chance(3) ? "missing.bin" : "bank.bin";
    both(two ? "NingJing" : "KaiDuaning", c, {}, 0, 0, 0,
         std::to_string(c.width) + " x " + std::to_string(c.height));
  }

  void load_matrix(Rng& r) {
    const std::uint32_t w = r.range(1, 300), h = r.range(1, 300);
    Bytes f(54 + 1024, 0);
    auto put32 = [&](std::size_t at, std::uint32_t v) {
      for (int i = 0; i < 4; ++i) f[at + i] = static_cast<unsigned char>(v >> (8 * i));
    };
    f[0] = 'B', f[1] = 'M', f[26] = 1, f[28] = 8;
    put32(10, 54 + 1024), put32(14, 40), put32(18, w), put32(22, h);
    Bytes pixels = r.bytes(std::size_t{w} * h);
    if (r.chance(10)) pixels.resize(r.below(static_cast<std::uint32_t>(pixels.size())));
    f.insert(f.end(), pixels.begin(), pixels.end());
    write("Moths/matrix.bmp", f);
    Call c;
    c.text = "matrix.bmp";
    both(r.chance(50) ? "PuaningFa" : "PuaningFa13", c, {}, 0, 0, 0,
         std::to_string(w) + " x " + std::to_string(h));
  }

  void load_blocks(Rng& r) {
    std::string text;
    for (std::uint32_t i = 0, n = r.chance(50) ? 65536 : r.below(70000); i < n; ++i) {
      text += std::to_string(r.chance(90) ? static_cast<int>(r.below(80)) - 40
                                          : static_cast<int>(r.below(70000)) - 35000);
      text += r.chance(90) ? ' ' : '\r';
    }
    if (r.chance(50)) text += "\r\n";
    write("Moths/blocks.txt", Bytes(text.begin(), text.end()));
    Call c;
    c.text = "blocks.txt";
    both("NiceMents", c, {}, 0, 0, 0, "");
  }

  void constants(Rng& r) {
    static const char* const names[] = {"SincesKai", "khjhusecx", "sinxcdke34i", "giwncwcg7w",
                                        "DouMaxing", "DuanKougb", "YountTrue",   "PuaningFaAM"};
    Call c;
    c.control = 0;  // sinxcdke34i's timeout: look, do not wait
    both(names[r.below(8)], c, {}, 0, 0, 0, "");
  }

  static std::int64_t pick_width(Rng& r) {
    const std::uint32_t k = r.below(100);
    return k < 3    ? 0
           : k < 5  ? r.range(4000, 5000)
           : k < 50 ? r.range(1, 70)
           : k < 90 ? r.range(71, 700)
                    : r.range(701, 3000);
  }

  // A plane's greys: noise, flat, ramps, extremes, near the dot thresholds, a band of greys.
  static void fill(Rng& r, unsigned char* p, std::int64_t w, std::int64_t h, std::size_t step,
                   std::size_t row) {
    const std::uint32_t kind = r.below(7), flat = r.below(256), lo = r.below(256),
                        hi = r.below(256);
    for (std::int64_t y = 0; y < h; ++y)
      for (std::size_t x = 0; x < row; ++x) {
        std::uint32_t v = flat;
        if (kind == 0) v = static_cast<std::uint32_t>(r.next());
        if (kind == 2 && w > 1)
          v = static_cast<std::uint32_t>(x * 255 / static_cast<std::size_t>(w - 1));
        if (kind == 3 && h > 1) v = static_cast<std::uint32_t>(y * 255 / (h - 1));
        if (kind == 4) v = r.chance(50) ? 0 : 255;
        if (kind == 5) v = 118 + r.below(22);
        if (kind == 6) v = lo + (hi > lo ? r.below(hi - lo + 1) : 0);
        p[static_cast<std::size_t>(y) * step + x] = static_cast<unsigned char>(v);
      }
  }

  // A whole-page entry or a utility, through a random tone table.
  void page(Rng& r) {
    static const char* const names[] = {
        "hxkjsdi67x", "xinskdn34skx", "shdeiznc45kdi", "kajdjigc23kdh", "tishduth29dmc",
        "fdxin324c",  "nchsuw56xd",   "ixndiwkc76y",   "sdicxx78xy",    "ghskdjiekld"};
    const std::uint32_t pick = r.below(10);
    const char* entry = names[pick];
    Call c;
    c.width = pick_width(r);
    c.height = r.range(0, c.width > 1000 ? 10 : 60);
    if (pick >= 3 && r.chance(2)) c.width = -static_cast<std::int64_t>(r.range(1, 5));  // int sizes
    const std::size_t row = row_bytes(c.width, 8);
    Bytes source(row * static_cast<std::size_t>(c.height) + 1);
    fill(r, source.data(), c.width, c.height, row, row);
    unsigned char bytes[256];
    int ints[256];
    const bool identity = r.chance(50), wide = r.chance(20);
    for (int i = 0; i < 256; ++i) {
      bytes[i] = static_cast<unsigned char>(identity ? i : static_cast<int>(r.next() & 255));
      ints[i] = identity ? i
                : wide   ? static_cast<int>(r.below(1280)) - 512
                         : static_cast<int>(r.below(256));
    }
    c.byte_table = bytes;
    c.int_table = ints;
    const std::size_t same = row_bytes(c.width, 1) * static_cast<std::size_t>(c.height);
    const std::size_t turned =
        row_bytes(c.height, 1) * static_cast<std::size_t>(c.width > 0 ? c.width : 0);
    both(entry, c, source, same > turned ? same : turned, static_cast<unsigned char>(r.next()),
         static_cast<std::uint32_t>(r.next()),
         std::to_string(c.width) + " x " + std::to_string(c.height));
  }

  // A banded job of a registry screen from its first band to its last.
  void job(Rng& r) {
    const auto* info = b_.screen_info_at(r.below(static_cast<std::uint32_t>(b_.screen_count())));
    if (info->banding == HALFTONE_BANDING_WHOLE_PAGE) return page(r);
    const std::int64_t width = pick_width(r);
    const std::uint32_t k = r.below(100);
    const std::uint32_t planes = k < 2 ? 0 : k < 40 ? 1 : k < 90 ? r.range(2, 5) : r.range(6, 12);
    const std::uint32_t bands = r.chance(25) ? 1 : r.range(2, 5);
    // A lone first band leaves its lines held for the next job's first band.
    const bool lone = bands == 1 && r.chance(50);
    const std::uint32_t junk =
        r.chance(15) ? static_cast<std::uint32_t>(r.next()) & 0xFF0000FFu : 0;
    std::uint32_t seconds = static_cast<std::uint32_t>(r.next());
    const std::size_t in_row = row_bytes(width, 8), out_row = row_bytes(width, info->bits);
    for (std::uint32_t b = 0; b < bands + (bands == 1 && !lone); ++b) {
      const std::uint32_t position = b == 0 ? 1 : b + 1 >= bands ? 3 : r.chance(50) ? 0 : 2;
      Call c;
      c.width = width;
      c.height = b == bands    ? 1
                 : r.chance(5) ? 0
                               : r.range(1, width > 1000 ? (r.chance(20) ? 130 : 8) : 40);
      c.control = planes << 8 | position << 16 | junk;
      if (r.chance(20)) ++seconds;
      const std::size_t rows = static_cast<std::size_t>(c.height);
      Bytes source(in_row * rows * planes + 1);
      for (std::uint32_t p = 0; p < planes; ++p)
        fill(r, source.data() + p * in_row, width, c.height, in_row * planes, in_row);
      char what[96];
      std::snprintf(what, sizeof what,
                    "band %u of %u, %" PRId64 " x %" PRId64 ", control %08" PRIx32, b + 1, bands,
                    width, c.height, c.control);
      both(info->entry, c, source, out_row * rows * planes, static_cast<unsigned char>(r.next()),
           seconds, what);
    }
  }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: compare_libraries OLD.so NEW.so [SEED] [CASES]\n");
    return 2;
  }
  Library a, b;
  if (!a.open(argv[1]) || !b.open(argv[2])) return 2;
  if (!b.screen_count || !b.screen_info_at) {
    std::fprintf(stderr, "compare_libraries: %s has no registry of screens\n", argv[2]);
    return 2;
  }
  const std::uint64_t seed = argc > 3 ? std::strtoull(argv[3], nullptr, 10) : 1;
  const long cases = argc > 4 ? std::atol(argv[4]) : 20000;
  namespace fs = std::filesystem;
  const fs::path folder =
      fs::temp_directory_path() / ("halftone-compare-" + std::to_string(::getpid()));
  fs::create_directories(folder / "Moths");
  a.set_data_folder(folder.string().c_str());
  b.set_data_folder(folder.string().c_str());
  Comparison comparison(a, b, folder);
  for (long n = 0; n < cases; ++n) {
    Rng r{seed * 1000003u + static_cast<std::uint64_t>(n)};
    comparison.run(r, n);
  }
  fs::remove_all(folder);
  if (comparison.failures) {
    std::printf("%ld calls differ in %ld cases (seed %" PRIu64 ")\n", comparison.failures, cases,
                seed);
    return 1;
  }
  std::printf("%s and %s agree on %ld cases (seed %" PRIu64 ")\n", argv[1], argv[2], cases, seed);
  return 0;
}
