#!/usr/bin/env bash
# Passes every check: format, static analysis, cost, the tests under the sanitizers, the seeds of the
# fuzz targets, the tests as the program is shipped and as 32-bit ARM code. On a fresh Debian 12 it
# installs what it needs. The builds go on at a low priority while tests, which mostly wait, run.
#
#   scripts/test.sh            all of it: ten minutes at most on two cores once all is installed
#   scripts/test.sh --quick    for a small change, in a minute and a half: format, build, unit tests
#                              and the end-to-end tests that are fast
set -euo pipefail
cd "$(dirname "$0")/.."

jobs=$(nproc)
waiting_jobs=$((4 * jobs)) # of tests that mostly wait
out=build/test
export PYTHONPATH=$PWD/tests PYTHONDONTWRITEBYTECODE=1

# --- The steps ----------------------------------------------------------------------------------

format() {
    git ls-files -co --exclude-standard '*.h' '*.cpp' | xargs clang-format --dry-run -Werror
    git ls-files -co --exclude-standard '*.sh' '*.bash' |
        xargs shellcheck .ci/run packaging/debian/{postinst,postrm,prerm}
    git ls-files -co --exclude-standard '*.py' | xargs black --check --quiet
    git ls-files -co --exclude-standard '*.py' | xargs flake8
}

build() {
    cmake --preset "$1" >"$out/configure-$1.txt"
    cmake --build --preset "$1"
}

build_default() {
    build default
    cmake --build --preset default --target all_verify_interface_header_sets
}

build_armhf() {
    scripts/build-board.sh armhf
    cmake --build --preset armhf
}

analyse() {
    cppcheck --quiet --std=c++17 --enable=warning,performance,portability --inline-suppr \
        --error-exitcode=1 --template=gcc -j "$jobs" src tools bench tests
    git ls-files -co --exclude-standard 'src/*.cpp' 'tools/*.cpp' 'bench/*.cpp' \
        'tests/harness/*.cpp' | xargs python3 scripts/tidy.py build/default
}

run_tests() {
    local preset=$1
    shift
    ctest --test-dir "build/$preset" --output-on-failure -j "$waiting_jobs" "$@"
}

# --- How they run -------------------------------------------------------------------------------

# begin <name> <command>...: what it prints and how it ends stay in files.
begin() {
    local name=$1 started=$SECONDS status
    shift
    set +e # not `||`, which would let the command go on after a failure within it
    (
        set -e
        "$@"
    ) >"$out/$name.txt" 2>&1
    status=$?
    set -e
    echo "$status $((SECONDS - started))" >"$out/$name.end.new"
    mv "$out/$name.end.new" "$out/$name.end"
}

# finish <name> <title>: waits for it, prints what it has printed, and ends here if it has failed.
finish() {
    local name=$1 title=$2 status seconds
    until [ -e "$out/$name.end" ]; do sleep 0.2; done
    read -r status seconds <"$out/$name.end"
    printf '\n== %s (%s s)\n' "$title" "$seconds"
    cat "$out/$name.txt"
    titles+=("$title")
    results+=("$seconds" "$(grep -o '[0-9]*% tests passed, .*' "$out/$name.txt" || echo passed)")
    [ "$status" -eq 0 ] || fail "$title"
}

step() {
    local name=$1 title=$2
    shift 2
    begin "$name" "$@"
    finish "$name" "$title"
}

# The work of the cores, in the order in which its results are needed.
build_all() {
    begin build_sanitize build sanitize
    begin build_fuzz build fuzz
    begin build_armhf build_armhf
    begin analyse analyse
}

fail() {
    printf '\nfailed: %s\n' "$*" >&2
    exit 1
}

end_builds() {
    [ -z "$builds" ] || kill -- "-$builds" 2>/dev/null || true
}

# --- What has run -------------------------------------------------------------------------------

not_run() { printf '%-44s %s\n' "$1" "$2"; }

# skipped <build> <step>: the tests of the step that have found something missing, and what.
skipped() {
    local test reason
    {
        sed -nE "s/^test_\w+ \(([^)]*)\).* skipped ['\"](.*)['\"]$/\1 \2/p" \
            "build/$1/Testing/Temporary/LastTest.log"
        sed -nE 's/^\s*[0-9]+ - (\S+) \(Skipped\)$/\1 the unit test says why/p' "$out/$2.txt"
    } | sort -u | while read -r test reason; do
        not_run "$1: $test" "$reason"
    done
}

show_table() {
    local i
    printf '\n%-44s %8s  %s\n' "what has run" seconds result
    for i in "${!titles[@]}"; do
        printf '%-44s %8s  %s\n' "${titles[i]}" "${results[2 * i]}" "${results[2 * i + 1]}"
    done
    printf '%-44s %8s\n' "in all, side by side" "$SECONDS"
}

quick() {
    step format Format format
    step build Build build default
    step tests "Unit tests and fast end-to-end tests" run_tests default -LE slow
    show_table
    printf '\n%-44s %s\n' "what has not run" why
    not_run "slow end-to-end tests" "a small change: scripts/test.sh runs them"
    not_run "analysis, cost, sanitizers, fuzzing, ARM" "likewise"
    skipped default tests
}

full() {
    step format Format format
    step build_default Build build_default
    set -m
    (
        renice -n 10 "$BASHPID" >/dev/null
        build_all
    ) &
    builds=$!
    set +m
    step cost Cost python3 tests/long/cost.py
    step tests_default Tests run_tests default
    finish build_sanitize "Build with the sanitizers"
    step tests_sanitize "Tests with the sanitizers" run_tests sanitize
    finish build_fuzz "Build of the fuzz targets"
    step tests_fuzz "Seeds and former findings of fuzzing" run_tests fuzz
    finish build_armhf "Build for 32-bit ARM"
    step tests_armhf "Tests as 32-bit ARM code" scripts/test-board.sh armhf
    finish analyse "Static analysis"
    show_table
    printf '\n%-44s %s\n' "what has not run" why
    for preset in default sanitize armhf; do skipped "$preset" "tests_$preset"; done
    not_run "armhf: $(grep -c 'Not Run (Disabled)' "$out/tests_armhf.txt") tests" \
        "the emulator cannot do it: see its list above"
    not_run "the long proofs" "an hour: scripts/prove.sh"
    not_run "the packages, installed and booted" "as root, with a mirror: scripts/test-packages.sh"
    not_run "the benchmarks" "they prove nothing: bench/run.sh"
}

builds=""
titles=()
results=()
case ${1:-} in
"") run=full ;;
--quick) run=quick ;;
*)
    scripts/usage.sh "$0" >&2
    exit 2
    ;;
esac
rm -rf "$out"
mkdir -p "$out"
trap end_builds EXIT
scripts/setup.sh test
"$run"
for tests in "$out"/tests*.txt; do
    printf '\n%s:\n' "$(basename "$tests" .txt)"
    grep -A 2 '% tests passed' "$tests"
done
