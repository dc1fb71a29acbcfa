#!/usr/bin/env python3
"""Shows how cost grows: with the rate and the length of a recording and the length of a replay,
log_tool beside the floor; with observers, timers and descriptors by the micro-benchmarks.

    bench/growth.py [--quick]
"""

import json
import statistics
import sys

from measuring import (
    LOG_TOOL,
    MICRO,
    OTHER_CORE,
    RECORD_FLOOR,
    REPLAY_FLOOR,
    TOOL_CORE,
    Program,
    Recorder,
    draining,
    folder,
    on_core,
    replaying,
    require,
)
from replay_bench import build

ROUNDS = 3
GROWING = "notify/|insertTimer/|timerPass/|dueTimerPass/|socketPass/"


def in_bursts(size, count):
    def measure(recorder):
        report = recorder.load(count, "--burst", str(size), core=TOOL_CORE)
        return report["cpuNs"] / count

    return measure


def at_rate(rate, seconds):
    def measure(recorder):
        report = recorder.load(rate * seconds, "--rate", str(rate), core=OTHER_CORE)
        return report["cpuNs"] / report["sent"]

    return measure


def print_row(name, floors, tools):
    floor, tool = statistics.median(floors), statistics.median(tools)
    print(f"{name:<28}{floor:>10.0f}{tool:>10.0f}{tool / floor:>8.2f}", flush=True)


def print_header(name):
    print(f"\n{name:<28}{'floor':>10}{'tool':>10}{'ratio':>8}")


def recorded(measure):
    """ns per datagram, in new processes."""
    results = []
    for command in ([RECORD_FLOOR], [LOG_TOOL]):
        with folder() as place, Recorder(command, place) as recorder:
            results.append(measure(recorder))
            recorder.end()
    return results


def replayed(length):
    with folder() as place:
        return [
            replaying(command, place, length) for command in ([REPLAY_FLOOR], [LOG_TOOL, "-r"])
        ]


def print_rows(title, cases, measure, rounds):
    """A row for each case: its name and what `measure` takes of it."""
    print_header(title)
    for name, case in cases:
        print_row(name, *zip(*(measure(case) for _ in range(rounds))))


def print_micro():
    with folder() as place:
        options = [f"--benchmark_filter={GROWING}", "--benchmark_format=json"]
        micro = Program(on_core(TOOL_CORE, MICRO, "--benchmark_min_time=0.1", *options), place)
        if micro.wait() != 0:
            raise RuntimeError(micro.errors)
        results = json.loads("\n".join(micro.lines))["benchmarks"]
        micro.close()
    print(f"\n{'CPU ns by number':<28}")
    rows = {}
    for result in results:
        if result["run_type"] == "iteration":
            name, number = result["run_name"].split("/")
            rows.setdefault(name, []).append(f"{number}: {result['cpu_time']:.0f}")
    for name, row in rows.items():
        print(f"{name:<16}" + "  ".join(row))


def main():
    is_quick = sys.argv[1:] == ["--quick"]
    rounds = 1 if is_quick else ROUNDS
    seconds = 1 if is_quick else 5
    lengths = (10**4, 10**5) if is_quick else (10**4, 10**5, 10**6, 3 * 10**6)
    require("taskset", "chrt")
    build()
    print_rows(
        "record, ns by burst",
        [(str(size), in_bursts(size, 20000)) for size in (1, 4, 16, 64, 128)],
        recorded,
        rounds,
    )
    print_rows(
        "record, ns by rate",
        [(f"{rate}/s", at_rate(rate, seconds)) for rate in (500, 2000, 10000, 50000)],
        recorded,
        rounds,
    )
    print_rows(
        "record, ns by length",
        [(str(n), lambda recorder, n=n: draining(recorder, n)) for n in lengths],
        recorded,
        rounds,
    )
    print_rows("replay, ns by length", [(str(n), n) for n in lengths], replayed, rounds)
    print_micro()


if __name__ == "__main__":
    main()
