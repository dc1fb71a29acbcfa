#!/usr/bin/env bash
# Runs all tests in a build that counts what runs, and measures how much of src/ did. Prints rows of
# name, figure and bound; fails when a line that did not run has no explanation in uncovered.txt.
# The children of the unit tests keep their counters also when they abort (child_process.cpp in
# tests/support); a log_tool that aborts end to end loses them.
#
#   tests/long/coverage.sh
set -euo pipefail
cd "$(dirname "$0")/../.."

build=build/coverage

main() {
    scripts/setup.sh prove
    mkdir -p build
    cmake --preset coverage >build/configure.log
    cmake --build --preset coverage
    find "$build" -name '*.gcda' -delete
    # The programs under valgrind run the same lines again, the tests of the layers run none. Where
    # memory ends and where single steps lead, it is the counters' own code that is met.
    ctest --test-dir "$build" --output-on-failure -j "$(nproc)" \
        -E '^(e2e\.(valgrind\..*|memory|aimed_interrupt)|layers\..*)$'
    # The branches that gcovr leaves out are those of exceptions: gcc sees one behind nearly every
    # call, and the program throws in one place only.
    gcovr --root . --filter src/ --exclude-throw-branches --json "$build/coverage.json" \
        "$build/src" "$build/tests"
}

main >&2
exec python3 -B tests/long/coverage.py "$build/coverage.json"
