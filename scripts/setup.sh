#!/usr/bin/env bash
# Installs what the named purposes need and the machine does not have, or names what is missing if it may not install.
#
#   scripts/setup.sh [--for WHAT] PURPOSE...    PURPOSE: a word of the first column below; without one, lists them.
#                                               With --for, says in one line WHAT follows and what is installed
set -euo pipefail

# A line for each thing that a purpose needs: the purpose, the Debian package that contains the thing, and the question
# that is true if the thing is there (one of the functions below, with its arguments). A new purpose needs new lines only.
requirements='
build         cmake                             command cmake
build         ninja-build                       command ninja
build         g++                               command g++
tool          libcli11-dev                      header CLI/CLI.hpp
tool          libfmt-dev                        header fmt/format.h
tool          nlohmann-json3-dev                header nlohmann/json.hpp
tool          pkg-config                        command pkg-config
tool          libavformat-dev                   library libavformat
tool          libavcodec-dev                    library libavcodec
check         ccache                            command ccache
tests         libgtest-dev                      header gtest/gtest.h
tests         pkg-config                        command pkg-config
tests         python3                           module ctypes
tests         python3                           module unittest
tests         python3-jsonschema                module jsonschema
tests         python3-setuptools                package python3-setuptools
tests         python3-wheel                     package python3-wheel
tests         python3-av                        package python3-av
tests         mypy                              package mypy
tests         python3-venv                      package python3-venv
tests         python3-pip                       package python3-pip
tests         python3-distributed               package python3-distributed
tests         python3-fsspec                    package python3-fsspec
tests         python3-jinja2                    package python3-jinja2
tests         python3-matplotlib                package python3-matplotlib
tests         python3-tqdm                      package python3-tqdm
clang         clang                             command clang++
fuzz          clang                             command clang++
fuzz          libclang-rt-dev                   clangRuntime
format        clang-format-14                   command clang-format-14
tidy          clang-tidy-14                     command clang-tidy-14
bench         libbenchmark-dev                  header benchmark/benchmark.h
bench         pkg-config                        command pkg-config
bench         libavcodec-dev                    library libavcodec
bench         libavformat-dev                   library libavformat
bench         libgstreamer-plugins-bad1.0-dev   library gstreamer-codecparsers-1.0
bench         ffmpeg                            command ffmpeg
bench         mediainfo                         command mediainfo
bench         python3                           command python3
gstreamer     pkg-config                        command pkg-config
gstreamer     libunwind-dev                     library libunwind
gstreamer     libgstreamer1.0-dev               library gstreamer-base-1.0
gstreamer     libgstreamer-plugins-base1.0-dev  library gstreamer-video-1.0
gstreamer     libgstreamer-plugins-bad1.0-dev   library gstreamer-codecparsers-1.0
gsttests      gstreamer1.0-tools                command gst-inspect-1.0
gsttests      gstreamer1.0-plugins-base         element videotestsrc
gsttests      gstreamer1.0-plugins-good         element rtph264pay
gsttests      gstreamer1.0-plugins-ugly         element x264enc
gsttests      gstreamer1.0-plugins-bad          element x265enc
gsttests      gstreamer1.0-libav                element avdec_h264
gsttests      python3-gi                        package python3-gi
gsttests      gir1.2-gst-plugins-base-1.0       package gir1.2-gst-plugins-base-1.0
ffmpeg        ffmpeg                            command ffmpeg
ffmpeg        python3                           command python3
streams       x264                              command x264
streams       x265                              command x265
abi           abigail-tools                     command abidiff
instructions  valgrind                          command valgrind
nehalem       qemu-user                         command qemu-x86_64
coverage      gcovr                             command gcovr
packages      build-essential                   package build-essential
packages      debhelper                         command dh
packages      dh-python                         command dh_python3
packages      python3-setuptools                package python3-setuptools
packages      python3-wheel                     package python3-wheel
packages      dpkg-dev                          command dpkg-buildpackage
packages      lintian                           command lintian
packages      gstreamer1.0-tools                command gst-inspect-1.0
aarch64       g++-aarch64-linux-gnu             command aarch64-linux-gnu-g++
aarch64       qemu-user                         command qemu-aarch64
aarch64       googletest                        file /usr/src/googletest/CMakeLists.txt
aarch64       nlohmann-json3-dev                header nlohmann/json.hpp
i386          g++-i686-linux-gnu                command i686-linux-gnu-g++
i386          qemu-user                         command qemu-i386
i386          googletest                        file /usr/src/googletest/CMakeLists.txt
i386          nlohmann-json3-dev                header nlohmann/json.hpp
windows       g++-mingw-w64-x86-64-posix        command x86_64-w64-mingw32-g++-posix
windows       googletest                        file /usr/src/googletest/CMakeLists.txt
windows       nlohmann-json3-dev                header nlohmann/json.hpp
windows       wine                              command wine
windows       wine64                            file /usr/lib/wine/wine64
docs          doxygen                           command doxygen
web           emscripten                        command emcc
web           nodejs                            command node
web           npm                               command npm
web           googletest                        file /usr/src/googletest/CMakeLists.txt
web           chromium                          command chromium
web           ffmpeg                            command ffmpeg
'

# Questions. A command, header or library may also come from somewhere else than the Debian package.
hasCommand() { command -v "$1" >/dev/null; }

hasFile() { [ -e "$1" ]; }

hasHeader() {
    local folder
    for folder in ${CPATH:+${CPATH//:/ }} /usr/include /usr/local/include "/usr/include/$(uname -m)-linux-gnu"; do
        [ -e "$folder/$1" ] && return 0
    done
    return 1
}

# A library with its development files, by the name that pkg-config knows.
hasLibrary() { pkg-config --exists "$1"; }

# A module of Python 3.
hasModule() { python3 -c "import $1"; }

# An element of GStreamer.
hasElement() { gst-inspect-1.0 --exists "$1"; }

# A Debian package as such. For what none of the other questions finds.
hasPackage() { [ "$(dpkg-query --show --showformat '${db:Status-Status}' "$1")" = installed ]; }

hasClangRuntime() { compgen -G "$(clang -print-resource-dir)/lib/*/libclang_rt.fuzzer*" >/dev/null; }

purposes() { awk 'NF { print $1 }' <<<"$requirements" | uniq; }

# Sets `missing` to the packages that the purposes lack.
findMissing() {
    local purpose package question arguments
    missing=()
    while read -r purpose package question arguments; do
        [[ -n $purpose && " $* " == *" $purpose "* && " ${missing[*]} " != *" $package "* ]] || continue
        # shellcheck disable=SC2086  # a question may have several arguments
        "has${question^}" $arguments >/dev/null 2>&1 || missing+=("$package")
    done <<<"$requirements"
}

mayInstall() {
    asRoot=()
    hasCommand apt-get || return 1
    [ "$(id -u)" = 0 ] && return 0
    asRoot=(sudo -n)
    hasCommand sudo && sudo -n true 2>/dev/null
}

# Removes nothing: what conflicts may be somebody else's.
installPackages() {
    local log
    local apt=("${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=300)
    log=$(mktemp)
    if ! { "${apt[@]}" update && "${apt[@]}" install --no-install-recommends --no-remove "$@"; } </dev/null >"$log" 2>&1; then
        cat "$log" >&2
    fi
    rm -f "$log"
}

announcement=
if [ "${1:-}" = --for ]; then
    announcement=$2
    shift 2
fi
if [ $# = 0 ]; then
    purposes
    exit
fi
for purpose in "$@"; do
    if ! purposes | grep -qx -- "$purpose"; then
        echo "setup.sh: unknown purpose: $purpose. Known: $(purposes | paste -sd ' ')" >&2
        exit 2
    fi
done

findMissing "$@"
if [ ${#missing[@]} -gt 0 ]; then
    announcement+="${announcement:+; }installs with apt-get: ${missing[*]}"
elif [ -n "$announcement" ]; then
    announcement+="; installs nothing"
fi
[ -z "$announcement" ] || echo "$announcement" >&2
if [ ${#missing[@]} -gt 0 ] && mayInstall; then
    # Scripts that run at the same time install one after the other.
    exec 9>"${TMPDIR:-/tmp}/videoparams-setup-$(id -u).lock"
    flock 9
    findMissing "$@"
    [ ${#missing[@]} = 0 ] || installPackages "${missing[@]}"
    findMissing "$@"
fi
if [ ${#missing[@]} -gt 0 ]; then
    echo "These Debian packages are still missing. Install them with: apt-get install ${missing[*]}" >&2
    exit 1
fi
