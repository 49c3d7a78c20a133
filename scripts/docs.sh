#!/usr/bin/env bash
# Makes the HTML reference of the interface from the header, and fails on any warning.
#
#   scripts/docs.sh [FOLDER]    FOLDER receives the pages (default: a folder outside the source tree)
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$projectDir/scripts/setup.sh" docs
output=${1:-$buildRoot/docs}
mkdir -p "$output"
DOCS_OUTPUT=$(cd "$output" && pwd)
VIDEOPARAMS_VERSION=$(sed -n 's/^#define VIDEOPARAMS_VERSION_[A-Z]* \([0-9]*\)$/\1/p' \
    "$projectDir/include/VideoParams.h" | paste -sd .)
export DOCS_OUTPUT VIDEOPARAMS_VERSION

cd "$projectDir"
quietly "$buildRoot/docs.log" doxygen docs/Doxyfile
echo "$DOCS_OUTPUT/html/index.html"
