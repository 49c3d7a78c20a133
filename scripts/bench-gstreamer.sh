#!/usr/bin/env bash
# Measures what vpuserdatainsert costs, next to a call of AddUserData and one copy. Prints a table in Markdown, and whether
# the target is met, which its exit status says too.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$projectDir/scripts/setup.sh" build bench gstreamer
build bench gstreamer-bench -DVIDEOPARAMS_BUILD_GSTREAMER=ON
plugIn=$buildRoot/gstreamer-bench/gstreamer
GST_REGISTRY=$plugIn/registry.bin "$plugIn/bench/gst_insert_cost" "$plugIn/libgstvideoparams.so"
