"""Replays a log to device_sim and measures it."""

import json
import os
import subprocess
import sys
import tempfile
import time

from harness.places import BUILD, DEVICE_SIM, LOG_TOOL, ROOT
from harness.program import Program

TARGETS = ["log_tool", "device_sim", "record_floor", "replay_floor", "load", "sink", "micro"]


POLL_S = 0.02
REPORT = "report.json"


def build():
    for command in (
        ["scripts/setup.sh", "build"],
        ["cmake", "--preset", "default"],
        ["cmake", "--build", "--preset", "default", "--target", *TARGETS],
    ):
        done = subprocess.run(
            command, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False
        )
        if done.returncode != 0:
            sys.exit(f"{done.stdout.decode()}failed: {' '.join(command)}")


def peak_memory(program):
    """The peak of the resident memory so far, in KiB; None when the program has ended."""
    try:
        with open(f"/proc/{program.pid}/status", encoding="ascii") as status:
            return next((int(line.split()[1]) for line in status if line[:6] == "VmHWM:"), None)
    except (FileNotFoundError, ProcessLookupError):
        return None


class Replay:
    """A replay of a log of this content, from its start to its end."""

    def __init__(self, log, stack_kib=None, tool=LOG_TOOL):
        with tempfile.TemporaryDirectory(prefix="log_tool-bench-") as self._folder:
            with open(os.path.join(self._folder, "log"), "wb") as file:
                file.write(log)
            device, port = self._start_device()
            limits = ["prlimit", f"--stack={stack_kib * 1024}"] if stack_kib else []
            self._run_tool([*limits, tool, "-r", "-a", "127.0.0.1", "-p", port, "log"])
            self.is_complete = device.wait() == 0
            with open(os.path.join(self._folder, REPORT), encoding="ascii") as file:
                self.received = json.load(file)["received"]

    def _start_device(self):
        # Ahead of the tool, which does not wait when the device's queue is full.
        favour = ["nice", "-n", "-10"] if os.geteuid() == 0 else []
        command = [DEVICE_SIM, "--bind", "127.0.0.1", "--expect", "log"]
        device = Program([*favour, *command, "--idle-timeout", "2", "--json", REPORT], self._folder)
        return device, device.read_line().removeprefix("listening on ")

    def _run_tool(self, command):
        start = time.monotonic()
        tool = Program(command, self._folder)
        self.peak_kib = 0
        while tool.is_running():
            self.peak_kib = peak_memory(tool) or self.peak_kib
            time.sleep(POLL_S)
        self.seconds = time.monotonic() - start
        self.status = tool.wait()
        self.output = tool.lines

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
