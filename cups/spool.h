// A temporary file read and written at offsets, gone from the folder as soon
// as it is made: the filter keeps pages read ahead of their screening there.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace halftone::cups_filter {

class Spool {
 public:
  Spool() = default;
  Spool(Spool const&) = delete;
  Spool& operator=(Spool const&) = delete;
  ~Spool();

  // Makes the file in $TMPDIR (CUPS gives each filter its own), else /tmp.
  // Returns "" or why not.
  std::string open();
  // Each returns "" or why not. Safe from several threads at once.
  std::string write(void const* data, std::size_t size, std::uint64_t offset) const;
  std::string read(void* data, std::size_t size, std::uint64_t offset) const;

 private:
  int fd_ = -1;
};

}  // namespace halftone::cups_filter
