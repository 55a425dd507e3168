// Screen data file loaders and the screens that apply the loaded data.
// Files are read from "<data folder>/Moths/<fileName>".
#pragma once
#include "halftone/export.h"

HALFTONE_API int KaiDuaning(char const* fileName, int patternWidth, int patternHeight);
HALFTONE_API int NingJing(char const* fileName, int patternWidth, int patternHeight);
HALFTONE_API int PuaningFa(char const* fileName, int, int);
HALFTONE_API int PuaningFa13(char const* fileName, int, int);
HALFTONE_API int NiceMents(char const* fileName, int, int);
HALFTONE_API int PuaningFaAM(char const* fileName, int, int);

HALFTONE_API int Sonicksure(unsigned char* source, unsigned char* dots, int width, int height,
                            unsigned int control);
HALFTONE_API int MutexWindow(unsigned char* source, unsigned char* dots, unsigned int width,
                             unsigned int height, unsigned int control);
HALFTONE_API int MutexWindow_Bak(unsigned char* source, unsigned char* dots, unsigned int width,
                                 unsigned int height, unsigned int control);
HALFTONE_API int TextDownload(unsigned char* source, unsigned char* dots, int width, int height,
                              unsigned int control);
HALFTONE_API int WindowText(unsigned char* source, unsigned char* dots, int width, int height,
                            unsigned int control);
HALFTONE_API int WindowTextAM1(unsigned char* source, unsigned char* dots, unsigned int width,
                               unsigned int height, unsigned int control);
HALFTONE_API int WindowTextAM(unsigned char* source, unsigned char* dots, int width, int height,
                              unsigned int control);
HALFTONE_API int CrisixOut(unsigned char* source, unsigned char* dots, unsigned int width,
                           unsigned int height, unsigned int control);
HALFTONE_API int CrisixOut_double(unsigned char* source, unsigned char* dots, unsigned int width,
                                  unsigned int height, unsigned int control);
HALFTONE_API int CrisixOut31(unsigned char* source, unsigned char* dots, int width, int height,
                             unsigned int control);
