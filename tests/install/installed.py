"""The files that are installed beside the programs, and what the programs say of themselves."""

import re
import subprocess
from collections import namedtuple

from harness.places import DEVICE_SIM, DOCS, ROOT

FILES = ROOT / "packaging"
PAGES = DOCS / "man"

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
