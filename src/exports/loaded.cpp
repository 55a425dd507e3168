// Export table: the screen data loaders, the pattern screens and the
// threshold screens.
#include "halftone/loaded.h"

#include <string>

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
