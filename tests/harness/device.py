"""A navigation device in the hands of a test."""

import contextlib
import socket

from harness.program import TIMEOUT_S


LARGE_QUEUE_SIZE = 4 << 20

_SO_RCVBUFFORCE = 33


def give_large_queue(receiver):
    """Tells whether the socket's receive queue may be so large."""
    for option in (socket.SO_RCVBUF, _SO_RCVBUFFORCE):
        with contextlib.suppress(PermissionError):
            receiver.setsockopt(socket.SOL_SOCKET, option, LARGE_QUEUE_SIZE // 2)  # it is doubled
    return receiver.getsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF) >= LARGE_QUEUE_SIZE


class Device:
    """A UDP socket on loopback that keeps what it sends and receives."""

    def __init__(self, peer=None, port=0, address="127.0.0.1"):
        self.sent = []
        self.peer = peer  # where it sends to: the sender of the latest hello
        self._socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self._socket.bind((address, port))
        self._socket.settimeout(TIMEOUT_S)
        self.port = self._socket.getsockname()[1]

    def enlarge_queue(self):
        return give_large_queue(self._socket)

    def wait_hello(self):
        """The next datagram received; its sender becomes the peer."""
        data, self.peer = self._socket.recvfrom(65536)
        return data

    def receive(self):
        """The next datagram received."""
        return self._socket.recv(65536)

    def receive_all(self, expected):
        """So many datagrams, unless they fail to come, and all that wait behind them."""
        datagrams = []
        with contextlib.suppress(TimeoutError):
            while len(datagrams) < expected:
                datagrams.append(self.receive())
        return datagrams + [data for data, _ in self.received()]

    def received(self):
        """The datagrams that wait to be received, and their senders."""
        datagrams = []
        self._socket.setblocking(False)
        try:
            while True:
                datagrams.append(self._socket.recvfrom(65536))
        except BlockingIOError:
            return datagrams
        finally:
            self._socket.settimeout(TIMEOUT_S)

    def send(self, *datagrams):
        for datagram in datagrams:
            self._socket.sendto(datagram, self.peer)
            self.sent.append(datagram)

    def close(self):
        self._socket.close()
