#!/usr/bin/env bash
# Makes the Debian packages with debhelper, tries them (lintian, and a host, the tool, the Python package and the
# GStreamer plug-in from a scratch root) and prints where they are.
#
#   scripts/packages.sh [FOLDER]               FOLDER gets the packages
#   scripts/packages.sh --install [FOLDER]     also tries them installed on this machine, and removes them again (root)
#
# VIDEOPARAMS_PACKAGER="Name <address>" and VIDEOPARAMS_HOMEPAGE=URL replace their maintainer and home page, which are
# placeholders: addresses that end in .invalid belong to nobody.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

isInstalling=
if [ "${1:-}" = --install ]; then
    isInstalling=yes
    shift
fi
"$projectDir/scripts/setup.sh" build tool packages gstreamer
folder=$buildRoot/packages
exec 9>"$folder.lock"
flock 9

# A copy of the sources: debhelper works in the tree.
source=$folder/source
rm -rf "$folder"
mkdir -p "$source"
(cd "$projectDir" && tar -c CHANGELOG.md CMakeLists.txt LICENSE README.md cmake docs examples gstreamer include python src tools) |
    tar -x -C "$source"
cp -r "$projectDir/packaging/debian" "$source/debian"
# The page for "videoparams inspect", if it was built.
page=web/page/dist/inspector.html
if [ -e "$projectDir/$page" ]; then
    install -D -m 644 "$projectDir/$page" "$source/$page"
else
    echo "The packages have no page for \"videoparams inspect\". To add it, run web/setup and web/build first." >&2
fi
version=$(sed -n 's/^#define VIDEOPARAMS_VERSION_[A-Z]* \([0-9]*\)$/\1/p' "$projectDir/include/VideoParams.h" | paste -sd .)
packager=${VIDEOPARAMS_PACKAGER:-$(sed -n 's/^Maintainer: //p' "$source/debian/control")}
# The same commit gives the same packages.
SOURCE_DATE_EPOCH=$(git -C "$projectDir" log -1 --format=%ct 2>/dev/null || stat -c %Y "$projectDir/CHANGELOG.md")
export SOURCE_DATE_EPOCH
sed -e "s/@VERSION@/$version/" -e "s/@PACKAGER@/$packager/" \
    -e "s/@DATE@/$(LC_ALL=C date -u -R -d "@$SOURCE_DATE_EPOCH")/" "$source/debian/changelog.in" >"$source/debian/changelog"
rm "$source/debian/changelog.in"
sed -i -e "s/^Maintainer: .*/Maintainer: $packager/" \
    ${VIDEOPARAMS_HOMEPAGE:+-e "s|^Homepage: .*|Homepage: $VIDEOPARAMS_HOMEPAGE|"} "$source/debian/control"

# There are no packages with debug information, so none is made.
(umask 022 && cd "$source" && DEB_BUILD_OPTIONS="parallel=$cores nocheck noautodbgsym" \
    DEB_CFLAGS_STRIP=-g DEB_CXXFLAGS_STRIP=-g quietly "$folder/build.log" dpkg-buildpackage --build=binary --no-sign)
packages=("$folder"/*.deb)
quietly "$folder/lintian.log" lintian --fail-on error,warning --allow-root "${packages[@]}"

# tryPackages ROOT: builds a host with what ROOT contains, and runs it, the tool, the Python package and the plug-in.
tryPackages() {
    local root=$1 library
    library=$root/usr/lib/$(g++ -print-multiarch)
    quietly "$folder/host.log" gcc "$projectDir/tests/package/host/Host.c" "-I$root/usr/include" "-L$library" \
        -lVideoParams -o "$folder/host"
    quietly "$folder/host.log" env LD_LIBRARY_PATH="${root:+$library}" "$folder/host"
    quietly "$folder/tool.log" env LD_LIBRARY_PATH="${root:+$library}" "$root/usr/bin/videoparams" info \
        "$projectDir/tests/streams/avc-bframes.h264"
    if [ -e "$source/$page" ]; then
        quietly "$folder/tool.log" env LD_LIBRARY_PATH="${root:+$library}" "$root/usr/bin/videoparams" inspect --no-open \
            -o "$folder/inspected.html" "$projectDir/tests/streams/avc-bframes.h264"
    fi
    quietly "$folder/python.log" env LD_LIBRARY_PATH="${root:+$library}" PYTHONDONTWRITEBYTECODE=1 \
        PYTHONPATH="$root/usr/lib/python3/dist-packages" /usr/bin/python3 -c \
        'import sys, videoparams; print(*videoparams.access_units(sys.argv[1]), sep="\n")' \
        "$projectDir/tests/streams/avc-bframes.h264"
    quietly "$folder/gstreamer.log" env LD_LIBRARY_PATH="${root:+$library}" GST_REGISTRY="$folder/registry" \
        GST_PLUGIN_PATH="${root:+$library/gstreamer-1.0}" gst-inspect-1.0 vpcheck
    ls "$root"/usr/share/doc/libvideoparams-dev/{README.md,docs/feeding.md,examples/read-stdin.c} \
        "$root"/usr/include/videoparams/nal_feeder.{h,hpp} "$root/usr/share/zsh/vendor-completions/_videoparams" \
        "$root/usr/lib/python3/dist-packages/videoparams/py.typed" >"$folder/files.log"
}

root=$folder/root
for package in "${packages[@]}"; do
    if [ "$(dpkg-deb --field "$package" Multi-Arch Homepage | wc -l)" != 2 ]; then
        echo "$package has no field Multi-Arch or Homepage." >&2
        exit 1
    fi
    dpkg-deb --extract "$package" "$root"
done
tryPackages "$root"

if [ -n "$isInstalling" ]; then
    names=()
    for package in "${packages[@]}"; do
        names+=("$(dpkg-deb --field "$package" Package)")
    done
    trap 'quietly "$folder/dpkg-remove.log" dpkg --purge "${names[@]}"' EXIT
    quietly "$folder/dpkg-install.log" dpkg --install "${packages[@]}"
    tryPackages ""
fi

if [ $# -gt 0 ]; then
    mkdir -p "$1"
    cp "${packages[@]}" "$1"
    packages=("${packages[@]/#*\//$1/}")
fi
printf '%s\n' "${packages[@]}"
if dpkg-deb --field "${packages[0]}" Maintainer Homepage | grep -qF .invalid; then
    echo "Maintainer or Homepage is a placeholder: set VIDEOPARAMS_PACKAGER and VIDEOPARAMS_HOMEPAGE to publish the packages."
fi
