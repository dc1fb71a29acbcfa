"""Logs of long drives, made fast enough for gigabytes, and damage to them.

A drive repeats one second of records with new stamps, so that every frame's place is known.
"""

import bisect
import random
import struct

from harness import codec
from harness.codec import GnssData, GnssPvt
from harness.mix import MIX_HZ

FIRST_TICKS = 1000
FIRST_UTC = 1790000000

POSITION = {
    "fixType": 4,
    "satelliteCount": 12,
    "longitude": 116000000,
    "latitude": 480000000,
    "altitude": 500000,
    "horizontalAccuracy": 1500,
    "verticalAccuracy": 2000,
}


def _record(type_, number):
    if type_ is GnssPvt:
        return GnssPvt(**POSITION)
    if type_ is GnssData:
        return GnssData(**{f"pvt.{name}": value for name, value in POSITION.items()})
    fields = {name: number * 2654435761 % 2**29 for name in type_.fields if "flags" not in name}
    return type_.record(fields)


class Second:
    """The bytes of one second, where its frames start, and where its stamps and UTC stand."""

    def __init__(self):
        slots = sorted(
            (number * 1000 // rate, type_.code)
            for type_, rate in MIX_HZ.items()
            for number in range(rate)
        )
        self.starts = []
        self._stamps = []
        self._utcs = []
        self.data = bytearray()
        for ms, code in slots:
            type_ = codec.TYPES[code]
            at = len(self.data)
            self.starts.append(at)
            for name in type_._stamp_fields:
                self._stamps.append((at + 8 + self._offset(type_, name), ms))
            utc = {GnssPvt: "utcTime", GnssData: "pvt.utcTime"}.get(type_)
            if utc:
                self._utcs.append(at + 8 + self._offset(type_, utc))
            self.data += codec.frame(_record(type_, at + ms))

    @staticmethod
    def _offset(type_, name):
        letters = "".join(type_.letters[: type_.fields.index(name)])
        return struct.calcsize("=" + letters)

    def at(self, second):
        """The bytes of this second of the drive; valid until the next call."""
        for at, ms in self._stamps:
            struct.pack_into("<I", self.data, at, FIRST_TICKS + 1000 * second + ms)
        for at in self._utcs:
            struct.pack_into("<i", self.data, at, FIRST_UTC + second)
        return self.data


def write_drive(path, seconds):
    second = Second()
    with open(path, "wb") as file:
        for number in range(seconds):
            file.write(second.at(number))


def _is_frame(data):
    type_ = codec.TYPES.get(data[0]) if data else None
    return (
        type_ is not None
        and data[:8] == codec.frame(type_())[:8]
        and len(data) == type_.size + len(codec.FOOTER)
        and data.endswith(codec.FOOTER)
    )


class Damaged:
    """A drive's log with damages, and the log of all frames that are still intact.

    Judged by the format alone: a frame is intact when no byte within it was taken away or put in,
    and none of its header's and footer's twelve bytes was changed.
    """

    def __init__(self, drive, seed, count):
        self._random = random.Random(seed)
        self._second = Second()
        with open(drive, "rb") as file:
            self._size = file.seek(0, 2)
        self._drive = drive
        # Far enough apart that no frame is hit twice.
        apart = self._size // count
        self._places = [
            number * apart + self._random.randrange(apart - 2000) for number in range(count)
        ]

    def _frames(self, start, end):
        """Start and end of each frame of the drive that has bytes in the range."""
        length = len(self._second.data)
        starts = self._second.starts
        block = start // length * length
        index = bisect.bisect_right(starts, start - block) - 1
        while block < end:
            ends = starts[index + 1 :] + [length]
            for first, last in zip(starts[index:], ends):
                if block + first >= end:
                    return
                yield block + first, block + last
            block += length
            index = 0

    def write(self, damaged, expected):
        """Writes both logs."""
        done = 0
        with open(self._drive, "rb") as source, open(damaged, "wb") as bad, open(
            expected, "wb"
        ) as good:
            for place in self._places:
                length = self._random.randrange(1, 400)
                end = min(place + length, self._size)
                kind = self._random.choice(("flip", "overwrite", "cut", "insert"))
                if kind == "insert":
                    end = place
                hit = list(self._frames(place, max(end, place + 1)))
                if kind == "insert" and hit[0][0] == place:
                    hit = []  # between two frames
                first, last = (hit[0][0], hit[-1][1]) if hit else (place, place)
                self._copy(source, done, first, bad, good)

                source.seek(first)
                data = source.read(last - first)
                result, changed = self._damage(kind, data, place - first, end - first, length)
                bad.write(result)
                if changed is None:
                    good.write(self._restored(result, data, hit))
                else:
                    frames = [(a - first, b - first) for a, b in hit]
                    good.write(self._intact(data, changed, frames))
                done = last
            self._copy(source, done, self._size, bad, good)

    def _damage(self, kind, data, start, end, length):
        """The bytes with the damage; and in their old places, None if they have moved."""
        noise = self._random.randbytes(length)
        if kind == "cut":
            return data[:start] + data[end:], None
        if kind == "insert":
            return data[:start] + noise + data[start:], None
        if kind == "flip":
            flipped = data[start] ^ 1 << self._random.randrange(8)
            noise = bytes((flipped,)) + data[start + 1 : end]
        changed = data[:start] + noise[: end - start] + data[end:]
        return changed, changed

    @staticmethod
    def _intact(data, changed, frames):
        """The frames whose header and footer are as before."""
        return b"".join(
            changed[a:b]
            for a, b in frames
            if changed[a : a + 8] == data[a : a + 8] and changed[b - 4 : b] == data[b - 4 : b]
        )

    @staticmethod
    def _restored(result, data, hit):
        """What bytes that were cut or inserted have left whole by chance: start and end of two
        frames may make one, and a byte may be replaced by its like."""
        if _is_frame(result):
            return result
        if hit:
            first = data[: hit[0][1] - hit[0][0]]
            last = data[hit[-1][0] - hit[-1][1] :]
            if result.startswith(first):
                return first
            if result.endswith(last):
                return last
        return b""

    @staticmethod
    def _copy(source, start, end, *targets):
        source.seek(start)
        while start < end:
            part = source.read(min(end - start, 1 << 20))
            for target in targets:
                target.write(part)
            start += len(part)
