#!/usr/bin/env bash
# Fuzzes every target from its seeds for a number of executions: the analysis of packets and logs
# for the first number, all other targets for the second one. Prints a row for each: its name, what
# came of it, and the bound. New inputs and findings stay under build/prove.
#
#   tests/long/fuzz.sh [executions] [executions of other targets]
set -euo pipefail
cd "$(dirname "$0")/../.."

executions=${1:-10000000}
other_executions=${2:-1000000}
out=build/prove
status=0
# By default 256 MiB wait to be reused: far more than an input can misuse, and slow.
export ASAN_OPTIONS=quarantine_size_mb=8

build() {
    scripts/setup.sh test
    cmake --preset fuzz
    cmake --build --preset fuzz
}

# last_in <log> <expression>: what the expression's group last matched.
last_in() {
    sed -nE "s/.*$2.*/\1/p" "$1" | tail -n 1
}

fuzz() {
    local target=$1 wanted=$2 inputs=(tests/fuzz/corpus/"$1") log=$out/fuzz_$1.log bound="no finding"
    local executed

    [ ! -d "tests/fuzz/regressions/$target" ] || inputs+=("tests/fuzz/regressions/$target")
    rm -rf "$out/fuzz_$target"*
    mkdir "$out/fuzz_$target"
    if "build/fuzz/tests/fuzz/${target}_fuzz" -runs="$wanted" -timeout=60 -print_final_stats=1 \
        -artifact_prefix="$out/fuzz_${target}_" "$out/fuzz_$target" "${inputs[@]}" >"$log" 2>&1; then
        executed=$(last_in "$log" '^stat::number_of_executed_units: *([0-9]+)')
        printf 'fuzz %s\t%s executions, %s/s, %s edges\t%s\n' "$target" "$executed" \
            "$(last_in "$log" '^stat::average_exec_per_sec: *([0-9]+)')" \
            "$(last_in "$log" ' cov: ([0-9]+)')" "$bound"
        [ "$executed" -ge "$wanted" ] || status=1
    else
        printf 'fuzz %s\tfinding, see %s\t%s\n' "$target" "$log" "$bound"
        status=1
    fi
}

mkdir -p "$out"
build >"$out/fuzz_build.log" 2>&1 || {
    cat "$out/fuzz_build.log" >&2
    exit 1
}
fuzz packet "$executions"
fuzz log "$executions"
fuzz greeting "$other_executions"
fuzz mem_display "$other_executions"
fuzz console "$other_executions"
fuzz command_line "$other_executions"
exit "$status"
