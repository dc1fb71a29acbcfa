"""A recorder under the load of numbered records, and what its log must hold."""

import contextlib
import json
import os
import resource
import shutil
import signal
import subprocess
import tempfile
import time


from harness.codec import NUMBER_AT, TYPES, frame
from harness.places import BUILD, ROOT
from harness.program import TIMEOUT_S
from harness.recording import INTERRUPTED, PACKET_HELLO, TIMER_HELLO

LOAD = os.path.join(BUILD, "bench", "load")
RECORD_FLOOR = os.path.join(BUILD, "bench", "record_floor")
SINK = os.path.join(BUILD, "bench", "sink")

WARM_UP = 1000
AS_FAST_AS_TAKEN = 10_000_000  # a second
SAMPLE_S = 0.2
BLOCK = 1 << 16  # records: two bytes of the number, the same in each block
SPREAD_KIB = 256


@contextlib.contextmanager
def folder():
    """A folder for large files, which is gone afterwards."""
    parent = os.path.join(ROOT, "build", "prove")
    os.makedirs(parent, exist_ok=True)
    path = tempfile.mkdtemp(dir=parent)
    try:
        yield path
    finally:
        shutil.rmtree(path)


def resident_kib(pid):
    with open(f"/proc/{pid}/statm", encoding="ascii") as sizes:
        return int(sizes.read().split()[1]) * resource.getpagesize() // 1024


class Memory:
    """Samples of the memory that a process has resident, in KiB."""

    def __init__(self, pid):
        self._pid = pid
        self.samples = []

    def sample_while(self, process):
        while process.poll() is None:
            time.sleep(SAMPLE_S)  # first: it has not yet started
            with contextlib.suppress(FileNotFoundError, ProcessLookupError, IndexError):
                self.samples.append(resident_kib(self._pid))

    def report(self, report, what):
        """Rows that tell whether the last tenth needs more than the first."""
        samples = [size for size in self.samples if size]  # 0 when it has just ended
        assert samples, "too short a run to look at its memory"
        tenth = max(1, len(samples) // 10)
        first, last = max(samples[:tenth]), max(samples[-tenth:])
        report.row(f"  resident memory {what}, first tenth, KiB", first)
        report.at_most(f"  resident memory {what}, last tenth, KiB", last, first + SPREAD_KIB)


@contextlib.contextmanager
def running(arguments, **options):
    """A process that does not outlive the block."""
    process = subprocess.Popen(arguments, stdin=subprocess.DEVNULL, **options)
    try:
        yield process
    finally:
        process.kill()
        process.wait()


class Recorded:
    """A recorder that has recorded so many numbered records of one type, sent at a rate or, with
    none, as fast as it takes them."""

    def __init__(self, recorder, type_, count, rate, path):
        mix = ",".join(str(int(t is type_)) for t in TYPES.values())
        self.count = WARM_UP + count
        self.log = os.path.join(path, "log")
        output = os.path.join(path, "output")
        command = [LOAD, "--count", count, "--warm-up", WARM_UP, "--mix", mix, "--rate", rate]
        with running(map(str, command), stdout=subprocess.PIPE, text=True) as load:
            port = load.stdout.readline().split()[-1]
            with open(output, "wb") as file:
                with running(
                    [recorder, "-a", "127.0.0.1", "-p", port, self.log], stdout=file
                ) as tool:
                    self.memory = Memory(tool.pid)
                    self.memory.sample_while(load)
                    assert load.returncode == 0, f"the load failed: {load.returncode}"
                    tool.send_signal(signal.SIGINT)
                    self.status = tool.wait(TIMEOUT_S)
            self.result = json.loads(load.stdout.read())
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
