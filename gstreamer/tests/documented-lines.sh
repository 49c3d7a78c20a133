#!/usr/bin/env bash
# Runs the gst-launch-1.0 lines of pages and of the comments of the elements, in order, in an empty folder.
#
#   documented-lines.sh PLUGIN_FOLDER FILE...
set -euo pipefail
export GST_PLUGIN_PATH=$1
shift
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

lines=$(sed -n 's/^\( \* \)\?\(gst-launch-1\.0 .*\)/\2/p' "$@")
[ "$(wc -l <<<"$lines")" -ge 7 ] || { echo "lines are missing in: $*" >&2; exit 1; }
cd "$folder"
while read -r line; do
    if ! timeout 60 bash -c "$line" </dev/null >output 2>&1 || grep -q '^ERROR' output; then
        cat output >&2
        echo "failed: $line" >&2
        exit 1
    fi
done <<<"$lines"
