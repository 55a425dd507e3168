// clang-format off
#include "frame/exported.h"  // first: the exported declarations with default visibility
// clang-format on
#include "frame/data_folder.h"

#include <mutex>

#include "frame/no_memory.h"
#include "frame/state.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace halftone {
namespace {

constexpr char kSeparator =
#if defined(_WIN32)
    '\\';
#else
    '/';
#endif

std::mutex g_mutex;
std::string g_folder;  // empty: the executable's folder
bool g_folder_set = false;

// The executable's path cut just after its last separator. A path with no
// separator is used whole, as the folder part.
std::string executable_folder() {
  std::string path;
#if defined(_WIN32)
  char buffer[260] = {};
  DWORD n = GetModuleFileNameA(nullptr, buffer, sizeof buffer);
  path.assign(buffer, n);
#else
  char buffer[4096];
  ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
  if (n > 0) path.assign(buffer, static_cast<std::size_t>(n));
#endif
  std::size_t cut = path.find_last_of(kSeparator);
  if (cut != std::string::npos) path.resize(cut + 1);
  return path;
}

}  // namespace

std::string data_folder() {
  ScreenState const& s = state();
  if (s.has_data_folder) return s.data_folder;
  std::lock_guard<std::mutex> lock(g_mutex);
  if (g_folder_set) return g_folder;
  return executable_folder();
}

std::string data_path(char const* name) { return data_folder() + name; }

std::string moths_path(char const* name) {
  return data_folder() + "Moths" + kSeparator + (name ? name : "");
}

std::string folder_with_separator(std::string folder) {
  if (!folder.empty() && folder.back() != '/' && folder.back() != kSeparator) folder += kSeparator;
  return folder;
}

void set_data_folder(char const* folder) noexcept {
  (void)or_no_memory([folder] {
    std::lock_guard<std::mutex> lock(g_mutex);
    if (folder == nullptr) {
      g_folder.clear();
      g_folder_set = false;
      return 0;
    }
    g_folder = folder_with_separator(folder);
    g_folder_set = true;
    return 0;
  });
}

}  // namespace halftone
