#!/usr/bin/env bash
# Line and branch coverage of the library by the tests, a line a file, and the lines that no test reaches.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$projectDir/scripts/setup.sh" build tests coverage
build debug coverage -DVIDEOPARAMS_BUILD_TOOL=OFF -DVIDEOPARAMS_BUILD_EXAMPLES=OFF \
    "-DCMAKE_CXX_FLAGS=--coverage -fprofile-update=atomic" -DCMAKE_SHARED_LINKER_FLAGS=--coverage
find "$buildRoot/coverage" -name '*.gcda' -delete
for tests in videoparams_tests videoparams_api_tests; do
    quietly "$buildRoot/coverage.log" "$buildRoot/coverage/tests/$tests"
done
cd "$projectDir"
gcovr --root . --filter src/ --branches --exclude-throw-branches "$buildRoot/coverage/src" | sed -n '/^File/,$p'
gcovr --root . --filter src/ --exclude-throw-branches "$buildRoot/coverage/src" | sed -n '/^File/,$p'
