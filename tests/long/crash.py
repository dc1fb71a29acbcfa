#!/usr/bin/env python3
"""kill -9 at random moments of a recording: what is left is the log of the first records sent, with
at most one frame cut, and lacks no more than the C library's buffer and the record in hand. A
replay of it sends every whole record and ends at the cut.
"""

import bisect
import itertools
import os
import random
import signal
import sys

from harness import codec
from harness.codec import GenericData, GnssData, datagram, frame
from harness.mix import MIX_TYPES, RECORDS_A_SECOND
from harness.proving import Report, arguments, prepared, spread
from harness.recording import Recording, udp_socket
from harness.replaying import ReplayTest

BYTES_A_SECOND = sum(len(frame(type_())) for type_ in MIX_TYPES)
LARGEST_BUFFER = 8192  # of the C library, which takes the file's block size if that is smaller
LARGEST_FRAME = len(frame(GnssData()))
SMALLEST_FRAME = len(frame(GenericData()))

MAX_RECORDS = 2000
PORTION = 5
REPLAYED = 100


def mixed_records():
    """Types at their usual rates, all due at once."""
    types = random.Random(1).sample(MIX_TYPES, len(MIX_TYPES))
    return [types[i % len(types)].numbered(0, i) for i in range(MAX_RECORDS + PORTION)]


RECORDS = mixed_records()
DATAGRAMS = list(map(datagram, RECORDS))
FRAMES = list(map(frame, RECORDS))
LOG = b"".join(FRAMES)
SIZES = list(itertools.accumulate(map(len, FRAMES), initial=0))  # of the log of the first records


def stream_until_killed(recording, rng):
    """Sends in small portions, each once the queue is empty, and kills. How many records the
    program has certainly taken."""
    taken = 0
    end = rng.randrange(MAX_RECORDS)
    while taken < end:
        sent = len(recording.device.sent)
        recording.device.send(*DATAGRAMS[sent : sent + PORTION])
        if sent + PORTION >= end and rng.random() < 0.5:
            break  # in the middle of its work
        while udp_socket(recording.program.pid).queued:
            pass
        taken = len(recording.device.sent)
    recording.program.signal(signal.SIGKILL)
    return taken


def check_replay(test, log, first, whole):
    """Replays the end of a cut log, no more than the device's queue holds."""
    log = log[SIZES[first] :]
    sent, text = codec.replay(log)
    assert sent == DATAGRAMS[first:whole]
    program = test.replay(log)
    test.assert_end(program, text.splitlines())
    test.assert_received(sent)


def kill_once(seed):
    """How many bytes and records the log of one run holds, and what it lacks of those taken."""
    rng = random.Random(seed)
    with prepared(ReplayTest) as test:
        recording = Recording(test, log="killed")
        recording.connect()
        taken = stream_until_killed(recording, rng)
        assert recording.program.wait() == -signal.SIGKILL, "it has ended by itself"
        log = test.read_file("killed")
        assert log == LOG[: len(log)], "the log is not the first of what was sent"
        whole = bisect.bisect_right(SIZES, len(log)) - 1
        check_replay(test, log, max(0, whole - REPLAYED), whole)
        return {
            "recorded": whole,
            "cut": len(log) > SIZES[whole],
            "bytes lost": max(0, SIZES[taken] - len(log)),
            "records lost": max(0, taken - whole),
            "buffer": min(os.stat(test.path("killed")).st_blksize, LARGEST_BUFFER),
        }


def main():
    options = arguments(__doc__, runs=200, processes=4, seed=random.randrange(1 << 32))
    print(f"--seed {options.seed}", file=sys.stderr)
    seeds = [f"{options.seed} {i}" for i in range(options.runs)]
    results = spread(kill_once, seeds, options.processes)

    (buffer,) = {result["buffer"] for result in results}
    window = buffer + LARGEST_FRAME
    most = {name: max(result[name] for result in results) for name in results[0]}
    report = Report()
    report.exactly("kill -9: logs that are the first records sent", len(results), options.runs)
    report.row("  whole records in them", sum(result["recorded"] for result in results))
    report.row("  logs that end within a frame", sum(result["cut"] for result in results))
    report.at_most("  lost of what was taken, bytes, at the most", most["bytes lost"], window)
    report.at_most(
        "  lost of what was taken, records, at the most",
        most["records lost"],
        window // SMALLEST_FRAME + 1,
    )
    report.row("  window at the usual rates, s", f"{window / BYTES_A_SECOND:.2f}")
    report.row(
        "  window at the usual rates, records", window * RECORDS_A_SECOND // BYTES_A_SECOND + 1
    )
    report.end()


if __name__ == "__main__":
    main()
