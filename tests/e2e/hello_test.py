"""When log_tool greets the device, and how its output tells so."""

import time
import unittest

from harness import codec
from harness.codec import GenericData, datagram
from harness.recording import (
    HELLO_EVERY_N_PACKETS,
    HELLO_PERIOD_S,
    PACKET_HELLO,
    TIMER_HELLO,
    UNKNOWN,
    Recording,
    RecordingTest,
)

RECORD = datagram(GenericData(1, 2, 3))


class HelloTest(RecordingTest):
    def test_one_a_second_to_a_silent_device(self):
        start = time.monotonic()
        recording = Recording(self)
        for count in (1, 2, 3):
            self.assertEqual(TIMER_HELLO, recording.next_hello())
            self.assertGreaterEqual(time.monotonic() - start, count * HELLO_PERIOD_S)
        self.assertEqual(b"", recording.interrupt())

    def test_leaves_from_one_port_of_the_systems_choice(self):
        recording = self.record()
        peer = recording.device.peer
        recording.next_hello()
        self.assertEqual(peer, recording.device.peer)
        with open("/proc/sys/net/ipv4/ip_local_port_range", encoding="ascii") as file:
            first, last = map(int, file.read().split())
        self.assertTrue(first <= peer[1] <= last, peer)
        self.assertNotEqual(recording.device.port, peer[1])

    def test_every_fiftieth_datagram(self):
        recording = self.record()
        for data in (RECORD, UNKNOWN):
            recording.send(*[data, b""] * (HELLO_EVERY_N_PACKETS - 1))
            self.assertEqual(TIMER_HELLO, recording.next_hello())  # else one came too early
            recording.send(data)
            line = TIMER_HELLO
            while line == TIMER_HELLO:
                line = recording.next_hello()
            self.assertEqual(PACKET_HELLO, line)
        self.check_complete(recording)

    def test_every_hello_announced_is_sent(self):
        recording = self.record()
        recording.send(*[RECORD] * 1000)
        peer = recording.device.peer
        self.check_complete(recording)
        received = recording.device.received()
        self.assertEqual({(codec.HELLO, peer)}, set(received))
        announced = recording.program.lines.count(TIMER_HELLO) + recording.packet_hellos()
        self.assertEqual(announced, 1 + len(received))

    def test_timer_is_quiet_while_the_device_streams(self):
        recording = self.record()
        steady_since = time.monotonic()
        timer_hellos = 1
        while time.monotonic() - steady_since < 2:
            before = time.monotonic()
            recording.send(*[UNKNOWN] * HELLO_EVERY_N_PACKETS)
            recording.synchronise()
            if time.monotonic() - before > 0.4:  # a busy machine: hellos may be 900 ms apart
                steady_since = time.monotonic()
                timer_hellos = recording.program.lines.count(TIMER_HELLO)
        self.assertEqual(timer_hellos, recording.program.lines.count(TIMER_HELLO))


class OutputTest(RecordingTest):
    def test_a_pipe_gets_whole_lines_as_they_are_printed(self):
        recording = Recording(self)
        for _ in range(2):
            self.assertEqual(TIMER_HELLO, recording.next_hello())
            self.assertEqual("", recording.program.unfinished_line)
            self.assertTrue(recording.program.is_running())
        recording.interrupt()


if __name__ == "__main__":
    unittest.main()
