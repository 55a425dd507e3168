#include "spool.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace halftone::cups_filter {

Spool::~Spool() {
  if (fd_ >= 0) ::close(fd_);
}

std::string Spool::open() {
  char const* folder = std::getenv("TMPDIR");
  if (folder == nullptr || folder[0] == '\0') folder = "/tmp";
  std::string name = std::string(folder) + "/rastertohalftone-XXXXXX";
  std::vector<char> path(name.begin(), name.end());
  path.push_back('\0');
  fd_ = ::mkstemp(path.data());
  if (fd_ < 0)
    return "cannot make a spool file in " + std::string(folder) + ": " + std::strerror(errno);
  ::unlink(path.data());
  return "";
}

std::string Spool::write(void const* data, std::size_t size, std::uint64_t offset) const {
  auto const* bytes = static_cast<unsigned char const*>(data);
  while (size > 0) {
    const ssize_t n = ::pwrite(fd_, bytes, size, static_cast<off_t>(offset));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0)
      return std::string("cannot spool the page: ") + std::strerror(n < 0 ? errno : ENOSPC);
    bytes += n;
    size -= static_cast<std::size_t>(n);
    offset += static_cast<std::uint64_t>(n);
  }
  return "";
}

std::string Spool::read(void* data, std::size_t size, std::uint64_t offset) const {
  auto* bytes = static_cast<unsigned char*>(data);
  while (size > 0) {
    const ssize_t n = ::pread(fd_, bytes, size, static_cast<off_t>(offset));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0)
      return std::string("cannot read the spooled page: ") +
             (n < 0 ? std::strerror(errno) : "it is cut short");
    bytes += n;
    size -= static_cast<std::size_t>(n);
    offset += static_cast<std::uint64_t>(n);
  }
  return "";
}

}  // namespace halftone::cups_filter
