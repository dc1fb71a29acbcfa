"""Looking after a running recording: what shows that it is well, and what a look does to it."""

import json
import os
import re
import signal
import unittest
from collections import Counter

from harness import codec
from harness.codec import ImuData, datagram
from harness.places import ROOT
from harness.recording import PACKET_HELLO, TIMER_HELLO, Recording, RecordingTest

HELD_BACK = 8300  # bytes at most: the buffer of the log, of two blocks, and a frame


def read_until(program, line):
    while program.read_line() != line:
        pass


class HealthyTest(RecordingTest):
    def test_lines_and_bytes_a_second_are_those_of_the_readme(self):
        with open(os.path.join(ROOT, "README.md"), encoding="utf-8") as file:
            (healthy,) = re.findall(r"\*\*A healthy recording\*\*(.*?)\n\n", file.read(), re.S)
        records, lines, size = (
            float(figure)
            for figure in re.search(
                r"(\d+) records a second.* ([\d.]+) lines a second.* (\d+) bytes a second",
                " ".join(healthy.split()),
            ).groups()
        )
        seconds = 4
        simulation, recording = self.simulate("--duration", str(seconds), "--json", "report")
        self.assertEqual(0, simulation.wait(), simulation.errors)
        recording.wait_until_taken()
        log = recording.interrupt()
        sent = sum(json.loads(self.read_file("report"))["sent"].values())
        self.assertEqual(records, sent / seconds)
        self.assertEqual(lines, round(records / 50, 1))
        self.assertEqual(sent // 50, recording.packet_hellos())
        self.assertEqual(size, len(log) / seconds)


class GrowingLogTest(RecordingTest):
    def test_may_be_read_at_any_time(self):
        recording = self.record()
        for first in range(0, 1000, 100):
            recording.send(*(datagram(ImuData(ticks)) for ticks in range(first, first + 100)))
            recording.synchronise()
            so_far = self.read_file(recording.log)
            expected = codec.recording(recording.sent)
            self.assertEqual(expected[: len(so_far)], so_far)
            self.assertLessEqual(len(expected) - len(so_far), HELD_BACK)
        self.check_complete(recording)


class TwoRecordersTest(RecordingTest):
    def test_take_the_stream_from_each_other(self):
        simulation, first = self.simulate("--imu-rate", "1000", "--dump", "sent", log="first")
        port = int(simulation.lines[0].removeprefix("listening on "))
        read_until(first.program, PACKET_HELLO)
        second = Recording(self, log="second", device_port=port)
        read_until(second.program, PACKET_HELLO)  # it has the stream
        read_until(first.program, TIMER_HELLO)  # the first one misses it
        read_until(first.program, PACKET_HELLO)  # and has taken it back
        simulation.signal(signal.SIGINT)
        self.assertEqual(0, simulation.wait())
        logs = []
        for recording in (first, second):
            recording.wait_until_taken()
            self.assertEqual(0, recording.lost())
            logs.append(codec.parse_frames(recording.interrupt()))
        sent = [codec.parse_datagram(data) for data in codec.parse_dump(self.read_file("sent"))]
        self.assertEqual(Counter(sent), Counter(logs[0]) + Counter(logs[1]))
        of_the_second = [sent.index(record) for record in logs[1]]
        self.assertLess(sent.index(logs[0][0]), of_the_second[0])
        self.assertLess(of_the_second[0], sent.index(logs[0][-1]))  # a hole in the first log


if __name__ == "__main__":
    unittest.main()
