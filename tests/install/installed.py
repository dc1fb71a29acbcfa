"""The files that are installed beside the programs, and what the programs say of themselves."""

import pathlib
import re
import subprocess
from collections import namedtuple

from program import DEVICE_SIM

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
FILES = ROOT / "packaging"
PAGES = ROOT / "docs" / "man"

OPTION = re.compile(
    r"^  (?:-h,)?(--[\w-]+)(?: ([A-Z]\S*?)(?::\w+)?(?:=(\S+))?)?(?:\s|$)", re.MULTILINE
)

HelpText = namedtuple("HelpText", "takes_value default")


def device_sim_help():
    """The long options of device_sim, by its help."""
    text = subprocess.run([DEVICE_SIM, "--help"], capture_output=True, text=True, check=True).stdout
    return {
        option: HelpText(bool(value), default or None)
        for option, value, default in OPTION.findall(text)
    }
