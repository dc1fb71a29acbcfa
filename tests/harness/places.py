"""Where the programs and files under test are: where the environment says, else in this tree and
its usual build."""

import os
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = ROOT / "build" / "default"


def _built(variable, path):
    return os.environ.get(variable, str(BUILD / path))


LOG_TOOL = _built("LOG_TOOL", "src/app/log_tool")
DEVICE_SIM = _built("DEVICE_SIM", "tools/device_sim/device_sim")
LOG_KIT = _built("LOG_KIT", "tools/log_kit/log_kit")

STEPPER = _built("STEPPER", "tests/harness/stepper")
FAULTS = _built("FAULTS", "tests/harness/libfaults.so")
SHIFTED_CLOCK = _built("SHIFTED_CLOCK", "tests/harness/libshifted_clock.so")

DOCS = ROOT / "docs"
GOLDEN = ROOT / "tests" / "golden"
