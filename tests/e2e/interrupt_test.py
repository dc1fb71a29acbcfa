"""CTRL-C, at any moment."""

import fcntl
import os
import signal
import time
import unittest

from harness import codec
from harness.codec import AttitudeData, datagram
from harness.places import LOG_TOOL
from harness.program import END_S
from harness.recording import INTERRUPTED, RecordingTest

PIPE_SIZE = 4096  # the smallest there is, and what the C library buffers of a pipe


class InterruptTest(RecordingTest):
    def test_ends_with_a_message_and_the_whole_log(self):
        recording = self.record()
        recording.send(*(datagram(AttitudeData(ticks)) for ticks in range(10)))
        self.check_complete(recording)

    def test_other_signals_that_ask_for_an_end_leave_the_whole_log_too(self):
        for number in (signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number):
                recording = self.record(log=f"log{number}")
                recording.send(*(datagram(AttitudeData(ticks)) for ticks in range(10)))
                recording.synchronise()
                recording.program.signal(number)
                recording.check_end(0, [])
                self.assert_log(codec.recording(recording.sent), self.read_file(recording.log))

    def test_a_recording_outlives_its_terminal_under_nohup(self):
        recording = self.record(wrapper=("nohup",))
        recording.program.signal(signal.SIGHUP)
        recording.send(*(datagram(AttitudeData(ticks)) for ticks in range(60)))
        recording.synchronise()
        self.check_complete(recording)

    def test_a_recording_outlives_the_reader_of_its_output(self):
        recording = self.record()
        recording.program.stop_reading()
        recording.device.send(*(datagram(AttitudeData(ticks)) for ticks in range(200)))
        recording.wait_until_taken()
        recording.program.interrupt()
        self.assertEqual(0, recording.program.wait())
        self.assert_log(codec.recording(recording.sent), self.read_file(recording.log))

    def open_pipe_as_log(self):
        """Makes the log a small pipe, so that the test decides when the program can go on."""
        os.mkfifo(self.path("log"))
        log = os.open(self.path("log"), os.O_RDONLY | os.O_NONBLOCK)
        self.addCleanup(os.close, log)
        fcntl.fcntl(log, fcntl.F_SETPIPE_SZ, PIPE_SIZE)
        return log

    def test_right_after_the_start(self):
        os.mkfifo(self.path("log"))
        for delay_ms in range(50):
            program = self.start(LOG_TOOL, "-a", "127.0.0.1", "-p", "9", "log")
            with open(self.path("log"), "rb") as log:  # waits for the program to open it
                time.sleep(delay_ms / 1000)
                program.interrupt()
                self.assertEqual(b"", log.read())
            self.assertEqual(0, program.wait(), delay_ms)
            self.assertEqual(INTERRUPTED, program.lines)
            self.assertEqual("", program.errors)
            program.close()

    def test_when_no_pass_ever_waits(self):
        # Whenever an empty datagram ends a pass, the next datagram is there already.
        self.check_saturated("--empty-every", "1")

    def test_when_the_queue_never_runs_empty(self):
        self.check_saturated()

    def check_saturated(self, *options):
        """Slows the program down until datagrams always wait for it, and interrupts it."""
        log = self.open_pipe_as_log()
        _, recording = self.simulate("--as-fast-as-possible", *options)
        recording.program.read_line()
        os.set_blocking(log, True)
        content = b""
        interrupted = None
        while chunk := os.read(log, PIPE_SIZE):
            content += chunk
            if interrupted is not None:
                continue
            time.sleep(0.03)
            if len(content) > 10 * PIPE_SIZE:
                recording.program.interrupt()
                interrupted = time.monotonic()
        self.assertLess(time.monotonic() - interrupted, END_S)
        recording.check_end(0, INTERRUPTED)
        self.assertNotEqual([], codec.parse_frames(content))


if __name__ == "__main__":
    unittest.main()
