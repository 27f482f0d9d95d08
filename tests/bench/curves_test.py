#!/usr/bin/env python3
"""The short form of bench/curves with the real programs: each curve has its points, with the floor beside the bridge, and
stands in the picture. Then its parts on made-up measurements. Usage: curves_test.py BUILD_FOLDER [TEST ...]"""

import json
import subprocess
import sys
import tempfile
import time
import unittest
import xml.etree.ElementTree
from pathlib import Path
from types import SimpleNamespace

BENCH = Path(__file__).resolve().parents[2] / "bench"
sys.path.insert(0, str(BENCH))
import growth  # noqa: E402
import picture  # noqa: E402
from harness import BenchError  # noqa: E402

X_OF = {"latency of a take, p50": [1, 4], "latency of a take, p99": [1, 4], "takes of many entries": [1, 509],
        "one more bridge joins": [1, 3], "memory, one level more": [288, 73728], "memory, levels of 2304": [2, 8]}
MADE_UP = {"caption": 'a "page" with_a name', "curves": [
    {"name": "cost", "x": "peers", "y": "ms", "series": ["bridge", "floor"], "points": [[1, 2.5, 1.5], [16, 7, 3]]}]}


def texts_of(svg):
    return [text.strip() for text in xml.etree.ElementTree.parse(svg).getroot().itertext() if text.strip()]


class ShortFormTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.scratch.cleanup)
        cls.folder = Path(cls.scratch.name)
        cls.said = subprocess.run([BENCH / "curves", "--short", "--build", BUILD, "--output", cls.folder],
                                  capture_output=True, text=True, check=False)
        if cls.said.returncode != 0:
            raise AssertionError(f"{cls.said.stdout}{cls.said.stderr}")
        cls.curves = json.loads((cls.folder / "curves.json").read_text())["curves"]

    def test_each_curve_has_its_points(self):
        self.assertEqual({curve["name"]: [point[0] for point in curve["points"]] for curve in self.curves}, X_OF)

    def test_the_floor_stands_beside_the_bridge(self):
        for curve in self.curves:
            self.assertTrue(curve["series"][0].startswith("bridge"), curve)
            self.assertTrue(curve["series"][-1].startswith("floor"), curve)
            for point in curve["points"]:
                self.assertEqual(len(point), 1 + len(curve["series"]))
                self.assertGreater(min(point[1:]), 0)

    def test_many_entries_bring_more_takes_and_more_outputs_need_more_memory(self):
        curves = {curve["name"]: curve["points"] for curve in self.curves}
        for name in ("takes of many entries", "memory, one level more"):
            self.assertLess(curves[name][0][1], curves[name][1][1], name)

    def test_the_table_is_printed_with_a_row_for_each_point(self):
        rows = [line for line in self.said.stdout.splitlines() if "  bridge" in line and "  floor" in line]
        self.assertEqual(len(rows), sum(map(len, X_OF.values())))

    def test_the_picture_shows_every_curve(self):
        texts = texts_of(self.folder / "curves.svg")
        for name in X_OF:
            self.assertIn(name, texts)


class PictureTest(unittest.TestCase):
    def test_says_what_it_was_told(self):
        with tempfile.TemporaryDirectory() as scratch:
            picture.draw(MADE_UP, Path(scratch) / "page.svg")
            texts = texts_of(Path(scratch) / "page.svg")
        for text in ('a "page" with_a name', "cost", "peers", "ms", "bridge", "floor", "16"):
            self.assertIn(text, texts)

    def test_one_that_cannot_be_drawn_is_an_error(self):
        with self.assertRaises(BenchError):
            picture.draw(MADE_UP, Path("/nowhere/page.svg"))


class RoundsTest(unittest.TestCase):
    def test_are_as_many_as_asked_for_while_there_is_time(self):
        self.assertEqual(list(growth.rounds(SimpleNamespace(rounds=3, end=time.monotonic() + 60))), [0, 1, 2])

    def test_are_one_when_the_time_is_over(self):
        self.assertEqual(list(growth.rounds(SimpleNamespace(rounds=3, end=time.monotonic() - 1))), [0])


if __name__ == "__main__":
    BUILD = sys.argv.pop(1)
    unittest.main()
