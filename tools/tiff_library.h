// libtiff, loaded on first use.
//
// Most runs of the program never read or write a TIFF file, yet loading
// libtiff and the codec libraries it links (eight shared objects on Debian)
// costs some 2.5 ms of every start. Where the build found libtiff's shared
// object name and the system opens libraries at run time (dlopen), the
// program opens libtiff the first time a TIFF file is read or written and
// calls it through the table below; elsewhere the table holds the functions
// the program was linked with.
#pragma once
#include <tiffio.h>

#include <string>

namespace halftone::image {

// clang-format off
#define HALFTONE_TIFF_FUNCTIONS(X)                                                      \
  X(ClientOpen) X(Cleanup) X(Close) X(DefaultStripSize) X(Flush) X(GetField)              \
  X(GetFieldDefaulted) X(IsCODECConfigured) X(IsTiled) X(NumberOfStrips) X(RawStripSize) \
  X(ReadDirectory) X(ReadRawStrip) X(ReadScanline) X(ReadTile) X(ScanlineSize)             \
  X(ScanlineSize64) X(SetDirectory) X(SetErrorHandler) X(SetField) X(SetWarningHandler)    \
  X(TileSize64) X(WriteDirectory) X(WriteRawStrip) X(WriteScanline)
// clang-format on

// TIFFxxx as xxx.
struct TiffLibrary {
#define HALFTONE_TIFF_MEMBER(name) decltype(&TIFF##name) name;
  HALFTONE_TIFF_FUNCTIONS(HALFTONE_TIFF_MEMBER)
#undef HALFTONE_TIFF_MEMBER
};

// The library, loaded on the first call (thread-safe); nullptr where it
// cannot be loaded, with the reason in *why.
TiffLibrary const* tiff_library(std::string* why);

// The library once tiff_library has returned it: every TIFF handle comes
// from detail::open_tiff_stream, which asks for it first.
TiffLibrary const& tiff();

}  // namespace halftone::image
