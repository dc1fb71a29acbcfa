#!/usr/bin/env bash
# Makes the Debian packages and lets lintian look at them. On a fresh Debian 12 it installs what it
# needs.
#
#   scripts/package.sh [architecture]...    that of the machine, armhf or arm64; by default all three
#   scripts/package.sh --help
#
#   build/package/log-tool_<version>_<architecture>.deb          log_tool
#   build/package/log-tool-utils_<version>_<architecture>.deb    its companion programs
set -euo pipefail
cd "$(dirname "$0")/.."

packages=$PWD/build/package
native=$(dpkg --print-architecture)
offered=("$native")
for architecture in armhf arm64; do # what scripts/build-board.sh builds for
    [ "$architecture" = "$native" ] || offered+=("$architecture")
done

# shared_libraries <architecture> <program>...: the packages that hold what the programs need.
shared_libraries() {
    local architecture=$1 type scratch
    shift
    type=$(dpkg-architecture -a"$architecture" -qDEB_HOST_GNU_TYPE 2>/dev/null)
    scratch=$(mktemp -d)
    mkdir "$scratch/debian"
    touch "$scratch/debian/control"
    # The cross compiler's own copies of the libraries lie in packages of other names.
    (cd "$scratch" && CC=$type-gcc dpkg-architecture -a"$architecture" -c \
        dpkg-shlibdeps --warnings=0 -l"/usr/$type/lib" -O "$@") |
        sed -e 's/^shlibs:Depends=//' -e "s/:$architecture//g" -e "s/-$architecture-cross//g"
    rm -r "$scratch"
}

flags() {
    DEB_HOST_ARCH=$architecture DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --get "$1"
}

# check_offered <architecture>: before anything is done for another one.
check_offered() {
    local architecture
    for architecture in "${offered[@]}"; do
        [ "$1" != "$architecture" ] || return 0
    done
    echo "package: cannot build for '$1', only for ${offered[*]}" >&2
    exit 2
}

make_packages() {
    local architecture=$1 preset=default folder=$packages/$1 programs program companions
    if [ "$architecture" != "$native" ]; then
        scripts/build-board.sh "$architecture" sysroot
        preset=$architecture
    fi

    CXXFLAGS="$(flags CXXFLAGS) $(flags CPPFLAGS)" LDFLAGS=$(flags LDFLAGS) \
        cmake --preset "$preset" -B "$folder" -DCMAKE_INSTALL_PREFIX=/usr \
        -DLOG_TOOL_STATIC_CXX=OFF -DLOG_TOOL_PACKAGE_ARCHITECTURE="$architecture"
    programs=("$folder/tools/device_sim/device_sim")
    if [ "$preset" = default ]; then # log_kit is for the desk alone
        programs+=("$folder/tools/log_kit/log_kit")
    fi
    cmake --build "$folder" --target log_tool "${programs[@]##*/}"

    program=$(shared_libraries "$architecture" "$folder/src/app/log_tool")
    companions=$(shared_libraries "$architecture" "${programs[@]}")
    rm -f "$packages"/log-tool{,-utils}_*_"$architecture".deb # also those of other versions
    (cd "$folder" && cpack -B "$packages" \
        -D CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS="$program, $sysusers" \
        -D CPACK_DEBIAN_COMPANIONS_PACKAGE_DEPENDS="$companions")
    rm -r "$packages/_CPack_Packages"
    lintian --info --pedantic --fail-on warning \
        "$packages"/log-tool{,-utils}_*_"$architecture".deb
}

# What makes the user of the recordings; a board without systemd has the second one.
sysusers="systemd | systemd-standalone-sysusers | systemd-sysusers"

for argument; do
    case $argument in
    -h | --help)
        scripts/usage.sh "$0"
        exit
        ;;
    esac
    check_offered "$argument"
done
[ $# -gt 0 ] || set -- "${offered[@]}"
scripts/setup.sh build
scripts/setup.sh package
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH
for architecture; do
    make_packages "$architecture"
done
ls -l "$packages"/*.deb
