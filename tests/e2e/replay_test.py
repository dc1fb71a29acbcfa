"""What a device gets of a log, and when."""

import os
import signal
import time
import unittest

from harness import codec
from harness.codec import TYPES, AttitudeData, GenericData, GnssData, ImuData, datagram, frame
from harness.program import TIMEOUT_S
from harness.recording import INTERRUPTED
from harness.replaying import (
    CLOCK_MS,
    END_OF_PIPE,
    HOUR_MS,
    ReplayTest,
    log_of,
    numbered_records,
    replay_command,
)
from harness.samples import SPECIAL_FLOATS, distinct_words

CHUNK = 100

RATES = [
    argument
    for name, rate in (("imu", 60), ("attitude", 20), ("pvt", 10), ("gnss", 5), ("generic", 5))
    for argument in (f"--{name}-rate", str(rate))
]


class ContentTest(ReplayTest):
    def check_sent(self, records):
        self.check_replayed(log_of(records), [datagram(record) for record in records])

    def test_bytes_written_out(self):
        self.check_replayed(
            bytes.fromhex(
                "05 01 14 00 00 00 00 00 14 13 12 11 24 23 22 21 34 33 32 31 D0 C0 B0 A0"
                "04 01 20 00 00 00 00 00 01 00 00 00 44 43 42 41 54 53 52 51 64 63 62 61 74 73 72"
                "71 00 01 01 00 D0 C0 B0 A0"
            ),
            [
                bytes.fromhex("05 01 14 00 11 12 13 14 11 12 13 14 21 22 23 24 31 32 33 34"),
                bytes.fromhex(
                    "04 01 20 00 00 00 00 01 00 00 00 01 41 42 43 44 51 52 53 54 61 62 63 64"
                    "71 72 73 74 00 01 01 00"
                ),
            ],
        )

    def test_every_field_of_every_type(self):
        records = [GenericData(0xFFFFFFFF)]  # the latest stamp first: none of the others waits
        for type_ in TYPES.values():
            payload = b"".join(word.to_bytes(4, "big") for word in distinct_words(24))
            records.append(codec.parse_datagram(datagram(type_())[:8] + payload))
            records += [type_.record({field: 1}) for field in type_.fields]
            for letter, values in {"i": (-(2**31), -1, 2**31 - 1), "I": (2**32 - 1,)}.items():
                fields = [f for f, of in zip(type_.fields, type_.letters) if of == letter]
                records += [type_.record(dict.fromkeys(fields, value)) for value in values]
        self.check_sent(records)

    def test_floats_bit_for_bit(self):
        records = []
        for type_, count in ((ImuData, 6), (AttitudeData, 4)):
            for first in range(len(SPECIAL_FLOATS)):
                values = (SPECIAL_FLOATS[first:] + SPECIAL_FLOATS[:first])[:count]
                records.append(type_(7, *values))
        self.check_sent(records)

    def test_gnss_stamp_is_that_of_the_later_section(self):
        for name, pvt, dop, stamp in [
            ("PVT later", 0x01020304, 0x01020303, "01 02 03 04"),
            ("DOP later", 0x01020304, 0x81020304, "81 02 03 04"),
            ("no DOP", 0x01020304, 0, "01 02 03 04"),
            ("no PVT", 0, 0x01020304, "01 02 03 04"),
            ("neither", 0, 0, "00 00 00 00"),
        ]:
            with self.subTest(name):
                record = GnssData.record(
                    {"source": 7, "pvt.ticks": pvt, "dop.ticks": dop, "pvt.pDop": 9, "dop.vDop": 8}
                )
                program = self.replay(frame(record))
                self.assert_end(program, ["End of file reached"])
                data = self.device.receive()
                self.assertEqual(f"02 01 68 00 {stamp} 00 00 00 07", data[:12].hex(" "))
                self.assertEqual(datagram(record), data)

    def test_length_and_reserved_do_not_count(self):
        log = b""
        for length in (0, 8, 0xFFFF):
            for type_ in TYPES.values():
                data = frame(type_.numbered(1, length))
                log += data[:2] + length.to_bytes(2, "little") + b"\xff" * 4 + data[8:]
        self.check_replayed(
            log,
            [
                datagram(type_.numbered(1, length))
                for length in (0, 8, 0xFFFF)
                for type_ in TYPES.values()
            ],
        )

    def test_an_empty_log_sends_nothing(self):
        self.check_replayed(b"", [])


class PaceTest(ReplayTest):
    def test_no_record_leaves_before_its_time(self):
        stamps = [1000, 1000, 1001, 1100, 1100, 1050, 900, 1250, 1251, 1600]
        records = numbered_records(stamps)
        program, pipe = self.replay_pipe("log")  # the time that the program needs to start is over
        start = time.monotonic()
        pipe.write(log_of(records) + END_OF_PIPE)
        for stamp, record in zip(stamps, records):
            self.assertEqual(datagram(record), self.device.receive())
            passed_ms = (time.monotonic() - start) * 1000
            self.assertGreaterEqual(passed_ms, stamp - stamps[0] - CLOCK_MS)
        self.assert_end(program, [])

    def test_gnss_waits_for_its_later_section(self):
        start = time.monotonic()
        program = self.replay(
            frame(GenericData(1000)) + frame(GnssData.record({"pvt.ticks": 1, "dop.ticks": 1300}))
        )
        self.receive(2)
        self.assertGreaterEqual((time.monotonic() - start) * 1000, 300 - CLOCK_MS)
        self.assert_end(program, ["End of file reached"])

    def check_back_to_back(self, stamps):
        records = numbered_records(stamps)
        self.check_replayed(log_of(records), [datagram(record) for record in records])

    def test_stamps_before_the_first_do_not_wait(self):
        self.check_back_to_back([50 * HOUR_MS, 49 * HOUR_MS, 0, 10, 48 * HOUR_MS, 7, 50 * HOUR_MS])

    def test_after_a_wrap_of_the_device_counter_nothing_waits(self):
        last = 2**32 - 1
        self.check_back_to_back([last - 5, last, 0, 1, HOUR_MS, 2**31 - 1, 2**31, last - 6, 2])


class CircleTest(ReplayTest):
    """Recorded, replayed, recorded again."""

    def check_same_log(self, log):
        """Replays a log to a device whose stream, made of what it gets, is recorded."""
        recording = self.record(log="copy")
        start = time.monotonic()
        program = self.start(*replay_command(recording.device, log))
        expected = self.read_file(log)
        count = len(codec.parse_frames(expected))
        while len(recording.device.sent) < count:
            data = recording.device.receive()
            if data != codec.HELLO:
                recording.device.send(data)
        self.assert_end(program, ["End of file reached"])
        seconds = time.monotonic() - start
        recording.synchronise()
        self.assertEqual(0, recording.lost())
        self.assert_log(expected, recording.interrupt())
        return seconds

    def test_of_the_device_at_its_pace(self):
        simulation, recording = self.simulate(*RATES, "--count", "200", "--dump", "dump")
        self.assertEqual(0, simulation.wait(), simulation.errors)
        recording.take_over(codec.parse_dump(self.read_file("dump")))
        self.check_complete(recording)
        records = codec.parse_frames(self.read_file("log"))
        self.assertEqual(200, len(records))
        self.assertEqual(set(TYPES.values()), {record.type for record in records})
        stamps = [record.type.stamp(record) for record in records]
        seconds = self.check_same_log("log")
        self.assertGreater(stamps[-1] - stamps[0], 1500)
        self.assertGreaterEqual(seconds * 1000, stamps[-1] - stamps[0] - CLOCK_MS)

    def test_all_at_once(self):
        self.write_file("log", codec.numbered_log(12345, 200))
        self.check_same_log("log")


class InterruptTest(ReplayTest):
    def test_a_held_record_is_not_sent(self):
        log = log_of(numbered_records([5, 5 + HOUR_MS]))
        program = self.replay(log)
        self.assertEqual(datagram(ImuData.numbered(5, 0)), self.device.receive())
        interrupted = time.monotonic()
        program.interrupt()
        self.assert_end(program, INTERRUPTED)
        self.assertLess(time.monotonic() - interrupted, TIMEOUT_S)
        self.assertEqual([], self.device.received())
        self.assertEqual(log, self.read_file("log"))

    def test_ends_a_replay_that_never_waits(self):
        log = codec.numbered_log(0, CHUNK)
        program, pipe = self.replay_pipe("log")
        pipe.write(log)
        self.receive(CHUNK)
        program.interrupt()
        with self.assertRaises(BrokenPipeError):
            while True:
                pipe.write(log)
        self.assert_end(program, INTERRUPTED)

    def test_at_many_moments(self):
        records = numbered_records([*range(100), HOUR_MS])
        for count in range(1, 61):
            program = self.replay(log_of(records))
            received = self.receive(count)
            program.interrupt()
            self.assert_end(program, INTERRUPTED)
            received += [data for data, _ in self.device.received()]
            self.assertEqual(list(map(datagram, records[: len(received)])), received, count)
            self.assertLess(len(received), len(records))
            program.close()


class LogFileTest(ReplayTest):
    def test_a_log_that_cannot_be_opened_ends_the_program(self):
        os.mkdir(self.path("folder"))
        for name, reason in [
            ("missing", "No such file or directory"),
            ("folder", "Is a directory"),
        ]:
            with self.subTest(name):
                program = self.start(*replay_command(self.device, name))
                self.assertEqual(-signal.SIGABRT, program.wait())
                self.assertEqual([], program.lines)
                self.assertIn(
                    f"  what():  LogFile: failed to open file {name}: {reason}\n", program.errors
                )
                self.assertEqual(["folder"], os.listdir(self.folder))
                self.assertEqual([], self.device.received())


class LongLogTest(ReplayTest):
    STACK = 512 * 1024
    SPREAD_KIB = 256
    STACK_IN_EMULATOR = f"QEMU_STACK_SIZE={STACK}"  # there the limit alone does nothing
    # A build with sanitizers would keep what was freed.
    KEEP_NOTHING = "ASAN_OPTIONS=quarantine_size_mb=0:thread_local_quarantine_size_kb=0"

    def replay_at_once(self, name, count):
        """The peak of the program's memory after so many records that are all due, in KiB."""
        wrapper = ("env", self.KEEP_NOTHING, self.STACK_IN_EMULATOR, "prlimit")
        program, pipe = self.replay_pipe(name, *wrapper, f"--stack={self.STACK}")
        log = codec.numbered_log(0, CHUNK)
        datagrams = [datagram(record) for record in codec.parse_frames(log)]
        for _ in range(count // CHUNK):  # no more than the device's queue holds
            pipe.write(log)
            self.assertEqual(datagrams, self.receive(CHUNK))
        with open(f"/proc/{program.pid}/status", encoding="ascii") as status:
            peak = next(line.split()[1] for line in status if line.startswith("VmHWM:"))
        pipe.write(END_OF_PIPE)
        self.assert_end(program, [])
        return int(peak)

    def test_needs_no_more_stack_and_memory_than_a_short_one(self):
        short = self.replay_at_once("short", 3000)
        self.assertLessEqual(self.replay_at_once("long", 300000), short + self.SPREAD_KIB)


if __name__ == "__main__":
    unittest.main()
