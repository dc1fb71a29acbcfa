#!/usr/bin/env python3
"""How early or late the records of a drive leave, by the kernel's time stamps of their reception on
loopback, the first record being on time: none a whole millisecond early, and no drift.
"""

from harness.codec import frame
from harness.measuring import JudgedReplay
from harness.mix import MIX_HZ, drive
from harness.proving import Report, arguments

EARLY_MS = 1.0  # the tool's clock counts whole milliseconds
DRIFT_MS = 1.0


def main():
    options = arguments(__doc__, seconds=60)
    replay = JudgedReplay(b"".join(map(frame, drive(MIX_HZ, options.seconds))))
    total = replay.received["total"]
    first, last = (replay.received[f"{part}TenthLatenessMs"] for part in ("first", "last"))
    report = Report()
    report.row(f"records of a drive of {options.seconds} s, replayed", total["count"])
    report.exactly("  what went wrong", ", ".join(replay.problems()) or "nothing", "nothing")
    report.at_least("  earliest, ms late", total["latenessMs"]["min"], -EARLY_MS)
    for share in ("p50", "p99", "max"):
        report.row(f"  {share}, ms late", total["latenessMs"][share])
    drift = round(abs(last["p50"] - first["p50"]), 3)
    report.at_most("  first and last tenth differ in the median, ms", drift, DRIFT_MS)
    report.end()


if __name__ == "__main__":
    main()
