#!/usr/bin/env python3
"""The speed guard on made-up measurements: what holds, what is broken, what is left out, when it is measured on."""

import contextlib
import io
import itertools
import math
import random
import sys
import time
import unittest
from pathlib import Path
from types import SimpleNamespace

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "bench"))
import guard  # noqa: E402
import harness  # noqa: E402
import promises  # noqa: E402
from guard import BROKEN, DISTURBED, HOLDS, Pair, Purse, measure_until_decided  # noqa: E402

MOST = promises.Promise("at most", "one", 0.8)
LEAST = promises.Promise("at least", "split", 3.0, most=False)
BOTH = (MOST, LEAST)
QUIET, BUSY = 0.0, 0.5


def factors(middle, scatter=0.05, seed=7):
    """Factors to the promise, endlessly, as neighbouring pairs scatter: some far off, as many below as above."""
    dice = random.Random(seed)
    while True:
        yield middle * math.exp(dice.gauss(0, scatter) * (4 if dice.random() < 0.1 else 1))


def ratio(promise, factor):
    return promise.value * factor if promise.most else promise.value / factor


def decide(promise, made_up, others=itertools.repeat(QUIET), rounds=12, purse=None):
    made_up, others = iter(made_up), iter(others)
    return measure_until_decided([promise], lambda _: Pair([ratio(promise, next(made_up))], next(others)), rounds,
                                 purse or Purse(1e9))[0]


class JudgementTest(unittest.TestCase):
    def test_as_promised_holds(self):
        for promise in BOTH:
            self.assertEqual(decide(promise, factors(1.0)).verdict, HOLDS)

    def test_ten_percent_worse_holds(self):
        for promise, seed in itertools.product(BOTH, range(50)):
            self.assertEqual(decide(promise, factors(1.10, 0.03, seed)).verdict, HOLDS, f"seed {seed}")

    def test_twenty_percent_worse_is_broken(self):
        for promise, seed in itertools.product(BOTH, range(50)):
            self.assertEqual(decide(promise, factors(1.20, 0.03, seed)).verdict, BROKEN, f"seed {seed}")

    def test_better_without_bound_holds(self):
        self.assertEqual(decide(MOST, itertools.repeat(-0.1)).verdict, HOLDS)

    def test_few_wild_pairs_change_nothing(self):
        self.assertEqual(decide(MOST, itertools.cycle([1.0] * 9 + [30.0])).verdict, HOLDS)
        self.assertEqual(decide(LEAST, itertools.cycle([1.3] * 9 + [0.1])).verdict, BROKEN)

    def test_single_values_are_held_to_the_same_share(self):
        for promise in (*promises.IDLE_MEMORY.values(), promises.USED_MEMORY, *promises.BOARD_MEMORY.values(),
                        *promises.BOARD_MEMORY_USED.values()):
            self.assertEqual(guard.outcome_of_one(promise, 1.10 * promise.value).verdict, HOLDS)
            self.assertEqual(guard.outcome_of_one(promise, 1.16 * promise.value).verdict, BROKEN)

    def test_the_board_never_has_more_than_it_may(self):
        self.assertLessEqual(promises.BOARD_MEMORY["armhf"].value * guard.WORSE, 12)


class IntervalTest(unittest.TestCase):
    def test_widens_to_all_values_and_beyond_when_they_are_few(self):
        self.assertEqual(guard.interval(range(6)), (-math.inf, math.inf))
        self.assertEqual(guard.interval(range(8)), (0, 7))

    def test_narrows_with_more_values(self):
        # P(at most 1 of 12 coins) = 13 / 4096, at most 2: 79 / 4096.
        self.assertEqual(guard.interval(range(12)), (1, 10))
        self.assertEqual(guard.interval(range(12), 0.96), (2, 9))

    def test_holds_the_median_as_often_as_it_says(self):
        dice = random.Random(1)
        inside = 0
        for _ in range(2000):
            low, high = guard.interval([dice.random() for _ in range(20)])
            inside += low <= 0.5 <= high
        self.assertGreater(inside / 2000, 0.98)
        self.assertLess(inside / 2000, 0.995)


class DisturbedPairsTest(unittest.TestCase):
    def test_are_left_out(self):
        outcome = decide(MOST, itertools.cycle([1.0, 9.0]), itertools.cycle([QUIET, BUSY]), rounds=24)
        self.assertEqual((outcome.verdict, len(outcome.shares)), (HOLDS, 24))
        self.assertEqual(outcome.values, [MOST.value] * 12)

    def test_too_few_others_fail(self):
        outcome = decide(MOST, itertools.repeat(1.0), itertools.chain([QUIET] * 7, itertools.repeat(BUSY)))
        self.assertEqual((outcome.verdict, len(outcome.values)), (DISTURBED, 7))
        self.assertIn(DISTURBED, outcome.text())

    def test_more_are_measured_while_some_are_undisturbed(self):
        outcome = decide(MOST, itertools.repeat(1.0), itertools.cycle([BUSY, BUSY, QUIET]))
        self.assertEqual((outcome.verdict, len(outcome.values), len(outcome.shares)), (HOLDS, 8, 24))

    def test_none_at_all_fails_at_once(self):
        outcome = decide(LEAST, itertools.repeat(1.0), itertools.repeat(BUSY))
        self.assertEqual((outcome.verdict, len(outcome.shares)), (DISTURBED, 12))
        self.assertIn(f"{DISTURBED} 0 pairs, 12 left out (others had 50%)", outcome.text())


class MeasuringOnTest(unittest.TestCase):
    def test_goes_on_while_it_is_open(self):
        outcome = decide(MOST, itertools.chain([1.0, 1.3] * 6, itertools.repeat(1.0)))
        self.assertEqual(outcome.verdict, HOLDS)
        self.assertGreater(len(outcome.values), 12)

    def test_does_not_go_on_once_it_is_broken(self):
        outcome = decide(MOST, itertools.chain([1.3] * 12, itertools.repeat(0.5)))
        self.assertEqual((outcome.verdict, len(outcome.values)), (BROKEN, 12))

    def test_does_not_go_on_for_another_promise(self):
        open_for_long = itertools.cycle([0.9, 1.4])
        broken = itertools.chain([1.3] * 12, itertools.repeat(0.5))
        outcomes = measure_until_decided(
            BOTH, lambda _: Pair([ratio(MOST, next(broken)), ratio(LEAST, next(open_for_long))], QUIET), 12, Purse(1e9))
        self.assertEqual([outcome.verdict for outcome in outcomes], [BROKEN, HOLDS])

    def test_median_decides_at_the_bound(self):
        for wide, verdict in (([1.0, 1.28], HOLDS), ([1.0, 1.32], BROKEN)):
            outcome = decide(MOST, itertools.cycle(wide))
            self.assertEqual((outcome.verdict, len(outcome.values)), (verdict, 48))
            self.assertIn(f"{MOST.value:.3f} to {wide[1] * MOST.value:.3f}", outcome.text())

    def test_ends_when_the_time_for_it_is_spent(self):
        now = itertools.count()
        outcome = decide(MOST, itertools.cycle([1.0, 1.32]), purse=Purse(3.5, lambda: next(now)))
        self.assertEqual((outcome.verdict, len(outcome.values)), (BROKEN, 16))

    def test_goes_on_without_time_while_there_are_too_few_pairs(self):
        outcome = decide(MOST, itertools.repeat(1.0), itertools.cycle([BUSY, BUSY, QUIET]), purse=Purse(0))
        self.assertEqual((outcome.verdict, len(outcome.values)), (HOLDS, 8))


class StatusTest(unittest.TestCase):
    def test_one_that_does_not_hold_is_enough(self):
        good = guard.outcome_of_one(MOST, MOST.value)
        with contextlib.redirect_stdout(io.StringIO()) as said:
            self.assertEqual(guard.status([good, good]), 0)
            self.assertEqual(guard.status([]), 1)
            for verdict in (BROKEN, DISTURBED):
                bad = SimpleNamespace(name="a row", pin="one", verdict=verdict)
                self.assertEqual(guard.status([good, bad]), 1)
                self.assertIn(f"a row (one): {verdict}", said.getvalue())


class OthersTest(unittest.TestCase):
    STAT = "cpu 9 9 9 9 9 9 9 9\ncpu0 10 1 20 300 40 5 6 70 0 0\ncpu1 9 9 9 9 9 9 9 9\ncpu2 0 0 0 100 0 0 0 1 0 0\nintr 1\n"

    def test_idle_and_stolen_time_is_that_of_the_cpus_in_use(self):
        idle, stolen = harness.idle_and_stolen(self.STAT, [0, 2])
        self.assertEqual((idle * harness.TICKS, stolen * harness.TICKS), (300 + 40 + 5 + 6 + 100, 71))

    def test_have_what_is_neither_idle_nor_the_own(self):
        self.assertAlmostEqual(harness.share_of_others((100, 10, 0, 5), (102, 10.9, 0, 6)), 0.05)
        self.assertAlmostEqual(harness.share_of_others((100, 10, 0, 5), (102, 11, 0, 6.01)), 0)

    def test_have_what_the_hypervisor_took_even_if_it_counts_as_the_own(self):
        self.assertAlmostEqual(harness.share_of_others((100, 10, 0, 5), (102, 11, 0.2, 6)), 0.1)

    def test_cpu_time_of_a_process_is_exact(self):
        before = time.process_time()
        measured = harness.Process.cpu_seconds(SimpleNamespace(pid=harness.os.getpid()))
        self.assertTrue(before <= measured <= time.process_time())


if __name__ == "__main__":
    unittest.main()
