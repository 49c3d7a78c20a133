#!/usr/bin/env bash
# Makes the test streams and their descriptions: every NAME.h264, NAME.h265 and NAME.json.
#
#   scripts/streams/make-streams.sh [FOLDER]    FOLDER: tests/streams by default; its streams are replaced
set -Eeuo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
streams=${1:-$here/../../tests/streams}
work=$(mktemp -d)
log=$work/log
trap 'rm -rf "$work"' EXIT
trap '[[ ! -s $log ]] || cat "$log" >&2' ERR
export PYTHONDONTWRITEBYTECODE=1

"$here/../setup.sh" ffmpeg streams

# picture SOURCE FRAMES PIXEL_FORMAT: the synthetic video to encode, in $work/source.y4m
picture() {
    ffmpeg -v error -nostdin -y -f lavfi -i "$1" -sws_flags accurate_rnd+bitexact -frames:v "$2" \
        -pix_fmt "$3" -strict -1 "$work/source.y4m"
}

# avc NAME SOURCE FRAMES PIXEL_FORMAT [X264_OPTION...]; the array "edit" holds the options of edit_stream.py
edit=(--drop-user-data)
avc() {
    local name=$1 format=$4 colours=i420 depth=8
    picture "$2" "$3" "$4"
    shift 4
    case $format in
    gray*) colours=i400 ;;
    yuv422*) colours=i422 ;;
    yuv444*) colours=i444 ;;
    esac
    [[ $format == *10le ]] && depth=10
    x264 --quiet --no-progress --threads 1 --cpu-independent --crf 32 --output-csp $colours --output-depth $depth \
        "$@" --output "$work/avc.h264" "$work/source.y4m" 2>"$log"
    "$here/edit_stream.py" "${edit[@]}" "$work/avc.h264" "$streams/$name.h264"
    edit=(--drop-user-data)
}

# hevc NAME SOURCE FRAMES PIXEL_FORMAT [X265_OPTION...]
# x265 waits for ever when it refuses its options, so its time is limited.
hevc() {
    local name=$1 depth=8
    picture "$2" "$3" "$4"
    [[ $4 == *10le ]] && depth=10
    [[ $4 == *12le ]] && depth=12
    shift 4
    timeout 120 x265 --log-level error --no-progress --pools none --frame-threads 1 --no-wpp --no-info --crf 34 \
        --output-depth $depth "$@" --input "$work/source.y4m" --output "$work/hevc.h265" 2>"$log"
    "$here/edit_stream.py" "${edit[@]}" "$work/hevc.h265" "$streams/$name.h265"
    edit=(--drop-user-data)
}

bars() { echo "testsrc2=size=$1:rate=${2:-25}"; }
odd_bars() { echo "testsrc2=size=128x96:rate=25,format=$2,crop=${1/x/:}:0:0:exact=1"; }
fractal() { echo "mandelbrot=size=$1:rate=${2:-25}:start_scale=0.4:end_scale=0.02:end_pts=80"; }
interlaced() { echo "testsrc2=size=$1:rate=50,interlace=scan=$2"; }

make_avc() {
    avc avc-bframes "$(fractal 176x144)" 40 yuv420p --bframes 3 --b-adapt 0 --b-pyramid normal --ref 4 --keyint 20
    avc avc-aud "$(bars 176x144)" 30 yuv420p --aud --keyint 10
    edit+=(--headers-once)
    avc avc-headers-once "$(bars 160x128)" 30 yuv420p --keyint 10
    edit+=(--headers-once)
    avc avc-aud-headers-once "$(bars 160x128)" 30 yuv420p --aud --keyint 10
    avc avc-slices "$(bars 176x144)" 20 yuv420p --slices 4 --keyint 10
    avc avc-baseline "$(bars 128x96 15)" 30 yuv420p --profile baseline --slices 2 --keyint 15
    avc avc-intra "$(bars 128x96)" 10 yuv420p --keyint 1 --crf 40
    avc avc-open-gop "$(fractal 176x144 24)" 40 yuv420p --open-gop --bframes 3 --b-adapt 0 --keyint 10
    avc avc-intra-refresh "$(bars 176x144)" 30 yuv420p --intra-refresh --keyint 12

    avc avc-mbaff "$(interlaced 176x144 tff)" 25 yuv420p --tff --keyint 12
    avc avc-mbaff-bottom-first "$(interlaced 176x144 bff)" 15 yuv420p --bff --keyint 15 --slices 2 --aud
    "$here/write_paff_stream.py" "$streams/avc-paff.h264"
    "$here/write_paff_stream.py" --poc-type 1 "$streams/avc-paff-poc-type-1.h264"

    avc avc-1080 "$(bars 1920x1080)" 3 yuv420p --crf 50 --preset slow
    avc avc-1080-interlaced "$(interlaced 1920x1080 tff)" 2 yuv420p --tff --crf 50 --preset slow
    avc avc-crop-four-sides "$(bars 176x144)" 10 yuv420p --crop-rect 6,4,10,2
    avc avc-size-change-1 "$(bars 128x96)" 8 yuv420p --sps-id 0
    avc avc-size-change-2 "$(bars 160x112 30)" 8 yuv420p --sps-id 1
    (cd "$streams" && cat avc-size-change-1.h264 avc-size-change-2.h264 avc-size-change-1.h264 >"$work/joined" &&
        rm avc-size-change-[12].h264 && mv "$work/joined" avc-size-change.h264)

    avc avc-400 "$(odd_bars 125x91 gray)" 10 gray
    avc avc-420-10bit "$(bars 176x144)" 10 yuv420p10le
    avc avc-422 "$(odd_bars 126x91 yuv422p)" 10 yuv422p
    avc avc-422-10bit "$(interlaced 176x144 tff)" 10 yuv422p10le --tff
    avc avc-444 "$(odd_bars 125x91 yuv444p)" 10 yuv444p
    avc avc-444-10bit "$(bars 128x96)" 10 yuv444p10le --slices 2
    avc avc-rgb "$(bars 128x96)" 10 yuv444p --output-csp rgb --cqm jvt

    avc avc-vui "$(bars 176x144 30000/1001)" 30 yuv420p --sar 7:5 --overscan crop --videoformat ntsc --range pc \
        --colorprim smpte170m --transfer bt470m --colormatrix fcc --chromaloc 1 --keyint 15
    avc avc-bt2020 "$(bars 176x144 60)" 10 yuv420p10le --colorprim bt2020 --transfer smpte2084 \
        --colormatrix bt2020nc --range tv --cll 1000,400 \
        --mastering-display "G(13250,34500)B(7500,3000)R(34000,16000)WP(15635,16450)L(10000000,1)"
    avc avc-hrd "$(bars 176x144)" 30 yuv420p --nal-hrd vbr --bitrate 80 --vbv-maxrate 120 --vbv-bufsize 120 \
        --pic-struct --keyint 10 --aud
    avc avc-filler "$(bars 128x96)" 25 yuv420p --nal-hrd cbr --bitrate 100 --vbv-maxrate 100 --vbv-bufsize 50 --qpmin 40 \
        --keyint 12
    edit=()
    avc avc-user-data "$(bars 128x96)" 12 yuv420p --keyint 6
}

make_hevc() {
    hevc hevc-bframes "$(fractal 176x144)" 40 yuv420p --repeat-headers --no-open-gop --keyint 20 --bframes 4
    hevc hevc-aud "$(bars 176x144)" 30 yuv420p --aud --repeat-headers --no-open-gop --keyint 10
    hevc hevc-headers-once "$(bars 176x144)" 30 yuv420p --no-open-gop --keyint 10
    hevc hevc-slices "$(bars 176x144)" 20 yuv420p --wpp --pools 2 --slices 3 --ctu 16 --repeat-headers --no-open-gop --keyint 10
    hevc hevc-intra "$(bars 128x96)" 10 yuv420p --keyint 1 --crf 40

    local open_gop=(--open-gop --keyint 10 --min-keyint 10 --bframes 4 --b-adapt 0 --repeat-headers --aud)
    hevc hevc-open-gop "$(fractal 176x144 24)" 40 yuv420p "${open_gop[@]}"
    edit+=(--from-second-key-picture)
    hevc hevc-starts-with-cra "$(fractal 176x144 24)" 30 yuv420p "${open_gop[@]}"
    edit+=(--second-cra-as-bla)
    hevc hevc-bla "$(fractal 176x144 24)" 40 yuv420p "${open_gop[@]}"
    hevc hevc-radl "$(fractal 176x144 24)" 40 yuv420p --no-open-gop --radl 2 --keyint 10 --min-keyint 10 \
        --bframes 3 --b-adapt 0
    hevc hevc-temporal-layers "$(fractal 176x144 50)" 30 yuv420p --temporal-layers --bframes 3 --b-adapt 0 \
        --keyint 15 --no-open-gop --repeat-headers

    hevc hevc-1080 "$(bars 1920x1080)" 3 yuv420p --min-cu-size 16 --crf 48
    hevc hevc-size-change-1 "$(bars 128x96)" 8 yuv420p
    hevc hevc-size-change-2 "$(bars 160x112 30)" 8 yuv420p
    (cd "$streams" && cat hevc-size-change-1.h265 hevc-size-change-2.h265 hevc-size-change-1.h265 >"$work/joined" &&
        rm hevc-size-change-[12].h265 && mv "$work/joined" hevc-size-change.h265)

    hevc hevc-400 "$(odd_bars 125x91 gray)" 10 gray
    hevc hevc-420-10bit "$(bars 176x144)" 10 yuv420p10le
    hevc hevc-422 "$(odd_bars 126x91 yuv422p)" 10 yuv422p
    hevc hevc-422-10bit "$(bars 176x144)" 10 yuv422p10le
    hevc hevc-444 "$(odd_bars 125x91 yuv444p)" 10 yuv444p
    hevc hevc-444-12bit "$(bars 128x96)" 10 yuv444p12le

    hevc hevc-hdr10 "$(bars 176x144 24000/1001)" 24 yuv420p10le --hdr10 --repeat-headers --aud --keyint 12 \
        --colorprim bt2020 --transfer smpte2084 --colormatrix bt2020nc --range limited --chromaloc 2 \
        --max-cll 1000,400 \
        --master-display "G(13250,34500)B(7500,3000)R(34000,16000)WP(15635,16450)L(10000000,1)"
    hevc hevc-vui "$(bars 176x144 30000/1001)" 20 yuv420p --sar 7:5 --overscan crop --videoformat ntsc --range full \
        --colorprim smpte170m --transfer bt470m --colormatrix fcc --display-window 4,2,6,8
    hevc hevc-hrd "$(bars 176x144 50)" 20 yuv420p --hrd --bitrate 80 --vbv-maxrate 120 --vbv-bufsize 120 \
        --repeat-headers --keyint 10 --no-open-gop --scaling-list default
    edit+=(--fix-sps-without-timing)
    hevc hevc-no-timing "$(bars 128x96)" 10 yuv420p --no-vui-timing-info
    hevc hevc-vps-timing "$(bars 128x96 24000/1001)" 10 yuv420p
    ffmpeg -v error -nostdin -i "$streams/hevc-vps-timing.h265" -c copy \
        -bsf:v hevc_metadata=tick_rate=60000/1001:num_ticks_poc_diff_one=1 -f hevc "$work/ticks.h265"
    mv "$work/ticks.h265" "$streams/hevc-vps-timing.h265"
    edit=()
    hevc hevc-user-data "$(bars 128x96)" 12 yuv420p --info --repeat-headers --no-open-gop --keyint 6
}

rm -f "$streams"/*.h264 "$streams"/*.h265 "$streams"/*.json
make_avc
make_hevc
"$here/describe_stream.py" "$streams"/*.h264 "$streams"/*.h265
