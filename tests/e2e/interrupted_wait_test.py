"""Waits that a signal cuts short again and again, and one that fails."""

import errno
import time
import unittest

from harness import codec
from harness.codec import AttitudeData, GenericData, datagram, frame
from harness.faults import failing, interrupting
from harness.recording import INTERRUPTED, TIMER_HELLO, RecordingTest
from harness.replaying import CLOCK_MS, END_OF_PIPE, HOUR_MS, ReplayTest

INTERRUPTING = interrupting(microseconds=100)

STEP_MS = 10


def log_of(stamps):
    return b"".join(frame(AttitudeData(stamp, number)) for number, stamp in enumerate(stamps))


class InterruptedRecordingTest(RecordingTest):
    def test_loses_nothing_and_greets(self):
        recording = self.record(wrapper=INTERRUPTING)
        for _ in range(2):  # the timer, too, goes on
            recording.send(*(datagram(AttitudeData(ticks)) for ticks in range(999)))
            while recording.next_hello() != TIMER_HELLO:
                pass
        self.check_complete(recording)


class InterruptedReplayTest(ReplayTest):
    def test_keeps_the_pace(self):
        stamps = range(0, 100 * STEP_MS, STEP_MS)
        log = log_of(stamps)
        program, pipe = self.replay_pipe("log", *INTERRUPTING)
        start = time.monotonic()
        pipe.write(log + END_OF_PIPE)
        for record, stamp in zip(codec.parse_frames(log), stamps):
            self.assertEqual(datagram(record), self.device.receive())
            self.assertGreaterEqual((time.monotonic() - start) * 1000, stamp - CLOCK_MS)
        self.assert_end(program, [])

    def test_ends_with_ctrl_c(self):
        log = log_of((5, 5 + HOUR_MS))
        program = self.replay(log, *INTERRUPTING)
        self.assertEqual(datagram(AttitudeData(5)), self.device.receive())
        program.interrupt()
        self.assert_end(program, INTERRUPTED)
        self.assertEqual([], self.device.received())


class FailingWaitTest(RecordingTest):
    def test_ends_the_recording_with_a_whole_log(self):
        recording = self.record(wrapper=failing("select", errno.EBADF, first=20))
        recording.program.pause()
        for number in range(30):
            recording.send(datagram(GenericData(number)), b"")  # an empty one ends a pass
        recording.program.resume()
        recording.check_end(0, [])
        self.assertEqual(b".", self.read_file("seen"))
        log = self.read_file("log")
        self.assertGreater(len(codec.parse_frames(log)), 10)
        self.assert_log(codec.recording(recording.sent)[: len(log)], log)


if __name__ == "__main__":
    unittest.main()
