#!/usr/bin/env bash
# Runs the library's tests on an emulated processor without AVX2. There the library must choose another kernel.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

if [ "$(uname -m)" != x86_64 ]; then
    echo "skipped: the tests are not built for x86-64"
    exit
fi
"$projectDir/scripts/setup.sh" build tool tests nehalem
build release release

for tests in videoparams_tests videoparams_api_tests; do
    log=$buildRoot/nehalem-$tests.log
    quietly "$log" timeout --kill-after=10 300 qemu-x86_64 -cpu Nehalem "$buildRoot/release/tests/$tests" --gtest_brief=1
    sed -n "s/.*PASSED.* \([0-9]* tests\?\)\./$tests: \1 passed/p" "$log"
done
