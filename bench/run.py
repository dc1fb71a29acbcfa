"""Measures log_tool beside the bare system calls, both in the same run, round by round in
alternating order, and prints what they need and the ratios. See run.sh."""

import argparse
import os
import statistics

from measuring import (
    BURST,
    LOG_TOOL,
    OTHER_CORE,
    RECORD_FLOOR,
    REPLAY_FLOOR,
    Recorder,
    draining,
    folder,
    record_counts,
    replay_counts,
    replaying,
    require,
    tool_commands,
    woken,
)
from mix import MIX, MIX_HZ, MIX_OPTIONS, MIX_TYPES, RECORDS_A_SECOND
from pacing import IMU_HZ, Pacing, drive
from replay_bench import Replay, build

from harness import codec

CLOCK_CALL = "clock_gettime"


class Scale:
    """How long to measure."""

    def __init__(self, is_quick):
        self.rounds = 5 if is_quick else 15
        self.drained = 64000 if is_quick else 320000
        self.woken = 3000 if is_quick else 20000
        self.replayed = 50000 if is_quick else 300000
        self.pacing_rounds = 2 if is_quick else 5
        self.pacing_s = 2 if is_quick else 10
        self.lengths = (10**4, 10**5) if is_quick else (10**4, 10**5, 10**6, 3 * 10**6)


def interleaved(rounds, floor, tool):
    """The results of both, run in turn."""
    results = []
    for number in range(rounds):
        if number % 2:
            second = tool()
            results.append((floor(), second))
        else:
            results.append((floor(), tool()))
    return results


def print_header():
    print(f"{'':<34}{'floor':>11}{'tool':>11}{'ratio min':>11}{'median':>9}{'max':>9}")


def print_ratios(name, results, digits=0):
    ratios = [tool / floor for floor, tool in results]
    floor, tool = (statistics.median(values) for values in zip(*results))
    print(
        f"{name:<34}{floor:>11.{digits}f}{tool:>11.{digits}f}"
        f"{min(ratios):>11.3f}{statistics.median(ratios):>9.3f}{max(ratios):>9.3f}",
        flush=True,
    )


def measure_cpu(scale, record, replay):
    with folder() as floor_place, folder() as tool_place:
        drained = []
        wakes = []
        far_wakes = []
        for number in range(scale.rounds):
            # New processes each round: memory lies differently in each.
            with Recorder([RECORD_FLOOR], floor_place) as floor, Recorder(
                record, tool_place
            ) as tool:
                order = (tool, floor) if number % 2 else (floor, tool)
                for results, measure in (
                    (drained, lambda recorder: draining(recorder, scale.drained)),
                    (wakes, lambda recorder: woken(recorder, scale.woken)),
                    (far_wakes, lambda recorder: woken(recorder, scale.woken, OTHER_CORE)),
                ):
                    ns = {recorder: measure(recorder) for recorder in order}
                    results.append((ns[floor], ns[tool]))
                floor.end()
                tool.end()
        print_ratios(f"record, bursts of {BURST}: CPU ns", drained)
        print_ratios("record, woken for each: CPU ns", wakes)
        print_ratios("  the same, by another core", far_wakes)

        replays = interleaved(
            scale.rounds,
            lambda: replaying([REPLAY_FLOOR], floor_place, scale.replayed),
            lambda: replaying(replay, floor_place, scale.replayed),
        )
        print_ratios("replay, all due: CPU ns", replays)


def measure_pacing(scale, replay):
    for name, rates in (("1 kHz", IMU_HZ), (MIX, MIX_HZ)):
        records = drive(rates, scale.pacing_s)
        with folder() as place:
            results = interleaved(
                scale.pacing_rounds,
                lambda: Pacing([REPLAY_FLOOR, "--paced"], place, records),
                lambda: Pacing(replay, place, records),
            )
        for label, share in (("p50", 0.5), ("p99", 0.99), ("max", 1)):
            lates = [(f.percentile(share), t.percentile(share)) for f, t in results]
            print_ratios(f"{name}: late by, {label} (ms)", lates, digits=3)
        floor, tool = (min(p.earliest for p in pacings) for pacings in zip(*results))
        print(f"{name + ': earliest (ms)':<34}{floor:>11.3f}{tool:>11.3f}", flush=True)


def print_counts(name, floor, tool):
    print(f"\n{name}")
    for label, of_floor, of_tool in (
        ("instructions in user space", floor.instructions, tool.instructions),
        ("allocations", floor.allocations, tool.allocations),
    ):
        print(f"{'  ' + label:<34}{of_floor:>11.3f}{of_tool:>11.3f}")
    for call in sorted(floor.calls | tool.calls):
        row = f"{floor.calls.get(call, 0):>11.3f}{tool.calls.get(call, 0):>11.3f}"
        print(f"{'  ' + call:<34}{row}{'  (reads the clock)' if call == CLOCK_CALL else ''}")


def count(record, replay):
    with folder() as place:
        datagrams = 10 * RECORDS_A_SECOND, 30 * RECORDS_A_SECOND
        for name, burst in ((f"bursts of {BURST}", BURST), ("woken for each", 1)):
            counts = [
                record_counts(command, place, burst, *datagrams, *MIX_OPTIONS)
                for command in ([RECORD_FLOOR], record)
            ]
            print_counts(f"per recorded datagram, {MIX}, {name}", *counts)
        records = 10 * RECORDS_A_SECOND, 40 * RECORDS_A_SECOND
        counts = [
            replay_counts(command, place, *records, MIX_TYPES)
            for command in ([REPLAY_FLOOR], replay)
        ]
        print_counts(f"per replayed record, {MIX}, all due", *counts)


def count_by_type(record, replay):
    """Floats go through the XDR routines one by one, so that a record's type decides its cost."""
    print(f"\n{'instructions in user space':<34}{'recorded':>11}{'replayed':>11}")
    total = [0, 0]
    with folder() as place:
        for number, type_ in codec.TYPES.items():
            mix = ",".join("1" if other == number else "0" for other in codec.TYPES)
            costs = (
                record_counts(record, place, BURST, 800, 2400, "--mix", mix).instructions,
                replay_counts(replay, place, 1024, 3072, (type_,)).instructions,
            )
            print(f"{'  ' + type_.name:<34}{costs[0]:>11.0f}{costs[1]:>11.0f}", flush=True)
            total = [sum_ + MIX_HZ[type_] * cost for sum_, cost in zip(total, costs)]
    recorded, replayed = (sum_ / RECORDS_A_SECOND for sum_ in total)
    print(f"{f'  mean at {MIX}':<34}{recorded:>11.0f}{replayed:>11.0f}")


def record_peak(command, length):
    with folder() as place, Recorder(command, place) as recorder:
        draining(recorder, length)
        peak = recorder.peak_kib()
        recorder.end()
    return peak


def measure_memory(scale, record):
    end = codec.frame(codec.GenericData.numbered(300, 0))  # holds the replay while it is looked at
    print(f"\n{'peak of resident memory (KiB)':<34}{'floor rec':>11}{'record':>11}{'replay':>11}")
    for length in scale.lengths:
        replay = Replay(codec.numbered_log(0, length - 1) + end, tool=record[0])
        for problem in replay.problems():
            print(f"replay of {length}: {problem}")
        peaks = record_peak([RECORD_FLOOR], length), record_peak(record, length), replay.peak_kib
        row = "".join(f"{peak:>11}" for peak in peaks)
        print(f"{f'  {length} records':<34}{row}", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--quick", action="store_true", help="under a minute on a quiet machine")
    parser.add_argument("--tool", default=LOG_TOOL, help="another build of log_tool")
    parser.add_argument(
        "--only", choices=("cpu", "pacing", "counts", "types", "memory"), help="this part alone"
    )
    options = parser.parse_args()
    require("valgrind", "strace", "taskset", "chrt")
    build()
    record, replay = tool_commands(os.path.abspath(options.tool))
    scale = Scale(options.quick)
    parts = {
        "cpu": lambda: measure_cpu(scale, record, replay),
        "pacing": lambda: measure_pacing(scale, replay),
        "counts": lambda: count(record, replay),
        "types": lambda: options.quick or count_by_type(record, replay),
        "memory": lambda: measure_memory(scale, record),
    }
    print_header()
    for name, part in parts.items():
        if options.only in (None, name):
            part()


if __name__ == "__main__":
    main()
