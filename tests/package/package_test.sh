#!/usr/bin/env bash
# Installs the library into a temporary prefix and builds two hosts against
# it: a C99 program through pkg-config and a C++ program through
# find_package(halftone). Both screen the same page through the job API; their
# packed rows must equal each other and the halftone program's --raw output.
#   package_test.sh BUILD_DIR SOURCE_DIR [TOOLCHAIN_FILE [RUNNER]]
# Given the CMake toolchain file of a cross build (build-windows/ with
# cmake/mingw-w64.cmake), the hosts are built with that system's compilers,
# and run through RUNNER if one is given (wine64 for Windows), else only
# built. The program to compare with is the installed one, or
# $HALFTONE_PROGRAM where none is installed. With $HALFTONE_PACKAGE_PREFIX
# the hosts use what is installed under that prefix instead.
set -euo pipefail
build=$1
source=$2
toolchain=${3:+$(realpath "$3")}
run=()
cc=cc
cross=()
if [ -n "$toolchain" ]; then
  cc=$(sed -n 's/^set(CMAKE_C_COMPILER \(.*\))$/\1/p' "$toolchain")
  # The C++ host carries its compiler's runtime: only the library's DLL beside it.
  cross=(-DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_EXE_LINKER_FLAGS=-static)
  [ -z "${4:-}" ] || run=("$4")
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

if [ -n "${HALFTONE_PACKAGE_PREFIX:-}" ]; then
  prefix=$HALFTONE_PACKAGE_PREFIX  # already installed there (deb_test.sh)
else
  for component in runtime development; do
    cmake --install "$build" --prefix "$prefix" --component "$component" >/dev/null
  done
fi
libdir=$(dirname "$(dirname "$(find "$prefix" -name halftone.pc | head -n1)")")

# C99 through pkg-config, with warnings as errors.
export PKG_CONFIG_PATH=$libdir/pkgconfig
rpath=(-Wl,-rpath,"$libdir")
if [ -n "$toolchain" ]; then
  rpath=()
  # A cross build looks for packages under the target's root only: say where.
  cross+=(-Dhalftone_DIR="$libdir/cmake/halftone")
fi
"$cc" -std=c99 -Wall -Wextra -pedantic -Werror "$source/tests/package/consumer.c" \
  -o "$work/c_host" $(pkg-config --cflags --libs halftone) "${rpath[@]}"

# C++ through the CMake package.
cmake -S "$source/tests/package/cpp" -B "$work/cpp" "${cross[@]}" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_BUILD_RPATH="$libdir" >/dev/null
cmake --build "$work/cpp" >/dev/null
c_host=$work/c_host
cpp_host=$work/cpp/consumer
if [ -n "$toolchain" ]; then
  echo "ok: both hosts built against the package for $(basename "$toolchain" .cmake)"
  [ ${#run[@]} -gt 0 ] || exit 0
  # Windows programs find their DLLs beside them.
  c_host=$(ls "$work"/c_host*) cpp_host=$(ls "$work"/cpp/consumer*)
  find "$prefix" -name '*.dll' -exec cp {} "$work" \; -exec cp {} "$work/cpp" \;
fi
program=$prefix/bin/halftone
[ -x "$program" ] || program=${HALFTONE_PROGRAM:-}

"${run[@]}" "$c_host" --page 301 190 "$work/page.pgm"
failed=0
# screen, band height, levels ("-": none)
for job in "tone-push 64 -" "sdiufiavs 64 -" "four-level 17 0,60,170,255" "eight-level 190 -" \
  "damped-random-runs 33 -" "ordered-16 40 -"; do
  set -- $job
  "${run[@]}" "$c_host" "$1" 1000 "$2" "$3" "$work/page.pgm" "$work/c.raw"
  "${run[@]}" "$cpp_host" "$1" 1000 "$2" "$3" "$work/page.pgm" "$work/cpp.raw"
  ok=1
  if ! cmp -s "$work/c.raw" "$work/cpp.raw"; then
    echo "FAIL $1: the C and C++ hosts differ"
    ok=0
  fi
  if [ -n "$program" ]; then
    levels=()
    [ "$3" = - ] || levels=(--levels "$3")
    "$program" screen "$1" "$work/page.pgm" "$work/cli.raw" --raw --quiet \
      --seed-time 1000 --band-height "$2" "${levels[@]}"
    if ! cmp -s "$work/c.raw" "$work/cli.raw"; then
      echo "FAIL $1: the program's --raw output differs"
      ok=0
    fi
  fi
  if [ $ok = 1 ]; then echo "ok $1"; else failed=1; fi
done
[ -n "$program" ] || echo "note: no program installed; compared the two hosts only"
exit $failed
