#!/usr/bin/env bash
# Sees to it that what the named purposes need is installed: installs it where it may, else names what is missing.
#
#   scripts/setup.sh build tests        PURPOSE: build tool tests clang fuzz format tidy bench ffmpeg streams abi
#                                       instructions coverage docs packages aarch64 i386 windows
set -euo pipefail

hasCommand() { command -v "$1" >/dev/null; }

hasHeader() {
    local folder
    for folder in ${CPATH:+${CPATH//:/ }} /usr/include /usr/local/include "/usr/include/$(uname -m)-linux-gnu"; do
        [ -e "$folder/$1" ] && return 0
    done
    return 1
}

hasClangRuntime() { compgen -G "$(clang -print-resource-dir)/lib/*/libclang_rt.fuzzer*" >/dev/null; }

hasGoogleTestSources() { [ -e /usr/src/googletest/CMakeLists.txt ]; }

hasPython() { python3 -c 'import ctypes, json, unittest'; }  # more than python3-minimal

hasWine64() { [ -e /usr/lib/wine/wine64 ]; }

# What a purpose needs, a line each: the Debian package and the question whether it is there.
requirementsOf() {
    case $1 in
    build)
        echo "cmake hasCommand cmake"
        echo "ninja-build hasCommand ninja"
        echo "g++ hasCommand g++"
        ;;
    tool)
        echo "libcli11-dev hasHeader CLI/CLI.hpp"
        echo "libfmt-dev hasHeader fmt/format.h"
        echo "nlohmann-json3-dev hasHeader nlohmann/json.hpp"
        ;;
    tests)
        echo "libgtest-dev hasHeader gtest/gtest.h"
        echo "pkg-config hasCommand pkg-config"
        echo "python3 hasPython"
        ;;
    clang) echo "clang hasCommand clang++" ;;
    fuzz)
        echo "clang hasCommand clang++"
        echo "libclang-rt-dev hasClangRuntime"
        ;;
    format) echo "clang-format-14 hasCommand clang-format-14" ;;
    tidy) echo "clang-tidy-14 hasCommand clang-tidy-14" ;;
    bench)
        echo "libbenchmark-dev hasHeader benchmark/benchmark.h"
        echo "pkg-config hasCommand pkg-config"
        echo "libavcodec-dev hasHeader libavcodec/avcodec.h"
        echo "libgstreamer-plugins-bad1.0-dev hasHeader gstreamer-1.0/gst/codecparsers/gsth264parser.h"
        ;;
    ffmpeg)
        echo "ffmpeg hasCommand ffmpeg"
        echo "python3 hasCommand python3"
        ;;
    streams)
        echo "x264 hasCommand x264"
        echo "x265 hasCommand x265"
        ;;
    abi) echo "abigail-tools hasCommand abidiff" ;;
    instructions) echo "valgrind hasCommand valgrind" ;;
    coverage) echo "gcovr hasCommand gcovr" ;;
    packages)
        echo "dpkg-dev hasCommand dpkg-shlibdeps"
        echo "file hasCommand file"
        echo "lintian hasCommand lintian"
        ;;
    aarch64)
        echo "g++-aarch64-linux-gnu hasCommand aarch64-linux-gnu-g++"
        echo "qemu-user hasCommand qemu-aarch64"
        echo "googletest hasGoogleTestSources"
        echo "nlohmann-json3-dev hasHeader nlohmann/json.hpp"
        ;;
    i386)
        echo "g++-i686-linux-gnu hasCommand i686-linux-gnu-g++"
        echo "qemu-user hasCommand qemu-i386"
        echo "googletest hasGoogleTestSources"
        echo "nlohmann-json3-dev hasHeader nlohmann/json.hpp"
        ;;
    windows)
        echo "g++-mingw-w64-x86-64-posix hasCommand x86_64-w64-mingw32-g++-posix"
        echo "googletest hasGoogleTestSources"
        echo "nlohmann-json3-dev hasHeader nlohmann/json.hpp"
        echo "wine hasCommand wine"
        echo "wine64 hasWine64"
        ;;
    docs) echo "doxygen hasCommand doxygen" ;;
    *)
        echo "setup.sh: unknown purpose: $1" >&2
        return 1
        ;;
    esac
}

findMissing() {
    local purpose requirements package question
    missing=()
    for purpose in "$@"; do
        requirements=$(requirementsOf "$purpose")
        while read -r package question; do
            $question 2>/dev/null || [[ " ${missing[*]} " == *" $package "* ]] || missing+=("$package")
        done <<<"$requirements"
    done
}

install() {
    local asRoot=() log
    hasCommand apt-get || return 1
    if [ "$(id -u)" != 0 ]; then
        hasCommand sudo && sudo -n true 2>/dev/null || return 1
        asRoot=(sudo -n)
    fi
    echo "Installing $*" >&2
    log=$(mktemp)
    local apt=("${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=300)
    if ! { "${apt[@]}" update && "${apt[@]}" install --no-install-recommends "$@"; } </dev/null >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}

findMissing "$@"
if [ ${#missing[@]} -gt 0 ]; then
    install "${missing[@]}" || true
    findMissing "$@"
fi
if [ ${#missing[@]} -gt 0 ]; then
    echo "Missing, and not installed from here: ${missing[*]} (names of Debian packages)." >&2
    echo "Install with: apt-get install ${missing[*]}" >&2
    exit 1
fi
