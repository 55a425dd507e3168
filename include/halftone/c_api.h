/* The halftone C API: the screen registry and screening jobs.
 *
 * Compiles as C99 and as C++. Every function here has C linkage, never throws
 * and never aborts; a failed call returns a documented code (or NULL) and says
 * why through halftone_job_error() or halftone_last_error().
 *
 * Planes travel line-interleaved: with P planes, row r of plane p starts at
 * byte (r * P + p) * stride, in the source (one byte a pixel, 0 black, 255
 * white) and in the output (1, 2 or 4 bits a pixel, leftmost pixel in the
 * most significant bits). Any stride at least the row's size is accepted.
 */
#ifndef HALFTONE_C_API_H
#define HALFTONE_C_API_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Result codes. The first four are those of the library's data loaders. */
enum halftone_result {
  HALFTONE_OK = 0,
  HALFTONE_ERR_FILE_OPEN = 20101,   /* a data file could not be opened */
  HALFTONE_ERR_FILE_READ = 20103,   /* a data file could not be read */
  HALFTONE_ERR_LOAD_FAULT = 20301,  /* a data file was refused while loading */
  HALFTONE_ERR_NO_MEMORY = 20302,   /* a buffer could not be allocated */
  HALFTONE_ERR_ARGUMENT = 20401,    /* a null pointer, a stride or size out of range */
  HALFTONE_ERR_UNKNOWN_KEY = 20402, /* halftone_job_set: no such key */
  HALFTONE_ERR_BAD_VALUE = 20403,   /* halftone_job_set: the value is not of the key's form */
  HALFTONE_ERR_BAD_DATA = 20404,    /* a data file is not of the form the screen reads */
  HALFTONE_ERR_SEQUENCE = 20405     /* a call out of order (a key while a page is under way) */
};

/* ---- The registry: every screen and utility of the library ---- */

/* How the output is laid out against the source. */
typedef enum halftone_layout {
  HALFTONE_LAYOUT_SAME = 0,       /* width x height, rows as the source */
  HALFTONE_LAYOUT_TRANSPOSED = 1, /* height x width: source column x becomes output row x */
  HALFTONE_LAYOUT_ROTATED = 2     /* height x width, turned a quarter clockwise */
} halftone_layout;

/* How a page may be divided into bands. */
typedef enum halftone_banding {
  HALFTONE_BANDING_WHOLE_PAGE = 0, /* one plane, the whole page in one call */
  HALFTONE_BANDING_BANDED = 1,     /* any bands; nothing is carried between them */
  HALFTONE_BANDING_CARRIED = 2     /* any bands; error and state run on from band to band */
} halftone_banding;

/* What a screen reads besides the source (bit flags). */
typedef enum halftone_needs {
  HALFTONE_NEEDS_NOTHING = 0,
  HALFTONE_NEEDS_TONE_CURVES = 1 << 0, /* the tone curves selected by "mode" */
  HALFTONE_NEEDS_LEVELS = 1 << 1,      /* the "levels" list (info.levels values) */
  HALFTONE_NEEDS_PATTERN = 1 << 2,     /* one-bit pattern bank ("pattern") */
  HALFTONE_NEEDS_PATTERN2 = 1 << 3,    /* two-bit pattern bank ("pattern2") */
  HALFTONE_NEEDS_MATRIX = 1 << 4,      /* 8-bit BMP threshold matrix ("matrix") */
  HALFTONE_NEEDS_BLOCKS = 1 << 5,      /* text file of threshold blocks ("blocks") */
  HALFTONE_NEEDS_BUILT_MATRIX = 1 << 6 /* the built-in dither matrix (built by the job) */
} halftone_needs;

typedef struct halftone_screen_info {
  const char* id;     /* readable id, lower-case kebab-case, unique */
  const char* entry;  /* the fixed entry point name */
  const char* family; /* "diffusion", "matrix", "damped", "multilevel", "loaded", "utilities" */
  int bits;           /* output bits a pixel: 1, 2 or 4 */
  halftone_layout layout;
  halftone_banding banding;
  unsigned needs;    /* halftone_needs flags */
  int levels;        /* how many values "levels" gives it; 0 when it reads none */
  int pattern_width; /* pattern bank geometry it reads; 0 x 0: any ("pattern-size") */
  int pattern_height;
  const char* summary; /* one line */
  /* The levels a job uses unless "levels" is set, evenly spread
     ("0,85,170,255"); NULL when the screen reads no levels. */
  const char* default_levels;
  /* 1 where a set output bit is paper and a clear one a dot (the
     inverted-output screens); 0 where a set bit is a dot. The codes of
     two- and four-bit screens are 0 for white. */
  int paper_bits;
  /* The code of a full dot, the darkest a cell holds: 1 for dots, 3 for
     two-bit codes, 7 for four-bit codes (0-7, the top bit of a cell 0). */
  int top_code;
} halftone_screen_info;

size_t halftone_screen_count(void);
const char* halftone_screen_id(size_t index);    /* NULL past the end */
const char* halftone_screen_entry(size_t index); /* the fixed entry name; NULL past the end */
int halftone_screen_bits(size_t index);          /* 1, 2 or 4; 0 past the end */
const halftone_screen_info* halftone_screen_info_at(size_t index); /* NULL past the end */
long halftone_find_screen(const char* name); /* by id or entry name; -1 if none */

/* The library's version, "MAJOR.MINOR.PATCH". */
const char* halftone_version(void);

/* Bytes of one packed row: ((width * bits + 31) >> 3) & ~3 (bits 8 for a source row). */
size_t halftone_row_bytes(uint32_t width, int bits);

/* Why the last failed call on this thread that has no job to ask (halftone_job_new)
   failed; "" when none did. */
const char* halftone_last_error(void);

/* ---- Jobs: one page of one screen, band by band ---- */

typedef struct halftone_job halftone_job;

/* A job for `screen` (id or entry name) on pages `width` pixels wide with
   `planes` planes (1-255; 1 for whole-page screens). NULL on failure. */
halftone_job* halftone_job_new(const char* screen, uint32_t width, uint32_t planes);

/* Sets an option while no page is under way (before the first band, or after
   halftone_job_finish). Keys:
     "levels"        comma-separated greys 0-255, as many as the screen reads,
                     e.g. "0,85,170,255" (default: evenly spread)
     "mode"          the mode that selects the tone curves: 0-5 or 11-17 (default 0)
     "seed-time"     seconds for the random screens (default: the clock, or the
                     seconds pinned process-wide)
     "data-folder"   where "ToneAry.ham" is looked up
     "pattern", "pattern2", "matrix", "blocks"
                     paths of the data files the screen reads (a relative
                     path is taken from the working directory)
     "pattern-size"  "WxH" of the pattern bank, for the screens that read one
                     (default: the screen's, else 16x16); a screen with a
                     size of its own (info.pattern_width) takes only that
     "threads"       planes screened at once, 1-64 (default 1); the output
                     is the same whatever the count. Where four planes in
                     vector lanes on one thread may beat them, the job's
                     first bands are timed both ways and the rest take
                     the faster
   Returns 0, HALFTONE_ERR_UNKNOWN_KEY, HALFTONE_ERR_BAD_VALUE,
   HALFTONE_ERR_SEQUENCE, HALFTONE_ERR_ARGUMENT or HALFTONE_ERR_NO_MEMORY. */
int halftone_job_set(halftone_job* job, const char* key, const char* value);

/* Output of a band of `rows` source rows: its width in pixels, its rows and
   the library's row size in bytes, padded to 32 bits (turned screens swap
   width and rows). Any output stride from the bytes the row's pixels fill,
   (width * bits + 7) / 8, up is accepted. */
int halftone_job_output_shape(const halftone_job* job, uint32_t rows, uint32_t* out_width,
                              uint32_t* out_rows, size_t* out_row_bytes);

/* Screens the next `rows` rows of every plane. The first call loads the data
   the options name and runs the tone setup; a failure there is reported here.
   Output rows are written as the library writes them (padding bits and bytes
   cleared) up to the library's row size or the stride, whichever is less;
   bytes of a wider stride beyond that are left as they are.
   Whole-page screens (HALFTONE_BANDING_WHOLE_PAGE) take the whole page in one
   call: each call is a page of its own. Screens whose pattern or tile phase
   restarts with each call (banding BANDED) restart it with each band.
   A band is at most 2147483647 rows, and each stride must address all of the
   band's lines within the address space (no negative strides); anything else
   is HALFTONE_ERR_ARGUMENT, with nothing read or written. */
int halftone_job_band(halftone_job* job, const unsigned char* source, size_t source_stride,
                      unsigned char* dots, size_t dots_stride, uint32_t rows);

/* Ends the page (the last-band step). The job may then start a new page. */
int halftone_job_finish(halftone_job* job);

/* Why the job's last call failed; "" when it succeeded. */
const char* halftone_job_error(const halftone_job* job);

/* Frees the job (NULL is ignored). Free a job once, and use it no more. */
void halftone_job_free(halftone_job* job);

#ifdef __cplusplus
}
#endif

#endif /* HALFTONE_C_API_H */
