#!/usr/bin/env bash
# Builds log_tool for an ARM board. On a fresh Debian 12 it installs the cross compiler; the machine's
# own package architectures stay as they are.
#
#   scripts/build-board.sh armhf|arm64 [sysroot]
#
#   armhf    32-bit, ARMv7 with hardware floating point
#   arm64    64-bit
#   sysroot  only installs and downloads what the build needs
#
# The stripped binaries:
#
#   build/<architecture>/board/log_tool           needs libc, libstdc++ and libgcc
#   build/<architecture>/board/log_tool_static    needs nothing, for boards whose C++ library is older
set -euo pipefail
cd "$(dirname "$0")/.."

architecture=${1:-}
case $architecture,${2:-} in
armhf, | arm64, | armhf,sysroot | arm64,sysroot) ;;
*)
    scripts/usage.sh "$0" >&2
    exit 2
    ;;
esac
sysroot=$PWD/build/$architecture-sysroot
build=build/$architecture
board=$build/board
# The XDR routines; and for the companion programs two libraries of headers alone.
packages=(libtirpc-dev libcli11-dev nlohmann-json3-dev)

# main_suite: the release of this machine.
main_suite() {
    local codename mirror
    codename=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
    mirror=$(scripts/debian_mirror.sh "$codename")
    echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $mirror $codename main"
}

# make_sysroot: apt works on a state of its own, in which this is a machine like the board,
# without packages.
make_sysroot() {
    local apt new package
    apt=$(mktemp -d)
    trap 'rm -rf "$apt"' RETURN
    mkdir -p "$apt"/{state/lists/partial,cache/archives/partial,packages}
    touch "$apt/status"
    main_suite >"$apt/sources.list"
    local options=(-qq -o Dir::State="$apt/state" -o Dir::State::status="$apt/status"
        -o Dir::Cache="$apt/cache" -o Dir::Etc::SourceList="$apt/sources.list"
        -o Dir::Etc::SourceParts=- -o APT::Architecture="$architecture"
        -o APT::Architectures="$architecture"
        -o APT::Sandbox::User=root) # the sandbox's user may not write here
    apt-get "${options[@]}" update
    (cd "$apt/packages" && apt-get "${options[@]}" download "${packages[@]}")

    new=$sysroot.new
    rm -rf "$new"
    for package in "$apt"/packages/*.deb; do
        dpkg -x "$package" "$new"
    done
    rm -rf "$sysroot"
    mv "$new" "$sysroot"
}

# of_compiler <tool>: CMake has found the tools that go with the compiler.
of_compiler() {
    sed -n "s/^CMAKE_$1:.*=//p" "$build/CMakeCache.txt"
}

# check_needed <binary>: a board has the C and C++ libraries and nothing else.
check_needed() {
    local library
    while read -r library; do
        case $library in
        libc.so.6 | libm.so.6 | libstdc++.so.6 | libgcc_s.so.1 | ld-linux-*.so.*) ;;
        *)
            echo "build-board: $1 needs $library" >&2
            return 1
            ;;
        esac
    done < <("$(of_compiler READELF)" -d "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
}

scripts/setup.sh "$architecture"
mkdir -p build
[ -d "$sysroot" ] || make_sysroot
[ "${2:-}" != sysroot ] || exit 0

cmake --preset "$architecture"
cmake --build --preset "$architecture" --target log_tool log_tool_static
mkdir -p "$board"
for program in log_tool log_tool_static; do
    "$(of_compiler STRIP)" -o "$board/$program" "$build/src/app/$program"
    check_needed "$board/$program"
    ls -l "$board/$program"
done
