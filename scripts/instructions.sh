#!/usr/bin/env bash
# Counts the instructions of each operation in fixed runs of the command, and prints them in Markdown. The counts are
# exact, so two versions can be compared.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$projectDir/scripts/setup.sh" build tool instructions
build release release
tool=$buildRoot/release/tools/videoparams
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# count OPERATION ARGUMENT...: instructions inside an exported function while the command runs
count() {
    local operation=$1
    shift
    valgrind --tool=callgrind --toggle-collect="$operation" --callgrind-out-file="$work/callgrind" \
        "$tool" "$@" >/dev/null 2>"$work/log" || { cat "$work/log" >&2; return 1; }
    sed -n 's/^summary: *//p' "$work/callgrind"
}

echo "| operation | H.264 | H.265 |"
echo "|---|---|---|"
streams=("$projectDir/tests/streams/avc-bframes.h264" "$projectDir/tests/streams/hevc-bframes.h265")
for stream in "${streams[@]}"; do
    "$tool" userdata add "$stream" --text mark --where all -o "$work/$(basename "$stream")" >/dev/null
done
avc=$work/avc-bframes.h264 hevc=$work/hevc-bframes.h265
echo "| ParseVideoParams | $(count ParseVideoParams info "$avc") | $(count ParseVideoParams info "$hevc") |"
echo "| GetNalUnit | $(count GetNalUnit units "$avc") | |"
echo "| VideoSampleTest | $(count VideoSampleTest check "$avc") | |"
echo "| AddUserData | $(count AddUserData userdata add "$avc" --text x --where all -o "$work/a") |" \
    "$(count AddUserData userdata add "$hevc" --text x --where all -o "$work/a") |"
echo "| GetUserData | $(count GetUserData userdata get "$avc") | $(count GetUserData userdata get "$hevc") |"
echo "| RemoveUserData | $(count RemoveUserData userdata remove "$avc" -o "$work/r") |" \
    "$(count RemoveUserData userdata remove "$hevc" -o "$work/r") |"
