"""Processor time of log_tool and of the floor, which does the same work at the cost of the bare
system calls, in ns per datagram or record. Both run in turn, in alternating order, in new processes
each round; a ratio is taken round by round."""

from harness.figures import Figures, Ratio, arguments, medians
from harness.measuring import (
    BURST,
    OTHER_CORE,
    RECORD_FLOOR,
    REPLAY_FLOOR,
    Recorder,
    draining,
    folder,
    interleaved,
    replaying,
    woken,
)


def recorded(tool, number, drained, wakes):
    """What floor and tool need under each kind of load, in the processes of one round."""
    runs = (
        lambda recorder: draining(recorder, drained),
        lambda recorder: woken(recorder, wakes),
        lambda recorder: woken(recorder, wakes, OTHER_CORE),
    )
    with (
        folder() as floor_place,
        folder() as tool_place,
        Recorder([RECORD_FLOOR], floor_place) as floor,
        Recorder([tool], tool_place) as recorder,
    ):
        pair = (floor, recorder)
        results = [[run(one) for one in pair[:: -1 if number % 2 else 1]] for run in runs]
        floor.end()
        recorder.end()
    return [result[:: -1 if number % 2 else 1] for result in results]


def main():
    options = arguments(__doc__)
    rounds = 5 if options.quick else 15
    drained, wakes, records = (64000, 3000, 50000) if options.quick else (320000, 20000, 300000)
    figures = Figures("cpu", __doc__, is_written=options.is_written)
    recordings = [recorded(options.tool, number, drained, wakes) for number in range(rounds)]
    with folder() as place:
        replayed = interleaved(
            rounds,
            lambda: replaying([REPLAY_FLOOR], place, records),
            lambda: replaying([options.tool, "-r"], place, records),
        )
    names = (
        (f"recorded, bursts of {BURST}", "1.30"),
        ("recorded, woken for each", "1.20"),
        ("the same, by another core", ""),
        ("replayed, all due", "1.20"),
    )
    figures.table(
        f"{rounds} rounds",
        ("floor", "tool", "ratio: median (least to most)", "aim"),
        (
            (name, *medians(pairs), Ratio(pairs), aim)
            for (name, aim), pairs in zip(names, (*zip(*recordings), replayed))
        ),
    )
    figures.write()


if __name__ == "__main__":
    main()
