"""Every single allocation fails in turn, alone and with all that follow it."""

import contextlib
import errno
import itertools
import os
import resource
import signal
import unittest

from harness import codec
from harness.codec import AttitudeData, GenericData, GnssData, ImuData, datagram, frame
from harness.faults import FOR_EVER, closing, failing
from harness.recording import INTERRUPTED, TIMER_HELLO, Recording
from harness.replaying import ReplayTest

RECORDS = [GenericData(1000, 1), ImuData(1000, 2), AttitudeData(1020, 3)]
DATAGRAMS = [datagram(record) for record in RECORDS]
LOG = b"".join(map(frame, RECORDS))
STATES_OF_THE_LOG = [LOG[:0], *(codec.recording(DATAGRAMS[: n + 1]) for n in range(len(RECORDS)))]

END = "End of file reached"
BUFFER = 4096  # what the C library writes at once
AT_ONCE = 25

# How a lack of memory ends the program.
REASONS = (
    r"  what\(\):  std::bad_alloc\n"
    r"|  what\(\):  LogFile: failed to open file \S+: Cannot allocate memory\n"
    r"|terminate called without an active exception\n"  # not even memory for the exception
    r"|^Panic: \*\*\* ASSERT in fdloop at (35|58)\n"
)


class MemoryTest(ReplayTest):
    """Whatever fails, the program does what it should or says why not, and ends; it never hangs,
    and nothing that it had recorded is missing."""

    def check_end(self, program):
        """Tells whether the program has ended well; if not, it has said why."""
        status = program.wait()
        if status == 0:
            self.assertEqual("", program.errors)
            return True
        self.assertEqual(-signal.SIGABRT, status)
        self.assertRegex("\n".join([*program.lines, program.errors]), REASONS)
        return False

    def has_failed(self, seen):
        return os.path.exists(self.path(seen))

    def replay_without(self, number, count, seen):
        program = self.replay(LOG, *failing("malloc", errno.ENOMEM, number, count, seen))
        ended_well = self.check_end(program)
        received = [data for data, _ in self.device.received()]
        self.assertEqual(DATAGRAMS[: len(received)], received)
        if ended_well or END in program.lines:
            self.assertEqual(len(DATAGRAMS), len(received))
        self.assertEqual(LOG, self.read_file("log"))

    def test_of_a_replay(self):
        for count in (1, FOR_EVER):
            for number in itertools.count(1):
                with self.subTest(number=number, count=count):
                    seen = f"seen{number}of{count}"
                    self.replay_without(number, count, seen)
                if not self.has_failed(seen):
                    break
            self.assertGreater(number, 20)

    def check_recording(self, recording):
        program = recording.program
        if program.read_line() == TIMER_HELLO:
            recording.meet()
            recording.device.send(*DATAGRAMS)
            with contextlib.suppress(OSError, LookupError):  # it may end meanwhile
                recording.wait_until_taken()
            program.interrupt()
        ended_well = self.check_end(program)
        with contextlib.suppress(FileNotFoundError):
            self.assertIn(self.read_file(recording.log), STATES_OF_THE_LOG)
        if ended_well or INTERRUPTED[-1] in program.lines:
            self.assertEqual(LOG, self.read_file(recording.log))

    def test_of_a_recording(self):
        for count in (1, FOR_EVER):
            number = 1
            while True:
                # Many at once: each waits a second for its first hello.
                seen = [f"seen{number + i}of{count}" for i in range(AT_ONCE)]
                recordings = [
                    Recording(
                        self,
                        log=f"log{number + i}",
                        wrapper=failing("malloc", errno.ENOMEM, number + i, count, seen[i]),
                    )
                    for i in range(AT_ONCE)
                ]
                for recording in recordings:
                    with self.subTest(recording.log, count=count):
                        self.check_recording(recording)
                    recording.program.close()
                    recording.device.close()
                if not self.has_failed(seen[-1]):
                    break
                number += AT_ONCE
            self.assertGreater(number, AT_ONCE)

    def check_long_recording(self, log, *wrapper):
        """Ends a recording by a lack of memory, with more in its log than a buffer holds."""
        wrapper += failing("malloc", errno.ENOMEM, first=120)
        recording = self.record(log=log, wrapper=wrapper)
        recording.device.send(*[datagram(GnssData(number)) for number in range(120)])
        self.assertEqual(-signal.SIGABRT, recording.program.wait())
        content = self.read_file(log)
        self.assertGreater(len(content), BUFFER)
        count = len(codec.parse_frames(content))
        self.assert_log(codec.recording(recording.sent[:count]), content)

    def test_of_a_long_recording(self):
        self.check_long_recording("log")
        self.check_long_recording("without_messages", *closing((2,)))

    def test_of_the_system_is_no_fault_for_a_recording_under_way(self):
        recording = self.record()
        recording.send(*DATAGRAMS)
        recording.synchronise()
        resource.prlimit(recording.program.pid, resource.RLIMIT_AS, (0, 0))
        recording.send(*[datagram(GnssData(number)) for number in range(500)])
        self.check_complete(recording)


if __name__ == "__main__":
    unittest.main()
