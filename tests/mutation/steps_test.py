#!/usr/bin/env python3
"""What each operator of scripts/mutate makes of a line, what is left alone, and what a sample and a summary say."""

import re
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "scripts"))

from mutation import excuses, report  # noqa: E402: found only now
from mutation.operators import steps_of  # noqa: E402
from mutation.rooms import ROOMS  # noqa: E402
from mutation.sample import sample, unnoticed_before  # noqa: E402
from mutation.source import code_of, statements_of  # noqa: E402
from mutation.trial import Verdict  # noqa: E402


def body(*lines):
    return "void f()\n{\n" + "".join(f"    {line}\n" for line in lines) + "}\n"


def made(operator, *lines):
    """What an operator makes of the lines of a function, one text for each step."""
    text = body(*lines)
    steps = [step for step in steps_of("a.cpp", text) if step.operator == operator]
    return ["\n".join(line.strip() for line in step.apply(text).splitlines()[2:-1]) for step in steps]


def programs():
    """The test programs of the build: the first kind of each bears the name itself, further ones have theirs behind it."""
    found = set()
    for path in (ROOT / "tests").rglob("CMakeLists.txt"):
        for name, rest in re.findall(r"^ *korabridge_test\((\w+)\n(.*?)\)", path.read_text(), re.DOTALL | re.MULTILINE):
            kinds = re.findall(r"^ +(PURE|WAITS|TIMING)$", rest, re.MULTILINE)
            found |= {name, *(f"{name}_{kind.lower()}" for kind in kinds[1:])}
    return found


class Operators(unittest.TestCase):
    def test_each_comparison_is_turned_or_loses_its_edge(self):
        for old, new in (("==", "!="), ("!=", "=="), ("<", "<="), ("<=", "<"), (">", ">="), (">=", ">")):
            with self.subTest(old):
                self.assertEqual(made("comparison", f"return a {old} b;"), [f"return a {new} b;"])

    def test_brackets_of_a_template_are_no_comparison(self):
        self.assertEqual(made("comparison", "std::vector<int> x = f<int>(y);"), [])

    def test_condition_is_negated(self):
        self.assertEqual(made("condition", "if (a && b(c))", "{", "}"), ["if (!(a && b(c)))\n{\n}"])
        self.assertEqual(made("condition", "while (isFull(x))", "{", "}"), ["while (!(isFull(x)))\n{\n}"])

    def test_condition_that_declares_is_negated_by_its_name(self):
        self.assertEqual(made("condition", "if (const auto found = find(x))", "{", "}"),
                         ["if (const auto found = find(x); !found)\n{\n}"])
        self.assertEqual(made("condition", "if (const Entry* const known = find(x))", "{", "}"),
                         ["if (const Entry* const known = find(x); !known)\n{\n}"])
        self.assertEqual(made("condition", "if (auto x = find(y); x->isIn(z))", "{", "}"),
                         ["if (auto x = find(y);!(x->isIn(z)))\n{\n}"])

    def test_condition_that_another_step_turns_is_not_turned_twice(self):
        self.assertEqual(made("condition", "if (a == b)", "{", "}"), [])
        self.assertEqual(made("condition", "if (!a)", "{", "}"), ["if (a)\n{\n}"])

    def test_and_becomes_or_and_the_other_way_round(self):
        self.assertEqual(made("logic", "return a && b;"), ["return a || b;"])
        self.assertEqual(made("logic", "return a || b;"), ["return a && b;"])
        self.assertEqual(made("logic", "auto&& x = std::forward<T&&>(y);"), [])

    def test_number_is_one_more(self):
        self.assertEqual(made("number", "x = 41;"), ["x = 42;"])
        self.assertEqual(made("number", "x = 0x0fU;"), ["x = 0x10U;"])
        self.assertEqual(made("number", "x = y[0];"), ["x = y[1];"])

    def test_duration_is_ten_times_itself(self):
        self.assertEqual(made("number", "wait(500ms);"), ["wait(5000ms);"])
        self.assertEqual(made("number", "wait(std::chrono::seconds(3));"), ["wait(std::chrono::seconds(30));"])
        self.assertEqual(made("number", "wait(0ms);"), ["wait(1ms);"])

    def test_number_in_a_name_a_fraction_or_the_room_of_a_buffer_is_left_alone(self):
        for line in ("std::uint32_t word = u8;", "x = 0.5;", "char stamp[32] = {};", "std::array<char, 32> text;"):
            with self.subTest(line):
                self.assertEqual(made("number", line), [])

    def test_pure_function_stays_pure(self):
        self.assertEqual(steps_of("a.h", "class A\n{\n    virtual void f(int x) const = 0;\n};\n"), [])

    def test_flag_is_turned(self):
        self.assertEqual(made("flag", "x = true;"), ["x = false;"])
        self.assertEqual(made("flag", "return false;"), ["return true;"])

    def test_lock_is_removed(self):
        self.assertEqual(made("lock", "const std::lock_guard lock(m_mutex);"), [";"])
        self.assertEqual(made("lock", "lock.unlock();"), [";"])

    def test_notify_is_removed_and_is_no_other_call(self):
        self.assertEqual(made("notify", "m_condition.notify_one();"), [";"])
        self.assertEqual(made("drop", "m_condition.notify_one();"), [])

    def test_call_assignment_and_jump_are_dropped(self):
        for line in ("stop();", "m_store->commit(rows);", "static_cast<void>(::shutdown(fd, how));", "m_isDue = true;",
                     "++m_count;", "m_rows[3].at(x) += 2;", "out << text << number;", "return;", "throw;", "a.b().c<int>(d);",
                     "found->second = std::move(rows);"):
            with self.subTest(line):
                self.assertEqual(made("drop", line), [";"])

    def test_call_over_several_lines_is_dropped_as_a_whole(self):
        self.assertEqual(made("drop", "write(a,", "      [this] { return 1; },", "      b);"), [";"])

    def test_declaration_and_result_are_not_dropped(self):
        for line in ("const auto x = f();", "std::string text(12, 'x');", "return f(x);", "static_cast<void>(unused);",
                     "std::vector<int> rows;", "delete event;"):
            with self.subTest(line):
                self.assertEqual(made("drop", line), [])

    def test_neighbours_are_swapped(self):
        self.assertEqual(made("swap", "m_publisher.write(target);", "m_targets.store(target);"),
                         ["m_targets.store(target);\nm_publisher.write(target);"])
        self.assertEqual(made("swap", "m_flag = true;", "wake();"), ["wake();\nm_flag = true;"])
        self.assertEqual(made("swap", "print(a);", "print(b);"), ["print(b);\nprint(a);"])

    def test_two_assignments_and_lines_apart_are_not_swapped(self):
        self.assertEqual(made("swap", "a = 1;", "b = 2;"), [])
        self.assertEqual(made("swap", "m_put->bind(1, a);", "m_put->bind(2, b);"), [])
        self.assertEqual(made("swap", "setWord(1, a);", "setLength(2);"), [])
        self.assertEqual(made("swap", "f();", "", "g();"), [])
        self.assertEqual(made("swap", "const auto x = f();", "g(x);"), [])


class LeftAlone(unittest.TestCase):
    def test_comments_literals_and_directives(self):
        for line in ("// if (a == b) f(1);", "/* x = 1; */", 'const char* text = "a == 1";', "#define LIMIT 4", "char x = '1';",
                     'auto y = R"(x = 1; y == 2)";'):
            with self.subTest(line):
                self.assertEqual(steps_of("a.cpp", body(line)), [])

    def test_digits_apart_are_one_number_and_no_literal(self):
        self.assertEqual(made("number", "x = 1'000'000; y = 'a' == z;"), ["x = 1000001; y = 'a' == z;"])

    def test_log_lines_and_what_the_compiler_judges(self):
        for line in ('LOG_INFO_F(m_logger, "%d", x == 1);', 'LOG4CXX_WARN(m_logger, "a" << f(1));', "static_assert(a == 1);",
                     "assert(a == 1);", "rows.reserve(12);"):
            with self.subTest(line):
                self.assertEqual(steps_of("a.cpp", body(line)), [])

    def test_declarations_of_a_class_are_no_statements(self):
        text = "class A\n{\npublic:\n    A(int x);\n    void f();\n    int g() const { return h(); }\n};\n"
        self.assertEqual([each.text for each in statements_of(code_of(text))], ["return h();"])

    def test_statements_behind_labels_initializers_and_lambdas_are_found(self):
        text = body("switch (x)", "{", "case A::one:", "    f();", "default:", "    break;", "}", "point p{1, 2};",
                    "g([this] { h(); });")
        self.assertEqual([each.text for each in statements_of(code_of(text))],
                         ["f();", "break;", "point p{1, 2};", "h();", "g([this] { h(); });"])

    def test_constructor_with_initializers_has_a_body(self):
        text = "A::A(int x) : m_x(x), m_y{x}\n{\n    start();\n}\n"
        self.assertEqual([each.text for each in statements_of(code_of(text))], ["start();"])


class Sample(unittest.TestCase):
    text = body(*(f"f({number});" for number in range(50)))

    def groups(self, count, seed):
        return sample(steps_of("a.cpp", self.text), {"a.cpp": self.text}, count, seed)

    def test_same_seed_same_steps(self):
        self.assertEqual(self.groups(7, 3), self.groups(7, 3))
        self.assertNotEqual(self.groups(7, 3), self.groups(7, 4))

    def test_each_part_of_the_folder_has_its_share(self):
        first_and_last = [(min(step.start for step in group), max(step.start for step in group)) for group in self.groups(10, 1)]
        self.assertEqual(first_and_last, sorted(first_and_last))
        self.assertTrue(all(one[1] <= two[0] for one, two in zip(first_and_last, first_and_last[1:])))

    def test_more_than_there_are_is_all(self):
        self.assertEqual(sum(map(len, self.groups(1000, 1))), len(steps_of("a.cpp", self.text)))
        self.assertEqual(sample([], {}, 10, 1), [])

    def test_again_is_what_was_unnoticed(self):
        step = steps_of("a.cpp", self.text)[4]
        old, new, line = excuses.changed_lines(self.text, step)
        verdicts = [Verdict("a.cpp", line, step.operator, old, new), Verdict("a.cpp", 3, "drop", ("f(0);",), (";",), "unit")]
        data = report.summary("runtime", 1, "0", verdicts)
        self.assertEqual(unnoticed_before(steps_of("a.cpp", self.text), {"a.cpp": self.text}, data), [[step]])

    def test_table_of_numbers_has_one_step_for_each_line(self):
        text = "const int table[] = {1, 2, 3,\n    4, 5, 6};\n"
        steps = steps_of("a.cpp", text)
        self.assertEqual(len(steps), 6)
        self.assertEqual(len(sample(steps, {"a.cpp": text}, 10, 1)), 2)


class Excuses(unittest.TestCase):
    text = body("wake();", "g();")
    listed = "a.cpp drop\n- wake();\n+ ;\nbecause the\nother wakes anyway\n"

    def step(self):
        return next(step for step in steps_of("a.cpp", self.text) if step.operator == "drop")

    def test_listed_step_has_its_reason_wherever_it_stands(self):
        known = excuses.read(f"# what this is\n\n{self.listed}")
        self.assertEqual(excuses.reason_for(known, self.text, self.step()), "the other wakes anyway")

    def test_another_step_has_none(self):
        known = excuses.read(self.listed.replace("wake", "sleep"))
        self.assertEqual(excuses.reason_for(known, self.text, self.step()), "")

    def test_lines_before_it_tell_it_from_others(self):
        known = excuses.read(self.listed.replace("- ", "  start();\n- "))
        self.assertEqual(excuses.reason_for(known, self.text, self.step()), "")
        text = body("start();", "", "wake();")
        step = [step for step in steps_of("a.cpp", text) if step.operator == "drop"][1]
        self.assertEqual(excuses.reason_for(known, text, step), "the other wakes anyway")

    def test_reason_is_required(self):
        with self.assertRaises(ValueError):
            excuses.read(self.listed.replace("because", "since"))

    def test_each_listed_step_is_one_and_only_one_of_the_sources(self):
        for excuse in excuses.read(excuses.FILE.read_text()):
            with self.subTest(excuse):
                text = (ROOT / excuse.path).read_text()
                matching = [step for step in steps_of(excuse.path, text) if excuses.reason_for([excuse], text, step)]
                self.assertEqual(len(matching), 1)


class Report(unittest.TestCase):
    def test_percentage_is_of_what_could_be_noticed(self):
        verdicts = [Verdict(f"{by}.cpp", 1, "drop", ("f();",), (";",), by)
                    for by in ("unit", "timeout", "end-to-end", "unnoticed", "excused", "not compiled")]
        data = report.summary("runtime", 1, "0", verdicts)
        self.assertEqual((data["tried"], data["judged"], data["noticed"], data["percent"]), (6, 4, 3, 75.0))
        told = report.text(data, verdicts)
        self.assertIn("unnoticed.cpp:1 drop\n- f();\n+ ;\n", told)
        self.assertEqual(told.count(".cpp"), 1)


class Rooms(unittest.TestCase):
    def test_each_folder_of_the_product_has_its_tests(self):
        folders = {line.split("(")[1].rstrip(")") for line in (ROOT / "CMakeLists.txt").read_text().splitlines()
                   if line.lstrip().startswith("add_subdirectory(")} - {"bench", "tests", "tests/fuzz"}
        self.assertEqual(folders, set(ROOMS))

    def test_each_unit_test_program_belongs_to_a_folder_and_each_that_is_named_is_there(self):
        there = programs()
        named = {program.name for room in ROOMS.values() for program in (*room.units, *room.end_to_end)}
        self.assertLessEqual(named, there)
        self.assertLessEqual({name for name in there if name.startswith("unit_") and "korabench" not in name}, named)


if __name__ == "__main__":
    unittest.main()
