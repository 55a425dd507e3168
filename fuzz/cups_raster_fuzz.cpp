// rastertohalftone's raster reading: any bytes as a CUPS raster stream, read
// as the filter reads it (page headers checked, every line turned into grey
// rows) until the stream ends or is refused.
#include <cstddef>
#include <cstdint>

#include "fuzz_support.h"
#include "raster.h"

// libcups allocates (and here, cleared by the sanitizer, touches) a line of
// cupsBytesPerLine, up to 4 GiB, as it reads a page header, before the filter
// can refuse the page. Larger allocations than any the filter makes itself
// (64 MiB a line at most) come back null instead: libcups then fails the
// header read, which is the case under test.
extern "C" char const* __asan_default_options() {
  return "allocator_may_return_null=1:max_allocation_size_mb=256";
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  // Small pages keep each input quick; the reader's checks do not depend on the budget.
  const long pages = halftone::cups_filter::read_raster_bytes(data, size, std::size_t{4} << 20);
  halftone::fuzz::check(pages >= 0, "page count");
  return 0;
}
