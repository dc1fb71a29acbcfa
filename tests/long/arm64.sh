#!/usr/bin/env bash
# Runs the tests as 64-bit ARM code, in an emulator. scripts/test.sh does so with 32-bit ARM code,
# which differs more from that of a desk. Prints a row: how many tests have passed, and the bound.
set -euo pipefail
cd "$(dirname "$0")/../.."

out=build/prove
status=0
mkdir -p "$out"
scripts/test-board.sh arm64 >"$out/arm64.log" 2>&1 || status=1
[ "$status" -eq 0 ] || grep -A 1000 'tests failed out of' "$out/arm64.log" >&2 || tail "$out/arm64.log" >&2
passed=$(grep -c '[0-9]  *Test .* Passed ' "$out/arm64.log" || true)
failed=$(grep -c '[0-9]  *Test .*\*\*\*\(Failed\|Timeout\|Exception\)' "$out/arm64.log" || true)
printf 'arm64\t%s passed, %s failed\tnone failed\n' "$passed" "$failed"
exit "$status"
