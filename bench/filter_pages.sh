#!/bin/bash
# Times the CUPS filter on a raster stream of several A4 pages, one page at a
# time (HalftoneThreads=1) against pages at once (the machine's cores), in one
# hyperfine run; checks that both write the same bytes.
#
#   bench/filter_pages.sh [BUILD] [PAGES] [Gray|CMYK] [DPI]
#
# BUILD is the build folder (default build), PAGES the pages (default 4), the
# colour model Gray (tone-push) or CMYK (conserving-split), DPI 600 unless
# given. Rasterises with cupsfilter and Ghostscript, as CUPS would; needs
# cups, cups-filters, ghostscript and hyperfine (Debian packages).
set -euo pipefail
build=$(realpath "${1:-build}") pages=${2:-4} model=${3:-Gray} dpi=${4:-600}
filter=$build/cups/rastertohalftone ppd=$build/cups/halftone.ppd
for need in "$filter" "$ppd"; do
  [ -e "$need" ] || { echo "filter_pages: $need is missing; build first" >&2; exit 1; }
done
for tool in cupsfilter ps2pdf hyperfine cups-config; do
  command -v $tool >/dev/null || [ -x /usr/sbin/$tool ] ||
    { echo "filter_pages: needs $tool" >&2; exit 1; }
done
cupsfilter=$(command -v cupsfilter || echo /usr/sbin/cupsfilter)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
{
  echo '%!PS'
  echo '/page { 0 1 99 { /i exch def i 99 div setgray 0 i 8.42 mul 595 8.42 rectfill } for'
  echo '  0 1 20 { /i exch def 1 i 20 div sub 0.3 i 40 div setrgbcolor'
  echo '  i 28 mul 300 28 300 rectfill } for showpage } def'
  for ((i = 0; i < pages; i++)); do echo page; done
} >doc.ps
ps2pdf -sPAPERSIZE=a4 doc.ps doc.pdf
mkdir -p serverbin/filter
ln -s "$(cups-config --serverbin)"/filter/* serverbin/filter/
printf 'ServerBin %s\n' "$work/serverbin" >cups-files.conf
"$cupsfilter" -c cups-files.conf -e -p "$ppd" -o PageSize=A4 -o Resolution=${dpi}dpi \
  -o ColorModel=$model -m application/vnd.cups-raster doc.pdf >in.ras 2>raster.log ||
  { tail -5 raster.log >&2; exit 1; }

cores=$(nproc)
run() { echo "PPD=$ppd $filter 1 user title 1 'HalftoneSeedTime=7 HalftoneThreads=$1' in.ras"; }
for threads in 1 "$cores"; do
  eval "$(run $threads)" >out-$threads.ras 2>/dev/null
done
cmp -s out-1.ras out-$cores.ras || { echo "filter_pages: the bytes differ" >&2; exit 1; }
echo "$pages $model A4 pages at $dpi dpi, $(($(stat -c %s in.ras) >> 20)) MiB of raster:"
hyperfine --warmup 1 --runs 5 --style basic -n "one page at a time" "$(run 1) >/dev/null 2>&1" \
  -n "$cores pages at once" "$(run "$cores") >/dev/null 2>&1" 2>&1 | grep -E "Benchmark|Time|±|faster"
