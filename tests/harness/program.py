"""Runs the programs under test and reads their output as it appears."""

import ctypes
import os
import re
import resource
import selectors
import shutil
import signal
import socket
import subprocess
import tempfile
import time
import unittest

TIMEOUT_S = 30  # for one event; far more than any of them takes on a busy machine
END_S = 3  # from a signal to the end: a second is promised, a busy machine gets the rest
TEST_TIMEOUT_S = int(os.environ.get("TEST_TIMEOUT_S", 100))

# What an emulator adds when the program in it dies of a signal.
_EMULATOR_MESSAGE = re.compile(r"^qemu: uncaught target signal .*\n", re.MULTILINE)

# Some programs abort on purpose.
resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


_libc = ctypes.CDLL(None)
_PR_SET_PDEATHSIG = 1


def free_port():
    """A UDP port on loopback that nobody has, for a program that must be told one."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def _prepare_child():
    _libc.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL)  # it ends with the test
    # Also where nohup or a shell's background runs the test.
    signal.signal(signal.SIGHUP, signal.SIG_DFL)
    signal.signal(signal.SIGINT, signal.SIG_DFL)


class Program:
    """A running program whose standard output is a pipe, read line by line here, or an output of
    the test's."""

    def __init__(self, arguments, folder, output=None, timeout_s=TIMEOUT_S):
        self._timeout_s = timeout_s  # for its next line and its end
        self.lines = []  # read so far, without their ends
        self._output = b""
        self._errors = tempfile.TemporaryFile()
        self._process = subprocess.Popen(
            [os.fsencode(argument) for argument in arguments],
            cwd=folder,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE if output is None else output.program_end,
            stderr=self._errors,
            preexec_fn=_prepare_child,
        )
        self._selector = selectors.DefaultSelector()
        if output is None:
            self._selector.register(self._process.stdout, selectors.EVENT_READ)

    @property
    def pid(self):
        return self._process.pid

    def _read(self, deadline):
        """More output; nothing at its end."""
        if not self._selector.select(max(0, deadline - time.monotonic())):
            raise TimeoutError(f"no more output after {self.lines}, {self._output}")
        return os.read(self._process.stdout.fileno(), 65536)

    def read_line(self, deadline=None):
        """The next line, as soon as it is whole; None at the end of the output."""
        if self._process.stdout is None or self._process.stdout.closed:
            return None
        if deadline is None:
            deadline = time.monotonic() + self._timeout_s
        while b"\n" not in self._output:
            data = self._read(deadline)
            if not data:
                return None
            self._output += data
        line, _, self._output = self._output.partition(b"\n")
        self.lines.append(line.decode())
        return self.lines[-1]

    def stop_reading(self):
        """Whatever the program prints from now on meets a broken pipe."""
        self._selector.unregister(self._process.stdout)
        self._process.stdout.close()

    def wait(self):
        """The exit status, negative for a signal, once the output has ended."""
        while self.read_line() is not None:
            pass
        return self._process.wait(self._timeout_s)

    def wait_briefly(self):
        """The same of a program that has been told to end."""
        deadline = time.monotonic() + END_S
        while self.read_line(deadline) is not None:
            pass
        return self._process.wait(max(0, deadline - time.monotonic()))

    @property
    def unfinished_line(self):
        return self._output.decode()

    @property
    def errors(self):
        self._errors.seek(0)
        return _EMULATOR_MESSAGE.sub("", self._errors.read().decode())

    def is_running(self):
        return self._process.poll() is None

    def is_sleeping(self):
        with open(f"/proc/{self.pid}/stat", encoding="ascii") as stat:
            return stat.read().rpartition(")")[2].split()[0] == "S"

    def signal(self, number):
        self._process.send_signal(number)

    def interrupt(self):
        self.signal(signal.SIGINT)

    def pause(self):
        self.signal(signal.SIGSTOP)
        os.waitid(os.P_PID, self.pid, os.WSTOPPED)

    def resume(self):
        self.signal(signal.SIGCONT)

    def close(self):
        if self.is_running():
            self._process.kill()
            self._process.wait()
        self._selector.close()
        if self._process.stdout is not None:
            self._process.stdout.close()
        self._errors.close()


class ProgramTest(unittest.TestCase):
    """A test with a folder of its own, of which no program outlives the end."""

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="log_tool-e2e-")
        self.addCleanup(shutil.rmtree, self.folder)
        signal.signal(signal.SIGALRM, self._on_alarm)
        # Again and again: a subtest that hangs is followed by others.
        signal.setitimer(signal.ITIMER_REAL, TEST_TIMEOUT_S, TEST_TIMEOUT_S)
        self.addCleanup(signal.setitimer, signal.ITIMER_REAL, 0)

    @staticmethod
    def _on_alarm(*_):
        raise TimeoutError(f"the test takes more than {TEST_TIMEOUT_S} s")

    def start(self, *arguments, output=None):
        program = Program(arguments, self.folder, output)
        self.addCleanup(program.close)
        return program

    def path(self, name):
        return os.path.join(self.folder, name)

    def read_file(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def write_file(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content)
