#!/usr/bin/env python3
"""What a recorded datagram and a replayed record need of what carries no noise: instructions in
user space, allocations and system calls. More than the limits, or more calls than the floor's, is a
loss of speed.
"""

from harness.counting import FURTHER_CALLS, count_drive
from harness.measuring import require
from harness.proving import Report, arguments


def main():
    options = arguments(__doc__, short_s=5, long_s=15)
    require("valgrind", "strace", "taskset", "chrt")
    report = Report()
    for name, limits, floor, tool in count_drive(options.short_s, options.long_s):
        report.at_most(f"{name}: instructions", round(tool.instructions, 1), limits.instructions)
        report.row("  the floor's", round(floor.instructions, 1))
        report.exactly("  allocations", round(tool.allocations, 3), limits.allocations)
        readings = round(tool.clock_readings, 3)
        report.at_most("  readings of the clock", readings, limits.clock_readings)
        further = round(tool.further_calls(floor), 3)
        report.at_most("  most further calls than the floor's", further, FURTHER_CALLS)
    report.end()


if __name__ == "__main__":
    main()
