"""Tries the sample: one step after another in a workshop, or side by side in several."""

import queue
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from dataclasses import asdict, dataclass

from mutation import excuses
from mutation.kept import NothingKept
from mutation.switches import Together
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
    building: float = 0  # of these
    is_kept: bool = False  # found by an earlier run

    def as_data(self):
        return asdict(self)


class Trials:
    def __init__(self, room, workshops, texts, known, show, kept=None):
        self._room, self._workshops, self._texts, self._known, self._show = room, workshops, texts, known, show
        self._kept, self._keeping = kept or NothingKept(), threading.Lock()
        self._limits, self._unchanged, self._judged_together, self._reached = {}, {}, {}, {}

    def choose(self, has_locks, with_end_to_end):
        """Which tests are asked, in which order."""
        self._has_locks = has_locks
        self._stages = [("unit", PLAIN, program) for program in self._room.units]
        if has_locks:
            self._stages += [("sanitizer", SANITIZED, program) for program in self._room.waiting]
        if with_end_to_end:
            self._stages += [("end-to-end", PLAIN, program) for program in self._room.end_to_end]

    def has_work(self, groups):
        """Whether anything is left to be tried."""
        return any(self._from_before(group)[1] for group in groups)

    def judge_together(self, groups):
        """Judges the next step of each group in as few builds as they fit into. What cannot be judged so is left to `run`."""
        left = [self._next(group) for group in groups if self._from_before(group)[1]]
        for workshop in self._workshops:
            workshop.bring_up_to_date()
            workshop.configure(PLAIN)
        while left:
            together = Together(self._texts, left)
            left = together.overlapping
            try:
                begin = time.monotonic()
                for workshop in self._workshops:
                    self._build_together(workshop, together)
                if not together.numbers:
                    return
                self._show(f"{len(together.numbers)} steps in one build, which took {time.monotonic() - begin:.1f} s")
                self._measure(keeps=False)
                self._judged_together |= dict(zip(together.numbers, self._each(self._try_switched, together.numbers.items())))
            finally:
                for workshop in self._workshops:
                    for path, text in self._texts.items():
                        workshop.write(path, text)

    def _next(self, group):
        """The first step of a group that is still to be tried."""
        return list(filter(self._can_be_noticed, group))[len(self._from_before(group)[0])]

    def _build_together(self, workshop, together):
        """Leaves out the steps that do not compile behind a switch, until it is built."""
        targets = sorted({program.name for _, preset, program in self._stages if preset == PLAIN})
        while together.numbers:
            for path, text in together.sources().items():
                workshop.write(path, text)
            if workshop.build(PLAIN, targets, goes_on=True):
                break
            together.leave_out(workshop.said())

    def prepare(self):
        """Brings the copies up to date, builds them and measures the tests on the unchanged code."""
        for workshop in self._workshops:
            workshop.bring_up_to_date()
            for preset in dict.fromkeys(preset for _, preset, _ in self._stages):
                workshop.configure(preset)
                targets = sorted({program.name for _, where, program in self._stages if where == preset})
                if not workshop.build(preset, targets):
                    raise NotGreen(f"{' '.join(targets)} of the unchanged code: see {workshop.root}/build/last-build.log")
            for _, preset, program in self._stages:
                self._unchanged[workshop, preset, program.name] = workshop.digest(preset, program)
        self._measure(keeps=True)

    def _measure(self, keeps):
        """Runs each test on code in which no step is on; when that is kept, not again for the same code."""
        for _, preset, program in self._stages:
            if not keeps and preset == SANITIZED:
                continue
            name = f"{program.name} {program.cases} {preset}"
            seconds = self._kept.seconds_unchanged(name) if keeps else None
            if seconds is None:
                outcome = self._workshops[0].test(preset, program, 1800)
                if outcome.result != "passed":
                    raise NotGreen(f"{outcome.said} on the unchanged code ({preset}): {outcome.result}")
                seconds, self._reached[preset, program] = outcome.seconds, outcome.reached
                if keeps:
                    self._kept.add_unchanged(name, seconds)
                self._show(f"unchanged: {program.name} ({preset}) passes in {seconds:.1f} s")
            self._limits[preset, program] = PATIENCE_FACTOR * seconds + PATIENCE_SECONDS

    def run(self, groups):
        """The verdicts of all groups, in their order."""
        return [verdict for verdicts in self._each(self._first_that_counts, groups) for verdict in verdicts]

    def _each(self, judge_in, what):
        """What becomes of each in a workshop, in their order."""
        free = queue.Queue()
        for workshop in self._workshops:
            free.put(workshop)

        def judge(one):
            workshop = free.get()
            try:
                return judge_in(workshop, one)
            finally:
                free.put(workshop)

        with ThreadPoolExecutor(len(self._workshops)) as pool:
            try:
                return list(pool.map(judge, what))
            except BaseException:
                pool.shutdown(wait=False, cancel_futures=True)
                for workshop in self._workshops:
                    workshop.stop()
                raise

    def _stages_of(self, step):
        return [(stage, preset, program) for stage, preset, program in self._stages
                if stage != "sanitizer" or step.operator == "lock"]

    def _asked(self, step):
        return " ".join(f"{stage}:{program.name}:{program.cases}" for stage, _, program in self._stages_of(step))

    def _can_be_noticed(self, step):
        """A lock that came up in the place of another may have nothing built that could notice that it is gone."""
        return step.operator != "lock" or self._has_locks

    def _without(self, step):
        """The verdict of a step that need not be tried, or none."""
        if step in self._judged_together:
            return self._judged_together[step]
        text = self._texts[step.path]
        old, new, line = excuses.changed_lines(text, step)
        if reason := excuses.reason_for(self._known, text, step):
            return Verdict(step.path, line, step.operator, old, new, "excused", reason)
        data = self._kept.verdict(step, self._asked(step))
        return Verdict(**{**data, "is_kept": True, "old": old, "new": new}) if data else None

    def _from_before(self, group):
        """The verdicts up to the first that counts, without a trial; and whether that one is still to be found."""
        verdicts = []
        for step in filter(self._can_be_noticed, group):
            verdict = self._without(step)
            if verdict is None:
                return verdicts, True
            verdicts.append(verdict)
            if verdict.by != "not compiled":
                break
        return verdicts, False

    def _first_that_counts(self, workshop, group):
        verdicts = []
        for step in filter(self._can_be_noticed, group):
            verdict = self._without(step) or self._try(workshop, step)
            verdicts.append(verdict)
            if verdict.by != "not compiled":
                if step not in self._judged_together:
                    self._show_verdict(verdict)
                break
        return verdicts

    def _show_verdict(self, verdict):
        before = "(before) " if verdict.is_kept else ""
        self._show(f"{verdict.seconds:6.1f} s ({verdict.building:.1f} s building)  {before}{verdict.path}:{verdict.line} "
                   f"{verdict.operator}: {verdict.by} {verdict.test}")

    def _try(self, workshop, step):
        text = self._texts[step.path]

        def judge():
            try:
                workshop.write(step.path, step.apply(text))
                return self._judge(workshop, step)
            finally:
                workshop.write(step.path, text)

        return self._timed(step, judge)

    def _try_switched(self, workshop, numbered):
        step, number = numbered
        verdict = self._timed(step, lambda: (*self._ask(workshop, step, number), 0))
        self._show_verdict(verdict)
        return verdict

    def _timed(self, step, judge):
        """The verdict that comes of it, which is kept."""
        begin = time.monotonic()
        old, new, line = excuses.changed_lines(self._texts[step.path], step)
        verdict = Verdict(step.path, line, step.operator, old, new)
        verdict.by, verdict.test, verdict.building = judge()
        verdict.seconds = round(time.monotonic() - begin, 1)
        with self._keeping:
            self._kept.add(step, self._asked(step), verdict)
        return verdict

    def _ask(self, workshop, step, number):
        """Which stage notices the step of that number, by which test. A program that does not come by it is not asked."""
        for stage, preset, program in self._stages_of(step):
            if number not in self._reached[preset, program]:
                continue
            outcome = workshop.test(preset, program, self._limits[preset, program], number)
            if outcome.result != "passed":
                return "timeout" if outcome.result == "timeout" else stage, outcome.said
        return "unnoticed", ""

    def _judge(self, workshop, step):
        building = 0
        for stage, preset, program in self._stages_of(step):
            begin = time.monotonic()
            is_built = workshop.build(preset, [program.name])
            building = round(building + time.monotonic() - begin, 1)
            if not is_built:
                return "not compiled", "", building
            # What starts other programs may notice what became of those.
            if not program.waits and workshop.digest(preset, program) == self._unchanged[workshop, preset, program.name]:
                continue
            outcome = workshop.test(preset, program, self._limits[preset, program])
            if outcome.result != "passed":
                return "timeout" if outcome.result == "timeout" else stage, outcome.said, building
        return "unnoticed", "", building
