"""The steps that nothing can notice, each with its reason: unnoticeable.txt. A step is known by its text, not its place."""

from dataclasses import dataclass
from pathlib import Path

FILE = Path(__file__).with_name("unnoticeable.txt")


@dataclass(frozen=True)
class Excuse:
    path: str
    operator: str
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
    """Groups apart by blank lines: `path operator`, the old lines after "- ", the new ones after "+ ", "because" and why."""
    excuses = []
    for group in text.split("\n\n"):
        lines = [line for line in group.splitlines() if line and not line.startswith("#")]
        if not lines:
            continue
        path, operator = lines[0].split()
        old = tuple(line[2:].strip() for line in lines[1:] if line.startswith("- "))
        new = tuple(line[2:].strip() for line in lines[1:] if line.startswith("+ "))
        reason = " ".join(line.strip() for line in lines[1:] if not line.startswith(("- ", "+ ")))
        if not old or not new or not reason.startswith("because "):
            raise ValueError(f"{FILE.name}: not a step with its reason: {group}")
        excuses.append(Excuse(path, operator, old, new, reason.removeprefix("because ")))
    return excuses


def reason_for(excuses, text, step):
    """Why nothing can notice the step; empty when something should."""
    old, new, _ = changed_lines(text, step)
    return next((each.reason for each in excuses
                 if (each.path, each.operator, each.old, each.new) == (step.path, step.operator, old, new)), "")
