#!/usr/bin/env bash
# Runs the tests on 32-bit x86: on this processor if the kernel runs such programs, otherwise emulated.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/cross-test.sh"

"$projectDir/scripts/setup.sh" build i386
root=/usr/i686-linux-gnu
emulator=("$root/lib/ld-linux.so.2" --library-path "$root/lib")
if ! "${emulator[@]}" --version >/dev/null 2>&1; then
    emulator=(qemu-i386 -cpu max -L "$root")
    # In qemu-i386, threads never end, even if they share nothing.
    echo "i686-linux-gnu: the thread test is left out, because qemu-i386 cannot run it"
    export GTEST_FILTER=-Thread.*
fi
crossTestLinux i686-linux-gnu i686 "${emulator[@]}"
