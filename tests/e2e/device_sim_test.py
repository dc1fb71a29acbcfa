"""Recordings of the simulated device, judged by the simulation's own dump of what it sent, and the
reports and refusals of device_sim."""

import json
import signal
import unittest
from collections import Counter

from harness import codec
from harness.codec import TYPES, GenericData
from harness.places import DEVICE_SIM, LOG_TOOL
from harness.program import ProgramTest, free_port
from harness.recording import RecordingTest

RECORDS = 500
RATES = [
    argument
    for name in ("imu", "attitude", "pvt", "gnss", "generic")
    for argument in (f"--{name}-rate", "80")
]


def stamps(datagrams):
    return [int.from_bytes(data[4:8], "big") for data in datagrams if data and data[0] in TYPES]


# Name, options, and what tells that the datagrams are of that kind.
STREAMS = [
    ("plain", (), lambda sent: stamps(sent) == sorted(stamps(sent))),
    ("burst", ("--burst", "100"), lambda sent: True),
    ("shuffle", ("--shuffle", "20"), lambda sent: stamps(sent) != sorted(stamps(sent))),
    ("unknown", ("--unknown-every", "7"), lambda sent: any(d[0] not in TYPES for d in sent)),
    ("long", ("--long-every", "3"), lambda sent: any(len(d) > TYPES[d[0]].size for d in sent)),
    ("empty", ("--empty-every", "5"), lambda sent: b"" in sent),
    (
        "wrap",
        ("--start-ticks", str(2**32 - 100)),
        lambda sent: stamps(sent)[0] > 2**31 > stamps(sent)[-1],
    ),
    (
        "all",
        ("--burst", "50", "--shuffle", "9", "--unknown-every", "11")
        + ("--long-every", "13", "--empty-every", "17"),
        lambda sent: b"" in sent and stamps(sent) != sorted(stamps(sent)),
    ),
]


class StreamTest(RecordingTest):
    def simulate(self, name, *options):
        return super().simulate(
            *RATES,
            *("--count", str(RECORDS), "--dump", f"{name}.dump", "--json", f"{name}.json"),
            *options,
            log=name,
        )

    def test_is_recorded_whole(self):
        # All at once: each waits a second for its first hello.
        runs = [self.simulate(name, *options) for name, options, _ in STREAMS]
        for (simulation, recording), (name, _, is_of_its_kind) in zip(runs, STREAMS):
            with self.subTest(name):
                self.assertEqual(0, simulation.wait(), simulation.errors)
                datagrams = codec.parse_dump(self.read_file(f"{name}.dump"))
                self.assertTrue(is_of_its_kind(datagrams))
                recording.take_over(datagrams)
                self.check_complete(recording)
                log = codec.parse_frames(self.read_file(name))
                self.assertEqual(RECORDS, len(log))
                report = json.loads(self.read_file(f"{name}.json"))
                self.assertEqual(report["sent"], Counter(record.type.name for record in log))

    def test_short_record_aborts(self):
        for size, line in (("7", 22), ("8", 28)):
            with self.subTest(size):
                simulation, recording = self.simulate(
                    "short", "--short-at", "300", "--short-to", size
                )
                panic = f"Panic: *** ASSERT in playback_controller at {line}"
                recording.check_end(-signal.SIGABRT, [panic])
                self.assertEqual(0, simulation.wait(), simulation.errors)
                before = codec.parse_dump(self.read_file("short.dump"))[:299]
                log = self.read_file("short")
                self.assertNotEqual(b"", log)
                self.assertEqual(codec.recording(before)[: len(log)], log)


class RateTest(RecordingTest):
    RATE = 20000

    def test_twenty_thousand_a_second(self):
        """All that the kernel had room for is recorded. On a busy machine that may not be all."""
        simulation, recording = self.simulate(
            *("--imu-rate", str(self.RATE / 2), "--attitude-rate", str(self.RATE / 2)),
            *("--pvt-rate", "0", "--gnss-rate", "0", "--generic-rate", "0"),
            *("--duration", "1", "--dump", "dump"),
        )
        self.assertEqual(0, simulation.wait(), simulation.errors)
        datagrams = codec.parse_dump(self.read_file("dump"))
        self.assertEqual(self.RATE, len(datagrams))
        recording.take_over(datagrams)
        recording.synchronise()
        lost = recording.lost()
        log = codec.parse_frames(recording.interrupt())
        self.assertEqual(len(datagrams), len(log) + lost)
        sent = map(codec.parse_datagram, datagrams)
        self.assertTrue(all(record in sent for record in log), "order or content")
        self.assertLess(lost, self.RATE / 2)


class ExpectedLogTest(ProgramTest):
    def test_a_file_without_a_record_is_refused(self):
        frame = codec.frame(GenericData(1, 2, 3))
        for name, content, reason in (
            ("text", b"no log at all, but longer than a frame", "is no log: "),
            ("cut", frame[:-1], "is no log: "),
            ("unknown", b"\x06" + frame[1:], "is no log: "),
            ("emptied", b"", "is empty: "),
        ):
            with self.subTest(name):
                self.write_file(name, content)
                simulation = self.start(DEVICE_SIM, "--bind", "127.0.0.1", "--expect", name)
                self.assertIsNone(simulation.read_line())  # it does not listen
                self.assertEqual(2, simulation.wait())
                self.assertRegex(simulation.errors, f"^device_sim: {name} {reason}.*\n$")

    def test_nothing_of_a_log_is_not_all_of_it(self):
        self.write_file("log", codec.frame(GenericData(1, 2, 3)) + b"damage")
        simulation = self.start(DEVICE_SIM, "--bind", "127.0.0.1", "--expect", "log")
        simulation.read_line()
        simulation.interrupt()
        self.assertEqual(1, simulation.wait())
        self.assertEqual("device_sim: log is damaged behind record 1\n", simulation.errors)


class ReportTest(ProgramTest):
    def interrupt(self, simulation):
        simulation.interrupt()
        self.assertEqual(0, simulation.wait(), simulation.errors)

    def test_standard_output_is_json_alone(self):
        port = str(free_port())
        simulation = self.start(
            *(DEVICE_SIM, "--bind", "127.0.0.1", "--port", port, "--count", "10", "--json", "-")
        )
        self.start(LOG_TOOL, "-a", "127.0.0.1", "-p", port, "log")
        self.assertEqual(0, simulation.wait(), simulation.errors)
        (report,) = simulation.lines
        self.assertEqual(10, sum(json.loads(report)["sent"].values()))
        self.assertRegex(simulation.errors, rf"\Alistening on {port}\nsent +count\n(.*\n)+\Z")

    def test_a_report_that_cannot_be_written_is_known_at_the_start(self):
        for name in ("none/report", ".", "/proc/report"):
            with self.subTest(name):
                simulation = self.start(DEVICE_SIM, "--bind", "127.0.0.1", "--json", name)
                self.assertIsNone(simulation.read_line())
                self.assertEqual(2, simulation.wait())
                self.assertRegex(simulation.errors, f"^device_sim: cannot write {name}: .*\n$")

    def test_a_former_report_stays_until_the_new_one(self):
        former = b"former\n" * 1000
        self.write_file("report", former)
        simulation = self.start(DEVICE_SIM, "--bind", "127.0.0.1", "--json", "report")
        simulation.read_line()
        self.assertEqual(former, self.read_file("report"))
        self.interrupt(simulation)
        self.assertEqual(0, json.loads(self.read_file("report"))["received"]["hellos"])

    def test_a_report_that_finds_no_room(self):
        simulation = self.start(DEVICE_SIM, "--bind", "127.0.0.1", "--json", "/dev/full")
        simulation.read_line()
        simulation.interrupt()
        self.assertEqual(2, simulation.wait())
        self.assertIn("cannot write all of /dev/full: No space left", simulation.errors)


if __name__ == "__main__":
    unittest.main()
