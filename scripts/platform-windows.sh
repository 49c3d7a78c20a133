#!/usr/bin/env bash
# Builds the library as a 64-bit Windows DLL with mingw-w64 and holds what the examples print under wine against what
# is expected.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$projectDir/scripts/setup.sh" build windows
export WINEPREFIX=$buildRoot/wine WINEDEBUG=-all
mkdir -p "$WINEPREFIX"
trap 'WINEPREFIX=$buildRoot/wine wineserver -k >/dev/null 2>&1 || true' EXIT

# The DLL and the programs lie together, where Windows looks, and bring the compiler's libraries in themselves.
programs=$buildRoot/windows/bin
build release windows -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_SYSTEM_PROCESSOR=x86_64 \
    -DCMAKE_C_COMPILER=x86_64-w64-mingw32-gcc-posix -DCMAKE_CXX_COMPILER=x86_64-w64-mingw32-g++-posix \
    -DCMAKE_EXE_LINKER_FLAGS=-static -DCMAKE_SHARED_LINKER_FLAGS=-static \
    "-DCMAKE_RUNTIME_OUTPUT_DIRECTORY=$programs" -DVIDEOPARAMS_BUILD_TESTS=OFF -DVIDEOPARAMS_BUILD_TOOL=OFF

# holdExample EXPECTED EXAMPLE ARGUMENT...
holdExample() {
    wine "$programs/$2.exe" "${@:3}" </dev/null 2>"$buildRoot/wine.log" | tr -d '\r' |
        diff "$projectDir/examples/expected/$1.txt" -
}
cd "$projectDir/tests/streams"
holdExample list-access-units list-access-units avc-1080.h264
holdExample analyse-h264 analyse h264 avc-size-change.h264
holdExample analyse-h265 analyse h265 hevc-444.h265
holdExample stamp-h265 stamp h265 hevc-open-gop.h265 "$buildRoot/windows/stamped.h265"
holdExample low-latency low-latency h264 avc-mbaff-bottom-first.h264
holdExample pair-fields pair-fields avc-paff.h264
