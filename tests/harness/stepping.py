"""log_tool under the stepper, which interrupts it at one chosen instruction."""

import re
import subprocess
import time
from collections import namedtuple

from harness import codec
from harness.codec import datagram
from harness.places import LOG_TOOL, STEPPER
from harness.recording import INTERRUPTED, LOOK_S, Recording, udp_socket
from harness.replaying import HOUR_MS, ReplayTest, log_of, numbered_records, replay_command

COUNT = 10  # records of a run
GAP_MS = 20  # so that even under the stepper a replay waits for each
RECORDS = numbered_records(range(0, COUNT * GAP_MS, GAP_MS))

# Memory that is misused ends the program; what was freed and what is fresh is no zeros.
CHECKED_MEMORY = ("LD_PRELOAD=libc_malloc_debug.so.0", "MALLOC_CHECK_=3", "MALLOC_PERTURB_=165")
# The dynamic linker's work, which is most of a short run, is done before the program's.
BOUND_AT_ONCE = "LD_BIND_NOW=1"

# A row of the table that tells from which source the instructions from an address on are.
SOURCE_FROM = re.compile(r"^(\S+) +\S+ +0x([0-9a-f]+)")
LIST_WORK = {"fdloop.cpp", "fdloop_timers.cpp"}

# How many instructions counted, the one at which SIGINT came, and its handler's system calls.
Steps = namedtuple("Steps", "counted struck calls")


def list_work():
    """The aim's part that counts only the instructions of the loop and its lists, wherever the
    compiler has put them."""
    table = subprocess.run(
        ["objdump", "--dwarf=decodedline", LOG_TOOL], capture_output=True, check=True, text=True
    )
    rows = [
        (found[1], int(found[2], 16))
        for found in map(SOURCE_FROM.match, table.stdout.splitlines())
        if found
    ]
    return "@" + ",".join(
        f"{start:x}+{end - start:x}"
        for (source, start), (_, end) in zip(rows, rows[1:])
        if source in LIST_WORK and end > start
    )


def aims_nowhere(aim):
    return str(aim).split("@", maxsplit=1)[0] == "0"


class SteppedTest(ReplayTest):
    def wrapper(self, aim):
        return [STEPPER, "report", str(aim), "env", BOUND_AT_ONCE, *CHECKED_MEMORY]

    def steps(self):
        lines = dict(line.split(" ", 1) for line in self.read_file("report").decode().splitlines())
        return Steps(int(lines["steps"]), lines["struck"], lines["calls"].split())

    def step_recording(self, aim):
        """A recording that is interrupted at an instruction, or at its end with an aim of 0."""
        recording = Recording(self, wrapper=self.wrapper(aim))
        taken = 0
        if recording.connect():
            recording.device.send(*map(datagram, RECORDS))
            taken = self.wait_until_taken(recording)
        if aims_nowhere(aim):
            recording.program.interrupt()
        recording.check_end(0, INTERRUPTED)
        recorded = codec.parse_frames(self.read_file("log"))
        self.assertEqual(RECORDS[: len(recorded)], recorded)
        self.assertGreaterEqual(len(recorded), taken)
        recording.program.close()
        return self.steps()

    def wait_until_taken(self, recording):
        """How many datagrams the program has certainly taken: all that it had not refused by then,
        or none if it has ended."""
        try:
            while (socket := udp_socket(recording.program.pid)).queued:
                time.sleep(LOOK_S)
        except (LookupError, FileNotFoundError, PermissionError):
            return 0
        return len(recording.sent) - socket.drops

    def step_replay(self, aim):
        """A replay that is interrupted at an instruction, or at its end with an aim of 0."""
        log = log_of([*RECORDS, RECORDS[-1].type.numbered(HOUR_MS, COUNT)])
        self.write_file("log", log)
        program = self.start(*self.wrapper(aim), *replay_command(self.device, "log"))
        received = self.receive(COUNT) if aims_nowhere(aim) else []
        if aims_nowhere(aim):
            program.interrupt()
        self.assert_end(program, INTERRUPTED)
        received += [data for data, _ in self.device.received()]
        self.assertEqual(list(map(datagram, RECORDS[: len(received)])), received)
        self.assertEqual(log, self.read_file("log"))
        program.close()
        return self.steps()
