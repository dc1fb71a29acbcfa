"""How many datagrams of each type the kernel keeps for a socket that nobody reads, and how long a
stall that bridges at the rates of a drive: with the kernel's default and with the package's size.
The kernel charges a datagram with the memory it lies in, given here in bytes, and not with its
length. Sent over loopback: a network card's driver may use larger buffers, which then hold fewer.
Without root a size is limited by net.core.rmem_max."""

import socket
import sys

from harness import codec
from harness.figures import Figures, arguments
from harness.mix import MIX_TYPES, RECORDS_A_SECOND
from harness.places import ROOT

DROP_IN = ROOT / "packaging" / "sysctl.conf"
SO_RCVBUFFORCE = 33  # <asm-generic/socket.h>
DEFAULT = 212992


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


def rows(sizes):
    for type_ in codec.TYPES.values():
        datagram = codec.datagram(type_())
        counts = [kept(size, [datagram]) for size in sizes]
        cells = (f"{count} ({size // count} each)" for count, size in zip(counts, sizes))
        yield f"{type_.name}, {len(datagram)} bytes", *cells
    second = [codec.datagram(type_()) for type_ in MIX_TYPES]
    counts = [kept(size, second) for size in sizes]
    yield f"{RECORDS_A_SECOND} a second, mixed", *counts
    yield "which bridges", *(f"{count / RECORDS_A_SECOND:.1f} s" for count in counts)


def main():
    options = arguments(__doc__, numbers="bytes")
    sizes = options.bytes or [DEFAULT, drop_in_size()]
    figures = Figures("receive_queue", __doc__, is_written=options.is_written)
    figures.table("receive queue", [f"{size:,} bytes" for size in sizes], rows(sizes))
    figures.write()


if __name__ == "__main__":
    main()
