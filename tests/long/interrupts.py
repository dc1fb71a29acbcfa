#!/usr/bin/env python3
"""CTRL-C at random moments of the start-up and of the stream, while recording and while replaying.

Recording: the exit status is 0, and the log is the first records of what was sent, whole, with all
that had been sent before the signal. Replaying: the exit status is 0, and what was sent is the
first records of the log, whole. Before the program catches the signal, which is the first thing it
does after reading its command line, CTRL-C ends it the usual way; such runs leave no log and are
repeated.

Then CTRL-C aimed at chosen instructions, of all there are and of those of the loop and its lists,
with the C library checking its memory. The handler does no more than its few system calls.
"""

import itertools
import os
import random
import signal
import sys
import time

from harness.codec import datagram, frame
from harness.proving import Report, arguments, prepared, spread
from harness.recording import INTERRUPTED, PACKET_HELLO, Recording, enlarge_queue
from harness.replaying import HOUR_MS, ReplayTest, log_of, numbered_records
from harness.stepping import SteppedTest, list_work

CONNECTED_S = 0.0005  # between two looks whether the program listens
START_UP_S = 0.004  # more than it takes
STREAM_S = 0.03
SHARE = 25  # runs of a job

RECORDS = numbered_records(range(3000))
DATAGRAMS = list(map(datagram, RECORDS))
LOG = log_of(RECORDS)
# The sizes of the logs that end with a whole frame, and how many records they hold.
WHOLE = {
    size: count
    for count, size in enumerate(itertools.accumulate(map(len, map(frame, RECORDS)), initial=0))
}


# The handler's. It may also ask for the time, where the kernel maps no clock into the process.
CALLS = ("rt_sigaction", "setitimer", "rt_sigreturn")


def catches_interrupt(program):
    """Whether the program has come so far that CTRL-C no longer ends it the usual way."""
    with open(f"/proc/{program.pid}/status", encoding="ascii") as status:
        masks = dict(line.split(":\t") for line in status)
    return bool(int(masks["SigCgt"], 16) & 1 << signal.SIGINT - 1)


def wait_until(moment):
    time.sleep(max(0, moment - time.monotonic()))


class Stream:
    """Sends in random portions."""

    def __init__(self, recording, rng):
        self._recording = recording
        self._rng = rng
        self._device = recording.device

    @property
    def sent(self):
        return len(self._device.sent)

    def send(self, count):
        self._device.send(*DATAGRAMS[self.sent : self.sent + count])

    def connect(self, until):
        while time.monotonic() < until:
            try:
                self._recording.take_over([])
                enlarge_queue(self._recording.program.pid)  # the runs share the processor
                return True
            except (LookupError, FileNotFoundError, ProcessLookupError):
                wait_until(min(until, time.monotonic() + CONNECTED_S))
        return False

    def run(self, until):
        if not self.connect(until):
            return
        while time.monotonic() < until and self.sent < len(DATAGRAMS) - 100:
            self.send(self._rng.choice((1, 1, 2, 5, 20)))
            wait_until(min(until, time.monotonic() + self._rng.choice((0, 0, 0.0002, 0.002))))
        wait_until(until)


def random_length(rng):
    """How long a run lasts before CTRL-C: every fourth does not leave the start-up."""
    return rng.uniform(0, START_UP_S if rng.random() < 0.25 else STREAM_S)


def check_status(program, caught):
    """Whether CTRL-C came late enough to count; then the run must have ended well."""
    status = program.wait()
    if status == -signal.SIGINT:
        assert not caught, "ended by a signal that it catches"
        assert program.lines == [], program.lines
        return False
    assert status == 0, f"status {status}: {program.errors}"
    assert program.lines[-2:] == INTERRUPTED, program.lines
    assert set(program.lines[:-2]) <= {PACKET_HELLO}, program.lines
    assert (program.unfinished_line, program.errors) == ("", "")
    return True


def record_once(rng):
    """What one run in record mode came to; None when CTRL-C came too early to count."""
    with prepared(ReplayTest) as test:
        recording = Recording(test)
        stream = Stream(recording, rng)
        stream.run(time.monotonic() + random_length(rng))
        caught = catches_interrupt(recording.program)
        received = stream.sent
        recording.program.interrupt()
        if received:
            stream.send(rng.randrange(20))

        if not check_status(recording.program, caught):
            assert not os.path.exists(test.path("log")), "ended the usual way, with a log open"
            return None
        log = test.read_file("log")
        assert len(log) in WHOLE, f"a log of {len(log)} bytes ends within a frame"
        assert log == LOG[: len(log)], "the log is not what was sent"
        return {
            "start-up": received == 0,
            "sent": received,
            "lost": max(0, received - WHOLE[len(log)]),
        }


def replay_once(rng):
    """What one run in replay mode came to; None when CTRL-C came too early to count."""
    with prepared(ReplayTest) as test:
        stamps = list(itertools.accumulate(rng.choices((0, 0, 1, 2), k=60)))
        records = numbered_records([*stamps, stamps[-1] + HOUR_MS])
        log = log_of(records)
        program = test.replay(log)
        wait_until(time.monotonic() + random_length(rng))
        caught = catches_interrupt(program)
        program.interrupt()

        counts = check_status(program, caught)
        received = [data for data, _ in test.device.received()]
        assert received == list(map(datagram, records[: len(received)])), "not the log's records"
        assert test.read_file("log") == log, "the log has changed"
        if not counts:
            assert not received, "ended the usual way while replaying"
            return None
        return {"sent": len(received)}


def run_share(job):
    """So many runs that count, and how many did not."""
    once, seed, count = job
    rng = random.Random(seed)
    results = []
    too_early = 0
    while len(results) < count:
        result = once(rng)
        if result is None:
            too_early += 1
        else:
            results.append(result)
    return results, too_early


def run_all(once, options):
    shares = [min(SHARE, options.runs - done) for done in range(0, options.runs, SHARE)]
    jobs = [(once, f"{options.seed} {i}", share) for i, share in enumerate(shares)]
    results = []
    too_early = 0
    for share, early in spread(run_share, jobs, options.processes):
        results += share
        too_early += early
    return results, too_early


def total(results, name):
    return sum(result[name] for result in results)


def step(job):
    run, aim = job
    with prepared(SteppedTest) as test:
        return run(test, aim)


def aim_all(report, name, run, options):
    """Runs under the stepper, struck at some of the instructions that there are."""
    rng = random.Random(f"{options.seed} {name}")
    for what, part in (("an instruction", ""), ("the loop's list work", list_work())):
        there_are = step((run, f"0{part}")).counted
        aims = [f"{rng.randint(1, there_are)}{part}" for _ in range(options.aims)]
        struck = spread(step, [(run, aim) for aim in aims], options.processes)
        report.exactly(f"CTRL-C aimed at {what} while {name}", len(struck), options.aims)
        if part:  # elsewhere the same one lies at another address in each run
            report.row("  different ones hit", len({steps.struck for steps in struck}))
        report.row("  instructions of a run", there_are)
        busy = sum(set(steps.calls) - {"clock_gettime"} != set(CALLS) for steps in struck)
        report.exactly("  of them with a handler that does more", busy, 0)


def main():
    options = arguments(__doc__, runs=1000, aims=100, processes=4, seed=random.randrange(1 << 32))
    print(f"--seed {options.seed}", file=sys.stderr)
    report = Report()

    recorded, too_early = run_all(record_once, options)
    report.exactly("CTRL-C while recording: runs that ended well", len(recorded), options.runs)
    report.row("  of them before the first datagram", total(recorded, "start-up"))
    report.row("  datagrams sent before it", total(recorded, "sent"))
    report.exactly("  of them not in the log", total(recorded, "lost"), 0)
    report.row("  ended the usual way, before it is caught", too_early)

    replayed, too_early = run_all(replay_once, options)
    report.exactly("CTRL-C while replaying: runs that ended well", len(replayed), options.runs)
    report.row("  records sent before it", total(replayed, "sent"))
    report.row("  ended the usual way, before it is caught", too_early)

    aim_all(report, "recording", SteppedTest.step_recording, options)
    aim_all(report, "replaying", SteppedTest.step_replay, options)
    report.end()


if __name__ == "__main__":
    main()
