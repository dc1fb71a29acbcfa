"""Other programs that record or replay datagrams, beside log_tool and the floors in the same run:
median processor time in ns per datagram or record. socat and dumpcap keep what the same feeder
sends without looking into it. dumpcap reads a ring in shared memory, many packets a wake-up, and
the copy into the ring is charged to the sender. tcpreplay sends ready-made packets below the
sockets; on loopback the system drops them before they reach one, so delivery, which the others pay
for, is not in its figure. dumpcap and tcpreplay must run as root."""

import os
import signal
import statistics
import struct
import time

from harness import codec
from harness.figures import Figures, arguments
from harness.measuring import (
    BURST,
    OTHER_CORE,
    RECORD_FLOOR,
    REPLAY_FLOOR,
    TOOL_CORE,
    Receiver,
    Recorder,
    Replayed,
    cost,
    cpu_ns,
    draining,
    folder,
    replaying,
    require,
    start_quietly,
    write_log,
)

DATAGRAMS = 64000
RATE = 10000
PACED = 20000
RECORDS = 50000
SETTLE_S = 0.5  # longer than dumpcap lets packets wait

ETHERNET = bytes(12) + b"\x08\x00"
LOOPBACK = bytes((127, 0, 0, 1))


def paced(recorder):
    """ns per datagram at a steady rate."""
    return cost(recorder, PACED, "--rate", RATE)


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
        bursts = ["--warm-up", 0, "--burst", BURST]
        drained = captured.ns_during(lambda: cost(recorder, DATAGRAMS, *bursts))
        rate = ["--warm-up", 0, "--rate", RATE]
        steady = captured.ns_during(lambda: cost(recorder, PACED, *rate))
        size = captured.end()
        recorder.end()
    if size < (DATAGRAMS + PACED) * codec.ImuData.size:
        raise RuntimeError(f"dumpcap kept {size} bytes")
    return drained / DATAGRAMS, steady / PACED


def record_peers(tool):
    socat = ["socat", "-u", "UDP4-RECV:0,bind=127.0.0.1", "OPEN:log,creat,trunc"]
    return {
        "floor": lambda place: record_with(lambda p: Recorder([RECORD_FLOOR], p), place),
        "log_tool": lambda place: record_with(lambda p: Recorder([tool], p), place),
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


def replay_peers(tool):
    return {
        "floor": lambda place: replaying([REPLAY_FLOOR], place, RECORDS),
        "log_tool": lambda place: replaying([tool, "-r"], place, RECORDS),
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
    options = arguments(__doc__)
    rounds = 1 if options.quick else 3
    require("socat", "dumpcap", "tcpreplay")
    figures = Figures("peers", __doc__, is_written=options.is_written)
    rows = {
        name: [f"{statistics.median(values):.0f}" for values in zip(*results)] + [""]
        for name, results in measure(record_peers(options.tool), rounds).items()
    }
    for name, results in measure(replay_peers(options.tool), rounds).items():
        rows.setdefault(name, ["", "", ""])[2] = f"{statistics.median(results):.0f}"
    columns = (f"bursts of {BURST}", f"{RATE:,}/s", "replay, all due")
    figures.table(f"{rounds} rounds", columns, ((name, *cells) for name, cells in rows.items()))
    figures.write()


if __name__ == "__main__":
    main()
