"""When a promise is broken: when the interval of the median is beyond 15 % worse than promised. A row for which that is open
is measured on; if it is still open at the bound, the median itself decides. Too few undisturbed pairs are a failure as well."""

import math
import statistics
import time
from dataclasses import dataclass, field

WORSE = 1.15  # than promised
CONFIDENCE = 0.98
FEWEST = 8  # undisturbed pairs, below which nothing is said
OTHERS = 0.04  # share of the CPUs that others may have during a pair
BATCH = 4  # pairs between two looks

HOLDS = "ok"
BROKEN = "WORSE"
OPEN = "UNDECIDED"
DISTURBED = "TOO FEW UNDISTURBED PAIRS"


def interval(values, confidence=CONFIDENCE):
    """Bounds of the median, whatever the distribution: the values that as many of the others are beyond as rarely
    happens to a coin. Without bounds while there are too few values for the confidence."""
    count = len(values)
    tail, rank = 0.0, 0
    while rank < count // 2:
        tail += math.comb(count, rank) / 2**count
        if 2 * tail > 1 - confidence:
            break
        rank += 1
    if rank == 0:
        return -math.inf, math.inf
    ordered = sorted(values)
    return ordered[rank - 1], ordered[count - rank]


@dataclass
class Outcome:
    """What was measured of a promise, and what that says."""

    name: str
    pin: str
    promised: float
    most: bool
    unit: str
    verdict: str
    value: float
    low: float
    high: float
    values: list = field(repr=False)
    shares: list = field(repr=False)  # that others had, of each pair measured
    detail: str = ""

    def text(self):
        digits = 1 if self.unit else 3
        value = f"{self.value:.{digits}f} {self.unit}".strip()
        between = f"{self.low:.{digits}f} to {self.high:.{digits}f}" if len(self.values) > 1 else ""
        pairs = f"{len(self.values)} pairs" if len(self.values) != 1 else ""
        count = len(self.shares) - len(self.values)
        left_out = f", {count} left out (others had {statistics.median(self.shares):.0%})" if count > 0 else ""
        return (f"{self.name:46} {self.pin:5} {value:>9}  {between:16} {'<=' if self.most else '>='} {self.promised:<5g} "
                f"{self.verdict:9} {pairs}{left_out}{'; ' if pairs and self.detail else ''}{self.detail}").rstrip()


def judge(promise, values):
    """What the values of the undisturbed pairs say."""
    if len(values) < FEWEST:
        return DISTURBED
    low, high = interval([promise.worse(value) for value in values])
    if high < WORSE:
        return HOLDS
    return BROKEN if low > WORSE else OPEN


def judge_at_the_bound(promise, values):
    """What they say when there will be no more: nothing better is known of the median than the median of the values."""
    verdict = judge(promise, values)
    if verdict != OPEN:
        return verdict
    return HOLDS if promise.worse(statistics.median(values)) < WORSE else BROKEN


def outcome_of(promise, values, shares, detail, verdict):
    low, high = interval(values)
    return Outcome(promise.name, promise.pin, promise.value, promise.most, promise.unit, verdict,
                   statistics.median(values) if values else math.nan, low, high, list(values), list(shares), detail)


def outcome_of_one(promise, value, detail=""):
    """Of a value that does not scatter."""
    verdict = HOLDS if promise.worse(value) < WORSE else BROKEN
    return Outcome(promise.name, promise.pin, promise.value, promise.most, promise.unit, verdict, value, value, value,
                   [value], [], detail)


def status(outcomes):
    """Prints how many promises hold; the exit status: 0 when there are some and all do."""
    missed = [outcome for outcome in outcomes if outcome.verdict != HOLDS]
    for outcome in missed:
        print(f"{outcome.name} ({outcome.pin}): {outcome.verdict}")
    print(f"{len(outcomes) - len(missed)} of {len(outcomes)} promises hold (worse by less than {WORSE - 1:.0%})")
    return 1 if missed or not outcomes else 0


class Purse:
    """The time that measuring on may take, for all rows together."""

    def __init__(self, seconds, clock=time.monotonic):
        self._left = seconds
        self._clock = clock

    def is_empty(self):
        return self._left <= 0

    def pay_for(self, work):
        begin = self._clock()
        try:
            return work()
        finally:
            self._left -= self._clock() - begin


@dataclass
class Pair:
    """Neighbouring measurements: a value for each promise, what the line says beside, the share that others had."""

    values: list
    others: float
    detail: str = ""


LEFT_OUT = Pair([], 1.0)


def measure_until_decided(promises, measure_pair, rounds, purse, others=OTHERS):
    """Rounds of neighbouring pairs, then more for the promises that are open. The first decision on a promise is the last.
    The bound is four times the rounds, the purse once there are enough pairs to say anything, or a machine on which three of
    four pairs are disturbed."""
    values = [[] for _ in promises]
    decided = {}
    detail = ""
    shares = []

    def measure():
        nonlocal detail
        pair = measure_pair(len(shares))
        shares.append(pair.others)
        if pair.others > others:
            return
        detail = pair.detail
        for kept, value in zip(values, pair.values):
            kept.append(value)

    def is_spent():
        left_out = sum(share > others for share in shares)
        is_paid_out = purse.is_empty() and len(shares) - left_out >= FEWEST
        return len(shares) >= 4 * rounds or left_out > 0.75 * len(shares) or is_paid_out

    for _ in range(rounds):
        measure()
    while True:
        for index, promise in enumerate(promises):
            verdict = judge(promise, values[index])
            if index not in decided and verdict in (HOLDS, BROKEN):
                decided[index] = outcome_of(promise, values[index], shares, detail, verdict)
        if len(decided) == len(promises) or is_spent():
            break
        for _ in range(BATCH):
            purse.pay_for(measure)
    return [decided.get(index) or outcome_of(promise, values[index], shares, detail,
                                             judge_at_the_bound(promise, values[index]))
            for index, promise in enumerate(promises)]
