"""A signal that asks for it ends a run within a second, in any state, and nothing is lost."""

import errno
import fcntl
import itertools
import os
import signal
import time
import unittest

from harness import codec, streaming
from harness.codec import GenericData, datagram, frame
from harness.device import LARGE_QUEUE_SIZE
from harness.faults import failing, receiving_slowly, stalling
from harness.outputs import Pipe
from harness.places import LOG_TOOL
from harness.recording import (
    INTERRUPTED,
    LOOK_S,
    UNKNOWN,
    Recording,
    enlarge_queue,
    udp_socket,
)
from harness.replaying import ReplayTest, bytes_in, replay_command, wait_until_read

SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)
BETWEEN_SIGNALS_S = 0.01

GIVE_UP_S = 3  # after the first signal: from then on a further one ends the process
STALL_MS = 2000
LONG_STALL_MS = 3600

SMALL_PIPE_SIZE = 4096

RECORD = frame(GenericData(7))
LONG_LOG = RECORD * 2_000_000  # all due at once; sending them takes seconds


def last_lines(number):
    return INTERRUPTED if number == signal.SIGINT else []


def wait_for_file(path):
    while not os.path.exists(path):
        time.sleep(LOOK_S)


class EndingTest(ReplayTest):
    def connected(self, **options):
        recording = Recording(self, **options)
        self.assertTrue(recording.connect())
        return recording

    def with_large_queue(self, **options):
        recording = self.connected(**options)
        if not enlarge_queue(recording.program.pid):
            self.skipTest("the size of a queue is limited: see net.core.rmem_max")
        return recording

    def check_end(self, program, number):
        """The program ends soon after the signal, which has been sent, and has told so."""
        self.assertEqual(0, program.wait_briefly(), program.errors)
        lines = last_lines(number)
        self.assertEqual(lines, program.lines[len(program.lines) - len(lines) :])
        self.assertEqual(len(lines) // 2, program.lines.count(INTERRUPTED[-1]))
        self.assertEqual("", program.unfinished_line)
        self.assertEqual("", program.errors)


class QueueTest(EndingTest):
    """What had reached the socket before the signal is in the log."""

    def check_queued(self, recording, datagrams, number):
        recording.program.pause()
        recording.device.send(*datagrams)
        self.assertEqual(0, recording.lost())
        recording.program.signal(number)
        recording.program.resume()
        self.check_end(recording.program, number)
        self.assert_log(codec.recording(datagrams), self.read_file(recording.log))

    def check_counts(self, counts, start, mix=lambda datagrams: datagrams):
        for count, number in itertools.product(counts, SIGNALS):
            with self.subTest(number.name, count=count):
                recording = start(log=f"log{count}{number.name}")
                self.check_queued(recording, mix(streaming.DATAGRAMS[:count]), number)

    def test_is_recorded(self):
        self.check_counts((1, 200, 256), self.connected)

    def test_with_many_datagrams_is_recorded(self):
        self.check_counts((3000,), self.with_large_queue)

    def test_with_empty_and_unknown_datagrams_is_recorded(self):
        def mixed(datagrams):
            others = itertools.cycle((b"", UNKNOWN, b"", b""))
            return [part for data in datagrams for part in (next(others), data)] + [b""]

        self.check_counts((90,), self.connected, mixed)
        self.check_counts((1500,), self.with_large_queue, mixed)

    def test_that_is_full_is_recorded(self):
        for number in SIGNALS:
            with self.subTest(number.name):
                recording = self.with_large_queue(log=number.name)
                recording.program.pause()
                while recording.lost() == 0:
                    recording.device.send(datagram(GenericData(len(recording.sent))))
                self.assertGreater(udp_socket(recording.program.pid).queued, LARGE_QUEUE_SIZE // 2)
                recording.program.signal(number)
                recording.program.resume()
                self.check_end(recording.program, number)
                expected = codec.recording(recording.sent[:-1])
                self.assert_log(expected, self.read_file(recording.log))

    def test_that_never_runs_empty_does_not_put_the_end_off(self):
        self.write_file("flood", LONG_LOG)
        for number in SIGNALS:
            with self.subTest(number.name):
                recording = self.connected(log=number.name, wrapper=receiving_slowly(50))
                port = str(recording.device.peer[1])
                sender = self.start(LOG_TOOL, "-r", "-a", "127.0.0.1", "-p", port, "flood")
                while recording.lost() < 1000:
                    time.sleep(LOOK_S)
                recording.program.signal(number)
                self.check_end(recording.program, number)
                self.assertTrue(sender.is_running())
                sender.close()
                log = self.read_file(recording.log)
                self.assertGreater(len(log), 0)
                self.assertTrue(LONG_LOG[: len(log)] == log)
                self.assertEqual(0, len(log) % len(RECORD))


class StuckTest(EndingTest):
    """What the program waits for does not hold the end up."""

    def test_output_that_nobody_reads(self):
        for number in SIGNALS:
            with self.subTest(number.name):
                output = Pipe(self)
                output.get_stuck()
                recording = self.connected(log=number.name, output=output)
                recording.send_unwatched(streaming.DATAGRAMS[:1000])
                recording.program.signal(number)
                self.assertEqual(0, recording.program.wait_briefly(), recording.program.errors)
                expected = codec.recording(recording.sent)
                self.assert_log(expected, self.read_file(recording.log))

    def test_output_of_a_replay_that_nobody_reads(self):
        self.write_file("log", LONG_LOG)
        for number in SIGNALS:
            with self.subTest(number.name):
                output = Pipe(self)
                output.get_stuck()
                sends = f"seen{number.name}"
                wrapper = failing("sendto", errno.EPERM, seen=sends)
                command = replay_command(self.device, "log")
                program = self.start(*wrapper, *command, output=output)
                wait_for_file(self.path(sends))
                program.signal(number)
                self.assertEqual(0, program.wait_briefly(), program.errors)
                self.assertLess(len(self.read_file(sends)), len(LONG_LOG) // len(RECORD))

    def test_replayed_log_that_gives_nothing(self):
        record = GenericData(1)
        for content, number in itertools.product(("", "half a header", "half a record"), SIGNALS):
            with self.subTest(number.name, content=content):
                half = {"": 0, "half a header": 5, "half a record": 15}[content]
                program, pipe = self.replay_pipe(f"{content}{number.name}")
                pipe.write(frame(record) + frame(record)[:half])
                self.assertEqual(datagram(record), self.device.receive())
                wait_until_read(pipe)
                while not program.is_sleeping():
                    time.sleep(LOOK_S)
                program.signal(number)
                self.check_end(program, number)
                reported = program.lines[: len(program.lines) - len(last_lines(number))]
                self.assertRegex(reported[0], r"^File read failed res \d+, errno 4$")
                rest = [codec.NO_CONTENT.strip()] if content == "half a record" else []
                self.assertEqual(rest, reported[1:])
                self.assertEqual([], self.device.received())

    def test_recorded_log_that_nobody_reads(self):
        for number, queued in itertools.product(SIGNALS, (0, 2500)):
            with self.subTest(number.name, queued=queued):
                name = f"{number.name}{queued}"
                os.mkfifo(self.path(name))
                log = os.open(self.path(name), os.O_RDONLY | os.O_NONBLOCK)
                self.addCleanup(os.close, log)
                size = fcntl.fcntl(log, fcntl.F_SETPIPE_SZ, SMALL_PIPE_SIZE)
                recording = self.with_large_queue(log=name)
                recording.device.send(*streaming.DATAGRAMS[:200])  # more than fit
                while bytes_in(log) < size:
                    time.sleep(LOOK_S)
                recording.device.send(*streaming.DATAGRAMS[:queued])
                recording.program.signal(number)
                self.assertEqual(0, recording.program.wait_briefly(), recording.program.errors)
                self.assertEqual(
                    number == signal.SIGINT, INTERRUPTED[-1] in recording.program.lines
                )
                content = os.read(log, 2 * size)
                self.assertEqual(codec.recording(recording.sent)[: len(content)], content)

    def test_replay_in_which_everything_is_due(self):
        self.write_file("log", LONG_LOG)
        for number in SIGNALS:
            with self.subTest(number.name):
                program = self.start(*replay_command(self.device, "log"))
                self.device.receive()
                program.signal(number)
                self.check_end(program, number)
                self.assertEqual(last_lines(number), program.lines)
                self.device.received()


class ManySignalsTest(EndingTest):
    def stalling_recording(self, milliseconds, log="log"):
        seen = f"stalls {log}"
        recording = self.with_large_queue(log=log, wrapper=stalling(milliseconds, seen))
        return recording, self.path(seen)

    def stalled_recording(self, milliseconds, log="log"):
        """A recording whose disk has just stalled, and whose queue is filled."""
        recording, seen = self.stalling_recording(milliseconds, log)
        recording.device.send(*streaming.DATAGRAMS[:300])
        wait_for_file(seen)
        recording.device.send(*streaming.DATAGRAMS[300:2000])
        self.assertEqual(0, recording.lost())
        return recording

    def send_signals(self, numbers, *programs):
        """Sends them, again and again, to the end of the programs. Returns how long those took."""
        start = time.monotonic()
        times = {}
        for number in itertools.cycle(numbers):
            for program in programs:
                if program.is_running():
                    program.signal(number)
                else:
                    times.setdefault(program, time.monotonic() - start)
            if len(times) == len(programs):
                return times.values()
            time.sleep(BETWEEN_SIGNALS_S)

    def check_whole(self, recording, number):
        self.check_end(recording.program, number)
        self.assert_log(codec.recording(recording.sent), self.read_file(recording.log))

    def test_lose_nothing(self):
        for numbers in (SIGNALS, *((number,) for number in SIGNALS)):
            with self.subTest(numbers):
                recording = self.with_large_queue(log=f"log{numbers}")
                recording.program.pause()
                recording.device.send(*streaming.DATAGRAMS[:3000])
                recording.program.signal(numbers[0])
                recording.program.resume()
                self.send_signals(numbers, recording.program)
                self.check_whole(recording, numbers[0])

    def test_lose_nothing_on_a_disk_that_stalls(self):
        recording = self.stalled_recording(STALL_MS)
        self.send_signals(SIGNALS, recording.program)
        self.check_whole(recording, SIGNALS[0])

    def test_give_a_disk_up_that_stalls_for_long(self):
        stalled = self.stalled_recording(LONG_STALL_MS)
        stalls_at_the_end, _ = self.stalling_recording(LONG_STALL_MS, log="other")
        stalls_at_the_end.send_unwatched(streaming.DATAGRAMS[:50])
        programs = (stalled.program, stalls_at_the_end.program)
        for took in self.send_signals((signal.SIGINT,), *programs):
            self.assertGreater(took, GIVE_UP_S)
        for program in programs:
            self.assertEqual(-signal.SIGINT, program.wait_briefly())


if __name__ == "__main__":
    unittest.main()
