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
for pkg in cmake make g++ libgtest-dev libgmock-dev libbenchmark-dev libpng-dev zlib1g-dev; do
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

case "$job" in
  demo) exec "$root/build/tools/halftone" demo --out "${2:-$root/halftone-demo}" ;;
  test) exec ctest --test-dir "$root/build" -j"$jobs" --output-on-failure ;;
  *) echo "usage: scripts/setup.sh demo [DIR] | test" >&2; exit 2 ;;
esac
