# The platform scripts source this file. It builds the tests with a cross compiler and runs them. The command is not built:
# its libraries are installed for this machine only.

. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# buildGoogleTest NAME CMAKE_ARGUMENT...: builds Debian's sources of GoogleTest into $buildRoot/NAME-googletest.
buildGoogleTest() {
    local folder=$buildRoot/$1-googletest
    shift
    [ -e "$folder/complete" ] && return
    quietly "$folder.log" cmake --fresh -G Ninja -S /usr/src/googletest -B "$folder-build" "$@" \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE=-O1 -DCMAKE_INSTALL_PREFIX="$folder" -DCMAKE_INSTALL_LIBDIR=lib -DBUILD_GMOCK=OFF
    quietly "$folder.log" cmake --build "$folder-build" --target install
    touch "$folder/complete"
}

# crossTest NAME CMAKE_ARGUMENT...: prints one line if all tests pass; otherwise fails with their output.
crossTest() {
    local name=$1
    shift
    buildGoogleTest "$name" "$@"
    build release "$name" "$@" "-DGTest_DIR=$buildRoot/$name-googletest/lib/cmake/GTest" \
        -DVIDEOPARAMS_BUILD_TESTS=ON -DVIDEOPARAMS_BUILD_EXAMPLES=ON -DVIDEOPARAMS_UNITE_SOURCES=tests
    quietly "$buildRoot/$name.tests.log" ctest --test-dir "$buildRoot/$name" --no-tests=error --verbose
    # The tests of one executable run in several parts, and ctest counts each part as one test.
    awk -v name="$name" '
        /\[  PASSED  \]/ { cases += $(NF - 1); ++shares }
        /tests passed/ { others = $NF - shares }
        END { print name ": " cases " GoogleTest cases and " others " other tests passed" }' \
        "$buildRoot/$name.tests.log"
}

# crossTestLinux TRIPLET PROCESSOR EMULATOR...
crossTestLinux() {
    local emulator
    emulator=$(IFS=';' && echo "${*:3}")
    crossTest "$1" -DCMAKE_SYSTEM_NAME=Linux "-DCMAKE_SYSTEM_PROCESSOR=$2" "-DCMAKE_C_COMPILER=$1-gcc" \
        "-DCMAKE_CXX_COMPILER=$1-g++" "-DCMAKE_CROSSCOMPILING_EMULATOR=$emulator" -DVIDEOPARAMS_BUILD_TOOL=OFF
}
