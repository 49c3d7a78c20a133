#!/usr/bin/env bash
# Builds and runs the benchmark, and prints its tables in Markdown. Takes about 20 minutes, 3 GB of memory and 4 GB of
# the disk.
#
#   scripts/bench.sh [--sse2] [--containers] [--chart OUT.svg]
#
#   --sse2             uses the SSE2 kernel instead of the best one
#   --containers       measures the command with a film of 1 GB only
#   --chart OUT.svg    writes the chart of the README
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

folder=bench
onlyContainers=
flags=
chart=()
while [ $# -gt 0 ]; do
    case $1 in
    --sse2)
        folder=bench-sse2
        flags=-DVIDEOPARAMS_WITHOUT_AVX2
        ;;
    --containers) onlyContainers=yes ;;
    --chart)
        chart=(--chart "$2")
        shift
        ;;
    *)
        sed -n '2,/^set/{/^#/p}' "$0" >&2
        exit 1
        ;;
    esac
    shift
done

"$projectDir/scripts/setup.sh" build tool bench
build bench "$folder" "-DCMAKE_CXX_FLAGS=$flags"

benchContainers() {
    python3 "$projectDir/scripts/bench-containers.py" "$buildRoot/$folder/tools/videoparams" \
        "$buildRoot/$folder/bench/videoparams_read_packets" "$buildRoot/bench-containers"
}
if [ -n "$onlyContainers" ]; then
    benchContainers
    exit
fi

# One stream per run, because a run keeps all streams that it has used in memory.
results=$buildRoot/$folder-results
rm -rf "$results"
mkdir -p "$results"
for group in {H264,H265}/{small,medium,large}/{cache,memory} hostile scale threads; do
    quietly "$buildRoot/$folder-run.log" "$buildRoot/$folder/bench/videoparams_bench" "--benchmark_filter=^$group/" \
        --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true --benchmark_min_time=0.03 \
        --benchmark_report_aggregates_only=true \
        "--benchmark_out=$results/${group//\//-}.json" --benchmark_out_format=json
done
python3 "$projectDir/scripts/bench-report.py" "$results" "${chart[@]}"
benchContainers
