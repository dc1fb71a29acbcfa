"""log_kit, against an independent reading of the same logs."""

import errno
import json
import os
import pty
import random
import resource
import signal
import subprocess
import unittest

from harness import codec, log_reading
from harness.codec import AttitudeData, GenericData, GnssData, GnssPvt, ImuData
from harness.drive import Damaged, write_drive
from harness.golden import golden_files, read_golden
from harness.places import LOG_KIT
from harness.program import TIMEOUT_S, ProgramTest

GOOD, FAILED, USAGE, DAMAGED = range(4)
COMMANDS = ("info", "check", "recover")


class LogKitTest(ProgramTest):
    def run_kit(self, *arguments, stdin=None, **options):
        """The exit status, standard output and standard error."""
        result = subprocess.run(
            [LOG_KIT, *arguments],
            cwd=self.folder,
            input=stdin,
            stdout=options.pop("stdout", subprocess.PIPE),
            stderr=subprocess.PIPE,
            timeout=TIMEOUT_S,
            check=False,
            **options,
        )
        return result.returncode, (result.stdout or b"").decode(), result.stderr.decode()

    def run_json(self, *arguments, status=GOOD, **options):
        found, output, errors = self.run_kit(*arguments, "--json", **options)
        self.assertEqual(status, found, errors)
        return [json.loads(line) for line in output.splitlines()]


def with_floats(type_, ticks, value):
    """A record whose values are all one number."""
    bits = codec.float_bits(value)
    fields = {name: bits for name in type_.fields if name.startswith("values")}
    return type_(ticks=ticks, **fields)


class RandomDrive:
    """Records of a short drive with faults of all kinds, from a seed."""

    def __init__(self, seed):
        self._random = random.Random(seed)
        self.records = []
        self._ticks = self._random.choice((0, 5000, 2**32 - 4000))
        restart = self._random.choice((None, 15000))
        silent = self._random.randrange(2000, 12000)
        no_gnss = self._random.randrange(2000, 12000)
        for ms in range(0, 20000, 10):
            if ms == restart:
                self._ticks = 300
            if not silent <= ms < silent + 3000:
                self._add(ms, is_with_gnss=not no_gnss <= ms < no_gnss + 2500)
            self._ticks = (self._ticks + 10) % 2**32

    def _stamp(self):
        """Sometimes a little out of order."""
        back = 70 if self._random.random() < 0.01 and self._ticks > 500 else 0
        return self._ticks - back

    def _add(self, ms, is_with_gnss):
        add = self.records.append
        add(with_floats(ImuData, self._stamp(), self._random.choice((0.5, -3.0, 1e30))))
        if ms % 50 == 0:
            special = self._random.choice((1.0, float("nan"), float("inf")))
            add(with_floats(AttitudeData, self._stamp(), special))
        if ms % 200 == 0 and is_with_gnss:
            add(GnssPvt(**self._pvt()))
            pvt = {f"pvt.{name}": value for name, value in self._pvt().items()}
            if self._random.random() < 0.2:
                pvt["pvt.ticks"] = 0
            add(GnssData(**{**pvt, "dop.ticks": self._ticks}))
        if ms % 1000 == 0:
            add(GenericData(self._stamp(), 1, 2))

    def _pvt(self):
        choice = self._random.choice
        return {
            "ticks": self._stamp(),
            "fixType": choice((0, 1, 2, 3, 4, 4, 4, 7, -1)),
            "utcTime": choice((0, 1790000000 + self._ticks // 1000)),
            "satelliteCount": self._random.randrange(30),
            "longitude": choice((116000000, -1800000000, 1800000001)),
            "latitude": 480000000 + self._random.randrange(10**6) * choice((1, 1, 800)),
            "altitude": self._random.randrange(-1000, 10**6),
            "groundSpeed": choice((0, 1000000, 1000001)),
            "velocityDown": choice((-1000000, -1000001, 0)),
        }


class InfoTest(LogKitTest):
    def check_info(self, log):
        self.write_file("drive.log", log)
        (found,) = self.run_json("info", "drive.log")
        expected = log_reading.expected_info("drive.log", log)
        self.assertEqual(list(expected), list(found))
        shares = found["gnss"].pop("fix"), expected["gnss"].pop("fix")
        self.assertEqual(set(shares[0]), set(shares[1]))
        for fix, share in shares[0].items():
            self.assertAlmostEqual(share, shares[1][fix], places=9)
        self.assertEqual(expected, found)

    def test_an_independent_reading_finds_the_same(self):
        for seed in range(12):
            with self.subTest(seed=seed):
                log = b"".join(map(codec.frame, RandomDrive(seed).records))
                self.check_info(log)

    def test_a_drive(self):
        write_drive(self.path("long.log"), 40)
        self.check_info(self.read_file("long.log"))

    def test_one_record(self):
        self.check_info(codec.frame(GenericData(5, 6, 7)))

    def test_what_is_absent_is_null(self):
        self.write_file("log", codec.frame(ImuData(5)))
        (info,) = self.run_json("info", "log")
        self.assertIsNone(info["time"]["utc_start"])
        self.assertIsNone(info["gnss"]["last_position"]["altitude_m"])
        self.assertIsNone(info["types"]["GnssPvt"]["first_ticks"])
        self.assertIsNone(info["types"]["ImuData"]["rate_hz"]["median"])

    def test_several_logs_on_a_line_each(self):
        write_drive(self.path("a"), 3)
        self.write_file("b", self.read_file("a")[:-1])
        status, output, _ = self.run_kit("info", "--brief", "a", "b")
        self.assertEqual(DAMAGED, status)
        self.assertRegex(output, r"^a: clean, .*\nb: damaged, .*\n$")

    def test_thresholds(self):
        write_drive(self.path("log"), 5)
        for arguments, status in (
            (["--max-gap", "2", "--min-rate", "imu=95", "--min-fix", "3D=0.9"], GOOD),
            (["--min-rate", "imu=101"], DAMAGED),
            (["--min-rate", "generic=1", "--min-rate", "pvt=6"], DAMAGED),
            (["--min-fix", "2D=0.1"], DAMAGED),
            (["--gap", "0.1", "--max-gap", "0.15"], DAMAGED),
        ):
            with self.subTest(arguments):
                found, _, errors = self.run_kit("info", *arguments, "log")
                self.assertEqual(status, found)
                self.assertEqual(status == DAMAGED, "log_kit: log: " in errors)

    def test_wrong_thresholds(self):
        self.write_file("log", codec.frame(ImuData(5)))
        for arguments in (
            ["--max-gap", "-1"],
            ["--max-gap", "nan"],
            ["--gap", "x"],
            ["--min-rate", "imu"],
            ["--min-rate", "IMU=3"],
            ["--min-fix", "4D=0.5"],
            ["--min-fix", "3D=1.5"],
            ["--brief", "--json"],
        ):
            with self.subTest(arguments):
                self.assertEqual(USAGE, self.run_kit("info", *arguments, "log")[0])


class CheckTest(LogKitTest):
    def test_reference_files(self):
        for name in golden_files(".log.hex"):
            with self.subTest(name):
                log, damages = read_golden(name)
                status = DAMAGED if damages else GOOD
                for file, stdin in (("log", None), ("-", log)):
                    self.write_file("log", log)
                    (found,) = self.run_json("check", file, status=status, stdin=stdin)
                    self.assertEqual(damages, found["damages"])
                    self.assertEqual(len(log), found["bytes"])
                    self.assertEqual(not damages, found["clean"])
                    self.assertEqual(file, found["file"])

    def test_each_damage_is_named_on_a_line(self):
        log, _ = read_golden("damage_footer.log.hex")
        self.write_file("log", log)
        _, output, _ = self.run_kit("check", "log")
        self.assertEqual(
            "log: offset 24, 24 bytes: footer: expected d0 c0 b0 a0, found a0 b0 c0 d0; "
            "between ticks 1000 and 1020 (0.02 s); at most 1 record\n"
            "log: damaged, 2 frames intact, 1 damaged region with 24 bytes and at most 1 record\n",
            output,
        )


class RecoverTest(LogKitTest):
    def test_a_clean_log_comes_out_identical(self):
        write_drive(self.path("in"), 30)
        self.assertEqual(GOOD, self.run_kit("recover", "in", "out")[0])
        self.assertEqual(self.read_file("in"), self.read_file("out"))

    def test_exactly_the_untouched_frames_come_out(self):
        write_drive(self.path("drive"), 1000)  # long enough for reading ahead
        for seed, damages in enumerate((500, 500, 500, 100, 100, 30, 30)):
            with self.subTest(seed=seed):
                damaged = Damaged(self.path("drive"), seed, damages)
                damaged.write(self.path("in"), self.path("expected"))
                (report,) = self.run_json("recover", "--force", "in", "out", status=DAMAGED)
                self.assertEqual(self.read_file("expected"), self.read_file("out"))
                self.assertEqual(len(self.read_file("in")), report["bytes"])
                self.assertEqual(GOOD, self.run_kit("check", "out")[0])

    def test_what_was_lost_is_told(self):
        log, _ = read_golden("damage_footer.log.hex")
        self.write_file("in", log)
        (report,) = self.run_json("recover", "in", "out", status=DAMAGED)
        self.assertEqual(
            {
                "file": "in",
                "output": "out",
                "frames": 2,
                "bytes": 72,
                "damages": 1,
                "lost_frames_at_most": 1,
                "lost_seconds": 0.02,
            },
            report,
        )

    def test_standard_input(self):
        log, _ = read_golden("damage_garbage.log.hex")
        self.assertEqual(DAMAGED, self.run_kit("recover", "-", "out", stdin=log)[0])
        self.assertEqual(log[:24] + log[37:], self.read_file("out"))

    def test_nothing_is_replaced_without_force(self):
        write_drive(self.path("in"), 2)
        self.write_file("out", b"old")
        status, _, errors = self.run_kit("recover", "in", "out")
        self.assertEqual(FAILED, status)
        self.assertEqual("log_kit: out exists already; --force replaces it\n", errors)
        self.assertEqual(b"old", self.read_file("out"))
        self.assertEqual(GOOD, self.run_kit("recover", "--force", "in", "out")[0])
        self.assertEqual(self.read_file("in"), self.read_file("out"))

    def test_the_input_is_never_the_output(self):
        write_drive(self.path("in"), 2)
        log = self.read_file("in")
        os.link(self.path("in"), self.path("same"))
        for name in ("in", "same"):
            self.assertEqual(FAILED, self.run_kit("recover", "--force", "in", name)[0])
        self.assertEqual(log, self.read_file("in"))

    def test_nothing_is_left_when_the_disk_is_full(self):
        write_drive(self.path("in"), 300)
        log = self.read_file("in")

        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 20, 1 << 20))

        status, _, errors = self.run_kit("recover", "in", "out", preexec_fn=limit)
        self.assertEqual(FAILED, status)
        self.assertEqual(f"log_kit: cannot write out: {os.strerror(errno.EFBIG)}\n", errors)
        self.assertEqual(["in"], os.listdir(self.folder))
        self.assertEqual(log, self.read_file("in"))

    def test_nothing_is_left_after_ctrl_c(self):
        os.mkfifo(self.path("in"))
        kit = self.start(LOG_KIT, "recover", "in", "out")
        write_drive(self.path("drive"), 100)
        with open(self.path("in"), "wb") as pipe:  # the program waits for more
            pipe.write(self.read_file("drive"))
            while not any(name.startswith("out.part") for name in os.listdir(self.folder)):
                self.assertTrue(kit.is_running())
            kit.interrupt()
            self.assertEqual(-signal.SIGINT, kit.wait())
        self.assertEqual({"drive", "in"}, set(os.listdir(self.folder)))


class CommandLineTest(LogKitTest):
    def test_help_of_each_subcommand_has_two_examples(self):
        for command in COMMANDS:
            with self.subTest(command):
                status, output, _ = self.run_kit(command, "--help")
                self.assertEqual(GOOD, status)
                examples = output[output.index("Examples:") :]
                self.assertGreaterEqual(examples.count(f"log_kit {command}"), 2)
        self.assertEqual(GOOD, self.run_kit("--help")[0])

    def test_wrong_command_lines(self):
        for arguments in ([], ["nothing"], ["info"], ["check", "--no"], ["recover", "in"]):
            with self.subTest(arguments):
                status, output, errors = self.run_kit(*arguments)
                self.assertEqual((USAGE, ""), (status, output))
                self.assertNotEqual("", errors)

    def test_a_file_that_cannot_be_read(self):
        write_drive(self.path("good"), 2)
        for command in ("info", "check"):
            status, output, errors = self.run_kit(command, "none", "good", ".")
            self.assertEqual(FAILED, status)
            self.assertIn("log_kit: cannot read none: No such file or directory\n", errors)
            self.assertIn("log_kit: cannot read .: Is a directory\n", errors)
            self.assertIn("good: clean", output)

    def test_a_file_without_a_record(self):
        self.write_file("empty", b"")
        self.write_file("text", b"no log at all\n" * 100)
        for command in ("info", "check"):
            for name in ("empty", "text"):
                self.assertEqual(FAILED, self.run_kit(command, name)[0])

    def test_the_worst_status_of_several_files(self):
        log, _ = read_golden("damage_type.log.hex")
        self.write_file("bad", log)
        self.write_file("good", codec.frame(GenericData(1)))
        for files, status in (
            (("good", "good"), GOOD),
            (("bad", "good"), DAMAGED),
            (("none", "bad"), FAILED),
            (("bad", "none", "good"), FAILED),
        ):
            self.assertEqual(status, self.run_kit("check", *files)[0])

    def test_a_closed_pipe_ends_it_quietly(self):
        self.write_file("bad", (codec.frame(GenericData(1)) + b"x") * 20000)
        kit = subprocess.Popen(
            [LOG_KIT, "check", "bad"],
            cwd=self.folder,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
        )
        kit.stdout.readline()
        kit.stdout.close()
        self.assertEqual(b"", kit.stderr.read())
        kit.stderr.close()
        self.assertEqual(-signal.SIGPIPE, kit.wait(TIMEOUT_S))

    def test_output_that_cannot_be_written(self):
        write_drive(self.path("log"), 2)
        with open("/dev/full", "wb") as full:
            status, _, errors = self.run_kit("info", "log", stdout=full)
        self.assertEqual(FAILED, status)
        self.assertIn("cannot write to standard output: No space left on device", errors)

    def test_progress_is_for_a_terminal(self):
        """Standard input, fed until a second has passed."""
        write_drive(self.path("log"), 50)
        log = self.read_file("log")
        terminal, name = pty.openpty()
        kit = subprocess.Popen(
            [LOG_KIT, "check", "-"],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=name,
        )
        os.close(name)
        os.set_blocking(terminal, False)
        shown = b""
        while b"standard input: " not in shown:
            kit.stdin.write(log)
            try:
                shown += os.read(terminal, 1000)
            except BlockingIOError:
                pass
        kit.stdin.close()
        output = kit.stdout.read()
        kit.stdout.close()
        self.assertEqual(GOOD, kit.wait(TIMEOUT_S))
        shown += os.read(terminal, 1000)
        os.close(terminal)
        self.assertRegex(shown, rb"\rstandard input: [\d.,]+ \w+, [\d.,]+ \w+/s\x1b\[K")
        self.assertTrue(shown.endswith(b"\r\x1b[K"), "the line is taken away")
        self.assertRegex(output, rb"^-: clean, ")


if __name__ == "__main__":
    unittest.main()
