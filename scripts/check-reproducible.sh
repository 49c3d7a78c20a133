#!/usr/bin/env bash
# Compares two builds of library and tool in two folders: all installed files must be the same, and contain no path of the
# build. The library is compiled twice. Of the tool, ccache gives the objects that the same command made from the same text;
# what changes with the time of the build is not the same text.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$projectDir/scripts/setup.sh" build tool tests
build release release
second=(release tool -DVIDEOPARAMS_BUILD_TESTS=OFF -DVIDEOPARAMS_BUILD_EXAMPLES=OFF)
CCACHE_DISABLE=1 buildTargets="VideoParams VideoParamsStatic" build "${second[@]}"
build "${second[@]}"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for folder in release tool; do
    for component in Runtime Development Tool; do
        quietly "$work/log" cmake --install "$buildRoot/$folder" --prefix "$work/$folder" --component "$component"
    done
done
rm -f "$buildRoot"/{release,tool}/install_manifest_*.txt
diff -r "$work/release" "$work/tool"
if grep -rlF -e "$projectDir" -e "$buildRoot" "$work/release"; then
    echo "These files contain the path of the sources or of the build." >&2
    exit 1
fi
