// Small screen data files for the demonstration, made on the fly: pattern
// banks of clustered dots, a threshold matrix and a threshold-block file.
#pragma once
#include <string>
#include <vector>

#include "args.h"

namespace halftone::tool {

constexpr Size kDemoPatternSize{16, 16};

struct DemoFile {
  unsigned need;     // the catalog's kNeeds... flag the file serves
  std::string name;  // file name inside Moths/
  std::vector<unsigned char> bytes;
};

std::vector<DemoFile> make_demo_files();

}  // namespace halftone::tool
