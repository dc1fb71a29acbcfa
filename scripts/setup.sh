#!/usr/bin/env bash
# Installs what a task needs on Debian 12, and asks the network for nothing when nothing is missing.
#
#   scripts/setup.sh build    to build the programs, run the demo and the unit tests
#   scripts/setup.sh test     the same and the checkers of scripts/test.sh
set -euo pipefail

build=(g++ cmake ninja-build python3 libtirpc-dev libcli11-dev nlohmann-json3-dev
       libgtest-dev)
checkers=(clang-format clang-tidy cppcheck gcovr shellcheck valgrind)

case ${1:-} in
build) packages=("${build[@]}") ;;
test) packages=("${build[@]}" "${checkers[@]}") ;;
*)
    echo "usage: $0 build|test" >&2
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
