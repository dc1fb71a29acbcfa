#!/usr/bin/env bash
# Installs the packages of scripts/package.sh, records with them and removes them. Needs root.
#
#   scripts/test-packages.sh [architecture]...    by default that of the machine and armhf
#
# The machine's own architecture: in a fresh Debian 12 below build/, first as a plain folder, then
# booted as a container, in which systemd starts the recording, and restarts it.
# armhf: with the packages that apt chooses for them unpacked below build/, the programs run under
# emulation. No installation script runs there, and systemd does not.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=$PWD/build/package
scratch=$PWD/build/package-test
native=$(dpkg --print-architecture)

fail() {
    echo "test-packages: $*" >&2
    exit 1
}

mirror() {
    local uris
    mapfile -t uris < <(apt-get indextargets --format "\$(REPO_URI)" 'Created-By: Packages' \
        'Origin: Debian' 'Codename: bookworm' 'Component: main')
    echo "${uris[0]}"
}

# compare <log> <dump of the device>: all that the device has sent is in the log, and nothing else.
compare() {
    PYTHONPATH=tests/e2e python3 -B - "$@" <<'PYTHON'
import pathlib
import sys

import codec

log, dump = (pathlib.Path(name).read_bytes() for name in sys.argv[1:])
sent = codec.parse_dump(dump)
if not sent or log != codec.recording(sent):
    sys.exit(f"{sys.argv[1]} is not what was sent")
print(f"{len(sent)} records complete in {pathlib.Path(sys.argv[1]).name}")
PYTHON
}

# record <folder> <command>...: a recording with the programs started by the command, of which each
# is the last word but for its own arguments.
record() {
    local folder=$1 port device tool
    shift
    mkdir "$folder"
    mkfifo "$folder/lines"
    "$@" device_sim --bind 127.0.0.1 --imu-rate 500 --count 1000 --dump sent >"$folder/lines" &
    device=$!
    exec {lines}<"$folder/lines"
    read -r -t 20 -u "$lines" _ _ port || fail "device_sim does not listen"
    "$@" log_tool -a 127.0.0.1 -p "$port" drive.log >"$folder/tool.txt" &
    tool=$!
    wait "$device"
    exec {lines}<&-
}
