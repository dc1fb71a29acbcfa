"""Prints how many of the lines and branches of src/ the tests have run, as rows of name, figure and
bound, and every line that did not run with the reason that uncovered.txt gives for it.

    coverage.py <report of gcovr, in JSON>

The exit status is 1 when a line that did not run has no reason, or a figure misses its bound.
"""

import json
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
REASONS = ROOT / "tests" / "long" / "uncovered.txt"
BRANCHES_AT_LEAST = 95  # %


def read_reasons():
    """The reasons by file and text of the line, so that they stay when the line moves."""
    reasons = {}
    for line in REASONS.read_text(encoding="ascii").splitlines():
        if line and not line.startswith("#"):
            place, reason = line.rsplit(" | ", 1)
            file, text = place.split(" | ", 1)
            reasons[file, text] = reason
    return reasons


def show_row(name, covered, count, bound):
    print(f"{name}\t{100 * covered / count:.2f} % ({covered} of {count})\t{bound}")


def main(report):
    files = json.loads(pathlib.Path(report).read_text(encoding="utf-8"))["files"]
    reasons = read_reasons()
    unused = set(reasons)
    unexplained = 0
    counts = []  # how often each line ran
    branches = []

    for file in files:
        name = file["file"]
        source = (ROOT / name).read_text(encoding="utf-8").splitlines()
        for line in file["lines"]:
            if line.get("gcovr/noncode"):
                continue
            counts.append(line["count"])
            branches += [branch["count"] for branch in line["branches"]]
            if line["count"]:
                continue
            number = line["line_number"]
            text = source[number - 1].strip()
            unused.discard((name, text))
            reason = reasons.get((name, text))
            unexplained += reason is None
            print(f"{name}:{number}: {text}\n    {reason or 'not explained'}", file=sys.stderr)

    for name, text in sorted(unused):
        print(f"{name}: {text}\n    explained in {REASONS.name}, but it ran", file=sys.stderr)

    run = sum(count > 0 for count in counts)
    taken = sum(count > 0 for count in branches)
    show_row("lines of src/ run by the tests", run, len(counts), "all but those explained")
    show_row(
        "branches taken, but for exceptions",
        taken,
        len(branches),
        f"at least {BRANCHES_AT_LEAST} %",
    )
    if unexplained or 100 * taken < BRANCHES_AT_LEAST * len(branches):
        sys.exit(1)


if __name__ == "__main__":
    main(*sys.argv[1:])
