"""The wrapper that log_tool@.service starts: which log it records into, and that it is complete."""

import os
import re
import signal
import unittest

import codec
from installed import FILES
from program import DEVICE_SIM, LOG_TOOL, ProgramTest

MAX_NAME = 79  # characters; log_tool cuts a longer name
BAD_DEVICE = 64

# Stands in for log_tool where the name of the log is all that counts.
SHOW = "#!/bin/sh\necho \"$@\"\necho recorded >\"$5\"\n"
# A board whose clock is not set, at the same time after each boot.
UNSET_CLOCK = "#!/bin/sh\nexec {date} -d @5 \"$@\"\n"


class RecordTest(ProgramTest):
    def setUp(self):
        super().setUp()
        self.logs = self.path("logs")
        os.mkdir(self.logs)

    def start_record(self, *arguments, tool=LOG_TOOL, logs=None, path=os.environ["PATH"]):
        environment = [f"STATE_DIRECTORY={logs or self.logs}", f"LOG_TOOL={tool}", f"PATH={path}"]
        return self.start("env", *environment, FILES / "record.sh", *arguments)

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

    def write_log(self, name):
        self.write_file(os.path.join("logs", name), b"former")

    def read_logs(self):
        return {name: self.read_file(os.path.join("logs", name)) for name in os.listdir(self.logs)}

    def test_a_stream_until_the_interrupt(self):
        device = self.start(
            *(DEVICE_SIM, "--bind", "127.0.0.1", "--dump", "sent"),
            *("--imu-rate", "1000", "--count", "1000"),
        )
        port = device.read_line().removeprefix("listening on ")
        program = self.start_record(f"127.0.0.1:{port}")
        self.assertEqual(0, device.wait())
        seen = len(program.lines)
        while "timeout: send hello" not in program.lines[seen + 1 :]:
            self.assertIsNotNone(program.read_line())  # by now it has taken all that was sent
        program.interrupt()
        self.assertEqual(0, program.wait())
        sent = codec.parse_dump(self.read_file("sent"))
        self.assertEqual(1000, len(sent))
        self.assertEqual([codec.recording(sent)], list(self.read_logs().values()))

    def test_name(self):
        self.assertRegex(self.show(), r"^000001_\d{8}T\d{6}Z_192\.168\.0\.7_5005\.log$")
        longest = self.show("255.255.255.254:65535")
        self.assertRegex(longest, r"^000002_\d{8}T\d{6}Z_255\.255\.255\.254_65535\.log$")
        self.assertLessEqual(len(longest), MAX_NAME)

    def test_a_new_log_at_the_same_time(self):
        self.write_script("date", UNSET_CLOCK.format(date="/bin/date"))
        path = f"{self.folder}:{os.environ['PATH']}"
        logs = [self.show(path=path) for _ in range(12)]
        self.assertEqual(
            [f"{n:06}_19700101T000005Z_192.168.0.7_5005.log" for n in range(1, 13)], logs
        )
        self.assertEqual({log: b"recorded\n" for log in logs}, self.read_logs())

    def test_the_number_follows_the_highest(self):
        former = ["000008_a.log", "000009_c.log", "000003_d.log", "12_e.log", "0000099.log"]
        for name in former:
            self.write_log(name)
        self.assertEqual("000010_", self.show()[:7])
        logs = self.read_logs()
        self.assertEqual({b"former"}, {logs[name] for name in former})

    def test_recordings_that_start_together(self):
        tool = self.write_script("show", SHOW)
        programs = [self.start_record("192.168.0.7:5005", tool=tool) for _ in range(10)]
        self.assertEqual([0] * 10, [program.wait() for program in programs])
        names = {program.lines[0] for program in programs}
        self.assertEqual((10, 10), (len(names), len(os.listdir(self.logs))))

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

    def test_no_room_for_a_log(self):
        program = self.start_record("192.168.0.7:5005", logs="/proc")
        self.assertEqual(1, program.wait())
        self.assertRegex(program.errors, "^record: cannot create /proc/000001_.*\n$")

    def test_no_folder(self):
        program = self.start_record("192.168.0.7:5005", logs=self.path("none"))
        self.assertNotIn(program.wait(), (0, BAD_DEVICE, -signal.SIGKILL))


if __name__ == "__main__":
    unittest.main()
