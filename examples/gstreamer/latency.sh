#!/usr/bin/env bash
# Measures the latency of a camera or test source, in two terminals. Each prints a line for every 30 pictures.
#
#   latency.sh receive [PORT]         first terminal: from the sender's network to the decoder
#   latency.sh send [HOST [PORT]]     second terminal: from the camera to the network, encoder included
#
# The sum of both is the latency up to the decoder. Set SOURCE="v4l2src" for a camera, and PICTURES for an end after so
# many. Two machines need clocks that agree (NTP or PTP). Needs the packages gstreamer1.0-videoparams,
# gstreamer1.0-plugins-ugly (x264enc) and gstreamer1.0-libav (avdec_h264).
set -euo pipefail

# Reads the messages of gst-launch-1.0, prints least, mean and greatest latency.
summarise() {
    awk -v what="$1" '
        match($0, /latency=\(gint64\)-?[0-9]+/) {
            latency = substr($0, RSTART + 16, RLENGTH - 16) / 1e6
            sum += latency
            if (count == 0 || latency < least) least = latency
            if (count == 0 || latency > greatest) greatest = latency
            if (++count == 30) {
                printf "%s: %.2f ms (%.2f to %.2f)\n", what, sum / count, least, greatest
                fflush()
                count = sum = 0
            }
        }
        /^ERROR|^WARNING/ { print > "/dev/stderr" }'
}

send() {
    local source
    read -ra source <<<"${SOURCE:-videotestsrc is-live=true}"
    # A live source gives each picture the running time of its capture.
    gst-launch-1.0 -m "${source[@]}" num-buffers="${PICTURES:--1}" ! videoconvert ! video/x-raw,format=I420 ! \
        x264enc tune=zerolatency speed-preset=veryfast key-int-max=60 ! h264parse ! tee name=encoded \
        encoded. ! queue ! vpuserdatainsert timestamp=utc ! rtph264pay config-interval=-1 ! \
        udpsink host="${1:-127.0.0.1}" port="${2:-5004}" sync=false \
        encoded. ! queue ! vpuserdatainsert timestamp=running-time ! vpuserdataextract ! fakesink sync=false \
        2>&1 | summarise "camera to network"
}

receive() {
    gst-launch-1.0 -m udpsrc port="${1:-5004}" \
        caps="application/x-rtp,media=video,clock-rate=90000,encoding-name=H264,payload=96" ! \
        rtpjitterbuffer latency=20 ! rtph264depay ! h264parse ! vpuserdataextract ! \
        avdec_h264 ! fakesink sync=false 2>&1 | summarise "network to decoder"
}

case ${1:-} in
send | receive) "$@" ;;
*)
    sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0" >&2
    exit 2
    ;;
esac
