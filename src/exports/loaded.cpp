// Export table: the screen data loaders, the pattern and threshold screens,
// and the block-offset screens (their rules on the band engine).
// clang-format off
#include "frame/exported.h"  // first: the exported declarations with default visibility
// clang-format on
#include <string>

#include "frame/band_engine.h"
#include "frame/data_folder.h"
#include "frame/no_memory.h"
#include "frame/state.h"
#include "screens/loaded/block_policies.h"
#include "screens/loaded/screens.h"

using halftone::or_no_memory;
using halftone::shared_lines;
using halftone::engine::extent;
using halftone::engine::screen;
namespace l = halftone::loaded;

namespace {

// The data file `name` in the data folder's Moths/ (null stays null).
struct DataFile {
  std::string path;
  char const* name;
  explicit DataFile(char const* n) : path(n ? halftone::moths_path(n) : std::string()), name(n) {}
  char const* c_str() const { return name ? path.c_str() : nullptr; }
};

// A screen without carried lines, its output cleared if it runs out of memory.
template <int (*Rule)(unsigned char const*, unsigned char*, std::uint32_t, std::uint32_t,
                      std::uint32_t),
          unsigned kBits = 1>
int guarded(unsigned char* source, unsigned char* dots, std::uint32_t width, std::uint32_t height,
            unsigned int control) noexcept {
  const std::size_t size = std::size_t{halftone::ScreenControl(control).planes} *
                           halftone::engine::out_stride(kBits, width) * height;
  return or_no_memory([&] { return Rule(source, dots, width, height, control); }, {dots, size});
}

}  // namespace

int KaiDuaning(char const* fileName, int patternWidth, int patternHeight) noexcept {
  return or_no_memory(
      [&] { return l::load_patterns1(DataFile(fileName).c_str(), patternWidth, patternHeight); });
}
int NingJing(char const* fileName, int patternWidth, int patternHeight) noexcept {
  return or_no_memory(
      [&] { return l::load_patterns2(DataFile(fileName).c_str(), patternWidth, patternHeight); });
}
// These three work out a result code but hand the host 0 whatever happened
// once the file name is built.
int PuaningFa(char const* fileName, int, int) noexcept {
  return or_no_memory([&] {
    (void)l::load_matrix_bmp(DataFile(fileName).c_str());
    return 0;
  });
}
int PuaningFa13(char const* fileName, int, int) noexcept {
  return or_no_memory([&] {
    (void)l::load_offset_bmp(DataFile(fileName).c_str());
    return 0;
  });
}
int NiceMents(char const* fileName, int, int) noexcept {
  return or_no_memory([&] {
    (void)l::load_blocks(DataFile(fileName).c_str());
    return 0;
  });
}
int PuaningFaAM(char const*, int, int) noexcept { return 0; }

int Sonicksure(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) noexcept {
  return guarded<l::geometry_pattern_screen>(source, dots, extent(width), extent(height), control);
}
int MutexWindow(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept {
  return guarded<l::fixed_pattern_screen>(source, dots, width, height, control);
}
int MutexWindow_Bak(unsigned char* source, unsigned char* dots, unsigned int width,
                    unsigned int height, unsigned int control) noexcept {
  return guarded<l::fixed_pattern_screen>(source, dots, width, height, control);
}
int TextDownload(unsigned char* source, unsigned char* dots, int width, int height,
                 unsigned int control) noexcept {
  return guarded<l::fixed_pattern2_screen, 2>(source, dots, extent(width), extent(height), control);
}
int WindowText(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) noexcept {
  return guarded<l::matrix_threshold>(source, dots, extent(width), extent(height), control);
}
int WindowTextAM1(unsigned char* source, unsigned char* dots, unsigned int width,
                  unsigned int height, unsigned int control) noexcept {
  return guarded<l::clustered_threshold>(source, dots, width, height, control);
}
int WindowTextAM(unsigned char* source, unsigned char* dots, int width, int height,
                 unsigned int control) noexcept {
  return guarded<l::clustered_threshold_lines>(source, dots, extent(width), extent(height),
                                               control);
}

int CrisixOut(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
              unsigned int control) noexcept {
  return screen(l::BlockHalfSplit<std::int16_t>{{}, halftone::stores().ThresholdBlockStack},
                shared_lines(), source, dots, width, height, control);
}
int CrisixOut_double(unsigned char* source, unsigned char* dots, unsigned int width,
                     unsigned int height, unsigned int control) noexcept {
  return screen(l::BlockHalfSplit<double>{}, halftone::block_offset_double_lines(), source, dots,
                width, height, control);
}
int CrisixOut31(unsigned char* source, unsigned char* dots, int width, int height,
                unsigned int control) noexcept {
  return screen(l::BlockRandomSplit{}, shared_lines(), source, dots, extent(width), extent(height),
                control);
}
