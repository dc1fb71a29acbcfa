"""The files that are installed beside the programs, and what the programs say of themselves."""

import re
import subprocess
from collections import namedtuple

from harness.places import DEVICE_SIM, DOCS, LOG_KIT, ROOT

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


KIT_COMMAND = re.compile(r"^  (\w+) {2,}\S", re.MULTILINE)
KIT_OPTION = re.compile(r"^ +(?:-h,)?(--[\w-]+)(?: ([A-Z][A-Z_]*)\b)?", re.MULTILINE)


def _log_kit(*arguments):
    done = subprocess.run([LOG_KIT, *arguments], capture_output=True, text=True, check=True)
    return done.stdout


def log_kit_help():
    """The long options of log_kit's subcommands, by their help, and whether they take a value."""
    commands = KIT_COMMAND.findall(_log_kit("--help").partition("Subcommands:\n")[2])
    return {
        command: {
            option: bool(value)
            for option, value in KIT_OPTION.findall(
                _log_kit(command, "--help").partition("Examples:")[0]
            )
        }
        for command in commands
    }
