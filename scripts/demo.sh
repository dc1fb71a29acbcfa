#!/usr/bin/env bash
# Records the simulated device with log_tool and shows that no record is lost.
#
#   scripts/demo.sh [seconds]
set -euo pipefail

seconds=${1:-10}
root=$(cd "$(dirname "$0")/.." && pwd)
out=$root/build/demo
log=$out/drive.log
log_tool=$root/build/default/src/app/log_tool
device_sim=$root/build/default/tools/device_sim/device_sim

fail() {
    echo "demo: $*" >&2
    exit 1
}

quietly() {
    "$@" >"$out/build.txt" 2>&1 || {
        cat "$out/build.txt" >&2
        fail "failed: $*"
    }
}

build() {
    "$root/scripts/setup.sh" build
    cd "$root"
    quietly cmake --preset default
    quietly cmake --build --preset default --target log_tool device_sim
}

stop_all() {
    local job
    for job in $(jobs -p); do
        kill "$job" 2>/dev/null || true
    done
}

# start_device <name> <option>...: sets device, its process id, and port. Its output goes to a pipe
# that is read at once, so that its first line tells when it listens.
start_device() {
    local name=$1
    shift
    rm -f "$out/device.pipe"
    mkfifo "$out/device.pipe"
    "$device_sim" --bind 127.0.0.1 --json "$out/$name.json" "$@" >"$out/device.pipe" &
    device=$!
    exec {device_lines}<"$out/device.pipe"
    read -r -t 10 -u "$device_lines" _ _ port || fail "device_sim does not listen"
}

# start_tool: sets tool, its process id. Its lines go to the terminal and to tool.txt.
start_tool() {
    exec {tool_lines}> >(exec tee "$out/tool.txt" | sed -u 's/^/log_tool | /')
    printer=$!
    "$log_tool" -a 127.0.0.1 -p "$port" "$log" >&"$tool_lines" &
    tool=$!
    exec {tool_lines}>&-
}

# A device that has ended is greeted on a timer only; by then all that it sent has been read.
wait_until_idle() {
    local before
    before=$(grep -c '^timeout: ' "$out/tool.txt" || true)
    for _ in {1..100}; do
        [ "$(grep -c '^timeout: ' "$out/tool.txt" || true)" -eq "$before" ] || return 0
        sleep 0.1
    done
    fail "log_tool no longer greets"
}

record() {
    local ended
    start_device recorded --duration "$seconds"
    start_tool
    echo "Recording for $seconds s from 127.0.0.1:$port"
    wait -n -p ended "$device" "$tool" || fail "log_tool or device_sim failed"
    [ "$ended" = "$device" ] || fail "log_tool ended early"
    wait_until_idle
    kill -INT "$tool"
    wait "$tool" || fail "log_tool's exit status is $?"
    wait "$printer" || true
    exec {device_lines}<&-
}

# Counts the frames of the log itself; fails when it is damaged or a record is missing.
show_recorded() {
    python3 - "$log" "$out/recorded.json" <<'PYTHON'
import json
import sys

TYPES = {1: ("ImuData", 28), 2: ("GnssData", 96), 3: ("GnssPvt", 72),
         4: ("AttitudeData", 24), 5: ("GenericData", 12)}
HEADER, VERSION, FOOTER = 8, 1, bytes([0xD0, 0xC0, 0xB0, 0xA0])

with open(sys.argv[1], "rb") as file:
    log = file.read()
with open(sys.argv[2], encoding="ascii") as file:
    sent = json.load(file)["sent"]

recorded = dict.fromkeys(sent, 0)
at = 0
while at < len(log):
    name, size = TYPES.get(log[at], (None, 0))
    end = at + HEADER + size + len(FOOTER)
    if not name or log[at + 1] != VERSION or log[end - len(FOOTER):end] != FOOTER:
        sys.exit(f"demo: {sys.argv[1]} is damaged at byte {at}")
    recorded[name] += 1
    at = end

print(f"\n{'record':<14}{'sent':>10}{'recorded':>10}")
for name in sent:
    print(f"{name:<14}{sent[name]:>10}{recorded[name]:>10}")
print(f"{'total':<14}{sum(sent.values()):>10}{sum(recorded.values()):>10}")
print(f"{len(log)} bytes in {sys.argv[1]}")
if recorded != sent or not log:
    sys.exit("demo: sent and recorded differ")
PYTHON
}

mkdir -p "$out"
trap stop_all EXIT
build
record
show_recorded
