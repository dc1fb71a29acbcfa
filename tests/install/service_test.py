"""The wrapper that log_tool@.service starts: which log it records into, and that it is complete."""

import os
import re
import signal
import unittest

from installed import FILES

from harness import codec
from harness.places import DEVICE_SIM, LOG_TOOL
from harness.program import ProgramTest
from harness.recording import wait_until_taken

MAX_NAME = 79  # characters; log_tool cuts a longer name
BAD_DEVICE = 64

# Stands in for log_tool where the name of the log is all that counts.
SHOW = '#!/bin/sh\necho "$@"\necho recorded >"$5"\n'
# A board whose clock is not set, at the same time after each boot.
UNSET_CLOCK = '#!/bin/sh\nexec {date} -d @5 "$@"\n'
# Notes how long it should sleep, and when that is long, lets the folder be there.
NO_SLEEP = """#!/bin/sh
echo "$1" >>slept
[ "$1" -lt 32 ] || mkdir late
"""
# Says that it sleeps.
LONG_SLEEP = "#!/bin/sh\necho sleeping\nexec /bin/sleep 60 >/dev/null\n"

DELAYS = [1, 2, 4, 8, 16, 32]  # seconds

BOOT = "1b4e28ba-2fa1-41d2-883f-0016d3cca427"
OTHER_BOOT = "1b4e28ba-2fa2-41d2-883f-0016d3cca427"


class RecordTest(ProgramTest):
    def setUp(self):
        super().setUp()
        self.logs = self.path("logs")
        os.mkdir(self.logs)

    def start_record(self, *arguments, tool=LOG_TOOL, logs=None, boot=BOOT):
        """In its own session. Programs of the test's folder come before those of the system."""
        environment = {
            "STATE_DIRECTORY": logs or self.logs,
            "LOG_TOOL": tool,
            "PATH": f"{self.folder}:{os.environ['PATH']}",
            "BOOT_ID": boot,
        }
        settings = [f"{name}={value}" for name, value in environment.items()]
        return self.start("setsid", "env", *settings, FILES / "record.sh", *arguments)

    def write_script(self, name, content):
        self.write_file(name, content.encode())
        os.chmod(self.path(name), 0o755)
        return self.path(name)

    def show(self, device="192.168.0.7:5005", **options):
        """The name that log_tool would get."""
        program = self.start_record(device, tool=self.write_script("show", SHOW), **options)
        self.assertEqual(0, program.wait(), program.errors)
        where, arguments = program.lines
        *options, log = arguments.split(" ")
        self.assertEqual(["-a", *device.split(":")[:1], "-p", device.split(":")[1]], options)
        self.assertEqual(f"Recording into {self.logs}/{log}", where)
        return log

    def unset_clock(self):
        self.write_script("date", UNSET_CLOCK.format(date="/bin/date"))

    def write_log(self, name):
        self.write_file(os.path.join("logs", name), b"former")

    def read_logs(self):
        names = [name for name in os.listdir(self.logs) if name.endswith(".log")]
        return {name: self.read_file(os.path.join("logs", name)) for name in names}

    def carry_away(self, *also):
        for name in (*self.read_logs(), *also):
            os.remove(os.path.join(self.logs, name))

    def test_a_stream_until_the_interrupt(self):
        device = self.start(
            *(DEVICE_SIM, "--bind", "127.0.0.1", "--dump", "sent"),
            *("--imu-rate", "1000", "--count", "1000"),
        )
        port = device.read_line().removeprefix("listening on ")
        program = self.start_record(f"127.0.0.1:{port}")
        self.assertEqual(0, device.wait())
        wait_until_taken(program.pid)
        program.interrupt()
        self.assertEqual(0, program.wait())
        sent = codec.parse_dump(self.read_file("sent"))
        self.assertEqual(1000, len(sent))
        self.assertEqual([codec.recording(sent)], list(self.read_logs().values()))

    def test_name(self):
        first = self.show()
        self.assertRegex(first, r"^000001_\d{8}T\d{6}Z_192\.168\.0\.7_5005_1b4e28ba2fa1\.log$")
        longest = self.show("255.255.255.254:65535")
        self.assertRegex(
            longest, r"^000002_\d{8}T\d{6}Z_255\.255\.255\.254_65535_1b4e28ba2fa1\.log$"
        )
        self.assertLessEqual(len(longest), MAX_NAME)

    def test_the_boot_is_the_kernels(self):
        with open("/proc/sys/kernel/random/boot_id", encoding="ascii") as file:
            boot = file.read().replace("-", "")[:12]
        self.assertRegex(self.show(boot=""), f"_{boot}.log$")

    def test_a_new_log_at_the_same_time(self):
        self.unset_clock()
        logs = [self.show() for _ in range(12)]
        self.assertEqual(
            [f"{n:06}_19700101T000005Z_192.168.0.7_5005_1b4e28ba2fa1.log" for n in range(1, 13)],
            logs,
        )
        self.assertEqual({log: b"recorded\n" for log in logs}, self.read_logs())

    def test_the_number_follows_the_highest(self):
        former = ["000008_a.log", "000009_c.log", "000003_d.log", "12_e.log", "0000099.log"]
        for name in former:
            self.write_log(name)
        self.assertEqual("000010_", self.show()[:7])
        logs = self.read_logs()
        self.assertEqual({b"former"}, {logs[name] for name in former})

    def test_the_number_follows_logs_that_were_carried_away(self):
        self.write_log("000098_a.log")
        self.assertEqual("000099_", self.show()[:7])
        self.carry_away()
        self.assertEqual("000100_", self.show()[:7])
        self.write_log("000200_a.log")
        self.assertEqual("000201_", self.show()[:7])

    def test_a_name_never_comes_again_in_a_folder_without_anything(self):
        self.unset_clock()
        first = self.show()
        self.carry_away(".number")
        second = self.show(boot=OTHER_BOOT)
        self.assertEqual(["000001_19700101T000005Z"] * 2, [log[:23] for log in (first, second)])
        self.assertNotEqual(first, second)

    def test_a_damaged_number_counts_as_none(self):
        self.write_log("000007_a.log")
        for number, content in enumerate(
            (b"", b"\n", b"9\n", b"00099x\n", b"9999999\n", b"*\n", b"a_000099\n", b"\0" * 512), 8
        ):
            with self.subTest(content):
                self.write_log(".number")
                self.write_file("logs/.number", content)
                self.assertEqual(f"{number:06}_", self.show()[:7])

    def test_a_number_that_cannot_be_kept(self):
        os.makedirs(os.path.join(self.logs, ".number.new"))
        self.assertEqual(["000001_", "000002_"], [self.show()[:7] for _ in range(2)])

    def test_recordings_that_start_together(self):
        tool = self.write_script("show", SHOW)
        programs = [self.start_record("192.168.0.7:5005", tool=tool) for _ in range(10)]
        self.assertEqual([0] * 10, [program.wait() for program in programs])
        names = {program.lines[0] for program in programs}
        self.assertEqual((10, 10), (len(names), len(self.read_logs())))

    def test_no_device(self):
        for device in (
            *("", "192.168.0.7", "192.168.0.7:", ":5005", "192.168.0.7:0", "192.168.0.7:65536"),
            *("192.168.0.7:x", "192.168.0:5005", "192.168.0.256:5005", "192.168.0.010:5005"),
            *("192.168.0.7:5005:1", "192.168.0.7:-1", "device:5005", "../192.168.0.7:5005"),
        ):
            with self.subTest(device):
                program = self.start_record(device)
                self.assertEqual(BAD_DEVICE, program.wait())
                self.assertRegex(program.errors, f"^record: '{re.escape(device)}' is not <address>")
        self.assertEqual(BAD_DEVICE, self.start_record().wait())
        self.assertEqual([], os.listdir(self.logs))

    def test_waits_longer_and_longer_until_it_can_create_a_log(self):
        self.write_script("sleep", NO_SLEEP)
        tool = self.write_script("show", SHOW)
        program = self.start_record("192.168.0.7:5005", tool=tool, logs=self.path("late"))
        self.assertEqual(0, program.wait(), program.errors)
        self.assertRegex(program.lines[0], f"^Recording into {self.folder}/late/000001_")
        self.assertEqual(DELAYS, [int(delay) for delay in self.read_file("slept").split()])
        self.assertEqual(
            [
                f"record: cannot create a log in {self.folder}/late, trying again in {delay} s"
                for delay in DELAYS
            ],
            program.errors.splitlines()[1::2],
        )

    def test_leaves_a_folder_that_stays_away_to_systemd(self):
        self.write_script("sleep", NO_SLEEP)
        program = self.start_record("192.168.0.7:5005", logs=self.path("never"))
        self.assertEqual(1, program.wait())
        self.assertEqual(DELAYS, [int(delay) for delay in self.read_file("slept").split()])

    def test_says_why_it_cannot_create_a_log(self):
        self.write_script("sleep", LONG_SLEEP)
        program = self.start_record("192.168.0.7:5005", logs="/proc")
        self.assertEqual("sleeping", program.read_line())
        self.assertRegex(program.errors, r"cannot create 000001_\S+: Directory nonexistent\n")
        os.killpg(program.pid, signal.SIGKILL)

    def test_an_interrupt_ends_the_waiting(self):
        self.write_script("sleep", LONG_SLEEP)
        program = self.start_record("192.168.0.7:5005", logs=self.path("none"))
        self.assertEqual("sleeping", program.read_line())
        os.killpg(program.pid, signal.SIGINT)  # as systemd: to all that belongs to the unit
        self.assertEqual(-signal.SIGINT, program.wait())
        self.assertFalse(os.path.exists(self.path("none")))


if __name__ == "__main__":
    unittest.main()
