// The persistent lines that banded screens carry from band to band.
#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "frame/layout.h"

namespace halftone {

// One family's holders: a carry line of planes x width values and two working
// lines of width values. On a first band they are released and reallocated
// (carry at the screen's start value, working lines zero); on a last band they
// are released after screening.
//
// A band that finds no lines (no first band before it), or lines too small for
// its planes and width, allocates them as a first band would, without the rest
// of the first-band work (no reseeding): the job then runs as if it had started
// with no carried error.
template <class T>
class BandLines {
 public:
  // Returns true when the lines were (re)allocated by this call.
  bool begin(ScreenControl control, std::size_t width, T carry_start = T{}) {
    const std::size_t planes = control.planes;
    if (control.first_band() || carry_ == nullptr || width > width_ ||
        planes * width > carry_size_) {
      allocate(planes, width, carry_start);
      return true;
    }
    return false;
  }
  // As begin, but reports a failed allocation (false) instead of throwing; the
  // family then holds no lines.
  bool try_begin(ScreenControl control, std::size_t width, T carry_start = T{}) noexcept {
    try {
      begin(control, width, carry_start);
      return true;
    } catch (std::bad_alloc const&) {
      release();
      return false;
    }
  }
  void end(ScreenControl control) {
    if (control.last_band()) release();
  }
  void release() {
    carry_.reset();
    a_.reset();
    b_.reset();
    width_ = carry_size_ = 0;
  }

  bool held() const { return carry_ != nullptr; }
  // Plane p's carry row (width values starting at p * width).
  T* CarryLine(std::size_t plane, std::size_t width) const { return carry_.get() + plane * width; }
  T* ValueLineA() const { return a_.get(); }
  T* ValueLineB() const { return b_.get(); }

 private:
  void allocate(std::size_t planes, std::size_t width, T carry_start) {
    release();
    // One element at least, so that a held set is never a null pointer.
    carry_size_ = planes * width;
    width_ = width;
    carry_.reset(new T[carry_size_ + 1]);
    a_.reset(new T[width_ + 1]());
    b_.reset(new T[width_ + 1]());
    for (std::size_t i = 0; i <= carry_size_; ++i) carry_[i] = carry_start;
  }

  std::unique_ptr<T[]> carry_;
  std::unique_ptr<T[]> a_;
  std::unique_ptr<T[]> b_;
  std::size_t width_ = 0;
  std::size_t carry_size_ = 0;
};

// The banded integer screens (error diffusion, offset matrix, tone-banded,
// multi-level, block-offset and threshold-line screens) share one set.
BandLines<std::int16_t>& shared_lines();
// The damped double-precision screens.
BandLines<double>& damped_lines();
// The double-precision block-offset screen keeps a set of its own, apart from
// the damped screens' double lines: its band protocol never releases or
// reallocates theirs. (The two families could share one set without any
// difference to a job run from its first band to its last; keeping them apart
// is what the block-offset screen's own description asks for.)
BandLines<double>& block_offset_double_lines();

}  // namespace halftone
