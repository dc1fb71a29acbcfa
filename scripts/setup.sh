#!/usr/bin/env bash
# Installs what a task needs on Debian 12, and asks the network for nothing when nothing is missing.
#
#   scripts/setup.sh build    to build the programs, run the demo and the unit tests
#   scripts/setup.sh test     the same and the checkers of scripts/test.sh
#   scripts/setup.sh bench    what bench/ needs, and the peers that it measures
#   scripts/setup.sh prove    what scripts/prove.sh needs
#   scripts/setup.sh armhf    to build the programs for a 32-bit ARM board and run their tests here
#   scripts/setup.sh arm64    the same for a 64-bit one
#   scripts/setup.sh package  to make the Debian packages
#   scripts/setup.sh package-test    to install and run them
set -euo pipefail

build=(g++ cmake ninja-build python3 libtirpc-dev libcli11-dev libfmt-dev nlohmann-json3-dev libgeographiclib-dev
       libgtest-dev libbenchmark-dev)
checkers=(clang-format clang-tidy cppcheck shellcheck black flake8 valgrind strace clang
          libclang-rt-dev llvm mandoc groff-base)
measuring=(valgrind strace socat wireshark-common tcpreplay)
proving=(binutils bsdextrautils gcovr)
package=(dpkg-dev file gzip lintian)
package_test=(debootstrap systemd-container qemu-user mandoc groff-base python3)
board=(cmake ninja-build python3 googletest qemu-user)

case ${1:-} in
build) packages=("${build[@]}") ;;
test) packages=("${build[@]}" "${checkers[@]}") ;;
bench) packages=("${build[@]}" "${measuring[@]}") ;;
prove) packages=("${build[@]}" "${checkers[@]}" "${proving[@]}") ;;
armhf) packages=(g++-arm-linux-gnueabihf "${board[@]}") ;;
arm64) packages=(g++-aarch64-linux-gnu "${board[@]}") ;;
package) packages=("${package[@]}") ;;
package-test) packages=("${package_test[@]}") ;;
*)
    echo "usage: $0 build|test|bench|prove|armhf|arm64|package|package-test" >&2
    exit 2
    ;;
esac

missing=()
for package in "${packages[@]}"; do
    state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
echo "Installing: ${missing[*]}"
"${as_root[@]}" apt-get -qq update
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends \
    "${missing[@]}" >/dev/null
