// A temporary data folder for tests that read "ToneAry.ham" or screen data.
#pragma once
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "halftone/setup.h"

namespace halftone::test {

using Bytes = std::vector<unsigned char>;

// Points the library at a fresh folder with a Moths sub-folder while it lives.
struct DataFolder {
  std::filesystem::path root =
      std::filesystem::temp_directory_path() /
      ("halftone_loaded_" +
       std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
  DataFolder() {
    std::filesystem::create_directories(root / "Moths");
    set_data_folder(root.string().c_str());
  }
  ~DataFolder() {
    set_data_folder(nullptr);
    std::error_code ignored;
    std::filesystem::remove_all(root, ignored);
  }
  DataFolder(DataFolder const&) = delete;
  // A screen data file in Moths/, or (beside) a file in the folder itself.
  void write(std::string const& name, Bytes const& bytes) const {
    write_file(root / "Moths" / name, bytes);
  }
  void write_beside(std::string const& name, Bytes const& bytes) const {
    write_file(root / name, bytes);
  }

 private:
  static void write_file(std::filesystem::path const& path, Bytes const& bytes) {
    std::ofstream(path, std::ios::binary) << std::string(bytes.begin(), bytes.end());
  }
};

}  // namespace halftone::test
