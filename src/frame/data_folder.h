// Where "ToneAry.ham" and the Moths/ screen data files are looked up.
#pragma once
#include <string>

namespace halftone {

// The data folder with a trailing separator: the folder set through
// set_data_folder, or else the executable's own folder.
std::string data_folder();

// "<folder>ToneAry.ham" and "<folder>Moths/<name>".
std::string data_path(char const* name);
std::string moths_path(char const* name);

// `folder` with a separator at its end (unchanged when empty or already so).
std::string folder_with_separator(std::string folder);

}  // namespace halftone
