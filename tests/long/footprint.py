#!/usr/bin/env python3
"""The 32-bit ARM binaries in the emulator: they are small, they need little memory, and while they
record they make no system call but those that recording needs.
"""

import subprocess

from harness import emulated
from harness.emulated import BURSTS, unknown_calls
from harness.places import ROOT
from harness.proving import Report, arguments

MAX_BYTES = {"log_tool": 100 << 10, "log_tool_static": 1536 << 10}
MAX_RESIDENT_KIB = 3 << 10


def main():
    arguments(__doc__)
    build = subprocess.run(["scripts/build-board.sh", "armhf"], cwd=ROOT, capture_output=True)
    assert build.returncode == 0, (build.stdout + build.stderr).decode()
    report = Report()
    for name, limit in MAX_BYTES.items():
        report.at_most(f"stripped size of {name}, bytes", emulated.size(name), limit)
        memory = emulated.resident_kib(name)
        report.at_most("  resident while recording, KiB", memory, MAX_RESIDENT_KIB)
    for burst in BURSTS:
        unknown = unknown_calls(emulated.steady_calls(burst))
        report.exactly(f"  calls of another kind, {burst} datagrams a wake-up", len(unknown), 0)
    report.end()


if __name__ == "__main__":
    main()
