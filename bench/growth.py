"""How cost grows, in ns of processor time: with the rate and the length of a recording and the
length of a replay, beside the floor; with observers, timers and descriptors by the
micro-benchmarks. The tool itself has one observer a type, one timer and one socket. At low rates
the way out of a virtual processor's idleness outweighs all else."""

import json

from harness.figures import Figures, Ratio, arguments, medians
from harness.measuring import (
    RECORD_FLOOR,
    REPLAY_FLOOR,
    TOOL_CORE,
    Program,
    Recorder,
    cost,
    draining,
    folder,
    interleaved,
    on_core,
    replaying,
)
from harness.places import BUILD

MICRO = str(BUILD / "bench" / "micro")
GROWING = {
    "notify": "notify so many observers",
    "insertTimer": "insert a timer after so many",
    "timerPass": "a pass of timers, none due",
    "dueTimerPass": "a pass of timers, one due",
    "socketPass": "a pass of the loop over so many sockets, one readable",
}
NUMBERS = (1, 4, 16, 64, 256, 1024)


def in_bursts(size):
    return lambda recorder: cost(recorder, 20000, "--burst", size, core=TOOL_CORE)


def at_rate(rate, seconds):
    return lambda recorder: cost(recorder, rate * seconds, "--rate", rate)


def of_length(length):
    return lambda recorder: draining(recorder, length)


def recorded(command, measure):
    """ns per datagram, in a new process."""
    with folder() as place, Recorder(command, place) as recorder:
        result = measure(recorder)
        recorder.end()
    return result


def replayed(command, length):
    with folder() as place:
        return replaying(command, place, length)


def micro_rows():
    with folder() as place:
        options = ["--benchmark_format=json", "--benchmark_min_time=0.1"]
        options.append(f"--benchmark_filter=^({'|'.join(GROWING)})/[0-9]")
        micro = Program(on_core(TOOL_CORE, MICRO, *options), place)
        if micro.wait() != 0:
            raise RuntimeError(micro.errors)
        results = json.loads("\n".join(micro.lines))["benchmarks"]
        micro.close()
    times = {
        result["run_name"]: f"{result['cpu_time']:.0f}"
        for result in results
        if result["run_type"] == "iteration"
    }
    for name, text in GROWING.items():
        yield text, *(times.get(f"{name}/{number}", "") for number in NUMBERS)


def main():
    options = arguments(__doc__)
    rounds, seconds = (1, 1) if options.quick else (3, 5)
    lengths = (10**4, 10**5) if options.quick else (10**4, 10**5, 10**6, 3 * 10**6)
    figures = Figures("growth", __doc__, is_written=options.is_written)
    record, replay = [options.tool], [options.tool, "-r"]

    def table(title, cases, measure, floor, tool):
        """A row for each case: its name and what `measure` takes of it."""
        rows = []
        for name, case in cases:
            pairs = interleaved(rounds, lambda: measure(floor, case), lambda: measure(tool, case))
            rows.append((name, *medians(pairs), Ratio(pairs)))
        figures.table(title, ("floor", "tool", "ratio: median (least to most)"), rows)

    bursts = [(size, in_bursts(size)) for size in (1, 4, 16, 64, 128)]
    table("recorded, by datagrams in a burst", bursts, recorded, [RECORD_FLOOR], record)
    rates = [(f"{rate:,}", at_rate(rate, seconds)) for rate in (500, 2000, 10000, 50000)]
    table("recorded, by datagrams a second", rates, recorded, [RECORD_FLOOR], record)
    records = [(f"{length:,}", of_length(length)) for length in lengths]
    table("recorded, by length", records, recorded, [RECORD_FLOOR], record)
    records = [(f"{length:,}", length) for length in lengths]
    table("replayed, by length", records, replayed, [REPLAY_FLOOR], replay)
    figures.table("by number", NUMBERS, micro_rows())
    figures.write()


if __name__ == "__main__":
    main()
