// Shared helpers of the loaded-screen tests: a temporary data folder with a
// Moths sub-folder, BMP and pattern files written into it, and sources made of
// runs of equal grey.
#pragma once
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "halftone/setup.h"
#include "support/images.h"

namespace halftone::test {

using Bytes = std::vector<unsigned char>;

// Points the library at a fresh folder for the life of the object.
class DataFolder {
 public:
  DataFolder() {
    const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
    root_ = std::filesystem::temp_directory_path() / ("halftone_loaded_" + std::to_string(stamp));
    std::filesystem::create_directories(root_ / "Moths");
    halftone::set_data_folder(root_.string().c_str());
  }
  ~DataFolder() {
    halftone::set_data_folder(nullptr);
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
  DataFolder(DataFolder const&) = delete;
  DataFolder& operator=(DataFolder const&) = delete;

  void write(std::string const& name, Bytes const& bytes) const {
    std::ofstream(root_ / "Moths" / name, std::ios::binary)
        .write(reinterpret_cast<char const*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  }
  void write(std::string const& name, std::string const& text) const {
    write(name, Bytes(text.begin(), text.end()));
  }

 private:
  std::filesystem::path root_;
};

// A value below n from the generator.
inline std::uint32_t below(std::mt19937& gen, std::uint32_t n) {
  return static_cast<std::uint32_t>(gen() % n);
}

inline Bytes random_bytes(std::size_t n, std::uint32_t seed) {
  std::mt19937 gen(seed);
  Bytes v(n);
  for (auto& b : v) b = static_cast<unsigned char>(gen());
  return v;
}

inline void put32(Bytes& b, std::size_t at, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b[at + i] = static_cast<unsigned char>(v >> (8 * i));
}

// An 8-bit BMP: 14-byte file header, 40-byte info header, a 1024-byte
// palette, then `pixels` as given (the caller lays out the rows).
inline Bytes make_bmp(std::int32_t width, std::int32_t height, Bytes const& pixels) {
  Bytes b(54 + 1024, 0);
  b[0] = 'B';
  b[1] = 'M';
  put32(b, 10, 54 + 1024);
  put32(b, 14, 40);
  put32(b, 18, static_cast<std::uint32_t>(width));
  put32(b, 22, static_cast<std::uint32_t>(height));
  b[28] = 8;
  b.resize(b.size() + pixels.size());
  std::copy(pixels.begin(), pixels.end(), b.end() - static_cast<std::ptrdiff_t>(pixels.size()));
  return b;
}

// Runs of equal grey, 1 to 12 pixels long, from a small set of greys or any.
inline Bytes make_runs(std::uint32_t width, std::uint32_t height, std::uint32_t planes,
                       std::uint32_t seed) {
  const std::uint32_t stride = source_stride(width);
  Bytes v(static_cast<std::size_t>(stride) * height * planes, 0xC3);
  std::mt19937 gen(seed);
  const bool few = gen() & 1;
  for (std::uint32_t r = 0; r < height * planes; ++r) {
    unsigned char g = 0;
    for (std::uint32_t x = 0, left = 0; x < width; ++x, --left) {
      if (left == 0) {
        left = 1 + gen() % 12;
        g = static_cast<unsigned char>(few ? (gen() % 3) * 100 : gen());
      }
      v[static_cast<std::size_t>(r) * stride + x] = g;
    }
  }
  return v;
}

// A random page: sizes 1-70 by 1-20, 1-4 planes, one of the fills or runs.
struct Page {
  std::uint32_t width, height, planes;
  Bytes source;
};

inline Page random_page(std::mt19937& gen) {
  Page p{1 + below(gen, 70), 1 + below(gen, 20), 1 + below(gen, 4), {}};
  const std::uint32_t kind = gen() % 6;
  p.source = kind == 5 ? make_runs(p.width, p.height, p.planes, gen())
                       : make_source(p.width, p.height, p.planes, static_cast<Fill>(kind), gen(),
                                     static_cast<unsigned char>(gen()));
  return p;
}

}  // namespace halftone::test
