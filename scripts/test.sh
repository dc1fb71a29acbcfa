#!/usr/bin/env bash
# Passes every check: format, static analysis, cost, the tests under the sanitizers, the seeds of the
# fuzz targets, the tests as the program is shipped and as 32-bit ARM code. On a fresh Debian 12 it
# installs what it needs.
set -euo pipefail
cd "$(dirname "$0")/.."
mkdir -p build

jobs=$(nproc)
step() { printf '\n== %s\n' "$1"; }

scripts/setup.sh test

step "Format"
git ls-files -co --exclude-standard '*.h' '*.cpp' | xargs clang-format --dry-run -Werror
git ls-files -co --exclude-standard '*.sh' '*.bash' |
    xargs shellcheck .ci/run packaging/debian/{postinst,postrm,prerm}

step "Build"
cmake --preset default >build/configure.log
cmake --build --preset default
cmake --build --preset default --target all_verify_interface_header_sets

step "Static analysis"
cppcheck --quiet --std=c++17 --enable=warning,performance,portability --inline-suppr \
    --error-exitcode=1 --template=gcc -j "$jobs" src tools bench tests
git ls-files -co --exclude-standard 'src/*.cpp' 'tools/*.cpp' 'bench/*.cpp' 'tests/harness/*.cpp' |
    xargs -n 1 -P "$jobs" clang-tidy -p build/default --quiet \
        --extra-arg=-Wno-ignored-optimization-argument \
        --extra-arg=-Wno-unused-command-line-argument # GCC's optimisations

step "Cost"
PYTHONPATH=tests python3 -B tests/long/cost.py

step "Tests with AddressSanitizer and UndefinedBehaviorSanitizer"
cmake --preset sanitize >build/configure.log
cmake --build --preset sanitize
ctest --test-dir build/sanitize --output-on-failure -j "$jobs"

step "Seeds and former findings of the fuzz targets"
cmake --preset fuzz >build/configure.log
cmake --build --preset fuzz
ctest --test-dir build/fuzz --output-on-failure -j "$jobs"

step "Tests"
ctest --test-dir build/default --output-on-failure -j "$jobs"

step "Tests as 32-bit ARM code"
scripts/test-board.sh armhf
