"""The tables of docs/figures, each written by the benchmark that measures it."""

import argparse
import os
import platform
import re
import statistics
import sys

from harness.places import DOCS, LOG_TOOL


def arguments(description, numbers=None):
    """The command line of a benchmark, with `numbers` as the name of further arguments. What is
    quick, or not the usual, is no figure for the documents."""
    parser = argparse.ArgumentParser(description=description)
    if numbers:
        parser.add_argument(numbers, type=int, nargs="*", help="in place of the usual")
    parser.add_argument("--quick", action="store_true", help="shorter, and only printed")
    parser.add_argument("--tool", default=LOG_TOOL, help="another log_tool, and only printed")
    options = parser.parse_args()
    options.tool = os.path.abspath(options.tool)
    is_usual = options.tool == LOG_TOOL and not (numbers and getattr(options, numbers))
    options.is_written = is_usual and not options.quick
    return options


class Ratio:
    """How much more the tool needs than the floor, of pairs measured in turn."""

    def __init__(self, pairs):
        self._ratios = sorted(tool / floor for floor, tool in pairs)

    def __str__(self):
        least, most = self._ratios[0], self._ratios[-1]
        spread = f"{least:.3f} to {most:.3f}"
        # Nobody does the work for less than the floor: what looks like it is noise.
        median = statistics.median(self._ratios)
        return f"equal ({spread})" if least <= 1 else f"{median:.3f} ({spread})"


def medians(pairs, digits=0):
    """Of floor and tool, as texts."""
    return [f"{statistics.median(values):.{digits}f}" for values in zip(*pairs)]


def machine():
    with open("/proc/cpuinfo", encoding="ascii", errors="replace") as file:
        model = re.search(r"^model name\s*: (.*)$", file.read(), re.MULTILINE)
    release = ".".join(platform.release().split(".")[:2])
    name = f", {model[1]}" if model else ""
    return f"{os.cpu_count()} cores, {platform.machine()}{name}, Linux {release}"


class Figures:
    """The tables of one benchmark. They are printed as they come and, at the end, written."""

    def __init__(self, name, text, command=None, is_written=True):
        self._path = DOCS / "figures" / f"{name}.md"
        self._is_written = is_written
        self._text = ""
        self._add(f"# {name}\n\n{text.strip()}\n")
        self._add(f"\nMeasured by `bench/run.sh {command or name}` on {machine()}.\n")

    def _add(self, text):
        sys.stdout.write(text)
        sys.stdout.flush()
        self._text += text

    def table(self, title, columns, rows):
        """A row is its name and a cell for each column."""
        self._add(
            f"\n| {title} | {' | '.join(map(str, columns))} |\n|---|{'---|' * len(columns)}\n"
        )
        for name, *cells in rows:
            self._add(f"| {name} | {' | '.join(map(str, cells))} |\n")

    def write(self):
        if self._is_written:
            self._path.parent.mkdir(exist_ok=True)
            self._path.write_text(self._text, encoding="utf-8")
