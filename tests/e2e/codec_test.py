"""The codec itself, against bytes written out by hand."""

import unittest

from harness import codec
from harness.codec import AttitudeData, GenericData, GnssData, GnssPvt, ImuData


def words(first, count):
    """`count` different words of four different bytes each, as (value, big-endian bytes)."""
    blocks = [bytes((first + i, 0x40 + i, 0x80 + i, 0xC0 + i)) for i in range(count)]
    return [int.from_bytes(block, "big") for block in blocks], b"".join(blocks)


class CodecTest(unittest.TestCase):
    CASES = [
        # type, bytes of the datagram's header before the stamp, bytes of the frame's header
        (ImuData, "01 01 24 00", "01 01 24 00 00 00 00 00"),
        (GnssData, "02 01 68 00", "02 01 68 00 00 00 00 00"),
        (GnssPvt, "03 01 50 00", "03 01 50 00 00 00 00 00"),
        (GenericData, "05 01 14 00", "05 01 14 00 00 00 00 00"),
    ]

    def test_types_of_words_only(self):
        for type_, packet_header, frame_header in self.CASES:
            with self.subTest(type_.name):
                values, big = words(0x01, type_.payload_size // 4)
                little = b"".join(big[i : i + 4][::-1] for i in range(0, len(big), 4))
                record = type_(*values)
                stamp = big[80:84] if type_ is GnssData else big[:4]  # its DOP section's is later
                packet = bytes.fromhex(packet_header) + stamp + big
                frame = bytes.fromhex(frame_header) + little + bytes.fromhex("D0 C0 B0 A0")
                self.assertEqual(packet, codec.datagram(record))
                self.assertEqual(frame, codec.frame(record))
                self.assertEqual(record, codec.parse_datagram(packet))
                self.assertEqual([record, record], codec.parse_frames(frame * 2))

    def test_attitude(self):
        packet = bytes.fromhex(
            "04 01 20 00 01 02 03 04 01 02 03 04 11 12 13 14 21 22 23 24 31 32 33 34 41 42 43 44"
            "00 01 02 80"
        )
        frame = bytes.fromhex(
            "04 01 20 00 00 00 00 00 04 03 02 01 14 13 12 11 24 23 22 21 34 33 32 31 44 43 42 41"
            "00 01 01 01 D0 C0 B0 A0"
        )
        values = (0x01020304, 0x11121314, 0x21222324, 0x31323334, 0x41424344)
        self.assertEqual(packet, codec.datagram(AttitudeData(*values, 0, 1, 2, 0x80)))
        self.assertEqual(AttitudeData(*values, 0, 1, 1, 1), codec.parse_datagram(packet))
        self.assertEqual(frame, codec.frame(AttitudeData(*values, 0, 1, 1, 1)))

    def test_floats(self):
        self.assertEqual(0x3F800000, codec.float_bits(1.0))
        self.assertEqual(-2.5, codec.bits_float(0xC0200000))

    def test_signed_fields(self):
        packet = bytes.fromhex("03 01 50 00") + bytes(24) + b"\xff" * 4 + bytes(48)
        self.assertEqual(-1, codec.parse_datagram(packet)["longitude"])

    def test_what_a_recorder_makes_of_datagrams(self):
        generic = bytes.fromhex("05 00 00 00 00 00 00 00 00 00 00 01 00 00 00 02 00 00 00 03")
        frame = bytes.fromhex(
            "05 01 14 00 00 00 00 00 01 00 00 00 02 00 00 00 03 00 00 00 D0 C0 B0 A0"
        )
        for name, datagrams, log in [
            ("nothing", [], b""),
            ("two", [generic, generic], frame * 2),
            ("padded", [generic + b"\xff"], frame),
            ("unknown and empty", [bytes(8), b"", b"\x06" * 8, generic], frame),
        ]:
            with self.subTest(name):
                self.assertEqual(log, codec.recording(datagrams))
        for short in (generic[:19], generic[:7]):
            with self.assertRaises(ValueError):
                codec.recording([short])


if __name__ == "__main__":
    unittest.main()
