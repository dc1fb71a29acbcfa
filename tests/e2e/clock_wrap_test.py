"""Recording and replaying while the program's clock, 32 bits of milliseconds, wraps."""

import time
import unittest

from harness.codec import datagram
from harness.faults import shifted
from harness.recording import HELLO_PERIOD_S, TIMER_HELLO, Recording
from harness.replaying import CLOCK_MS, END_OF_PIPE, ReplayTest, log_of, numbered_records

STAMPS = range(5, 405, 10)


class ClockWrapTest(ReplayTest):
    def test_the_device_is_greeted_on(self):
        start = time.monotonic()
        recording = Recording(self, wrapper=shifted(1500))
        for count in (1, 2, 3):
            self.assertEqual(TIMER_HELLO, recording.next_hello())
            self.assertGreaterEqual(time.monotonic() - start, count * HELLO_PERIOD_S)
        recording.send(datagram(numbered_records([1])[0]))
        self.check_complete(recording)

    def test_the_pace_is_kept(self):
        for ms_to_wrap in (0, 1, 150, 300):
            with self.subTest(ms_to_wrap):
                records = numbered_records(STAMPS)
                program, pipe = self.replay_pipe(f"log{ms_to_wrap}", *shifted(ms_to_wrap))
                start = time.monotonic()
                pipe.write(log_of(records) + END_OF_PIPE)
                for stamp, record in zip(STAMPS, records):
                    self.assertEqual(datagram(record), self.device.receive())
                    passed_ms = (time.monotonic() - start) * 1000
                    self.assertGreaterEqual(passed_ms, stamp - STAMPS[0] - CLOCK_MS)
                self.assert_end(program, [])


if __name__ == "__main__":
    unittest.main()
