#!/usr/bin/env bash
# Records the simulated device with log_tool, replays the log to it, and shows that no record is lost
# and how far from their time the replayed ones came.
#
#   scripts/demo.sh [seconds]    of recording, by default 10
set -euo pipefail

seconds=${1:-10}
# As the user would type it from where they are.
root=$(realpath --relative-to=. "$(dirname "$0")/..")
out=$root/build/demo
log=$out/drive.log
log_tool=$root/build/default/src/app/log_tool
device_sim=$root/build/default/tools/device_sim/device_sim
log_kit=$root/build/default/tools/log_kit/log_kit
different=1 # device_sim's exit status when the replay is not what it expected

fail() {
    echo "demo: $*" >&2
    exit 1
}

# quietly <step> <command>...: prints the step alone, unless the command fails.
quietly() {
    echo "$1"
    shift
    "$@" >"$out/build.txt" 2>&1 || {
        cat "$out/build.txt" >&2
        fail "failed: $*"
    }
}

build() {
    "$root/scripts/setup.sh" build
    quietly "Configuring the build" cmake --preset default -S "$root"
    quietly "Building log_tool, device_sim and log_kit, for two minutes or less" \
        cmake --build "$root/build/default" --target log_tool device_sim log_kit
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

# start_tool <option>...: sets tool, its process id. Its lines go to the terminal and to tool.txt.
start_tool() {
    exec {tool_lines}> >(exec tee "$out/tool.txt" | sed -u 's/^/log_tool | /')
    printer=$!
    "$log_tool" "$@" -a 127.0.0.1 -p "$port" "$log" >&"$tool_lines" &
    tool=$!
    exec {tool_lines}>&-
}

# Once the device has ended, only the timer sends hellos. By then all that it sent has been read.
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
    end_of_tool
    exec {device_lines}<&-
}

end_of_tool() {
    wait "$tool" || fail "log_tool's exit status is $?"
    wait "$printer" || true
}

replay() {
    start_device replayed --expect "$log" --idle-timeout 1
    echo "Replaying for as long to 127.0.0.1:$port"
    start_tool -r
    end_of_tool
    # A device that got nothing at all never becomes idle.
    for _ in {1..50}; do
        kill -0 "$device" 2>/dev/null || break
        sleep 0.1
    done
    kill "$device" 2>/dev/null || true
    wait "$device" || [ $? -eq "$different" ] || fail "device_sim failed"
    exec {device_lines}<&-
}

show_next_steps() {
    cat <<EOT

The programs are built:
  $log_tool
  $device_sim

Record your own device, until CTRL-C, with its address and port in place of these:
  $log_tool -a 192.168.0.7 -p 5005 drive.log
and send the records back to it:
  $log_tool -r -a 192.168.0.7 -p 5005 drive.log
EOT
}

case $seconds in
-h | --help)
    "$root/scripts/usage.sh" "$0"
    exit
    ;;
'' | *[!0-9]* | 0) fail "'$seconds' is no number of seconds" ;;
esac
mkdir -p "$out"
trap stop_all EXIT
build
record
replay
PYTHONPATH=$root/tests python3 -B "$root/scripts/demo_table.py" "$log" "$out/recorded.json" "$out/replayed.json"
echo
"$log_kit" info "$log"
"$log_kit" check "$log"
show_next_steps
