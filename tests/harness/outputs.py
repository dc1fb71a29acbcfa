"""Standard outputs of a program whose reader the test is: pipes, terminals, sockets."""

import contextlib
import fcntl
import os
import select
import socket
import termios

FILLER = b"."
STOP = b"\x13"  # CTRL-S
START = b"\x11"  # CTRL-Q
QUIET_S = 0.05  # a terminal passes on what it has got a little later


class Output:
    """The end that a program gets, shared with the test like a shell's terminal, and the other end.
    While it is stuck, it takes nothing from the program."""

    def __init__(self, test, program_end, reader_end):
        self.program_end = program_end
        self._reader_end = reader_end
        os.set_blocking(reader_end, False)
        for end in (program_end, reader_end):
            test.addCleanup(self._close, end)

    @staticmethod
    def _close(end):
        with contextlib.suppress(OSError):  # closed before
            os.close(end)

    def state(self):
        """What all who share the program's end find changed if one of them changes it."""
        return fcntl.fcntl(self.program_end, fcntl.F_GETFL)

    def has_room(self):
        room = select.poll()
        room.register(self.program_end, select.POLLOUT)
        return bool(room.poll(QUIET_S * 1000))

    def write_now(self, data):
        """Writes what there is room for, without a change of what is shared."""
        again = os.open(
            f"/proc/self/fd/{self.program_end}", os.O_WRONLY | os.O_NONBLOCK | os.O_NOCTTY
        )
        try:
            return os.write(again, data)
        finally:
            os.close(again)

    def fill(self):
        """Leaves no room for a single byte."""
        for size in (4096, 1):
            while True:
                try:
                    self.write_now(FILLER * size)
                except BlockingIOError:
                    if size > 1 or not self.has_room():
                        break

    def get_stuck(self):
        self.fill()

    def get_going(self):
        """It has room again as soon as somebody reads."""

    def read(self):
        """What there is to read now."""
        data = b""
        with contextlib.suppress(BlockingIOError):
            while chunk := os.read(self._reader_end, 65536):
                data += chunk
        return data

    def read_some(self, size):
        with contextlib.suppress(BlockingIOError):
            os.read(self._reader_end, size)

    def read_until(self, end, process):
        """All up to a text, after which nothing more may come, or to the end of a process."""
        data = self.read()
        reader = select.poll()
        reader.register(self._reader_end, select.POLLIN)
        while not data.endswith(end) and process.is_running():
            reader.poll(QUIET_S * 1000)
            data += self.read()
        return data + self.read()

    def lose_reader(self):
        os.close(self._reader_end)


class Pipe(Output):
    def __init__(self, test):
        super().__init__(test, *reversed(os.pipe()))


class Socket(Output):
    """A stream socket, as the journal gives one to a service."""

    def __init__(self, test):
        ends = socket.socketpair(socket.AF_UNIX, socket.SOCK_STREAM)
        super().__init__(test, *(end.detach() for end in ends))

    def write_now(self, data):
        with socket.socket(fileno=os.dup(self.program_end)) as end:
            return end.send(data, socket.MSG_DONTWAIT)


class FullTerminal(Output):
    """A terminal that nobody reads."""

    def __init__(self, test):
        super().__init__(test, *reversed(os.openpty()))
        settings = termios.tcgetattr(self.program_end)
        settings[1] &= ~termios.OPOST  # lines end as they are printed
        termios.tcsetattr(self.program_end, termios.TCSANOW, settings)

    def state(self):
        return super().state(), termios.tcgetattr(self.program_end)


class StoppedTerminal(FullTerminal):
    """A terminal after CTRL-S."""

    def get_stuck(self):
        os.write(self._reader_end, STOP)
        while self.has_room():
            pass

    def get_going(self):
        os.write(self._reader_end, START)


OUTPUTS = (Pipe, Socket, FullTerminal, StoppedTerminal)
