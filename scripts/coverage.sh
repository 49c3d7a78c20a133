#!/usr/bin/env bash
# Prints the line and branch coverage of the library by its tests, one file per line, and then every line and branch that
# no test reaches. docs/architecture.md explains the ones that are left.
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
gcovr --root . --filter src/ --exclude-throw-branches --exclude-branches-by-pattern ' *assert\(.*' \
    --json "$buildRoot/coverage.json" "$buildRoot/coverage/src"
python3 - "$buildRoot/coverage.json" <<'END'
import json
import sys
from pathlib import Path


def row(name, lines, branches):
    share = ["%5d %6.1f %%" % (len(all), 100 * sum(all) / len(all)) if all else "%5d  -      " % 0 for all in (lines, branches)]
    print(f"{name:42}{share[0]:>16}{share[1]:>16}")


print(f"{'file':42}{'lines':>14}{'branches':>16}")
files = json.load(open(sys.argv[1]))["files"]
total = [], []
missed = []
for file in files:
    text = Path(file["file"]).read_text().splitlines()
    counted = [line for line in file["lines"] if not line["gcovr/noncode"]]
    lines = [line["count"] > 0 for line in counted]
    branches = [branch["count"] > 0 for line in counted for branch in line["branches"]]
    row(file["file"], lines, branches)
    total[0].extend(lines)
    total[1].extend(branches)
    for line in counted:
        never = sum(branch["count"] == 0 for branch in line["branches"])
        if line["count"] == 0 or never:
            what = "never reached" if line["count"] == 0 else f"{never} of {len(line['branches'])} branches never taken"
            number = line["line_number"]
            missed.append(f"{file['file']}:{number}: {what}: {text[number - 1].strip()}")
row("all", *total)
print("", *missed, sep="\n")
END
