"""The worked examples of the format documents, against the program and the codec."""

import os
import re
import struct
import unittest

from harness import codec
from harness.codec import AttitudeData
from harness.places import DOCS
from harness.recording import RecordingTest

EXAMPLE = re.compile(r"^```hex\n([0-9A-F\s]+)^```$", re.MULTILINE)
ROW = re.compile(r"^\| (\d+) \| `([0-9A-F ]+)` \| `?([^`|]+?)`? \| (\S+) \|$", re.MULTILINE)


class Document:
    def __init__(self, name, byte_order):
        self._byte_order = byte_order
        with open(os.path.join(DOCS, name), encoding="utf-8") as file:
            text = file.read()
        (example,) = EXAMPLE.findall(text)
        self.example = bytes.fromhex(example)
        self.rows = [
            (int(offset), bytes.fromhex(data), field, value)
            for offset, data, field, value in ROW.findall(text)
        ]

    def value(self, text, data):
        """What the value column must say about these bytes."""
        if text in ("true", "false"):
            return "true" if data != b"\0" else "false"
        if "." in text:
            (value,) = struct.unpack({"big": ">f", "little": "<f"}[self._byte_order], data)
            digits = len(text.replace("-", "").replace(".", "").lstrip("0"))
            return f"{value:.{digits}g}"
        number = int.from_bytes(data, self._byte_order)
        return f"0x{number:X}" if text.startswith("0x") else str(number)

    def record(self):
        """The record that the value column describes."""
        fields = {}
        for _, _, field, value in self.rows:
            if field in AttitudeData.fields:
                if value in ("true", "false"):
                    fields[field] = int(value == "true")
                elif "." in value:
                    fields[field] = codec.float_bits(float(value))
                else:
                    fields[field] = int(value)
        return AttitudeData.record(fields)


class ExampleTest(RecordingTest):
    def setUp(self):
        super().setUp()
        self.datagrams = Document("datagrams.md", "big")
        self.log_format = Document("log_format.md", "little")

    def test_explanations_cover_and_match_the_bytes(self):
        for document in (self.datagrams, self.log_format):
            explained = b""
            for offset, data, field, value in document.rows:
                with self.subTest(offset=offset, field=field):
                    self.assertEqual(len(explained), offset)
                    self.assertEqual(document.value(value, data), value)
                explained += data
            self.assertEqual(document.example, explained)

    def test_codec_agrees(self):
        record = self.datagrams.record()
        self.assertEqual(record, self.log_format.record())
        self.assertEqual(record, codec.parse_datagram(self.datagrams.example))
        self.assertEqual([record], codec.parse_frames(self.log_format.example))

    def test_the_datagram_is_recorded_as_the_frame(self):
        recording = self.record()
        recording.send(self.datagrams.example)
        recording.synchronise()
        self.assertEqual(self.log_format.example, recording.interrupt())

    def test_tables_of_types(self):
        with open(os.path.join(DOCS, "log_format.md"), encoding="utf-8") as file:
            frames = re.findall(
                r"^\| (\d) \| \[`(\w+)`\].* \| `([0-9A-F ]+)` \| .* \| (\d+) \| (\d+) \|$",
                file.read(),
                re.MULTILINE,
            )
        with open(os.path.join(DOCS, "datagrams.md"), encoding="utf-8") as file:
            datagrams = re.findall(
                r"^\| (\d) \| \[`(\w+)`\]\S* \| (\d+) \| (\d+) \|$", file.read(), re.MULTILINE
            )
        types = codec.TYPES.values()
        self.assertEqual(
            [
                (
                    str(type_.code),
                    type_.name,
                    codec.frame(type_())[: codec.HEADER_SIZE].hex(" ").upper(),
                    str(type_.payload_size),
                    str(len(codec.frame(type_()))),
                )
                for type_ in types
            ],
            frames,
        )
        self.assertEqual(
            [(str(t.code), t.name, str(t.size), str(t.payload_size)) for t in types], datagrams
        )


if __name__ == "__main__":
    unittest.main()
