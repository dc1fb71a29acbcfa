"""Compares what the demo's device sent, its log and what the replay brought back: a table, and a
non-zero exit status when a record is missing anywhere.

    demo_table.py <log> <report of the recorded device> <report of the replayed device>
"""

import collections
import json
import pathlib
import sys

from harness import codec

PERCENTILES = ("min", "p50", "p99", "max")


def read_report(file):
    return json.loads(pathlib.Path(file).read_text(encoding="ascii"))


def show(name, values):
    print(f"{name:<14}" + "".join(f"{value:>10}" for value in values))


def main(log_file, recorded_report, replayed_report):
    log = pathlib.Path(log_file).read_bytes()
    sent = read_report(recorded_report)["sent"]
    received = read_report(replayed_report)["received"]

    recorded = collections.Counter(record.type.name for record in codec.parse_frames(log))
    replayed = {name: received[name]["count"] for name in sent}
    counts = [sent, {name: recorded[name] for name in sent}, replayed]
    for count in counts:
        count["total"] = sum(count.values())

    print()
    show("record", ("sent", "recorded", "replayed"))
    for name in sent:
        show(name, (count[name] for count in counts))
    print(f"{len(log)} bytes in {log_file}\n")

    show("late by, ms", PERCENTILES)
    for name in sent:
        late = received[name]["latenessMs"]
        show(name, (f"{late[p]:.3f}" if late else "-" for p in PERCENTILES))
    print(
        "Counted from the first record. "
        "Below 0 is early: log_tool's clock counts whole milliseconds."
    )

    if counts[1] != counts[0] or not log:
        sys.exit("demo: sent and recorded differ")
    total = received["total"]
    if any(total[difference] for difference in ("missing", "unexpected", "outOfOrder")):
        sys.exit("demo: recorded and replayed differ")


if __name__ == "__main__":
    main(*sys.argv[1:])
