#!/usr/bin/env bash
# Runs the tests on emulated 64-bit Arm.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/cross-test.sh"

"$projectDir/scripts/setup.sh" build aarch64
crossTestLinux aarch64-linux-gnu aarch64 qemu-aarch64 -L /usr/aarch64-linux-gnu
