#!/usr/bin/env python3
"""Measures log_kit on a drive of 1 GiB beside the programs that do nothing but move the bytes, and
beside what others use on captures: round by round in one run, the page cache warm.

    PYTHONPATH=tests bench/kit.py [--gib SIZE] [--rounds N] [--folder PATH] [--kit PROGRAM]

Prints the median time of each and its ratio to `cat FILE >/dev/null`, or to `cp` where something is
written. recover waits until its output is on the disk, and cp does not: in a folder on a disk it is
compared with cp and sync, in one in memory with cp alone. The peers read the same records as
datagrams in a capture: capinfos must know each packet's length and time, pcapfix mends a capture.
"""

import argparse
import os
import shutil
import statistics
import struct
import subprocess
import tempfile
import time

from harness import codec
from harness.drive import Second, write_drive
from harness.places import LOG_KIT

GIB = 1 << 30
PEER_SHARE = 16  # the peers get so much less: they take a minute for a GiB

# Ethernet, IPv4 and UDP headers, of which only the length matters.
ETHERNET = bytes(12) + b"\x08\x00"
PCAP_HEADER = struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 1)


def seconds(command, stdout=subprocess.DEVNULL):
    start = time.monotonic()
    subprocess.run(command, stdout=stdout, stderr=subprocess.DEVNULL, check=True)
    return time.monotonic() - start


def packet(payload, ms):
    udp = struct.pack(">HHHH", 5005, 5005, 8 + len(payload), 0) + payload
    ip = struct.pack(">BBHIBBHII", 0x45, 0, 20 + len(udp), 0, 64, 17, 0, 0x7F000001, 0x7F000001)
    data = ETHERNET + ip + udp
    return struct.pack("<IIII", ms // 1000, ms % 1000 * 1000, len(data), len(data)) + data


def write_capture(path, count):
    """The drive's seconds as packets, with the same stamps in each: the peers do not look."""
    records = codec.parse_frames(bytes(Second().at(0)))
    second = b"".join(packet(codec.datagram(r), r.type.stamp(r)) for r in records)
    with open(path, "wb") as file:
        file.write(PCAP_HEADER)
        for _ in range(count):
            file.write(second)


class Bench:
    """Commands measured in turn, so that a busy moment meets all of them."""

    def __init__(self, rounds):
        self._rounds = rounds
        self._measured = []  # name, reference's name, what measures it

    def add(self, name, measure, reference=None):
        self._measured.append((name, reference, measure))

    def run(self):
        times = {name: [] for name, _, _ in self._measured}
        for _, _, measure in self._measured:
            measure()  # warms the cache
        for _ in range(self._rounds):
            for name, _, measure in self._measured:
                times[name].append(measure())
        print(f"{'':<34}{'median s':>10}{'min':>8}{'max':>8}{'ratio':>8}")
        medians = {name: statistics.median(values) for name, values in times.items()}
        for name, reference, _ in self._measured:
            row = (
                f"{name:<34}{medians[name]:>10.3f}{min(times[name]):>8.3f}{max(times[name]):>8.3f}"
            )
            if reference:
                row += f"{medians[name] / medians[reference]:>8.2f}  of {reference}"
            print(row)


def is_in_memory(folder):
    with open("/proc/mounts", encoding="utf-8") as mounts:
        points = [line.split()[1:3] for line in mounts]
    inside = [
        (len(point), kind)
        for point, kind in points
        if os.path.commonpath((point, os.path.realpath(folder))) == point
    ]
    return max(inside)[1] == "tmpfs"


def add_kit(bench, kit, place, log):
    """cut is measured as soon as log_kit has it."""
    out = os.path.join(place, "out")

    def writing(command, *then):
        def measure():
            if os.path.exists(out):
                os.unlink(out)
            return seconds(command) + sum(seconds(more) for more in then)

        return measure

    bench.add("cat", lambda: seconds(["cat", log]))
    bench.add("log_kit check", lambda: seconds([kit, "check", log]), "cat")
    bench.add("log_kit info", lambda: seconds([kit, "info", log]), "cat")
    if is_in_memory(place):
        copy = "cp"
        bench.add(copy, writing(["cp", log, out]))
    else:
        copy = "cp and sync"
        bench.add(copy, writing(["cp", log, out], ["sync", out]))
    bench.add("log_kit recover", writing([kit, "recover", log, out]), copy)
    subcommands = subprocess.run([kit, "--help"], capture_output=True, text=True, check=True).stdout
    if "\n  cut " in subcommands:
        bench.add("log_kit cut", writing([kit, "cut", log, out, "--from", "+0"]), copy)


def add_peers(bench, place, count):
    capture = os.path.join(place, "capture.pcap")
    mended = os.path.join(place, "mended.pcap")
    write_capture(capture, count)
    short = os.path.join(place, "short.log")
    write_drive(short, count)
    name = f"cat of 1/{PEER_SHARE}"
    bench.add(name, lambda: seconds(["cat", short]))
    for peer, command in (
        ("capinfos", ["capinfos", capture]),
        ("pcapfix", ["pcapfix", "-d", "-o", mended, capture]),
    ):
        if shutil.which(peer):
            bench.add(peer, lambda command=command: seconds(command), name)
        else:
            print(f"{peer} is not installed")


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("--gib", type=float, default=1.0)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--folder", default="/dev/shm", help="where the logs are written")
    parser.add_argument("--kit", default=LOG_KIT)
    options = parser.parse_args()

    count = int(options.gib * GIB) // len(Second().data)
    with tempfile.TemporaryDirectory(prefix="log_kit-bench-", dir=options.folder) as place:
        log = os.path.join(place, "drive.log")
        write_drive(log, count)
        bench = Bench(options.rounds)
        add_kit(bench, options.kit, place, log)
        add_peers(bench, place, max(1, count // PEER_SHARE))
        print(f"a drive of {os.path.getsize(log) / GIB:.2f} GiB in {options.folder}")
        bench.run()


if __name__ == "__main__":
    main()
