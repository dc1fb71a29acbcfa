"""What scripts/package.sh makes of its arguments before it does anything."""

import os
import pathlib
import shutil
import subprocess
import unittest

from harness.places import ROOT
from harness.program import ProgramTest

FORMER = pathlib.Path("build", "package", "log-tool_1.0.0_amd64.deb")


class ArgumentsTest(ProgramTest):
    def setUp(self):
        super().setUp()
        shutil.copytree(ROOT / "scripts", self.path("scripts"))
        os.makedirs(self.path(FORMER.parent))
        self.write_file(FORMER, b"former")

    def files(self):
        return {
            path: path.read_bytes()
            for path in pathlib.Path(self.folder).rglob("*")
            if path.is_file()
        }

    def package(self, *arguments):
        """The result of a run that must leave everything as it is."""
        before = self.files()
        done = subprocess.run(
            [self.path("scripts/package.sh"), *arguments],
            capture_output=True,
            text=True,
            check=False,
        )
        self.assertEqual(before, self.files())
        return done

    def test_help(self):
        for arguments in (["--help"], ["-h"], ["armhf", "--help"]):
            with self.subTest(arguments):
                done = self.package(*arguments)
                self.assertEqual((0, ""), (done.returncode, done.stderr))
                self.assertIn("scripts/package.sh [architecture]...", done.stdout)

    def test_what_cannot_be_built_is_refused(self):
        for arguments in (["riscv64"], ["armhf", "armel"], ["--force"], [""]):
            with self.subTest(arguments):
                done = self.package(*arguments)
                self.assertEqual((2, ""), (done.returncode, done.stdout))
                self.assertRegex(
                    done.stderr,
                    f"^package: cannot build for '{arguments[-1]}', only for .*armhf.*\n$",
                )


if __name__ == "__main__":
    unittest.main()
