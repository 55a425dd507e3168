#include "damped/reference.h"

#include <algorithm>
#include <cstring>

namespace halftone::test {
namespace {

std::uint32_t src_stride(std::uint32_t w) { return (w + 3) / 4 * 4; }
std::uint32_t out_stride(std::uint32_t w) { return (w + 31) / 32 * 4; }

void put_dot(unsigned char* row, std::uint32_t x) { row[x / 8] |= 0x80 >> (x % 8); }

std::int16_t low16(std::int32_t v) {
  const std::uint32_t u = static_cast<std::uint32_t>(v) & 0xFFFFu;
  return static_cast<std::int16_t>(u >= 0x8000u ? static_cast<std::int32_t>(u) - 0x10000
                                                : static_cast<std::int32_t>(u));
}

// Shift right with sign is division by 2^k rounded toward minus infinity.
std::int32_t floor_div(std::int32_t a, std::int32_t b) {
  std::int32_t q = a / b;
  if (a % b != 0 && a < 0) --q;
  return q;
}

int noise(Model m, std::uint32_t s) {
  const int t = static_cast<int>(s);
  switch (m) {
    case Model::Amplitude31:
      return std::min({t, 31, 255 - t});
    case Model::Band31:
      if (t < 105) return 0;
      if (t <= 127) return t - 96;
      if (t <= 223) return 31;
      if (t <= 254) return 254 - t;
      return 0;
    case Model::FiveBand:
      return std::min({t, 8, 255 - t});
    default:
      return 0;
  }
}

bool noise_here(Model m, bool ltr, std::uint32_t x) {
  const bool odd = x % 2 == 1;
  switch (m) {
    case Model::Amplitude31:
      return !ltr && odd;
    case Model::Band31:
    case Model::FiveBand:
      return ltr ? !odd : odd;
    default:
      return false;
  }
}

}  // namespace

void RefRandom::seed(std::uint32_t s) {
  state_[0] = s;
  for (int i = 1; i < 31; ++i) state_[i] = state_[i - 1] * 1103515145u + 12345u;
  front_ = 3;
  rear_ = 0;
  for (int i = 0; i < 310; ++i) draw();
}

std::uint32_t RefRandom::draw() {
  state_[front_] += state_[rear_];
  const std::uint32_t result = state_[front_] >> 1;
  front_ = (front_ + 1) % 31;
  rear_ = (rear_ + 1) % 31;
  return result;
}

bool Reference::begin(Lines& lines, bool first, std::uint32_t planes, std::uint32_t width) {
  const std::size_t size = static_cast<std::size_t>(planes) * width;
  if (first || !lines.held || width > lines.width || size > lines.size) {
    lines.held = true;
    lines.width = width;
    lines.size = size;
    return true;
  }
  return false;
}

void Reference::screen(Model model, unsigned char const* source, unsigned char* dots,
                       std::uint32_t width, std::uint32_t height, std::uint32_t control) {
  const std::uint32_t planes = (control >> 8) & 0xFF;
  const std::uint32_t band = (control >> 16) & 0xFF;
  const bool doubles = model == Model::Runs || model == Model::HalfSplit;
  Lines& lines = doubles ? double_lines_ : int_lines_;
  if (begin(lines, band == 1, planes, width)) {
    if (doubles) {
      double_carry_.assign(lines.size, 0.0);
    } else {
      const std::int16_t start = model == Model::Amplitude31 ? -35
                                 : model == Model::Band31    ? -25
                                                             : 0;
      int_carry_.assign(lines.size, start);
    }
  }
  std::memset(dots, 0, static_cast<std::size_t>(planes) * out_stride(width) * height);
  if (doubles || band == 1) rng_.seed(seconds_);
  if (width != 0 && height != 0) {
    if (doubles)
      runs(source, dots, width, height, planes, model == Model::HalfSplit);
    else
      tone_banded(model, source, dots, width, height, planes);
  }
  if (band == 3) lines.held = false;
}

// Both double screens: random runs (damped 0.97, whole error to one side) or
// the half split (0.985, halves to both sides).
void Reference::runs(unsigned char const* src, unsigned char* dots, std::uint32_t w,
                     std::uint32_t h, std::uint32_t planes, bool half_split) {
  const std::uint32_t S = src_stride(w), D = out_stride(w);
  const int lengths[4] = {11, 10, 11, 10};
  for (std::uint32_t p = 0; p < planes; ++p) {
    auto source = [&](std::uint32_t y, std::uint32_t x) {
      return static_cast<double>(src[(static_cast<std::size_t>(y) * planes + p) * S + x]);
    };
    auto out = [&](std::uint32_t y) {
      return dots + (static_cast<std::size_t>(y) * planes + p) * D;
    };
    double* carry = double_carry_.data() + static_cast<std::size_t>(p) * w;
    std::vector<double> A(w), B(w);
    for (std::uint32_t x = 0; x < w; ++x) {
      A[x] = source(0, x) + carry[x];
      carry[x] = 0;
    }
    int counter = 0, index = 0, repeats = 0, along = 0, parity = 0;
    auto run_step = [&] {
      rng_.draw();
      if (counter == 0) {
        const int d = static_cast<int>(rng_.draw() % 4);
        if (d == index) {
          repeats++;
          if (repeats == 2) {
            index = d == 0 ? 1 : 0;
            repeats = 0;
          }
        } else {
          index = d;
          repeats = 0;
        }
        counter = lengths[index];
        along = 1 - along;
      }
    };
    for (std::uint32_t y = 0; y < h; ++y) {
      std::vector<double>& cur = parity == 0 ? A : B;
      std::vector<double>& below = parity == 0 ? B : A;
      const bool last_row = y == h - 1;
      for (std::uint32_t i = 0; i < w; ++i) {
        const std::uint32_t x = parity == 0 ? i : w - 1 - i;
        const bool last_pixel = i == w - 1;
        const std::uint32_t next = parity == 0 ? x + 1 : x - 1;
        const double v = cur[x];
        double e;
        if (v <= 128.0) {
          put_dot(out(y), x);
          e = v;
        } else {
          e = v - 255.0;
        }
        if (last_row && last_pixel) break;
        if (!last_row) below[x] = source(y + 1, x);
        if (half_split) {
          rng_.draw();
          const double half = e * 0.985 * 0.5;
          if (last_row) {
            carry[x] = half;
            cur[next] += half;
          } else {
            if (!last_pixel) cur[next] += half;
            below[x] += half;
          }
        } else {
          run_step();
          if (last_row) {
            if (along == 1) cur[next] += e;
          } else if (!last_pixel) {
            e = e * 0.97;
            if (along == 1)
              cur[next] += e;
            else
              below[x] += e;
          } else if (along == 0) {
            below[x] += e * 0.97;
          }
          counter -= 1;
        }
      }
      parity = 1 - parity;
    }
  }
}

// The four 16-bit screens: error rows E1 (left to right) and E2 (right to left).
void Reference::tone_banded(Model m, unsigned char const* src, unsigned char* dots, std::uint32_t w,
                            std::uint32_t h, std::uint32_t planes) {
  const std::uint32_t S = src_stride(w), D = out_stride(w);
  for (std::uint32_t p = 0; p < planes; ++p) {
    std::int16_t* carry = int_carry_.data() + static_cast<std::size_t>(p) * w;
    std::vector<std::int16_t> E1(carry, carry + w), E2(w, 0x7777);
    std::fill(carry, carry + w, 0);
    for (std::uint32_t y = 0; y < h; ++y) {
      const bool ltr = y % 2 == 0;
      std::vector<std::int16_t>& cur = ltr ? E1 : E2;
      std::vector<std::int16_t>& below = ltr ? E2 : E1;
      unsigned char const* srow = src + (static_cast<std::size_t>(y) * planes + p) * S;
      unsigned char* orow = dots + (static_cast<std::size_t>(y) * planes + p) * D;
      for (std::uint32_t i = 0; i < w; ++i) {
        const std::uint32_t x = ltr ? i : w - 1 - i;
        const std::uint32_t s = srow[x];
        const std::int32_t v = cur[x] + static_cast<std::int32_t>(s);
        std::int32_t e;
        if (v <= 128) {
          put_dot(orow, x);
          e = v;
        } else {
          e = v - 255;
        }
        if (noise_here(m, ltr, x)) e += noise(m, s);
        const bool even = x % 2 == 0;
        std::int32_t n = 0;
        if (m == Model::Amplitude31 || m == Model::Band31) {
          const std::uint32_t high = ltr ? 216 : 213;
          const std::uint32_t middle = ltr ? 166 : (m == Model::Amplitude31 ? 179 : 185);
          const std::int32_t lesser =
              m == Model::Amplitude31 ? floor_div(e, 2) : floor_div(3 * e, 4);
          if (s >= high) {
            n = even ? (2 * e) / 3 : lesser;
          } else if (s >= middle) {
            n = (rng_.draw() & 1) ? lesser : (2 * e) / 3;
          } else {
            n = (rng_.draw() & 1) ? e : floor_div(e, 2);
          }
        } else if (m == Model::FiveBand) {
          if (s > 240) {
            n = (2 * e) / 3;
          } else if (s >= 229) {
            n = ltr ? e / 2 : (2 * e) / 3;
          } else if (s >= 203) {
            if (ltr)
              n = even ? (2 * e) / 3 : e / 2;
            else
              n = even ? e / 2 : (2 * e) / 3;
          } else if (s >= 176) {
            n = (rng_.draw() & 1) ? (2 * e) / 3 : e / 2;
          } else {
            n = (rng_.draw() & 1) ? e : e / 2;
          }
        } else {
          n = e / 2;
        }
        const std::int32_t d = e - n;
        const bool has_next = ltr ? x < w - 1 : x > 0;
        if (has_next) {
          const std::uint32_t next = ltr ? x + 1 : x - 1;
          cur[next] = low16(cur[next] + n);
        }
        if (y == h - 1 && !ltr)
          carry[x] = low16(d);
        else
          below[x] = low16(d);
      }
    }
  }
}

}  // namespace halftone::test
