#!/bin/sh
# Runs in a booted system in which log-tool and log-tool-utils are installed and the unit of the
# device 127.0.0.1:5005 has been enabled. Leaves what the device has sent in /root/sent.<n>, for
# comparison with the logs, and removes the packages.
set -eu

unit=log_tool@127.0.0.1:5005.service
logs=/var/lib/log_tool

fail() {
    echo "booted: $*" >&2
    systemctl --no-pager status "$unit" >&2 || true
    journalctl --no-pager -u "$unit" | tail -n 20 >&2
    exit 1
}

# wait_for <command>...: until it succeeds.
wait_for() {
    tries=0
    until "$@"; do
        tries=$((tries + 1))
        [ $tries -lt 100 ] || fail "never: $*"
        sleep 0.1
    done
}

# The file is there before the program is: only its first lines show that it greets.
hellos() {
    journalctl --no-pager -q _PID="$(systemctl show -P MainPID "$unit")" -g '^timeout: send hello' |
        wc -l
}
has_log() { [ "$(find "$logs" -name '*.log' | wc -l)" -eq "$1" ]; }
has_greeted() { [ "$(hellos)" -ge "$1" ]; }

# stream <n>: the device sends to recording n, which then has read everything.
stream() {
    wait_for has_log "$1"
    device_sim --bind 127.0.0.1 --port 5005 --imu-rate 1000 --count 2000 --dump "/root/sent.$1" \
        >/dev/null
    # A device that has ended is greeted on the timer only.
    wait_for has_greeted $(($(hellos) + 2))
}

wait_for systemctl -q is-active "$unit"
runs() { [ "$(cat "/proc/$(systemctl show -P MainPID "$unit")/comm")" = log_tool ]; }
wait_for runs
pid=$(systemctl show -P MainPID "$unit")
echo "started at boot: $(cat "/proc/$pid/comm"), $(stat -c %U "/proc/$pid/comm")"
grep -E '^(Uid|CapEff|CapBnd|NoNewPrivs|Seccomp):' "/proc/$pid/status"
[ "$(stat -c %U "/proc/$pid/comm")" = _log_tool ] || fail "not its own user"

systemctl show -P RequiresMountsFor "$unit" | grep -qw "$logs" || fail "does not wait for its disk"
[ "$(systemctl show -P LimitCORE "$unit")" = 0 ] || fail "a core may fill the disk"
[ "$(systemctl show -P TimeoutStopUSec "$unit")" = 10s ] || fail "stopping may take long"

wait_for has_log 1
boot=$(tr -d - </proc/sys/kernel/random/boot_id | cut -c 1-12)
case $(ls "$logs") in
000001_*_127.0.0.1_5005_"$boot".log) ;;
*) fail "not the name of a log: $(ls "$logs")" ;;
esac

stream 1
systemctl kill --signal=INT "$unit" # begins the next log
stream 2
systemctl kill --signal=SEGV "$unit" # a crash: log 2 lacks its tail
stream 3
systemctl stop "$unit"
[ "$(systemctl show -P Result "$unit")" = success ] || fail "stopping failed"
systemctl start "$unit"
stream 4

# A disk that has no room for a file at first.
other=log_tool@127.0.0.1:5006.service
says() { # since its latest start
    journalctl --no-pager -q -g "$1" \
        _SYSTEMD_INVOCATION_ID="$(systemctl show -P InvocationID "$other")" | grep -q .
}
systemctl stop "$unit"
mount -t tmpfs -o "nr_inodes=1,mode=755,uid=$(id -u _log_tool),gid=$(id -g _log_tool)" tmpfs "$logs"
systemctl start "$other"
wait_for says 'cannot create 000001_.*: No space left on device'
wait_for says 'trying again in 4 s'
systemctl stop "$other"
[ "$(systemctl show -P Result "$other")" = success ] || fail "stopping failed while waiting"
systemctl start "$other"
wait_for says 'trying again in 1 s'
mount -o remount,nr_inodes=100 "$logs"
wait_for says "Recording into $logs/000001_"
[ "$(systemctl show -P NRestarts "$other")" -eq 0 ] || fail "starts again instead of waiting"
systemctl stop "$other"
umount "$logs"
systemctl start "$unit"
wait_for has_log 5

systemctl start log_tool@nonsense || true
wait_for systemctl -q is-failed log_tool@nonsense
[ "$(systemctl show -P NRestarts log_tool@nonsense)" -eq 0 ] || fail "nonsense starts again"

# An unprivileged user can read the logs, and not write them.
setpriv --reuid=nobody --regid=nogroup --clear-groups sh -c "cat $logs/*.log" >/dev/null ||
    fail "logs are not readable"

systemd-analyze verify --man=no /lib/systemd/system/log_tool@.service
systemd-analyze security --no-pager "$unit" | tail -n 1

dpkg --remove log-tool log-tool-utils # stops recording 5
if systemctl -q is-active "$unit" || systemctl -q cat "$unit" 2>/dev/null; then
    fail "the unit is still there"
fi
dpkg --purge log-tool log-tool-utils
[ ! -e /etc/systemd/system/multi-user.target.wants/$unit ] || fail "still enabled"
has_log 5 || fail "logs have gone with the package"
echo passed
