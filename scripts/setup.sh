#!/usr/bin/env bash
# Installs what the build needs on Debian (only what is missing), configures
# and builds, then runs one job:
#   scripts/setup.sh demo [DIR]   screen the built-in test chart with every screen
#   scripts/setup.sh test         run every test
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
job=${1:-test}
jobs=$(nproc 2>/dev/null || echo 2)

missing=()
have() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'ok installed'; }
# Build: compilers, CMake, GoogleTest, Google Benchmark, the image and CUPS
# libraries, CLI11. Tests: Python with NumPy, PIL, dask and pytest; CUPS,
# its filters and Ghostscript for the filter's pipeline test; clang with its
# sanitizer and fuzzer runtimes for the fuzz runs, with LLVM's linkers for the
# check of an MSVC build's exports; pkg-config for the package
# test; dpkg-dev and file for making Debian packages (cpack -G DEB).
packages=(cmake make g++ gcc pkg-config dpkg-dev file libgtest-dev libgmock-dev libbenchmark-dev
  libpng-dev zlib1g-dev libtiff-dev libjpeg-dev libcli11-dev libcups2-dev libcupsimage2-dev
  python3 python3-venv python3-pip python3-setuptools python3-wheel python3-numpy python3-pil
  python3-distributed python3-pytest python3-matplotlib
  cups cups-filters ghostscript clang-14 libclang-rt-14-dev lld-14 llvm-14 netpbm)
# The tests also cross-compile the library for Windows with MinGW-w64 and run
# hosts of it with Wine.
[ "$job" != test ] || packages+=(g++-mingw-w64-x86-64-posix wine64)
for pkg in "${packages[@]}"; do
  have "$pkg" || missing+=("$pkg")
done
if ((${#missing[@]})); then
  sudo=()
  [ "$(id -u)" -eq 0 ] || sudo=(sudo)
  echo "installing: ${missing[*]}"
  "${sudo[@]}" apt-get update -qq
  DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends \
    "${missing[@]}"
fi

cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=Release
cmake --build "$root/build" -j"$jobs"
# The Python module, installed offline (with the library just built inside it) into
# a virtual environment that sees Debian's NumPy, PIL and dask: build/venv/bin/python.
[ -x "$root/build/venv/bin/python" ] ||
  /usr/bin/python3 -m venv --system-site-packages "$root/build/venv"
HALFTONE_LIBRARY="$root/build/libhalftone.so" "$root/build/venv/bin/python" -m pip install -q \
  --disable-pip-version-check --no-build-isolation --no-index --no-deps "$root/python"

# Windows programs under Wine, with one Wine server for them all: a server
# that comes and goes between programs now and then drops a starting one.
windows_tests() (
  export WINEPREFIX=$root/build-windows/wine WINEDEBUG=-all
  cd "$root"
  mkdir -p "$WINEPREFIX"
  /usr/lib/wine/wineserver -p 60 </dev/null >/dev/null 2>&1
  trap '/usr/lib/wine/wineserver -k || true' EXIT
  /usr/lib/wine/wine64 build-windows/tests/test_frame.exe --gtest_list_tests >/dev/null 2>&1
  ctest --preset windows -j"$jobs"
  HALFTONE_PROGRAM=build/tools/halftone \
    tests/package/package_test.sh build-windows . cmake/mingw-w64.cmake /usr/lib/wine/wine64
)

case "$job" in
  demo)
    # The quality report first, so that the overview page links it.
    out=${2:-$root/halftone-demo}
    "$root/build/venv/bin/python" -m halftone.report --out "$out/report" --quiet
    exec "$root/build/tools/halftone" demo --out "$out" ;;
  test)
    ctest --test-dir "$root/build" -j"$jobs" --output-on-failure
    # The library once more as compilers without GCC's vector extensions (MSVC)
    # build it, plain standard C++, and its tests: the same bytes either way.
    (cd "$root" && cmake --preset standard >/dev/null && cmake --build --preset standard -j"$jobs" &&
      ctest --preset standard -j"$jobs")
    # The library and its tests cross-compiled for 64-bit Windows; the tests and
    # the package test's hosts (their bytes against the program's) run under Wine.
    (cd "$root" && cmake --preset windows >/dev/null && cmake --build --preset windows -j"$jobs")
    windows_tests
    # The tests again under AddressSanitizer and UndefinedBehaviorSanitizer, then
    # every fuzz program for a few seconds on its corpus (docs/reliability.md).
    (cd "$root" && cmake --preset sanitize >/dev/null && cmake --build --preset sanitize -j"$jobs" &&
      ctest --preset sanitize -j"$jobs")
    exec "$root/fuzz/run.sh" "${HALFTONE_FUZZ_SECONDS:-10}" ;;
  *) echo "usage: scripts/setup.sh demo [DIR] | test" >&2; exit 2 ;;
esac
