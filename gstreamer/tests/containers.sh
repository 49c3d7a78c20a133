#!/usr/bin/env bash
# Files that a pipeline writes are read by the videoparams command, and files that the command writes by a pipeline.
#
#   containers.sh VIDEOPARAMS PLUGIN_FOLDER
set -euo pipefail
videoparams=$1
export GST_PLUGIN_PATH=$2
pictures=40
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

expect() {
    local what=$1 expected=$2 found=$3
    [ "$found" = "$expected" ] && return
    echo "$what: expected $expected, found $found" >&2
    exit 1
}

countMessages() { "$videoparams" userdata get "$1" | grep -c "\"$2\"" || true; }

# testContainer ENCODER PARSER MUXER DEMUXER FILE
testContainer() {
    local encoder=$1 parser=$2 muxer=$3 demuxer=$4 file=$5 launch=(timeout 60 gst-launch-1.0 -m)
    "${launch[@]}" videotestsrc num-buffers=$pictures ! video/x-raw,width=64,height=64 ! "$encoder" key-int-max=10 ! tee name=tee \
        tee. ! queue ! "$parser" ! "$muxer" ! filesink location="$folder/plain-$file" \
        tee. ! queue ! "$parser" ! vpuserdatainsert text="take 7" ! "$parser" ! "$muxer" ! \
        filesink location="$folder/$file" >/dev/null
    expect "messages of the pipeline in $file" $pictures "$(countMessages "$folder/$file" "take 7")"

    "$videoparams" userdata add "$folder/plain-$file" --text "take 8" --where all -o "$folder/edited-$file" >/dev/null
    "${launch[@]}" filesrc location="$folder/edited-$file" ! "$demuxer" ! "$parser" ! vpuserdataextract ! vpcheck ! fakesink \
        >"$folder/messages"
    expect "messages of the command in $file" $pictures "$(grep -c 'vpuserdata,.*text=(string)"take\\ 8"' "$folder/messages" || true)"
    expect "gaps in $file" 0 "$(grep -c vpcheck-missing "$folder/messages" || true)"
    expect "key frames in $file" 4 "$(grep -c vpcheck-key-frame "$folder/messages" || true)"
}

testContainer x264enc h264parse mp4mux qtdemux film-h264.mp4
testContainer x264enc h264parse matroskamux matroskademux film-h264.mkv
testContainer x265enc h265parse mp4mux qtdemux film-h265.mp4
testContainer x265enc h265parse matroskamux matroskademux film-h265.mkv
