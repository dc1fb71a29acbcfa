"""The device's datagrams and the log's frames, as docs/datagrams.md and docs/log_format.md describe
them. Written from the format alone, so that it can judge the programs.

Floating-point fields are kept as their 32 bits: Python's own floats would change a signalling NaN.
"""

import struct
from collections import namedtuple

HELLO = b"\x68\x65\x6a\x00"
FOOTER = b"\xd0\xc0\xb0\xa0"
HEADER_SIZE = 8
VERSION = 1

END_OF_FILE = "End of file reached\n"
NO_CONTENT = "could not read frame content, return false\n"

PVT_FIELDS = {
    "ticks": "I",
    "fixType": "i",
    "utcTime": "i",
    "timeAccuracy": "I",
    "satelliteCount": "I",
    "longitude": "i",
    "latitude": "i",
    "altitude": "i",
    "horizontalAccuracy": "I",
    "verticalAccuracy": "I",
    "velocityNorth": "i",
    "velocityEast": "i",
    "velocityDown": "i",
    "groundSpeed": "i",
    "headingOfMotion": "i",
    "speedAccuracy": "I",
    "headingAccuracy": "I",
    "pDop": "I",
}
DOP_FIELDS = {"ticks": "I", "hDop": "I", "pDop": "I", "vDop": "I"}


def _array(name, count, letter):
    return {f"{name}[{i}]": letter for i in range(count)}


def _section(name, fields):
    return {f"{name}.{field}": letter for field, letter in fields.items()}


class Type:
    """A record type: its code and its fields' names and struct letters in wire order."""

    def __init__(self, name, code, fields, stamp_fields=("ticks",)):
        self.name = name
        self.code = code
        self.fields = tuple(fields)
        self.letters = "".join(fields.values())
        self.payload_size = struct.calcsize("=" + self.letters)
        self.size = HEADER_SIZE + self.payload_size
        self._stamp_fields = stamp_fields

    def __call__(self, *values, **named):
        """A record of the values given in wire order and by name, and of 0 elsewhere."""
        record = dict(zip(self.fields, values))
        record.update(named)
        return self.record(record)

    def record(self, fields):
        """A record of a dictionary of fields; those not in it are 0."""
        unknown = set(fields) - set(self.fields)
        if unknown:
            raise KeyError(f"{self.name} has no {sorted(unknown)}")
        return Record(self, tuple(fields.get(name, 0) for name in self.fields))

    def stamp(self, record):
        return max(record[name] for name in self._stamp_fields)

    def numbered(self, stamp, number):
        """A record with a time stamp and, in its second word, a number."""
        return self.record({self.fields[1]: number, **dict.fromkeys(self._stamp_fields, stamp)})


class Record(namedtuple("Record", "type values")):
    def __getitem__(self, name):
        return self.values[self.type.fields.index(name)]

    def __repr__(self):
        return f"{self.type.name}{self.values}"


ImuData = Type("ImuData", 1, {"ticks": "I", **_array("values", 6, "I")})
GnssData = Type(
    "GnssData",
    2,
    {
        "source": "I",
        "constellations": "I",
        **_section("pvt", PVT_FIELDS),
        **_section("dop", DOP_FIELDS),
    },
    stamp_fields=("pvt.ticks", "dop.ticks"),
)
GnssPvt = Type("GnssPvt", 3, PVT_FIELDS)
AttitudeData = Type(
    "AttitudeData", 4, {"ticks": "I", **_array("values", 4, "I"), **_array("flags", 4, "B")}
)
GenericData = Type("GenericData", 5, {"ticks": "I", **_array("values", 2, "I")})

TYPES = {t.code: t for t in (ImuData, GnssData, GnssPvt, AttitudeData, GenericData)}


def float_bits(value):
    """The bits of a number as a single-precision float."""
    return struct.unpack("<I", struct.pack("<f", value))[0]


def bits_float(bits):
    return struct.unpack("<f", struct.pack("<I", bits))[0]


def datagram(record, marker=1, length=None, reserved=0, stamp=None, padding=b""):
    """The record as the device sends it."""
    length = record.type.size if length is None else length
    stamp = record.type.stamp(record) if stamp is None else stamp
    header = struct.pack(">BBBBI", record.type.code, marker, length, reserved, stamp)
    return header + struct.pack(">" + record.type.letters, *record.values) + padding


def parse_datagram(data):
    """The record in a datagram; None for one that a recorder skips: unknown or empty."""
    if not data:
        return None
    if len(data) < HEADER_SIZE:
        raise ValueError(f"{len(data)} bytes are no header")
    type_ = TYPES.get(data[0])
    if type_ is None:
        return None
    if len(data) < type_.size:
        raise ValueError(f"{len(data)} bytes are no {type_.name}")
    return _unpack(type_, ">", data, HEADER_SIZE)


def _unpack(type_, byte_order, data, at):
    """The record at an offset, its flags 0 or 1."""
    values = struct.unpack_from(byte_order + type_.letters, data, at)
    return Record(
        type_,
        tuple(
            int(value != 0) if letter == "B" else value
            for letter, value in zip(type_.letters, values)
        ),
    )


def frame(record):
    """The record as the log holds it."""
    header = struct.pack("<BBHI", record.type.code, VERSION, record.type.size, 0)
    return header + struct.pack("<" + record.type.letters, *record.values) + FOOTER


def parse_frames(log):
    """The records of a log, which must consist of whole frames."""
    records = []
    at = 0
    while at < len(log):
        code, version, length, reserved = struct.unpack_from("<BBHI", log, at)
        type_ = TYPES[code]
        if (version, length, reserved) != (VERSION, type_.size, 0):
            raise ValueError(f"offset {at}: header {log[at:at + HEADER_SIZE].hex(' ')}")
        values = struct.unpack_from("<" + type_.letters, log, at + HEADER_SIZE)
        at += type_.size
        if log[at : at + len(FOOTER)] != FOOTER:
            raise ValueError(f"offset {at}: footer {log[at:at + len(FOOTER)].hex(' ')}")
        at += len(FOOTER)
        records.append(Record(type_, values))
    return records


def parse_dump(dump):
    """The datagrams of a dump: each with its size in front, two bytes, little-endian."""
    datagrams = []
    at = 0
    while at < len(dump):
        size = int.from_bytes(dump[at : at + 2], "little")
        datagrams.append(dump[at + 2 : at + 2 + size])
        at += 2 + size
    return datagrams


def recording(datagrams):
    """The log that a recorder makes of datagrams."""
    records = (parse_datagram(data) for data in datagrams)
    return b"".join(frame(record) for record in records if record is not None)


def replay(log):
    """The datagrams that a replay makes of a log, which may be damaged, and what it prints then."""
    datagrams = []
    at = 0
    while True:
        if len(log) - at < HEADER_SIZE:
            return datagrams, END_OF_FILE
        code, version = log[at], log[at + 1]
        if version != VERSION:
            return datagrams, f"Illegal frame header version {version}"
        type_ = TYPES.get(code)
        if type_ is None:
            return datagrams, ""
        end = at + type_.size
        footer = log[end : end + len(FOOTER)]
        if len(footer) < len(FOOTER):
            return datagrams, END_OF_FILE + NO_CONTENT
        if footer != FOOTER:
            value = int.from_bytes(footer, "little", signed=True)
            return datagrams, f"Illegal frame header footer {value}{NO_CONTENT}"
        datagrams.append(datagram(_unpack(type_, "<", log, at + HEADER_SIZE)))
        at = end + len(FOOTER)


NUMBER_AT = 12  # of a frame or datagram of a record with a number


def numbered_log(stamp, count, types=tuple(TYPES.values())):
    """A log of records numbered from 0, of the types in turn, with one time stamp."""
    frames = [frame(type_.numbered(stamp, 0)) for type_ in types]
    parts = [(data[:NUMBER_AT], data[NUMBER_AT + 4 :]) for data in frames]
    return b"".join(
        number.to_bytes(4, "little").join(parts[number % len(parts)]) for number in range(count)
    )
