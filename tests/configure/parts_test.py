"""What is built on a machine that lacks packages, and what its user is told."""

import os
import subprocess
import tempfile
import unittest

PACKAGES = ("CLI11", "fmt", "nlohmann_json", "benchmark", "Python3", "GTest")


class PartsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.build = folder.name

    def configure(self, *options, without=()):
        disabled = [f"-DCMAKE_DISABLE_FIND_PACKAGE_{package}=ON" for package in without]
        return subprocess.run(
            [os.environ["CMAKE"], "-S", os.environ["SOURCE"], "-B", self.build]
            + [*disabled, *options],
            capture_output=True,
            text=True,
            env={**os.environ, "CXX": "g++"},
        )

    def targets(self):
        command = [os.environ["CMAKE"], "--build", self.build, "--target", "help"]
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout

    def test_log_tool_needs_none_of_the_packages(self):
        run = self.configure(without=PACKAGES)
        self.assertEqual(0, run.returncode, run.stderr)
        self.assertIn(
            "-- Not built:\n"
            "--   LOG_TOOL_BOARD_TOOLS: the companions that also run on a board: device_sim "
            "(needs libcli11-dev, nlohmann-json3-dev)\n"
            "--   LOG_TOOL_DESK_TOOLS: the companions at the desk: log_kit "
            "(needs libcli11-dev, libfmt-dev, nlohmann-json3-dev)\n"
            "--   LOG_TOOL_TESTS: the tests "
            "(needs LOG_TOOL_BOARD_TOOLS, libgtest-dev, python3)\n"
            "--   LOG_TOOL_BENCH: the programs that measure "
            "(needs LOG_TOOL_BOARD_TOOLS, libbenchmark-dev)\n"
            "--   LOG_TOOL_FUZZ: the fuzz targets (needs clang)\n",
            run.stdout,
        )
        targets = self.targets()
        self.assertIn("log_tool", targets)
        for target in ("device_sim", "log_kit", "log_frames", "runtime_tests", "load"):
            self.assertNotIn(target, targets)

    def test_a_missing_package_leaves_out_its_part_alone(self):
        run = self.configure(without=("fmt",))
        self.assertEqual(0, run.returncode, run.stderr)
        self.assertIn("log_kit (needs libfmt-dev)\n", run.stdout)
        targets = self.targets()
        self.assertIn("device_sim", targets)
        self.assertIn("runtime_tests", targets)
        self.assertNotIn("log_kit", targets)

    def test_a_part_that_was_asked_for_is_never_left_out(self):
        for part, package, need in (
            ("LOG_TOOL_BOARD_TOOLS", "CLI11", "libcli11-dev"),
            ("LOG_TOOL_DESK_TOOLS", "fmt", "libfmt-dev"),
            ("LOG_TOOL_TESTS", "GTest", "libgtest-dev"),
            ("LOG_TOOL_BENCH", "benchmark", "libbenchmark-dev"),
            ("LOG_TOOL_FUZZ", None, "clang"),
        ):
            with self.subTest(part):
                run = self.configure("--fresh", f"-D{part}=ON", without=[package])
                self.assertNotEqual(0, run.returncode)
                self.assertIn(f"{part} is ON", run.stderr)
                self.assertIn(need, run.stderr)


if __name__ == "__main__":
    unittest.main()
