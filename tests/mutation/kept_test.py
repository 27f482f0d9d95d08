#!/usr/bin/env python3
"""What scripts/mutate keeps of its verdicts, and what it tries again."""

import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "scripts"))

from mutation.kept import Kept, digest_of  # noqa: E402: found only now
from mutation.operators import steps_of  # noqa: E402
from mutation.rooms import Program, Room  # noqa: E402
from mutation.trial import Trials  # noqa: E402
from mutation.workshop import Outcome  # noqa: E402

TEXT = "void f()\n{\n    g();\n    h();\n}\n"
ROOM = Room((Program("pure", waits=False),), (), (Program("whole"),))


class Shop:
    """Its tests notice that g() is gone."""

    def __init__(self):
        self.root, self.file, self.tried, self.ends_after, self.measured = Path("copy"), TEXT, 0, None, 0

    def bring_up_to_date(self):
        pass

    def configure(self, preset):
        pass

    def stop(self):
        pass

    def write(self, path, text):
        self.file = text

    def build(self, preset, targets):
        return True

    def digest(self, preset, program):
        return self.file

    def test(self, preset, program, limit):
        self.measured += self.file == TEXT
        if self.file != TEXT and program.name == "pure":
            if self.tried == self.ends_after:
                raise KeyboardInterrupt
            self.tried += 1
        return Outcome("passed" if "g();" in self.file else "failed", "pure X.Y", 1)


class KeptTest(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.file = Path(directory.name) / "build" / "a.kept"
        self.groups = [[step] for step in steps_of("a.cpp", TEXT) if step.operator == "drop"]

    def run_with(self, shop, sources="sources", tests="tests", with_end_to_end=True, known=()):
        """What came of it, whether anything had to be tried, and how many steps were."""
        trials = Trials(ROOM, [shop], {"a.cpp": TEXT}, list(known), lambda line: None, Kept(self.file, sources, tests))
        trials.choose(False, with_end_to_end)
        has_work = trials.has_work(self.groups)
        if has_work:
            trials.prepare()
        found = trials.run(self.groups)
        return [each.by for each in found], has_work, shop.tried

    def test_nothing_is_tried_twice_while_nothing_changes(self):
        self.assertEqual(self.run_with(Shop()), (["unit", "unnoticed"], True, 2))
        self.assertEqual(self.run_with(Shop()), (["unit", "unnoticed"], False, 0))

    def test_run_that_was_ended_goes_on_where_it_was(self):
        shop = Shop()
        shop.ends_after = 1
        with self.assertRaises(KeyboardInterrupt):
            self.run_with(shop)
        self.assertEqual(self.run_with(Shop()), (["unit", "unnoticed"], True, 1))

    def test_unchanged_code_is_measured_once_for_the_same_sources_and_tests(self):
        first, second, third, fourth = Shop(), Shop(), Shop(), Shop()
        first.ends_after = 1
        with self.assertRaises(KeyboardInterrupt):
            self.run_with(first)
        self.run_with(second)
        self.run_with(third, tests="others")
        self.run_with(fourth, tests="others", sources="others")
        self.assertEqual([each.measured for each in (first, second, third, fourth)], [2, 0, 2, 2])

    def test_half_a_line_of_a_run_that_was_killed_is_left_out(self):
        self.run_with(Shop())
        lines = self.file.read_text()
        self.assertIn('"step"', lines.splitlines()[-1])
        self.file.write_text(lines[: len(lines) - 20])
        self.assertEqual(self.run_with(Shop()), (["unit", "unnoticed"], True, 1))
        self.assertEqual(self.run_with(Shop())[2], 0)

    def test_sources_that_have_changed_are_judged_anew(self):
        self.run_with(Shop())
        self.assertEqual(self.run_with(Shop(), sources="others")[2], 2)

    def test_what_nobody_noticed_is_asked_again_of_changed_or_other_tests(self):
        self.run_with(Shop(), with_end_to_end=False)
        self.assertEqual(self.run_with(Shop(), with_end_to_end=True)[2], 1)
        self.assertEqual(self.run_with(Shop(), with_end_to_end=True)[2], 0)
        self.assertEqual(self.run_with(Shop(), tests="others")[2], 1)

    def test_verdict_that_is_kept_says_so_and_has_everything(self):
        self.run_with(Shop())
        trials = Trials(ROOM, [Shop()], {"a.cpp": TEXT}, [], lambda line: None, Kept(self.file, "sources", "tests"))
        trials.choose(False, True)
        first = trials.run(self.groups)[0]
        self.assertEqual((first.path, first.line, first.old, first.new, first.test, first.is_kept),
                         ("a.cpp", 3, ("g();",), (";",), "pure X.Y", True))

    def test_digest_is_of_names_and_texts(self):
        known = digest_of({"a": "1", "b": "2"})
        self.assertEqual(known, digest_of({"b": "2", "a": "1"}))
        self.assertEqual(len({known, digest_of({"a": "1", "c": "2"}), digest_of({"a": "1", "b": "3"}), digest_of({"a": "1"})}), 4)


if __name__ == "__main__":
    unittest.main()
