#!/usr/bin/env bash
# Measures log_tool beside programs that make the bare system calls and no more.
#
#   bench/run.sh [--quick] [--only cpu|pacing|counts|types|memory] [--tool <another log_tool>]
#
# Measures best as root: the measured programs then go ahead of whatever else the machine does.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh bench
PYTHONPATH=tests exec python3 -B bench/run.py "$@"
