#!/usr/bin/env python3
"""Records a dense stream in small bursts and shows that nothing of it is lost.

    bench/record_rate.py [datagrams per second] [seconds]
"""

import pathlib
import sys
import tempfile

from replay_bench import DEVICE_SIM, LOG_TOOL, Program, build, peak_memory

from harness import codec

BURST = 20
QUIET = [f"--{name}-rate=0" for name in ("attitude", "pvt", "gnss", "generic")]


def main():
    rate = int(sys.argv[1]) if len(sys.argv) > 1 else 20000
    seconds = int(sys.argv[2]) if len(sys.argv) > 2 else 10
    build()
    with tempfile.TemporaryDirectory(prefix="log_tool-bench-") as folder:
        stream = [f"--imu-rate={rate}", f"--burst={BURST}", f"--duration={seconds}", *QUIET]
        device = Program(
            [DEVICE_SIM, "--bind", "127.0.0.1", "--dump", "sent", *stream], folder
        )
        port = device.read_line().removeprefix("listening on ")
        tool = Program([LOG_TOOL, "-a", "127.0.0.1", "-p", port, "log"], folder)
        status = device.wait()
        seen = len(tool.lines)
        while "timeout: send hello" not in tool.lines[seen + 1 :]:
            tool.read_line()  # by now it has taken all that was sent
        peak = peak_memory(tool)
        tool.interrupt()
        status |= tool.wait()
        log = pathlib.Path(folder, "log").read_bytes()
        sent = codec.parse_dump(pathlib.Path(folder, "sent").read_bytes())

    recorded = len(codec.parse_frames(log))
    print(f"{rate} datagrams/s in bursts of {BURST} for {seconds} s")
    print(f"{len(sent)} sent, {recorded} recorded, {peak} KiB of memory at the most")
    if status != 0 or log != codec.recording(sent):
        sys.exit("the log is not what was sent")


if __name__ == "__main__":
    main()
