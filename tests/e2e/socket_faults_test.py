"""What becomes of a run when the network fails."""

import errno
import os
import socket
import time
import unittest

from harness import codec
from harness.codec import datagram
from harness.device import Device
from harness.faults import failing, in_namespace
from harness.recording import INTERRUPTED, NOTHING, TIMER_HELLO, Recording, RecordingTest
from harness.replaying import ReplayTest

LOG = codec.numbered_log(7, 60)
DATAGRAMS = [datagram(record) for record in codec.parse_frames(LOG)]

TIME = r"\d\d:\d\d:\d\d"
NOT_OPEN = f"{TIME} WARNING: FdloopUdpCon::close: not open"


def send_failed(error, text):
    """What a datagram that does not leave prints: a pattern, as all here."""
    return (
        f"{TIME}   DEBUG: UdpSocket::transmit: sendto failed errno {error}: {text}"
        f"{TIME}   DEBUG: UdpCon::transmit: sendto failed errno {error}"
    )


def hello_failed(text):
    return f"{text}timeout: send hello"


SEND_ERRORS = [
    (errno.EPERM, send_failed(1, "Operation not permitted")),
    (errno.EAGAIN, ""),  # the queue is full: told to nobody
    (errno.ENETUNREACH, send_failed(101, "Network is unreachable")),
    (errno.ENOBUFS, send_failed(105, "No buffer space available")),
    (errno.ECONNREFUSED, send_failed(111, "Connection refused")),
]
NO_SOCKET = send_failed(9, "Bad file descriptor")

RECEIVE_ERRORS = (errno.EIO, errno.ENOMEM, errno.ECONNREFUSED)

# What an opening that fails prints.
OPEN_FAILED = {
    "no descriptor left": (
        ("prlimit", "--nofile=5"),  # the output, opened again, and the log have the last ones
        f"{TIME}   ERROR: open: socket create failed errno 24",
    ),
    "no socket": (
        failing("socket", errno.ENOBUFS),
        f"{TIME}   ERROR: open: socket create failed errno 105",
    ),
    "blocking": (
        failing("fcntl", errno.EINVAL),
        f"{TIME}   ERROR: open: turning NONBLOCKING on failed errno 22",
    ),
}
BIND_FAILED = (
    failing("bind", errno.EADDRINUSE),
    f"{TIME}   ERROR: bind: bind failed errno 98{NOT_OPEN}",
)


class RefusingDevice(Device):
    """A device whose port answers that nobody is there, as it talks to one peer only."""

    def __init__(self):
        super().__init__()
        self._only_peer = Device()
        self._socket.connect(("127.0.0.1", self._only_peer.port))

    def check_refusing(self, test):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as stranger:
            stranger.connect(("127.0.0.1", self.port))
            stranger.send(b"")
            with test.assertRaises(ConnectionRefusedError):
                stranger.recv(1)

    def close(self):
        super().close()
        self._only_peer.close()


class FailingHelloTest(RecordingTest):
    def check_recorded(self, recording, reported=NOTHING):
        """What the device sends is recorded, greeted or not."""
        recording.meet()
        recording.send(*DATAGRAMS)
        recording.wait_until_taken()
        recording.program.interrupt()
        recording.check_end(0, INTERRUPTED, reported)
        self.assert_log(codec.recording(DATAGRAMS), self.read_file(recording.log))

    def test_is_repeated(self):
        # All at once: each waits for two hellos.
        recordings = [
            Recording(self, log=f"log{error}", wrapper=failing("sendto", error, count=1))
            for error, _ in SEND_ERRORS
        ]
        for (error, text), recording in zip(SEND_ERRORS, recordings):
            with self.subTest(errno.errorcode[error]):
                recording.next_hello()
                recording.program.read_line()
                self.assertRegex(recording.program.lines[0], f"^{hello_failed(text)}$")
                self.assertEqual(TIMER_HELLO, recording.program.lines[1])
                self.check_recorded(recording, hello_failed(text))

    def test_for_a_destination_that_is_none(self):
        for name, options, text in [
            ("broadcast", {"address": "127.255.255.255"}, send_failed(13, "Permission denied")),
            ("port 0", {"device_port": 65536}, send_failed(22, "Invalid argument")),
        ]:
            with self.subTest(name):
                recording = Recording(self, log=name, **options)
                self.assertRegex(recording.program.read_line(), f"^{hello_failed(text)}$")
                self.check_recorded(recording, f"({hello_failed(text)}|{text}send hello)")

    def test_without_a_network(self):
        recording = Recording(self, wrapper=in_namespace(self, "net"))
        unreachable = hello_failed(send_failed(101, "Network is unreachable"))
        for _ in range(2):
            self.assertRegex(recording.program.read_line(), f"^{unreachable}$")
        recording.program.interrupt()
        recording.check_end(0, INTERRUPTED, unreachable)

    def test_to_a_device_that_is_not_there_yet(self):
        absent = RefusingDevice()
        absent.check_refusing(self)
        recording = Recording(self, device_port=absent.port)
        for _ in range(2):
            self.assertEqual(TIMER_HELLO, recording.program.read_line())
        absent.check_refusing(self)
        absent.close()
        recording.device.close()
        recording.device = Device(port=absent.port)
        self.addCleanup(recording.device.close)
        recording.next_hello()
        recording.send(*DATAGRAMS)
        self.check_complete(recording)


class FailingReceptionTest(RecordingTest):
    def test_loses_nothing(self):
        recordings = [
            Recording(
                self,
                log=f"log{error}",
                wrapper=failing("recvfrom", error, first=5, count=3, seen=f"seen{error}"),
            )
            for error in RECEIVE_ERRORS
        ]
        for error, recording in zip(RECEIVE_ERRORS, recordings):
            with self.subTest(errno.errorcode[error]):
                recording.next_hello()
                recording.send(*DATAGRAMS)
                self.check_complete(recording)
                self.assertEqual(b"...", self.read_file(f"seen{error}"))

    def test_for_ever_is_ended_by_an_interrupt(self):
        recording = self.record(wrapper=failing("recvfrom", errno.EIO, first=11))
        recording.program.pause()  # the first ten calls get a datagram each
        recording.send(*DATAGRAMS)
        recording.program.resume()
        while not os.path.exists(self.path("seen")):
            time.sleep(0.001)
        log = recording.interrupt()
        self.assert_log(codec.recording(DATAGRAMS[:10]), log)


class FailingOpeningTest(RecordingTest):
    def test_of_a_recording_is_reported_and_hellos_fail(self):
        recordings = [
            Recording(self, log=name, wrapper=wrapper) for name, (wrapper, _) in OPEN_FAILED.items()
        ]
        for recording, (name, (_, text)) in zip(recordings, OPEN_FAILED.items()):
            with self.subTest(name):
                program = recording.program
                program.read_line()
                program.interrupt()
                self.assertEqual(0, program.wait(), program.errors)
                self.assertRegex(
                    "\n".join(program.lines),
                    f"^{text}{hello_failed(NO_SOCKET)}\n(.*send hello\n)*"
                    f"\nCTRL-C Pressed\n{NOT_OPEN}\n{NOT_OPEN}$",
                )
                self.assertEqual(b"", self.read_file(name))

    def test_of_a_port_ends_a_recording(self):
        wrapper, text = BIND_FAILED
        program = Recording(self, wrapper=wrapper).program
        self.assertEqual(0, program.wait(), program.errors)
        self.assertRegex("\n".join(program.lines), f"^{text}$")
        self.assertEqual(b"", self.read_file("log"))


class FailingReplayTest(ReplayTest):
    def check_replay(self, wrapper, text, datagrams):
        """What the device gets of the log, and what is printed."""
        program = self.replay(LOG, *wrapper)
        self.assertEqual(0, program.wait(), program.errors)
        self.assertRegex("\n".join(program.lines), f"^{text}$")
        self.assert_received(datagrams)
        self.assertEqual(LOG, self.read_file("log"))

    def test_drops_what_the_network_does_not_take(self):
        received = DATAGRAMS[:10] + DATAGRAMS[30:]
        for error, text in SEND_ERRORS:
            with self.subTest(errno.errorcode[error]):
                seen = f"seen{error}"
                self.check_replay(
                    failing("sendto", error, first=11, count=20, seen=seen),
                    f"({text}){{20}}End of file reached",
                    received,
                )
                self.assertEqual(b"." * 20, self.read_file(seen))

    def test_sends_nothing_without_a_socket(self):
        for name, (wrapper, text) in {**OPEN_FAILED, "no port": BIND_FAILED}.items():
            with self.subTest(name):
                sends = len(DATAGRAMS)
                opening = text.removesuffix(NOT_OPEN)
                self.check_replay(
                    wrapper,
                    f"{opening}({NO_SOCKET}){{{sends}}}End of file reached\n{NOT_OPEN}\n{NOT_OPEN}",
                    [],
                )

    def test_to_a_device_that_is_not_there(self):
        absent = RefusingDevice()
        self.addCleanup(absent.close)
        absent.check_refusing(self)
        self.device.port = absent.port
        self.check_replay((), "End of file reached", [])


if __name__ == "__main__":
    unittest.main()
