// For C++ hosts: the C job API with ownership and exceptions left to the
// caller's taste. Header only; it adds nothing to the library's exports.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "halftone/c_api.h"

namespace halftone {

// One screening job. Moves, never copies; frees the job when it goes.
// Every call returns the library's result code (0 on success); error() says why.
class Job {
 public:
  Job(char const* screen, std::uint32_t width, std::uint32_t planes)
      : job_(halftone_job_new(screen, width, planes)),
        failure_(job_ ? std::string() : std::string(halftone_last_error())) {}
  Job(Job&& other) noexcept
      : job_(std::exchange(other.job_, nullptr)), failure_(std::move(other.failure_)) {}
  Job& operator=(Job&& other) noexcept {
    if (this != &other) {
      halftone_job_free(job_);
      job_ = std::exchange(other.job_, nullptr);
      failure_ = std::move(other.failure_);
    }
    return *this;
  }
  Job(Job const&) = delete;
  Job& operator=(Job const&) = delete;
  ~Job() { halftone_job_free(job_); }

  // False when the job could not be made (see error()).
  explicit operator bool() const { return job_ != nullptr; }

  int set(char const* key, char const* value) { return halftone_job_set(job_, key, value); }
  int set(char const* key, std::string const& value) { return set(key, value.c_str()); }
  int band(unsigned char const* source, std::size_t source_stride, unsigned char* dots,
           std::size_t dots_stride, std::uint32_t rows) {
    return halftone_job_band(job_, source, source_stride, dots, dots_stride, rows);
  }
  int finish() { return halftone_job_finish(job_); }
  char const* error() const { return job_ ? halftone_job_error(job_) : failure_.c_str(); }
  halftone_job* get() const { return job_; }

 private:
  halftone_job* job_;
  std::string failure_;
};

}  // namespace halftone
