#!/usr/bin/env bash
# Builds log_tool for a 32-bit ARM board. On a fresh Debian 12 it installs the cross compiler; the
# machine's own package architectures stay as they are. The stripped binaries:
#
#   build/armhf/board/log_tool           needs libc, libstdc++ and libgcc
#   build/armhf/board/log_tool_static    needs nothing, for boards whose C++ library is older
#
#   scripts/build-armhf.sh [sysroot]    sysroot: only installs and downloads what the build needs
set -euo pipefail
cd "$(dirname "$0")/.."

sysroot=$PWD/build/armhf-sysroot
board=build/armhf/board
# The XDR routines; and for the companion programs two libraries of headers alone.
packages=(libtirpc-dev libcli11-dev nlohmann-json3-dev)

# main_suite: the release of this machine.
main_suite() {
    local codename mirror
    codename=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
    mirror=$(scripts/debian_mirror.sh "$codename")
    echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $mirror $codename main"
}

# make_sysroot: apt works on a state of its own, in which this is an ARM machine without packages.
make_sysroot() {
    local apt new package
    apt=$(mktemp -d)
    trap 'rm -rf "$apt"' RETURN
    mkdir -p "$apt"/{state/lists/partial,cache/archives/partial,packages}
    touch "$apt/status"
    main_suite >"$apt/sources.list"
    local options=(-qq -o Dir::State="$apt/state" -o Dir::State::status="$apt/status"
        -o Dir::Cache="$apt/cache" -o Dir::Etc::SourceList="$apt/sources.list"
        -o Dir::Etc::SourceParts=- -o APT::Architecture=armhf -o APT::Architectures=armhf
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

# check_needed <binary>: a board has the C and C++ libraries and nothing else.
check_needed() {
    local library
    while read -r library; do
        case $library in
        libc.so.6 | libm.so.6 | libstdc++.so.6 | libgcc_s.so.1 | ld-linux-armhf.so.3) ;;
        *)
            echo "build-armhf: $1 needs $library" >&2
            return 1
            ;;
        esac
    done < <(arm-linux-gnueabihf-readelf -d "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
}

scripts/setup.sh armhf
mkdir -p build
[ -d "$sysroot" ] || make_sysroot
[ "${1:-}" != sysroot ] || exit 0

cmake --preset armhf
cmake --build --preset armhf --target log_tool log_tool_static
mkdir -p "$board"
for program in log_tool log_tool_static; do
    arm-linux-gnueabihf-strip -o "$board/$program" "build/armhf/src/app/$program"
    check_needed "$board/$program"
    ls -l "$board/$program"
done
