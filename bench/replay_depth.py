#!/usr/bin/env python3
"""Replays records that are all due at once, three million and three thousand of them, with a small
stack, and shows that all arrive in order and that the memory needed does not depend on their number.

    bench/replay_depth.py [records]
"""

import sys

from replay_bench import Replay, build

from harness import codec

STACK_KIB = 512
FEW = 3000
SPREAD_KIB = 256
END_MS = 300  # the last record is held until then, so that also a short replay can be looked at


def main():
    many = int(sys.argv[1]) if len(sys.argv) > 1 else 3000000
    end = codec.frame(codec.GenericData.numbered(END_MS, 0))
    build()

    print(f"stack limit {STACK_KIB} KiB")
    print(f"{'records':>10}{'received':>10}{'seconds':>10}{'peak KiB':>10}")
    problems = []
    peaks = []
    for count in (FEW, many):
        replay = Replay(codec.numbered_log(0, count - 1) + end, STACK_KIB)
        received = replay.received["total"]["count"]
        print(f"{count:>10}{received:>10}{replay.seconds:>10.2f}{replay.peak_kib:>10}")
        problems += [f"{count} records: {problem}" for problem in replay.problems()]
        peaks.append(replay.peak_kib)
    if peaks[1] > peaks[0] + SPREAD_KIB:
        problems.append(f"{many} records need {peaks[1] - peaks[0]} KiB more than {FEW}")
    if problems:
        sys.exit("\n".join(problems))


if __name__ == "__main__":
    main()
