#!/usr/bin/env python3
"""What is read from callgrind's dumps, one for each thread."""

import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "bench"))
import callgrind  # noqa: E402
from harness import BenchError  # noqa: E402

ANSWERS = "fn=(1) com::tallowcrest::durability::Channel::handOver(void const*)\n0 8\ncfn=(2) LevelImpl::take(unsigned int)\n"
KEEPS = "fn=(7) com::tallowcrest::durability::Recorder::look(StoreKeeper&)\n0 8\n"


class DumpTest(unittest.TestCase):
    def of_thread(self, text):
        with tempfile.TemporaryDirectory() as scratch:
            dump = Path(scratch) / "callgrind.1.1-01"
            dump.write_text(text)
            return callgrind.of_thread(dump)

    def test_thread_that_hands_over_answers(self):
        self.assertEqual(self.of_thread(ANSWERS + "totals: 1234\n"), (1234, False))

    def test_recorder_keeps(self):
        self.assertEqual(self.of_thread(KEEPS + "totals: 77\n"), (77, True))

    def test_call_of_the_recorder_alone_does_not_make_a_recorder(self):
        self.assertEqual(self.of_thread("c" + KEEPS + "totals: 5\n"), (5, False))

    def test_recorder_whose_name_stands_at_a_call_of_it_keeps(self):
        self.assertEqual(self.of_thread("c" + KEEPS + "\nfn=(7)\n0 8\ntotals: 78\n"), (78, True))

    def test_dump_that_is_not_whole_is_none(self):
        with self.assertRaises(BenchError):
            self.of_thread(ANSWERS)


if __name__ == "__main__":
    unittest.main()
