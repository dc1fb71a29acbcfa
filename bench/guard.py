#!/usr/bin/env python3
"""Fails when a recorded datagram or a replayed record needs more than it may of what carries no
noise: instructions in user space, allocations and system calls. The floors are counted beside it.

    bench/guard.py [--tool <another log_tool>]
"""

import argparse
import os
import sys

from measuring import (
    BURST,
    LOG_TOOL,
    RECORD_FLOOR,
    REPLAY_FLOOR,
    folder,
    record_counts,
    replay_counts,
    require,
    tool_commands,
)
from mix import MIX_OPTIONS, MIX_TYPES, RECORDS_A_SECOND

# The limits, for the records of a drive: a little above what is needed.
MAX_INSTRUCTIONS_PER_DATAGRAM = 1000  # in bursts
MAX_INSTRUCTIONS_PER_WOKEN_DATAGRAM = 1340  # each with a pass of the loop
MAX_INSTRUCTIONS_PER_RECORD = 1350
ALLOCATIONS_PER_DATAGRAM = 1  # the snapshot of the observers
ALLOCATIONS_PER_RECORD = 2  # the snapshots behind the reader and behind the delay

# System calls are the floor's own, and the clock's, which is read by a call once a pass and once a
# hello, or once a record.
MAX_CLOCK_READINGS_PER_DATAGRAM = 0.04
MAX_CLOCK_READINGS_PER_WOKEN_DATAGRAM = 1.03
MAX_CLOCK_READINGS_PER_RECORD = 1.01
MAX_FURTHER_CALLS = 0.01
CLOCK_CALL = "clock_gettime"
WAITS = {"select", "pselect6", "_newselect", "pselect6_time64"}

LENGTHS = (5 * RECORDS_A_SECOND, 15 * RECORDS_A_SECOND)


def other_calls(counts):
    """What may not exceed the floor: all calls but the clock's, the waits as one."""
    calls = {"wait": 0.0}
    for name, count in counts.calls.items():
        if name in WAITS:
            calls["wait"] += count
        elif not name.startswith(CLOCK_CALL):
            calls[name] = count
    return calls


def clock_readings(counts):
    return sum(count for name, count in counts.calls.items() if name.startswith(CLOCK_CALL))


def check(name, floor, tool, max_instructions, allocations, max_clock_readings):
    """Prints the counts and gives what is wrong with them."""
    print(
        f"{name:<32}{floor.instructions:>9.1f}{tool.instructions:>9.1f}{tool.allocations:>9.3f}"
        f"{clock_readings(tool):>9.3f}{sum(other_calls(floor).values()):>9.3f}"
        f"{sum(other_calls(tool).values()):>9.3f}",
        flush=True,
    )
    problems = []
    if tool.instructions > max_instructions:
        problems.append(f"more than {max_instructions} instructions")
    if abs(tool.allocations - allocations) > 0.001:
        problems.append(f"not {allocations} allocations")
    if clock_readings(tool) > max_clock_readings:
        problems.append(f"more than {max_clock_readings} readings of the clock")
    allowed = other_calls(floor)
    for call, count in other_calls(tool).items():
        if count > allowed.get(call, 0) + MAX_FURTHER_CALLS:
            problems.append(f"{count:.3f} calls of {call}, the floor {allowed.get(call, 0):.3f}")
    return [f"{name}: {problem}" for problem in problems]


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--tool", default=LOG_TOOL, help="another build of log_tool")
    record, replay = tool_commands(os.path.abspath(parser.parse_args().tool))
    require("valgrind", "strace", "taskset", "chrt")

    print(f"{'':<32}{'instructions':>18}{'alloc.':>9}{'clock':>9}{'system calls':>18}")
    print(f"{'':<32}{'floor':>9}{'tool':>9}{'tool':>9}{'tool':>9}{'floor':>9}{'tool':>9}")
    problems = []
    with folder() as place:
        for name, burst, *limits in (
            (
                f"datagram in bursts of {BURST}",
                BURST,
                MAX_INSTRUCTIONS_PER_DATAGRAM,
                ALLOCATIONS_PER_DATAGRAM,
                MAX_CLOCK_READINGS_PER_DATAGRAM,
            ),
            (
                "datagram that wakes",
                1,
                MAX_INSTRUCTIONS_PER_WOKEN_DATAGRAM,
                ALLOCATIONS_PER_DATAGRAM,
                MAX_CLOCK_READINGS_PER_WOKEN_DATAGRAM,
            ),
        ):
            floor, tool = (
                record_counts(command, place, burst, *LENGTHS, *MIX_OPTIONS)
                for command in ([RECORD_FLOOR], record)
            )
            problems += check(name, floor, tool, *limits)
        floor, tool = (
            replay_counts(command, place, *LENGTHS, MIX_TYPES)
            for command in ([REPLAY_FLOOR], replay)
        )
        problems += check(
            "record that is due",
            floor,
            tool,
            MAX_INSTRUCTIONS_PER_RECORD,
            ALLOCATIONS_PER_RECORD,
            MAX_CLOCK_READINGS_PER_RECORD,
        )
    if problems:
        sys.exit("\n".join(problems))


if __name__ == "__main__":
    main()
