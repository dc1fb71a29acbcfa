"""What log_tool asks of a board's kernel, by the emulator's trace."""

import os
import re
import unittest

from harness.codec import AttitudeData, ImuData, datagram, frame
from harness.device import Device
from harness.places import LOG_TOOL
from harness.recording import TIMER_HELLO, RecordingTest
from harness.replaying import replay_command

POINTER_SIZE = int(os.environ.get("POINTER_SIZE", 4))  # of the board, in bytes
BURST = 40  # too few datagrams for a hello, and their frames do not fill a buffer


class SystemCallsTest(RecordingTest):
    def setUp(self):
        super().setUp()
        self.device = Device()
        self.addCleanup(self.device.close)

    def start_traced(self, command):
        return self.start("env", "QEMU_STRACE=1", *command)

    def start_recording(self):
        """A traced log_tool that has greeted the device."""
        port = str(self.device.port)
        program = self.start_traced([LOG_TOOL, "-a", "127.0.0.1", "-p", port, "log"])
        self.device.wait_hello()
        self.assertEqual(TIMER_HELLO, program.read_line())
        return program

    def end(self, program):
        program.interrupt()
        self.assertEqual(0, program.wait())

    def assert_opened_as_large_file(self, program):
        opened = [line for line in program.errors.splitlines() if '"log"' in line]
        self.assertEqual(1, len(opened), opened)
        self.assertIn("O_RDWR", opened[0])
        self.assertIn("O_LARGEFILE", opened[0])

    @unittest.skipIf(POINTER_SIZE > 4, "every file of a 64-bit system may grow")
    def test_a_log_may_grow_past_2_gib(self):
        program = self.start_recording()
        self.end(program)
        self.assert_opened_as_large_file(program)

    @unittest.skipIf(POINTER_SIZE > 4, "every file of a 64-bit system may grow")
    def test_a_log_past_2_gib_is_replayed(self):
        self.write_file("log", frame(ImuData(1)))
        program = self.start_traced(replay_command(self.device, "log"))
        self.assertEqual(0, program.wait())
        self.assert_opened_as_large_file(program)

    def test_a_burst_takes_a_call_a_datagram_and_one_to_end(self):
        program = self.start_recording()
        self.device.send(datagram(AttitudeData(1)))  # with it the log gets its buffer
        self.assertEqual(TIMER_HELLO, program.read_line())
        program.pause()
        self.device.send(*[datagram(ImuData(1))] * BURST)
        program.resume()
        for _ in range(2):  # the second in a later pass than the first, with the burst between
            self.assertEqual(TIMER_HELLO, program.read_line())
        self.end(program)
        calls = re.findall(r"^\d+ (\w+)\(.*\) = (-?\d+)", program.errors, re.MULTILINE)
        first = calls.index(("recvfrom", str(ImuData.size)))
        self.assertEqual(
            [("recvfrom", str(ImuData.size))] * BURST + [("recvfrom", "-1")],
            calls[first : first + BURST + 1],
        )


if __name__ == "__main__":
    unittest.main()
