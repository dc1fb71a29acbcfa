#!/usr/bin/env python3
"""A long drive's log with random damages: flipped bits, overwritten, removed and inserted bytes.
log_kit must recover exactly the frames that the damages left intact, as an independent program
finds them by the format, and must find nothing wrong with the result.
"""

import filecmp
import json
import os
import resource
import subprocess
import tempfile

from harness.drive import Damaged, Second, write_drive
from harness.places import LOG_KIT
from harness.proving import Report, arguments

GIB = 1 << 30
MEMORY_KIB = 32 << 10  # of log_kit, whatever the log's size


def run_kit(*command):
    """The exit status and the JSON object."""
    result = subprocess.run(
        [LOG_KIT, *command, "--json"], stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False
    )
    return result.returncode, json.loads(result.stdout or b"{}")


def main():
    options = arguments(__doc__, gib=1.0, damages=1000, rounds=3, seed=1)
    report = Report()
    with tempfile.TemporaryDirectory(prefix="log_kit-recovery-") as folder:
        drive, damaged, expected, output = (
            os.path.join(folder, name) for name in ("drive", "damaged", "expected", "output")
        )
        write_drive(drive, int(options.gib * GIB) // len(Second().data))
        report.row("bytes of the drive", os.path.getsize(drive))
        for seed in range(options.seed, options.seed + options.rounds):
            Damaged(drive, seed, options.damages).write(damaged, expected)
            status, recovered = run_kit("recover", "--force", damaged, output)
            report.exactly(f"recovery {seed}: exit status", status, 3)
            report.exactly(
                "  same as the frames left intact", filecmp.cmp(expected, output, False), True
            )
            report.row("  frames", recovered["frames"])
            report.row("  damaged regions", recovered["damages"])
            report.row("  records lost at most", recovered["lost_frames_at_most"])
            report.row("  seconds lost", recovered["lost_seconds"])
            status, checked = run_kit("check", output)
            report.exactly("  exit status of a check of it", status, 0)
            report.exactly("  frames that this finds", checked["frames"], recovered["frames"])

        status, recovered = run_kit("recover", "--force", drive, output)
        report.exactly("recovery without damage: exit status", status, 0)
        report.exactly("  same as the drive", filecmp.cmp(drive, output, False), True)
        status, again = run_kit("info", drive)
        report.exactly("  frames that info counts", again["frames"], recovered["frames"])
        peak = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss
        report.at_most("peak of log_kit's memory (KiB)", peak, MEMORY_KIB)
    report.end()


if __name__ == "__main__":
    main()
