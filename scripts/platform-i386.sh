#!/usr/bin/env bash
# Runs the tests on 32-bit x86, emulated.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/cross-test.sh"

"$projectDir/scripts/setup.sh" build i386
crossTestLinux i686-linux-gnu i686 qemu-i386 -cpu max
