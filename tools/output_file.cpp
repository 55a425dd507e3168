#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

#include "tool_error.h"

namespace halftone::tool {
namespace {
namespace fs = std::filesystem;

// The one temporary file a signal handler may have to remove, as a path
// ready for unlink() (no allocation in the handler).
char pending_path[4096];
volatile std::sig_atomic_t pending_armed = 0;

void arm(std::string const& path) {
  pending_armed = 0;
  if (path.size() >= sizeof pending_path) return;
  std::memcpy(pending_path, path.c_str(), path.size() + 1);
  pending_armed = 1;
}
void disarm() { pending_armed = 0; }

extern "C" void on_signal(int signal) {
  if (pending_armed) ::unlink(pending_path);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

std::string error_text() { return std::strerror(errno); }

// The file a path names once its symbolic links are followed.
fs::path follow_links(std::string const& path) {
  fs::path p(path);
  for (int hops = 0; hops < 40; ++hops) {
    struct stat st {};
    if (::lstat(p.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return p;
    std::error_code error;
    const fs::path link = fs::read_symlink(p, error);
    if (error) throw ToolError("cannot read the link " + p.string() + ": " + error.message());
    p = link.is_absolute() ? link : p.parent_path() / link;
  }
  throw ToolError(path + ": too many levels of symbolic links");
}

// A name for a temporary file beside `target`, not yet taken.
std::string temporary_beside(fs::path const& target) {
  static std::atomic<unsigned> counter{0};
  std::string name(".");
  name += target.filename().string();
  name += '.';
  name += std::to_string(::getpid());
  name += '-';
  name += std::to_string(counter++);
  name += ".tmp";
  return (target.parent_path() / name).string();
}

// Rows are written a band at a time; a large buffer turns that into few
// system calls (each costs microseconds on a virtual machine).
constexpr std::size_t kBuffer = std::size_t{1} << 18;

}  // namespace

void remove_pending_on_signals() {
  for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    struct sigaction old {};
    if (::sigaction(signal, nullptr, &old) == 0 && old.sa_handler == SIG_IGN)
      continue;  // left ignored, as whoever started the program asked
    struct sigaction action {};
    action.sa_handler = on_signal;
    sigemptyset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
  }
}

OutputFile::OutputFile(std::string path) : path_(std::move(path)) {
  if (path_ == "-") {
    stream_ = stdout;
    direct_ = true;
    static char standard_output_buffer[kBuffer];
    std::setvbuf(stream_, standard_output_buffer, _IOFBF, kBuffer);
    return;
  }
  if (path_.empty()) throw ToolError("the output file name is empty");
  const fs::path target = follow_links(path_);
  target_ = target.string();
  struct stat st {};
  const bool exists = ::stat(target_.c_str(), &st) == 0;
  if (exists && S_ISDIR(st.st_mode)) throw ToolError(path_ + " is a folder");
  if (exists && !S_ISREG(st.st_mode)) {  // a device, FIFO or socket: write to it as it is
    fd_ = ::open(target_.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (fd_ < 0) throw ToolError("cannot open " + path_ + ": " + error_text());
    direct_ = true;
  } else {
    const mode_t mode = exists ? (st.st_mode & 07777) : 0666;
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
#ifdef O_TMPFILE
    // An unnamed file vanishes with the process however it ends.
    if (::access("/proc/self/fd", X_OK) == 0) {
      fd_ = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode);
      unnamed_ = fd_ >= 0;
    }
#endif
    for (int attempt = 0; fd_ < 0 && attempt < 100; ++attempt) {
      pending_ = temporary_beside(target);
      arm(pending_);
      fd_ = ::open(pending_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
      if (fd_ < 0 && errno != EEXIST) break;
    }
    if (fd_ < 0) {
      const std::string why = error_text();
      disarm();
      pending_.clear();
      throw ToolError("cannot create " + path_ + ": " + why);
    }
    if (exists) (void)::fchmod(fd_, mode);  // as the file it replaces, whatever the umask
  }
  stream_ = ::fdopen(fd_, direct_ ? "wb" : "w+b");  // TIFF reads back what it wrote
  if (stream_ == nullptr) {
    const std::string why = error_text();
    discard();
    throw ToolError("cannot write " + path_ + ": " + why, kExitFailure);
  }
  buffer_.reset(new char[kBuffer]);
  std::setvbuf(stream_, buffer_.get(), _IOFBF, kBuffer);
}

OutputFile::~OutputFile() { discard(); }

void OutputFile::discard() {
  if (stream_ != nullptr && stream_ != stdout)
    std::fclose(stream_);
  else if (stream_ == nullptr && fd_ >= 0)
    ::close(fd_);
  stream_ = nullptr;
  fd_ = -1;
  if (!pending_.empty()) {
    ::unlink(pending_.c_str());
    disarm();
    pending_.clear();
  }
}

void OutputFile::commit() {
  auto fail = [&](std::string const& why) {
    discard();
    throw ToolError("cannot write " + path_ + ": " + why, kExitFailure);
  };
  if (std::fflush(stream_) != 0 || std::ferror(stream_)) fail(error_text());
  if (stream_ == stdout) {
    stream_ = nullptr;
    return;
  }
  if (unnamed_) {  // give the unnamed file a temporary name, then rename it over the target
    const std::string self = "/proc/self/fd/" + std::to_string(fd_);
    const fs::path target(target_);
    for (int attempt = 0; pending_.empty() && attempt < 100; ++attempt) {
      pending_ = temporary_beside(target);
      arm(pending_);
      if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, pending_.c_str(), AT_SYMLINK_FOLLOW) == 0)
        break;
      const int error = errno;
      disarm();
      pending_.clear();
      if (error != EEXIST) fail(std::strerror(error));
    }
  }
  std::FILE* stream = stream_;
  stream_ = nullptr;
  fd_ = -1;
  if (std::fclose(stream) != 0) fail(error_text());
  if (direct_) return;
  if (::rename(pending_.c_str(), target_.c_str()) != 0) fail(error_text());
  disarm();
  pending_.clear();
}

}  // namespace halftone::tool
