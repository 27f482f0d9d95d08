#!/usr/bin/env python3
"""scripts/check-named-tests on pages and tests made here."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "scripts/check-named-tests"


class NamedTestsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        self.write("tests/e2e/DoorTest.cpp", "TEST_F(DoorTest, IsClosedAtNight)", "TEST(Lock, Holds)",
                   "TEST_P(WindowTest,\n       IsClosedWhenItRainsAndTheWindBlows)")
        self.write("tests/CMakeLists.txt", "korabridge_fuzz(keys", "  chaos_run(Storm timing --seconds 10)")
        self.write("SECURITY.md", "Nothing.")

    def write(self, path, *lines):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text("\n".join(lines) + "\n")

    def check(self, *rows):
        self.write("docs/security.md", "| claim | shown by |", "|---|---|", *rows)
        return subprocess.run([sys.executable, SCRIPT, self.root], capture_output=True, text=True, check=False)

    def test_claims_with_tests_that_exist_pass(self):
        result = self.check("| closed | `DoorTest.IsClosedAtNight`, `DoorTest` |", "| locked | `Lock.Holds` |",
                            "| windows | `WindowTest.IsClosedWhenItRainsAndTheWindBlows` |", "| keys | `fuzz.corpus_of_keys` |",
                            "| all | `chaos.Storm` |")
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_a_test_that_does_not_exist_is_named_with_its_line(self):
        for name in ("DoorTest.IsOpen", "RoofTest", "Lock.Opens", "fuzz.corpus_of_doors", "chaos.Calm"):
            result = self.check("| closed | `DoorTest` |", f"| claimed | `{name}` |")
            self.assertEqual((result.returncode, result.stderr), (1, f"docs/security.md:4: there is no test {name}\n"))

    def test_a_claim_without_a_test_is_found(self):
        for cell in ("", "everybody knows", "`door`"):
            result = self.check("| closed | `DoorTest` |", f"| claimed | {cell} |")
            self.assertEqual((result.returncode, result.stderr), (1, "docs/security.md:4: a claim names no test\n"))

    def test_tests_named_in_the_text_are_looked_up_too(self):
        result = self.check("| closed | `DoorTest` |", "", "See `CellarTest`.")
        self.assertEqual(result.returncode, 1)
        self.assertIn("no test CellarTest", result.stderr)

    def test_pages_without_claims_are_a_mistake(self):
        result = self.check()
        self.assertEqual((result.returncode, result.stderr), (1, "check-named-tests: no claims found\n"))


if __name__ == "__main__":
    unittest.main()
