#!/usr/bin/env bash
# Runs the unit tests and the end-to-end tests as a board's code, in an emulator that hands the
# program's system calls to this machine's kernel. log_tool and device_sim both run as ARM code.
#
#   scripts/test-board.sh armhf|arm64
set -euo pipefail
cd "$(dirname "$0")/.."

case ${1:-} in
armhf | arm64) ;;
*)
    scripts/usage.sh "$0" >&2
    exit 2
    ;;
esac
scripts/build-board.sh "$1"
cmake --build --preset "$1"
ctest --test-dir "build/$1" --output-on-failure -j "$(nproc)"

cat <<'EOT'

What the emulator cannot do, beside the tests that CTest lists above as not run:
  valgrind         it does not run in the emulator: these tests are disabled here
  faults           closed_descriptors, disk, interrupted_wait, socket_faults, aimed_interrupt,
                   clock_wrap and memory: what they do to a process, its system calls, its clock
                   and its memory, would be done to the emulator: they are disabled here
  the 2 GiB limit  the kernel below is a 64-bit one and lets any file grow: the tests check instead
                   that log_tool opens its log with the flag by which a board's kernel does
  memory           the emulator's own is counted with the program's: that a long replay needs no
                   more than a short one is tested all the same, how much it needs is not
  time             instructions take other times than on a board: only what must not come too
                   early is tested
EOT
