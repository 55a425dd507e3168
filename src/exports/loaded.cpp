// Export table: the screen data loaders, the pattern screens and the
// threshold screens.
#include "halftone/loaded.h"

#include <string>

#include "exports/catalog.h"
#include "frame/band_engine.h"
#include "frame/data_folder.h"
#include "screens/loaded/screens.h"

using halftone::engine::extent;
namespace l = halftone::loaded;

namespace {

// The data file `name` in the data folder's Moths/ (null stays null).
struct DataFile {
  std::string path;
  char const* name;
  explicit DataFile(char const* n) : path(n ? halftone::moths_path(n) : std::string()), name(n) {}
  char const* c_str() const { return name ? path.c_str() : nullptr; }
};

}  // namespace

int KaiDuaning(char const* fileName, int patternWidth, int patternHeight) {
  return l::load_patterns1(DataFile(fileName).c_str(), patternWidth, patternHeight);
}
int NingJing(char const* fileName, int patternWidth, int patternHeight) {
  return l::load_patterns2(DataFile(fileName).c_str(), patternWidth, patternHeight);
}
// These three work out a result code but hand the host 0 whatever happened.
int PuaningFa(char const* fileName, int, int) {
  l::load_matrix_bmp(DataFile(fileName).c_str());
  return 0;
}
int PuaningFa13(char const* fileName, int, int) {
  l::load_offset_bmp(DataFile(fileName).c_str());
  return 0;
}
int NiceMents(char const* fileName, int, int) {
  l::load_blocks(DataFile(fileName).c_str());
  return 0;
}
int PuaningFaAM(char const*, int, int) { return 0; }

int Sonicksure(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) {
  return l::geometry_pattern_screen(source, dots, extent(width), extent(height), control);
}
int MutexWindow(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) {
  return l::fixed_pattern_screen(source, dots, width, height, control);
}
int MutexWindow_Bak(unsigned char* source, unsigned char* dots, unsigned int width,
                    unsigned int height, unsigned int control) {
  return l::fixed_pattern_screen(source, dots, width, height, control);
}
int TextDownload(unsigned char* source, unsigned char* dots, int width, int height,
                 unsigned int control) {
  return l::fixed_pattern2_screen(source, dots, extent(width), extent(height), control);
}
int WindowText(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) {
  return l::matrix_threshold(source, dots, extent(width), extent(height), control);
}
int WindowTextAM1(unsigned char* source, unsigned char* dots, unsigned int width,
                  unsigned int height, unsigned int control) {
  return l::clustered_threshold(source, dots, width, height, control);
}
int WindowTextAM(unsigned char* source, unsigned char* dots, int width, int height,
                 unsigned int control) {
  return l::clustered_threshold_lines(source, dots, extent(width), extent(height), control);
}

namespace halftone {
namespace {

const ScreenInfo kLoaded[] = {
    {"Sonicksure", "loaded", 1, true, false, Layout::Same, kNeedsPattern1,
     "one-bit pattern per grey, tiled at the loaded pattern size", run_signed<Sonicksure>},
    {"MutexWindow", "loaded", 1, true, false, Layout::Same, kNeedsPattern1,
     "one-bit pattern per grey, fixed 256 x 256 tile", MutexWindow},
    {"MutexWindow_Bak", "loaded", 1, true, false, Layout::Same, kNeedsPattern1,
     "one-bit pattern per grey, fixed 256 x 256 tile (block-copy form)", MutexWindow_Bak},
    {"TextDownload", "loaded", 2, true, false, Layout::Same, kNeedsPattern2,
     "two-bit pattern per grey, fixed 256 x 256 tile", run_signed<TextDownload>},
    {"WindowText", "loaded", 1, true, false, Layout::Same, kNeedsMatrixBmp,
     "loaded 256 x 256 threshold matrix, shifted 16 rows and columns per plane",
     run_signed<WindowText>},
    {"WindowTextAM1", "loaded", 1, true, false, Layout::Same, kNeedsNothing,
     "built-in 16 x 16 clustered-dot threshold matrix", WindowTextAM1},
    {"WindowTextAM", "loaded", 1, true, true, Layout::Same, kNeedsNothing,
     "built-in scattered clustered-dot threshold matrix, through the band lines",
     run_signed<WindowTextAM>},
};

}  // namespace

std::span<ScreenInfo const> loaded_catalog() { return kLoaded; }

}  // namespace halftone
