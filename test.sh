#!/usr/bin/env bash
# Builds and runs the tests, and prints ctest's summary. Prints everything else only if something fails.
#
#   ./test.sh [PRESET] [CTEST_ARGUMENT...]    PRESET: release (the default), debug, sanitize, tsan, clang
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

preset=release
if [ $# -gt 0 ] && [[ $1 != -* ]]; then
    preset=$1
    shift
fi

purposes=(build tool tests)
[ "$preset" = clang ] && purposes+=(clang)
"$projectDir/scripts/setup.sh" --for "Builds and tests in $buildRoot/$preset" "${purposes[@]}"
build "$preset" "$preset"

# The thread sanitizer needs its part of the address space, which randomised mappings may take.
fixedAddresses=()
if [ "$preset" = tsan ] && setarch "$(uname -m)" -R true 2>/dev/null; then
    fixedAddresses=(setarch "$(uname -m)" -R)
fi
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}

log=$buildRoot/$preset.tests.log
status=0
"${fixedAddresses[@]}" ctest --test-dir "$buildRoot/$preset" --no-tests=error --output-on-failure "$@" \
    </dev/null >"$log" 2>&1 || status=$?
if [ $status = 0 ]; then
    sed -n '/% tests passed/,$p' "$log"
else
    grep -v -E '^ *(Start +[0-9]+:|[0-9]+/[0-9]+ Test +#[0-9]+: .* Passed )' "$log" >&2
fi
exit $status
