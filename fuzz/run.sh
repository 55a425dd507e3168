#!/usr/bin/env bash
# Builds the fuzz preset (clang-14, libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs fuzz programs for a bounded time each:
#
#   fuzz/run.sh [SECONDS] [NAME...]     e.g. fuzz/run.sh 10, fuzz/run.sh 3600 job_fuzz
#
# Each program starts from its seed corpus in fuzz/corpus/NAME/ and keeps what
# it finds in build-fuzz/corpus/NAME/ (never in the repository). A failing
# input is saved as build-fuzz/artifacts/NAME-crash-... and the script ends
# with status 1 after running the rest. Extra libFuzzer flags for one program
# go in fuzz/NAME.options, its dictionary in fuzz/NAME.dict.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
seconds=${1:-10}
shift || true
[[ $seconds =~ ^[0-9]+$ ]] || { echo "usage: fuzz/run.sh [SECONDS] [NAME...]" >&2; exit 2; }
command -v clang++-14 >/dev/null || { echo "fuzz/run.sh: clang++-14 is not installed" >&2; exit 2; }

build=$root/build-fuzz
(cd "$root" && cmake --preset fuzz >/dev/null && cmake --build --preset fuzz -j"$(nproc)")

names=("$@")
if ((${#names[@]} == 0)); then
  for program in "$build"/fuzz/*_fuzz; do
    [ -x "$program" ] && names+=("$(basename "$program")")
  done
fi
((${#names[@]})) || { echo "fuzz/run.sh: no fuzz program was built" >&2; exit 1; }

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
mkdir -p "$build/artifacts"
failed=()
for name in "${names[@]}"; do
  program=$build/fuzz/$name
  [ -x "$program" ] || { echo "fuzz/run.sh: no program $name" >&2; failed+=("$name"); continue; }
  work=$build/corpus/$name
  mkdir -p "$work"
  rm -f "$build/artifacts/$name-"*
  flags=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=1024 -malloc_limit_mb=512
         -print_final_stats=1 -artifact_prefix="$build/artifacts/$name-")
  [ -f "$root/fuzz/$name.dict" ] && flags+=(-dict="$root/fuzz/$name.dict")
  [ -f "$root/fuzz/$name.options" ] && read -r -a extra <"$root/fuzz/$name.options" && flags+=("${extra[@]}")
  seeds=()
  [ -d "$root/fuzz/corpus/$name" ] && seeds+=("$root/fuzz/corpus/$name")
  echo "== $name: ${seconds}s"
  if "$program" "${flags[@]}" "$work" "${seeds[@]}" >"$build/$name.log" 2>&1; then
    grep -E '^(stat::number_of_executed_units|#[0-9]+ +DONE)' "$build/$name.log" | tail -n 1 || true
  else
    tail -n 60 "$build/$name.log"
    failed+=("$name")
  fi
done

if ((${#failed[@]})); then
  echo "fuzz/run.sh: failed: ${failed[*]} (inputs in $build/artifacts/, logs in $build/NAME.log)" >&2
  exit 1
fi
echo "fuzz/run.sh: ${#names[@]} programs ran ${seconds}s each without a failure"
