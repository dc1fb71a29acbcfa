#!/usr/bin/env bash
# Installs the packages of scripts/package.sh, records with them and removes them. Needs root; on a
# fresh Debian 12 it installs what it needs.
#
#   scripts/test-packages.sh [folder|boot|armhf|arm64]...    all by default
#
#   folder   in a fresh Debian 12 in a folder below build/, as on a board without systemd
#   boot     in another one, booted as a container: systemd starts the recording, stops it, and
#            starts it again after a crash
#   armhf, arm64    below build/, with the packages that apt chooses for ours, under emulation: all
#            are unpacked only, as no installation script and no systemd runs there
set -euo pipefail
cd "$(dirname "$0")/.."

packages=$PWD/build/package
scratch=$PWD/build/package-test
native=$(dpkg --print-architecture)
boot_timeout_s=300

fail() {
    echo "test-packages: $*" >&2
    exit 1
}

mirror() {
    scripts/debian_mirror.sh bookworm
}

# fresh_debian <folder>: a copy of one that is made once.
fresh_debian() {
    if [ ! -d "$scratch/debian" ]; then
        rm -rf "$scratch/debian.new"
        debootstrap --variant=minbase bookworm "$scratch/debian.new" "$(mirror)" >"$scratch/log.txt"
        chroot "$scratch/debian.new" apt-get -qq update
        mv "$scratch/debian.new" "$scratch/debian"
    fi
    rm -rf "$1"
    cp -a --reflink=auto "$scratch/debian" "$1"
}

# enter <folder>: "${inside[@]}" then runs a command in it.
enter() {
    inside=(chroot "$1" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C
        DEBIAN_FRONTEND=noninteractive)
}

# install_packages <folder> <package>...: enters it; installs ours and others.
install_packages() {
    local folder=$1
    shift
    enter "$folder"
    cp "$packages"/log-tool{,-utils}_*_"$native".deb "$folder/root"
    "${inside[@]}" sh -c 'apt-get -qq install -y --no-install-recommends "$@" /root/*.deb' sh "$@" \
        >"$scratch/log.txt" 2>&1 || fail "$(cat "$scratch/log.txt")"
}

# compare <log> <dump of the device>: all that the device has sent is in the log, and nothing else.
compare() {
    PYTHONPATH=tests python3 -B tests/install/compare.py "$@"
}

wait_for() {
    local _
    for _ in {1..200}; do
        ! "$@" || return 0
        sleep 0.1
    done
    fail "never: $*"
}

# greeted <number>: so often on the timer, which it is once the device has ended.
greeted() { [ "$(grep -c '^timeout: send hello' "$scratch/tool.txt")" -ge "$1" ]; }

stop_jobs() {
    local job
    for job in $(jobs -p); do
        kill "$job" 2>/dev/null || true
    done
}

test_folder() {
    local folder=$scratch/folder inside lines port device tool log
    fresh_debian "$folder"
    install_packages "$folder" systemd-standalone-sysusers
    "${inside[@]}" getent passwd _log_tool

    "${inside[@]}" install -d -o _log_tool /var/lib/log_tool
    mkfifo "$folder/root/lines"
    "${inside[@]}" device_sim --bind 127.0.0.1 --imu-rate 500 --count 1000 --dump /root/sent \
        >"$folder/root/lines" &
    device=$!
    exec {lines}<"$folder/root/lines"
    read -r -t 20 -u "$lines" _ _ port || fail "device_sim does not listen"
    "${inside[@]}" setpriv --reuid=_log_tool --regid=_log_tool --clear-groups \
        env STATE_DIRECTORY=/var/lib/log_tool \
        /usr/libexec/log_tool/record "127.0.0.1:$port" >"$scratch/tool.txt" &
    tool=$!
    wait "$device"
    wait_for greeted $(($(grep -c '^timeout: ' "$scratch/tool.txt") + 2))
    kill -INT $tool
    wait $tool
    log=("$folder"/var/lib/log_tool/*.log)
    compare "${log[0]}" "$folder/root/sent"

    "${inside[@]}" dpkg --purge log-tool log-tool-utils >/dev/null
    [ -z "$(find "$folder/usr" -name '*log_tool*')" ] || fail "files are left"
    [ -e "${log[0]}" ] || fail "the log has gone with the package"
    rm -rf "$folder"
}

test_boot() {
    local folder=$scratch/boot inside log
    fresh_debian "$folder"
    install_packages "$folder" systemd dbus
    "${inside[@]}" systemctl -q enable log_tool@127.0.0.1:5005
    cp tests/install/booted.sh "$folder/root"
    cp tests/install/check.service "$folder/etc/systemd/system"
    "${inside[@]}" systemctl -q enable check.service

    timeout $boot_timeout_s systemd-nspawn --quiet --directory="$folder" --boot --register=no \
        --keep-unit --private-network </dev/null >"$scratch/log.txt" 2>&1 ||
        fail "no boot: $(tail "$scratch/log.txt")"
    cat "$folder/root/result"
    # Not the last line: to switch off may break systemctl's own connection, and it says so.
    grep -qx passed "$folder/root/result" || fail "failed when booted"

    log=("$folder"/var/lib/log_tool/*.log)
    compare "${log[0]}" "$folder/root/sent.1"
    compare "${log[2]}" "$folder/root/sent.3"
    compare "${log[3]}" "$folder/root/sent.4"
    rm -rf "$folder"
}

# unpack <architecture> <folder>: apt works on a state of its own, a machine without packages.
unpack() {
    local architecture=$1 folder=$2 package
    rm -rf "$folder"
    mkdir -p "$folder"/{etc/apt/preferences.d,var/lib/dpkg,var/lib/apt/lists/partial} \
        "$folder/var/cache/apt/archives/partial"
    touch "$folder/var/lib/dpkg/status"
    echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $(mirror) bookworm main" \
        >"$folder/etc/apt/sources.list"
    local apt=(apt-get -qq -o Dir="$folder" -o Dir::State::status="$folder/var/lib/dpkg/status"
        -o APT::Architecture="$architecture" -o APT::Architectures="$architecture"
        -o APT::Sandbox::User=root)
    "${apt[@]}" update
    "${apt[@]}" install -y --no-install-recommends --download-only systemd-standalone-sysusers \
        "$packages"/log-tool{,-utils}_*_"$architecture".deb >"$scratch/log.txt"
    for package in "$folder"/var/cache/apt/archives/*.deb \
        "$packages"/log-tool{,-utils}_*_"$architecture".deb; do
        dpkg -x "$package" "$folder"
    done
}

# test_emulated <architecture> <emulator>
test_emulated() {
    local folder=$scratch/$1 emulator=$2 program
    unpack "$1" "$folder"
    cmp packaging/record.sh "$folder/usr/libexec/log_tool/record"
    for program in log_tool device_sim; do
        printf '#!/bin/sh\nexec %s -L "%s" "%s" "$@"\n' "$emulator" "$folder" \
            "$folder/usr/bin/$program" >"$scratch/$program"
        chmod +x "$scratch/$program"
    done
    (cd tests/install && LOG_TOOL=$scratch/log_tool DEVICE_SIM=$scratch/device_sim \
        PYTHONPATH=.. python3 -B -m unittest service_test man_test completion_test)
    rm -rf "$folder"
}

test_armhf() { test_emulated armhf qemu-arm; }
test_arm64() { test_emulated arm64 qemu-aarch64; }

[ "$(id -u)" -eq 0 ] || fail "needs root"
scripts/setup.sh package-test
mkdir -p "$scratch"
trap stop_jobs EXIT
[ $# -gt 0 ] || set -- folder boot armhf arm64
for part; do
    printf '\n== %s\n' "$part"
    "test_$part"
done
