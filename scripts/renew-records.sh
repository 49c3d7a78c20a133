#!/usr/bin/env bash
# Records the outputs of the command again. Read every line of the difference before you commit it: the tests compare the
# outputs with these records.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$projectDir/scripts/setup.sh" build tool tests
build release tool -DVIDEOPARAMS_BUILD_TESTS=OFF -DVIDEOPARAMS_BUILD_EXAMPLES=OFF
python3 -B "$projectDir/tests/tool/records.py" "$buildRoot/tool/tools/videoparams" --renew
git -C "$projectDir" status --short -- tests/tool/records
