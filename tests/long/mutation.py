#!/usr/bin/env python3
"""Breaks src/ in small ways, one at a time, and counts how many of these mutants the tests find.

    scripts/prove.sh mutation [--list] [--all] [--only <part of a name>]... [--own-tests]
                              [--try-missed]

Works in copies of the tree below build/mutation, two at a time. A mutant is tried on the unit tests
of its layer, then of the layers above it, then on whole programs. The first failure, crash or run
over the time limit finds it; a failure must come twice, so that a busy machine finds nothing. One
that does not compile does not count. Prints a row of name, figure and bound; what was tried and
which mutants were missed goes to standard error. The exit status is 1 when too few are found, or
when one is missed without a reason in missed.txt. Those that have one count as missed without being
tried again: nothing takes longer than to find that no test fails.
"""

import argparse
import concurrent.futures
import os
import pathlib
import queue
import resource
import shutil
import signal
import subprocess
import sys
import threading
import time

from mutants import mutants_of

ROOT = pathlib.Path(__file__).resolve().parents[2]
OUT = ROOT / "build" / "mutation"
REASONS = ROOT / "tests" / "long" / "missed.txt"
COPIES = 2
FOUND_AT_LEAST = 95  # %

# The layers whose tests run the code of a layer: its own, then from the bottom to the top.
TESTED_BY = {
    "runtime": ("runtime", "transport", "logfile", "link", "app"),
    "data": ("data", "observer", "logfile", "link", "app"),
    "transport": ("transport", "link", "app"),
    "observer": ("observer", "logfile", "link", "app"),
    "logfile": ("logfile", "link", "app"),
    "link": ("link", "app"),
    "app": ("app",),
}
MAIN = "src/app/main.cpp"  # in no unit test
PROGRAM_TESTS = (
    "command_line_test",
    "record_test",
    "replay_test",
    "hello_test",
    "interrupt_test",
    "broken_log_test",
    "closed_descriptors_test",
    "aimed_interrupt_test.AimedInterruptTest.test_is_only_noted_by_its_handler",
)

UNIT_LIMIT_S = 40  # the slowest takes 6
PROGRAM_LIMIT_S = 90  # the slowest takes 16
OVER_LIMIT = "time limit"
BUILD_LIMIT_S = 300
MEMORY_LIMIT = 4 << 30  # also ends a loop that allocates

# The share of the mutants that is tried: of the kinds that are many and easily found, fewer.
SHARES = {"text": 0.08, "number": 0.18, "statement": 0.16, "arguments": 0.2, "order": 0.15}
OTHER_SHARE = 0.27


class DoesNotCompile(Exception):
    pass


class Missing(Exception):
    """The unbroken tree does not pass."""


def all_mutants():
    found = []
    for path in sorted((ROOT / "src").rglob("*")):
        if path.suffix in (".h", ".cpp"):
            name = path.relative_to(ROOT).as_posix()
            found += mutants_of(name, path.read_text(encoding="utf-8"))
    return found


def sample(mutants):
    """The same share of every kind, and one of every file: an edit moves no other file's choice."""
    lowest = {}
    for mutant in mutants:
        if mutant.file not in lowest or mutant.rank < lowest[mutant.file].rank:
            lowest[mutant.file] = mutant
    return [
        mutant
        for mutant in mutants
        if mutant.rank < SHARES.get(mutant.kind, OTHER_SHARE) or lowest[mutant.file] == mutant
    ]


def source_files():
    listed = subprocess.run(
        ["git", "ls-files", "-co", "--exclude-standard", "CMakeLists.txt", "docs", "packaging",
         "src", "tests", "tools"],
        cwd=ROOT, check=True, capture_output=True, text=True,
    )  # fmt: skip
    return [name for name in listed.stdout.splitlines() if (ROOT / name).is_file()]


def repeated(tests):
    """The failure of the tests if it comes again; one over the limit has had time enough."""
    failure = tests()
    return tests() if failure and OVER_LIMIT not in failure else failure


class Copy:
    """A copy of the tree, and its build."""

    def __init__(self, number):
        self._tree = OUT / str(number)
        self._build = self._tree / "build"
        self._device_sim = self._tree / "device_sim"  # never a broken one
        self._update()
        self._configure()
        self._make("device_sim", "stepper")
        shutil.copy2(self._build / "tools" / "device_sim" / "device_sim", self._device_sim)

    def _update(self):
        """Only files that differ are written: the others need not be compiled again."""
        wanted = set(source_files())
        for folder in ("src", "tests", "tools"):
            for path in (self._tree / folder).rglob("*"):
                if path.is_file() and path.relative_to(self._tree).as_posix() not in wanted:
                    path.unlink()
        for name in wanted:
            target = self._tree / name
            content = (ROOT / name).read_bytes()
            if not target.is_file() or target.read_bytes() != content:
                target.parent.mkdir(parents=True, exist_ok=True)
                target.write_bytes(content)
                shutil.copymode(ROOT / name, target)

    def _configure(self):
        # No warnings: the tests are to find the mutants. Tests are not listed at build time, since
        # a broken program would make that fail.
        subprocess.run(
            ["cmake", "-S", self._tree, "-B", self._build, "-G", "Ninja",
             "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS=-w", "-DCMAKE_CXX_FLAGS_DEBUG=-O0",
             "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=gold", "-DLOG_TOOL_BENCH=OFF",
             "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST"],
            check=True, stdout=subprocess.DEVNULL,
        )  # fmt: skip

    def _make(self, *targets):
        made = subprocess.run(
            ["cmake", "--build", self._build, "-j1", "--target", *targets],
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace",
            timeout=BUILD_LIMIT_S, check=False,
        )  # fmt: skip
        if made.returncode:
            raise DoesNotCompile(made.stdout)

    def _run(self, arguments, folder, environment, limit):
        return Run(arguments, folder, {**os.environ, **environment}, limit)

    def _unit_tests(self, layer):
        folder = self._build / "tests" / "unit" / layer
        program = folder / f"{layer}_tests"
        return self._run([program, "--gtest_fail_fast"], folder, {}, UNIT_LIMIT_S).failure()

    def _program_tests(self):
        """All at once: they wait most of the time."""
        environment = {
            "LOG_TOOL": str(self._build / "src" / "app" / "log_tool"),
            "DEVICE_SIM": str(self._device_sim),
            "STEPPER": str(self._build / "tests" / "harness" / "stepper"),
            "PYTHONPATH": str(self._tree / "tests"),
        }
        runs = {
            module: self._run(
                [sys.executable, "-B", "-m", "unittest", "-f", module],
                self._tree / "tests" / "e2e", environment, PROGRAM_LIMIT_S)
            for module in PROGRAM_TESTS
        }  # fmt: skip
        try:
            while runs:
                for module, run in list(runs.items()):
                    if run.has_ended():
                        del runs[module]
                        if failure := run.failure():
                            return f"{module}: {failure}"
                time.sleep(0.05)
            return None
        finally:
            for run in runs.values():
                run.end()

    def _failure_of_layer(self, layer):
        self._make(f"{layer}_tests")
        failure = repeated(lambda: self._unit_tests(layer))
        return failure and f"{layer}_tests: {failure}"

    def failure_of(self, layers):
        """Where the tests of these layers and of whole programs fail, None if they do not."""
        for layer in layers:
            if failure := self._failure_of_layer(layer):
                return failure
        self._make("log_tool")
        if failure := repeated(self._program_tests):
            return f"e2e.{failure}"
        return None

    def check_unbroken(self):
        if failure := self.failure_of(TESTED_BY):
            raise Missing(failure)

    def try_mutant(self, mutant, own_tests):
        layers = TESTED_BY[mutant.file.split("/")[1]]
        path = self._tree / mutant.file
        source = path.read_text(encoding="utf-8")
        path.write_text(mutant.apply(source), encoding="utf-8")
        try:
            if own_tests:
                return self._failure_of_layer(layers[0])
            return self.failure_of(() if mutant.file == MAIN else layers)
        finally:
            path.write_text(source, encoding="utf-8")


class Run:
    """A running test, alone in its process group, so that it ends with all its children."""

    def __init__(self, arguments, folder, environment, limit):
        self._process = subprocess.Popen(
            arguments, cwd=folder, env=environment, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True,
        )  # fmt: skip
        self._deadline = time.monotonic() + limit

    def has_ended(self):
        return self._process.poll() is not None or time.monotonic() > self._deadline

    def end(self):
        try:
            os.killpg(self._process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        self._process.wait()

    def failure(self):
        """What was wrong with it, once it has ended; None if nothing was."""
        try:
            status = self._process.wait(max(0, self._deadline - time.monotonic()))
        except subprocess.TimeoutExpired:
            return OVER_LIMIT
        finally:
            self.end()
        if status < 0:
            return f"signal {-status}"
        return f"status {status}" if status else None


class Report:
    """Collects the outcomes, from all threads."""

    def __init__(self, count):
        self.found = 0
        self.missed = []
        self.uncompilable = 0
        self._count = count
        self._done = 0
        self._lock = threading.Lock()
        self._file = open(OUT / "outcomes.txt", "w", encoding="utf-8", buffering=1)

    def add(self, mutant, outcome):
        with self._lock:
            self._done += 1
            if outcome is None:
                self.missed.append(mutant)
            elif outcome == "does not compile":
                self.uncompilable += 1
            else:
                self.found += 1
            print(f"{mutant.kind} | {mutant.name} | {outcome or 'MISSED'}", file=self._file)
            if outcome is None or self._done % 20 == 0:
                print(f"{self._done}/{self._count} {outcome or 'missed'}: {mutant.name}",
                      file=sys.stderr, flush=True)  # fmt: skip


def take(todo):
    try:
        return todo.get_nowait()
    except queue.Empty:
        return None


def work(number, todo, report, own_tests):
    copy = Copy(number)
    if not own_tests:
        copy.check_unbroken()
    while mutant := take(todo):
        try:
            report.add(mutant, copy.try_mutant(mutant, own_tests))
        except DoesNotCompile:
            report.add(mutant, "does not compile")


def read_reasons():
    reasons = {}
    for line in REASONS.read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            name, reason = line.rsplit(" | ", 1)
            reasons[name] = reason
    return reasons


def show_missed(missed, reasons):
    """Lists them with their reasons; returns how many have none."""
    print(f"\n{len(missed)} missed:", file=sys.stderr)
    for mutant in sorted(missed, key=lambda mutant: mutant.name):
        print(f"{mutant.name}\n    {reasons.get(mutant.name, 'not explained')}", file=sys.stderr)
    return sum(mutant.name not in reasons for mutant in missed)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--list", action="store_true", help="show what would be tried")
    parser.add_argument("--all", action="store_true", help="try every mutant, not a sample")
    parser.add_argument("--only", action="append", help="try those whose name contains this")
    parser.add_argument("--own-tests", action="store_true",
                        help="try the unit tests of the broken layer only")  # fmt: skip
    parser.add_argument("--try-missed", action="store_true",
                        help="try those again that are known to be missed")  # fmt: skip
    options = parser.parse_args()

    mutants = all_mutants()
    if not options.all:
        mutants = sample(mutants)
    if options.only:
        mutants = [
            mutant for mutant in mutants if any(part in mutant.name for part in options.only)
        ]
    if options.list:
        print(*(f"{mutant.kind} | {mutant.name}" for mutant in mutants), sep="\n")
        return 0

    OUT.mkdir(parents=True, exist_ok=True)
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    reasons = read_reasons()
    report = Report(len(mutants))
    todo = queue.SimpleQueue()  # by file: a copy compiles little between two mutants of one
    for mutant in mutants:
        if mutant.name in reasons and not options.try_missed:
            report.add(mutant, None)
        else:
            todo.put(mutant)
    start = time.monotonic()
    with concurrent.futures.ThreadPoolExecutor(COPIES) as pool:
        jobs = [
            pool.submit(work, number, todo, report, options.own_tests)
            for number in range(1, COPIES + 1)
        ]
        try:
            for job in concurrent.futures.as_completed(jobs):
                job.result()
        finally:
            while take(todo):  # the others end with the mutant that they are trying
                pass

    tried = report.found + len(report.missed)
    unexplained = show_missed(report.missed, reasons)
    print(f"{report.uncompilable} more do not compile; {time.monotonic() - start:.0f} s",
          file=sys.stderr)  # fmt: skip
    print(f"mutants of src/ found by the tests\tkilled {report.found} of {tried} "
          f"({100 * report.found / tried:.1f} %)\tat least {FOUND_AT_LEAST} %")  # fmt: skip
    return int(unexplained > 0 or 100 * report.found < FOUND_AT_LEAST * tried)


if __name__ == "__main__":
    sys.exit(main())
