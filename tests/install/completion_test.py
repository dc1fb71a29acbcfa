"""What bash proposes for the command lines of the programs."""

import os
import pathlib
import shutil
import subprocess
import unittest

from installed import FILES, device_sim_help, log_kit_help

from harness.places import LOG_KIT
from harness.program import ProgramTest

COMPLETE = """
source "$1"
shift
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
read -r _ _ function _ < <(complete -p "$1")
"$function" "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
printf '%s\\n' "${COMPREPLY[@]}"
"""


class CompletionTest(ProgramTest):
    def proposals(self, *words):
        script = FILES / "completion" / f"{words[0]}.bash"
        done = subprocess.run(
            ["bash", "--norc", "-uc", COMPLETE, "bash", script, *words],
            cwd=self.folder,
            env={"PATH": os.environ["PATH"]},
            capture_output=True,
            text=True,
            check=True,
        )
        self.assertEqual("", done.stderr)
        return sorted(line for line in done.stdout.splitlines() if line)

    def setUp(self):
        super().setUp()
        for name in ("drive one.log", "drive.log", "-x", "other"):
            pathlib.Path(self.path(name)).touch()
        os.mkdir(self.path("drives"))


class LogToolTest(CompletionTest):
    def test_a_hyphen_begins_an_option(self):
        self.assertEqual(["-a", "-p", "-r"], self.proposals("log_tool", "-"))
        self.assertEqual(["-r"], self.proposals("log_tool", "-a", "127.0.0.1", "-r"))

    def test_anything_else_begins_a_file(self):
        files = ["drive one.log", "drive.log", "drives"]
        self.assertEqual(files, self.proposals("log_tool", "-r", "dri"))
        self.assertEqual(["-x", *files, "other"], self.proposals("log_tool", "-r", ""))

    def test_nothing_for_an_address_or_a_port(self):
        for option in ("-a", "-p"):
            self.assertEqual([], self.proposals("log_tool", option, ""))


class DeviceSimTest(CompletionTest):
    def test_the_options_of_its_help(self):
        self.assertEqual(
            sorted(["-h", *device_sim_help()]), self.proposals("device_sim", "--port", "0", "")
        )
        self.assertEqual(["--pvt-rate"], self.proposals("device_sim", "--pv"))

    def test_values(self):
        for option, help_text in device_sim_help().items():
            if not help_text.takes_value:
                continue
            takes_file = option in ("--expect", "--dump", "--json")
            files = ["drive one.log", "drive.log", "drives"] if takes_file else []
            with self.subTest(option):
                self.assertEqual(files, self.proposals("device_sim", option, "dri"))


@unittest.skipUnless(shutil.which(LOG_KIT), "log_kit is for the desk alone")
class LogKitTest(CompletionTest):
    FILES = ["drive one.log", "drive.log", "drives"]

    def test_the_subcommands_of_its_help(self):
        self.assertEqual(sorted(["-h", "--help", *log_kit_help()]), self.proposals("log_kit", ""))
        self.assertEqual(["recover", "redact", "retime"], self.proposals("log_kit", "re"))

    def test_the_options_of_each_help(self):
        for command, options in log_kit_help().items():
            with self.subTest(command):
                self.assertEqual(sorted(["-h", *options]), self.proposals("log_kit", command, "-"))

    def test_values(self):
        for command, options in log_kit_help().items():
            for option, takes_value in options.items():
                with self.subTest(command=command, option=option):
                    expected = self.FILES
                    if takes_value and option not in ("--prefix", "--type"):
                        expected = []
                    if option != "--type":
                        found = self.proposals("log_kit", command, option, "dri")
                        self.assertEqual(expected, found)
        types = ["attitude", "generic", "gnss", "imu", "pvt"]
        self.assertEqual(types, self.proposals("log_kit", "cut", "--type", ""))

    def test_files(self):
        for command in log_kit_help():
            self.assertEqual(self.FILES, self.proposals("log_kit", command, "dri"))


if __name__ == "__main__":
    unittest.main()
