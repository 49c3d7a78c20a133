#!/usr/bin/env bash
# Runs clang-tidy on the library and the command.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$projectDir/scripts/setup.sh" build tool tests clang tidy
buildTargets=none build clang tidy -DVIDEOPARAMS_UNITE_SOURCES=  # for the compilation database

cd "$projectDir"
find "${@:-src}" -name '*.cpp' >"$buildRoot/tidy.files"
if ! xargs -a "$buildRoot/tidy.files" -P "$cores" -n 2 \
    clang-tidy-14 -p "$buildRoot/tidy" --quiet --warnings-as-errors='*' >"$buildRoot/tidy.log" 2>&1; then
    grep -v 'warnings generated' "$buildRoot/tidy.log" >&2
    exit 1
fi
