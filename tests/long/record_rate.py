#!/usr/bin/env python3
"""A dense stream in small bursts, from a device that does not wait for anybody: nothing is lost."""

from harness import codec
from harness.measuring import memory_kib
from harness.proving import Report, arguments, prepared
from harness.recording import RecordingTest

BURST = 20
QUIET = [f"--{name}-rate=0" for name in ("attitude", "pvt", "gnss", "generic")]


def main():
    options = arguments(__doc__, rate=20000, seconds=10)
    report = Report()
    with prepared(RecordingTest) as test:
        stream = [f"--imu-rate={options.rate}", f"--burst={BURST}"]
        duration = f"--duration={options.seconds}"
        device, recording = test.simulate("--dump", "sent", *stream, duration, *QUIET)
        status = device.wait()
        recording.wait_until_taken()
        peak = memory_kib(recording.program.pid, "VmHWM")
        log = recording.interrupt()
        sent = codec.parse_dump(test.read_file("sent"))
    count = options.rate * options.seconds
    report.exactly(f"datagrams, {options.rate}/s in bursts of {BURST}", len(sent), count)
    report.exactly("  in the log", len(codec.parse_frames(log)), len(sent))
    report.exactly("  bytes of the log that are right", codec.recording(sent) == log, True)
    report.exactly("  exit status of the device", status, 0)
    report.row("  peak memory, KiB", peak)
    report.end()


if __name__ == "__main__":
    main()
