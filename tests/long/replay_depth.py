#!/usr/bin/env python3
"""Records that are all due at once, three million and three thousand of them, with a small stack:
all arrive in order, and the memory needed does not depend on their number.
"""

from harness.measuring import JudgedReplay, held_log
from harness.proving import Report, arguments

STACK_KIB = 512
SPREAD_KIB = 256


def main():
    options = arguments(__doc__, few=3000, many=3_000_000)
    report = Report()
    peaks = []
    for count in (options.few, options.many):
        replay = JudgedReplay(held_log(count), STACK_KIB)
        name = f"{count} records of one time stamp, stack of {STACK_KIB} KiB: received"
        report.exactly(name, replay.received["total"]["count"], count)
        report.exactly("  what went wrong", ", ".join(replay.problems()) or "nothing", "nothing")
        report.row("  seconds", f"{replay.seconds:.2f}")
        peaks.append(replay.peak_kib)
    report.row(f"peak memory with {options.few}, KiB", peaks[0])
    report.at_most(f"  with {options.many}, KiB", peaks[1], peaks[0] + SPREAD_KIB)
    report.end()


if __name__ == "__main__":
    main()
