#!/usr/bin/env bash
# Builds the library as a 64-bit Windows DLL with mingw-w64 and runs the tests under wine.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/cross-test.sh"

"$projectDir/scripts/setup.sh" build windows

# This header works for every platform; the other headers in its folder do not.
headers=$buildRoot/windows-headers
mkdir -p "$headers"
ln -sfn /usr/include/nlohmann "$headers/nlohmann"

# The tests need none of Windows' own programs, and without these the first start is faster.
export WINEPREFIX=$buildRoot/wine WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe="
mkdir -p "$WINEPREFIX"

# One server for the whole run. Otherwise the server ends when no program runs, and a program that starts at that moment fails.
trap 'wineserver -k >/dev/null 2>&1 || true' EXIT
wineserver -k >/dev/null 2>&1 || true
wineserver -p
# Services keep the output of the program that starts them open, so they are started here.
quietly "$buildRoot/wine.log" timeout 120 wineboot

# The programs link the compiler's libraries statically, like the DLL.
crossTest windows -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_SYSTEM_PROCESSOR=x86_64 \
    -DCMAKE_C_COMPILER=x86_64-w64-mingw32-gcc-posix -DCMAKE_CXX_COMPILER=x86_64-w64-mingw32-g++-posix \
    -DCMAKE_EXE_LINKER_FLAGS=-static -DCMAKE_CROSSCOMPILING_EMULATOR=wine \
    "-DCMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES=$headers"
