#!/usr/bin/env bash
# Installs the library into a temporary prefix and builds two hosts against
# it: a C99 program through pkg-config and a C++ program through
# find_package(halftone). Both screen the same page through the job API; their
# packed rows must equal each other and the halftone program's --raw output.
#   package_test.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1
source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

for component in runtime development; do
  cmake --install "$build" --prefix "$prefix" --component "$component" >/dev/null
done
libdir=$(dirname "$(find "$prefix" -name 'libhalftone.so' | head -n1)")

# C99 through pkg-config, with warnings as errors.
export PKG_CONFIG_PATH=$libdir/pkgconfig
cc -std=c99 -Wall -Wextra -pedantic -Werror "$source/tests/package/consumer.c" -o "$work/c_host" \
  $(pkg-config --cflags --libs halftone) -Wl,-rpath,"$libdir"

# C++ through the CMake package.
cmake -S "$source/tests/package/cpp" -B "$work/cpp" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_BUILD_RPATH="$libdir" >/dev/null
cmake --build "$work/cpp" >/dev/null

"$work/c_host" --page 301 190 "$work/page.pgm"
failed=0
# screen, band height, levels ("-": none)
for job in "tone-push 64 -" "sdiufiavs 64 -" "four-level 17 0,60,170,255" "eight-level 190 -" \
  "damped-random-runs 33 -" "ordered-16 40 -"; do
  set -- $job
  "$work/c_host" "$1" 1000 "$2" "$3" "$work/page.pgm" "$work/c.raw"
  "$work/cpp/consumer" "$1" 1000 "$2" "$3" "$work/page.pgm" "$work/cpp.raw"
  ok=1
  if ! cmp -s "$work/c.raw" "$work/cpp.raw"; then
    echo "FAIL $1: the C and C++ hosts differ"
    ok=0
  fi
  if [ -x "$prefix/bin/halftone" ]; then
    levels=()
    [ "$3" = - ] || levels=(--levels "$3")
    "$prefix/bin/halftone" screen "$1" "$work/page.pgm" "$work/cli.raw" --raw --quiet \
      --seed-time 1000 --band-height "$2" "${levels[@]}"
    if ! cmp -s "$work/c.raw" "$work/cli.raw"; then
      echo "FAIL $1: the installed program's --raw output differs"
      ok=0
    fi
  fi
  if [ $ok = 1 ]; then echo "ok $1"; else failed=1; fi
done
[ -x "$prefix/bin/halftone" ] || echo "note: no program installed; compared the two hosts only"
exit $failed
