#!/usr/bin/env python3
"""Measures other programs that record or replay datagrams beside log_tool and the floors, in the
same run: socat and dumpcap, which keep what the same load sends without looking into it, and
tcpreplay, which sends the same datagrams ready-made, below the sockets: on loopback the system
drops them before they reach one. dumpcap and tcpreplay must run as root.

    bench/peers.py [rounds]
"""

import os
import signal
import statistics
import struct
import sys
import time

from measuring import (
    BURST,
    LOG_TOOL,
    RECORD_FLOOR,
    REPLAY_FLOOR,
    OTHER_CORE,
    TOOL_CORE,
    Receiver,
    Recorder,
    Replayed,
    cpu_ns,
    draining,
    folder,
    replaying,
    require,
    start_quietly,
    write_log,
)
from replay_bench import build

from harness import codec

DATAGRAMS = 64000
RATE = 10000
PACED = 20000
RECORDS = 50000
SETTLE_S = 0.5  # longer than dumpcap lets packets wait

ETHERNET = bytes(12) + b"\x08\x00"
LOOPBACK = bytes((127, 0, 0, 1))


def paced(recorder):
    """ns per datagram at a steady rate."""
    return recorder.load(PACED, "--rate", str(RATE))["cpuNs"] / PACED


def record_with(receiver, place):
    with receiver(place) as recorder:
        result = draining(recorder, DATAGRAMS), paced(recorder)
        recorder.end()
    return result


class Capture:
    """dumpcap, watching what a recorder gets."""

    def __init__(self, port, place):
        self.file = os.path.join(place, "capture")
        command = ["dumpcap", "-q", "-i", "lo", "-f", f"udp dst port {port}", "-w", self.file]
        self._program = start_quietly(TOOL_CORE, command, place)
        while not os.path.exists(self.file):
            time.sleep(0.01)
        time.sleep(SETTLE_S)

    def ns_during(self, load):
        before = cpu_ns(self._program.pid)
        load()
        time.sleep(SETTLE_S)
        return cpu_ns(self._program.pid) - before

    def end(self):
        self._program.send_signal(signal.SIGINT)
        self._program.wait()
        return os.path.getsize(self.file)


def capture(place):
    with Recorder([RECORD_FLOOR], place, core=OTHER_CORE) as recorder:
        captured = Capture(recorder.port, place)
        bursts = ["--warm-up", "0", "--burst", str(BURST)]
        drained = captured.ns_during(lambda: recorder.load(DATAGRAMS, *bursts))
        rate = ["--warm-up", "0", "--rate", str(RATE)]
        steady = captured.ns_during(lambda: recorder.load(PACED, *rate))
        size = captured.end()
        recorder.end()
    if size < (DATAGRAMS + PACED) * codec.ImuData.size:
        raise RuntimeError(f"dumpcap kept {size} bytes")
    return drained / DATAGRAMS, steady / PACED


def record_peers():
    socat = ["socat", "-u", "UDP4-RECV:0,bind=127.0.0.1", "OPEN:log,creat,trunc"]
    return {
        "floor": lambda place: record_with(lambda p: Recorder([RECORD_FLOOR], p), place),
        "log_tool": lambda place: record_with(lambda p: Recorder([LOG_TOOL], p), place),
        "socat": lambda place: record_with(lambda p: Receiver(socat, p), place),
        "dumpcap": capture,
    }


def checksum(header):
    total = sum(struct.unpack(f">{len(header) // 2}H", header))
    while total > 0xFFFF:
        total = (total & 0xFFFF) + (total >> 16)
    return 0xFFFF - total


def packet(port, datagram):
    """The datagram with its UDP, IP and Ethernet headers."""
    size = 28 + len(datagram)
    ip = struct.pack(">BBHHHBBH4s4s", 0x45, 0, size, 0, 0, 64, 17, 0, LOOPBACK, LOOPBACK)
    ip = ip[:10] + checksum(ip).to_bytes(2, "big") + ip[12:]
    udp = struct.pack(">HHHH", port, port, 8 + len(datagram), 0)
    return ETHERNET + ip + udp + datagram


def write_capture(port, log):
    """The log's datagrams as a capture file beside it."""
    name = log + ".pcap"
    with open(log, "rb") as frames, open(name, "wb") as file:
        file.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 1))
        for record in codec.parse_frames(frames.read()):
            data = packet(port, codec.datagram(record))
            file.write(struct.pack("<IIII", 0, 0, len(data), len(data)) + data)
    return name


def tcpreplay_to(port, command, log):
    return [*command, "-q", "--topspeed", "-i", "lo", write_capture(port, log)]


def tcpreplaying(place):
    """ns per record."""
    runs = [
        Replayed(["tcpreplay"], write_log(place, length), arguments=tcpreplay_to)
        for length in (RECORDS, 10)
    ]
    return (runs[0].cpu_ns - runs[1].cpu_ns) / (RECORDS - 10)


def replay_peers():
    return {
        "floor": lambda place: replaying([REPLAY_FLOOR], place, RECORDS),
        "log_tool": lambda place: replaying([LOG_TOOL, "-r"], place, RECORDS),
        "tcpreplay": tcpreplaying,
    }


def measure(peers, rounds):
    """The results of each peer, all in turn, and round by round the other way about."""
    results = {name: [] for name in peers}
    for number in range(rounds):
        for name in list(peers)[:: -1 if number % 2 else 1]:
            with folder() as place:
                results[name].append(peers[name](place))
    return results


def main():
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else 5
    require("socat", "dumpcap", "tcpreplay")
    build()
    print(f"{'median CPU ns per datagram':<28}{f'bursts of {BURST}':>14}{f'{RATE}/s':>12}")
    for name, results in measure(record_peers(), rounds).items():
        drained, steady = (statistics.median(values) for values in zip(*results))
        print(f"{name:<28}{drained:>14.0f}{steady:>12.0f}")
    print(f"\n{'median CPU ns per record':<28}{'all due':>14}")
    for name, results in measure(replay_peers(), rounds).items():
        print(f"{name:<28}{statistics.median(results):>14.0f}")


if __name__ == "__main__":
    main()
