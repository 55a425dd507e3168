#!/usr/bin/env bash
# Makes the Debian packages of a build with cpack and checks them as a user
# would meet them: the packages expected are there with the files each must
# hold, apt can install them on this machine (their dependencies resolve),
# and, unpacked, they serve the package test's C and C++ hosts and program.
#   deb_test.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$(realpath "$1")
source=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

(cd "$work" && cpack --config "$build/CPackConfig.cmake" -G DEB -B "$work/debs" >"$work/cpack.log" 2>&1) ||
  { cat "$work/cpack.log"; exit 1; }
version=$(sed -n 's/^set(CPACK_PACKAGE_VERSION "\(.*\)")$/\1/p' "$build/CPackConfig.cmake")
arch=$(dpkg --print-architecture)
failed=0
check() {  # PACKAGE FILE...: the package exists and holds every FILE
  local deb=$work/debs/$1_${version}_${arch}.deb
  if [ ! -f "$deb" ]; then
    echo "FAIL: no package $1"
    failed=1
    return
  fi
  local listing
  listing=$(dpkg-deb -c "$deb")
  for f in "${@:2}"; do
    grep -q " \./$f\( \|$\)" <<<"$listing" || { echo "FAIL: $1 lacks $f"; failed=1; }
  done
  echo "ok $1: $(dpkg-deb -f "$deb" Depends)"
}
check halftone usr/bin/halftone usr/lib/libhalftone.so.0 usr/share/man/man1/halftone.1
check libhalftone-dev usr/include/halftone/halftone.h usr/lib/libhalftone.so \
  usr/lib/pkgconfig/halftone.pc usr/lib/cmake/halftone/halftoneConfig.cmake
if grep -q '^set(CPACK_COMPONENTS_ALL ".*cups' "$build/CPackConfig.cmake"; then
  check halftone-cups usr/lib/cups/filter/rastertohalftone
fi
[ $failed = 0 ] || exit 1
if [ "$(dpkg-deb -f "$work/debs/libhalftone-dev_${version}_${arch}.deb" Depends)" != \
  "halftone (= $version)" ]; then
  echo "FAIL: libhalftone-dev does not depend on halftone $version"
  exit 1
fi

# What apt would install, and from where: the dependencies must resolve here.
if ! apt-get -s install "$work"/debs/*.deb >"$work/apt.log" 2>&1; then
  cat "$work/apt.log"
  echo "FAIL: apt cannot install the packages"
  exit 1
fi
echo "ok: apt would install $(grep -c '^Inst ' "$work/apt.log") packages"

for deb in "$work"/debs/*.deb; do dpkg-deb -x "$deb" "$work/root"; done
HALFTONE_PACKAGE_PREFIX=$work/root/usr "$source/tests/package/package_test.sh" "$build" "$source"
