#!/usr/bin/env bash
# Runs each fuzz target, starting with the corpus in fuzz/corpus and the results of earlier runs.
#
#   scripts/fuzz.sh [SECONDS] [NAME...]    SECONDS for all targets together (30); NAME as in fuzz/<NAME>Fuzz.cpp
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

seconds=${1:-30}
names=("${@:2}")
if [ ${#names[@]} = 0 ]; then
    for source in "$projectDir"/fuzz/*Fuzz.cpp; do
        names+=("$(basename "$source" Fuzz.cpp)")
    done
fi

"$projectDir/scripts/setup.sh" build fuzz
build fuzz fuzz

findings=$buildRoot/fuzz-findings
mkdir -p "$findings"
dictionary=()
if compgen -G "$projectDir/fuzz/*.dict" >/dev/null; then
    cat "$projectDir"/fuzz/*.dict >"$buildRoot/fuzz.dict"
    dictionary=("-dict=$buildRoot/fuzz.dict")
fi

# A run frees what it allocates, so few freed blocks have to be kept to detect their use.
export ASAN_OPTIONS=quarantine_size_mb=8:malloc_context_size=4${ASAN_OPTIONS:+:$ASAN_OPTIONS}

for name in "${names[@]}"; do
    corpus=$buildRoot/fuzz-corpus/$name
    mkdir -p "$corpus"
    seeds=("$projectDir/fuzz/corpus/Corners")
    [ -d "$projectDir/fuzz/corpus/$name" ] && seeds+=("$projectDir/fuzz/corpus/$name")
    if ! quietly "$buildRoot/fuzz-$name.log" "$buildRoot/fuzz/fuzz/fuzz_$name" "$corpus" "${seeds[@]}" \
        -max_total_time=$(((seconds + ${#names[@]} - 1) / ${#names[@]})) -max_len=4096 -timeout=10 -print_final_stats=1 \
        "${dictionary[@]}" "-artifact_prefix=$findings/$name-"; then
        echo "The input that failed is in $findings." >&2
        exit 1
    fi
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$buildRoot/fuzz-$name.log")
    echo "$name: ${runs:-?} runs, nothing found"
done
