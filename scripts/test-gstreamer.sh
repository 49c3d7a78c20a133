#!/usr/bin/env bash
# Builds the GStreamer plug-in and runs its tests, in a release build and with sanitizers. Prints ctest's summaries.
#
#   scripts/test-gstreamer.sh [PRESET...]    PRESET: release, debug, sanitize, clang. Without one: release and sanitize
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

[ $# -gt 0 ] || set -- release sanitize
"$projectDir/scripts/setup.sh" build tool tests gstreamer gsttests ffmpeg

status=0
for preset in "$@"; do
    folder=gstreamer-$preset
    # A test of the release build runs the command. With sanitizers there is no such test.
    [ "$preset" = sanitize ] && tool=OFF || tool=ON
    build "$preset" "$folder" -DVIDEOPARAMS_BUILD_GSTREAMER=ON -DVIDEOPARAMS_BUILD_GSTREAMER_TESTS=ON \
        -DVIDEOPARAMS_BUILD_TESTS=OFF -DVIDEOPARAMS_BUILD_EXAMPLES=OFF "-DVIDEOPARAMS_BUILD_TOOL=$tool"
    log=$buildRoot/$folder.tests.log
    if ctest --test-dir "$buildRoot/$folder" --no-tests=error --output-on-failure </dev/null >"$log" 2>&1; then
        sed -n '/% tests passed/,$p' "$log"
    else
        cat "$log" >&2
        status=1
    fi
done
exit $status
