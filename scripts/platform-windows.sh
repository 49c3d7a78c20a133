#!/usr/bin/env bash
# Builds the library as a 64-bit Windows DLL with mingw-w64 and runs the tests under wine.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/cross-test.sh"

"$projectDir/scripts/setup.sh" build windows

# This header is for any machine; the others of its folder are not.
headers=$buildRoot/windows-headers
mkdir -p "$headers"
ln -sfn /usr/include/nlohmann "$headers/nlohmann"

# Of Windows' own programs the tests need none, and without these the first start is faster.
export WINEPREFIX=$buildRoot/wine WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe="
mkdir -p "$WINEPREFIX"

# One server for the whole run: left to itself, it ends where no program runs, and a program that starts just then fails.
trap 'wineserver -k >/dev/null 2>&1 || true' EXIT
wineserver -k >/dev/null 2>&1 || true
wineserver -p
# Its services would hold the output of the program that starts them open.
quietly "$buildRoot/wine.log" timeout 120 wineboot

# The programs bring the compiler's libraries in themselves, as the DLL does.
crossTest windows -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_SYSTEM_PROCESSOR=x86_64 \
    -DCMAKE_C_COMPILER=x86_64-w64-mingw32-gcc-posix -DCMAKE_CXX_COMPILER=x86_64-w64-mingw32-g++-posix \
    -DCMAKE_EXE_LINKER_FLAGS=-static -DCMAKE_CROSSCOMPILING_EMULATOR=wine \
    "-DCMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES=$headers"
