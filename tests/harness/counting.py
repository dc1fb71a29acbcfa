"""Counts what carries no noise: instructions in user space, allocations and system calls, as
differences between two lengths, so that start and end do not count."""

import os
import re
from collections import Counter, namedtuple

from harness import codec
from harness.measuring import (
    BURST,
    OTHER_CORE,
    RECORD_FLOOR,
    REPLAY_FLOOR,
    TOOL_CORE,
    Recorder,
    Replayed,
    cost,
    folder,
    write_log,
)
from harness.mix import MIX_OPTIONS, MIX_TYPES, RECORDS_A_SECOND
from harness.places import LOG_TOOL

ALLOCATIONS = {"malloc", "calloc", "realloc", "aligned_alloc", "posix_memalign", "memalign"}
CLOCK_CALL = "clock_gettime"
WAITS = {"select", "pselect6", "_newselect", "pselect6_time64"}


class Counts:
    """Of one datagram or record: instructions in user space, allocations, and the system calls by
    their name: those that read the clock, and all others with the waits as one."""

    def __init__(self, instructions, allocations, calls):
        self.instructions = instructions
        self.allocations = allocations
        self.clock_readings = sum(n for name, n in calls.items() if name.startswith(CLOCK_CALL))
        self.calls = Counter()
        for name, count in calls.items():
            if not name.startswith(CLOCK_CALL):
                self.calls["wait" if name in WAITS else name] += count

    def further_calls(self, floor):
        """The most by which a system call exceeds the floor's."""
        return max(count - floor.calls[name] for name, count in self.calls.items())


def _callgrind(output):
    return ["valgrind", "-q", "--tool=callgrind", f"--callgrind-out-file={output}"]


def _read_callgrind(output):
    """Instructions and allocations of a whole run."""
    instructions = 0
    allocations = 0
    names = {}
    is_allocation = False
    with open(output, encoding="utf-8") as file:
        for line in file:
            if line.startswith("totals:"):
                instructions = int(line.split()[1])
            elif line.startswith(("fn=", "cfn=")):
                number, name = re.match(r"c?fn=\((\d+)\)(?: (.*))?", line).groups()
                name = names.setdefault(number, name)
                is_allocation = line[0] == "c" and name.split("'")[0] in ALLOCATIONS
            elif line.startswith("calls=") and is_allocation:
                allocations += int(line[6:].split()[0])
    return instructions, allocations


def _strace(output):
    return ["strace", "-c", "-U", "name,calls", "-o", output]


def _read_strace(output):
    with open(output, encoding="ascii") as file:
        rows = (line.split() for line in file)
        calls = {row[0]: int(row[1]) for row in rows if len(row) == 2 and row[1].isdigit()}
    del calls["total"]
    return Counter(calls)


def _difference(run, short, long):
    """Runs both lengths under both observers."""
    results = []
    with folder() as place:
        output = os.path.join(place, "counts")
        for length in (short, long):
            run(length, _callgrind(output), False)
            instructions, allocations = _read_callgrind(output)
            run(length, _strace(output), True)
            results.append((instructions, allocations, _read_strace(output)))
    (i1, a1, calls1), (i2, a2, calls2) = results
    count = long - short
    calls = {name: (calls2[name] - calls1[name]) / count for name in sorted(calls1 | calls2)}
    return Counts(
        (i2 - i1) / count, (a2 - a1) / count, {name: c for name, c in calls.items() if c > 0.0005}
    )


def record_counts(command, burst, short, long, *options):
    def run(length, wrapper, is_child):
        core = TOOL_CORE if burst > 1 else OTHER_CORE
        with folder() as place:
            with Recorder(command, place, wrapper, is_child=is_child) as recorder:
                cost(recorder, length, "--warm-up", 0, "--burst", burst, *options, core=core)
                recorder.end()

    return _difference(run, short, long)


def replay_counts(command, short, long, types=(codec.ImuData,)):
    def run(length, wrapper, _):
        with folder() as place:
            log = write_log(place, length, types)
            Replayed(command, log, wrapper=wrapper).require_all(length)

    return _difference(run, short, long)


# What a datagram or record of a drive may need: a little more than it does.
Limits = namedtuple("Limits", "instructions allocations clock_readings")
FURTHER_CALLS = 0.01  # than the floor makes

# The allocations are the snapshots of the observers: of the reader's and, in a replay, of the
# delay's too. The clock is read once a pass and once a hello, or once a record.
BURSTS = {
    f"recorded, bursts of {BURST}": (BURST, Limits(1000, 1, 0.04)),
    "recorded, woken for each": (1, Limits(1340, 1, 1.03)),
}
ALL_DUE = {"replayed, all due": Limits(1350, 2, 1.01)}


def count_drive(short_s, long_s, tool=LOG_TOOL):
    """The name, the limits and the counts of floor and tool of each kind of run."""
    lengths = short_s * RECORDS_A_SECOND, long_s * RECORDS_A_SECOND
    for name, (burst, limits) in BURSTS.items():
        commands = [RECORD_FLOOR], [tool]
        yield name, limits, *(record_counts(c, burst, *lengths, *MIX_OPTIONS) for c in commands)
    for name, limits in ALL_DUE.items():
        commands = [REPLAY_FLOOR], [tool, "-r"]
        yield name, limits, *(replay_counts(c, *lengths, MIX_TYPES) for c in commands)
