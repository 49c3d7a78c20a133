#!/usr/bin/env bash
# Measures surveys of archives, simulates a large one, and tests it with faults. Prints the tables of docs/archives.md.
#
#   scripts/bench-archives.sh [FILES [KILLS]]    default: 10000 files, and 10 workers that are killed. Takes half an hour.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

files=${1:-10000}
kills=${2:-10}
"$projectDir/scripts/setup.sh" build tool tests
build release tool -DVIDEOPARAMS_BUILD_TESTS=OFF -DVIDEOPARAMS_BUILD_EXAMPLES=OFF

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export VIDEOPARAMS_TOOL=$buildRoot/tool/tools/videoparams PYTHONPATH=$projectDir/python PYTHONDONTWRITEBYTECODE=1
python=/usr/bin/python3  # the one that has Debian's packages
bench=$projectDir/bench/archives
"$python" "$bench/measure.py" "$VIDEOPARAMS_TOOL" "$files" "$folder"
echo
"$python" "$bench/simulate.py" "$folder/costs.json"
echo
echo "Faults, with $files files and $kills killed workers:"
VIDEOPARAMS_SURVEY_FILES=$files VIDEOPARAMS_SURVEY_KILLS=$kills \
    "$python" -m unittest discover -v -s "$projectDir/python/tests/survey" -p test_faults.py 2>&1
