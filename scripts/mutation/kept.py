"""What earlier runs have found out, so that a run that was ended goes on where it was, and new tests are asked about what is
left. One line for each verdict, written when it is there: build/mutate/FOLDER.kept.

A verdict holds for the sources that it was found in, all of the folder. What nobody noticed is asked again when a test has changed.
How long the tests take on the unchanged code is kept too."""

import hashlib
import json
from dataclasses import asdict

SUFFIXES = (".cpp", ".h", ".hpp")


def digest_of(texts):
    """One for the same texts under the same names."""
    result = hashlib.sha256()
    for name in sorted(texts):
        result.update(f"{name}\0{len(texts[name])}\0{texts[name]}".encode())
    return result.hexdigest()


def texts_under(root, folder, pattern="*"):
    return {str(path.relative_to(root)): path.read_text() for path in sorted((root / folder).rglob(pattern))
            if path.suffix in SUFFIXES}


class Kept:
    def __init__(self, file, sources, tests):
        """`sources` and `tests` are digests. Lines about other sources are dropped."""
        self._file, self._sources, self._tests, self._known, self._passes = file, sources, tests, {}, {}
        for line in file.read_text().splitlines(keepends=True) if file.exists() else []:
            if line.endswith("\n"):  # the last one of a run that was killed may be half a line
                entry = json.loads(line)
                if entry["sources"] != sources:
                    continue
                if "step" in entry:
                    self._known[tuple(entry["step"])] = entry
                elif entry["tests"] == tests:
                    self._passes[entry["program"]] = entry
        self._write("w", [*self._passes.values(), *self._known.values()])

    def seconds_unchanged(self, program):
        """How long a test program took that passed on the unchanged code; None when that is not known."""
        return self._passes[program]["seconds"] if program in self._passes else None

    def add_unchanged(self, program, seconds):
        self._passes[program] = {"sources": self._sources, "tests": self._tests, "program": program, "seconds": seconds}
        self._write("a", [self._passes[program]])

    def verdict(self, step, asked):
        """What was found out about a step, as data; None when it is to be tried. `asked`: which programs would be."""
        entry = self._known.get(_name(step))
        if entry is None or (entry["verdict"]["by"] == "unnoticed" and (entry["tests"], entry["asked"]) != (self._tests, asked)):
            return None
        return entry["verdict"]

    def add(self, step, asked, verdict):
        entry = {"sources": self._sources, "tests": self._tests, "asked": asked, "step": _name(step),
                 "verdict": asdict(verdict)}
        self._known[_name(step)] = entry
        self._write("a", [entry])

    def _write(self, mode, entries):
        self._file.parent.mkdir(parents=True, exist_ok=True)
        with self._file.open(mode) as file:
            file.writelines(json.dumps(entry) + "\n" for entry in entries)


class NothingKept:
    def seconds_unchanged(self, _program):
        return None

    def add_unchanged(self, _program, _seconds):
        pass

    def verdict(self, _step, _asked):
        return None

    def add(self, _step, _asked, _verdict):
        pass


def _name(step):
    return (step.path, step.operator, step.start, step.end, step.new)
