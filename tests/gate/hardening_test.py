#!/usr/bin/env python3
"""scripts/check-hardening on programs compiled here, with all that is wanted and with one thing left out at a time."""

import platform
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "scripts/check-hardening"
SOURCE = """
#include <string.h>
int main(int count, char** words)
{
    char text[20];
    strcpy(text, words[count - 1]);
    return text[0];
}
"""
COMPILING = ["-g", "-O2", "-D_FORTIFY_SOURCE=2", "-fstack-protector-strong", "-fstack-clash-protection", "-fPIE"]
ON_X86_64 = ["-fcf-protection"] if platform.machine() == "x86_64" else []
LINKING = ["-pie", "-Wl,-z,relro", "-Wl,-z,now", "-Wl,--build-id"]


class HardeningTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        (self.root / "built").mkdir()
        (self.root / "shipped").mkdir()
        (self.root / "main.c").write_text(SOURCE)

    def compile(self, *more, left_out=()):
        options = [option for option in COMPILING + ON_X86_64 + LINKING if option not in left_out]
        subprocess.run(["gcc", *options, *more, self.root / "main.c", "-o", self.root / "built/program"], check=True,
                       capture_output=True)

    def check(self, *folders):
        return subprocess.run([sys.executable, SCRIPT, *(self.root / folder for folder in folders)], capture_output=True,
                              text=True, check=False)

    def lacks(self, *more, left_out=()):
        self.compile(*more, left_out=left_out)
        result = self.check("built")
        self.assertEqual(result.returncode, 1, result.stdout)
        return result.stdout.partition(" lacks: ")[2].strip()

    def test_a_program_with_all_of_it_passes(self):
        self.compile()
        result = self.check("built")
        self.assertEqual((result.returncode, result.stdout), (0, "check-hardening: program: all of it, 1 units\n"))

    def test_what_the_compiler_was_not_told_is_named(self):
        self.assertEqual(self.lacks("-U_FORTIFY_SOURCE", left_out=["-D_FORTIFY_SOURCE=2"]), "C library calls checked")
        self.assertEqual(self.lacks("-fno-stack-clash-protection", left_out=["-fstack-clash-protection"]),
                         "-fstack-clash-protection")
        self.assertEqual(self.lacks("-fno-stack-protector", left_out=["-fstack-protector-strong"]),
                         "stack protected, -fstack-protector-strong")
        for option in ON_X86_64:
            self.assertEqual(self.lacks(option + "=none", left_out=[option]), option + "=full")

    def test_what_the_linker_was_not_told_is_named(self):
        self.assertEqual(self.lacks("-no-pie", left_out=["-pie"]), "position independent")
        self.assertEqual(self.lacks("-Wl,-z,norelro", left_out=["-Wl,-z,relro"]), "relocations read-only")
        self.assertEqual(self.lacks("-Wl,-z,lazy", left_out=["-Wl,-z,now"]), "bound at once")
        self.assertEqual(self.lacks("-Wl,-z,execstack"), "stack not executable")

    def test_a_stripped_program_is_known_by_its_build_id(self):
        self.compile()
        subprocess.run(["strip", self.root / "built/program", "-o", self.root / "shipped/tool"], check=True)
        self.assertEqual(self.check("shipped", "built").returncode, 0)
        alone = self.check("shipped")
        self.assertEqual(alone.returncode, 1)
        self.assertIn("lacks: any debug information", alone.stdout)

    def test_a_folder_without_programs_is_a_mistake(self):
        result = self.check("shipped")
        self.assertEqual(result.returncode, 1)
        self.assertIn("no programs in", result.stderr)

    def test_of_named_programs_each_must_be_there_and_others_do_not_count(self):
        self.compile()
        subprocess.run(["cp", self.root / "built/program", self.root / "shipped/tool"], check=True)
        self.compile(left_out=COMPILING)
        subprocess.run(["cp", self.root / "built/program", self.root / "shipped/bench"], check=True)
        arguments = [sys.executable, SCRIPT, self.root / "shipped", self.root / "shipped"]
        self.assertEqual(subprocess.run(arguments, capture_output=True, check=False).returncode, 1)
        self.assertEqual(subprocess.run([*arguments, "tool"], capture_output=True, check=False).returncode, 0)
        self.assertEqual(subprocess.run([*arguments, "tool", "gone"], capture_output=True, check=False).returncode, 1)


if __name__ == "__main__":
    unittest.main()
