"""CTRL-C at chosen instructions of the program and of the C library below it."""

import random
import unittest

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


if __name__ == "__main__":
    unittest.main()
