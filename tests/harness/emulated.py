"""The board's binaries in the emulator. Time means nothing there, but the program's instructions,
its system calls and the pages that it touches are those of a board with the same libraries.
"""

import os
import re
import time
from collections import Counter

from harness import codec
from harness.device import Device
from harness.measuring import folder
from harness.places import ROOT
from harness.program import Program
from harness.recording import TIMER_HELLO

BOARD = ROOT / "build" / "armhf" / "board"
BINARIES = ("log_tool", "log_tool_static")
EMULATOR = ["qemu-arm", "-L", "/usr/arm-linux-gnueabihf"]

DATAGRAMS = 2000
BURSTS = (1, 20)  # datagrams that wait at a wake-up
PAUSE_S = 0.005  # between bursts, for the program to go back to its wait

GUEST_SIZE = 1 << 32  # the emulator sets as much aside for the program's addresses

SYSTEM_CALL = re.compile(r"^\d+ (\w+)\(([^,)]*).*? = (-?\w+)")
CALLS = [  # each with what is to be seen of it
    ("recvfrom, a datagram", lambda name, _, result: name == "recvfrom" and result > 0),
    ("recvfrom, no more there", lambda name, _, result: name == "recvfrom" and result < 0),
    ("pselect6, the wait", lambda name, *_: name == "pselect6"),
    ("clock_gettime", lambda name, *_: name == "clock_gettime"),
    ("write, the log", lambda name, first, _: name == "write" and first != "1"),
    ("write, a line", lambda name, first, _: name == "write" and first == "1"),
    ("sendto, a hello", lambda name, *_: name == "sendto"),
    ("statx, at the first record", lambda name, *_: name == "statx"),
]


def size(binary):
    """Of its file, in bytes."""
    return os.path.getsize(BOARD / binary)


class EmulatedRecording:
    """A log_tool in the emulator that records from the test's device."""

    def __init__(self, binary, place, *environment):
        self.device = Device()
        command = [*EMULATOR, str(BOARD / binary)]
        destination = ["-a", "127.0.0.1", "-p", str(self.device.port), "log"]
        self.program = Program(["env", *environment, *command, *destination], place)

    def send(self, burst):
        """Sends the datagrams, then waits until they must be in."""
        self.device.wait_hello()
        for first in range(0, DATAGRAMS, burst):
            self.device.send(*[codec.datagram(codec.ImuData(first))] * burst)
            time.sleep(PAUSE_S)
        seen = len(self.program.lines)
        while TIMER_HELLO not in self.program.lines[seen + 1 :]:
            self.program.read_line()

    def end(self):
        self.program.interrupt()
        status = self.program.wait()
        self.device.close()
        if status != 0:
            raise RuntimeError(f"exit status {status}: {self.program.errors}")


def resident_kib(binary):
    """What the kernel keeps in memory of the program's own mappings, after a recording."""
    with folder() as place:
        pages = os.path.join(place, "pages")
        recording = EmulatedRecording(binary, place, "QEMU_LOG=page", f"QEMU_LOG_FILENAME={pages}")
        recording.send(BURSTS[-1])
        with open(pages, encoding="ascii") as file:
            start = int(re.search(r"guest_base +0x([0-9a-f]+)", file.read())[1], 16)
        kib = 0
        with open(f"/proc/{recording.program.pid}/smaps", encoding="utf-8") as smaps:
            for line in smaps:
                if mapping := re.match(r"([0-9a-f]+)-[0-9a-f]+ ", line):
                    is_guest = start <= int(mapping[1], 16) < start + GUEST_SIZE
                elif line.startswith("Rss:") and is_guest:
                    kib += int(line.split()[1])
        recording.end()
    return kib


def start_costs(binary):
    """The instructions and the system calls up to the first wait for the device."""
    instructions = calls = 0
    with folder() as place:
        trace = os.path.join(place, "trace")
        os.mkfifo(trace)
        recording = EmulatedRecording(
            binary,
            place,
            "QEMU_SINGLESTEP=1",
            "QEMU_LOG=exec,nochain,strace",
            f"QEMU_LOG_FILENAME={trace}",
        )
        is_starting = True
        with open(trace, encoding="ascii", errors="replace") as lines:
            for line in lines:
                if not is_starting:
                    continue  # an emulator whose trace nobody reads would stand still
                if line.startswith("Trace"):
                    instructions += 1
                elif SYSTEM_CALL.match(line) or " pselect6(" in line:
                    calls += 1
                if " pselect6(" in line:
                    is_starting = False
                    recording.program.interrupt()
        recording.end()
    return instructions, calls


def steady_calls(burst):
    """How often each call is made while the datagrams come in, and the calls that are unknown."""
    with folder() as place:
        recording = EmulatedRecording("log_tool", place, "QEMU_STRACE=1")
        recording.send(burst)
        recording.end()
        recorded = os.path.getsize(os.path.join(place, "log"))
    if recorded != DATAGRAMS * len(codec.frame(codec.ImuData())):
        raise RuntimeError(f"{recorded} bytes in the log")

    matches = map(SYSTEM_CALL.match, recording.program.errors.splitlines())
    calls = [(call[1], call[2], int(call[3], 0)) for call in matches if call]
    received = [at for at, call in enumerate(calls) if call[0] == "recvfrom" and call[2] > 0]
    counts = Counter()
    for call in calls[received[0] : received[-1] + 2]:  # and the one that found no more
        counts[next((text for text, matches in CALLS if matches(*call)), call[0])] += 1
    return counts


def unknown_calls(counts):
    return set(counts) - {text for text, _ in CALLS}
