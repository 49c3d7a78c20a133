#!/usr/bin/env bash
# Compares the shared library's binary interface with the recorded one: symbols, signatures, layout of the records.
#
#   scripts/check-abi.sh             fails on any difference
#   scripts/check-abi.sh --record    records the current interface in abi/
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

if [ "$(uname -m)" != x86_64 ]; then
    echo "check-abi.sh: skipped, because the interface is recorded for x86-64 only"
    exit
fi
"$projectDir/scripts/setup.sh" build abi

# Paths in the debug information are relative, so the record does not depend on the machine.
build release abi -DCMAKE_CXX_COMPILER=g++ -DVIDEOPARAMS_BUILD_TESTS=OFF -DVIDEOPARAMS_BUILD_TOOL=OFF \
    -DVIDEOPARAMS_BUILD_EXAMPLES=OFF "-DCMAKE_CXX_FLAGS=-g -O1 -ffile-prefix-map=$projectDir/="
recorded=$projectDir/abi/libVideoParams.abi
present=$buildRoot/libVideoParams.abi
quietly "$buildRoot/abidw.log" abidw --out-file "$present" --headers-dir "$projectDir/include" --drop-private-types \
    --exported-interfaces-only --drop-undefined-syms --no-corpus-path --no-comp-dir-path --no-show-locs \
    --no-elf-needed --type-id-style hash "$buildRoot/abi/src/libVideoParams.so"

if [ "${1:-}" = --record ]; then
    mkdir -p "$projectDir/abi"
    cp "$present" "$recorded"
    exit
fi
if ! quietly "$buildRoot/abidiff.log" abidiff "$recorded" "$present"; then
    echo "The binary interface differs from abi/libVideoParams.abi. To record an addition, run scripts/check-abi.sh --record." >&2
    exit 1
fi
