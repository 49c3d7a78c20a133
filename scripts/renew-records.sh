#!/usr/bin/env bash
# Writes the records of the tool's outputs anew. Read every line of the difference before you commit it: the tests take the
# records for the truth.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$projectDir/scripts/setup.sh" build tool tests
build release tool -DVIDEOPARAMS_BUILD_TESTS=OFF -DVIDEOPARAMS_BUILD_EXAMPLES=OFF
python3 -B "$projectDir/tests/tool/records.py" "$buildRoot/tool/tools/videoparams" --renew
git -C "$projectDir" status --short -- tests/tool/records
