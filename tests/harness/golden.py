"""The reference files of tests/golden."""

import json
import os

from harness.places import GOLDEN


def read_golden(name):
    """The file's bytes and the values of its lines `#= ...`."""
    data = b""
    expectations = []
    with open(os.path.join(GOLDEN, name), encoding="ascii") as file:
        for line in file:
            if line.startswith("#= "):
                expectations.append(json.loads(line[3:]))
            data += bytes.fromhex(line.partition("#")[0])
    return data, expectations


def golden_files(ending):
    return sorted(name for name in os.listdir(GOLDEN) if name.endswith(ending))
