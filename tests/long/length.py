#!/usr/bin/env python3
"""A recording and a replay past 4 GiB: every record is right, in the log and on the wire, and the
memory stays as it is. The records go as fast as the program takes them, and come.

A replay does not wait for its receiver. What that could not take in time the kernel counts: those
records have left, though nobody can look at them.
"""

import json
import os
import signal
import subprocess

from loading import AS_FAST_AS_TAKEN, SINK, Memory, NumberedLog, Recorded, folder, running
from proving import Report, arguments

from harness.codec import GnssData, frame
from harness.places import LOG_TOOL
from harness.program import TIMEOUT_S

GIB = 1 << 30


def replay(log, path):
    """The replay's memory, its status and output, and what the receiver has counted."""
    output = os.path.join(path, "output")
    with running([SINK, "--numbered"], stdout=subprocess.PIPE, text=True) as sink:
        port = sink.stdout.readline().split()[-1]
        with open(output, "wb") as file:
            with running([LOG_TOOL, "-r", "-a", "127.0.0.1", "-p", port, log], stdout=file) as tool:
                memory = Memory(tool.pid)
                memory.sample_while(tool)
                status = tool.wait()
        sink.send_signal(signal.SIGTERM)
        received = json.loads(sink.stdout.read())
        assert sink.wait(TIMEOUT_S) == 0
    with open(output, encoding="ascii") as file:
        return memory, (status, file.read()), received


def main():
    options = arguments(__doc__, gib=4.1)
    report = Report()
    with folder() as path:
        run = Recorded(
            LOG_TOOL, GnssData, int(options.gib * GIB) // len(frame(GnssData())),
            AS_FAST_AS_TAKEN, path,
        )
        report.row("bytes of a long recording", os.path.getsize(run.log))
        report.exactly("  records in it, whole and in order",
                       NumberedLog(GnssData).correct(run.log, run.count), run.count)
        report.exactly("  dropped by the kernel", run.dropped, 0)
        report.exactly("  exit status", run.status, 0)
        report.row("  records a second", run.rate)
        run.memory.report(report, "while recording")

        memory, end, received = replay(run.log, path)
        report.exactly("  its replay ended well", int(end == (0, "End of file reached\n")), 1)
        report.exactly("  records that left", received["received"] + received["dropped"], run.count)
        report.row("    of them received and right", received["received"] - received["wrong"])
        report.exactly("    of them wrong or out of order", received["wrong"], 0)
        seconds = (received["lastNs"] - received["firstNs"]) / 1e9
        report.row("  records a second replayed", int(run.count / seconds))
        memory.report(report, "while replaying")
    report.end()


if __name__ == "__main__":
    main()
