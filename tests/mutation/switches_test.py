#!/usr/bin/env python3
"""How scripts/mutate puts many steps into one source: what a switch looks like, that it works, and what is left out."""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "scripts"))

from mutation.operators import Step, steps_of  # noqa: E402: found only now
from mutation.switches import Together, edits_of  # noqa: E402
from mutation.workshop import MOST_STEPS  # noqa: E402

IS = "::mutation::is(7)"


def switched(operator, *lines, head="void f()"):
    """What becomes of the lines of a function when each step of an operator stands behind switch 7."""
    text = f"{head}\n{{\n" + "".join(f"    {line}\n" for line in lines) + "}\n"
    made = []
    for step in steps_of("a.cpp", text):
        if step.operator == operator:
            changed = text
            for start, end, new in sorted(edits_of(text, step, 7), reverse=True):
                changed = changed[:start] + new + changed[end:]
            made.append("\n".join(line.strip() for line in changed.splitlines()[2:-1]))
    return made


class Switches(unittest.TestCase):
    def test_dropped_statement_is_skipped_whatever_else_follows(self):
        self.assertEqual(switched("drop", "if (a)", "{", "g(1,", "  2);", "}"), [f"if (a)\n{{\n{{ if (!{IS}) {{ g(1,\n2); }} }}\n}}"])
        self.assertEqual(switched("notify", "m_c.notify_all();"), [f"{{ if (!{IS}) {{ m_c.notify_all(); }} }}"])

    def test_swapped_statements_are_there_in_both_orders_and_no_comment_hides_one(self):
        self.assertEqual(switched("swap", "g(); // first", "h();"),
                         [f"{{ if ({IS}) {{ h(); g(); }} else {{ g(); // first\nh(); }} }}"])

    def test_condition_is_turned_where_it_stands(self):
        self.assertEqual(switched("condition", "if (a && b(c))", "{", "}"), [f"if ({IS} != static_cast<bool>(a && b(c)))\n{{\n}}"])
        self.assertEqual(switched("condition", "if (const auto x = g())", "{", "}"), [f"if (const auto x = g(); {IS} == !x)\n{{\n}}"])

    def test_negation_is_taken_back(self):
        self.assertEqual(switched("condition", "if (!a)", "{", "}"), [f"if ({IS} != !a)\n{{\n}}"])
        self.assertEqual(switched("condition", "g(a, !b, c);"), [f"g(a, {IS} != !b, c);"])

    def test_negation_beside_what_binds_closer_stands_in_a_whole_expression(self):
        self.assertEqual(switched("condition", "x = a == !b;"), [f"x = ({IS} ? (a == b) : (a == !b));"])

    def test_smallest_whole_expression_around_a_step_is_there_twice(self):
        for old, new in (("return a == b + 1;", f"return ({IS} ? (a != b + 1) : (a == b + 1));"),
                         ("const bool x = g(y) == h(z);", f"const bool x = ({IS} ? (g(y) != h(z)) : (g(y) == h(z)));"),
                         ("g(h(a), b == c, d);", f"g(h(a), ({IS} ? (b != c) : (b == c)), d);"),
                         ("while (a == b)", f"while (({IS} ? (a != b) : (a == b)))")):
            with self.subTest(old):
                self.assertEqual(switched("comparison", old, "{", "}"), [new + "\n{\n}"])
        self.assertEqual(switched("number", "x[3] = {1U, g()};"),
                         [f"x[({IS} ? (4) : (3))] = {{1U, g()}};", f"x[3] = {{({IS} ? (2U) : (1U)), g()}};"])
        self.assertEqual(switched("flag", "m_is = true;"), [f"m_is = ({IS} ? (false) : (true));"])

    def test_new_expression_stands_on_one_line_so_that_the_lines_below_keep_their_numbers(self):
        self.assertEqual(switched("logic", "if (a || // why", "    b)", "{", "}"),
                         [f"if (({IS} ? (a && b) : (a || // why\nb)))\n{{\n}}"])

    def test_constant_is_known_when_the_program_starts(self):
        self.assertEqual(switched("number", "constexpr int x = 1;"), [f"const int x = ({IS} ? (2) : (1));"])
        self.assertEqual(switched("number", "inline constexpr int x = 1;", head="namespace n"),
                         [f"inline const int x = ({IS} ? (2) : (1));"])
        self.assertEqual(switched("number", "static constexpr int x = 1;", head="class A"),
                         [f"static inline const int x = ({IS} ? (2) : (1));"])

    def test_lock_carries_nothing(self):
        text = "void f()\n{\n    const std::lock_guard lock(m);\n}\n"
        self.assertEqual([edits_of(text, step, 7) for step in steps_of("a.cpp", text) if step.operator == "lock"], [[]])


class TogetherTest(unittest.TestCase):
    text = "int f(int x)\n{\n    g(x == 1,\n      x);\n    h();\n    return x > 3;\n}\n"

    def together(self, *wanted):
        steps = [step for step in steps_of("room/a.cpp", self.text) if (step.operator, step.new) in wanted]
        return Together({"room/a.cpp": self.text, "room/b.cpp": "int x;\n"}, steps)

    def test_steps_that_meet_do_not_share_a_build(self):
        sut = self.together(("comparison", "!="), ("drop", ";"))
        self.assertEqual(([step.operator for step in sut.numbers], [step.operator for step in sut.overlapping]),
                         (["drop", "drop"], ["comparison"]))

    def test_source_without_a_step_stays_as_it_is(self):
        self.assertEqual(self.together(("comparison", "!=")).sources()["room/b.cpp"], "int x;\n")

    def test_steps_on_a_line_that_the_compiler_names_are_left_out(self):
        for said, left in (("../../room/a.cpp:4:3: error: no", ["drop", "comparison"]), ("room/a.cpp:5: note: x", ["drop", "comparison"]),
                           ("/x/room/a.cpp:2: error: no", []), ("room/b.cpp:3: error: no", [])):
            with self.subTest(said):
                sut = self.together(("drop", ";"), ("comparison", ">="))
                self.assertEqual(len(sut.numbers), 3)
                sut.leave_out(said)
                self.assertEqual([step.operator for step in sut.numbers], left)

    def test_what_is_left_out_is_as_it_was(self):
        sut = self.together(("comparison", ">="))
        sut.leave_out("")
        self.assertEqual(sut.sources()["room/a.cpp"], self.text)

    def test_one_program_is_each_of_its_steps_in_turn(self):
        text = ("#include <cstdio>\nconstexpr int start = 1;\nint main()\n{\n    int x = start;\n    if (x > 5)\n    {\n        return 9;\n    }\n"
                "    x *= 10;\n    x += 3;\n    std::printf(\"%d\", x);\n    return 0;\n}\n")
        steps = [Step("a.cpp", operator, text.index(old), text.index(old) + len(old), new) for operator, old, new in (
            ("number", "1", "2"), ("condition", "x > 5", "!(x > 5)"), ("drop", "x *= 10;", ";"),
            ("swap", "x += 3;\n    std::printf(\"%d\", x);", "std::printf(\"%d\", x);\n    x += 3;"))]
        sut = Together({"a.cpp": text}, steps)
        with tempfile.TemporaryDirectory() as directory:
            source, program = Path(directory) / "a.cpp", Path(directory) / "a"
            source.write_text(sut.sources()["a.cpp"])
            subprocess.run(["g++", "-std=c++20", "-I", ROOT, source, "-o", program], check=True)
            reached = Path(directory) / "reached"

            def run(number):
                reached.write_bytes(bytes(MOST_STEPS))
                told = {"KORABRIDGE_MUTATION": str(number), "KORABRIDGE_MUTATION_REACHED": str(reached)}
                said = subprocess.run([program], env={**os.environ, **told}, capture_output=True, text=True, check=False).stdout
                return said, [step for step, is_there in enumerate(reached.read_bytes()) if is_there]

            ran = [run(number) for number in (0, *sut.numbers.values())]
        self.assertEqual(ran, [("13", [1, 2, 3, 4]), ("23", [1, 2, 3, 4]), ("", [1, 2]), ("4", [1, 2, 3, 4]), ("10", [1, 2, 3, 4])])


if __name__ == "__main__":
    unittest.main()
