"""How late, in ms, the records of a replay leave, by the kernel's time stamps of their reception,
against a bare loop that follows the same rule of whole milliseconds. Late is counted from the
millisecond of the clock in which the first record left, so that half a millisecond is the grain of
that clock. The earliest record is counted from the first one itself, which is what a receiver
sees."""

import math
import os
import struct
import time

from harness import codec
from harness.figures import Figures, Ratio, arguments, medians
from harness.measuring import REPLAY_FLOOR, Replayed, folder, interleaved
from harness.mix import MIX, MIX_HZ, drive

IMU_HZ = {codec.ImuData: 1000}
SHARES = {"p50": 0.5, "p99": 0.99, "max": 1}


class Pacing:
    """Of a replay: the lateness of each record after the first, in ms, and the earliest one."""

    def __init__(self, command, place, records):
        log = os.path.join(place, "log")
        stamps = os.path.join(place, "stamps")
        with open(log, "wb") as file:
            file.write(b"".join(map(codec.frame, records)))
        # The kernel stamps real time, a replay follows the monotonic clock.
        shift = time.clock_gettime_ns(time.CLOCK_REALTIME) - time.monotonic_ns()
        Replayed(command, log, "--stamps", stamps).require_all(len(records))
        with open(stamps, "rb") as file:
            left = [(stamp[0] - shift) / 1e6 for stamp in struct.iter_unpack("<q", file.read())]
        first = records[0].type.stamp(records[0])
        due = [record.type.stamp(record) - first for record in records]
        start = min(math.floor(at - after) for at, after in zip(left, due))
        self.late = sorted(at - after - start for at, after in zip(left[1:], due[1:]))
        self.earliest = min(at - after - left[0] for at, after in zip(left, due))

    def percentile(self, share):
        return self.late[min(len(self.late) - 1, int(len(self.late) * share))]


def rows(tool, rounds, seconds):
    for name, rates in (("1 kHz", IMU_HZ), (MIX, MIX_HZ)):
        records = drive(rates, seconds)
        with folder() as place:
            results = interleaved(
                rounds,
                lambda: Pacing([REPLAY_FLOOR, "--paced"], place, records),
                lambda: Pacing([tool, "-r"], place, records),
            )
        for label, share in SHARES.items():
            pairs = [(f.percentile(share), t.percentile(share)) for f, t in results]
            yield f"{name}: late by, {label}", *medians(pairs, digits=3), Ratio(pairs)
        earliest = (min(p.earliest for p in pacings) for pacings in zip(*results))
        yield f"{name}: earliest", *(f"{at:.3f}" for at in earliest), ""


def main():
    options = arguments(__doc__)
    rounds, seconds = (2, 2) if options.quick else (5, 10)
    figures = Figures("pacing", __doc__, is_written=options.is_written)
    columns = ("floor", "tool", "ratio: median (least to most)")
    title = f"{rounds} rounds of {seconds} s"
    figures.table(title, columns, rows(options.tool, rounds, seconds))
    figures.write()


if __name__ == "__main__":
    main()
