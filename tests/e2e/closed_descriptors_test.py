"""Starts without standard input, output or error output, or with one that is full."""

import itertools
import signal
import unittest

from harness import codec
from harness.codec import AttitudeData, GenericData, datagram, frame
from harness.faults import closing, redirecting
from harness.recording import INTERRUPTED, TOO_SHORT_FOR_A_HEADER, Recording, RecordingTest
from harness.replaying import ReplayTest

# Each alone, in pairs and all together.
CLOSED = [set_ for size in (1, 2, 3) for set_ in itertools.combinations((0, 1, 2), size)]

RECORDS = [datagram(AttitudeData(ticks)) for ticks in range(120)]


def name(closed):
    return "closed" + "".join(map(str, closed))


def interrupt(recording):
    recording.program.interrupt()


def panic(recording):
    recording.device.send(b"\x01")


class LogTest(RecordingTest):
    def check_log(self, recording, end=interrupt, status=0):
        """The log holds the records and nothing else."""
        self.assertEqual(codec.HELLO, recording.device.wait_hello())
        recording.device.send(*RECORDS)
        recording.wait_until_taken()
        end(recording)
        self.assertEqual(status, recording.program.wait(), recording.program.errors)
        self.assert_log(codec.recording(RECORDS), self.read_file(recording.log))


class OutputTest(LogTest):
    def test_that_is_full_takes_nothing_from_the_log(self):
        self.check_log(Recording(self, wrapper=redirecting("/dev/full")))


class ClosedDescriptorsTest(LogTest):
    def check(self, end, status, last_line):
        """Recordings, all at once as each waits for its first hello."""
        recordings = [
            Recording(self, log=name(closed), wrapper=closing(closed)) for closed in CLOSED
        ]
        for closed, recording in zip(CLOSED, recordings):
            with self.subTest(closed=closed):
                self.check_log(recording, end, status)
                if 1 not in closed:
                    self.assertEqual(last_line, recording.program.lines[-1])

    def test_leave_a_log_of_records_only(self):
        self.check(interrupt, 0, INTERRUPTED[-1])

    def test_leave_no_message_in_the_log_of_a_panic(self):
        self.check(panic, -signal.SIGABRT, TOO_SHORT_FOR_A_HEADER)


class ClosedDescriptorsReplayTest(ReplayTest):
    def test_leave_datagrams_and_log_as_they_are(self):
        records = [GenericData(1), GenericData(20)]  # one at once, one by the timer
        log = b"".join(map(frame, records))
        for closed in CLOSED:
            with self.subTest(closed=closed):
                program = self.replay(log, *closing(closed))
                self.assertEqual(0, program.wait(), program.errors)
                self.assert_received(list(map(datagram, records)))
                self.assertEqual(log, self.read_file("log"))


if __name__ == "__main__":
    unittest.main()
