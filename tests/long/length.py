#!/usr/bin/env python3
"""A recording and a replay past 4 GiB: every record is right, in the log and on the wire, and the
memory stays as it is. The records go as fast as the program takes them, and come.

A replay does not wait for its receiver. What that could not take in time the kernel counts: those
records have left, though nobody can look at them.
"""

import os

from harness.codec import GnssData, frame
from harness.loading import AS_FAST_AS_TAKEN, NumberedLog, Recorded, report_memory
from harness.measuring import ANY_CORE, Memory, Replayed, folder
from harness.places import LOG_TOOL
from harness.proving import Report, arguments

GIB = 1 << 30


def main():
    options = arguments(__doc__, gib=4.1)
    report = Report()
    with folder(in_memory=False) as path:
        count = int(options.gib * GIB) // len(frame(GnssData()))
        run = Recorded([LOG_TOOL], GnssData, count, AS_FAST_AS_TAKEN, path)
        report.row("bytes of a long recording", os.path.getsize(run.log))
        report.exactly(
            "  records in it, whole and in order",
            NumberedLog(GnssData).correct(run.log, run.count),
            run.count,
        )
        report.exactly("  dropped by the kernel", run.dropped, 0)
        report.exactly("  exit status", run.status, 0)
        report.row("  records a second", run.rate)
        report_memory(report, run.memory, "while recording")

        memory = Memory()
        cores = (ANY_CORE, ANY_CORE)
        replay = Replayed([LOG_TOOL, "-r"], run.log, "--numbered", cores=cores, memory=memory)
        received = replay.report
        report.exactly("  its replay has printed", replay.output, ["End of file reached"])
        report.exactly("  records that left", received["received"] + received["dropped"], run.count)
        report.row("    of them received and right", received["received"] - received["wrong"])
        report.exactly("    of them wrong or out of order", received["wrong"], 0)
        seconds = (received["lastNs"] - received["firstNs"]) / 1e9
        report.row("  records a second replayed", int(run.count / seconds))
        report_memory(report, memory, "while replaying")
    report.end()


if __name__ == "__main__":
    main()
