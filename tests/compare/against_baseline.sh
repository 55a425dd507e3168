#!/bin/sh
# against_baseline.sh COMPARE LIBRARY SOURCE_DIR WORK_DIR
#
# Compares LIBRARY call by call with the baseline: the library as it stood
# when every entry point had first been checked byte for byte against an
# independent model (revision below). The baseline's library is built once
# into WORK_DIR from this checkout's history; a clone without that revision
# (a shallow one) skips the test with status 77.
# HALFTONE_COMPARE_SEED and HALFTONE_COMPARE_CASES choose other random calls.
set -eu
compare=$1 library=$2 source=$3 work=$4
baseline=c454cb4288df17e1f517a40bfc97f02cbbc6d951

if ! git -C "$source" cat-file -e "$baseline^{commit}" 2>/dev/null; then
  echo "skipped: revision $baseline is not in this clone (a shallow clone?)"
  exit 77
fi
built=$work/build/libhalftone.so.0
if [ ! -f "$built" ] || [ "$(cat "$work/revision" 2>/dev/null)" != "$baseline" ]; then
  rm -rf "$work"
  mkdir -p "$work/source"
  git -C "$source" archive "$baseline" | tar -x -C "$work/source"
  cmake -S "$work/source" -B "$work/build" -DCMAKE_BUILD_TYPE=Release -DHALFTONE_TESTS=OFF \
    -DHALFTONE_BENCH=OFF -DHALFTONE_TOOL=OFF >"$work/configure.log"
  cmake --build "$work/build" --target halftone -j"$(nproc)" >"$work/build.log"
  echo "$baseline" >"$work/revision"
fi
exec "$compare" "$built" "$library" "${HALFTONE_COMPARE_SEED:-1}" "${HALFTONE_COMPARE_CASES:-40000}"
