#include "spool.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace halftone::cups_filter {

Spool::~Spool() {
  if (fd_ >= 0) ::close(fd_);
}

std::string Spool::open() {
  char const* folder = std::getenv("TMPDIR");
  if (folder == nullptr || folder[0] == '\0') folder = "/tmp";
  std::string path = std::string(folder) + "/rastertohalftone-XXXXXX";
  fd_ = ::mkstemp(path.data());
  if (fd_ < 0)
    return "cannot make a spool file in " + std::string(folder) + ": " + std::strerror(errno);
  ::unlink(path.data());
  return "";
}

namespace {

// Calls pread or pwrite until all `size` bytes have gone. Returns 0, the
// call's errno, or -1 where it moved nothing (end of file, or no room).
template <class Call, class Byte>
int transfer(Call call, int fd, Byte* bytes, std::size_t size, std::uint64_t offset) {
  while (size > 0) {
    const ssize_t n = call(fd, bytes, size, static_cast<off_t>(offset));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return n < 0 ? errno : -1;
    bytes += n;
    size -= static_cast<std::size_t>(n);
    offset += static_cast<std::uint64_t>(n);
  }
  return 0;
}

}  // namespace

std::string Spool::write(void const* data, std::size_t size, std::uint64_t offset) const {
  const int fault = transfer(::pwrite, fd_, static_cast<unsigned char const*>(data), size, offset);
  if (fault == 0) return "";
  return std::string("cannot spool the page: ") + std::strerror(fault < 0 ? ENOSPC : fault);
}

std::string Spool::read(void* data, std::size_t size, std::uint64_t offset) const {
  const int fault = transfer(::pread, fd_, static_cast<unsigned char*>(data), size, offset);
  if (fault == 0) return "";
  return std::string("cannot read the spooled page: ") +
         (fault < 0 ? "it is cut short" : std::strerror(fault));
}

}  // namespace halftone::cups_filter
