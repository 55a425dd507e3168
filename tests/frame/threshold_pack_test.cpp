// Vector threshold rows against the per-pixel rule, on every code path.
#include "frame/threshold_pack.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

namespace halftone {
namespace {

// One bit a pixel from one ring, or a two-bit code from three: the count of
// rings whose threshold the pixel passes.
TEST(ThresholdPack, EveryPathMatchesThePixelRule) {
  std::mt19937 gen(11);
  const std::uint32_t widths[] = {0, 1, 3, 7, 8, 9, 16, 17, 31, 32, 33, 64, 65, 4960};
  for (std::uint32_t bits : {1u, 2u})
    for (VectorPath path : {VectorPath::Best, VectorPath::Sse2, VectorPath::Plain})
      for (DotTest test : {DotTest::Below, DotTest::AtMost})
        for (std::uint32_t period : {1u, 2u, 8u, 16u, 32u, 256u})
          for (std::uint32_t width : widths) {
            const std::uint32_t shift = gen() % 512;
            SCOPED_TRACE(testing::Message() << bits << " bits, path " << static_cast<int>(path)
                                            << " test " << static_cast<int>(test) << " period "
                                            << period << " width " << width << " shift " << shift);
            const std::uint32_t levels = bits == 1 ? 1 : 3;
            std::vector<std::uint8_t> thresholds(period * levels);
            for (auto& t : thresholds) t = static_cast<std::uint8_t>(gen());
            thresholds[0] = 0;
            thresholds[period - 1] = 255;
            // Exactly as long as the row, so sanitizers catch an overread.
            std::vector<unsigned char> grey(width);
            for (auto& v : grey)
              v = static_cast<unsigned char>(gen() % 4 == 0 ? 255 * (gen() & 1) : gen());
            const std::uint32_t per_byte = 8 / bits;
            const std::size_t bytes = (width + per_byte - 1) / per_byte;
            std::vector<unsigned char> out(bytes + 4, 0xA5), want(bytes + 4, 0xA5);
            for (std::size_t i = 0; i < bytes; ++i) want[i] = 0;
            for (std::uint32_t x = 0; x < width; ++x) {
              unsigned code = 0;
              for (std::uint32_t k = 0; k < levels; ++k) {
                const std::uint8_t t = thresholds[k * period + (x + shift) % period];
                code += test == DotTest::Below ? grey[x] < t : grey[x] <= t;
              }
              want[x / per_byte] |=
                  static_cast<unsigned char>(code << (8 - bits - x % per_byte * bits));
            }
            ThresholdRing rings[3];
            for (std::uint32_t k = 0; k < levels; ++k)
              rings[k].assign(thresholds.data() + k * period, period);
            if (bits == 1)
              threshold_pack_row(grey.data(), out.data(), width, rings[0], shift, test, path);
            else
              threshold_pack2_row(grey.data(), out.data(), width, rings, shift, test, path);
            EXPECT_EQ(out, want);
          }
}

// Counting the greys below a limit: every limit the screens could name,
// rows shorter and longer than a vector, each path.
TEST(ThresholdPack, CountBelowMatchesTheCount) {
  std::mt19937 gen(5);
  for (VectorPath path : {VectorPath::Best, VectorPath::Sse2, VectorPath::Plain})
    for (std::uint32_t width : {0u, 1u, 15u, 16u, 17u, 33u, 4960u})
      for (std::uint32_t limit : {0u, 1u, 128u, 203u, 255u, 256u}) {
        std::vector<unsigned char> grey(width);
        for (auto& v : grey)
          v = static_cast<unsigned char>(gen() % 3 == 0 ? 255 * (gen() & 1) : gen());
        std::uint32_t want = 0;
        for (unsigned char v : grey) want += v < limit;
        EXPECT_EQ(count_below(grey.data(), width, limit, path), want)
            << "path " << static_cast<int>(path) << " width " << width << " limit " << limit;
      }
}

}  // namespace
}  // namespace halftone
