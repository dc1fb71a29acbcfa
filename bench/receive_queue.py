#!/usr/bin/env python3
"""Shows how many datagrams of each type the kernel keeps for a socket that nobody reads, and how long
a stall that bridges at the rates of device_sim.

    bench/receive_queue.py [bytes of net.core.rmem_default]...

Sent over loopback. The kernel charges a datagram with the memory it lies in, not with its length:
a network card's driver may use larger buffers, which then hold fewer. Without root a size is
limited by net.core.rmem_max.
"""

import pathlib
import socket
import sys

from harness import codec

ROOT = pathlib.Path(__file__).resolve().parent.parent

DROP_IN = ROOT / "packaging" / "sysctl.conf"
SO_RCVBUFFORCE = 33  # <asm-generic/socket.h>
RATES_HZ = {"ImuData": 100, "GnssData": 5, "GnssPvt": 5, "AttitudeData": 20, "GenericData": 1}


def drop_in_size():
    (size,) = [
        int(line.split("=")[1])
        for line in DROP_IN.read_text(encoding="ascii").splitlines()
        if line.startswith("net.core.rmem_default")
    ]
    return size


def set_size(receiver, size):
    """As if the size were the system's default: what a program sets counts twice."""
    try:
        receiver.setsockopt(socket.SOL_SOCKET, SO_RCVBUFFORCE, size // 2)
    except PermissionError:
        receiver.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, size // 2)
    return receiver.getsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF)


def kept(size, datagrams):
    """How many of the datagrams, sent in turn, wait in a queue of that size when it is full."""
    with (
        socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as receiver,
        socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender,
    ):
        actual = set_size(receiver, size)
        if actual != size:
            sys.exit(f"{size} bytes not allowed, only {actual}: run it as root")
        receiver.bind(("127.0.0.1", 0))
        receiver.setblocking(False)
        for number in range(size // 256):  # no datagram is charged with less
            sender.sendto(datagrams[number % len(datagrams)], receiver.getsockname())
        count = 0
        try:
            while receiver.recv(65536):
                count += 1
        except BlockingIOError:
            return count


def main():
    sizes = [int(size) for size in sys.argv[1:]] or [212992, drop_in_size()]
    one = {type_.name: codec.datagram(type_()) for type_ in codec.TYPES.values()}
    second = [one[name] for name, rate in RATES_HZ.items() for _ in range(rate)]

    print(f"{'':<22}" + "".join(f"{f'{size} bytes':>22}" for size in sizes))
    for name, datagram in one.items():
        counts = [kept(size, [datagram]) for size in sizes]
        cells = (f"{n} ({size // n} each)" for n, size in zip(counts, sizes))
        print(f"{f'{name}, {len(datagram)} bytes':<22}" + "".join(f"{c:>22}" for c in cells))
    counts = [kept(size, second) for size in sizes]
    print(f"{f'{len(second)} a second, mixed':<22}" + "".join(f"{n:>22}" for n in counts))
    print(f"{'':<22}" + "".join(f"{f'{n / len(second):.1f} s':>22}" for n in counts))


if __name__ == "__main__":
    main()
