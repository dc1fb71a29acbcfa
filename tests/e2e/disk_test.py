"""What becomes of a log when the disk fails: full, too small, gone."""

import os
import resource
import shutil
import signal
import subprocess
import tty
import unittest

from harness import codec
from harness.codec import AttitudeData, datagram
from harness.faults import in_namespace, shell
from harness.places import LOG_TOOL
from harness.recording import INTERRUPTED, RecordingTest
from harness.replaying import ReplayTest, replay_command

FRAME = AttitudeData.size + len(codec.FOOTER)
BUFFER = 4096  # what the C library writes at once

WRITE_FAILED = r"File write failed res \d+, errno {}"
NO_SPACE = WRITE_FAILED.format(28)
TOO_LARGE = WRITE_FAILED.format(27)


def datagrams(first, count):
    return [datagram(AttitudeData(ticks, ticks)) for ticks in range(first, first + count)]


class FullDiskTest(RecordingTest):
    def send_until_reported(self, recording):
        """Sends until a record's loss is reported."""
        while not recording.reports():
            recording.send(*datagrams(len(recording.sent), 50))
            recording.synchronise()

    def check_gap(self, sent, flushed, resumed, reports, log):
        """What was in the log when the disk was full is there, and what came when it was not; each
        loss between the two is reported."""
        expected = codec.recording(sent)
        intact = len(os.path.commonprefix((expected, log)))
        self.assertGreaterEqual(intact, flushed // FRAME * FRAME)
        self.assertTrue(expected.endswith(log[intact:]), "not the frames sent last")
        self.assertGreaterEqual(len(log) - intact, len(codec.recording(resumed)))
        lost = len(expected) - len(log)
        self.assertGreater(lost, 0)
        self.assertLessEqual(lost, len(reports) * (BUFFER + FRAME))

    def check_room_again(self, recording, log, reported, make_room):
        """Fills the disk, goes on without room, makes room and goes on."""
        self.send_until_reported(recording)
        flushed = os.fstat(log.fileno()).st_size
        recording.send(*datagrams(len(recording.sent), 4 * BUFFER // FRAME))
        recording.synchronise()
        self.assertGreaterEqual(len(recording.reports()), 4)
        make_room()
        resumed = datagrams(len(recording.sent), 3 * BUFFER // FRAME)
        recording.send(*resumed)
        recording.synchronise()
        recording.program.interrupt()
        reports = recording.check_end(0, INTERRUPTED, reported)
        self.check_gap(recording.sent, flushed, resumed, reports, log.read())

    def test_a_device_without_any_room(self):
        recording = self.record(log="/dev/full")
        recording.send(*datagrams(0, 1000))
        recording.synchronise()
        self.assertGreaterEqual(len(recording.reports()), 1000 * FRAME // (BUFFER + FRAME))
        recording.program.interrupt()
        recording.check_end(0, [*INTERRUPTED, "File close failed errno 28"], NO_SPACE)

    def test_an_end_that_finds_no_room(self):
        recording = self.record(log="/dev/full")
        recording.send(*datagrams(0, 3))
        recording.synchronise()
        recording.program.interrupt()
        recording.check_end(0, [*INTERRUPTED, "File close failed errno 28"])

    def test_a_file_system_that_gets_room_again(self):
        mount = "mount -t tmpfs -o size=32k tmpfs"
        namespace = in_namespace(self, "mount", trial=(*mount.split(), self.folder))
        fill = shell(f'{mount} "$PWD" && cd "$PWD" && head -c 16384 /dev/zero >filler')
        recording = self.record(wrapper=(*namespace, *fill))
        disk = f"/proc/{recording.program.pid}/cwd"
        with open(f"{disk}/log", "rb") as log:
            self.check_room_again(recording, log, NO_SPACE, lambda: os.unlink(f"{disk}/filler"))

    def limited(self, size, wrapper=()):
        return self.record(wrapper=(*wrapper, "prlimit", f"--fsize={size}:unlimited"))

    def test_a_limit_of_the_file_size_that_is_raised(self):
        recording = self.limited(10000, shell("trap '' XFSZ"))
        unlimited = (resource.RLIM_INFINITY, resource.RLIM_INFINITY)
        with open(self.path("log"), "rb") as log:
            self.check_room_again(
                recording,
                log,
                TOO_LARGE,
                lambda: resource.prlimit(recording.program.pid, resource.RLIMIT_FSIZE, unlimited),
            )

    def test_a_limit_of_the_file_size_ends_the_program(self):
        recording = self.limited(10000)
        recording.send(*datagrams(0, 220))
        recording.synchronise()
        recording.device.send(*datagrams(220, 125))
        recording.check_end(-signal.SIGXFSZ, [])
        self.assertEqual(codec.recording(recording.sent)[:10000], self.read_file("log"))


class ShortWriteTest(RecordingTest):
    def test_loses_nothing(self):
        # A terminal that nobody reads is full soon; a stop then makes the write return early.
        terminal, name = os.openpty()
        self.addCleanup(os.close, terminal)
        tty.setraw(name)
        recording = self.record(log=os.ttyname(name))
        os.close(name)
        recording.send(*datagrams(0, 400))
        recording.synchronise()
        recording.device.send(*datagrams(400, 125))
        content = b""
        for _ in range(50):
            recording.program.pause()
            recording.program.resume()
            content += os.read(terminal, 333)
        recording.program.interrupt()
        expected = codec.recording(recording.sent)
        while len(content) < len(expected):
            content += os.read(terminal, BUFFER)
        self.assert_log(expected, content)
        recording.check_end(0, INTERRUPTED)


def content_by_process(recording, log):
    """How a user gets at a log that has no name any more."""
    links = f"/proc/{recording.program.pid}/fd"
    for link in os.listdir(links):
        if os.path.samestat(os.stat(f"{links}/{link}"), os.fstat(log.fileno())):
            with open(f"{links}/{link}", "rb") as file:
                return file.read()
    raise LookupError("the program has no log")


def content_by_descriptor(_, log):
    """How one gets at it who has opened it before."""
    return os.pread(log.fileno(), os.fstat(log.fileno()).st_size, 0)


class TakenLogTest(RecordingTest):
    """A log that others take away while it is written."""

    def check_goes_on(self, take, path="log", content=content_by_process):
        recording = self.record(log=path)
        with open(self.path(path), "rb") as log:
            recording.send(*datagrams(0, 300))
            recording.synchronise()
            take()
            recording.send(*datagrams(300, 300))
            recording.synchronise()
            expected = codec.recording(recording.sent)
            so_far = content(recording, log)
            self.assertEqual(expected[: len(so_far)], so_far)
            self.assertGreater(len(so_far), len(expected) - BUFFER)
            recording.program.interrupt()
            recording.check_end(0, INTERRUPTED)
            self.assert_log(expected, log.read())

    def test_removed(self):
        self.check_goes_on(lambda: os.unlink(self.path("log")))
        self.assertEqual([], os.listdir(self.folder))

    def test_removed_with_its_folder(self):
        os.mkdir(self.path("folder"))
        self.check_goes_on(lambda: shutil.rmtree(self.path("folder")), "folder/log")
        self.assertEqual([], os.listdir(self.folder))

    def test_renamed_and_replaced(self):
        def replace():
            os.rename(self.path("log"), self.path("other"))
            self.write_file("log", b"not a log")

        self.check_goes_on(replace)
        self.assertEqual(b"not a log", self.read_file("log"))

    def test_made_unreadable(self):
        self.check_goes_on(lambda: os.chmod(self.path("log"), 0), content=content_by_descriptor)


class RefusedLogTest(ReplayTest):
    # Root may do everything, unless it has given these up.
    AS_OTHERS = (
        ("setpriv", "--bounding-set", "-dac_override,-dac_read_search") if os.geteuid() == 0 else ()
    )

    def check_refused(self, *command):
        """The program ends, and the log is what it was."""
        content = codec.numbered_log(1, 5)
        self.write_file("log", content)
        os.chmod(self.path("log"), 0o400)
        program = self.start(*self.AS_OTHERS, *command)
        self.assertEqual(-signal.SIGABRT, program.wait())
        self.assertEqual([], program.lines)
        self.assertIn(
            "  what():  LogFile: failed to open file log: Permission denied\n", program.errors
        )
        self.assertEqual(content, self.read_file("log"))

    def test_recording_without_permission(self):
        self.check_refused(LOG_TOOL, "-a", "127.0.0.1", "-p", "9", "log")

    def test_replay_without_permission_to_write(self):
        self.check_refused(*replay_command(self.device, "log"))
        self.assertEqual([], self.device.received())

    def test_replay_of_a_writable_copy(self):
        log = codec.numbered_log(1, 5)
        self.write_file("log", log)
        os.chmod(self.path("log"), 0o400)
        subprocess.run(
            ["cp", "--no-preserve=mode", "log", "replay.log"], cwd=self.folder, check=True
        )
        program = self.start(*self.AS_OTHERS, *replay_command(self.device, "replay.log"))
        self.assert_end(program, ["End of file reached"])
        self.assert_received([datagram(record) for record in codec.parse_frames(log)])


class ReadErrorTest(ReplayTest):
    def test_ends_a_replay(self):
        # A process's memory: no read of its first bytes succeeds.
        program = self.start(*replay_command(self.device, "/proc/self/mem"))
        self.assert_end(program, ["File read failed res 0, errno 5"])
        self.assertEqual([], self.device.received())


if __name__ == "__main__":
    unittest.main()
