"""The steps that nothing can notice, each with its reason: unnoticeable.txt. A step is known by its text, not its place."""

from dataclasses import dataclass
from pathlib import Path

MARKS = ("  ", "- ", "+ ")
FILE = Path(__file__).with_name("unnoticeable.txt")


@dataclass(frozen=True)
class Excuse:
    path: str
    operator: str
    before: tuple
    old: tuple
    new: tuple
    reason: str


def changed_lines(text, step):
    """The lines that a step changes, before and after, without their indentation; and the first one's number."""
    first = text.rfind("\n", 0, step.start) + 1
    last = text.find("\n", step.end)
    last = len(text) if last < 0 else last
    old = text[first:last]
    new = old[: step.start - first] + step.new + old[step.end - first :]
    trim = lambda lines: tuple(line.strip() for line in lines.split("\n"))
    return trim(old), trim(new), text.count("\n", 0, first) + 1


def read(text):
    """Groups apart by blank lines: `path operator`, lines that stand before it after "  ", where its own do not tell it from
    others, the old lines after "- ", the new ones after "+ ", "because" and why."""
    excuses = []
    for group in text.split("\n\n"):
        lines = [line for line in group.splitlines() if line and not line.startswith("#")]
        if not lines:
            continue
        path, operator = lines[0].split()
        before, old, new = (tuple(line[2:].strip() for line in lines[1:] if line.startswith(mark)) for mark in MARKS)
        reason = " ".join(line.strip() for line in lines[1:] if not line.startswith(MARKS))
        if not old or not new or not reason.startswith("because "):
            raise ValueError(f"{FILE.name}: not a step with its reason: {group}")
        excuses.append(Excuse(path, operator, before, old, new, reason.removeprefix("because ")))
    return excuses


def _stands_after(before, text, step):
    lines = [line.strip() for line in text[: text.rfind("\n", 0, step.start) + 1].splitlines() if line.strip()]
    return not before or tuple(lines[-len(before):]) == before


def reason_for(excuses, text, step):
    """Why nothing can notice the step; empty when something should."""
    old, new, _ = changed_lines(text, step)
    return next((each.reason for each in excuses
                 if (each.path, each.operator, each.old, each.new) == (step.path, step.operator, old, new)
                 and _stands_after(each.before, text, step)), "")
