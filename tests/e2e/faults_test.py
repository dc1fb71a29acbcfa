"""Datagrams and files that end the program."""

import os
import signal
import unittest

from harness import codec
from harness.codec import TYPES, AttitudeData, datagram
from harness.places import LOG_TOOL
from harness.recording import (
    TOO_SHORT_FOR_A_HEADER,
    TOO_SHORT_FOR_ITS_TYPE,
    Recording,
    RecordingTest,
)

CASES = [
    ("one byte of a known type", b"\x01", TOO_SHORT_FOR_A_HEADER),
    ("one byte of an unknown type", b"\x06", TOO_SHORT_FOR_A_HEADER),
    ("echoed hello", codec.HELLO, TOO_SHORT_FOR_A_HEADER),
    ("header without its last byte", b"\x05\x01\x14\x00\x00\x00\x00", TOO_SHORT_FOR_A_HEADER),
    ("header alone", b"\x05\x01\x14\x00\x00\x00\x00\x01", TOO_SHORT_FOR_ITS_TYPE),
    *(
        (f"{type_.name} without its last byte", datagram(type_())[:-1], TOO_SHORT_FOR_ITS_TYPE)
        for type_ in TYPES.values()
    ),
]


class ShortDatagramTest(RecordingTest):
    def test_aborts_with_a_log_of_what_came_before(self):
        records = [datagram(AttitudeData(ticks)) for ticks in range(200)]
        # All at once: each waits a second for its first hello.
        recordings = [Recording(self, log=f"log{i}") for i in range(len(CASES))]
        for recording, (name, short, panic) in zip(recordings, CASES):
            with self.subTest(name):
                recording.next_hello()
                recording.send(*records, short)
                recording.check_end(-signal.SIGABRT, [panic])
                self.assertEqual(codec.recording(records), self.read_file(recording.log))


class LogFileTest(RecordingTest):
    def test_a_file_that_cannot_be_opened_ends_the_program(self):
        os.mkdir(self.path("folder"))
        self.write_file("file", b"")
        for name, reason in [
            ("missing/log", "No such file or directory"),
            ("folder", "Is a directory"),
            ("file/log", "Not a directory"),
        ]:
            with self.subTest(name):
                program = self.start(LOG_TOOL, "-a", "127.0.0.1", "-p", "9", name)
                self.assertEqual(-signal.SIGABRT, program.wait())
                self.assertEqual([], program.lines)
                self.assertIn(
                    f"  what():  LogFile: failed to open file {name}: {reason}\n", program.errors
                )


if __name__ == "__main__":
    unittest.main()
