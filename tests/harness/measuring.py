"""Runs a recorder or a replay, log_tool or a floor, and measures it. A floor does the same work at
the cost of the bare system calls: it is what recording and replaying cost at least.

Of a machine's processors the last one is the measured program's, the first one that of the programs
around it. As root these go ahead of whatever else the machine does.
"""

import contextlib
import json
import os
import shutil
import signal
import subprocess
import tempfile
import time

from harness import codec
from harness.device import Device
from harness.places import BUILD, DEVICE_SIM, LOG_TOOL
from harness.program import Program
from harness.recording import udp_socket

RECORD_FLOOR = str(BUILD / "bench" / "record_floor")
REPLAY_FLOOR = str(BUILD / "bench" / "replay_floor")
FEEDER = str(BUILD / "tests" / "harness" / "feeder")
SINK = str(BUILD / "tests" / "harness" / "sink")

RECORDERS = ([RECORD_FLOOR], [LOG_TOOL])
REPLAYS = ([REPLAY_FLOOR], [LOG_TOOL, "-r"])

_CORES = sorted(os.sched_getaffinity(0))
TOOL_CORE = _CORES[-1]
OTHER_CORE = _CORES[0]
ANY_CORE = None  # also at the usual priority: for runs of minutes, and such as measure no time

_IS_FAVOURED = os.geteuid() == 0
_FAVOURED = ["chrt", "--fifo", "10"] if _IS_FAVOURED else []
_RECORDER_PRIORITY = 5

BURST = 64
LONG_S = 600  # for the longest run
POLL_S = 0.005
SAMPLE_S = 0.02


@contextlib.contextmanager
def folder(in_memory=True):
    """A temporary one. In memory, where there is such a place, unless its files are too large: the
    disk is not to be measured."""
    place = "/dev/shm"
    if not in_memory or not os.access(place, os.W_OK):
        place = BUILD
    path = tempfile.mkdtemp(prefix="log_tool-", dir=place)
    try:
        yield path
    finally:
        shutil.rmtree(path)


def require(*tools):
    missing = [tool for tool in tools if not shutil.which(tool)]
    if missing:
        raise SystemExit(f"missing: {', '.join(missing)}")


def on_core(core, *command):
    return [*command] if core is ANY_CORE else ["taskset", "-c", str(core), *_FAVOURED, *command]


def interleaved(rounds, floor, tool):
    """The results of both, run in turn and in alternating order."""
    results = []
    for number in range(rounds):
        if number % 2:
            second = tool()
            results.append((floor(), second))
        else:
            results.append((floor(), tool()))
    return results


def cpu_ns(pid):
    """The processor time of a process's threads: exact while they sleep, and when it ended."""
    total = 0
    for thread in os.listdir(f"/proc/{pid}/task"):
        with open(f"/proc/{pid}/task/{thread}/schedstat", encoding="ascii") as stat:
            total += int(stat.read().split()[0])
    return total


def memory_kib(pid, name):
    """The resident memory now (VmRSS) or its peak (VmHWM); 0 when the process has ended."""
    with contextlib.suppress(FileNotFoundError, ProcessLookupError):
        with open(f"/proc/{pid}/status", encoding="ascii") as status:
            for line in status:
                if line.startswith(name + ":"):
                    return int(line.split()[1])
    return 0


class Memory:
    """Samples of the memory that a process has resident, in KiB."""

    def __init__(self):
        self.peak = 0
        self.samples = []

    def sample(self, pid):
        self.peak = max(self.peak, memory_kib(pid, "VmHWM"))
        if size := memory_kib(pid, "VmRSS"):  # else it has just ended
            self.samples.append(size)

    def sample_while(self, pid, is_running):
        while is_running():
            time.sleep(SAMPLE_S)  # first: it has not yet started
            self.sample(pid)


def _child(pid):
    with open(f"/proc/{pid}/task/{pid}/children", encoding="ascii") as children:
        return next((int(child) for child in children.read().split()), None)


def start_quietly(core, command, place, output=subprocess.DEVNULL):
    """A program whose output nobody reads: a pipe would fill up."""
    return subprocess.Popen(
        on_core(core, *command), cwd=place, stdin=subprocess.DEVNULL, stdout=output
    )


class Receiver:
    """A running program that receives on a UDP port until SIGINT, for the feeder to send to. With
    `is_child` its command starts the program that receives."""

    def __init__(self, command, place, is_child=False, core=TOOL_CORE, output=subprocess.DEVNULL):
        self._program = start_quietly(core, command, place, output)
        self._is_child = is_child
        self._core = core
        self.pid = self._program.pid
        while not self._find_port():
            time.sleep(POLL_S)

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

    def _favour(self):
        # On the same core a burst is to be complete before the recorder wakes up.
        if _IS_FAVOURED:
            os.sched_setscheduler(self.pid, os.SCHED_FIFO, os.sched_param(_RECORDER_PRIORITY))
        else:
            os.sched_setscheduler(self.pid, os.SCHED_BATCH, os.sched_param(0))

    def feed(self, count, *options, core=OTHER_CORE, memory=None):
        """What the feeder reports after so many datagrams, which nobody asked for with a hello."""
        if self._core is not ANY_CORE:
            self._favour()
        command = [FEEDER, "--to", self.port, "--count", count, *options]
        with folder() as place:
            feeder = Program(on_core(core, *map(str, command)), place, timeout_s=LONG_S)
            if memory:
                memory.sample_while(self.pid, feeder.is_running)
            if feeder.wait() != 0:
                raise RuntimeError(feeder.errors)
            report = json.loads(feeder.lines[-1])
            feeder.close()
        return report

    def peak_kib(self):
        return memory_kib(self.pid, "VmHWM")

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
    """log_tool or its floor, recording into `log`, and a device that only takes its hellos."""

    def __init__(self, command, place, wrapper=(), **options):
        self._device = Device()
        device = ["-a", "127.0.0.1", "-p", str(self._device.port)]
        self.log = os.path.join(place, "log")
        super().__init__([*wrapper, *command, *device, self.log], place, **options)

    def end(self):
        status = super().end()
        if status != 0:
            raise RuntimeError(f"exit status {status}")
        return status

    def __exit__(self, *_):
        super().__exit__()
        self._device.close()


def cost(recorder, count, *options, core=OTHER_CORE):
    """ns per datagram that the feeder sends."""
    report = recorder.feed(count, *options, core=core)
    if report["dropped"]:
        raise RuntimeError(f"{report['dropped']} datagrams dropped")
    return report["cpuNs"] / count


def draining(recorder, count):
    """ns per datagram when each wake-up finds a burst in the queue."""
    return cost(recorder, count, "--burst", BURST, core=TOOL_CORE)


def woken(recorder, count, core=TOOL_CORE):
    """ns per datagram when each one wakes the recorder. From another core it includes the way out
    of that core's idleness, which on a virtual machine outweighs all else."""
    return cost(recorder, count, "--warm-up", 100, "--burst", 1, core=core)


def replay_to(port, command, log):
    return [*command, "-a", "127.0.0.1", "-p", str(port), log]


class Replayed:
    """A replay of a log file from start to end, to a sink. `arguments` makes the command line from
    the sink's port, the command and the log."""

    def __init__(
        self,
        command,
        log,
        *sink_options,
        wrapper=(),
        arguments=replay_to,
        cores=(TOOL_CORE, OTHER_CORE),
        memory=None,
    ):
        tool_core, sink_core = cores
        with folder() as place:
            sink = Program(on_core(sink_core, SINK, *sink_options), place, timeout_s=LONG_S)
            port = int(sink.read_line().removeprefix("listening on "))
            line = arguments(port, [*wrapper, *command], log)
            replay = Program(on_core(tool_core, *line), place, timeout_s=LONG_S)
            if memory:
                memory.sample_while(replay.pid, lambda: not self._has_ended(replay, os.WNOHANG))
            # Not collected yet: /proc still knows what it used.
            self._has_ended(replay)
            self.cpu_ns = cpu_ns(replay.pid)
            status = replay.wait()
            self.output = replay.lines
            errors = replay.errors
            replay.close()
            sink.interrupt()
            sink.wait()
            self.report = json.loads(sink.lines[-1])
            sink.close()
        if status != 0:
            raise RuntimeError(f"exit status {status}, {self.report}: {errors}")

    @staticmethod
    def _has_ended(replay, flags=0):
        return os.waitid(os.P_PID, replay.pid, os.WEXITED | os.WNOWAIT | flags) is not None

    def require_all(self, count):
        if (self.report["received"], self.report["dropped"]) != (count, 0):
            raise RuntimeError(f"not all of {count} records have arrived: {self.report}")


def write_log(place, count, types=(codec.ImuData,)):
    """A log of so many records that are all due at once."""
    name = os.path.join(place, f"log-{count}")
    if not os.path.exists(name):
        with open(name, "wb") as file:
            file.write(codec.numbered_log(0, count, types))
    return name


def replaying(command, place, count, **options):
    """ns per record that is due: start and end do not count."""
    few = 10
    times = []
    for length in (few, count + few):
        replayed = Replayed(command, write_log(place, length), **options)
        replayed.require_all(length)
        times.append(replayed.cpu_ns)
    return (times[1] - times[0]) / count


class JudgedReplay:
    """A log_tool that has replayed a log of this content to device_sim, which compares."""

    def __init__(self, log, stack_kib=None, tool=LOG_TOOL):
        with folder(in_memory=False) as place:
            with open(os.path.join(place, "log"), "wb") as file:
                file.write(log)
            # Ahead of the tool, which does not wait when the device's queue is full.
            favour = ["nice", "-n", "-10"] if _IS_FAVOURED else []
            judge = ["--expect", "log", "--idle-timeout", "2", "--json", "report"]
            command = [*favour, DEVICE_SIM, "--bind", "127.0.0.1", *judge]
            device = Program(command, place, timeout_s=LONG_S)
            port = device.read_line().removeprefix("listening on ")
            limits = ["prlimit", f"--stack={stack_kib * 1024}"] if stack_kib else []
            replay = Program([*limits, *replay_to(port, [tool, "-r"], "log")], place)
            start = time.monotonic()
            memory = Memory()
            memory.sample_while(replay.pid, replay.is_running)
            self.seconds = time.monotonic() - start
            self.peak_kib = memory.peak
            self.status = replay.wait()
            self.output = replay.lines
            self.is_complete = device.wait() == 0
            with open(os.path.join(place, "report"), encoding="ascii") as file:
                self.received = json.load(file)["received"]

    def problems(self):
        """What went wrong, in words."""
        total = self.received["total"]
        counts = {name: total[name] for name in ("missing", "unexpected", "outOfOrder")}
        counts |= {name: self.received[name] for name in ("other", "overflows")}
        found = [f"{name}: {count}" for name, count in counts.items() if count]
        if self.status != 0:
            found.append(f"exit status {self.status}")
        if self.output != ["End of file reached"]:
            found.append(f"output {self.output}")
        if not found and not self.is_complete:
            found.append("not the expected records")
        return found


HOLD_MS = 300


def held_log(count):
    """A log of so many records, all due at once but the last one, which holds the replay so long
    that its memory can be looked at."""
    return codec.numbered_log(0, count - 1) + codec.frame(codec.GenericData.numbered(HOLD_MS, 0))
