"""What a recording holds of the datagrams sent to it."""

import itertools
import unittest

from harness import codec
from harness.codec import TYPES, AttitudeData, GenericData, GnssData, GnssPvt, ImuData, datagram
from harness.device import Device
from harness.recording import RecordingTest
from harness.samples import SPECIAL_FLOATS, distinct_words


def numbered(type_, number):
    """A record that no other number gives."""
    field = "constellations" if type_ is GnssData else "ticks"
    return type_.record({field: number})


def numbered_datagrams(count):
    types = itertools.cycle(TYPES.values())
    return [datagram(numbered(next(types), number)) for number in range(1, count + 1)]


class RecordTest(RecordingTest):
    def check_recorded(self, datagrams):
        recording = self.record()
        recording.send(*datagrams)
        self.check_complete(recording)

    def test_every_field_of_every_type(self):
        datagrams = []
        for type_ in TYPES.values():
            payload = b"".join(word.to_bytes(4, "big") for word in distinct_words(24))
            header = datagram(type_())[: codec.HEADER_SIZE]
            datagrams.append(header + payload[: type_.payload_size])
            for field in type_.fields:
                datagrams.append(datagram(type_.record({field: 1})))
        self.check_recorded(datagrams)

    def test_extreme_words(self):
        datagrams = []
        for type_ in (GnssData, GnssPvt, GenericData):
            for word in (b"\x7f\xff\xff\xff", b"\x80\x00\x00\x00", b"\xff\xff\xff\xff"):
                header = datagram(type_())[: codec.HEADER_SIZE]
                datagrams.append(header + word * (type_.payload_size // 4))
        self.check_recorded(datagrams)

    def test_floats_bit_for_bit(self):
        datagrams = []
        for type_, count in ((ImuData, 6), (AttitudeData, 4)):
            for first in range(len(SPECIAL_FLOATS)):
                values = (SPECIAL_FLOATS[first:] + SPECIAL_FLOATS[:first])[:count]
                datagrams.append(datagram(type_(first, *values)))
        self.check_recorded(datagrams)

    def test_flags_become_0_or_1(self):
        flags = itertools.product((0, 1, 0x80, 0xFF), repeat=4)
        self.check_recorded([datagram(AttitudeData(7, 0, 0, 0, 0, *four)) for four in flags])

    def test_gnss_sources_and_sections(self):
        absent_pvt = {"pvt.ticks": 0, "pvt.longitude": -123, "pvt.pDop": 9}
        absent_dop = {"dop.ticks": 0, "dop.vDop": 12}
        present_pvt = {**absent_pvt, "pvt.ticks": 0xFFFFFFF0}
        present_dop = {**absent_dop, "dop.ticks": 5}
        sections = itertools.product((absent_pvt, present_pvt), (absent_dop, present_dop))
        self.check_recorded(
            datagram(GnssData.record({"source": source, "constellations": 0x8000000F, **a, **b}))
            for source, (a, b) in itertools.product((0, 1, 2, 7, 0xFFFFFFFF), sections)
        )

    def test_only_the_type_of_a_header_counts(self):
        headers = [
            {"marker": 0, "length": 0, "reserved": 0, "stamp": 0},
            {"marker": 0xFF, "length": 0xFF, "reserved": 0xFF, "stamp": 0xFFFFFFFF},
            {"marker": 2, "length": 8, "reserved": 1, "stamp": 1},
        ]
        self.check_recorded(
            datagram(numbered(type_, 77), **header)
            for type_ in TYPES.values()
            for header in headers
        )

    def test_order_of_arrival(self):
        self.check_recorded(numbered_datagrams(1000) + numbered_datagrams(100)[::-1])

    def test_padding_is_cut_off(self):
        datagrams = []
        for type_ in TYPES.values():
            for size in (type_.size + 1, 2 * type_.size, 1600, 1601, 9000, 65507):
                padding = b"\xa5" * (size - type_.size)
                datagrams.append(datagram(numbered(type_, size), padding=padding))
        self.check_recorded(datagrams)

    def test_unknown_types_are_ignored(self):
        datagrams = numbered_datagrams(100)
        for at, (type_code, size) in enumerate(
            itertools.product((0, 6, 0x68, 0x81, 0xFF), (8, 36, 104, 1700))
        ):
            datagrams.insert(5 * at, bytes((type_code,)) + b"\x01" * (size - 1))
        self.check_recorded(datagrams)

    def test_empty_datagrams_lose_nothing(self):
        datagrams = numbered_datagrams(60)
        for at in (40, 40, 20, 1, 0):
            datagrams.insert(at, b"")
        recording = self.record()
        recording.program.pause()  # all of them wait in one queue
        recording.send(*datagrams)
        recording.program.resume()
        self.check_complete(recording)

    def test_any_sender_is_recorded(self):
        recording = self.record()
        stranger = Device(recording.device.peer)
        self.addCleanup(stranger.close)
        datagrams = numbered_datagrams(50)
        for sender, data in zip(itertools.cycle((recording.device, stranger)), datagrams):
            sender.send(data)
        recording.foreign = stranger.sent
        recording.synchronise()
        self.assert_log(codec.recording(datagrams), recording.interrupt())

    def test_former_content_of_the_file_is_gone(self):
        self.write_file("log", codec.frame(numbered(ImuData, 1)) * 1000)
        recording = self.record()
        recording.send(*numbered_datagrams(3))
        self.check_complete(recording)


if __name__ == "__main__":
    unittest.main()
