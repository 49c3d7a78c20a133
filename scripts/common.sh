# For the project's scripts, to be sourced: where things are, and building without a word unless something fails.

projectDir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# Builds lie outside the tree, one folder for each checkout, so a read-only checkout can be built.
chooseBuildRoot() {
    local cache=${XDG_CACHE_HOME:-${HOME:-/nonexistent}/.cache}
    if ! mkdir -p "$cache" 2>/dev/null || [ ! -w "$cache" ]; then
        cache=${TMPDIR:-/tmp}/cache-$(id -u)
        mkdir -p -m 700 "$cache"
        [ -O "$cache" ] || { echo "$cache belongs to somebody else" >&2; return 1; }
    fi
    echo "$cache/videoparams/$(basename "$projectDir")-$(printf %s "$projectDir" | cksum | cut -d ' ' -f 1)"
}
buildRoot=${VIDEOPARAMS_BUILD_ROOT:-$(chooseBuildRoot)}
mkdir -p "$buildRoot"

cores=$(nproc 2>/dev/null || echo 2)
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-$cores}
export CTEST_PARALLEL_LEVEL=${CTEST_PARALLEL_LEVEL:-$cores}

# quietly LOG COMMAND...: runs it; its output is shown only when it fails.
quietly() {
    local log=$1
    shift
    "$@" </dev/null >"$log" 2>&1 && return 0
    cat "$log" >&2
    echo "failed: $*" >&2
    return 1
}

# build PRESET FOLDER [CMAKE_ARGUMENT...]: configures and builds in $buildRoot/FOLDER, one at a time.
build() (
    local preset=$1 folder=$buildRoot/$2
    shift 2
    exec 9>"$folder.lock"
    flock 9
    # The folder may be left over from another compiler or generator; then it is made afresh.
    cmake --preset "$preset" -S "$projectDir" -B "$folder" "$@" </dev/null >"$folder.log" 2>&1 ||
        quietly "$folder.log" cmake --fresh --preset "$preset" -S "$projectDir" -B "$folder" "$@"
    quietly "$folder.log" cmake --build "$folder" -- --quiet
)
