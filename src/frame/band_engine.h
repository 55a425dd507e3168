// The serpentine band engine shared by the banded diffusion screens.
//
// The engine owns everything the screens have in common: the band protocol
// (lines allocated on a first band, released after a last band), the output
// clear, reseeding, the plane loop over line-interleaved planes, the first row
// loaded with the carried error, row alternation between the two working
// lines, the row-end pixel and the band's last row that hands its error down
// into the carry line for the next band.
//
// Planes run one after the other, up to four at a time with their pixels
// interleaved, or up to four at a time in vector lanes when the policy's
// rule is written for lanes too (kLaneRule); in every case each plane starts
// from the generator as the planes before it would leave it, so the bytes
// are the same.
//
// A screen supplies a small policy; its `pixel` member decides one pixel,
// puts its dot or code into the row and returns the shares of the error:
//
//   template <Dir D, Role R>
//   Shares pixel(Value v, Pixel px, RowOut<kBits>& out, FeedbackRandom&)
//
// `v` is the working line's value at the pixel. The engine then adds
//   * `ahead` to the next pixel in scan direction (Inner, LastInner only),
//   * `below` to the row below (Inner, RowEnd): value lines start the cell
//     from the next source row, error lines from `below_base`,
//   * `below` into the carry line, written (LastInner, LastEnd), unless the
//     policy carries only after a right-to-left last row, in which case a
//     left-to-right last row's downward shares are lost.
// Every role is a compile-time parameter, so each screen's rules inline into
// one loop per row kind and direction with no per-pixel dispatch.
#pragma once
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "frame/band_lines.h"
#include "frame/compiler.h"
#include "frame/cpu.h"
#include "frame/feedback_random.h"
#include "frame/lanes.h"
#include "frame/layout.h"
#include "frame/no_memory.h"
#include "frame/plane_threads.h"
#include "frame/random_jump.h"
#include "frame/state.h"
#include "frame/threshold_pack.h"

namespace halftone::engine {

enum class Dir { Ltr, Rtl };

// Where a pixel stands: inside an ordinary row, at its end, inside the band's
// last row, or at the end of the band's last row.
enum class Role { Inner, RowEnd, LastInner, LastEnd };

constexpr bool is_last_row(Role r) { return r == Role::LastInner || r == Role::LastEnd; }
constexpr bool is_row_end(Role r) { return r == Role::RowEnd || r == Role::LastEnd; }

// A kind of row: its direction, the role of its pixels and of its last pixel.
template <Dir D, Role Body, Role End>
struct RowKind {
  static constexpr Dir kDir = D;
  static constexpr Role kBody = Body;
  static constexpr Role kEnd = End;
};

// Calls scan(RowKind<...>{}) for a row running in `dir`, the band's last or not.
template <class Scan>
void by_row_kind(Dir dir, bool last, Scan&& scan) {
  if (dir == Dir::Ltr) {
    if (last)
      scan(RowKind<Dir::Ltr, Role::LastInner, Role::LastEnd>{});
    else
      scan(RowKind<Dir::Ltr, Role::Inner, Role::RowEnd>{});
  } else {
    if (last)
      scan(RowKind<Dir::Rtl, Role::LastInner, Role::LastEnd>{});
    else
      scan(RowKind<Dir::Rtl, Role::Inner, Role::RowEnd>{});
  }
}

enum class Reseed { EveryCall, FirstBand, Never };

// What a pixel sends on. With a policy's kAheadInParts, one plane at a time,
// the share ahead is `ahead - ahead_less`: a rule whose share ends in a
// correction known early (the sign of a truncating division) hands that over
// apart, and the next pixel takes it off its line cell before `ahead`
// arrives, one step off the chain from pixel to pixel.
template <class Acc>
struct Shares {
  Acc ahead;
  Acc below;
  Acc ahead_less{};
};

struct Pixel {
  std::uint32_t x;  // column
  std::uint32_t y;  // row, counted from the band's first row
  std::uint32_t s;  // the pixel's own source grey
};

// Output row stride in bytes for one, two or four bits a pixel.
constexpr std::uint32_t out_stride(unsigned bits, std::uint32_t width) {
  return bits == 4 ? dot4_stride(width) : bits == 2 ? dot2_stride(width) : dot_stride(width);
}

// Packs `count` pixels' codes, a byte each, into an output row, leftmost
// pixel in the most significant bits. The codes run on as zeros to a whole
// output byte. Eight one-bit codes (or four two-bit ones) are gathered by one
// multiply: each code's shift to its place is one of the multiplier's terms,
// and no two terms' bits meet.
template <unsigned kBits>
inline void pack_codes(unsigned char const* codes, std::uint32_t count, unsigned char* row) {
  constexpr std::uint32_t kPerByte = 8 / kBits;
  const std::uint32_t bytes = (count + kPerByte - 1) / kPerByte;
  for (std::uint32_t i = 0; i < bytes; ++i, codes += kPerByte) {
    std::uint64_t word = 0;
    for (std::uint32_t k = 0; k < kPerByte; ++k) word |= std::uint64_t{codes[k]} << (8 * k);
    if constexpr (kBits == 1)
      row[i] = static_cast<unsigned char>((word * 0x8040201008040201u) >> 56);
    else if constexpr (kBits == 2)
      row[i] = static_cast<unsigned char>((static_cast<std::uint32_t>(word) * 0x40100401u) >> 24);
    else
      row[i] = static_cast<unsigned char>(word << 4 | word >> 8);
  }
}

// The output row being scanned. Pixels arrive one by one in scan order, from
// `first`, and every pixel puts its code (a dot is code 1) once; the codes
// wait a byte a pixel in `codes` and are packed into the row after its last
// pixel. The output was cleared first; packing writes the row's bytes and
// nothing beyond its last pixel's. Kept apart from the scan, the packing
// takes no step from pixel to pixel.
template <unsigned kBits>
class RowOut {
 public:
  // `codes` holds a whole number of output bytes' codes, zero past the row.
  RowOut(unsigned char* row, std::uint32_t first, unsigned char* codes)
      : row_(row), codes_(codes), first_(first) {}

  void put(std::uint32_t x, std::uint32_t code) { codes_[x] = static_cast<unsigned char>(code); }

  // After pixel x: packs the row once x is its last pixel.
  template <Dir D>
  void after(std::uint32_t x, bool row_end) {
    if (row_end) pack_codes<kBits>(codes_, (D == Dir::Ltr ? x : first_) + 1, row_);
  }

 private:
  unsigned char* row_;
  unsigned char* codes_;
  std::uint32_t first_;
};

#if defined(HALFTONE_VECTORS)
// A pixel of every plane of a lane group: one column, each lane its plane's grey.
template <class V>
struct LanePixel {
  std::uint32_t x;
  std::uint32_t y;
  V s;
};

// The output rows of a lane group, gathered as RowOut does, one lane a plane;
// lanes past the group's planes are never stored. G is the vector the rule's
// codes or dot masks come in.
template <unsigned kBits, class G>
class LaneRowOut {
 public:
  static constexpr std::uint32_t kPerByte = 8 / kBits;

  LaneRowOut(unsigned char* const* rows, std::uint32_t count) : count_(count) {
    for (std::uint32_t l = 0; l < kLanes; ++l) rows_[l] = rows[l];
  }

  void put(std::uint32_t x, G code) {
    gathered_ |= code << static_cast<int>((kPerByte - 1 - x % kPerByte) * kBits);
  }

  template <Dir D>
  void after(std::uint32_t x, bool row_end) {
    const bool completes = D == Dir::Ltr ? x % kPerByte == kPerByte - 1 : x % kPerByte == 0;
    if (completes || row_end) {
      for (std::uint32_t l = 0; l < count_; ++l)
        rows_[l][x / kPerByte] = static_cast<unsigned char>(lane(gathered_, l));
      gathered_ = G{};
    }
  }

 private:
  unsigned char* rows_[kLanes];
  std::uint32_t count_;
  G gathered_{};
};
#endif

// Draws a pixel makes in each role, where the count never depends on the
// image or on earlier draws. A policy that leaves it at kDrawsVary has its
// planes screened one after the other whatever the job's "threads" says.
struct DrawCount {
  int inner, row_end, last_inner, last_end;

  constexpr bool fixed() const { return inner >= 0; }
  constexpr bool fixed_some() const { return fixed() && (inner | row_end | last_inner | last_end); }
  constexpr int in(Role r) const {
    return r == Role::Inner       ? inner
           : r == Role::RowEnd    ? row_end
           : r == Role::LastInner ? last_inner
                                  : last_end;
  }
  // Draws of one plane of a band.
  constexpr std::uint64_t plane(std::uint32_t width, std::uint32_t height) const {
    if (width == 0 || height == 0) return 0;
    const std::uint64_t inner_pixels = width - 1u;
    return (height - 1u) *
               (inner_pixels * static_cast<unsigned>(inner) + static_cast<unsigned>(row_end)) +
           inner_pixels * static_cast<unsigned>(last_inner) + static_cast<unsigned>(last_end);
  }
};
inline constexpr DrawCount kDrawsVary{-1, -1, -1, -1};

// Defaults a policy may hide by declaring its own member of the same name.
template <class T>
struct PolicyBase {
  using Value = T;
  using Acc = std::conditional_t<std::is_floating_point_v<T>, T, std::int32_t>;

  // Value lines hold source plus error and load the row below from the
  // source; error lines hold error only and the screen adds the source.
  static constexpr bool kValueLines = true;
  static constexpr bool kCarryOnlyAfterRtl = false;
  static constexpr Reseed kReseed = Reseed::EveryCall;
  static constexpr T kCarryStart = T{};
  // Bits a pixel of the output: 1 (dots), 2 or 4 (codes).
  static constexpr unsigned kBits = 1;
  static constexpr DrawCount kDraws = kDrawsVary;
  // Draws that follow from the source alone: with kDrawsBySource, a pixel of
  // a row running in direction D draws once where its grey is below
  // draws_below<D>() and never otherwise, and rows alternate from left to
  // right. A plane's draws are then counted from its source before any plane
  // is screened.
  static constexpr bool kDrawsBySource = false;
  template <Dir D>
  static constexpr std::uint32_t draws_below() {
    return 0;
  }
  // The pixel rule is written for Lanes too and the scan direction depends
  // on the row alone: the planes may run side by side in lanes.
  static constexpr bool kLaneRule = false;
  // One plane at a time, a row may run with its values unwrapped and run
  // again wrapped where one leaves the 16-bit range (see scan_with); for
  // 16-bit rules whose chain is what bounds them.
  static constexpr bool kUnwrappedRows = false;
  // In lanes, the rule reads the value only through its low 16 bits, so the
  // line's cell and the share ahead are added without the wrap.
  static constexpr bool kLaneSumUnwrapped = false;
  // One plane at a time (or in groups), the share ahead comes in two parts
  // (Shares::ahead_less).
  static constexpr bool kAheadInParts = false;
  // Before the band's lines are taken: state the policy keeps across bands.
  void begin_band(ScreenControl /*control*/) {}
  // After reseeding, before any plane: a policy whose draws follow from the
  // generator alone, never from the image, may make every plane's draws here,
  // in the order the planes would make them, and declare kDraws of 0.
  void plan_draws(std::uint32_t /*planes*/, std::uint32_t /*width*/, std::uint32_t /*height*/,
                  FeedbackRandom& /*rng*/) {}
  void begin_plane(std::uint32_t /*plane*/) {}
  // After the plane's last row: state kept in the policy goes back to its home.
  void end_plane(std::uint32_t /*plane*/) {}
  // Lane rules: planes [plane, plane + count) are screened side by side.
  void begin_lanes(std::uint32_t /*plane*/, std::uint32_t /*count*/) {}
  Dir begin_row(std::uint32_t /*plane*/, std::uint32_t r) { return (r & 1u) ? Dir::Rtl : Dir::Ltr; }
  // Error lines: the first row's value before the carry, and the row below's.
  Acc first_row_base(std::uint32_t /*x*/) const { return Acc{}; }
  Acc below_base(std::uint32_t /*x*/, std::uint32_t /*y*/) const { return Acc{}; }
};

// 16-bit lines wrap; double lines store as they are.
inline std::int16_t store(std::int16_t, std::int32_t v) { return wrap16(v); }
inline double store(double, double v) { return v; }

template <class Policy>
class BandEngine {
  using T = typename Policy::Value;

 public:
  BandEngine(Policy& policy, unsigned char const* source, unsigned char* dots, std::uint32_t width,
             std::uint32_t height, ScreenControl control)
      : policy_(policy),
        source_(source),
        dots_(dots),
        width_(width),
        height_(height),
        control_(control),
        src_stride_(source_stride(width)),
        out_stride_(engine::out_stride(Policy::kBits, width)),
        codes_(new unsigned char[std::size_t{width} + 8]()) {}

  // The lines have been taken for this band (BandLines::try_begin).
  void run(BandLines<T>& lines) {
    clear_output(dots_, control_.planes, out_stride_, height_);
    if (Policy::kReseed == Reseed::EveryCall ||
        (Policy::kReseed == Reseed::FirstBand && control_.first_band()))
      reseed_screening();
    if (width_ != 0 && height_ != 0) {
      policy_.plan_draws(control_.planes, width_, height_, screening_random());
      if (control_.planes > 1 && (Policy::kDraws.fixed() || Policy::kDrawsBySource))
        several_planes(lines, state().threads);
      else
        for (std::uint32_t p = 0; p < control_.planes; ++p)
          plane(lines.ValueLineA(), lines.ValueLineB(), lines.CarryLine(p, width_), p,
                screening_random());
    }
    lines.end(control_);
  }

 private:
  struct Row {
    T* cur;
    T* below;
    T* carry;
    unsigned char const* src;
    unsigned char const* src_next;  // null on the band's last row
    unsigned char* out;
    std::uint32_t y;
    std::size_t line;  // the buffer row: y * planes + plane
  };

  unsigned char const* src_row(std::uint32_t p, std::uint32_t r) const {
    return source_ + (static_cast<std::size_t>(r) * control_.planes + p) * src_stride_;
  }
  unsigned char* out_row(std::uint32_t p, std::uint32_t r) const {
    return dots_ + (static_cast<std::size_t>(r) * control_.planes + p) * out_stride_;
  }

  // The shared generator's table at the start of every plane and, last,
  // after the last plane: each plane starts where the draws of the planes
  // before it leave the generator. With kDrawsBySource, `counted` holds
  // every row's draws (source_row_draws).
  std::vector<RandomTable> plane_starts(std::vector<std::uint32_t> const& counted = {}) const {
    const std::uint32_t planes = control_.planes;
    std::vector<RandomTable> start(planes + 1);
    start[0] = table_of(screening_random());
    if constexpr (Policy::kDraws.fixed()) {
      const RandomJump plane_draws(Policy::kDraws.plane(width_, height_));
      for (std::uint32_t p = 0; p < planes; ++p) start[p + 1] = plane_draws.apply(start[p]);
    } else {
      std::vector<std::uint64_t> draws(planes);
      for (std::size_t line = 0; line < counted.size(); ++line)
        draws[line % planes] += counted[line];
      for (std::uint32_t p = 0; p < planes; ++p) start[p + 1] = jump(start[p], draws[p]);
    }
    return start;
  }

  // The draws of every row of the band, counted from its source
  // (kDrawsBySource), by buffer row (Row::line), once before any plane: the
  // planes' starts are summed from them and each row's block of draws is
  // made by them. The band is read in memory order, the planes' rows in
  // turn: read plane by plane, each row a jump of several rows ahead, the
  // count of a band not in the cache took twice as long.
  std::vector<std::uint32_t> source_row_draws() const {
    std::vector<std::uint32_t> n(std::size_t{height_} * control_.planes);
    for (std::uint32_t r = 0; r < height_; ++r)
      for (std::uint32_t p = 0; p < control_.planes; ++p)
        n[std::size_t{r} * control_.planes + p] = (r & 1u)
                                                      ? row_source_draws<Dir::Rtl>(src_row(p, r))
                                                      : row_source_draws<Dir::Ltr>(src_row(p, r));
    return n;
  }
  template <Dir D>
  std::uint32_t row_source_draws(unsigned char const* row) const {
    return count_below(row, width_, Policy::template draws_below<D>());
  }

  // Lanes take the planes' parallelism into one thread: they pay while each
  // thread's run has three planes or more. Where the threads would leave
  // fewer a run, either way may be the faster, by the rule and the
  // machine: a cheap rule runs four planes in lanes on one thread faster
  // than in pairs on two. The job's first bands are timed each way
  // (PlaneSplitTiming) and the rest take the faster.
  void several_planes(BandLines<T>& lines, unsigned threads) {
#if defined(HALFTONE_VECTORS)
    if constexpr (Policy::kLaneRule) {
      const std::uint32_t planes = control_.planes;
      if (planes / plane_runs(planes, threads) >= 3) return planes_in_lanes(lines, threads);
      if (planes >= 3) {
        PlaneSplitTiming& timing = state().plane_split;
        const bool in_lanes = timing.next_in_lanes();
        const auto start = std::chrono::steady_clock::now();
        if (in_lanes)
          planes_in_lanes(lines, 1);
        else
          planes_at_once(lines, threads);
        if (!timing.done()) {
          const std::chrono::duration<double, std::nano> took =
              std::chrono::steady_clock::now() - start;
          timing.record(in_lanes, took.count() / (static_cast<double>(width_) * height_ * planes));
        }
        return;
      }
    }
#endif
    planes_at_once(lines, threads);
  }

  // Planes whose draws are known ahead, byte for byte as one after the
  // other: each plane starts from the generator as the planes before it
  // leave it (the shared generator jumped ahead by their draws) and the
  // shared generator ends where the last plane leaves it. The planes run in
  // runs on `threads` threads, and within a run up to kGroup at a time,
  // their pixels interleaved: the planes' pixel-to-pixel chains are
  // independent, so the processor works on them all at once. Every plane of
  // a group has working lines and a copy of the policy of its own. Rules
  // written for lanes come here only for runs of two planes (several_planes).
  static constexpr std::uint32_t kGroup = Policy::kLaneRule ? 2 : 4;

  void planes_at_once(BandLines<T>& lines, unsigned threads) {
    const std::uint32_t planes = control_.planes;
    FeedbackRandom& shared = screening_random();
    std::vector<std::uint32_t> counted;  // every row's draws, where they follow from the source
    if constexpr (Policy::kDrawsBySource) counted = source_row_draws();
    std::vector<FeedbackRandom> start;  // the generator at each plane's start
    start.reserve(planes + 1);
    for (RandomTable const& table : plane_starts(counted)) start.push_back(generator_at(table));
    // A group's working lines for each run; the first run's first plane
    // works in the held lines.
    const std::uint32_t runs = plane_runs(planes, threads);
    const std::uint32_t longest = (planes + runs - 1) / runs;
    const std::uint32_t group = longest < kGroup ? longest : kGroup;
    std::vector<std::unique_ptr<T[]>> own(2 * group * runs);
    for (std::size_t i = 2; i < own.size(); ++i) own[i].reset(new T[width_ + 1]());
    for_plane_runs(planes, runs, [&](std::uint32_t first, std::uint32_t end) {
      std::uint32_t k = 0;
      while (plane_run_start(planes, runs, k) != first) ++k;
      const auto line = [&](std::uint32_t i) {
        return k == 0 && i < 2 ? (i == 0 ? lines.ValueLineA() : lines.ValueLineB())
                               : own[2 * group * k + i].get();
      };
      std::vector<Policy> policies(group, policy_);
      std::vector<BandEngine> engines;
      engines.reserve(group);
      for (Policy& policy : policies) {
        engines.emplace_back(policy, source_, dots_, width_, height_, control_);
        if constexpr (Policy::kDrawsBySource) engines.back().counted_draws_ = counted.data();
      }
      const auto members = [&]<std::uint32_t... I>(std::uint32_t p,
                                                   std::integer_sequence<std::uint32_t, I...>) {
        return std::array<GroupMember, sizeof...(I)>{
            GroupMember{&engines[I], line(2 * I), line(2 * I + 1), lines.CarryLine(p + I, width_),
                        p + I, &start[p + I]}...};
      };
      std::uint32_t p = first;
      for (; end - p >= kGroup; p += kGroup)
        plane_group(members(p, std::make_integer_sequence<std::uint32_t, kGroup>{}));
      if constexpr (kGroup > 2)
        if (end - p >= 2) {
          plane_group(members(p, std::make_integer_sequence<std::uint32_t, 2>{}));
          p += 2;
        }
      if (p < end) engines[0].plane(line(0), line(1), lines.CarryLine(p, width_), p, start[p]);
    });
    shared = start[planes];
  }

#if defined(HALFTONE_VECTORS)

  // Planes whose draws are known ahead, in groups of up to four, one a lane:
  // every lane starts from the generator as the planes before it leave it,
  // as in planes_at_once, and the rule runs once for the whole group. The
  // planes are cut into runs on `threads` threads, each run in groups.
  void planes_in_lanes(BandLines<T>& lines, unsigned threads) {
    const std::uint32_t planes = control_.planes;
    FeedbackRandom& shared = screening_random();
    const std::vector<RandomTable> start = plane_starts();
    for_plane_runs(planes, threads, [&](std::uint32_t first, std::uint32_t end) {
      // Two working lines and two rows of source greys, lane by lane.
      std::unique_ptr<V[]> work(new V[4 * std::size_t{width_}]);
      V* const w = work.get();
      for (std::uint32_t p = first; p < end; p += kLanes) {
        const std::uint32_t n = end - p < kLanes ? end - p : kLanes;
        Policy policy = policy_;
        BandEngine(policy, source_, dots_, width_, height_, control_)
            .lane_group(lines, p, n, start.data() + p, w, w + width_, w + 2 * width_,
                        w + 3 * width_);
      }
    });
    shared = generator_at(start[planes]);
  }

  using V = typename LaneValueOf<Policy>::type;
  using Gathered = std::conditional_t<std::is_same_v<V, DoubleLanes>, Masks64, V>;
  using Out = LaneRowOut<Policy::kBits, Gathered>;
  using Random = LaneRandom<std::conditional_t<std::is_same_v<V, Lanes32>, Lanes32, Lanes>>;

  struct LaneRow {
    V* cur;
    V* below;
    T* const* carry;
    V const* src;
    V const* src_next;
    unsigned char* const* out;
    std::uint32_t count;
    std::uint32_t y;
  };

  // Row r of planes [p, p + n) into `greys`; lanes past n repeat plane p.
  void gather(V* greys, std::uint32_t p, std::uint32_t n, std::uint32_t r) const {
    unsigned char const* rows[kLanes];
    for (std::uint32_t l = 0; l < kLanes; ++l) rows[l] = src_row(p + (l < n ? l : 0), r);
    gather_greys(greys, rows, width_);
  }

  // The group's rows, compiled a second time for AVX2 (three-operand forms,
  // one-instruction blends), chosen at run time.
  void lane_group(BandLines<T>& lines, std::uint32_t p, std::uint32_t n, RandomTable const* tables,
                  V* a, V* b, V* greys, V* next_greys) {
#if defined(__x86_64__)
    if (cpu_has_avx2()) return lane_group_avx2(lines, p, n, tables, a, b, greys, next_greys);
#endif
    lane_rows(lines, p, n, tables, a, b, greys, next_greys);
  }
#if defined(__x86_64__)
  __attribute__((target("avx2"), flatten)) void lane_group_avx2(BandLines<T>& lines,
                                                                std::uint32_t p, std::uint32_t n,
                                                                RandomTable const* tables, V* a,
                                                                V* b, V* greys, V* next_greys) {
    lane_rows(lines, p, n, tables, a, b, greys, next_greys);
  }
#endif

  void lane_rows(BandLines<T>& lines, std::uint32_t p, std::uint32_t n, RandomTable const* tables,
                 V* a, V* b, V* greys, V* next_greys) {
    Random rng(tables, n);
    policy_.begin_lanes(p, n);
    T* carry[kLanes];
    for (std::uint32_t l = 0; l < kLanes; ++l)
      carry[l] = lines.CarryLine(p + (l < n ? l : 0), width_);
    gather(greys, p, n, 0);
    for (std::uint32_t x = 0; x < width_; ++x) {
      const V held = lanes_as<V>(carry[0][x], carry[1][x], carry[2][x], carry[3][x]);
      if constexpr (Policy::kValueLines)
        a[x] = line_sum(greys[x], held);
      else
        a[x] = line_sum(broadcast_as<V>(policy_.first_row_base(x)), held);
    }
    for (std::uint32_t l = 0; l < n; ++l)
      for (std::uint32_t x = 0; x < width_; ++x) carry[l][x] = T{};
    for (std::uint32_t r = 0; r < height_; ++r) {
      const bool last = r + 1 == height_;
      if (!last) gather(next_greys, p, n, r + 1);
      unsigned char* out[kLanes];
      for (std::uint32_t l = 0; l < kLanes; ++l) out[l] = out_row(p + (l < n ? l : 0), r);
      const LaneRow row{(r & 1u) ? b : a, (r & 1u) ? a : b, carry, greys, next_greys, out, n, r};
      by_row_kind(policy_.begin_row(p, r), last, [&](auto kind) {
        using K = decltype(kind);
        lane_scan<K::kDir, K::kBody, K::kEnd>(row, rng);
      });
      std::swap(greys, next_greys);
    }
  }

  // The policy is copied into the scan, so that nothing the loop stores
  // can alias it and its values stay in registers; lane policies keep no
  // state of their own from pixel to pixel.
  template <Dir D, Role Body, Role End>
  void lane_scan(LaneRow const& row, Random& rng) {
    Policy policy = policy_;
    Out out(row.out, row.count);
    std::uint32_t x = D == Dir::Ltr ? 0 : width_ - 1;
    V ahead{};
    for (std::uint32_t n = width_ - 1; n != 0; --n) {
      ahead = lane_step<D, Body>(policy, row, x, ahead, out, rng);
      out.template after<D>(x, false);
      if constexpr (D == Dir::Ltr)
        ++x;
      else
        --x;
    }
    (void)lane_step<D, End>(policy, row, x, ahead, out, rng);
    out.template after<D>(x, true);
  }

  template <Dir D, Role R>
  static inline V lane_step(Policy& policy, LaneRow const& row, std::uint32_t x, V incoming,
                            Out& out, Random& rng) {
    // Lanes wrap as the lines do: no store() needed.
    V v;
    if constexpr (Policy::kLaneSumUnwrapped)
      v = row.cur[x] + incoming;
    else
      v = line_sum(row.cur[x], incoming);
    const auto sh = policy.template pixel<D, R>(v, LanePixel<V>{x, row.y, row.src[x]}, out, rng);
    if constexpr (!is_last_row(R)) {
      if constexpr (Policy::kValueLines)
        row.below[x] = line_sum(row.src_next[x], sh.below);
      else
        row.below[x] = line_sum(broadcast_as<V>(policy.below_base(x, row.y)), sh.below);
    } else if constexpr (!Policy::kCarryOnlyAfterRtl || D == Dir::Rtl) {
      for (std::uint32_t l = 0; l < row.count; ++l)
        row.carry[l][x] = static_cast<T>(lane(sh.below, l));
    }
    return sh.ahead;
  }
#endif

  Row row_of(T* a, T* b, T* carry, std::uint32_t p, std::uint32_t r) const {
    return Row{(r & 1u) ? b : a,
               (r & 1u) ? a : b,
               carry,
               src_row(p, r),
               r + 1 < height_ ? src_row(p, r + 1) : nullptr,
               out_row(p, r),
               r,
               static_cast<std::size_t>(r) * control_.planes + p};
  }

  // A plane of a group: its engine, working lines, carry line, number and
  // generator.
  struct GroupMember {
    BandEngine* e;
    T* a;
    T* b;
    T* carry;
    std::uint32_t p;
    FeedbackRandom* g;
  };

  // Planes row by row; where every plane's row runs the same way, the rows
  // are scanned together.
  template <std::size_t N>
  static void plane_group(std::array<GroupMember, N> const& m) {
    for (GroupMember const& g : m) g.e->begin(g.a, g.carry, g.p);
    const std::uint32_t height = m[0].e->height_;
    for (std::uint32_t r = 0; r < height; ++r) {
      std::array<Row, N> rows;
      std::array<Dir, N> dirs;
      bool same = true;
      for (std::size_t i = 0; i < N; ++i) {
        rows[i] = m[i].e->row_of(m[i].a, m[i].b, m[i].carry, m[i].p, r);
        dirs[i] = m[i].e->policy_.begin_row(m[i].p, r);
        same = same && dirs[i] == dirs[0];
      }
      const bool last = r + 1 == height;
      if (!same) {
        for (std::size_t i = 0; i < N; ++i) m[i].e->scan_row(rows[i], dirs[i], last, *m[i].g);
      } else {
        by_row_kind(dirs[0], last, [&](auto kind) {
          using K = decltype(kind);
          with_group_draws<K::kDir, K::kBody, K::kEnd>(m, rows, [&](auto&... rng) {
            with_group_policies(m, [&](auto&... policy) {
              scan_group<K::kDir, K::kBody, K::kEnd>(m, rows, std::tie(policy...),
                                                     std::tie(rng...));
            });
          });
        });
      }
    }
    for (GroupMember const& g : m) g.e->policy_.end_plane(g.p);
  }

  // Calls f with each member's row draws (with_row_draws), in member order.
  template <Dir D, Role Body, Role End, std::size_t K = 0, std::size_t N, class F, class... Rng>
  static void with_group_draws(std::array<GroupMember, N> const& m, std::array<Row, N> const& rows,
                               F&& f, Rng&... rng) {
    if constexpr (K == N)
      f(rng...);
    else
      m[K].e->template with_row_draws<D, Body, End>(rows[K], *m[K].g, [&](auto& next) {
        with_group_draws<D, Body, End, K + 1>(m, rows, f, rng..., next);
      });
  }

  // Calls f with each member's scan policy (with_scan_policy), in member order.
  template <std::size_t K = 0, std::size_t N, class F, class... P>
  static void with_group_policies(std::array<GroupMember, N> const& m, F&& f, P&... policy) {
    if constexpr (K == N)
      f(policy...);
    else
      m[K].e->with_scan_policy(
          [&](Policy& next) { with_group_policies<K + 1>(m, f, policy..., next); });
  }

  // Groups keep their values wrapped: chains side by side are bound by
  // their number of instructions more than by any one chain, and the range
  // mask would add to it.
  template <Dir D, Role Body, Role End, std::size_t N, class Policies, class Rngs>
  static void scan_group(std::array<GroupMember, N> const& m, std::array<Row, N> const& rows,
                         Policies policies, Rngs rngs) {
    [&]<std::size_t... I>(std::index_sequence<I...>) {
      using Acc = typename Policy::Acc;
      const std::uint32_t width = m[0].e->width_;
      std::uint32_t x = D == Dir::Ltr ? 0 : width - 1;
      RowOut<Policy::kBits> out[N] = {
          RowOut<Policy::kBits>(rows[I].out, x, m[I].e->codes_.get())...};
      Shares<Acc> sent[N] = {};
      std::uint32_t range = 0;  // unused
      // The members' draws are read through copies local to the scan, handed
      // back once after the row: read through the callers' objects, each
      // draw also stored a flag on the stack marking them to be written back.
      auto rng = std::make_tuple(std::get<I>(rngs)...);
      for (std::uint32_t n = width - 1; n != 0; --n) {
        ((sent[I] = step<D, Body>(std::get<I>(policies), rows[I], x, sent[I], out[I],
                                  std::get<I>(rng), range)),
         ...);
        (out[I].template after<D>(x, false), ...);
        if constexpr (D == Dir::Ltr)
          ++x;
        else
          --x;
      }
      ((void)step<D, End>(std::get<I>(policies), rows[I], x, sent[I], out[I], std::get<I>(rng),
                          range),
       ...);
      ((std::get<I>(rngs) = std::get<I>(rng)), ...);
      (out[I].template after<D>(x, true), ...);
    }
    (std::make_index_sequence<N>{});
  }

  // The plane's first row from the source (or the screen's base) and the
  // carried error, which is then cleared.
  void begin(T* const a, T* const carry, std::uint32_t p) {
    policy_.begin_plane(p);
    unsigned char const* first = src_row(p, 0);
    for (std::uint32_t x = 0; x < width_; ++x) {
      if constexpr (Policy::kValueLines)
        a[x] = store(T{}, static_cast<typename Policy::Acc>(first[x]) + carry[x]);
      else
        a[x] = store(T{}, policy_.first_row_base(x) + carry[x]);
      carry[x] = T{};
    }
  }

  void plane(T* const a, T* const b, T* const carry, std::uint32_t p, FeedbackRandom& rng) {
    begin(a, carry, p);
    for (std::uint32_t r = 0; r < height_; ++r)
      scan_row(row_of(a, b, carry, p, r), policy_.begin_row(p, r), r + 1 == height_, rng);
    policy_.end_plane(p);
  }

  // Row 0 of a band always sits in line A, row 1 in line B and so on,
  // whichever direction the row runs.
  void scan_row(Row const& row, Dir dir, bool last, FeedbackRandom& rng) {
    by_row_kind(dir, last, [&](auto kind) {
      using K = decltype(kind);
      scan<K::kDir, K::kBody, K::kEnd>(row, rng);
    });
  }

  // The draws of a row of the kind, where the policy's count is fixed.
  template <Role Body, Role End>
  std::uint32_t row_draws() const {
    return static_cast<std::uint32_t>(Policy::kDraws.in(Body)) * (width_ - 1u) +
           static_cast<std::uint32_t>(Policy::kDraws.in(End));
  }

  // Where the policy's draws a row are a fixed count, or follow from the
  // row's source, the row's draws are made first, a block at a time
  // (FeedbackRandom::fill), and the pixels read them in turn; otherwise the
  // pixels draw from a copy of the generator local to the row, so that
  // nothing the loop writes through the output pointer can alias its state
  // and it stays in registers.
  template <Dir D, Role Body, Role End, class Scan>
  void with_row_draws(Row const& row, FeedbackRandom& shared_rng, Scan&& scan) {
    if constexpr (Policy::kDraws.fixed_some() || Policy::kDrawsBySource) {
      std::uint32_t n;
      if constexpr (Policy::kDrawsBySource)
        n = counted_draws_ != nullptr ? counted_draws_[row.line] : row_source_draws<D>(row.src);
      else
        n = row_draws<Body, End>();
      if (draws_.size() < n) draws_.resize(n);
      shared_rng.fill(draws_.data(), n);
      DrawnRow drawn(draws_.data());
      scan(drawn);
    } else {
      FeedbackRandom rng = shared_rng;
      scan(rng);
      shared_rng = rng;
    }
  }

  template <Dir D, Role Body, Role End>
  void scan(Row const& row, FeedbackRandom& shared_rng) {
    with_row_draws<D, Body, End>(row, shared_rng,
                                 [&](auto& rng) { scan_with<D, Body, End>(row, rng); });
  }

  // The share sent ahead goes to the very next pixel of the scan, which is
  // handled next; it is kept in a register instead of being stored in the
  // current line and read back (a current line's cells are dead once read).
  //
  // With kUnwrappedRows the row first runs with its values unwrapped,
  // which takes the 16-bit wrap off the chain from pixel to pixel, while a
  // mask gathers whether any value left the 16-bit range. Only then do the
  // two runs differ; the row is run again from the same draws and state
  // with the values wrapped, and every line cell and output byte the first
  // run wrote is written again. Past the first value out of range, a value
  // can grow by at most some 2^15 a pixel; rows of up to kUnwrappedWidth
  // pixels keep every value, and three times it, well inside 32 bits.
  static constexpr std::uint32_t kUnwrappedWidth = 16384;

  template <Dir D, Role Body, Role End, class Rng>
  void scan_with(Row const& row_in, Rng& rng) {
    with_scan_policy([&](Policy& policy) {
      const Row row = row_in;
      if constexpr (Policy::kUnwrappedRows) {
        static_assert(std::is_trivially_copyable_v<Policy>,
                      "a row run again starts from a plain copy of the policy's state");
        if (width_ <= kUnwrappedWidth) {
          const Rng rng_start = rng;
          const Policy policy_start = policy;
          if (scan_values<D, Body, End, true>(policy, row, rng)) return;
          rng = rng_start;
          policy = policy_start;
        }
      }
      (void)scan_values<D, Body, End, false>(policy, row, rng);
    });
  }

  // Scans the row; false where kUnwrapped and a value left the 16-bit range.
  template <Dir D, Role Body, Role End, bool kUnwrapped, class Rng>
  bool scan_values(Policy& policy, Row const& row, Rng& rng) const {
    using Acc = typename Policy::Acc;
    std::uint32_t x = D == Dir::Ltr ? 0 : width_ - 1;
    RowOut<Policy::kBits> out(row.out, x, codes_.get());
    Shares<Acc> sent{};
    std::uint32_t range = 0;  // every value + 2^15, or'ed: 16 bits while none wraps
    for (std::uint32_t n = width_ - 1; n != 0; --n) {
      sent = step<D, Body, kUnwrapped>(policy, row, x, sent, out, rng, range);
      out.template after<D>(x, false);
      if constexpr (D == Dir::Ltr)
        ++x;
      else
        --x;
    }
    (void)step<D, End, kUnwrapped>(policy, row, x, sent, out, rng, range);
    out.template after<D>(x, true);
    return range <= 0xFFFFu;
  }

  // The scan works on a copy of the policy where it is a plain one, so that
  // nothing the loop stores through its byte pointers can alias the
  // policy's tables and state, which then stay in registers; the state is
  // handed back after the row.
  template <class F>
  void with_scan_policy(F&& f) {
    if constexpr (std::is_trivially_copyable_v<Policy> && sizeof(Policy) <= 256) {
      Policy local = policy_;
      f(local);
      policy_ = local;
    } else {
      f(policy_);
    }
  }

  // One pixel: its line cell plus what the pixel before sent ahead.
  template <Dir D, Role R, bool kUnwrapped = false, class Rng>
  static inline Shares<typename Policy::Acc> step(Policy& policy, Row const& row, std::uint32_t x,
                                                  Shares<typename Policy::Acc> const& sent,
                                                  RowOut<Policy::kBits>& out, Rng& rng,
                                                  std::uint32_t& range) {
    using Acc = typename Policy::Acc;
    Acc cell = row.cur[x];
    if constexpr (Policy::kAheadInParts) cell -= sent.ahead_less;
    Acc v;
    if constexpr (kUnwrapped) {
      v = cell + sent.ahead;
      range |= static_cast<std::uint32_t>(v) + 0x8000u;
    } else {
      v = store(T{}, cell + sent.ahead);
    }
    const auto sh = policy.template pixel<D, R>(v, Pixel{x, row.y, row.src[x]}, out, rng);
    if constexpr (!is_last_row(R)) {
      if constexpr (Policy::kValueLines)
        row.below[x] = store(T{}, static_cast<typename Policy::Acc>(row.src_next[x]) + sh.below);
      else
        row.below[x] = store(T{}, policy.below_base(x, row.y) + sh.below);
    } else if constexpr (!Policy::kCarryOnlyAfterRtl || D == Dir::Rtl) {
      row.carry[x] = store(T{}, sh.below);
    }
    return sh;
  }

  Policy& policy_;
  unsigned char const* source_;
  unsigned char* dots_;
  std::uint32_t width_;
  std::uint32_t height_;
  ScreenControl control_;
  std::uint32_t src_stride_;
  std::uint32_t out_stride_;
  std::vector<std::uint32_t> draws_;              // a row's draws, made ahead
  std::unique_ptr<unsigned char[]> codes_;        // a row's codes, before they are packed
  std::uint32_t const* counted_draws_ = nullptr;  // every row's draws, where counted ahead
};

// Screens one call of a banded job with `policy` on `lines`. Returns 0, or
// ERR_NO_MEMORY when the persistent lines (or the policy's own state) cannot
// be allocated: the output is then cleared and the family holds no lines (a
// later band allocates afresh).
template <class Policy>
int screen(Policy policy, BandLines<typename Policy::Value>& lines, unsigned char const* source,
           unsigned char* dots, std::uint32_t width, std::uint32_t height,
           std::uint32_t control) noexcept {
  const ScreenControl ctl(control);
  const CallOutput output{dots,
                          std::size_t{ctl.planes} * out_stride(Policy::kBits, width) * height};
  return or_no_memory(
      [&] {
        policy.begin_band(ctl);
        // Lines that cannot be had fail like any other allocation.
        if (!lines.try_begin(ctl, width, Policy::kCarryStart)) throw std::bad_alloc();
        BandEngine<Policy>(policy, source, dots, width, height, ctl).run(lines);
        return 0;
      },
      output);
}

// Sizes given as signed ints: a negative size screens nothing and clears nothing.
constexpr std::uint32_t extent(int n) { return n < 0 ? 0u : static_cast<std::uint32_t>(n); }
constexpr std::uint32_t extent(unsigned n) { return n; }

// Integer splits, truncating toward zero as the screens define them.
constexpr std::int32_t third(std::int32_t e) { return e / 3; }
constexpr std::int32_t two_thirds(std::int32_t e) { return (2 * e) / 3; }
constexpr std::int32_t half(std::int32_t e) { return e / 2; }
constexpr std::int32_t quarter(std::int32_t e) { return e / 4; }
constexpr std::int32_t three_quarters(std::int32_t e) { return (3 * e) / 4; }
// Arithmetic shift right by one: rounds toward minus infinity.
constexpr std::int32_t shift_half(std::int32_t e) { return e >> 1; }

// The common dot test of the integer screens: a value of at most 128 is a dot
// and passes itself on; a lighter value passes on value - 255.
constexpr std::int32_t error_of(std::int32_t v) { return v <= 128 ? v : v - 255; }

}  // namespace halftone::engine
