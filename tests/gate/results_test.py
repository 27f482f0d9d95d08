#!/usr/bin/env python3
"""scripts/test-results on reports made here."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "scripts/test-results"


def ctest_report(*cases):
    return "<testsuite>" + "".join(
        f'<testcase name="{name}" time="{seconds}" status="{status}">'
        + ('<skipped message="SKIP_REGULAR_EXPRESSION_MATCHED"/>' if status == "notrun" else "")
        + f"<system-out>{output}</system-out></testcase>" for name, seconds, status, output in cases) + "</testsuite>"


PROGRAM_REPORT = """<testsuites><testsuite>
<testcase classname="Wire" name="Runs" time="0.001" status="run"/>
<testcase classname="Wire" name="Skips" time="0.001" status="run"><skipped message="no such call here"/></testcase>
</testsuite></testsuites>"""


class ResultsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def run_on(self, report, skips="", *options):
        (self.folder / "ctest.xml").write_text(report)
        (self.folder / "skips.txt").write_text(skips)
        result = subprocess.run([sys.executable, SCRIPT, self.folder, self.folder / "skips.txt", *options],
                                capture_output=True, text=True, check=False)
        return result.returncode, result.stdout + result.stderr

    def test_counts_and_times_of_cases_are_printed(self):
        status, text = self.run_on(ctest_report(("e2e.Quick", 0.5, "run", ""), ("e2e.Slow", 7.25, "run", "")))
        self.assertEqual(status, 0)
        self.assertIn("    7.25 s  e2e.Slow\n    0.50 s  e2e.Quick\n", text)
        self.assertIn("2 passed, 0 failed, 0 skipped", text)

    def test_whole_program_counts_by_its_cases(self):
        (self.folder / "unit_wire.xml").write_text(PROGRAM_REPORT)
        _, text = self.run_on(ctest_report(("unit_wire", 0.1, "run", "")))
        self.assertIn("1 passed, 0 failed, 1 skipped", text)
        self.assertIn("skipped: unit_wire.Wire.Skips: no such call here", text)

    def test_skip_that_nobody_allows_is_an_error_where_it_is_strict(self):
        report = ctest_report(("e2e.Case", 0.1, "notrun", "needs a mount namespace"))
        self.assertEqual(self.run_on(report)[0], 0)
        status, text = self.run_on(report, "", "--strict")
        self.assertEqual(status, 1)
        self.assertIn("skipped, and not on the list: e2e.Case (needs a mount namespace)", text)

    def test_skip_with_a_reason_is_allowed(self):
        report = ctest_report(("e2e.Case", 0.1, "notrun", "why"))
        self.assertEqual(self.run_on(report, "e2e.Case  # the emulator has none\n", "--strict")[0], 0)

    def test_allowed_skip_that_ran_is_an_error(self):
        status, text = self.run_on(ctest_report(("e2e.Case", 0.1, "run", "")), "e2e.Case # old\n", "--strict")
        self.assertEqual(status, 1)
        self.assertIn("on the list of skips, but it ran: e2e.Case", text)

    def test_skip_without_a_reason_is_refused(self):
        status, text = self.run_on(ctest_report(), "e2e.Case\n", "--strict")
        self.assertEqual(status, 2)
        self.assertIn("line 1 gives no reason", text)

    def test_missing_report_is_an_error(self):
        result = subprocess.run([sys.executable, SCRIPT, self.folder, self.folder / "skips.txt"], capture_output=True,
                                text=True, check=False)
        self.assertEqual(result.returncode, 1)


if __name__ == "__main__":
    unittest.main()
