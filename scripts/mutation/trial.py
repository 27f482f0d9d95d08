"""Tries the sample: one step after another in a workshop, or side by side in several."""

import queue
import time
from concurrent.futures import ThreadPoolExecutor
from dataclasses import asdict, dataclass

from mutation import excuses
from mutation.workshop import PLAIN, SANITIZED

# What a test gets before a step that hangs counts as noticed: the machine may be busier than when it was measured.
PATIENCE_FACTOR, PATIENCE_SECONDS = 5, 15


class NotGreen(Exception):
    """The unchanged code does not build, or a test of it fails: nothing could be said of a step."""


@dataclass
class Verdict:
    """What came of one step: unit, sanitizer, end-to-end or timeout noticed it; or unnoticed, excused, not compiled."""
    path: str
    line: int
    operator: str
    old: tuple
    new: tuple
    by: str = "unnoticed"
    test: str = ""
    seconds: float = 0

    def as_data(self):
        return asdict(self)


class Trials:
    def __init__(self, room, workshops, texts, known, show):
        self._room, self._workshops, self._texts, self._known, self._show = room, workshops, texts, known, show
        self._limits = {}

    def prepare(self, has_locks, with_end_to_end):
        """Brings the copies up to date, builds them and measures the tests on the unchanged code."""
        self._has_locks = has_locks
        self._stages = [("unit", PLAIN, program) for program in self._room.units]
        if has_locks:
            self._stages += [("sanitizer", SANITIZED, program) for program in self._room.waiting]
        if with_end_to_end:
            self._stages += [("end-to-end", PLAIN, program) for program in self._room.end_to_end]
        for workshop in self._workshops:
            workshop.bring_up_to_date()
            for preset in dict.fromkeys(preset for _, preset, _ in self._stages):
                workshop.configure(preset)
                targets = sorted({program.name for _, where, program in self._stages if where == preset})
                if not workshop.build(preset, targets):
                    raise NotGreen(f"{' '.join(targets)} of the unchanged code: see {workshop.root}/build/last-build.log")
        for _, preset, program in self._stages:
            outcome = self._workshops[0].test(preset, program, 1800)
            if outcome.result != "passed":
                raise NotGreen(f"{outcome.said} on the unchanged code ({preset}): {outcome.result}")
            self._limits[preset, program] = PATIENCE_FACTOR * outcome.seconds + PATIENCE_SECONDS
            self._show(f"unchanged: {program.name} ({preset}) passes in {outcome.seconds:.1f} s")

    def run(self, groups):
        """The verdicts of all groups, in their order."""
        free = queue.Queue()
        for workshop in self._workshops:
            free.put(workshop)

        def judge(group):
            workshop = free.get()
            try:
                return self._first_that_counts(workshop, group)
            finally:
                free.put(workshop)

        with ThreadPoolExecutor(len(self._workshops)) as pool:
            try:
                return [verdict for verdicts in pool.map(judge, groups) for verdict in verdicts]
            except BaseException:
                pool.shutdown(wait=False, cancel_futures=True)
                for workshop in self._workshops:
                    workshop.stop()
                raise

    def _first_that_counts(self, workshop, group):
        verdicts = []
        for step in group:
            if step.operator == "lock" and not self._has_locks:
                continue  # came up in the place of another, and nothing is built that could notice it
            begin = time.monotonic()
            text = self._texts[step.path]
            old, new, line = excuses.changed_lines(text, step)
            verdict = Verdict(step.path, line, step.operator, old, new)
            if reason := excuses.reason_for(self._known, text, step):
                verdict.by, verdict.test = "excused", reason
            else:
                try:
                    workshop.write(step.path, step.apply(text))
                    verdict.by, verdict.test = self._judge(workshop, step)
                finally:
                    workshop.write(step.path, text)
            verdict.seconds = round(time.monotonic() - begin, 1)
            verdicts.append(verdict)
            if verdict.by != "not compiled":
                self._show(f"{verdict.seconds:6.1f} s  {step.path}:{line} {step.operator}: {verdict.by} {verdict.test}")
                break
        return verdicts

    def _judge(self, workshop, step):
        for stage, preset, program in self._stages:
            if stage == "sanitizer" and step.operator != "lock":
                continue
            if not workshop.build(preset, [program.name]):
                return "not compiled", ""
            outcome = workshop.test(preset, program, self._limits[preset, program])
            if outcome.result != "passed":
                return "timeout" if outcome.result == "timeout" else stage, outcome.said
        return "unnoticed", ""
