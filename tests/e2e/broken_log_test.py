"""Logs that are cut, changed or no logs at all: what comes before the damage is replayed."""

import random
import subprocess
import unittest
from concurrent.futures import ThreadPoolExecutor

from harness import codec
from harness.codec import AttitudeData, GenericData, GnssData, GnssPvt, ImuData, datagram, frame
from harness.device import Device
from harness.program import TIMEOUT_S
from harness.recording import RecordingTest
from harness.replaying import replay_command
from harness.samples import SPECIAL_FLOATS

JOBS = 4

# Nothing waits, whichever byte of a time stamp changes: the first one stays the latest.
RECORDS = [
    ImuData(0xFFFFFFFF, *SPECIAL_FLOATS[:6]),
    GnssData.record({"source": 7, "pvt.ticks": 0x101, "pvt.longitude": -2, "dop.vDop": 3}),
    GnssPvt.record({"ticks": 0x102, "velocityDown": -3, "pDop": 4}),
    AttitudeData(0x103, *SPECIAL_FLOATS[6:10], 0, 1, 1, 0),
    GenericData(0x104, 0x21222324, 0x31323334),
]
LOG = b"".join(map(frame, RECORDS))
GOOD = frame(RECORDS[0])


def replace(at, data, log=LOG):
    return log[:at] + data + log[at + len(data) :]


class Replayer:
    """Replays one log after the other to a device of its own."""

    def __init__(self, folder, name):
        self._device = Device()
        self._folder = folder
        self._name = name

    def run(self, log, expected):
        """What the program sent and printed, and how it ended. So many datagrams are waited for."""
        with open(f"{self._folder}/{self._name}", "wb") as file:
            file.write(log)
        program = subprocess.run(
            replay_command(self._device, self._name),
            cwd=self._folder,
            stdin=subprocess.DEVNULL,
            capture_output=True,
            check=False,
            timeout=TIMEOUT_S,
        )
        received = self._device.receive_all(expected)
        return received, program.stdout.decode(), program.stderr.decode(), program.returncode

    def close(self):
        self._device.close()


class BrokenLogTest(RecordingTest):
    def setUp(self):
        super().setUp()
        self.replayers = [Replayer(self.folder, f"log{i}") for i in range(JOBS)]
        for replayer in self.replayers:
            self.addCleanup(replayer.close)

    def check(self, cases):
        """Replays logs, of (name, content, datagrams expected, text expected)."""

        def run_share(first):
            return [
                self.replayers[first].run(log, len(datagrams))
                for _, log, datagrams, _ in cases[first::JOBS]
            ]

        with ThreadPoolExecutor(JOBS) as pool:
            shares = list(pool.map(run_share, range(JOBS)))
        for i, (name, _, datagrams, text) in enumerate(cases):
            with self.subTest(name):
                self.assertEqual((datagrams, text, "", 0), shares[i % JOBS][i // JOBS])

    def check_as_replay(self, logs):
        self.check([(name, log, *codec.replay(log)) for name, log in logs])

    def test_messages(self):
        sent = [datagram(record) for record in RECORDS]
        end = "End of file reached\n"
        no_content = "could not read frame content, return false\n"
        self.check(
            [
                ("whole", LOG, sent, end),
                ("empty", b"", [], end),
                ("less than a header", LOG + GOOD[:7], sent, end),
                ("header alone", LOG + GOOD[:8], sent, end + no_content),
                ("no footer", LOG[:-4], sent[:4], end + no_content),
                ("footer cut", LOG[:-1], sent[:4], end + no_content),
                ("version 2", replace(41, b"\x02"), sent[:1], "Illegal frame header version 2"),
                ("version 255", replace(1, b"\xff"), [], "Illegal frame header version 255"),
                (
                    "footer of zeros",
                    replace(36, bytes(4)),
                    [],
                    "Illegal frame header footer 0" + no_content,
                ),
                (
                    "footer in the other byte order",
                    replace(36, b"\xa0\xb0\xc0\xd0"),
                    [],
                    "Illegal frame header footer -792678240" + no_content,
                ),
                ("type 6", replace(40, b"\x06"), sent[:1], ""),
                (
                    "type 6 of version 2",
                    replace(40, b"\x06\x02"),
                    sent[:1],
                    "Illegal frame header version 2",
                ),
                ("zeros", LOG + bytes(5), sent, end),
                ("more zeros", LOG + bytes(500), sent, "Illegal frame header version 0"),
            ]
        )

    def test_cut_at_every_byte(self):
        self.check_as_replay((f"{size} bytes", LOG[:size]) for size in range(len(LOG) + 1))

    def test_every_byte_changed(self):
        self.check_as_replay(
            (f"byte {at} xor {mask:#x}", replace(at, bytes((LOG[at] ^ mask,))))
            for at in range(len(LOG))
            for mask in (0xFF, 1 << at % 8)
        )

    def test_every_type_code(self):
        # As long as the longest type's frame, and behind it a frame that nobody may look for.
        body = b"\x01\x14\x00" + bytes(4 + GnssData.payload_size) + codec.FOOTER
        self.check_as_replay(
            (f"type {code}", GOOD + bytes((code,)) + body + GOOD) for code in range(256)
        )

    def test_garbage(self):
        rng = random.Random(1)

        def garbage(size):
            # Half of it looks like frames for a while.
            return bytes(rng.choices(range(256) if size % 2 else (1, 2, 4, 5), k=size))

        self.check_as_replay((f"{size} bytes", GOOD + garbage(size)) for size in range(301))

    def test_flags_of_any_byte_go_out_as_1(self):
        cases = []
        for flag in (2, 0x80, 0xFF):
            for at in range(4):
                log = replace(
                    8 + AttitudeData.payload_size - 4 + at,
                    bytes((flag,)),
                    frame(AttitudeData(7, *SPECIAL_FLOATS[:4])),
                )
                flags = bytes(int(i == at) for i in range(4))
                sent = datagram(AttitudeData(7, *SPECIAL_FLOATS[:4]))[:-4] + flags
                cases.append((f"{flag} at {at}", log, [sent], "End of file reached\n"))
        self.check(cases)


if __name__ == "__main__":
    unittest.main()
