#!/usr/bin/env bash
# Prints what log_tool takes of a 32-bit ARM board: size, memory, the work of its start, and the
# system calls of a recording. Fails when size or memory is more than it should be, or a call of
# another kind appears.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/build-board.sh armhf >build/footprint.txt 2>&1 || {
    cat build/footprint.txt >&2
    exit 1
}
PYTHONPATH=tests exec python3 -B bench/footprint.py
