#!/usr/bin/env python3
"""Writes the seed corpora anew: what a device sends and people type, and how it may be damaged.

    PYTHONPATH=tests tests/fuzz/make_seeds.py <device_sim>
"""

import shutil
import socket
import struct
import subprocess
import sys
import tempfile
from pathlib import Path

from harness import codec
from harness.codec import AttitudeData, GnssData, ImuData
from harness.places import ROOT

RECORDS = 100  # in the device's mix; their log is just longer than a stream's buffer
# By more than half the range of the stamps.
DOP_LATER = GnssData(**{"pvt.ticks": 5, "dop.ticks": 0xF0000000})


def device_stream(device_sim):
    """The datagrams of a drive; always the same ones."""
    with tempfile.TemporaryDirectory() as folder:
        dump = Path(folder) / "dump"
        command = [device_sim, "--bind", "127.0.0.1", "--as-fast-as-possible"]
        command += ["--count", str(RECORDS), "--dump", dump]
        with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as device:
            port = int(device.stdout.readline().split()[-1])
            with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as greeter:
                greeter.sendto(codec.HELLO, ("127.0.0.1", port))
                device.communicate()
        return codec.parse_dump(dump.read_bytes())


def packets(real):
    seeds = {
        "hello": codec.HELLO,
        "one_byte": b"\x01",
        "seven_bytes": real[ImuData][:7],
        "unknown_type_0": bytes(8),
        "unknown_type_6": b"\x06" + real[ImuData][1:],
        "unknown_type_255": b"\xff" * 104,
        "header_arbitrary": real[ImuData][:1] + b"\xab\xcd\xef\x01\x23\x45\x67" + real[ImuData][8:],
        "attitude_flags_00_01_02_80": real[AttitudeData][:28] + b"\x00\x01\x02\x80",
        "gnss_sections_absent": codec.datagram(GnssData(1, 15)),
        "gnss_dop_later": codec.datagram(DOP_LATER),
        "imu_special_floats": codec.datagram(
            ImuData(1, 0x7FA34567, 0xFFD23456, 0x7F800000, 0x80000000, 1, 0x80123456)
        ),
        "longest_datagram": real[GnssData].ljust(1600, b"\x55"),
    }
    for type_, data in real.items():
        name = type_.name
        seeds[name] = data
        seeds[f"{name}_padded"] = data + bytes(8)
        seeds[f"{name}_one_byte_behind"] = data + b"\x2a"
        seeds[f"{name}_one_byte_short"] = data[:-1]
        seeds[f"{name}_header_only"] = data[:8]
        seeds[f"{name}_all_ff"] = data[:8] + b"\xff" * (len(data) - 8)
    return seeds


def logs(real, stream):
    frames = {t: codec.frame(codec.parse_datagram(data)) for t, data in real.items()}
    one_each = b"".join(frames.values())
    imu = frames[ImuData]
    attitude = frames[AttitudeData]
    seeds = {
        "all_types": one_each,
        "all_types_backwards": b"".join(reversed(frames.values())),
        "longer_than_a_buffer": codec.recording(stream),
        "cut_in_header": one_each + imu[:5],
        "cut_behind_header": one_each + imu[:8],
        "cut_in_payload": one_each + imu[:20],
        "cut_before_footer": one_each + imu[:-4],
        "cut_in_footer": one_each + imu[:-1],
        "cut_frame_in_the_midst": attitude + imu[:20] + one_each,
        "version_0": attitude + imu[:1] + b"\x00" + imu[2:] + attitude,
        "version_255": imu[:1] + b"\xff" + imu[2:],
        "type_0": attitude + b"\x00" + imu[1:] + attitude,
        "type_6": attitude + b"\x06" + imu[1:] + attitude,
        "footer_wrong": attitude + imu[:-1] + b"\xa1" + attitude,
        "footer_zero": attitude + imu[:-4] + bytes(4),
        "header_arbitrary": imu[:2] + b"\xff\xff\x01\x02\x03\x04" + imu[8:] + attitude,
        "flags_00_01_02_80": attitude[:28] + b"\x00\x01\x02\x80" + attitude[32:],
        "gnss_sections_absent": codec.frame(GnssData(1, 15)),
        "gnss_dop_later": codec.frame(DOP_LATER),
        "bytes_of_no_log": b"no log at all, but some text of a few dozen bytes",
    }
    for type_, data in frames.items():
        seeds[type_.name] = data
        seeds[f"{type_.name}_all_ff"] = data[:8] + b"\xff" * (len(data) - 12) + data[-4:]
    return seeds


def damaged_logs(seeds):
    """What a scanner meets beyond a reader's end: frames within frames, cuts, disorder."""
    generic = codec.frame(codec.GenericData(7, 1, 2))
    outer = codec.frame(GnssData(**{"pvt.ticks": 5}))
    around = outer[:40] + generic + outer[64:]
    ends_with = outer[:84] + generic
    times = [0xFFFFFFF0, 4, 1, 900000, 10, 3000000000, 20, 0]
    return {
        **seeds,
        "frame_in_a_payload": around + generic,
        "frame_in_a_damaged_payload": b"\x07" + around[1:] + generic * 2,
        "frame_in_a_payload_without_footer": around[:-1] + b"\x07" + generic * 2,
        "frame_that_cuts_off_another": generic + ends_with + generic,
        "garbage_between": generic + bytes(range(200)) + generic * 2,
        "headers_only": generic[:8] * 60,
        "counter_jumps": b"".join(codec.frame(codec.GenericData(t)) for t in times),
        "positions": b"".join(
            codec.frame(
                codec.GnssPvt(
                    ticks=1000 * i,
                    fixType=i - 1,
                    utcTime=i << 28,
                    latitude=i << 28,
                    satelliteCount=i << 6,
                    groundSpeed=i << 19,
                )
            )
            for i in range(8)
        ),
    }


def greetings():
    def event(letter, data):
        return letter + bytes([len(data)]) + data

    greeting = event(b"i", codec.HELLO)
    spend_100 = b"s\x64"
    return {
        "greeting": greeting + b"s\x01",
        "greeting_padded": event(b"i", codec.HELLO + b"xyz") + b"s\x01",
        "no_terminator": event(b"i", b"hej!"),
        "three_bytes": event(b"i", b"hej"),
        "no_bytes": event(b"i", b""),
        "in_capitals": event(b"i", b"HEJ\0"),
        "record": event(b"i", bytes.fromhex("05011400 11121314 11121314 21222324 31323334")),
        "of_another_family": event(b"o", codec.HELLO),
        "from_nowhere": event(b"0", codec.HELLO),
        "records_before_it": spend_100,
        "all_records_spent": greeting + spend_100 + b"s\x01",
        "records_left": greeting + b"s\x63s\x01",
        "greeted_again": greeting + spend_100 + event(b"o", b"") + greeting + spend_100,
        "another_while_records_are_left": greeting + b"s\x32" + greeting + b"s\x32" * 3,
    }


def dumps():
    def dump(width, memory, shown=0x1000, own=False, offset=0):
        return struct.pack("<cBQ", width, own | offset << 1, shown) + memory

    text = b"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
    return {
        "bytes_full_line": dump(b"b", text[:16]),
        "bytes_short_last_line": dump(b"b", text[:20]),
        "bytes_unprintable": dump(b"b", bytes(range(256))),
        "halves_full_line": dump(b"h", text[:16]),
        "halves_short_last_line": dump(b"h", text[:18]),
        "words_full_line": dump(b"w", text[:16]),
        "words_short_last_line": dump(b"w", text[:24]),
        "another_width": dump(b"\x00", text),
        "off_alignment": dump(b"w", text, offset=1),
        "own_address": dump(b"h", text, own=True, offset=3),
        "address_wraps": dump(b"b", text, shown=0xFFFFFFFFFFFFFFF8),
        "address_of_64_bits": dump(b"b", text, shown=0x1FFFFFFF8),
        "nothing": dump(b"b", b""),
        "format_characters": dump(b"b", b"%s%n%d\n%1000x"),
    }


def printings():
    def printing(way, text, small=0, number=7, script=b""):
        return struct.pack("<BBIB", way, small, number, len(script)) + script + text

    puts, printf, snprintf, slog = range(4)
    long = bytes(b"0123456789" * 10)
    no_character = 0xD800
    return {
        "puts": printing(puts, b"100 %d\tno end"),
        "puts_in_parts": printing(puts, long, script=b"\x00\x01\x00\x00\x28"),
        "puts_failing": printing(puts, long, script=b"\x0a\x00\xff"),
        "puts_nothing": printing(puts, b""),
        "printf": printing(printf, b"one\n"),
        "printf_100_characters": printing(printf, long),
        "printf_79_characters": printing(printf, long[:76]),
        "printf_80_characters": printing(printf, long[:77]),
        "printf_in_parts": printing(printf, long, script=b"\x4e\x00"),
        "printf_no_character": printing(printf, b"lost", number=no_character),
        "snprintf": printing(snprintf, b"text", small=40),
        "snprintf_no_room": printing(snprintf, b"text", small=0),
        "snprintf_exact_room": printing(snprintf, b"text", small=7),
        "snprintf_one_short": printing(snprintf, b"text", small=6),
        "snprintf_no_character": printing(snprintf, b"text", small=9, number=no_character),
        "slog_error": printing(slog, b"bind: socket not open", small=128 + 3),
        "slog_level_11": printing(slog, b"bind", small=128 + 11),
        "slog_negative_level": printing(slog, b"bind", small=127),
        "slog_100_characters": printing(slog, long, small=128 + 7),
        "slog_no_character": printing(slog, b"lost", small=128 + 4, number=no_character),
    }


def command_lines():
    def line(text):
        return "\0".join(text.split()).encode()

    name = "/".join(["folder"] * 20)
    return {
        "record": line("-a 192.168.0.7 -p 5005 drive.log"),
        "replay": line("-r -a 192.168.0.7 -p 5005 drive.log"),
        "other_order": line("drive.log -p 5005 -a 192.168.0.7 -r"),
        "repeated": line("-a 1.2.3.4 -p 1 a -a 5.6.7.8 -p 2 b -r -r"),
        "unknown_option": line("-a 1.2.3.4 -p 1 -x"),
        "port_missing": line("-a 1.2.3.4 drive.log"),
        "address_missing": line("-p 5005 drive.log"),
        "name_missing": line("-a 1.2.3.4 -p 5005"),
        "port_without_value": line("-a 1.2.3.4 drive.log -p"),
        "address_without_value": line("-p 5005 drive.log -a"),
        "option_as_value": line("-a 1.2.3.4 -p -r drive.log"),
        "port_0": line("-a 1.2.3.4 -p 0 drive.log"),
        "port_65536": line("-a 1.2.3.4 -p 65536 drive.log"),
        "port_70000": line("-a 1.2.3.4 -p 70000 drive.log"),
        "port_negative": line("-a 1.2.3.4 -p -1 drive.log"),
        "port_beyond_a_long": line("-a 1.2.3.4 -p 9223372036854775808 drive.log"),
        "port_below_a_long": line("-a 1.2.3.4 -p -9223372036854775809 drive.log"),
        "port_with_text": line("-a 1.2.3.4 -p 5005x drive.log"),
        "port_with_blanks": b"-a\x001.2.3.4\x00-p\x00 \t+5005\x00drive.log",
        "address_broadcast": line("-a 255.255.255.255 -p 5005 drive.log"),
        "address_of_two_parts": line("-a 127.1 -p 5005 drive.log"),
        "address_hexadecimal": line("-a 0x7f000001 -p 5005 drive.log"),
        "address_with_text_behind": b"-a\x001.2.3.4 x\x00-p\x005005\x00drive.log",
        "address_with_blanks_beyond_79": b"-a\x001.2.3.4" + b" " * 90 + b"x\x00-p\x005005\x00log",
        "address_too_long": line("-a " + "1" * 90 + " -p 5005 drive.log"),
        "address_a_name": line("-a device -p 5005 drive.log"),
        "address_empty": b"-a\x00\x00-p\x005005\x00drive.log",
        "name_empty": b"-a\x001.2.3.4\x00-p\x005005\x00",
        "name_of_79": line(f"-a 1.2.3.4 -p 5005 {name[:79]}"),
        "name_of_80": line(f"-a 1.2.3.4 -p 5005 {name[:80]}"),
        "name_of_139": line(f"-a 1.2.3.4 -p 5005 {name}"),
    }


def main():
    stream = device_stream(sys.argv[1])
    real = {t: next(data for data in stream if data[0] == t.code) for t in codec.TYPES.values()}
    corpora = {
        "packet": packets(real),
        "log": logs(real, stream),
        "frames": damaged_logs(logs(real, stream)),
        "log_kit": damaged_logs(logs(real, stream)),
        "greeting": greetings(),
        "mem_display": dumps(),
        "console": printings(),
        "command_line": command_lines(),
    }
    for target, seeds in corpora.items():
        folder = ROOT / "tests/fuzz/corpus" / target
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        for name, data in seeds.items():
            (folder / name).write_bytes(data)


if __name__ == "__main__":
    main()
