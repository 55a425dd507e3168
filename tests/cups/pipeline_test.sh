#!/bin/bash
# rastertohalftone installed and run in a real cupsfilter chain, grey and CMYK;
# its dots must be the job API's. Then the filter alone: other screens, SIGTERM.
set -euo pipefail
build=$1 filter_dir=$2 model_dir=$3 check=$4 system_serverbin=$5 cupsfilter=$6
grey_screen=$7 cmyk_screen=$8

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
  echo "FAIL: $*" >&2
  exit 1
}
cd "$work"

for component in runtime cups; do
  DESTDIR="$work/root" cmake --install "$build" --component $component >>install.log 2>&1 ||
    fail "cmake --install --component $component failed (is everything built?): $(tail -3 install.log)"
done
filter="$work/root$filter_dir/rastertohalftone"
ppd="$work/root$model_dir/halftone.ppd"
[ -x "$filter" ] || fail "cmake --install put no filter at $filter"
[ -f "$ppd" ] || fail "cmake --install put no PPD at $ppd"

# A CUPS filter folder: the system's filters and ours; cupsfilter reads it from ServerBin.
mkdir -p serverbin/filter
ln -s "$system_serverbin"/filter/* serverbin/filter/
ln -sf "$filter" serverbin/filter/rastertohalftone
printf 'ServerBin %s\n' "$work/serverbin" >cups-files.conf

# Two pages: grey steps and ramps, then colour patches.
cat >doc.ps <<'EOF'
%!PS
0 1 10 { /i exch def i 10 div setgray i 27 mul 0 27 420 rectfill } for
0 1 99 { /i exch def 1 i 99 div sub setgray 0 i 2.1 mul 297 2.1 rectfill } for
showpage
1 0 0 setrgbcolor 0 0 99 420 rectfill
0 0.6 1 setrgbcolor 99 0 99 210 rectfill
0.9 0.8 0.1 setrgbcolor 198 0 99 420 rectfill
0.3 0.3 0.3 setrgbcolor 99 210 99 210 rectfill
showpage
EOF
ps2pdf -sPAPERSIZE=a6 doc.ps doc.pdf

seed=1000
chain=(-c "$work/cups-files.conf" -e -p "$ppd" -o PageSize=A6 -o Resolution=150dpi
  -o HalftoneSeedTime=$seed)

for model in Gray CMYK; do
  # The raster the chain hands the filter, then the whole chain.
  "$cupsfilter" "${chain[@]}" -o ColorModel=$model -m application/vnd.cups-raster doc.pdf \
    >$model-in.ras 2>$model-in.log || fail "$model: rasterising failed: $(tail -5 $model-in.log)"
  "$cupsfilter" "${chain[@]}" -o ColorModel=$model -m printer/halftone doc.pdf \
    >$model-out.ras 2>$model-out.log || fail "$model: the chain failed: $(tail -5 $model-out.log)"
  grep -q "rastertohalftone (PID [0-9]*) exited with no errors" $model-out.log ||
    fail "$model: rastertohalftone did not run in the chain"

  # Input: two 8-bit A6 pages at 150 dpi (the imageable area), K chunky or CMYK banded as the PPD asks.
  if [ $model = Gray ]; then colours=1 space=3 order=0 screen=$grey_screen; else
    colours=4 space=6 order=1 screen=$cmyk_screen
  fi
  # Output: the same size, one bit a colour, K or CMYK banded.
  for io in "in 8 $order" "out 1 $(( colours == 4 ? 1 : 0 ))"; do
    set -- $io
    page="569 825 $2 $colours $space $3"
    [ "$("$check" pages $model-$1.ras | tr '\n' ';')" = "$page;$page;" ] ||
      fail "$model: $1 pages are $("$check" pages $model-$1.ras | tr '\n' ';')"
  done
  "$check" compare $model-in.ras $model-out.ras "$screen" $seed 64 ||
    fail "$model: the chain's dots are not the job API's"

  # The filter alone on the same raster writes the same bytes.
  PPD="$ppd" "$filter" 1 user title 1 "ColorModel=$model HalftoneSeedTime=$seed" \
    $model-in.ras >$model-alone.ras 2>$model-alone.log || fail "$model: the filter alone failed"
  cmp -s $model-alone.ras $model-out.ras || fail "$model: the filter alone wrote other bytes"
  grep -q "^PAGE: 2 1$" $model-alone.log || fail "$model: no PAGE: line for page 2"
  # One page at a time.
  PPD="$ppd" "$filter" 1 user title 1 "ColorModel=$model HalftoneSeedTime=$seed HalftoneThreads=1" \
    $model-in.ras >$model-serial.ras 2>$model-serial.log || fail "$model: one page at a time failed"
  cmp -s $model-serial.ras $model-out.ras || fail "$model: one page at a time wrote other bytes"

  # Streams with a fault, either way: cut inside page 2; a page 3 header that
  # libcups refuses (height 0), with pages after it that must not go unnoticed.
  head -c $(($(stat -c %s $model-in.ras) * 3 / 4)) $model-in.ras >$model-cut.ras
  head -c 1800 $model-in.ras | tail -c 1796 >$model-zero-height.header  # after the sync word
  printf '\0\0\0\0' | dd of=$model-zero-height.header bs=1 seek=376 conv=notrunc status=none
  cat $model-in.ras $model-zero-height.header <(tail -c +5 $model-in.ras) >$model-refused.ras
  while read -r stream page message; do
    for threads in 1 2; do
      status=0
      PPD="$ppd" "$filter" 1 user title 1 "HalftoneThreads=$threads" $model-$stream.ras \
        >$model-$stream-$threads.ras 2>$model-$stream-$threads.log || status=$?
      [ $status -ne 0 ] && grep -q "^PAGE: $((page - 1)) 1$" $model-$stream-$threads.log &&
        grep -q "^ERROR: Page $page: .*$message" $model-$stream-$threads.log ||
        fail "$model, $threads thread(s), $stream: status $status, $(cat $model-$stream-$threads.log)"
    done
    cmp -s <(grep ERROR $model-$stream-1.log) <(grep ERROR $model-$stream-2.log) ||
      fail "$model: the $stream stream is reported otherwise with pages at once"
  done <<'EOF'
cut 2 (truncated input)$
refused 3 not valid CUPS raster
EOF
done

# Many pages in flight, each screened in one band so that pages turn over
# fast: the same bytes as one page at a time (a sanitizer build also catches
# a page freed while it is still being read).
{
  cat Gray-in.ras
  for _ in $(seq 31); do tail -c +5 Gray-in.ras; done
} >many.ras
for threads in 1 3; do
  PPD="$ppd" "$filter" 1 user title 1 \
    "HalftoneSeedTime=$seed HalftoneBandHeight=4096 HalftoneThreads=$threads" many.ras \
    >many-$threads.ras 2>many-$threads.log || fail "64 pages, $threads thread(s): $(tail -3 many-$threads.log)"
done
cmp -s many-1.ras many-3.ras || fail "64 pages at once wrote other bytes than one at a time"

# Other screens on the captured rasters: 2 and 4 bits, a screen whose set bit is paper.
alone() {  # INPUT OUTPUT OPTIONS
  PPD="$ppd" "$filter" 7 user title 1 "$3" "$1" >"$2" 2>alone.log ||
    fail "filter failed with $3: $(cat alone.log)"
}
alone CMYK-in.ras cmyk2.ras \
  "HalftoneScreen=four-level HalftoneLevels=Custom.0,60,150,255 HalftoneSeedTime=$seed HalftoneBandHeight=32"
"$check" compare CMYK-in.ras cmyk2.ras four-level $seed 32 0,60,150,255 || fail "four-level CMYK"
alone Gray-in.ras grey4.ras "HalftoneScreen=eight-level-fixed HalftoneSeedTime=$seed HalftoneBandHeight=5"
"$check" compare Gray-in.ras grey4.ras eight-level-fixed $seed 5 || fail "eight-level-fixed grey"
alone Gray-in.ras curves.ras "HalftoneScreen=tone-push HalftoneMode=12 HalftoneSeedTime=$seed"
"$check" compare Gray-in.ras curves.ras tone-push $seed 64 --mode=12 || fail "tone-push, mode 12"
alone Gray-in.ras paper.ras "HalftoneScreen=inverted-thirds HalftoneSeedTime=$seed"
"$check" compare Gray-in.ras paper.ras inverted-thirds $seed 64 --paper || fail "inverted-thirds"

# A screen that needs the whole page is refused (cut streams and bad options: bad_input).
size=$(stat -c %s Gray-in.ras)
status=0
PPD="$ppd" "$filter" 1 user title 1 HalftoneScreen=random-direction-page Gray-in.ras \
  >refused.ras 2>refused.log || status=$?
[ $status -ne 0 ] && grep -q "^ERROR: " refused.log || fail "a whole-page screen was not refused"
[ ! -s refused.ras ] || fail "a whole-page screen was refused after writing output"

# SIGTERM while the filter waits for input: it ends the page it began and exits 0.
mkfifo slow.ras
PPD="$ppd" "$filter" 1 user title 1 "" slow.ras >stopped.ras 2>stopped.log &
pid=$!
exec 3>slow.ras
head -c $((size / 4)) Gray-in.ras >&3
sleep 0.5
kill -TERM $pid
status=0
wait $pid || status=$?
exec 3>&-
[ $status -eq 0 ] || fail "SIGTERM: exit status $status: $(cat stopped.log)"
grep -q "^INFO: Stopped" stopped.log || fail "SIGTERM: no INFO: line"
[ "$("$check" pages stopped.ras)" = "569 825 1 1 3 0" ] || fail "SIGTERM: the page was not ended"

echo "cups pipeline: grey and CMYK chains, three more screens, faults, 64 pages at once, refusals and SIGTERM all pass"
