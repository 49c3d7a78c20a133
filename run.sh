#!/usr/bin/env bash
# Builds the tool and shows what it finds in a stream.
#
#   ./run.sh                   a stream of the test set
#   ./run.sh FILE [OPTION...]  FILE, with options of `videoparams info`
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

"$projectDir/scripts/setup.sh" --for "Builds in $buildRoot/tool" build tool
build release tool -DVIDEOPARAMS_BUILD_TESTS=OFF -DVIDEOPARAMS_BUILD_EXAMPLES=OFF

if [ $# = 0 ]; then
    for stream in "$projectDir"/tests/streams/{avc-bframes,*}.h264; do
        [ -e "$stream" ] && break
    done
    set -- "$stream"
fi
exec "$buildRoot/tool/tools/videoparams" info "$@"
