#!/usr/bin/env bash
# exports.sh CLANG SOURCE_DIR [--write]
# The names MSVC gives the exported functions, from clang compiling names.cpp
# for the MSVC ABI, must be exactly those src/exports/halftone-msvc.def lists
# (--write writes the file from them instead). Where LLVM's linker of MSVC's
# kind is at hand, a DLL of stubs linked with the file must export exactly
# those names.
set -euo pipefail
clang=$1
source=$2
def=$source/src/exports/halftone-msvc.def
ir=$("$clang" --target=x86_64-pc-windows-msvc -ffreestanding -std=c++20 -I"$source/include" \
  -I"$source/tests" -isystem "$source/tests/msvc/include" -S -emit-llvm -o - \
  "$source/tests/msvc/names.cpp")
names=$(sed -n 's/^declare .* @"\{0,1\}\([^"( ]*\)"\{0,1\}(.*$/\1/p' <<<"$ir" | sort)
if [ "${3:-}" = --write ]; then
  {
    echo "; The DLL's exports when MSVC builds it for 64-bit Windows: the entry points"
    echo "; as MSVC decorates them, the extensions and the C API, one a line; written"
    echo "; and checked by tests/msvc/exports.sh."
    echo "EXPORTS"
    sed 's/^/  /' <<<"$names"
  } >"$def"
fi
listed=$(sed -e '/^;/d' -e '/^EXPORTS$/d' -e 's/^ *//' "$def" | sort)
if [ "$listed" != "$names" ]; then
  echo "FAIL: $def and the names MSVC gives the exports differ (< listed, > MSVC's):"
  diff <(echo "$listed") <(echo "$names") || true
  exit 1
fi
echo "ok: $(wc -l <<<"$names") exports, as MSVC names them"

if command -v lld-link-14 >/dev/null && command -v llvm-readobj-14 >/dev/null; then
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
  sed 's/^declare \(.*\)$/define \1 { unreachable }/' <<<"$ir" >"$work/stubs.ll"
  "$clang" --target=x86_64-pc-windows-msvc -c "$work/stubs.ll" -o "$work/stubs.obj"
  lld-link-14 /dll /noentry /nodefaultlib /def:"$def" "$work/stubs.obj" /out:"$work/stubs.dll" \
    >/dev/null
  exported=$(llvm-readobj-14 --coff-exports "$work/stubs.dll" | sed -n 's/^ *Name: \(..*\)$/\1/p' |
    sort)
  if [ "$exported" != "$names" ]; then
    echo "FAIL: a DLL linked with $def exports other names (< exported, > MSVC's):"
    diff <(echo "$exported") <(echo "$names") || true
    exit 1
  fi
  echo "ok: lld-link builds a DLL that exports exactly those"
else
  echo "note: no lld-link-14 or llvm-readobj-14; the DLL was not linked"
fi
