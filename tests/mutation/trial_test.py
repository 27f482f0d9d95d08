#!/usr/bin/env python3
"""How scripts/mutate tries its steps: in which order tests are asked, what counts, and that nothing stays changed."""

import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "scripts"))

from mutation.operators import steps_of  # noqa: E402: found only now
from mutation.rooms import Program, Room  # noqa: E402
from mutation.trial import NotGreen, Trials  # noqa: E402
from mutation.workshop import PLAIN, SANITIZED, Outcome, Workshop, open_workshops  # noqa: E402

TEXT = "void f()\n{\n    const std::lock_guard lock(m);\n    g();\n    h();\n}\n"
PURE, WAITING, WHOLE = Program("pure", waits=False), Program("waiting"), Program("whole")
ROOM = Room((PURE,), (WAITING,), (WHOLE,))


class FakeWorkshop:
    """Notices what the test says: `(preset, program name, part of the changed text) -> result`."""

    def __init__(self, noticing=(), broken=(), untouched=()):
        self.noticing, self.broken, self.untouched = dict(noticing), broken, untouched
        self.root, self.file, self.asked = Path("copy"), TEXT, []

    def bring_up_to_date(self):
        pass

    def configure(self, preset):
        pass

    def stop(self):
        pass

    def write(self, path, text):
        self.file = text

    def build(self, preset, targets):
        return not any(part not in self.file for part in self.broken)

    def digest(self, preset, program):
        return TEXT if program.name in self.untouched else self.file

    def test(self, preset, program, limit, number=0):
        self.asked.append((preset, program.name))
        for (where, name, part), result in self.noticing.items():
            if (where, name) == (preset, program.name) and part not in self.file:
                return Outcome(result, f"{name} X.Y", 1)
        return Outcome("passed", "", 2)


def verdicts(workshop, operators, has_locks=True, with_end_to_end=True, one_group=False):
    shown = []
    trials = Trials(ROOM, [workshop], {"a.cpp": TEXT}, [], shown.append)
    trials.choose(has_locks, with_end_to_end)
    trials.prepare()
    workshop.asked.clear()
    steps = [step for step in steps_of("a.cpp", TEXT) if step.operator in operators]
    return trials.run([steps] if one_group else [[step] for step in steps])


class TrialsTest(unittest.TestCase):
    def test_unit_tests_are_asked_first_and_nobody_after_the_first_that_notices(self):
        sut = FakeWorkshop({(PLAIN, "waiting", "g();"): "failed"})
        found = verdicts(sut, ["drop"])
        self.assertEqual([(each.by, each.test) for each in found], [("unit", "waiting X.Y"), ("unnoticed", "")])
        self.assertEqual(sut.asked, [(PLAIN, "pure"), (PLAIN, "waiting"),
                                     (PLAIN, "pure"), (PLAIN, "waiting"), (PLAIN, "whole")])

    def test_end_to_end_tests_are_asked_about_what_is_left(self):
        self.assertEqual([each.by for each in verdicts(FakeWorkshop({(PLAIN, "whole", "h();"): "failed"}), ["drop"])],
                         ["unnoticed", "end-to-end"])
        self.assertEqual([each.by for each in verdicts(FakeWorkshop({(PLAIN, "whole", "h();"): "failed"}), ["drop"],
                                                       with_end_to_end=False)], ["unnoticed", "unnoticed"])

    def test_lock_is_looked_for_with_the_sanitizer_where_threads_meet(self):
        sut = FakeWorkshop({(SANITIZED, "waiting", "lock_guard"): "failed"})
        self.assertEqual([each.by for each in verdicts(sut, ["lock"])], ["sanitizer"])
        self.assertEqual(sut.asked, [(PLAIN, "pure"), (PLAIN, "waiting"), (SANITIZED, "waiting")])

    def test_pure_program_in_which_nothing_changes_is_not_asked(self):
        sut = FakeWorkshop({(PLAIN, "whole", "h();"): "failed"}, untouched=("pure", "whole"))
        self.assertEqual([each.by for each in verdicts(sut, ["drop"])], ["unnoticed", "end-to-end"])
        self.assertEqual(sut.asked, 2 * [(PLAIN, "waiting"), (PLAIN, "whole")])

    def test_step_that_hangs_is_noticed(self):
        self.assertEqual([each.by for each in verdicts(FakeWorkshop({(PLAIN, "pure", "g();"): "timeout"}), ["drop"])],
                         ["timeout", "unnoticed"])

    def test_step_that_does_not_compile_is_replaced_by_the_next(self):
        found = verdicts(FakeWorkshop({(PLAIN, "pure", "h();"): "failed"}, broken=["g();"]), ["drop"], one_group=True)
        self.assertEqual([each.by for each in found], ["not compiled", "unit"])

    def test_nothing_stays_changed(self):
        sut = FakeWorkshop()
        verdicts(sut, ["drop", "swap", "lock"])
        self.assertEqual(sut.file, TEXT)

    def test_unchanged_code_that_does_not_pass_or_build_is_the_end(self):
        for sut in (FakeWorkshop({(PLAIN, "whole", "not there"): "failed"}), FakeWorkshop(broken=["not there"])):
            with self.assertRaises(NotGreen):
                verdicts(sut, ["drop"])


class SwitchedWorkshop(FakeWorkshop):
    """Reads the switches of the file that it was given. Those on the lines in `unswitchable` do not compile."""

    def __init__(self, noticing=(), unswitchable=()):
        super().__init__(noticing)
        self.unswitchable, self.builds, self.reached = unswitchable, [], {}

    def _switched_lines(self):
        lines = self.file.split("#line 1\n")[-1].splitlines()
        return [at for at, line in enumerate(lines, 1) if "::mutation::is" in line]

    def build(self, preset, targets, goes_on=False):
        self.builds.append(len(self._switched_lines()))
        return not set(self._switched_lines()) & set(self.unswitchable)

    def said(self):
        return "".join(f"../../a.cpp:{line}:3: error: no\n" for line in self.unswitchable)

    def test(self, preset, program, limit, number=0):
        given = self.file
        is_on = lambda match: ";" if int(match[1]) == number else match[2]
        try:
            self.file = re.sub(r"\{ if \(!::mutation::is\((\d+)\)\) \{ (.*?) \} \}", is_on, given)
            outcome = super().test(preset, program, limit)
            outcome.reached = self.reached.get(program.name, range(1, 9))
            return outcome
        finally:
            self.file = given


class TogetherTest(unittest.TestCase):
    def judged(self, workshop, operators=("drop",)):
        """What was found out together, how often that was built and what `run` says at last."""
        trials = Trials(ROOM, [workshop], {"a.cpp": TEXT}, [], lambda line: None)
        trials.choose("lock" in operators, True)
        groups = [[step] for step in steps_of("a.cpp", TEXT) if step.operator in operators]
        trials.judge_together(groups)
        self.assertEqual(workshop.file, TEXT)
        together, has_work = workshop.builds.copy(), trials.has_work(groups)
        trials.prepare()
        return together, has_work, [each.by for each in trials.run(groups)]

    def test_steps_share_one_build_and_each_is_judged(self):
        sut = SwitchedWorkshop({(PLAIN, "waiting", "g();"): "failed"})
        self.assertEqual(self.judged(sut), ([2], False, ["unit", "unnoticed"]))
        sut = SwitchedWorkshop({(PLAIN, "whole", "h();"): "timeout"})
        self.assertEqual(self.judged(sut), ([2], False, ["unnoticed", "timeout"]))

    def test_program_that_does_not_come_by_a_step_is_not_asked(self):
        sut = SwitchedWorkshop()
        sut.reached = {"pure": {1}, "whole": {2}}
        self.judged(sut)
        self.assertEqual(sut.asked[3:7], [(PLAIN, "pure"), (PLAIN, "waiting"), (PLAIN, "waiting"), (PLAIN, "whole")])

    def test_step_whose_switch_does_not_compile_is_left_to_a_build_of_its_own(self):
        sut = SwitchedWorkshop({(PLAIN, "waiting", "g();"): "failed"}, unswitchable=[4])
        self.assertEqual(self.judged(sut), ([2, 1], True, ["unit", "unnoticed"]))
        self.assertEqual(self.judged(SwitchedWorkshop(unswitchable=[4, 5]))[:2], ([2], True))

    def test_lock_is_left_to_a_build_of_its_own(self):
        sut = SwitchedWorkshop({(SANITIZED, "waiting", "lock_guard"): "failed"})
        self.assertEqual(self.judged(sut, ("lock",)), ([], True, ["sanitizer"]))

    def test_steps_that_meet_take_a_build_for_each(self):
        self.assertEqual(self.judged(SwitchedWorkshop(), ("drop", "swap"))[:2], ([2, 1], False))

    def test_tests_have_to_pass_while_no_step_is_on(self):
        sut = SwitchedWorkshop({(PLAIN, "whole", "not there"): "failed"})
        trials = Trials(ROOM, [sut], {"a.cpp": TEXT}, [], lambda line: None)
        trials.choose(False, True)
        with self.assertRaises(NotGreen):
            trials.judge_together([[step] for step in steps_of("a.cpp", TEXT) if step.operator == "drop"])
        self.assertEqual((sut.file, len(sut.asked)), (TEXT, 3))


class WorkshopTest(unittest.TestCase):
    """On a project of one file and a test program that is a shell script."""

    def setUp(self):
        self._directory = tempfile.TemporaryDirectory()
        self.addCleanup(self._directory.cleanup)
        self.project = Path(self._directory.name)
        (self.project / ".gitignore").write_text("/build/\n")
        (self.project / "a.cpp").write_text(TEXT)
        self.script("tests/support/in-namespace", 'exec "$@"')
        subprocess.run(["git", "init", "-q", self.project], check=True)
        self.sut, = open_workshops(self.project, 1, 1)
        self.addCleanup(self.sut.close)
        self.sut.bring_up_to_date()

    def script(self, name, *lines):
        path = self.project / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("\n".join(["#!/bin/sh", *lines]) + "\n")
        path.chmod(0o755)

    def outcome(self, *lines, limit=60):
        self.script("build/mutate/copy-1/build/mutate/tests/sut", *lines)
        return self.sut.test(PLAIN, Program("sut"), limit)

    def test_what_a_killed_run_left_changed_is_mended_and_what_has_gone_goes(self):
        (self.project / "b.cpp").write_text("")
        self.sut.bring_up_to_date()
        self.sut.write("a.cpp", "changed")
        (self.project / "b.cpp").unlink()
        self.sut.bring_up_to_date()
        self.assertEqual((self.sut.root / "a.cpp").read_text(), TEXT)
        self.assertFalse((self.sut.root / "b.cpp").exists())
        self.assertEqual((self.project / "a.cpp").read_text(), TEXT)

    def test_file_that_is_the_same_keeps_its_time(self):
        before = (self.sut.root / "a.cpp").stat().st_mtime_ns
        self.sut.bring_up_to_date()
        self.sut.write("a.cpp", TEXT)
        self.assertEqual((self.sut.root / "a.cpp").stat().st_mtime_ns, before)

    def test_second_run_takes_another_copy(self):
        other, = open_workshops(self.project, 1, 1)
        self.addCleanup(other.close)
        self.assertEqual((self.sut.root.name, other.root.name), ("copy-1", "copy-2"))

    def test_program_is_known_by_its_bytes(self):
        digests = []
        for line in ("exit 0", "exit 1", "exit 0"):
            self.script("build/mutate/copy-1/build/mutate/tests/sut", line)
            digests.append(self.sut.digest(PLAIN, Program("sut")))
        self.assertEqual([digests[0] == each for each in digests], [True, False, True])

    def test_failing_case_is_named(self):
        outcome = self.outcome("echo '[  FAILED  ] A.B (3 ms)'", "exit 1")
        self.assertEqual((outcome.result, outcome.said), ("failed", "sut A.B"))

    def test_report_of_the_sanitizer_and_death_without_a_word_are_failures(self):
        self.assertEqual(self.outcome("echo 'WARNING: ThreadSanitizer: data race (pid=1)'", "exit 66").said, "sut data race")
        self.assertEqual(self.outcome("kill -SEGV $$").said, "sut without a word")

    def test_step_is_turned_on_by_its_number(self):
        self.script("build/mutate/copy-1/build/mutate/tests/sut", '[ "$KORABRIDGE_MUTATION" = 7 ]')
        self.assertEqual([self.sut.test(PLAIN, Program("sut"), 60, *number).result for number in ((), (7,), (8,))],
                         ["failed", "passed", "failed"])

    def test_steps_that_a_program_came_by_are_known(self):
        come_by = 'printf "\\001" | dd of="$KORABRIDGE_MUTATION_REACHED" bs=1 seek=7 conv=notrunc'
        self.assertEqual(self.outcome(come_by).reached, {7})
        self.assertEqual(self.outcome("exit 0").reached, set())

    def test_all_shards_have_to_pass(self):
        self.assertEqual(self.outcome("exit 0").result, "passed")
        self.assertEqual(self.outcome('[ "$GTEST_SHARD_INDEX" != 3 ]').result, "failed")

    def test_program_that_hangs_is_ended_with_what_it_started(self):
        marker = self.project / "build" / "ended"
        outcome = self.outcome(f"trap 'touch {marker}; exit 1' TERM", "sleep 600 & wait", limit=1)
        self.assertEqual(outcome.result, "timeout")
        self.assertTrue(marker.exists())


if __name__ == "__main__":
    unittest.main()
