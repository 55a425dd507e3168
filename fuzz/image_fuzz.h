// Shared by the image fuzz programs: any bytes read as a file the way the
// program reads its input, and pictures written by the program's writers and
// read back.
#pragma once
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "image_io.h"

namespace halftone::fuzz {

// Reads the current page of `reader` in bands of 1-4 rows into buffers of
// exactly the band's size.
inline Bytes read_page(image::Reader& reader, int page) {
  image::PageShape const shape = reader.shape();
  Bytes grey;
  grey.reserve(std::size_t{shape.width} * shape.height * shape.planes);
  for (std::uint32_t y = 0, band = 1; y < shape.height; y += band) {
    band = std::min<std::uint32_t>(1 + (y * 7 + page) % 4, shape.height - y);
    Bytes rows(std::size_t{shape.width} * shape.planes * band);
    reader.read_rows(rows.data(), shape.width, band);
    grey.insert(grey.end(), rows.begin(), rows.end());
  }
  return grey;
}

// Reads every page of `reader`, up to a pixel budget (a small file may
// declare a large page that it compresses well). Returns the grey planes of
// the pages read whole.
inline std::vector<Bytes> read_pages(image::Reader& reader, std::uint64_t budget) {
  std::vector<Bytes> pages;
  for (int page = 0; page < 8; ++page) {
    image::PageShape const shape = reader.shape();
    check(shape.width >= 1 && shape.width <= image::kMaxSide && shape.height >= 1 &&
              shape.height <= image::kMaxSide &&
              std::uint64_t{shape.width} * shape.height <= image::kMaxPixels,
          "a page outside the declared limits",
          std::to_string(shape.width) + "x" + std::to_string(shape.height));
    check(shape.planes == 1 || shape.planes == 4, "planes", std::to_string(shape.planes));
    const std::uint64_t pixels = std::uint64_t{shape.width} * shape.height * shape.planes;
    if (pixels > budget) return pages;
    budget -= pixels;
    pages.push_back(read_page(reader, page));
    if (!reader.next_page()) break;
  }
  return pages;
}

// The bytes as a file named by path, or as a stream the caller keeps open.
// A refused file is fine; anything else that escapes is not. In a file,
// passing over pages (as the program's page threads do) lands on the page
// that reading through them reaches, and passing over a page's first rows
// (as stacked planes do) on the rows that reading through them reaches.
inline void read_any(Scratch const& scratch, std::uint8_t const* data, std::size_t size,
                     bool as_stream) {
  std::FILE* stream = nullptr;
  std::vector<Bytes> pages;
  std::string path;
  try {
    std::unique_ptr<image::Reader> reader;
    if (as_stream) {
      stream = fmemopen(const_cast<std::uint8_t*>(data), size, "rb");
      if (stream == nullptr) return;  // fmemopen refuses an empty buffer
      reader = image::open_reader(stream, "fuzz-input");
    } else {
      path = scratch.write("input", data, size);
      reader = image::open_reader(path);
    }
    pages = read_pages(*reader, std::uint64_t{1} << 22);
  } catch (image::Error const&) {
  }
  if (stream) std::fclose(stream);
  for (std::size_t k = 1; !path.empty() && k < pages.size(); ++k) {
    try {
      auto again = image::open_reader(path);
      for (std::size_t j = 0; j < k; ++j) check(again->skip_page(), "a page passed over is gone");
      check(read_page(*again, static_cast<int>(k)) == pages[k], "a page after pages passed over");
    } catch (image::Error const& e) {
      fail("pages read through could not be passed over", e.what());
    }
  }
  for (std::size_t k = 0; !path.empty() && k < pages.size(); ++k) {
    try {
      auto again = image::open_reader(path);
      for (std::size_t j = 0; j < k; ++j) again->skip_page();
      image::PageShape const shape = again->shape();
      const std::uint32_t passed =
          std::min(shape.height, (shape.height * 2 + static_cast<std::uint32_t>(k)) / 3);
      again->skip_rows(passed);
      const std::size_t row = std::size_t{shape.width} * shape.planes;
      Bytes rest(row * (shape.height - passed));
      again->read_rows(rest.data(), shape.width, shape.height - passed);
      check(rest ==
                Bytes(pages[k].begin() + static_cast<std::ptrdiff_t>(row * passed), pages[k].end()),
            "rows after rows passed over");
    } catch (image::Error const& e) {
      fail("rows read through could not be passed over", e.what());
    }
  }
}

// Pictures of any size and depth from the fuzzed bytes, written in `format`
// and read back: dots come back black and white as written, grey bytes as
// they were, and codes as greys that get darker with the code (code 0 white).
inline void round_trip(FuzzedDataProvider& in, image::Format format, int max_pictures) {
  static constexpr int kBits[] = {1, 2, 4, 8};
  struct Written {
    image::Picture picture;
    Bytes rows;
  };
  std::vector<Written> written;
  for (int n = in.ConsumeIntegralInRange(1, max_pictures); n > 0; --n) {
    Written w;
    w.picture.width = in.ConsumeIntegralInRange<std::uint32_t>(1, 70);
    w.picture.height = in.ConsumeIntegralInRange<std::uint32_t>(1, 12);
    w.picture.bits = format == image::Format::Pbm ? 1 : in.PickValueInArray(kBits);
    w.picture.top_code = w.picture.bits == 2 ? 3 : w.picture.bits == 4 ? 7 : 1;
    const std::size_t row = (std::size_t{w.picture.width} * w.picture.bits + 7) / 8;
    w.rows = in.ConsumeBytes<unsigned char>(row * w.picture.height);
    w.rows.resize(row * w.picture.height, 0x5A);
    // Codes run from 0 to the top code (7 for four-bit pictures).
    if (w.picture.bits == 4)
      for (auto& b : w.rows) b &= 0x77;
    written.push_back(std::move(w));
  }

  std::FILE* file = std::tmpfile();
  check(file != nullptr, "tmpfile");
  try {
    auto writer = image::make_writer(format, file, "round-trip");
    for (Written const& w : written) {
      writer->begin(w.picture);
      const std::size_t row = w.rows.size() / w.picture.height;
      for (std::uint32_t y = 0; y < w.picture.height; ++y) writer->write_row(&w.rows[y * row]);
      writer->end();
    }
    writer->finish();
  } catch (image::Error const& e) {
    fail("a picture could not be written", e.what());
  }
  std::rewind(file);
  std::vector<Bytes> pages;
  try {
    auto reader = image::open_reader(file, "round-trip");
    pages = read_pages(*reader, ~std::uint64_t{0});
  } catch (image::Error const& e) {
    fail("a written picture could not be read back", e.what());
  }
  std::fclose(file);

  check(pages.size() == written.size(), "pictures read back",
        std::to_string(pages.size()) + " of " + std::to_string(written.size()));
  for (std::size_t i = 0; i < written.size(); ++i) {
    image::Picture const& p = written[i].picture;
    check(pages[i].size() == std::size_t{p.width} * p.height, "a picture's size changed");
    const std::size_t row = written[i].rows.size() / p.height;
    int grey_of[16];
    std::fill(std::begin(grey_of), std::end(grey_of), -1);
    for (std::uint32_t y = 0; y < p.height; ++y)
      for (std::uint32_t x = 0; x < p.width; ++x) {
        unsigned char const* r = &written[i].rows[y * row];
        const int got = pages[i][std::size_t{y} * p.width + x];
        if (p.bits == 8) {
          check(got == r[x], "a grey pixel changed");
          continue;
        }
        const unsigned per_byte = 8u / static_cast<unsigned>(p.bits);
        const unsigned shift = (per_byte - 1 - x % per_byte) * static_cast<unsigned>(p.bits);
        const unsigned code = (r[x / per_byte] >> shift) & ((1u << p.bits) - 1u);
        if (p.bits == 1) {
          check(got == (code ? 0 : 255), "a dot changed");
          continue;
        }
        check(grey_of[code] < 0 || grey_of[code] == got, "one code read back as two greys");
        grey_of[code] = got;
      }
    for (int code = 0, last = 256; code < 16; ++code) {
      if (grey_of[code] < 0) continue;
      check(code != 0 || grey_of[0] == 255, "code 0 is not white");
      check(grey_of[code] < last, "a higher code is not darker");
      last = grey_of[code];
    }
  }
}

// One input of an image fuzz program: the bytes read as a file or a stream,
// then pictures of `format` written and read back.
inline void read_and_round_trip(std::uint8_t const* data, std::size_t size,
                                std::initializer_list<image::Format> formats, int max_pictures) {
  static Scratch scratch;
  FuzzedDataProvider in(data, size);
  const bool as_stream = in.ConsumeBool();
  const image::Format format =
      formats.begin()[in.ConsumeIntegralInRange<std::size_t>(0, formats.size() - 1)];
  read_any(scratch, data, size, as_stream);
  round_trip(in, format, max_pictures);
}

}  // namespace halftone::fuzz
