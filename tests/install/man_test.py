"""The manual pages: well-formed, and true to the programs and the format."""

import os
import re
import shutil
import subprocess
import unittest

from installed import PAGES, device_sim_help, log_kit_help

from harness import codec
from harness.places import DEVICE_SIM, LOG_KIT, LOG_TOOL
from harness.program import ProgramTest, free_port


def render(page):
    """The page as plain text, wide enough for any of its lines."""
    done = subprocess.run(
        ["mandoc", "-Tascii", "-Owidth=300", PAGES / page],
        capture_output=True,
        text=True,
        check=True,
    )
    return re.sub(".\b", "", done.stdout)


class PageTest(unittest.TestCase):
    def test_no_warnings(self):
        pages = sorted(PAGES.iterdir())
        self.assertEqual(
            ["device_sim.1", "log_kit.1", "log_tool-format.5", "log_tool.1"],
            [page.name for page in pages],
        )
        for page in pages:
            for command in (
                ["mandoc", "-Tlint", "-Wwarning"],
                ["groff", "-ww", "-t", "-mdoc", "-Tutf8", "-z"],
            ):
                with self.subTest(page=page.name, program=command[0]):
                    done = subprocess.run(
                        [*command, page],
                        stdout=subprocess.PIPE,
                        stderr=subprocess.STDOUT,
                        text=True,
                        check=False,
                    )
                    self.assertEqual((0, ""), (done.returncode, done.stdout))

    def test_synopsis_is_the_usage_text(self):
        usage = subprocess.run([LOG_TOOL], capture_output=True, text=True, check=False).stdout
        synopsis, option = usage.replace("<", "").replace(">", "").splitlines()
        page = render("log_tool.1")
        self.assertRegex(page, f"SYNOPSIS\n +{re.escape(synopsis)}\n")
        name, meaning = option.split(": ")
        self.assertRegex(page, f"\n +{name} +(?i:{meaning}): ")

    def test_options_of_device_sim(self):
        described = {
            option: (value, default)
            for option, value, default in re.findall(
                r"^ +(?:-h, )?(--[\w-]+)(?: (\w+))?\n(?: {10,}.*?(?:The default is (\S+)\.)?\n)+",
                render("device_sim.1"),
                re.MULTILINE,
            )
        }
        self.assertEqual(
            {o: (text.takes_value, text.default or "") for o, text in device_sim_help().items()},
            {o: (bool(value), default) for o, (value, default) in described.items()},
        )

    @unittest.skipUnless(shutil.which(LOG_KIT), "log_kit is for the desk alone")
    def test_options_of_log_kit(self):
        sections = re.split(r"^ +log_kit (\w+)$|^EXIT STATUS$", render("log_kit.1"), flags=re.M)
        described = {
            command: {
                option: bool(value)
                for option, value in re.findall(
                    r"^ +(--[\w-]+)(?: (\S+))?(?:$| )", text, re.MULTILINE
                )
            }
            for command, text in zip(sections[1::2], sections[2::2])
            if command
        }
        options = {
            command: {option: value for option, value in options.items() if option != "--help"}
            for command, options in log_kit_help().items()
        }
        self.assertEqual(options, described)

    def test_table_of_types(self):
        rows = re.findall(
            r"^ +(\d) +(\w+) +((?:[0-9A-F]{2} ){8}) +(\d+) +(\d+)$",
            render("log_tool-format.5"),
            re.MULTILINE,
        )
        self.assertEqual(
            [
                (
                    str(type_.code),
                    type_.name,
                    codec.frame(type_())[: codec.HEADER_SIZE].hex(" ").upper() + " ",
                    str(type_.payload_size),
                    str(len(codec.frame(type_()))),
                )
                for type_ in codec.TYPES.values()
            ],
            rows,
        )

    def test_fields_of_the_position(self):
        """In their order, and signed or not as they are."""
        page = render("log_tool-format.5")
        rows = re.findall(r"^ {13}(\w+(?:, \w+)*)\s+(un)?signed", page, re.MULTILINE)
        self.assertEqual(
            {name: letter == "I" for name, letter in codec.PVT_FIELDS.items()},
            {name: bool(un) for names, un in rows for name in names.split(", ")},
        )
        self.assertEqual(
            list(codec.PVT_FIELDS), [name for names, _ in rows for name in names.split(", ")]
        )

    def test_example(self):
        page = render("log_tool-format.5")
        lines = re.findall(r"^ +((?:[0-9A-F]{2} ?)+)$", page, re.MULTILINE)
        record = codec.AttitudeData(
            16909060,
            *map(codec.float_bits, (3.1415927, -0.1, 123.456, -2.7182817)),
            *(1, 0, 1, 1),
        )
        self.assertEqual(codec.frame(record), bytes.fromhex("".join(lines)))
        self.assertRegex(page, "16909060 ms.* 3.1415927, -0.1, 123.456 and -2.7182817")
        self.assertIn("true, false, true, true", page)


class ExampleTest(ProgramTest):
    def test_of_device_sim_works_as_printed(self):
        (example,) = re.findall(
            r"compare:\n\n((?: .*\n)+)", render("device_sim.1").partition("\nEXAMPLES\n")[2]
        )
        # As printed, on a port of our own and for two seconds.
        for printed, ours in (("5005", str(free_port())), (" 10 ", " 2 "), (" 15 ", " 7 ")):
            self.assertIn(printed, example)
            example = example.replace(printed, ours)
        for name, program in (("log_tool", LOG_TOOL), ("device_sim", DEVICE_SIM)):
            os.symlink(shutil.which(program), self.path(name))
        script = self.start("env", f"PATH={self.folder}:{os.environ['PATH']}", "sh", "-c", example)
        self.assertEqual(0, script.wait(), script.errors)
        self.assertEqual("the same", script.lines[-1])
        counts = [re.findall(r"\d+", line)[0] for line in script.lines if line.startswith("total ")]
        self.assertEqual(["262", "0", "0", "262"], counts)  # sent, received; of either device_sim


if __name__ == "__main__":
    unittest.main()
