"""Measures the board's binaries in the emulator; run by scripts/footprint.sh.

Time means nothing there, but the program's instructions, its system calls and the pages that it
touches are those of a board with the same libraries.
"""

import collections
import os
import re
import sys
import tempfile
import time

from replay_bench import ROOT, Program

from harness import codec
from harness.device import Device

BOARD = os.path.join(ROOT, "build", "armhf", "board")
EMULATOR = ["qemu-arm", "-L", "/usr/arm-linux-gnueabihf"]

DATAGRAMS = 2000
BURSTS = (1, 20)  # datagrams that wait at a wake-up
PAUSE_S = 0.005  # between bursts, for the program to go back to its wait
HELLO = "timeout: send hello"

KIB = 1024
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


class Recording:
    """A log_tool in the emulator that records from the test's device."""

    def __init__(self, binary, folder, *environment):
        self.device = Device()
        command = [*EMULATOR, os.path.join(BOARD, binary)]
        destination = ["-a", "127.0.0.1", "-p", str(self.device.port), "log"]
        self.program = Program(["env", *environment, *command, *destination], folder)

    def send(self, burst):
        """Sends the datagrams, then waits until they must be in."""
        self.device.wait_hello()
        for first in range(0, DATAGRAMS, burst):
            self.device.send(*[codec.datagram(codec.ImuData(first))] * burst)
            time.sleep(PAUSE_S)
        seen = len(self.program.lines)
        while HELLO not in self.program.lines[seen + 1 :]:
            self.program.read_line()

    def end(self):
        self.program.interrupt()
        status = self.program.wait()
        self.device.close()
        if status != 0:
            sys.exit(f"exit status {status}: {self.program.errors}")


def resident_kib(binary):
    """What the kernel keeps in memory of the program's own mappings, after a recording."""
    with tempfile.TemporaryDirectory(prefix="log_tool-bench-") as folder:
        pages = os.path.join(folder, "pages")
        recording = Recording(binary, folder, "QEMU_LOG=page", f"QEMU_LOG_FILENAME={pages}")
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
    with tempfile.TemporaryDirectory(prefix="log_tool-bench-") as folder:
        trace = os.path.join(folder, "trace")
        os.mkfifo(trace)
        recording = Recording(
            binary,
            folder,
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
    with tempfile.TemporaryDirectory(prefix="log_tool-bench-") as folder:
        recording = Recording("log_tool", folder, "QEMU_STRACE=1")
        recording.send(burst)
        recording.end()
        size = os.path.getsize(os.path.join(folder, "log"))
    if size != DATAGRAMS * (codec.ImuData.size + 4):
        sys.exit(f"{size} bytes in the log")

    matches = map(SYSTEM_CALL.match, recording.program.errors.splitlines())
    calls = [(call[1], call[2], int(call[3], 0)) for call in matches if call]
    received = [at for at, call in enumerate(calls) if call[0] == "recvfrom" and call[2] > 0]
    counts = collections.Counter()
    for call in calls[received[0] : received[-1] + 2]:  # and the one that found no more
        counts[next((text for text, matches in CALLS if matches(*call)), call[0])] += 1
    return counts


def row(text, *values):
    print(f"{text:<34}" + "".join(f"{value:>18}" for value in values))


def main():
    too_much = []

    def aim(text, value, limit, unit):
        if value > limit:
            too_much.append(f"{text}: {value} {unit}, more than {limit}")

    binaries = {"log_tool": 100 * KIB, "log_tool_static": 1536 * KIB}
    sizes = {name: os.path.getsize(os.path.join(BOARD, name)) for name in binaries}
    memory = {name: resident_kib(name) for name in binaries}
    starts = {name: start_costs(name) for name in binaries}
    for name, limit in binaries.items():
        aim(f"size of {name}", sizes[name], limit, "bytes")
        aim(f"memory of {name}", memory[name], 3 * KIB, "KiB")

    row("", *binaries)
    row("stripped size, bytes", *sizes.values())
    row("resident while recording, KiB", *memory.values())
    row("start to first wait, instructions", *(instructions for instructions, _ in starts.values()))
    row("start to first wait, system calls", *(calls for _, calls in starts.values()))

    counts = {burst: steady_calls(burst) for burst in BURSTS}
    print()
    row(f"calls while recording {DATAGRAMS}", *(f"{burst} a burst" for burst in BURSTS))
    known = [text for text, _ in CALLS]
    unknown = sorted(set().union(*counts.values()) - set(known))
    for text in known + unknown:
        row(text, *(counts[burst][text] for burst in BURSTS))
    aim("calls of another kind", len(unknown), 0, "kinds")

    if too_much:
        sys.exit("\n".join(too_much))


if __name__ == "__main__":
    main()
