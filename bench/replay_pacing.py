#!/usr/bin/env python3
"""Replays a drive and measures how early or late its records leave: by the kernel's time stamps of
their reception on loopback, the first record being on time.

    bench/replay_pacing.py [seconds]
"""

import sys

from replay_bench import Replay, build

from harness import codec
from mix import MIX_HZ
from pacing import drive

EARLY_MS = 1.0  # the tool's clock counts whole milliseconds
DRIFT_MS = 1.0


def main():
    seconds = int(sys.argv[1]) if len(sys.argv) > 1 else 60
    log = b"".join(map(codec.frame, drive(MIX_HZ, seconds)))
    build()
    replay = Replay(log)
    received = replay.received
    whole = received["total"]["latenessMs"]
    first = received["firstTenthLatenessMs"]
    last = received["lastTenthLatenessMs"]

    count = received["total"]["count"]
    print(f"{count} records in {replay.seconds:.2f} s, late by (ms):")
    shares = ("min", "p50", "p99", "max")
    print(f"{'':<12}" + "".join(f"{key:>10}" for key in shares))
    for name, late in (("all", whole), ("first tenth", first), ("last tenth", last)):
        print(f"{name:<12}" + "".join(f"{late[key]:>10.3f}" for key in shares))

    problems = replay.problems()
    if whole["min"] < -EARLY_MS:
        problems.append(f"a record left {-whole['min']:.3f} ms early")
    if abs(last["p50"] - first["p50"]) > DRIFT_MS:
        problems.append(f"drift of {last['p50'] - first['p50']:.3f} ms")
    if problems:
        sys.exit("\n".join(problems))


if __name__ == "__main__":
    main()
