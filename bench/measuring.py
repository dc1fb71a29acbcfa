"""Runs a recorder or a replay, log_tool or a floor, and measures it.

Of a machine's processors the last one is the measured program's, the first one that of the programs
around it. Differences between two lengths are taken where start and end would count in.
"""

import json
import os
import re
import shutil
import signal
import subprocess
import tempfile
import time
from collections import Counter

import replay_bench
from replay_bench import BUILD, LOG_TOOL

from harness import codec
from harness import program
from harness.device import Device
from harness.program import Program
from harness.recording import udp_socket

RECORD_FLOOR = os.path.join(BUILD, "bench", "record_floor")
REPLAY_FLOOR = os.path.join(BUILD, "bench", "replay_floor")
LOAD = os.path.join(BUILD, "bench", "load")
MICRO = os.path.join(BUILD, "bench", "micro")
SINK = os.path.join(BUILD, "bench", "sink")

program.TIMEOUT_S = 600  # for the longest load

_CORES = sorted(os.sched_getaffinity(0))
TOOL_CORE = _CORES[-1]
OTHER_CORE = _CORES[0]

BURST = 64
POLL_S = 0.005

# Ahead of a busy machine's rest, where that is allowed.
_IS_FAVOURED = os.geteuid() == 0
_FAVOURED = ["chrt", "--fifo", "10"] if _IS_FAVOURED else []
_RECORDER_PRIORITY = 5


def folder():
    """A temporary one; in memory, where there is such a place: the disk is not to be measured."""
    place = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
    return tempfile.TemporaryDirectory(prefix="log_tool-bench-", dir=place)


def on_core(core, *command):
    return ["taskset", "-c", str(core), *_FAVOURED, *command]


def cpu_ns(pid):
    """The processor time of a process's threads: exact while they sleep, and when it ended."""
    total = 0
    for thread in os.listdir(f"/proc/{pid}/task"):
        with open(f"/proc/{pid}/task/{thread}/schedstat", encoding="ascii") as stat:
            total += int(stat.read().split()[0])
    return total


def _wait_for(condition):
    while not condition():
        time.sleep(POLL_S)


def _child(pid):
    with open(f"/proc/{pid}/task/{pid}/children", encoding="ascii") as children:
        return next((int(child) for child in children.read().split()), None)


def start_quietly(core, command, place):
    """A program whose output nobody reads: a pipe would fill up."""
    return subprocess.Popen(
        on_core(core, *command),
        cwd=place,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.DEVNULL,
    )


class Receiver:
    """A running program that receives on a UDP port until SIGINT, for a load to send to."""

    def __init__(self, command, place, is_child=False, core=TOOL_CORE):
        self._program = start_quietly(core, command, place)
        self._is_child = is_child
        self.pid = self._program.pid
        _wait_for(self._find_port)

    def _find_port(self):
        if self._program.poll() is not None:
            raise RuntimeError(f"{self._program.args} has ended")
        try:
            if self._is_child:  # its parent may have had others before
                self.pid = _child(self._program.pid)
            self.port = udp_socket(self.pid).port
        except (LookupError, OSError):
            return False
        return self.port != 0

    def load(self, count, *options, core=OTHER_CORE):
        """What the load generator reports of so many datagrams."""
        # On the same core a load is to finish its burst before the recorder wakes up.
        if _IS_FAVOURED:
            os.sched_setscheduler(self.pid, os.SCHED_FIFO, os.sched_param(_RECORDER_PRIORITY))
        else:
            os.sched_setscheduler(self.pid, os.SCHED_BATCH, os.sched_param(0))
        return run_load(self.port, count, *options, core=core)

    def peak_kib(self):
        return replay_bench.peak_memory(self)

    def end(self):
        os.kill(self.pid, signal.SIGINT)
        return self._program.wait()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self._program.poll() is None:
            self._program.kill()
            self._program.wait()


class Recorder(Receiver):
    """log_tool or its floor, recording, and a device that only takes its hellos."""

    def __init__(self, command, place, wrapper=(), is_child=False, core=TOOL_CORE):
        self._device = Device()
        device = ["-a", "127.0.0.1", "-p", str(self._device.port)]
        log = os.path.join(place, "log")
        super().__init__([*wrapper, *command, *device, log], place, is_child, core)

    def end(self):
        status = super().end()
        if status != 0:
            raise RuntimeError(f"exit status {status}")
        return status

    def __exit__(self, *_):
        super().__exit__()
        self._device.close()


def run_load(port, count, *options, core=OTHER_CORE):
    """A load that nobody asked for with a hello."""
    with folder() as place:
        load = Program(
            on_core(core, LOAD, "--to", str(port), "--count", str(count), *options), place
        )
        if load.wait() != 0:
            raise RuntimeError(load.errors)
        report = json.loads(load.lines[-1])
        load.close()
    if report["dropped"]:
        raise RuntimeError(f"{report['dropped']} datagrams dropped")
    return report


def draining(recorder, count):
    """ns per datagram when each wake-up finds a burst in the queue."""
    report = recorder.load(count, "--burst", str(BURST), core=TOOL_CORE)
    return report["cpuNs"] / count


def woken(recorder, count, core=TOOL_CORE):
    """ns per datagram when each one wakes the recorder. From another core it includes the way out
    of that core's idleness, which on a virtual machine outweighs all else."""
    report = recorder.load(count, "--warm-up", "100", "--burst", "1", core=core)
    return report["cpuNs"] / count


def replay_to(port, command, log):
    return [*command, "-a", "127.0.0.1", "-p", str(port), log]


class Replayed:
    """A replay of a log file from start to end, to a sink. `arguments` makes the command line from
    the sink's port, the command and the log."""

    def __init__(self, command, log, stamps=None, wrapper=(), arguments=replay_to):
        with folder() as place:
            options = ["--stamps", stamps] if stamps else []
            sink = Program(on_core(OTHER_CORE, SINK, *options), place)
            port = int(sink.read_line().removeprefix("listening on "))
            line = arguments(port, [*wrapper, *command], log)
            replay = Program(on_core(TOOL_CORE, *line), place)
            # Not collected yet: /proc still knows what it used.
            os.waitid(os.P_PID, replay.pid, os.WEXITED | os.WNOWAIT)
            self.cpu_ns = cpu_ns(replay.pid)
            status = replay.wait()
            errors = replay.errors
            replay.close()
            sink.interrupt()
            sink.wait()
            report = json.loads(sink.lines[-1])
            sink.close()
        if status != 0 or report["dropped"]:
            raise RuntimeError(f"exit status {status}, {report}: {errors}")
        self.received = report["received"]


def write_log(place, count, types=(codec.ImuData,)):
    """A log of so many records that are all due at once."""
    name = os.path.join(place, f"log-{count}")
    if not os.path.exists(name):
        with open(name, "wb") as file:
            file.write(codec.numbered_log(0, count, types))
    return name


def replaying(command, place, count):
    """ns per record that is due."""
    whole, none = (Replayed(command, write_log(place, length)) for length in (count, 0))
    if (whole.received, none.received) != (count, 0):
        raise RuntimeError(f"{whole.received} of {count} records arrived")
    return (whole.cpu_ns - none.cpu_ns) / count


# What carries no noise: instructions, allocations and system calls.

ALLOCATIONS = {"malloc", "calloc", "realloc", "aligned_alloc", "posix_memalign", "memalign"}


class Counts:
    """Of one datagram or record: instructions in user space, allocations, and the system calls by
    their name."""

    def __init__(self, instructions, allocations, calls):
        self.instructions = instructions
        self.allocations = allocations
        self.calls = calls


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


def _difference(run, place, short, long):
    """Runs both lengths under both observers."""
    output = os.path.join(place, "counts")
    results = []
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


def record_counts(command, place, burst, short, long, *options):
    def run(length, wrapper, is_child):
        core = TOOL_CORE if burst > 1 else OTHER_CORE
        with Recorder(command, place, wrapper, is_child) as recorder:
            recorder.load(length, "--warm-up", "0", "--burst", str(burst), *options, core=core)
            recorder.end()

    return _difference(run, place, short, long)


def replay_counts(command, place, short, long, types=(codec.ImuData,)):
    def run(length, wrapper, _):
        with folder() as logs:
            Replayed(command, write_log(logs, length, types), wrapper=wrapper)

    return _difference(run, place, short, long)


def require(*tools):
    missing = [tool for tool in tools if not shutil.which(tool)]
    if missing:
        raise SystemExit(f"missing: {', '.join(missing)}")


def tool_commands(tool=LOG_TOOL):
    """The measured recorder and replay."""
    return [tool], [tool, "-r"]
