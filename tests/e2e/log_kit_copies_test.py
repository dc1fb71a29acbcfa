"""What log_kit makes of a log: cut, merge, split, retime, redact, dump and diff, against an
independent reading of the same logs."""

import json
import math
import os
import random
import signal
import subprocess
import time
import unittest

from harness import codec
from harness.codec import AttitudeData, GenericData, GnssData, GnssPvt, ImuData
from harness.places import LOG_KIT
from harness.program import TIMEOUT_S, ProgramTest

GOOD, FAILED, USAGE, DAMAGED = range(4)
UTC_START = 1795167060  # 2026-11-20T09:31:00Z
NAMES = {"imu": ImuData, "gnss": GnssData, "pvt": GnssPvt, "attitude": AttitudeData}
STAMPS = ("ticks", "pvt.ticks", "dop.ticks")


def drive(seconds, start=5000, seed=1, latitude=520000000, longitude=50000000):
    """The records of a drive with a record every 10 ms, without disorder."""
    generator = random.Random(seed)

    def bits(count):
        return [generator.randrange(2**30) for _ in range(count)]

    records = []
    for ms in range(0, seconds * 1000, 10):
        ticks = (start + ms) % 2**32
        records.append(ImuData(ticks, *bits(6)))
        if ms % 50 == 0:
            records.append(AttitudeData(ticks, *bits(4), 1, 0, 1, 1))
        if ms % 200 == 0:
            pvt = {
                "ticks": ticks,
                "fixType": 4,
                "utcTime": UTC_START + ms // 1000,
                "latitude": latitude + ms,
                "longitude": longitude - ms // 3,
                "altitude": ms,
                "velocityNorth": generator.randrange(1000),
            }
            section = {f"pvt.{name}": value for name, value in pvt.items()}
            dop = (ticks - 3) % 2**32 if ms % 400 else 0
            records.append(GnssPvt.record(pvt))
            records.append(GnssData.record({**section, "dop.ticks": dop, "dop.vDop": ms}))
        if ms % 1000 == 0:
            records.append(GenericData(ticks, ms, 7))
    return records


def log_of(records):
    return b"".join(map(codec.frame, records))


def with_fields(record, **changed):
    return record.type.record({**dict(zip(record.type.fields, record.values)), **changed})


def moved(record, milliseconds):
    """The record with every stamp moved; absent sections stay absent."""
    sections = record.type is GnssData
    return with_fields(
        record,
        **{
            name: (record[name] + milliseconds) % 2**32
            for name in STAMPS
            if name in record.type.fields and not (sections and record[name] == 0)
        },
    )


class LogKitTest(ProgramTest):
    def kit(self, *arguments, status=GOOD, stdin=None):
        """Standard output and standard error."""
        done = subprocess.run(
            [LOG_KIT, *map(str, arguments)],
            cwd=self.folder,
            input=stdin,
            capture_output=True,
            timeout=TIMEOUT_S,
            check=False,
        )
        self.assertEqual(status, done.returncode, done.stderr.decode())
        return done.stdout.decode(), done.stderr.decode()

    def write_log(self, name, records):
        self.write_file(name, log_of(records))

    def read_log(self, name):
        return codec.parse_frames(self.read_file(name))


class CutTest(LogKitTest):
    def setUp(self):
        super().setUp()
        self.records = drive(20)
        self.write_log("in", self.records)

    def check_cut(self, expected, *options):
        self.kit("cut", "in", "out", "--force", *options)
        self.assertEqual(log_of(expected), self.read_file("out"))

    def test_times(self):
        expected = [r for r in self.records if 7000 <= r.type.stamp(r) < 9000]
        self.check_cut(expected, "--from", "7000", "--to", "9000")
        self.check_cut(expected, "--from", "+2s", "--to", "+0:04")
        self.check_cut(expected, "--from", "2026-11-20T09:31:02Z", "--to", "2026-11-20T09:31:04Z")

    def test_types(self):
        for name, type_ in NAMES.items():
            self.check_cut([r for r in self.records if r.type is type_], "--type", name)
        both = [r for r in self.records if r.type in (ImuData, GnssPvt)]
        self.check_cut(both, "--type", "imu,pvt")
        self.check_cut(both, "--type", "imu", "--type", "pvt")

    def test_every(self):
        self.kit("cut", "in", "out", "--every", "7")
        found = self.read_log("out")
        for type_ in codec.TYPES.values():
            chosen = [r for r in self.records if r.type is type_][::7]
            self.assertEqual(chosen, [r for r in found if r.type is type_])

    def test_a_pipe(self):
        self.kit("cut", "-", "out", "--to", "+1s", stdin=self.read_file("in"))
        self.assertEqual(131, len(self.read_log("out")))
        errors = self.kit(
            *("cut", "-", "none", "--from", "2026-11-20T09:31:02Z"),
            stdin=self.read_file("in"),
            status=FAILED,
        )[1]
        self.assertIn("a pipe can be read only once", errors)
        self.assertFalse(os.path.exists(self.path("none")))

    def test_damage(self):
        log = self.read_file("in")
        self.write_file("in", b"garbage" + log)
        self.kit("cut", "in", "out", status=DAMAGED)
        self.assertEqual(log, self.read_file("out"))

    def test_never_over_a_file_unless_forced(self):
        self.write_file("out", b"old")
        self.kit("cut", "in", "out", status=FAILED)
        self.assertEqual(b"old", self.read_file("out"))
        self.kit("cut", "in", "in", "--force", status=FAILED)
        self.assertEqual(log_of(self.records), self.read_file("in"))

    def test_interrupt_leaves_nothing(self):
        os.mkfifo(self.path("pipe"))
        program = self.start(LOG_KIT, "cut", "pipe", "out")
        with open(self.path("pipe"), "wb") as pipe:
            pipe.write(log_of(self.records))
            pipe.flush()
            deadline = time.monotonic() + TIMEOUT_S
            while len(os.listdir(self.folder)) < 3 and time.monotonic() < deadline:
                time.sleep(0.01)
            self.assertEqual(3, len(os.listdir(self.folder)))
            program.interrupt()
            self.assertEqual(-signal.SIGINT, program.wait())
        self.assertEqual(["in", "pipe"], sorted(os.listdir(self.folder)))


class MergeTest(LogKitTest):
    def test_parts_give_the_original(self):
        for start in (5000, 2**32 - 4000):
            self.write_log("in", drive(10, start))
            for number, options in enumerate(
                (["--to", "+3s"], ["--from", "+3s", "--to", "+6s"], ["--from", "+6s"])
            ):
                self.kit("cut", "in", f"part{number}", "--force", *options)
            output, _ = self.kit("merge", "--force", "out", "part2", "part0", "part1")
            self.assertEqual(self.read_file("in"), self.read_file("out"))
            self.assertNotIn("overlap", output)

    def test_overlap(self):
        records = drive(10)
        self.write_log("a", [r for r in records if r.type is ImuData])
        self.write_log("b", [r for r in records if r.type is not ImuData])
        output, _ = self.kit("merge", "out", "a", "b")
        self.assertIn("a and b overlap from ticks 5000 to 14950, 9.95 s", output)
        self.assertEqual(log_of(records), self.read_file("out"))


class SplitTest(LogKitTest):
    def test_parts_give_the_original(self):
        self.write_log("drive.log", drive(10, 2**32 - 4000))
        for options, count in (
            (["--every", "3s"], 4),
            (["--size", "20K"], 3),
            (["--at-gaps"], 1),
        ):
            self.kit("split", "drive.log", "--prefix", f"p{count}", *options)
            parts = sorted(name for name in os.listdir(self.folder) if name.startswith(f"p{count}"))
            self.assertEqual([f"p{count}-{n:04}.log" for n in range(1, count + 1)], parts)
            self.assertEqual(self.read_file("drive.log"), b"".join(map(self.read_file, parts)))

    def test_gaps(self):
        records = drive(2) + drive(2, 60000) + drive(2, 300)
        self.write_log("drive.log", records)
        self.kit("split", "drive.log", "--at-gaps")
        third = len(records) // 3
        parts = records[:third], records[third:-third], records[-third:]
        for number, part in enumerate(parts, 1):
            self.assertEqual(part, self.read_log(f"drive-000{number}.log"))

    def test_wrong_usage(self):
        self.write_log("drive.log", drive(1))
        for options in ([], ["--size", "10"], ["--size", "1X"], ["--every", "0"], ["--gap", "1"]):
            with self.subTest(options):
                self.kit("split", "drive.log", *options, status=USAGE)
        self.kit("split", "-", "--every", "1s", status=USAGE, stdin=b"")


class RetimeTest(LogKitTest):
    def test_there_and_back(self):
        records = drive(10)
        self.write_log("in", records)
        self.kit("retime", "in", "there", "--shift", "-4000")
        self.assertEqual([moved(r, -4000) for r in records], self.read_log("there"))
        self.kit("retime", "there", "back", "--start", "5000")
        self.assertEqual(self.read_file("in"), self.read_file("back"))

    def test_unwrap(self):
        start = 2**32 - 4005  # no stamp is 0
        records = drive(10, start)
        self.write_log("in", records)
        self.kit("retime", "in", "out", "--unwrap")
        found = self.read_log("out")
        self.assertEqual([moved(r, 1000 - start) for r in records], found)

    def test_one_way_only(self):
        self.write_log("in", drive(1))
        self.kit("retime", "in", "out", status=USAGE)
        self.kit("retime", "in", "out", "--unwrap", "--start", "1", status=USAGE)


class RedactTest(LogKitTest):
    PLACE = ("latitude", "longitude")

    def without_place(self, record):
        names = [n for n in record.type.fields if n.rpartition(".")[2] in self.PLACE]
        return with_fields(record, **dict.fromkeys(names, 0))

    def place(self, record):
        prefix = "pvt." if record.type is GnssData else ""
        return record[prefix + "latitude"] / 1e7, record[prefix + "longitude"] / 1e7

    def test_moves_by_the_same_metres_and_nothing_else(self):
        """Metres by the radii of curvature of the WGS 84 ellipsoid, halfway."""
        equator, eccentricity = 6378137.0, 0.00669437999014
        for latitude in (0, 520000000, -335000000, 780000000):
            records = drive(5, latitude=latitude)
            self.write_log("in", records)
            self.kit("redact", "in", "out", "--force", "--shift-position", "120,-250")
            found = self.read_log("out")
            self.assertEqual(
                list(map(self.without_place, records)), list(map(self.without_place, found))
            )
            for before, after in zip(records, found):
                if before.type not in (GnssPvt, GnssData):
                    continue
                (from_lat, from_lon), (to_lat, to_lon) = self.place(before), self.place(after)
                middle = math.radians((from_lat + to_lat) / 2)
                bend = 1 - eccentricity * math.sin(middle) ** 2
                meridian = equator * (1 - eccentricity) / bend**1.5
                parallel = equator / bend**0.5 * math.cos(middle)
                self.assertAlmostEqual(120, math.radians(to_lat - from_lat) * meridian, delta=0.03)
                self.assertAlmostEqual(-250, math.radians(to_lon - from_lon) * parallel, delta=0.03)

    def test_says_what_still_tells(self):
        self.write_log("in", drive(1))
        output, _ = self.kit("redact", "in", "out", "--strip-position", "--shift-utc", "-86400")
        self.assertIn("velocities", output)
        self.assertNotIn("UTC: when", output)
        for record in self.read_log("out"):
            if record.type is GnssPvt:
                self.assertEqual((0, 0), self.place(record))
                self.assertEqual(UTC_START - 86400, record["utcTime"])

    def test_wrong_usage(self):
        self.write_log("in", drive(1))
        for options in (
            [],
            ["--shift-position", "1"],
            ["--origin", "91,0"],
            ["--origin", "1,2", "--strip-position"],
        ):
            with self.subTest(options):
                self.kit("redact", "in", "out", *options, status=USAGE)


class DumpTest(LogKitTest):
    def test_text(self):
        self.write_log("in", [GenericData(5000, 1, 4000000000), GnssData(constellations=5)])
        output, _ = self.kit("dump", "in")
        self.assertEqual(
            "GenericData, frame 0, offset 0, ticks 5000, +0.000 s\n"
            "Values: (1, 4000000000)\n"
            "Timestamp: 5000 ms\n"
            "\n"
            "GnssData, frame 1, offset 24, ticks 0, +0.000 s\n"
            "Source: LIVE GNSS\n"
            "Satellite constellation: GPS, GALILEO\n"
            "PVT data: Invalid\n"
            "DOP data: Invalid\n"
            "\n",
            output,
        )

    def test_hex(self):
        self.write_log("in", [GenericData(5000, 1, 2), GenericData(0x41424344, 1, 2)])
        output, _ = self.kit("dump", "in", "--hex", "--from", "5001")
        self.assertEqual(
            "GenericData, frame 1, offset 24, ticks 1094861636, +1094856.636 s\n"
            "00000018: 05 01 14 00 00 00 00 00 44 43 42 41 01 00 00 00  ........DCBA....\n"
            "00000028: 02 00 00 00 d0 c0 b0 a0                          ........\n"
            "\n",
            output,
        )

    def test_filter(self):
        records = drive(5)
        self.write_log("in", records)
        output, _ = self.kit("dump", "in", "--type", "pvt", "--from", "+1s", "--to", "+3s")
        self.assertEqual(10, output.count("GnssPvt, frame"))
        self.assertEqual(10, output.count("\n\n"))

    def test_a_closed_pipe_ends_it_quietly(self):
        self.write_log("in", drive(20))
        for options in ([], ["--hex"], ["--follow"]):
            program = self.start(LOG_KIT, "dump", *options, "in")
            program.read_line()
            program.stop_reading()
            self.assertNotEqual(0, program._process.wait(TIMEOUT_S))
            self.assertEqual("", program.errors)

    def test_follows_until_the_interrupt(self):
        frames = [codec.frame(GenericData(ticks, 1, 2)) for ticks in (1000, 2000, 3000)]
        self.write_file("log", frames[0] + frames[1][:10])
        program = self.start(LOG_KIT, "dump", "--follow", "log")
        self.assertRegex(program.read_line(), "frame 0, .*ticks 1000")
        with open(self.path("log"), "ab") as log:
            log.write(frames[1][10:])
        while "frame 1" not in program.lines[-1]:
            program.read_line()
        self.write_file("new", frames[2])
        os.rename(self.path("new"), self.path("log"))
        while "ticks 3000" not in program.lines[-1]:
            program.read_line()
        self.assertIn("frame 0, ", program.lines[-1])
        self.assertEqual("log_kit: another log begins under the name log\n", program.errors)
        program.interrupt()
        self.assertEqual(-signal.SIGINT, program.wait())


class DiffTest(LogKitTest):
    def diff(self, status):
        return json.loads(self.kit("diff", "--json", "a", "b", status=status)[0])

    def test_the_same_apart_from_a_time_shift(self):
        records = drive(20)
        self.write_log("a", records)
        self.write_log("b", [moved(r, 77777) for r in records])
        result = self.diff(GOOD)
        self.assertEqual(
            (True, 77777, "content"), tuple(result[k] for k in ("same", "shift_ms", "shift_by"))
        )

    def test_losses_and_changes(self):
        records = drive(20)
        changed = list(records)
        positions = [i for i, r in enumerate(records) if r.type is GnssPvt][5:9]
        for i in positions:
            changed[i] = with_fields(records[i], altitude=records[i]["altitude"] + 40)
        del changed[1000:1100]
        self.write_log("a", records)
        self.write_log("b", changed)
        result = self.diff(DAMAGED)
        self.assertEqual(100, sum(t["only_in_a"] for t in result["types"].values()))
        self.assertEqual(0, sum(t["only_in_b"] for t in result["types"].values()))
        self.assertEqual(
            {"altitude": {"count": 4, "largest": 40.0}}, result["types"]["GnssPvt"]["fields"]
        )
        (run,) = (d for d in result["differences"] if d["kind"] == "only_in_a")
        self.assertEqual((100, 1000, 1099), (run["count"], run["first_frame"], run["last_frame"]))

    def test_text(self):
        self.write_log("a", drive(2))
        self.write_log("b", drive(2)[:-1])
        output, _ = self.kit("diff", "a", "b", status=DAMAGED)
        self.assertRegex(output, r"total +261 +0 +1 +0\n")
        self.assertIn("only in A: ImuData at ticks 6990, frame 261\n", output)


class HelpTest(LogKitTest):
    def test_two_examples_each(self):
        for command in ("cut", "merge", "split", "retime", "redact", "dump", "diff"):
            output, _ = self.kit(command, "--help")
            examples = output.partition("Examples:\n")[2].splitlines()
            self.assertEqual(2, len(examples), output)
            for example in examples:
                self.assertIn(f"log_kit {command} ", example)


if __name__ == "__main__":
    unittest.main()
