"""Nobody who reads the output, or no longer reads it, holds a run up."""

import contextlib
import errno
import os
import re
import shutil
import signal
import subprocess
import threading
import time
import unittest

from harness import codec, streaming
from harness.codec import datagram
from harness.faults import FIRST_NUMBER, NUMBERED, failing, in_namespace
from harness.outputs import FILLER, OUTPUTS, FullTerminal, Pipe, Socket, StoppedTerminal
from harness.places import FAULTS, LOG_TOOL
from harness.recording import LOOK_S, TOO_SHORT_FOR_A_HEADER, Recording, enlarge_queue
from harness.replaying import END_OF_PIPE, ReplayTest, log_of, replay_command, wait_until_read

NOBODY = ("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups")

CTRL_C_PRESSED = b"\nCTRL-C Pressed\n"
END_OF_FILE = b"End of file reached\n"

# What a send that fails prints: two texts, no line end. All numbers have four digits.
SEND_FAILED = re.compile(
    rb"\d\d:\d\d:\d\d   DEBUG: (?:"
    rb"UdpSocket::transmit: sendto failed errno (\d{4}): Unknown error \1|"
    rb"UdpCon::transmit: sendto failed errno (\d{4}))"
)

SILENT_S = 2
SILENT_TICKS = 5  # several hellos; a loop that does not wait takes a hundred or more

FLAT_KIB = 256
# A sanitizer keeps what is freed for a while.
WITHOUT_QUARANTINE = ("env", "ASAN_OPTIONS=quarantine_size_mb=0:thread_local_quarantine_size_kb=0")


def processor_ticks(pid):
    with open(f"/proc/{pid}/stat", encoding="ascii") as file:
        fields = file.read().rpartition(")")[2].split()
    return int(fields[11]) + int(fields[12])


def resident_kib(pid):
    with open(f"/proc/{pid}/status", encoding="ascii") as status:
        return int(dict(line.split(":\t") for line in status)["VmRSS"].split()[0])


def size_of(path):
    with contextlib.suppress(FileNotFoundError):
        return os.path.getsize(path)
    return 0


def refusal_of_nobody():
    """Why log_tool cannot be run as another user; None if it can."""
    if os.geteuid() != 0:
        return "only root can become another user"
    for path in (shutil.which(LOG_TOOL), FAULTS):
        if subprocess.run([*NOBODY, "test", "-r", path], check=False).returncode != 0:
            return f"another user has no access to {path}"
    return None


class SlowReader:
    """Reads far less than is printed as long as it lives."""

    BYTES_A_MS = 1

    def __init__(self, output):
        self._output = output
        self._is_over = threading.Event()
        self._thread = threading.Thread(target=self._read)

    def _read(self):
        while not self._is_over.wait(0.001):
            self._output.read_some(self.BYTES_A_MS)

    def __enter__(self):
        self._thread.start()

    def __exit__(self, *_):
        self._is_over.set()
        self._thread.join()


class StuckOutput:
    """What holds for every kind of output."""

    KIND = None
    WRAPPER = ()

    def setUp(self):
        super().setUp()
        self.output = self.KIND(self)

    def start_recording(self):
        """A recording that the device can reach."""
        recording = Recording(self, wrapper=self.WRAPPER, output=self.output)
        self.assertTrue(recording.connect())
        return recording

    def start_replay(self, log, *wrapper):
        self.write_file("log", log)
        os.chmod(self.path("log"), 0o666)
        command = replay_command(self.device, "log")
        return self.start(*self.WRAPPER, *wrapper, *command, output=self.output)

    def record_stream(self):
        """A recording that has taken a stream, and how much of that the kernel has dropped."""
        recording = self.start_recording()
        enlarge_queue(recording.program.pid)
        streaming.send_stream(recording.device, streaming.DATAGRAMS)
        recording.wait_until_taken()
        return recording, recording.lost()

    def test_that_is_read_slowly_holds_up_no_recording(self):
        self.output.fill()
        with SlowReader(self.output):
            recording, lost = self.record_stream()
        recording.program.interrupt()
        self.assertEqual(0, recording.program.wait_briefly())
        streaming.check_log(self, self.read_file(recording.log), lost)

    def test_holds_up_no_recording(self):
        self.output.get_stuck()
        before = self.output.state()
        recording, lost = self.record_stream()
        self.assertEqual(before, self.output.state())
        recording.program.interrupt()
        self.assertEqual(0, recording.program.wait_briefly())
        self.assertEqual(before, self.output.state())
        streaming.check_log(self, self.read_file(recording.log), lost)
        self.assertEqual("", recording.program.errors)
        self.output.get_going()
        self.assertEqual(b"", self.output.read().replace(FILLER, b""))

    def test_holds_up_no_replay(self):
        records = streaming.stamped(streaming.COUNT // 2, streaming.PER_MS)
        log = log_of(records)
        failed = 300  # more messages than are kept
        self.device.enlarge_queue()
        self.output.get_stuck()
        program = self.start_replay(log, *failing("sendto", errno.EPERM, count=failed))
        for record in records[failed:]:
            self.assertEqual(datagram(record), self.device.receive())
        self.assertEqual(0, program.wait_briefly())
        self.assertEqual("", program.errors)

    def test_is_left_as_it_was_by_a_program_that_is_killed(self):
        self.output.get_stuck()
        before = self.output.state()
        recording = self.start_recording()
        recording.device.send(*streaming.DATAGRAMS[:150])
        recording.wait_until_taken()
        self.assertEqual(before, self.output.state())
        recording.program.signal(signal.SIGKILL)
        self.assertEqual(-signal.SIGKILL, recording.program.wait_briefly())
        self.assertEqual(before, self.output.state())

    def test_gets_every_byte_while_it_is_read(self):
        recording = self.start_recording()
        recording.device.send(*streaming.DATAGRAMS[:150])
        recording.wait_until_taken()
        recording.program.interrupt()
        printed = self.output.read_until(CTRL_C_PRESSED, recording.program)
        self.assertEqual(0, recording.program.wait_briefly())
        self.assertEqual(3, len(recording.device.received()))
        self.assertEqual(b"send hello\n" * 3 + CTRL_C_PRESSED, printed)

    def test_gets_late_lines_when_it_is_read_again(self):
        self.output.get_stuck()
        recording = self.start_recording()
        recording.send_unwatched(streaming.DATAGRAMS[:5000])
        self.output.get_going()
        printed = self.output.read()
        recording.program.interrupt()
        printed += self.output.read_until(CTRL_C_PRESSED, recording.program)
        self.assertEqual(0, recording.program.wait_briefly())
        self.assertRegex(
            printed.replace(FILLER, b""), b"^((timeout: )?send hello\n){100,}" + CTRL_C_PRESSED
        )
        self.assertEqual(len(recording.device.received()), printed.count(b"send hello\n"))

    def numbers(self, printed):
        """The numbers of the sends that have failed in each text, which is all that is printed."""
        numbers = []
        at = 0
        while not printed.startswith(END_OF_FILE, at):
            text = SEND_FAILED.match(printed, at)
            self.assertTrue(text, f"no whole text: {printed[at - 100:at + 100]}")
            kind = 1 if text[1] is None else 0
            numbers.append((int(text[kind + 1]) - FIRST_NUMBER, kind))
            at = text.end()
        self.assertEqual(END_OF_FILE, printed[at:])
        return numbers

    def test_gets_whole_texts_in_order_when_it_is_read_again(self):
        count = 2500
        # What is kept lasts for a while, should the reader be late on a busy machine.
        log = log_of(streaming.stamped(count, per_ms=2))
        seen = self.path("seen")
        program = self.start_replay(log, *failing("sendto", NUMBERED))
        printed = b""
        while size_of(seen) < 500:
            printed += self.output.read()
            time.sleep(LOOK_S)
        self.output.get_stuck()
        stuck_at = size_of(seen)
        while size_of(seen) < stuck_at + 1000:
            time.sleep(LOOK_S)
        self.output.get_going()
        printed += self.output.read_until(END_OF_FILE, program)
        self.assertEqual(0, program.wait_briefly())
        self.assertEqual(count, size_of(seen))

        numbers = self.numbers(printed.replace(FILLER, b""))
        self.assertEqual(sorted(set(numbers)), numbers)
        self.assertLess(len(numbers), 2 * count)  # some were dropped
        first, last = (
            [(n, kind) for n in some for kind in (0, 1)]
            for some in (range(1, 500), range(count - 99, count + 1))
        )
        self.assertEqual(first, numbers[: len(first)])
        self.assertEqual(last, numbers[-len(last) :])

    def test_holds_up_no_panic(self):
        self.output.get_stuck()
        recording = self.start_recording()
        recording.device.send(*streaming.DATAGRAMS[:180], b"\x01")
        self.assertEqual(-signal.SIGABRT, recording.program.wait_briefly())
        expected = codec.recording(streaming.DATAGRAMS[:180])
        self.assert_log(expected, self.read_file(recording.log))

    def test_that_is_read_tells_of_a_panic(self):
        recording = self.start_recording()
        recording.device.send(b"\x01")
        self.assertEqual(-signal.SIGABRT, recording.program.wait_briefly())
        self.assertEqual(f"{TOO_SHORT_FOR_A_HEADER}\n".encode(), self.output.read())

    def feed(self, pipe, log):
        pipe.write(log)
        wait_until_read(pipe)

    def test_costs_no_memory_in_a_replay_that_the_network_refuses(self):
        namespace = in_namespace(self, "net")
        log = codec.numbered_log(7, 10000)
        os.mkfifo(self.path("pipe"))
        os.chmod(self.path("pipe"), 0o666)
        self.output.get_stuck()
        command = replay_command(self.device, "pipe")
        wrapper = (*namespace, *self.WRAPPER, *WITHOUT_QUARANTINE)
        program = self.start(*wrapper, *command, output=self.output)
        with open(self.path("pipe"), "wb", buffering=0) as pipe:
            self.feed(pipe, log)
            size = resident_kib(program.pid)
            for _ in range(3):
                self.feed(pipe, log)
            self.assertLess(resident_kib(program.pid), size + FLAT_KIB)
            self.output.get_going()
            printed = self.output.read()
            for _ in range(3):
                self.feed(pipe, log)
            self.assertLess(resident_kib(program.pid), size + FLAT_KIB)
            printed += self.output.read()
            pipe.write(END_OF_PIPE)
            self.assertEqual(0, program.wait_briefly())
        self.assertIn(b"sendto failed errno 101: Network is unreachable", printed)


class PipeTest(StuckOutput, ReplayTest):
    KIND = Pipe


class SocketTest(StuckOutput, ReplayTest):
    KIND = Socket


class FullTerminalTest(StuckOutput, ReplayTest):
    KIND = FullTerminal


class StoppedTerminalTest(StuckOutput, ReplayTest):
    KIND = StoppedTerminal


class AnotherUser:
    """The program's user may write to the output, but not open it."""

    WRAPPER = NOBODY

    def setUp(self):
        refusal = refusal_of_nobody()
        if refusal is not None:
            self.skipTest(refusal)
        super().setUp()
        os.chmod(self.folder, 0o777)


class AnotherUsersPipeTest(AnotherUser, PipeTest):
    def test_cannot_be_opened(self):
        opening = subprocess.run(
            [*NOBODY, "sh", "-c", ": >/proc/self/fd/1"],
            stdout=self.output.program_end,
            stderr=subprocess.PIPE,
            check=False,
        )
        self.assertIn(b"Permission denied", opening.stderr)

    def test_whose_room_is_taken_by_others_holds_up_no_recording(self):
        times = 20  # that the program has just seen it
        self.WRAPPER = (*NOBODY, *failing("poll", NUMBERED, count=times))
        self.test_holds_up_no_recording()
        self.assertEqual(times, size_of(self.path("seen")))


class AnotherUsersFullTerminalTest(AnotherUser, FullTerminalTest):
    test_cannot_be_opened = AnotherUsersPipeTest.test_cannot_be_opened


class AnotherUsersStoppedTerminalTest(AnotherUser, StoppedTerminalTest):
    pass


class SilentDeviceTest(ReplayTest):
    def open_outputs(self):
        """Outputs of every kind and what becomes of them, by name, and the users who write."""
        users = {"own": ()}
        if refusal_of_nobody() is None:
            users["another user's"] = NOBODY
            os.chmod(self.folder, 0o777)
        for user, wrapper in users.items():
            for kind in OUTPUTS:
                for done in (kind.get_stuck, kind.lose_reader):
                    output = kind(self)
                    done(output)
                    yield f"{user} {kind.__name__} {done.__name__}", output, wrapper

    def test_costs_no_processor_time_whatever_becomes_of_the_output(self):
        # All at once, as each waits for its hellos.
        recordings = [
            Recording(self, log=name, wrapper=wrapper, output=output)
            for name, output, wrapper in self.open_outputs()
        ]
        for recording in recordings:
            recording.device.wait_hello()
        before = [processor_ticks(recording.program.pid) for recording in recordings]
        for _ in range(SILENT_S):
            for recording in recordings:
                recording.device.wait_hello()
        for ticks, recording in zip(before, recordings):
            with self.subTest(recording.log):
                spent = processor_ticks(recording.program.pid) - ticks
                self.assertLessEqual(spent, SILENT_TICKS)
        for recording in recordings:
            recording.program.interrupt()
        for recording in recordings:
            with self.subTest(recording.log):
                self.assertEqual(0, recording.program.wait_briefly())


if __name__ == "__main__":
    unittest.main()
