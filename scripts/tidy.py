"""Runs clang-tidy over source files, several at a time. A file that has passed is checked again
when it, a header that it includes, its compiler options or .clang-tidy have changed: a whole run
takes minutes. Fails when there is a finding.

    tidy.py <build folder> <source file>...
"""

import hashlib
import json
import os
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

OPTIONS = [
    "--quiet",
    "--extra-arg=-Wno-ignored-optimization-argument",  # GCC's optimisations
    "--extra-arg=-Wno-unused-command-line-argument",
]


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def dependencies(build):
    """The files that each source file includes, itself among them, as ninja has seen them."""
    included = {}
    for block in output_of("ninja", "-C", build, "-t", "deps").split("\n\n"):
        names = [line.strip() for line in block.splitlines() if line.startswith("    ")]
        paths = [os.path.normpath(os.path.join(build, name)) for name in names]
        if paths:
            included.setdefault(paths[0], set()).update(paths)
    return included


class Checked:
    """Which states of the source files have passed."""

    def __init__(self, build):
        self._folder = Path(build) / "tidy"
        self._folder.mkdir(exist_ok=True)
        self._included = dependencies(build)
        self._commands = {
            entry["file"]: entry["command"]
            for entry in json.loads(Path(build, "compile_commands.json").read_text("utf-8"))
        }
        self._common = output_of("clang-tidy", "--version") + Path(".clang-tidy").read_text("utf-8")
        self._hashes = {}

    def _hash(self, path):
        if path not in self._hashes:
            content = Path(path).read_bytes() if os.path.exists(path) else b"gone"
            self._hashes[path] = hashlib.sha256(content).hexdigest()
        return self._hashes[path]

    def mark(self, source):
        """The file that exists when this state of the source has passed; None if nobody knows what
        it includes."""
        path = os.path.abspath(source)
        if path not in self._included or path not in self._commands:
            return None
        state = hashlib.sha256((self._common + self._commands[path]).encode())
        for name in sorted(self._included[path]):
            state.update(f"{name} {self._hash(name)}\n".encode())
        return self._folder / state.hexdigest()


def main(build, *sources):
    checked = Checked(os.path.abspath(build))

    def check(source):
        """What clang-tidy finds; None in a state that has passed."""
        mark = checked.mark(source)
        if mark and mark.exists():
            return None
        run = subprocess.run(
            ["clang-tidy", "-p", build, *OPTIONS, source],
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            check=False,
        )
        if run.returncode == 0 and mark:
            mark.touch()
        return (run.stdout + run.stderr) if run.returncode else ""

    with ThreadPoolExecutor(os.cpu_count()) as pool:
        findings = list(pool.map(check, sources))
    run_count = sum(finding is not None for finding in findings)
    print(f"clang-tidy: {run_count} of {len(sources)} files checked, the others are as they passed")
    if any(findings):
        sys.exit("\n".join(filter(None, findings)))


if __name__ == "__main__":
    main(*sys.argv[1:])
