"""A copy of the project in which the steps are made, built and tested. The sources of the user are only read."""

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
NOTICE = re.compile(r"^\[  FAILED  \] ([^\s,]+)|^(?:WARNING|FATAL): ThreadSanitizer: ([\w -]+)", re.MULTILINE)


@dataclass
class Outcome:
    """How a test program ended: passed, failed or timeout; what it said last; how long it took."""
    result: str
    said: str
    seconds: float


def _output(command, **settings):
    return subprocess.run(command, check=True, capture_output=True, text=True, **settings).stdout


def _end_group(process):
    """Ends a program that we started and all that it started. First gently, so that its directories go too."""
    for sign, patience in ((signal.SIGTERM, 3), (signal.SIGKILL, 10)):
        try:
            os.killpg(process.pid, sign)
            process.wait(patience)
        except ProcessLookupError:
            return
        except subprocess.TimeoutExpired:
            continue


class Workshop:
    def __init__(self, project, directory, jobs):
        self._project = Path(project)
        self.root = Path(directory)
        self._jobs = jobs
        self._running = None

    def stop(self):
        """Ends the test that runs, from another thread."""
        if self._running is not None:
            _end_group(self._running)

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

    def build(self, preset, targets):
        """Whether it compiles and links."""
        command = ["nice", "-n", "5", "cmake", "--build", f"build/{preset}", f"-j{self._jobs}", "--target", *targets]
        with (self.root / "build" / "last-build.log").open("w") as log:
            return subprocess.run(command, cwd=self.root, stdout=log, stderr=log, check=False).returncode == 0

    def write(self, path, text):
        (self.root / path).write_text(text)

    def test(self, preset, program, limit):
        """Runs a test program as a whole until its first failure; `limit` in seconds."""
        environment = {name: value for name, value in os.environ.items() if not name.startswith("GTEST_")}
        if preset == SANITIZED:
            environment.update(self._sanitizer_options())
        command = [str(self.root / "tests/support/in-namespace"), str(self.root / "build" / preset / "tests" / program.name),
                   f"--gtest_filter={program.cases}", "--gtest_fail_fast", "--gtest_brief=1"]
        begin = time.monotonic()
        log_name = self.root / "build" / f"last-{program.name}.log"
        with log_name.open("wb") as log:
            process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=log, stderr=log, env=environment,
                                       cwd=self.root, start_new_session=True)
            self._running = process
            try:
                status, result = process.wait(limit), "failed"
            except subprocess.TimeoutExpired:
                status, result = None, "timeout"
            finally:
                _end_group(process)
        seconds = time.monotonic() - begin
        if status == 0:
            return Outcome("passed", "", seconds)
        said = NOTICE.search(log_name.read_text(errors="replace"))
        case = (said[1] or said[2]) if said else f"status {status}"
        return Outcome(result, f"{program.name} {case}" if result == "failed" else program.name, seconds)

    def _sanitizer_options(self):
        presets = json.loads((self.root / "CMakePresets.json").read_text())["testPresets"]
        options = next(each["environment"] for each in presets if each["name"] == "tsan")
        return {name: value.replace("${sourceDir}", str(self.root)) for name, value in options.items()}
