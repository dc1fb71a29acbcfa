#!/usr/bin/env bash
# Measures log_tool, beside floors that make the bare system calls and no more, and writes the tables
# of docs/figures. A quarter of an hour for all; as root, so that what is measured goes ahead of
# whatever else the machine does.
#
#   bench/run.sh [name...] [option...]
#
# A name is a program of bench/, for example counts; all of them without one. Options go to each:
#   --quick              shorter, and only printed
#   --tool <log_tool>    another build of it, and only printed
set -euo pipefail
cd "$(dirname "$0")/.."

names=()
while [ $# -gt 0 ] && [ -e "bench/$1.py" ]; do
    names+=("$1")
    shift
done
case ${1:-} in
-h | --help)
    scripts/usage.sh "$0"
    exit
    ;;
esac
if [ ${#names[@]} -eq 0 ]; then
    for path in bench/*.py; do
        names+=("$(basename "$path" .py)")
    done
fi

mkdir -p build
scripts/setup.sh bench
{
    cmake --preset default
    cmake --build --preset default \
        --target log_tool device_sim record_floor replay_floor feeder sink micro
    [[ " ${names[*]} " != *" footprint "* ]] || scripts/build-board.sh armhf
} >build/bench.txt 2>&1 || {
    cat build/bench.txt >&2
    exit 1
}
for name in "${names[@]}"; do
    PYTHONPATH=tests python3 -B "bench/$name.py" "$@"
done
