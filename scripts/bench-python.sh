#!/usr/bin/env bash
# Measures what the lock of the Python package's handles costs. Takes about a minute.
#
#   scripts/bench-python.sh [ROUNDS]    200 by default
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$projectDir/scripts/setup.sh" build tool tests
build release release
VIDEOPARAMS_LIBRARY=$buildRoot/release/src/libVideoParams.so.1 PYTHONPATH=$projectDir/python PYTHONDONTWRITEBYTECODE=1 \
    /usr/bin/python3 "$projectDir/python/bench/lock.py" "$@"
