#include "exports/catalog.h"

#include <cstring>
#include <vector>

#include "frame/layout.h"

namespace halftone {

std::uint32_t output_stride(ScreenInfo const& info, std::uint32_t out_width) {
  switch (info.bits) {
    case 2:
      return dot2_stride(out_width);
    case 4:
      return dot4_stride(out_width);
    default:
      return dot_stride(out_width);
  }
}

std::span<ScreenInfo const> catalog() {
  static const std::vector<ScreenInfo> all = [] {
    std::vector<ScreenInfo> v;
    for (auto part : {diffusion_catalog(), matrix_catalog(), matrix_offset_catalog(),
                      damped_catalog(), multilevel_catalog(), loaded_catalog(),
                      loaded_block_catalog(), utilities_catalog(), matrix_composed_catalog()})
      v.insert(v.end(), part.begin(), part.end());
    return v;
  }();
  return all;
}

ScreenInfo const* find_screen(char const* name) {
  for (ScreenInfo const& info : catalog())
    if (std::strcmp(info.name, name) == 0) return &info;
  return nullptr;
}

}  // namespace halftone
