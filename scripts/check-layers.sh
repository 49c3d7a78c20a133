#!/usr/bin/env bash
# Checks that includes only go down the layers. Prints every one that does not, and what is allowed there.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# Folder, and the beginnings of what its files may include. A folder may always include its own files; the folder with the
# longest name counts. Standard headers and those of other libraries come in angle brackets and are not looked at, except
# for the library's own headers, which may be included either way. The stream/ of web/native is that of tools/, and
# gstreamer/check uses stream/FrameContinuity.h from there. Tests are not looked at.
layers='
include                   VideoParams.h
src/memory
src/bitstream/ByteScan
src/bitstream             bitstream/ memory/
src/analysis              VideoParams.h bitstream/ memory/
src/userdata              bitstream/ memory/
src/parser                VideoParams.h userdata/ analysis/ bitstream/ memory/
src/avc                   VideoParams.h parser/ userdata/ analysis/ bitstream/ memory/
src/hevc                  VideoParams.h parser/ userdata/ analysis/ bitstream/ memory/
src/api                   VideoParams.h avc/ hevc/ parser/ userdata/ analysis/ bitstream/ memory/
tools                     VideoParams.h videoparams/ bitstream/ memory/ userdata/SeiMessage.h
gstreamer/stream          VideoParams.h stream/
gstreamer/userdata        VideoParams.h videoparams/ userdata/ stream/
gstreamer/check           VideoParams.h check/ stream/
gstreamer/elements        VideoParams.h videoparams/ elements/ check/ userdata/ stream/
gstreamer                 VideoParams.h videoparams/
web/native                VideoParams.h videoparams/ bitstream/ memory/ stream/ report/ inspect/
web                       VideoParams.h videoparams/
python                    VideoParams.h videoparams/
examples                  VideoParams.h videoparams/
'

folders=()
for folder in include src tools gstreamer web python examples; do
    [ -d "$folder" ] && folders+=("$folder")
done
files=$(find "${folders[@]}" \( -name node_modules -o -name tests \) -prune -o \
    -type f -regextype egrep -regex '.*\.(c|cc|cpp|h|hpp|inl)' -print | sort)
[ -n "$files" ] || { echo "no sources found in $PWD" >&2; exit 1; }

# shellcheck disable=SC2086  # one word for each file
awk -v layers="$layers" '
BEGIN {
    lineCount = split(layers, lines, "\n")
    for (i = 1; i <= lineCount; ++i) {
        fieldCount = split(lines[i], fields, " ")
        if (fieldCount == 0)
            continue
        allowed[fields[1]] = " "
        for (j = 2; j <= fieldCount; ++j)
            allowed[fields[1]] = allowed[fields[1]] fields[j] " "
    }
}

FNR == 1 {
    layer = FILENAME
    while (layer != "" && !(layer in allowed))
        if (!sub(/\/[^\/]*$/, "", layer))
            layer = ""
    if (layer == "") {
        print FILENAME ": this folder is not listed in scripts/check-layers.sh"
        failed = 1
        nextfile
    }
    here = FILENAME
    sub(/\/[^\/]*$/, "", here)
}

/^[ \t]*#[ \t]*include[ \t]*["<]/ {
    isQuoted = /^[^<]*"/
    name = $0
    sub(/^[^"<]*["<]/, "", name)
    sub(/[">].*$/, "", name)
    if (!isQuoted && name !~ /^(VideoParams\.h|videoparams\/|api\/|avc\/|hevc\/|parser\/|userdata\/|analysis\/|bitstream\/|memory\/)/)
        next
    # Its own layer: by the name from src/, tools/ … on, or beside the file.
    if (OwnFile(name))
        next
    count = split(allowed[layer], beginnings, " ")
    for (i = 1; i <= count; ++i)
        if (index(name, beginnings[i]) == 1)
            next
    print FILENAME ":" FNR ": " layer " may not include " name "; it may include" \
        (count == 0 ? " only its own files" : ":" allowed[layer])
    failed = 1
}

function OwnFile(name,    path, root) {
    if (name ~ /(^|\/)\.\.\//)
        return 0
    path = layer
    if (sub(/^src\//, "", path))
        return index(name, path "/") == 1 || Exists(here "/" name)
    return Exists(layer "/" name) || Exists(here "/" name)
}

function Exists(path,    line, result) {
    result = (getline line < path) >= 0
    close(path)
    return result
}

END { exit failed }
' $files
