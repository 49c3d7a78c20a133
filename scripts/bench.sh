#!/usr/bin/env bash
# Builds and runs the benchmark; arguments are those of Google Benchmark.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$projectDir/scripts/setup.sh" build bench
build bench bench
exec "$buildRoot/bench/bench/videoparams_bench" "$@"
