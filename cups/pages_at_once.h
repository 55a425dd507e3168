// Pages of one raster stream screened at once, each on a thread of its own,
// written in their order with the bytes one page at a time would give.
#pragma once
#include <cups/ppd.h>
#include <cups/raster.h>

#include "page.h"
#include "settings.h"

namespace halftone::cups_filter {

// Screens every page of `in` to `out`, up to `threads` pages at once (2 or
// more). This thread reads the stream and keeps each page's grey rows in a
// spool file, so that the next page can be read while the ones before it are
// screened; a page's screening follows its reading band by band, and its
// output lines wait in a spool of their own until the pages before it are
// written. Every page is a job of its own, as when pages go one at a time.
// `input_ended`: the reads of `in` have found the end of the input.
// Returns the exit status, or -1 when the spool cannot be made (nothing is
// read or written then: the caller screens one page at a time).
int screen_pages_at_once(cups_raster_t* in, bool const& input_ended, Settings const& settings,
                         ppd_file_t* ppd, unsigned threads, Output& out);

}  // namespace halftone::cups_filter
