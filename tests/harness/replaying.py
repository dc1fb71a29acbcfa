"""log_tool in replay mode, and what a test can expect of it."""

import array
import fcntl
import os
import termios
import time

from harness.codec import TYPES, frame
from harness.device import Device
from harness.places import LOG_TOOL
from harness.recording import LOOK_S, RecordingTest

# Ends a replay in silence: the header of a frame of an unknown type.
END_OF_PIPE = b"\x06\x01" + bytes(6)

CLOCK_MS = 1  # the program's clock counts whole milliseconds
HOUR_MS = 3600 * 1000


def log_of(records):
    return b"".join(map(frame, records))


def numbered_records(stamps):
    """Records of all types in turn with these time stamps."""
    types = list(TYPES.values())
    return [types[i % len(types)].numbered(stamp, i) for i, stamp in enumerate(stamps)]


def replay_command(device, log):
    return [LOG_TOOL, "-r", "-a", "127.0.0.1", "-p", str(device.port), log]


def bytes_in(pipe):
    count = array.array("i", [0])
    fcntl.ioctl(pipe, termios.FIONREAD, count)
    return count[0]


def wait_until_read(pipe):
    """Returns when nothing is left of what was written to a pipe."""
    while bytes_in(pipe) > 0:
        time.sleep(LOOK_S)


class ReplayTest(RecordingTest):
    def setUp(self):
        super().setUp()
        self.device = Device()
        self.addCleanup(self.device.close)

    def replay(self, log, *wrapper, name="log"):
        """A log_tool that replays a log of this content to the device."""
        self.write_file(name, log)
        return self.start(*wrapper, *replay_command(self.device, name))

    def replay_pipe(self, name, *wrapper):
        """A log_tool and the pipe that it replays. Its end is END_OF_PIPE: the program, which opens
        logs for writing as well, keeps the pipe open."""
        os.mkfifo(self.path(name))
        program = self.start(*wrapper, *replay_command(self.device, name))
        pipe = open(self.path(name), "wb", buffering=0)  # waits for the program to open it
        self.addCleanup(pipe.close)
        return program, pipe

    def receive(self, count):
        return [self.device.receive() for _ in range(count)]

    def assert_received(self, datagrams):
        """These are the next datagrams, and no other waits behind them."""
        for expected in datagrams:
            self.assertEqual(expected.hex(" "), self.device.receive().hex(" "))
        self.assertEqual([], self.device.received())

    def check_replayed(self, log, datagrams):
        """The whole log goes out at once as these datagrams, and the program ends."""
        program = self.replay(log)
        self.assert_end(program, ["End of file reached"])
        self.assert_received(datagrams)

    def assert_end(self, program, lines):
        """The program ends well, and this is all that it has printed."""
        self.assertEqual(0, program.wait(), program.errors)
        self.assertEqual(lines, program.lines)
        self.assertEqual("", program.unfinished_line)
        self.assertEqual("", program.errors)
