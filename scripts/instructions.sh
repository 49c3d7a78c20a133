#!/usr/bin/env bash
# Counts the instructions of each operation on fixed inputs, with the AVX2 and the SSE2 kernel. The same build gives the
# same counts on every machine, so a change of speed shows without a quiet machine.
#
#   scripts/instructions.sh             prints the counts, and in per cent how far they are from the recorded ones
#   scripts/instructions.sh --check     fails if a count is more than 3 % from the recorded one
#   scripts/instructions.sh --record    records the counts in bench/instructions/counts.txt
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

recorded=$projectDir/bench/instructions/counts.txt
if [ "$(uname -m)" != x86_64 ] || [ "$(g++ -dumpversion)" != 12 ]; then
    echo "skipped: the counts are recorded for g++ 12 on x86-64"
    exit
fi
"$projectDir/scripts/setup.sh" build instructions
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# count KERNEL FLAGS: a line for each operation: kernel, codec, operation, and the count for each input
count() {
    local kernel=$1 flags=$2 library=$buildRoot/instructions-$1/src run=0
    local sources=("$projectDir"/bench/instructions/*.cpp) streams=("$projectDir"/tests/streams/{avc,hevc}-bframes.h26[45])
    build release "instructions-$kernel" -DCMAKE_CXX_COMPILER=g++ "-DCMAKE_CXX_FLAGS=$flags" \
        -DVIDEOPARAMS_BUILD_TESTS=OFF -DVIDEOPARAMS_BUILD_TOOL=OFF -DVIDEOPARAMS_BUILD_EXAMPLES=OFF
    quietly "$work/compiler" g++ -std=c++20 -O1 "-I$projectDir/include" "${sources[@]}" "-L$library" -lVideoParams \
        "-Wl,-rpath,$library" -o "$work/counted-runs"
    # The C library copies in the same way on all machines.
    GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX_Fast_Unaligned_Load,-ERMS quietly "$work/valgrind" valgrind --tool=callgrind \
        --toggle-collect=CountedRun --dump-after=CountedRun "--callgrind-out-file=$work/callgrind" \
        --log-file="$work/log" "$work/counted-runs" "${streams[@]}"
    grep '^H\.26' "$work/valgrind" | while read -r codec operation _; do
        run=$((run + 1))
        echo "$kernel $codec $operation $(sed -n 's/^summary: *//p' "$work/callgrind.$run")"
    done | awk '{ key = $1 " " $2 " " $3 }
        !(key in counts) { order[++rows] = key }
        { counts[key] = counts[key] " " $4 }
        END { for (row = 1; row <= rows; ++row) print order[row] counts[order[row]] }'
}

{
    echo "kernel codec operation real plain dense misaligned"
    if grep -qw avx2 /proc/cpuinfo; then
        count avx2 ""
    else
        echo "This machine has no AVX2: only the SSE2 kernel is counted." >&2
    fi
    count sse2 -DVIDEOPARAMS_WITHOUT_AVX2
} >"$work/counts"

case ${1:-} in
--record)
    column -t "$work/counts" >"$recorded"
    ;;
--check)
    awk 'NR == FNR { for (input = 4; input <= NF; ++input) recorded[$1, $2, $3, input] = $input; next }
        FNR == 1 { split($0, names); next }
        { for (input = 4; input <= NF; ++input) {
              was = recorded[$1, $2, $3, input]
              if ($input > 1.03 * was || $input < 0.97 * was) {
                  print $1, $2, $3, names[input] ": " $input " instructions, recorded are " was + 0
                  differ = 1
              }
          } }
        END { exit differ }' "$recorded" "$work/counts" || {
        echo "If this is meant, record the new counts: scripts/instructions.sh --record" >&2
        exit 1
    }
    ;;
*)
    awk 'NR == FNR { for (input = 4; input <= NF; ++input) recorded[$1, $2, $3, input] = $input; next }
        FNR > 1 { for (input = 4; input <= NF; ++input) {
              was = recorded[$1, $2, $3, input]
              $input = $input sprintf(" (%+.1f %%)", was ? 100 * ($input / was - 1) : 0)
          } }
        { gsub(/ \(/, "_("); gsub(/ %/, "_%"); print }' "$recorded" "$work/counts" | column -t | tr _ ' '
    ;;
esac
