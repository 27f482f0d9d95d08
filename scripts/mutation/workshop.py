"""A copy of the project in which the steps are made, built and tested. The sources of the user are only read."""

import fcntl
import hashlib
import json
import os
import re
import shutil
import signal
import subprocess
import time
from dataclasses import dataclass
from pathlib import Path

PLAIN = "mutate"
SANITIZED = "mutate-tsan"
SHARDS = 6
MOST_STEPS = 4096  # switch.h says so too
NOTICE = re.compile(r"^\[  FAILED  \] ([^\s,]+)|^(?:WARNING|FATAL): ThreadSanitizer: ([\w -]+)", re.MULTILINE)


@dataclass
class Outcome:
    """How a test program ended: passed, failed or timeout; what it said last; how long it took."""
    result: str
    said: str
    seconds: float
    reached: frozenset = frozenset()  # the numbers of the steps that it came by


def _output(command, **settings):
    return subprocess.run(command, check=True, capture_output=True, text=True, **settings).stdout


def _end_group(process):
    """Ends a program that we started and all that it started. First gently, so that its directories go too."""
    for sign, patience in ((signal.SIGTERM, 3), (signal.SIGKILL, 10)):
        try:
            os.killpg(process.pid, sign)  # even when the first of the group has ended already
            process.wait(patience)
        except ProcessLookupError:
            process.wait()
            return
        except subprocess.TimeoutExpired:
            continue


def _first_failure(processes, deadline):
    """How several processes end together, and which is the one that says so."""
    waiting = dict(enumerate(processes))
    while waiting:
        for at, status in [(at, process.poll()) for at, process in waiting.items()]:
            if status:
                return "failed", at
            if status == 0:
                del waiting[at]
        if waiting and time.monotonic() > deadline:
            return "timeout", next(iter(waiting))
        time.sleep(0.02)
    return "passed", 0


def open_workshops(project, count, jobs):
    """The first copies that no other run has."""
    found, number = [], 0
    while len(found) < count:
        number += 1
        root = project / "build" / "mutate" / f"copy-{number}"
        root.mkdir(parents=True, exist_ok=True)
        lock = root.with_suffix(".lock").open("w")
        try:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            lock.close()
            continue
        found.append(Workshop(project, root, jobs, lock))
    return found


class Workshop:
    def __init__(self, project, root, jobs, lock):
        self._project = project
        self.root = root
        self._jobs = jobs
        self._lock = lock
        self._running = []
        self._build_log = root / "build" / "last-build.log"

    def close(self):
        """Lets another run have the copy."""
        self._lock.close()

    def stop(self):
        """Ends the build or the tests that run."""
        while self._running:
            _end_group(self._running.pop())

    def bring_up_to_date(self):
        """Copies what differs, so that only that is compiled again, and mends what a killed run has left changed."""
        listing = _output(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=self._project)
        wanted = {name for name in listing.split("\0") if name and (self._project / name).is_file()}
        for name in sorted(wanted):
            source, target = self._project / name, self.root / name
            if not target.is_file() or source.read_bytes() != target.read_bytes():
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(source, target)
                shutil.copymode(source, target)
        for directory, folders, files in os.walk(self.root):
            inside = Path(directory).relative_to(self.root)
            folders[:] = [each for each in folders if str(inside / each) != "build"]
            for each in files:
                if str(inside / each) not in wanted:
                    (self.root / inside / each).unlink()

    def configure(self, preset):
        linker = next((f"-fuse-ld={each}" for each in ("mold", "lld", "gold") if shutil.which(f"ld.{each}")
                       or shutil.which(each)), "")
        _output(["cmake", "--preset", preset, f"-DCMAKE_EXE_LINKER_FLAGS={linker}"], cwd=self.root)

    def build(self, preset, targets, goes_on=False):
        """Whether it compiles and links. `goes_on`: past a source that does not compile, so that `said` has all faults."""
        # As nice as the caller has made this already, or more than others are.
        command = ["nice", "-n", str(max(0, 5 - os.nice(0))), "cmake", "--build", f"build/{preset}", f"-j{self._jobs}", "--target", *targets,
                   *(("--", "-k", "0") if goes_on else ())]
        # What a step makes of a file is new to a compiler cache: it is not to preprocess it first to find that out.
        environment = {**os.environ, "CCACHE_DEPEND": "1"}
        with self._build_log.open("w") as log:
            self._running.append(subprocess.Popen(command, cwd=self.root, stdout=log, stderr=log, env=environment,
                                                  start_new_session=True))
        try:
            return self._running[0].wait() == 0
        finally:
            self.stop()

    def said(self):
        """What the last build has printed."""
        return self._build_log.read_text(errors="replace")

    def digest(self, preset, program):
        """Of the built program: the same as long as no step changes anything of it."""
        return hashlib.sha256((self.root / "build" / preset / "tests" / program.name).read_bytes()).hexdigest()

    def write(self, path, text):
        if (self.root / path).read_text() != text:  # what stays as it is need not be compiled again
            (self.root / path).write_text(text)

    def test(self, preset, program, limit, number=0):
        """Runs a test program's cases until the first failure; `limit` in seconds; with the step of that number turned on.
        Those that wait more than they compute are dealt to several processes, each with a namespace of its own."""
        environment = {name: value for name, value in os.environ.items() if not name.startswith("GTEST_")}
        shards = SHARDS if program.waits else 1
        environment["GTEST_TOTAL_SHARDS"] = str(shards)
        environment["KORABRIDGE_MUTATION"] = str(number)
        reached = self.root / "build" / "reached"
        reached.write_bytes(bytes(MOST_STEPS))
        environment["KORABRIDGE_MUTATION_REACHED"] = str(reached)
        if preset == SANITIZED:
            environment.update(self._sanitizer_options())
        command = [str(self.root / "tests/support/in-namespace"), str(self.root / "build" / preset / "tests" / program.name),
                   f"--gtest_filter={program.cases}", "--gtest_fail_fast", "--gtest_brief=1"]
        logs = [self.root / "build" / f"last-{program.name}-{shard}.log" for shard in range(shards)]
        begin = time.monotonic()
        try:
            for shard, log_name in enumerate(logs):
                with log_name.open("wb") as log:
                    self._running.append(subprocess.Popen(
                        command, stdin=subprocess.DEVNULL, stdout=log, stderr=log, cwd=self.root, start_new_session=True,
                        env={**environment, "GTEST_SHARD_INDEX": str(shard)}))
            result, first = _first_failure(self._running, begin + limit)
        finally:
            self.stop()
        seconds = time.monotonic() - begin
        if result == "passed":
            return Outcome("passed", "", seconds, frozenset(step for step, is_there in enumerate(reached.read_bytes()) if is_there))
        said = NOTICE.search(logs[first].read_text(errors="replace"))
        case = f" {(said[1] or said[2]).strip()}" if said else " without a word" if result == "failed" else ""
        return Outcome(result, program.name + case, seconds)

    def _sanitizer_options(self):
        presets = json.loads((self.root / "CMakePresets.json").read_text())["testPresets"]
        options = next(each["environment"] for each in presets if each["name"] == "tsan")
        return {name: value.replace("${sourceDir}", str(self.root)) for name, value in options.items()}
