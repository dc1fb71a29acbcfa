"""log_tool in record mode, and what a test can expect of it."""

import contextlib
import ctypes
import os
import socket
import time
from collections import namedtuple

from harness import codec
from harness.device import Device, give_large_queue
from harness.places import DEVICE_SIM, LOG_TOOL
from harness.program import TIMEOUT_S, ProgramTest

HELLO_EVERY_N_PACKETS = 50
HELLO_PERIOD_S = 0.999  # a second less what is lost in counting whole milliseconds
UNKNOWN = bytes(8)  # counted like any other datagram, but never recorded

# The receive queue holds some 200 KiB; the kernel charges a datagram about this much.
QUEUE_SIZE = 140000
DATAGRAM_OVERHEAD = 1024

_PIDFD_GETFD = 438  # no call of the C library yet
_libc = ctypes.CDLL(None, use_errno=True)

TABLE_READINGS = 20  # of the table of sockets, which may skip one while others come and go
LOOK_S = 0.0005  # between two looks at what only shows in /proc

TIMER_HELLO = "timeout: send hello"
PACKET_HELLO = "send hello"
INTERRUPTED = ["", "CTRL-C Pressed"]
TOO_SHORT_FOR_A_HEADER = "Panic: *** ASSERT in playback_controller at 22"
TOO_SHORT_FOR_ITS_TYPE = "Panic: *** ASSERT in playback_controller at 28"
NOTHING = r"(?!)"  # a pattern that matches no line


# The local port, how many datagrams found no room, how many bytes wait, and the descriptor.
UdpSocket = namedtuple("UdpSocket", "port drops queued fd")


def _open_files(pid):
    """What the process's descriptors are. One that is closed meanwhile is left out."""
    links = f"/proc/{pid}/fd"
    files = {}
    for fd in os.listdir(links):
        with contextlib.suppress(FileNotFoundError):
            files[os.readlink(f"{links}/{fd}")] = int(fd)
    return files


def udp_socket(pid):
    """The state of the process's only UDP socket."""
    for _ in range(TABLE_READINGS):
        files = _open_files(pid)
        if found := _find_udp_socket(pid, files):
            return found
        if not any(name.startswith("socket:") for name in files):
            break
    raise LookupError("no UDP socket")


def _find_udp_socket(pid, files):
    with open(f"/proc/{pid}/net/udp", encoding="ascii") as table:
        for line in table.readlines()[1:]:
            fields = line.split()
            name = f"socket:[{fields[9]}]"
            if name in files:
                port, queued = (int(fields[i].split(":")[1], 16) for i in (1, 4))
                if port != 0:  # else it is on its way in or out
                    return UdpSocket(port, int(fields[12]), queued, files[name])
    return None


def wait_until_taken(pid):
    """Returns when no datagram waits any more: the program handles its last one before it lets
    CTRL-C in."""
    while udp_socket(pid).queued:
        time.sleep(LOOK_S)


def enlarge_queue(pid):
    """Gives the process's UDP socket a large receive queue, as an administrator may give it to
    every program. Tells whether that is possible."""
    process = os.pidfd_open(pid)
    try:
        fd = _libc.syscall(_PIDFD_GETFD, process, udp_socket(pid).fd, 0)
    finally:
        os.close(process)
    if fd < 0:
        return False
    with socket.socket(fileno=fd) as shared:
        return give_large_queue(shared)


class Recording:
    """A running log_tool that records into `log`, and the test's device. The wrapper is a command
    that becomes the program."""

    def __init__(
        self, test, log="log", device_port=None, address="127.0.0.1", wrapper=(), output=None
    ):
        self._test = test
        self.log = log
        self.device = Device()
        test.addCleanup(self.device.close)
        port = self.device.port if device_port is None else device_port
        command = (*wrapper, LOG_TOOL, "-a", address, "-p", str(port), log)
        self.program = test.start(*command, output=output)
        self.foreign = []  # datagrams sent to the program by others than the device

    @property
    def sent(self):
        return self.foreign + self.device.sent

    def take_over(self, datagrams):
        """Makes the test's device go on where another one, which has sent these, has ended."""
        self.foreign = datagrams
        self.meet()

    def meet(self):
        """Makes the test's device know the program without a hello."""
        self.device.peer = ("127.0.0.1", udp_socket(self.program.pid).port)

    def connect(self):
        """Makes the device send without a hello, as soon as the program listens. False if that has
        ended before."""
        deadline = time.monotonic() + TIMEOUT_S
        while self.program.is_running():
            # Links vanish: the program opens and closes other files on its way.
            with contextlib.suppress(LookupError, FileNotFoundError, PermissionError):
                self.meet()
                return True
            if time.monotonic() > deadline:
                self._test.fail(f"no socket: {self.program.errors}")
            time.sleep(LOOK_S)
        return False

    def lost(self):
        """How many datagrams the kernel has dropped because the program's queue was full."""
        return udp_socket(self.program.pid).drops

    def wait_until_taken(self):
        wait_until_taken(self.program.pid)

    def next_hello(self):
        """The line that announces the next hello, which the device has got."""
        self._test.assertEqual(codec.HELLO, self.device.wait_hello())
        return self.program.read_line()

    def send(self, *datagrams):
        """Sends datagrams, no faster than the program takes them."""
        queued = 0
        for datagram in datagrams:
            size = DATAGRAM_OVERHEAD + 2 * len(datagram)
            if queued and queued + size > QUEUE_SIZE:
                self.synchronise()
                queued = 0
            self.device.send(datagram)
            queued += size

    def send_unwatched(self, datagrams):
        """Sends datagrams, no faster than the program takes them, whatever it prints."""
        portion = QUEUE_SIZE // (DATAGRAM_OVERHEAD + 2 * max(map(len, datagrams)))
        for at in range(0, len(datagrams), portion):
            self.device.send(*datagrams[at : at + portion])
            self.wait_until_taken()

    def synchronise(self):
        """Returns when the program has handled all that was sent, known by its packet hellos."""
        handled = self.handled() - self.lost()
        fill = -handled % HELLO_EVERY_N_PACKETS
        self.device.send(*[UNKNOWN] * fill)
        while self.packet_hellos() < (handled + fill) // HELLO_EVERY_N_PACKETS:
            if self.program.read_line() is None:
                self._test.fail(f"ended after {self.program.lines}: {self.program.errors}")

    def handled(self):
        """How many datagrams the program counts, if none is lost: all but the empty ones."""
        return sum(1 for datagram in self.sent if datagram)

    def packet_hellos(self):
        return self.program.lines.count(PACKET_HELLO)

    def reports(self):
        """The lines printed so far that announce no hello."""
        return [line for line in self.program.lines if line not in (TIMER_HELLO, PACKET_HELLO)]

    def interrupt(self):
        """Ends the recording as a user does and returns the log."""
        self.program.interrupt()
        self.check_end(0, INTERRUPTED)
        return self._test.read_file(self.log)

    def check_end(self, status, last_lines, reported=NOTHING):
        """Waits for the end and checks everything printed: hellos, lines of the pattern, which are
        returned, and at the end the last lines."""
        self._test.assertEqual(status, self.program.wait(), self.program.errors)
        at = len(self.program.lines) - len(last_lines)
        self._test.assertEqual(last_lines, self.program.lines[at:])
        reports = self.reports()[: -len(last_lines) or None]
        for line in reports:
            self._test.assertRegex(line, f"^{reported}$")
        self._test.assertEqual("", self.program.unfinished_line)
        self._test.assertEqual("", self.program.errors)
        return reports


class RecordingTest(ProgramTest):
    def record(self, **options):
        """A recording whose program has greeted the device."""
        recording = Recording(self, **options)
        recording.next_hello()
        return recording

    def simulate(self, *options, log="log"):
        """A device_sim and the recording of its stream."""
        simulation = self.start(DEVICE_SIM, "--bind", "127.0.0.1", "--port", "0", *options)
        port = int(simulation.read_line().removeprefix("listening on "))
        return simulation, Recording(self, log=log, device_port=port)

    def check_complete(self, recording):
        """Ends the recording and compares its log with what was sent."""
        recording.synchronise()
        self.assertEqual(0, recording.lost())
        log = recording.interrupt()
        self.assertEqual(recording.handled() // HELLO_EVERY_N_PACKETS, recording.packet_hellos())
        self.assert_log(codec.recording(recording.sent), log)

    def assert_log(self, expected, log):
        if expected == log:
            return
        self.assertEqual(codec.parse_frames(expected), codec.parse_frames(log))
        self.fail("equal records in different bytes")
