"""CTRL-C at chosen instructions of the program and of the C library below it."""

import random
import unittest

from harness.stepping import SteppedTest, list_work

MANY = 10000  # instructions: far fewer than any run has
AIMS = 5

CLOCK = "clock_gettime"  # a system call only where the kernel maps no clock into the process


class AimedInterruptTest(SteppedTest):
    def check_aims(self, part, at_least=1):
        rng = random.Random(1)
        for run in (self.step_recording, self.step_replay):
            there_are = run(f"0{part}").counted
            self.assertGreaterEqual(there_are, at_least)
            for _ in range(AIMS):
                aim = f"{rng.randint(1, there_are)}{part}"
                with self.subTest(run=run.__name__, aim=aim[:6]):
                    run(aim)

    def test_anywhere_spoils_nothing(self):
        self.check_aims("", at_least=MANY)

    def test_in_the_list_work_spoils_nothing(self):
        self.check_aims(list_work())

    def test_is_only_noted_by_its_handler(self):
        for aim in (1, MANY):
            with self.subTest(aim=aim):
                calls = [call for call in self.step_recording(aim).calls if call != CLOCK]
                self.assertEqual(["rt_sigaction", "setitimer", "rt_sigreturn"], calls)


if __name__ == "__main__":
    unittest.main()
