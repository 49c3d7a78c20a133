#!/usr/bin/env bash
# Makes the Debian packages, tests them (lintian; a program and the command from a temporary root) and prints their paths.
#
#   scripts/packages.sh [FOLDER]               FOLDER gets the packages
#   scripts/packages.sh --install [FOLDER]     also installs them here, tests them and removes them again (as root)
#
# VIDEOPARAMS_PACKAGER="Name <address>" sets their maintainer.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

isInstalling=
if [ "${1:-}" = --install ]; then
    isInstalling=yes
    shift
fi
"$projectDir/scripts/setup.sh" build tool packages

# With the prefix /usr, libraries go to the folder of their architecture. There the command needs no search path.
folder=$buildRoot/packages
build release packages -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_SKIP_INSTALL_RPATH=ON -DVIDEOPARAMS_BUILD_TESTS=OFF \
    -DVIDEOPARAMS_BUILD_EXAMPLES=OFF ${VIDEOPARAMS_PACKAGER:+"-DVIDEOPARAMS_PACKAGER=$VIDEOPARAMS_PACKAGER"}
rm -rf "$folder/out"
(umask 022 && cd "$folder" && quietly "$folder.log" cpack -G DEB -B "$folder/out")
packages=("$folder"/out/*.deb)

# The packages are not for the Debian archive, so their changelog closes no request for a package (ITP).
quietly "$buildRoot/lintian.log" lintian --fail-on error --allow-root --suppress-tags initial-upload-closes-no-bugs \
    "${packages[@]}"

# tryPackages ROOT: builds a program with the files in ROOT, and runs it and the command.
tryPackages() {
    local root=$1 library
    library=$root/usr/lib/$(g++ -print-multiarch)
    quietly "$buildRoot/packages-host.log" gcc "$projectDir/tests/package/Host.c" "-I$root/usr/include" "-L$library" \
        -lVideoParams -o "$folder/host"
    quietly "$buildRoot/packages-host.log" env LD_LIBRARY_PATH="${root:+$library}" "$folder/host"
    quietly "$buildRoot/packages-tool.log" env LD_LIBRARY_PATH="${root:+$library}" "$root/usr/bin/videoparams" info \
        "$projectDir/tests/streams/avc-bframes.h264"
}

root=$folder/root
rm -rf "$root"
for package in "${packages[@]}"; do
    dpkg-deb --extract "$package" "$root"
done
tryPackages "$root"

if [ -n "$isInstalling" ]; then
    names=()
    for package in "${packages[@]}"; do
        names+=("$(dpkg-deb --field "$package" Package)")
    done
    trap 'quietly "$buildRoot/dpkg-remove.log" dpkg --purge "${names[@]}"' EXIT
    quietly "$buildRoot/dpkg-install.log" dpkg --install "${packages[@]}"
    tryPackages ""
fi

if [ $# -gt 0 ]; then
    mkdir -p "$1"
    cp "${packages[@]}" "$1"
    packages=("${packages[@]/#*\//$1/}")
fi
printf '%s\n' "${packages[@]}"
