"""CTRL-C at chosen instructions of the program and of the C library below it."""

import os
import random
import signal
import time
import unittest

from recording import INTERRUPTED, LOOK_S, RecordingTest
from stepping import SteppedTest, list_work

MANY = 10000  # instructions: far fewer than any run has
AIMS = 5


class AimedInterruptTest(SteppedTest):
    def test_is_held_back_at_every_instruction(self):
        for run in (self.step_recording, self.step_replay):
            steps = run(0)
            self.assertGreater(steps.counted, MANY)
            self.assertEqual(0, steps.unblocked)

    def check_aims(self, part):
        rng = random.Random(1)
        for run in (self.step_recording, self.step_replay):
            there_are = run(f"0{part}").before
            self.assertGreater(there_are, 0)
            for _ in range(AIMS):
                aim = f"{rng.randint(1, there_are)}{part}"
                with self.subTest(run=run.__name__, aim=aim[:6]):
                    self.assertEqual(0, run(aim).unblocked)

    def test_anywhere_spoils_nothing(self):
        self.check_aims("")

    def test_in_the_list_work_spoils_nothing(self):
        self.check_aims(list_work())


class InterruptedHandlerTest(RecordingTest):
    """The handler of CTRL-C, stuck in its output."""

    def signals(self, program, name):
        """Those blocked (SigBlk) or waiting to come in (ShdPnd)."""
        with open(f"/proc/{program.pid}/status", encoding="ascii") as status:
            masks = dict(line.split(":\t") for line in status)
        return {number for number in signal.Signals if int(masks[name], 16) >> number - 1 & 1}

    def test_is_interrupted_by_no_other_signal_that_ends_a_run(self):
        recording = self.record()
        program = recording.program
        output = os.open(f"/proc/{program.pid}/fd/1", os.O_WRONLY | os.O_NONBLOCK)
        with open(output, "wb", buffering=0) as pipe:
            for size in (1000, 1):
                while pipe.write(b"\n" * size):
                    pass  # until it is full
        program.interrupt()
        while (
            signal.SIGINT in self.signals(program, "ShdPnd")
            or signal.SIGINT not in self.signals(program, "SigBlk")
        ):
            time.sleep(LOOK_S)
        program.signal(signal.SIGTERM)
        program.signal(signal.SIGHUP)
        others = {signal.SIGTERM, signal.SIGHUP}
        self.assertLessEqual(others, self.signals(program, "ShdPnd"))
        self.assertEqual(0, program.wait())
        self.assertEqual(INTERRUPTED, program.lines[-2:])


if __name__ == "__main__":
    unittest.main()
