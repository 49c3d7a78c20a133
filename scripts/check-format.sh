#!/usr/bin/env bash
# Shows what clang-format would change, and fails if there is anything. With --fix: changes it.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$projectDir/scripts/setup.sh" format
cd "$projectDir"
mapfile -t files < <(find include src tools examples tests bench fuzz gstreamer web/native web/tests/native -regextype egrep -regex '.*\.(c|cpp|h|hpp)' | sort)

if [ "${1:-}" = --fix ]; then
    clang-format-14 -i "${files[@]}"
    exit
fi
status=0
for file in "${files[@]}"; do
    clang-format-14 "$file" | diff -u --label "$file" --label "$file as it should be" "$file" - || status=1
done
exit $status
