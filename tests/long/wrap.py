#!/usr/bin/env python3
"""Recording and replaying while the program's clock, 32 bits of milliseconds, wraps, which it does
every 49.7 days: hellos and records keep their times, measured by the kernel's time stamps of
their reception.
"""

import socket
import statistics
import struct

from harness import codec
from harness.codec import datagram
from harness.faults import shifted
from harness.places import LOG_TOOL
from harness.program import TIMEOUT_S
from harness.proving import Report, arguments, prepared
from harness.recording import INTERRUPTED
from harness.replaying import ReplayTest, log_of, numbered_records, replay_command

SO_TIMESTAMPNS = 35  # of 64-bit machines; Python has no name for it

PERIOD_MS = 2  # of the records
EARLY_MS = 5.0  # by the first one, which may have met a busy machine itself
LATE_MS = 2.0  # half of the records; a single one may meet a busy machine
HELLO_PERIOD_MS = 1000

NS_PER_MS = 1000000


class StampedDevice:
    """A device that knows when the kernel got its datagrams."""

    def __init__(self):
        self._socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self._socket.bind(("127.0.0.1", 0))
        self._socket.settimeout(TIMEOUT_S)
        self._socket.setsockopt(socket.SOL_SOCKET, SO_TIMESTAMPNS, 1)
        self.port = self._socket.getsockname()[1]

    def receive(self, count):
        """So many datagrams, and when they came, in ms."""
        datagrams = []
        times = []
        for _ in range(count):
            data, control, _, _ = self._socket.recvmsg(65536, 64)
            (stamp,) = (data for _, type_, data in control if type_ == SO_TIMESTAMPNS)
            s, ns = struct.unpack("=qq", stamp)
            datagrams.append(data)
            times.append(s * 1000 + ns / NS_PER_MS)
        return datagrams, times

    def close(self):
        self._socket.close()


def replay(report, seconds):
    stamps = range(0, seconds * 1000, PERIOD_MS)
    records = numbered_records(stamps)
    with prepared(ReplayTest) as test:
        device = StampedDevice()
        test.addCleanup(device.close)
        test.write_file("log", log_of(records))
        program = test.start(*shifted(seconds * 500), *replay_command(device, "log"))
        datagrams, times = device.receive(len(records))
        test.assert_end(program, ["End of file reached"])
    late = [time - times[0] - stamp for stamp, time in zip(stamps, times)]
    half = len(late) // 2
    right = sum(data == datagram(record) for data, record in zip(datagrams, records))
    report.exactly("replay across the wrap of the clock: records sent", right, len(records))
    report.row("  earliest, ms late", f"{min(late):.2f}", f">= {-EARLY_MS}", min(late) >= -EARLY_MS)
    for name, part in (("before", late[:half]), ("after", late[half:])):
        median = statistics.median(part)
        report.row(
            f"  median {name} the wrap, ms late",
            f"{median:.2f}",
            f"<= {LATE_MS}",
            median <= LATE_MS,
        )
    report.row("  latest, ms late", f"{max(late):.2f}")


def record(report, hellos):
    with prepared(ReplayTest) as test:
        device = StampedDevice()
        test.addCleanup(device.close)
        command = [LOG_TOOL, "-a", "127.0.0.1", "-p", str(device.port), "log"]
        program = test.start(*shifted(hellos * HELLO_PERIOD_MS // 2 + 500), *command)
        datagrams, times = device.receive(hellos)
        program.interrupt()
        assert program.wait() == 0, program.errors
        assert program.lines[-2:] == INTERRUPTED, program.lines
    periods = [after - before for before, after in zip(times, times[1:])]
    right = datagrams.count(codec.HELLO)
    report.exactly("recording across the wrap of the clock: hellos", right, hellos)
    mean = statistics.mean(periods)
    report.row(
        "  mean period, ms",
        f"{mean:.1f}",
        f"{HELLO_PERIOD_MS} +- 2%",
        abs(mean - HELLO_PERIOD_MS) <= 0.02 * HELLO_PERIOD_MS,
    )
    report.row("  longest period, ms", f"{max(periods):.1f}")


def main():
    options = arguments(__doc__, seconds=4, hellos=6)
    report = Report()
    replay(report, options.seconds)
    record(report, options.hellos)
    report.end()


if __name__ == "__main__":
    main()
