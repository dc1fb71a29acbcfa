"""What the stages of scripts/prove.sh share: their command line, the rows that they print, and runs
spread over processes."""

import argparse
import contextlib
import multiprocessing
import sys


def arguments(description, **defaults):
    """The command line of a stage: numbers that scale it, by name."""
    parser = argparse.ArgumentParser(
        description=description, formatter_class=argparse.ArgumentDefaultsHelpFormatter
    )
    for name, default in defaults.items():
        option = "--" + name.replace("_", "-")
        parser.add_argument(option, type=type(default), default=default, help=" ")
    return parser.parse_args()


class Report:
    """The rows of a stage: name, figure and bound, a line each, with tabs between them."""

    def __init__(self):
        self._missed = []

    def row(self, name, figure, bound="", holds=True):
        print(name, figure, bound, sep="\t", flush=True)
        if not holds:
            self._missed.append(name)

    def exactly(self, name, figure, bound):
        self.row(name, figure, bound, figure == bound)

    def at_most(self, name, figure, bound):
        self.row(name, figure, f"<= {bound}", figure <= bound)

    def at_least(self, name, figure, bound):
        self.row(name, figure, f">= {bound}", figure >= bound)

    def end(self):
        if self._missed:
            sys.exit("missed: " + ", ".join(self._missed))


@contextlib.contextmanager
def prepared(test_class):
    """A test's folder and helpers, outside a test."""
    test = test_class()
    test.setUp()
    try:
        yield test
    finally:
        test.doCleanups()


def spread(function, jobs, processes):
    """The results of function(job) for every job, several at a time. The first failure ends it."""
    with multiprocessing.get_context("fork").Pool(processes) as pool:
        return pool.map(function, jobs, chunksize=1)
