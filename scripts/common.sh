# Other scripts source this file. It sets the folders, and has functions that build and print only if something fails.

projectDir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# Builds are outside the source tree, in one folder per checkout, so a read-only checkout can be built.
chooseBuildRoot() {
    local cache=${XDG_CACHE_HOME:-${HOME:-/nonexistent}/.cache}
    if ! mkdir -p "$cache" 2>/dev/null || [ ! -w "$cache" ]; then
        cache=${TMPDIR:-/tmp}/cache-$(id -u)
        mkdir -p -m 700 "$cache"
        [ -O "$cache" ] || { echo "$cache belongs to another user: set XDG_CACHE_HOME to a folder of your own" >&2; return 1; }
    fi
    echo "$cache/videoparams/$(basename "$projectDir")-$(printf %s "$projectDir" | cksum | cut -d ' ' -f 1)"
}
buildRoot=${VIDEOPARAMS_BUILD_ROOT:-$(chooseBuildRoot)}
mkdir -p "$buildRoot"

cores=$(nproc 2>/dev/null || echo 2)
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-$cores}
export CTEST_PARALLEL_LEVEL=${CTEST_PARALLEL_LEVEL:-$cores}

# If ccache is there, what two builds of a checkout compile in the same way is compiled once.
if command -v ccache >/dev/null; then
    export CMAKE_C_COMPILER_LAUNCHER=${CMAKE_C_COMPILER_LAUNCHER-ccache} CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER-ccache}
    export CCACHE_DIR=${CCACHE_DIR:-$buildRoot/ccache} CCACHE_BASEDIR=${CCACHE_BASEDIR:-$buildRoot} CCACHE_NOHASHDIR=1
fi

# quietly LOG COMMAND...: runs the command, and shows its output only if it fails.
quietly() {
    local log=$1
    shift
    "$@" </dev/null >"$log" 2>&1 && return 0
    cat "$log" >&2
    echo "failed: $*" >&2
    return 1
}

# build PRESET FOLDER [CMAKE_ARGUMENT...]: configures and builds in $buildRoot/FOLDER. Waits for another build there.
# With buildTargets="NAME...", builds these only; with buildTargets=none, nothing.
build() (
    local preset=$1 folder=$buildRoot/$2 targets=${buildTargets:-all}
    shift 2
    exec 9>"$folder.lock"
    flock 9
    # If the folder is from another compiler or generator, it is configured again from the start.
    cmake --preset "$preset" -S "$projectDir" -B "$folder" "$@" </dev/null >"$folder.log" 2>&1 ||
        quietly "$folder.log" cmake --fresh --preset "$preset" -S "$projectDir" -B "$folder" "$@"
    # shellcheck disable=SC2086  # one word for each target
    [ "$targets" = none ] || quietly "$folder.log" cmake --build "$folder" --target $targets -- --quiet
)
