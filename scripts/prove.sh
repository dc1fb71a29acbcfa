#!/usr/bin/env bash
# Proves at length what the tests show in small, and prints the figures: CTRL-C and kill -9 at random
# moments, millions of records, files past 4 GiB, the wrap of the clock. On a fresh Debian 12 it
# installs what it needs.
#
#   scripts/prove.sh [stage...] [option...]
#
# A stage is a program of tests/long/ by its name, with or without its ending; all of them without one.
# It prints rows of name, figure and bound, and fails on a loss, a crash or a bound that does not hold.
# Options go to the stages that are named, for example to scale them: scripts/prove.sh crash --help.
# PROVE_LIMIT, by default 45m, ends a stage that takes longer.
set -euo pipefail
cd "$(dirname "$0")/.."

export PYTHONPATH=$PWD/tests
export PYTHONDONTWRITEBYTECODE=1
limit=${PROVE_LIMIT:-45m} # of a stage
out=build/prove

fail() {
    echo "prove: $*" >&2
    exit 1
}

# find_stage <name>: the program's path.
find_stage() {
    local path
    for path in "tests/long/$1" "tests/long/$1.sh" "tests/long/$1.py"; do
        if [ -x "$path" ] && [ ! -d "$path" ]; then
            echo "$path"
            return
        fi
    done
    fail "no stage $1"
}

stages=()
options=()
if [ $# -eq 0 ]; then
    for path in tests/long/*; do
        [ ! -x "$path" ] || [ -d "$path" ] || stages+=("$path")
    done
else
    while [ $# -gt 0 ] && [[ $1 != -* ]]; do
        stages+=("$(find_stage "$1")")
        shift
    done
    options=("$@")
fi

mkdir -p "$out"
scripts/setup.sh prove
cmake --preset default >"$out/build.txt"
cmake --build --preset default >>"$out/build.txt" || {
    cat "$out/build.txt" >&2
    fail "the build failed"
}

missed=()
printf 'what\tfigure\tbound\n' >"$out/rows"
for stage in "${stages[@]}"; do
    name=$(basename "${stage%.*}")
    printf '\n== %s\n' "$name" >&2
    printf '[%s]\t \t \n' "$name" >>"$out/rows"
    started=$SECONDS
    timeout --kill-after=10 "$limit" "$stage" "${options[@]}" | tee "$out/$name.rows" ||
        missed+=("$name (status ${PIPESTATUS[0]})")
    cat "$out/$name.rows" >>"$out/rows"
    printf '  seconds\t%s\t \n' $((SECONDS - started)) >>"$out/rows"
done

echo
column -t -s $'\t' "$out/rows"
[ ${#missed[@]} -eq 0 ] || fail "failed: ${missed[*]}"
echo "all hold"
