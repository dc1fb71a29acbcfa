#!/bin/sh
# Records one device into a new log in the folder $STATE_DIRECTORY; log_tool@.service starts it.
#
#   record <address>:<port>
#
# A log is called <number>_<start, UTC>_<address>_<port>_<boot>.log. The number is one more than the
# highest so far, so that the names sort by age also where every boot begins in 1970. The file .number
# keeps it when the logs are carried away. <boot> is the beginning of the kernel's id of this boot: a
# folder that was wholly emptied, .number included, still never sees a former name.
set -eu

usage_status=64 # sysexits.h; the unit does not start again after it
octet='(25[0-5]|2[0-4][0-9]|1[0-9][0-9]|[1-9]?[0-9])'

fail() {
    echo "record: $2" >&2
    exit "$1"
}

# last_number: the highest of the logs and of .number, with all its digits.
last_number() {
    last=000000
    read -r kept 2>/dev/null <.number || true
    for name in [0-9][0-9][0-9][0-9][0-9][0-9]_*.log "${kept:-}_"; do
        digits=${name%%_*}
        case $digits in
        [0-9][0-9][0-9][0-9][0-9][0-9]) [ "$digits" -le "$last" ] || last=$digits ;;
        *) ;; # the pattern itself, where nothing matches it; .number after a power cut
        esac
    done
    echo "$last"
}

# claim_log: creates an empty log in the folder, sets its name, log. Fails, having said why, when it
# cannot.
claim_log() {
    cd "$STATE_DIRECTORY" || return
    number=$(last_number)
    number=${number#"${number%%[!0]*}"} # a leading zero would make it octal
    # log_tool empties a file that exists. With noclobber the shell creates this one or fails, so that
    # nothing that another recording has just begun is lost either.
    set -C
    while
        number=$((number + 1))
        digits=$(printf %06d "$number")
        log=${digits}_$(date -u +%Y%m%dT%H%M%SZ)_${address}_${port}_$boot.log
        ! error=$(true 2>&1 >"$log")
    do
        [ -e "$log" ] || {
            echo "$error" >&2
            return 1
        }
    done
    # Whole or not at all. Without it the recording goes on.
    { echo "$digits" >|.number.new && mv .number.new .number; } 2>/dev/null || true
}

device=${1-}
address=${device%:*}
port=${device##*:}
if ! echo "$device" | grep -Eqx "($octet\.){3}$octet:[1-9][0-9]{0,4}" || [ "$port" -gt 65535 ]; then
    fail $usage_status "'$device' is not <address>:<port>, for example 192.168.0.7:5005"
fi
boot=${BOOT_ID:-$(cat /proc/sys/kernel/random/boot_id 2>/dev/null || echo none)}
boot=$(printf %.12s "$(echo "$boot" | tr -d -)") # log_tool keeps 79 characters of a name

# After the last delay systemd starts the wrapper again. It then also sees a disk that has been mounted
# in another way meanwhile.
for delay in 1 2 4 8 16 32 ''; do
    ! claim_log || break
    [ -n "$delay" ] || fail 1 "cannot create a log in $STATE_DIRECTORY"
    echo "record: cannot create a log in $STATE_DIRECTORY, trying again in $delay s" >&2
    sleep "$delay"
done

echo "Recording into $PWD/$log"
exec "${LOG_TOOL:-log_tool}" -a "$address" -p "$port" "$log"
