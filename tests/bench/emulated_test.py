#!/usr/bin/env python3
"""What is read from the counts that the emulator's plugin leaves."""

import sys
import tempfile
import threading
import unittest
from pathlib import Path
from types import SimpleNamespace

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "bench"))
import emulated  # noqa: E402
from harness import BenchError, os  # noqa: E402


def records(*pairs):
    return b"".join(emulated.RECORD.pack(*pair) for pair in (*pairs, (0, 0), (0, 0)))


class RecordsTest(unittest.TestCase):
    def test_each_thread_has_its_count(self):
        self.assertEqual(emulated.read_records(records((7, 100), (9, 3))), {7: 100, 9: 3})

    def test_numbers_that_came_again_are_added(self):
        self.assertEqual(emulated.read_records(records((7, 100), (9, 3), (7, 20))), {7: 120, 9: 3})

    def test_nothing_counted_is_an_error(self):
        with self.assertRaises(BenchError):
            emulated.read_records(records())


class CountedTest(unittest.TestCase):
    """This process stands for the server: its main thread, one that keeps targets, and one that has ended."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.scratch = folder.name
        server = SimpleNamespace(name="bridge", process=SimpleNamespace(pid=os.getpid()))
        self.sut = emulated.Counted(self.scratch, server)

    def write(self, *pairs):
        emulated.records_of(self.scratch, "bridge").write_bytes(records(*pairs))

    def test_what_came_since_the_beginning_counts_by_what_the_thread_does(self):
        named, end = threading.Event(), threading.Event()

        def keep():
            Path("/proc/thread-self/comm").write_text("Durable record")
            named.set()
            end.wait()

        keeper = threading.Thread(target=keep)
        keeper.start()
        self.addCleanup(keeper.join)
        self.addCleanup(end.set)
        named.wait()
        main, ended = os.getpid(), 4194305  # no thread has so high a number
        self.write((main, 1000), (keeper.native_id, 50))
        self.sut._begin()
        self.write((main, 1300), (keeper.native_id, 57), (ended, 11))
        self.assertCountEqual(self.sut._counts(), [(300, False), (7, True), (11, False)])


if __name__ == "__main__":
    unittest.main()
