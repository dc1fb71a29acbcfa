"""What log_tool makes of its arguments."""

import os
import re
import unittest

from harness import codec
from harness.codec import GenericData
from harness.device import Device
from harness.places import LOG_TOOL
from harness.recording import INTERRUPTED, TIMER_HELLO, RecordingTest

USAGE = ["log_tool [-r] -a <k4n8-ip> -p <port> <file>", "-r: replay"]

REFUSED = [
    ("nothing",),
    ("file alone", "log"),
    ("no file", "-a", "127.0.0.1", "-p", "9"),
    ("no file, replay", "-r", "-a", "127.0.0.1", "-p", "9"),
    ("empty file name", "-a", "127.0.0.1", "-p", "9", ""),
    ("no address", "-p", "9", "log"),
    ("no port", "-a", "127.0.0.1", "log"),
    ("-a last", "log", "-p", "9", "-a"),
    ("-a last, after another", "log", "-p", "9", "-a", "127.0.0.1", "-a"),
    ("-p last", "log", "-a", "127.0.0.1", "-p"),
    ("-p last, after another", "log", "-a", "127.0.0.1", "-p", "9", "-p"),
    ("no address at all", "-a", "300.1.1.1", "-p", "9", "log"),
    ("the address that reads as none", "-a", "255.255.255.255", "-p", "9", "log"),
    ("8 and 9 are not octal", "-a", "127.0.0.09", "-p", "9", "log"),
    ("five numbers", "-a", "127.0.0.0.1", "-p", "9", "log"),
    ("text right after the address", "-a", "127.0.0.1x", "-p", "9", "log"),
    ("a name", "-a", "localhost", "-p", "9", "log"),
    ("empty address", "-a", "", "-p", "9", "log"),
    ("bad address before a good one", "-a", "300.1.1.1", "-a", "127.0.0.1", "-p", "9", "log"),
    ("port 0", "-a", "127.0.0.1", "-p", "0", "log"),
    ("port 0 after a good one", "-a", "127.0.0.1", "-p", "9", "-p", "0", "log"),
    ("no number", "-a", "127.0.0.1", "-p", "abc", "log"),
    ("hexadecimal port", "-a", "127.0.0.1", "-p", "0x138D", "log"),
    ("empty port", "-a", "127.0.0.1", "-p", "", "log"),
]


class UsageTest(RecordingTest):
    def test_refused_arguments(self):
        for name, *arguments in REFUSED:
            with self.subTest(name):
                program = self.start(LOG_TOOL, *arguments)
                self.assertEqual(255, program.wait())
                self.assertEqual(USAGE, program.lines)
                self.assertEqual("", program.unfinished_line)
                self.assertEqual("", program.errors)
                self.assertEqual([], os.listdir(self.folder))


class RecordArgumentsTest(RecordingTest):
    def setUp(self):
        super().setUp()
        self.device = Device()
        self.addCleanup(self.device.close)
        self.port = str(self.device.port)

    def check_records_into(self, name, *arguments):
        """The device is greeted, and of all files only `name` comes into being."""
        program = self.start(LOG_TOOL, *arguments)
        self.assertEqual(codec.HELLO, self.device.wait_hello())
        self.assertEqual(TIMER_HELLO, program.read_line())
        self.assertEqual([name], os.listdir(self.folder))
        program.interrupt()
        self.assertEqual(0, program.wait())

    def test_any_order(self):
        self.check_records_into("log", "log", "-p", self.port, "-a", "127.0.0.1")

    def test_the_last_of_repeated_arguments_wins(self):
        self.check_records_into(
            "log2",
            *("-a", "127.0.0.9", "-p", "9", "log1"),
            *("-a", "127.0.0.1", "-p", self.port, "log2"),
        )

    def test_an_unknown_option_is_a_file_name(self):
        self.check_records_into("-x", "-a", "127.0.0.1", "-p", self.port, "-x")

    def test_a_port_counts_with_its_low_16_bits(self):
        port = str(self.device.port - 0x10000)
        self.check_records_into("log", "-a", "127.0.0.1", "-p", port, "log")

    def test_a_number_ends_at_its_first_other_character(self):
        self.check_records_into("log", "-a", "127.0.0.1", "-p", f" {self.port}x9", "log")

    def test_a_port_is_decimal_also_with_zeros_or_a_sign(self):
        for port in (f"000{self.port}", f"+{self.port}"):
            with self.subTest(port):
                self.check_records_into("log", "-a", "127.0.0.1", "-p", port, "log")

    def test_an_address_as_inet_addr_takes_it(self):
        for address in (
            *("0177.0.0.01", "0x7f.0.0.0x1", "0x7F000001", "2130706433"),
            *("127.1", "127.0.1", "127.0.0.1 and more"),
        ):
            with self.subTest(address):
                self.check_records_into("log", "-a", address, "-p", self.port, "log")

    def test_a_number_of_the_address_with_a_leading_zero_is_octal(self):
        self.device = Device(address="127.0.0.8")
        self.addCleanup(self.device.close)
        self.check_records_into("log", "-a", "127.0.0.010", "-p", str(self.device.port), "log")

    def test_a_file_name_is_cut_to_79_characters(self):
        name = "".join(chr(ord("a") + i % 26) for i in range(79))
        self.check_records_into(name, "-a", "127.0.0.1", "-p", self.port, name + "80")

    def test_port_65536_sends_to_port_0(self):
        program = self.start(LOG_TOOL, "-a", "127.0.0.1", "-p", "65536", "log")
        prefix = r"\d\d:\d\d:\d\d   DEBUG: "
        self.assertRegex(
            program.read_line(),
            f"^{prefix}UdpSocket::transmit: sendto failed errno 22: "
            + re.escape(os.strerror(22))
            + f"{prefix}UdpCon::transmit: sendto failed errno 22timeout: send hello$",
        )
        program.interrupt()
        self.assertEqual(0, program.wait())
        self.assertEqual(INTERRUPTED, program.lines[-2:])

    def test_multiples_of_65536_fail_each_second(self):
        ports = ("65536", "131072", "-65536")
        programs = [
            self.start(LOG_TOOL, "-a", "127.0.0.1", "-p", port, f"log{port}") for port in ports
        ]
        for port, program in zip(ports, programs):
            with self.subTest(port):
                for _ in range(2):
                    line = program.read_line()
                    self.assertIn("sendto failed errno 22: Invalid argument", line)
                    self.assertTrue(line.endswith("send hello"), line)
                program.interrupt()
                self.assertEqual(0, program.wait())
                self.assertEqual(b"", self.read_file(f"log{port}"))

    def test_a_forgotten_replay_option_empties_the_log(self):
        self.write_file("log", codec.frame(GenericData(1, 2, 3)))
        self.check_records_into("log", "-a", "127.0.0.1", "-p", self.port, "log")
        self.assertEqual(b"", self.read_file("log"))

    def test_replay_option_anywhere_keeps_the_file(self):
        log = codec.frame(GenericData(1, 2, 3))
        self.write_file("log", log)
        options = ("log", "-p", self.port, "-a", "127.0.0.1")
        for arguments in (("-r", *options), (*options, "-r")):
            with self.subTest(arguments):
                self.assertEqual(0, self.start(LOG_TOOL, *arguments).wait())
                self.assertEqual(log, self.read_file("log"))


if __name__ == "__main__":
    unittest.main()
