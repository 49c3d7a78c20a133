#!/usr/bin/env bash
# Builds the Debian packages, installs the GStreamer plug-in with the library on this machine, and shows its elements.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
chmod 755 "$folder"  # apt-get reads the packages as a user of its own
"$projectDir/scripts/packages.sh" "$folder" >/dev/null

asRoot=()
[ "$(id -u)" = 0 ] || asRoot=(sudo)
quietly "$buildRoot/install-gstreamer.log" "${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y --reinstall \
    --allow-downgrades install "$folder"/libvideoparams[0-9]*.deb "$folder"/gstreamer1.0-videoparams_*.deb gstreamer1.0-tools
gst-inspect-1.0 videoparams
