"""A recorder under the load of numbered records, and what its log must hold."""

import os

from harness.codec import NUMBER_AT, TYPES, frame
from harness.measuring import ANY_CORE, Memory, Recorder
from harness.recording import INTERRUPTED, PACKET_HELLO, TIMER_HELLO

WARM_UP = 1000
AS_FAST_AS_TAKEN = 10_000_000  # a second
BLOCK = 1 << 16  # records: two bytes of the number, the same in each block
SPREAD_KIB = 256


def report_memory(report, memory, what):
    """Rows that tell whether the last tenth of a run needs more than the first."""
    assert memory.samples, "too short a run to look at its memory"
    tenth = max(1, len(memory.samples) // 10)
    first, last = max(memory.samples[:tenth]), max(memory.samples[-tenth:])
    report.row(f"  resident memory {what}, first tenth, KiB", first)
    report.at_most(f"  resident memory {what}, last tenth, KiB", last, first + SPREAD_KIB)


class Recorded:
    """A recorder that has recorded so many numbered records of one type, sent at a rate or, with
    none, as fast as it takes them."""

    def __init__(self, command, type_, count, rate, place):
        mix = ",".join(str(int(t is type_)) for t in TYPES.values())
        self.count = WARM_UP + count
        self.memory = Memory()
        output = os.path.join(place, "output")
        with (
            open(output, "wb") as file,
            Recorder(command, place, core=ANY_CORE, output=file) as recorder,
        ):
            self.log = recorder.log
            options = ("--warm-up", WARM_UP, "--mix", mix, "--rate", rate)
            self.result = recorder.feed(count, *options, core=ANY_CORE, memory=self.memory)
            self.status = recorder.end()
        with open(output, encoding="ascii") as file:
            lines = file.read().splitlines()
        assert lines[-2:] == INTERRUPTED, lines[-5:]
        assert set(lines[:-2]) <= {PACKET_HELLO, TIMER_HELLO}, set(lines)

    @property
    def rate(self):
        return int(self.result["sent"] / self.result["seconds"])

    @property
    def dropped(self):
        return self.result["dropped"]


def common(left, right):
    """How many bytes two blocks start with that are the same."""
    return next((i for i, (a, b) in enumerate(zip(left, right)) if a != b), len(left))


class NumberedLog:
    """The log of records of one type, of time stamp 0 and numbered from 0, block by block."""

    def __init__(self, type_):
        self.size = len(frame(type_()))
        self._block = bytearray(frame(type_()) * BLOCK)
        self._set(0, bytes(range(256)) * (BLOCK // 256))
        self._set(1, b"".join(bytes((high,)) * 256 for high in range(256)))

    def _set(self, byte, values):
        self._block[NUMBER_AT + byte :: self.size] = values

    def blocks(self, count):
        for block in range(0, count, BLOCK):
            for byte in (2, 3):
                self._set(byte, bytes((block >> 8 * byte & 0xFF,)) * BLOCK)
            yield memoryview(self._block)[: min(BLOCK, count - block) * self.size]

    def correct(self, path, count):
        """How many records a file starts with that are the first of this log; -1 if it goes on
        behind them."""
        done = 0
        with open(path, "rb", buffering=0) as file:
            for block in self.blocks(count):
                data = file.read(len(block))
                if data != block:
                    return done + common(data, block) // self.size
                done += len(block) // self.size
            return -1 if file.read(1) else done
