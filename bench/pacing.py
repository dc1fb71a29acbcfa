"""How late the records of a replay leave, by the kernel's time stamps of their reception."""

import math
import os
import struct
import time

from harness import codec
from measuring import Replayed

IMU_HZ = {codec.ImuData: 1000}
START_MS = 5000


def drive(rates_hz, seconds):
    """The records of types that come at different rates, by their time stamps."""
    records = []
    for type_, rate in rates_hz.items():
        for number in range(seconds * rate):
            records.append(type_.numbered(START_MS + number * 1000 // rate, number))
    records.sort(key=lambda record: record.type.stamp(record))
    return records


class Pacing:
    """Of a replay: lateness of each record behind the first, in ms."""

    def __init__(self, command, place, records):
        log = os.path.join(place, "log")
        stamps = os.path.join(place, "stamps")
        with open(log, "wb") as file:
            file.write(b"".join(map(codec.frame, records)))
        # The kernel stamps real time, a replay follows the monotonic clock.
        shift = time.clock_gettime_ns(time.CLOCK_REALTIME) - time.monotonic_ns()
        replayed = Replayed(command, log, stamps)
        if replayed.received != len(records):
            raise RuntimeError(f"{replayed.received} of {len(records)} records arrived")
        with open(stamps, "rb") as file:
            left = [(stamp[0] - shift) / 1e6 for stamp in struct.iter_unpack("<q", file.read())]
        first = records[0].type.stamp(records[0])
        due = [record.type.stamp(record) - first for record in records]

        # By whole milliseconds of the clock: the first record left within its own.
        start = min(math.floor(at - after) for at, after in zip(left, due))
        self.late = sorted(at - after - start for at, after in zip(left[1:], due[1:]))
        # By the first record, which is what a receiver sees.
        self.earliest = min(at - after - left[0] for at, after in zip(left, due))

    def percentile(self, share):
        return self.late[min(len(self.late) - 1, int(len(self.late) * share))]
