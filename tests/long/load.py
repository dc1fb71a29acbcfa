#!/usr/bin/env python3
"""Ten million records at the highest steady rate that log_tool takes on this machine, beside the
rate that a bare loop takes which does no more than receive and write. Nothing may be lost, and the
memory stays as it is.

The rate is found by short runs: from what the recorder takes when it is never left waiting, down
until the feeder, which is held back when the recorder's queue fills, keeps it.
"""

from harness.codec import ImuData
from harness.loading import AS_FAST_AS_TAKEN, NumberedLog, Recorded, report_memory
from harness.measuring import RECORD_FLOOR, folder
from harness.places import LOG_TOOL
from harness.proving import Report, arguments

STEPS = (0.95, 0.9, 0.85, 0.8, 0.7, 0.6, 0.5, 0.4, 0.3, 0.2)
KEPT = 0.99  # of the rate


def steady_rate(recorder, trial):
    """What the recorder takes when it is never left waiting, and the highest rate that it keeps."""
    with folder(in_memory=False) as path:
        busy = Recorded([recorder], ImuData, trial, AS_FAST_AS_TAKEN, path).rate
        for rate in (int(busy * step) for step in STEPS):
            run = Recorded([recorder], ImuData, trial, rate, path)
            if run.rate >= rate * KEPT and run.dropped == 0:
                break
        return busy, rate


def main():
    options = arguments(__doc__, count=10_000_000, trial=300_000)
    report = Report()
    floor_busy, floor = steady_rate(RECORD_FLOOR, options.trial)
    busy, rate = steady_rate(LOG_TOOL, options.trial)
    with folder(in_memory=False) as path:
        run = Recorded([LOG_TOOL], ImuData, options.count, rate, path)
        report.row("records sent at a steady rate", run.count)
        report.exactly(
            "  in the log, whole and in order",
            NumberedLog(ImuData).correct(run.log, run.count),
            run.count,
        )
        report.exactly("  dropped by the kernel", run.dropped, 0)
        report.exactly("  exit status", run.status, 0)
        report.row("  records a second", run.rate)
        report.row("  the same of a bare receive-and-write loop", floor)
        report.row("  records a second when never left waiting", busy)
        report.row("  the same of the bare loop", floor_busy)
        report.row("  times the feeder was held back", run.result["heldBack"])
        report_memory(report, run.memory, "while recording")
    report.end()


if __name__ == "__main__":
    main()
