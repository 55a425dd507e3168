// Where the program's output goes, so that a failed or interrupted run
// leaves no file behind and a special file keeps its kind.
//
//   "-"                      standard output, written directly;
//   a device, FIFO or socket written directly (never replaced);
//   a symbolic link          followed: its target is replaced, the link kept;
//   a regular or new file    written to a temporary file in the same folder
//                            (an unnamed one where the system has them) and
//                            renamed into place by commit().
//
// The temporary file is removed when the OutputFile goes without commit()
// and when SIGINT, SIGTERM, SIGHUP or SIGPIPE ends the program.
#pragma once
#include <cstdio>
#include <memory>
#include <string>

namespace halftone::tool {

class OutputFile {
 public:
  // Throws ToolError when the target cannot be written (no such folder, a
  // folder, a symbolic link loop).
  explicit OutputFile(std::string path);
  OutputFile(OutputFile const&) = delete;
  OutputFile& operator=(OutputFile const&) = delete;
  ~OutputFile();

  std::FILE* stream() const { return stream_; }
  std::string const& name() const { return path_; }
  // Flushes and puts the file in place.
  void commit();

 private:
  void discard();

  std::string path_;                // as given
  std::string target_;              // the file that is replaced (links followed)
  std::string pending_;             // the named temporary file, if any
  std::unique_ptr<char[]> buffer_;  // the stream's, for a file of our own
  std::FILE* stream_ = nullptr;
  int fd_ = -1;
  bool unnamed_ = false;  // an O_TMPFILE file, linked in by commit()
  bool direct_ = false;
};

// Installs the handlers that remove a pending temporary file on SIGINT,
// SIGTERM, SIGHUP and SIGPIPE (then end the program by the same signal).
void remove_pending_on_signals();

}  // namespace halftone::tool
