#!/bin/sh
# Records one device into a new log in the folder $STATE_DIRECTORY; log_tool@.service starts it.
#
#   record <address>:<port>
#
# A log is called <number>_<start, UTC>_<address>_<port>.log. The number is one more than the highest
# in the folder, so that the names sort by age also where every boot begins in 1970.
set -eu

usage_status=64 # sysexits.h; the unit does not start again after it
octet='(25[0-5]|2[0-4][0-9]|1[0-9][0-9]|[1-9]?[0-9])'

fail() {
    echo "record: $2" >&2
    exit "$1"
}

device=${1-}
address=${device%:*}
port=${device##*:}
if ! echo "$device" | grep -Eqx "($octet\.){3}$octet:[1-9][0-9]{0,4}" || [ "$port" -gt 65535 ]; then
    fail $usage_status "'$device' is not <address>:<port>, for example 192.168.0.7:5005"
fi
cd "$STATE_DIRECTORY"

number=0
for log in [0-9][0-9][0-9][0-9][0-9][0-9]_*.log; do
    if [ -e "$log" ]; then # the pattern itself, where nothing matches it
        number=${log%%_*}
        number=${number#"${number%%[!0]*}"} # a leading zero would make it octal
    fi
done

# log_tool empties a file that exists. With noclobber the shell creates this one or fails, so that
# nothing that another recording has just begun is lost either.
set -C
while
    number=$((number + 1))
    log=$(printf %06d "$number")_$(date -u +%Y%m%dT%H%M%SZ)_${address}_$port.log
    ! true 2>/dev/null >"$log"
do
    [ -e "$log" ] || fail 1 "cannot create $PWD/$log"
done

echo "Recording into $PWD/$log"
exec "${LOG_TOOL:-log_tool}" -a "$address" -p "$port" "$log"
