"""Peak of the resident memory, in KiB, by the number of records. It scatters with the pages of the
libraries that happen to be in memory, and does not grow."""

from harness.figures import Figures, arguments
from harness.measuring import RECORD_FLOOR, JudgedReplay, Recorder, draining, folder, held_log

LENGTHS = (10**4, 10**5, 10**6, 3 * 10**6)


def recording_peak(command, length):
    with folder() as place, Recorder(command, place) as recorder:
        draining(recorder, length)
        peak = recorder.peak_kib()
        recorder.end()
    return peak


def replaying_peak(tool, length):
    replay = JudgedReplay(held_log(length), tool=tool)
    if replay.problems():
        raise RuntimeError(f"replay of {length}: {replay.problems()}")
    return replay.peak_kib


def rows(tool, lengths):
    for length in lengths:
        floor = recording_peak([RECORD_FLOOR], length)
        yield f"{length:,}", floor, recording_peak([tool], length), replaying_peak(tool, length)


def main():
    options = arguments(__doc__)
    figures = Figures("memory", __doc__, is_written=options.is_written)
    columns = ("floor, recording", "recording", "replaying")
    figures.table("records", columns, rows(options.tool, LENGTHS[: 2 if options.quick else None]))
    figures.write()


if __name__ == "__main__":
    main()
