#!/usr/bin/env bash
# Builds and runs the benchmark, and prints its tables in Markdown. Takes about ten minutes and 2 GB of memory.
#
#   scripts/bench.sh [OUT.svg]    OUT.svg: the chart of the README
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$projectDir/scripts/setup.sh" build bench
build bench bench

# Stream by stream: a run keeps all the streams that it has used.
results=$buildRoot/bench-results
rm -rf "$results"
mkdir -p "$results"
for group in H264/small H264/medium H264/large H265/small H265/medium H265/large hostile scale; do
    quietly "$buildRoot/bench-run.log" "$buildRoot/bench/bench/videoparams_bench" "--benchmark_filter=^$group/" \
        --benchmark_repetitions=5 --benchmark_enable_random_interleaving=true --benchmark_min_time=0.03 \
        "--benchmark_out=$results/${group//\//-}.json" --benchmark_out_format=json
done
python3 "$projectDir/scripts/bench-report.py" "$results" ${1:+--chart "$1"}
