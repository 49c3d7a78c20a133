#!/usr/bin/env bash
# Says which lines are not as .clang-format wants them; with --fix, puts them right.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$projectDir/scripts/setup.sh" format
mode=(--dry-run --Werror)
[ "${1:-}" = --fix ] && mode=(-i)

cd "$projectDir"
find include src tools examples tests bench fuzz -regextype egrep -regex '.*\.(c|cpp|h|hpp)' -print0 |
    xargs -0 clang-format-14 "${mode[@]}"
