"""The real chain behind a page: a simulated router, the bus, the bridge and the panel, as processes of this test."""

import subprocess
import urllib.error
import urllib.request
from pathlib import Path

from waiting import wait_until

ROOT = Path(__file__).resolve().parents[2]
MARKUP = "<img src=x onerror=document.title=1>"


class Process:
    """A program whose output goes to a file."""

    def __init__(self, log, *command):
        self.log = log
        with log.open("ab") as output:
            self._child = subprocess.Popen([str(word) for word in command], stdin=subprocess.PIPE, stdout=output,
                                           stderr=subprocess.STDOUT)

    @property
    def pid(self):
        return self._child.pid

    def has_said(self, text):
        return text in self.log.read_text(errors="replace")

    def tell(self, line):
        self._child.stdin.write(line.encode() + b"\n")
        self._child.stdin.flush()

    def signal(self, number):
        self._child.send_signal(number)

    def kill(self):
        self._child.kill()
        self._child.wait()
        self._child.stdin.close()

    def is_running(self):
        return self._child.poll() is None


SOURCES = ("CAM", "VTR", "GFX", "LINE", "SAT", "RMT")
PLACES = ("Studio A", "Studio B", "Gallery", "OB van", "Playout")
SCREENS = ("MON", "PGM", "REC", "MV")


def source_name(number):
    kind, index = divmod(number - 1, 24)
    return f"{SOURCES[kind % len(SOURCES)]} {kind // len(SOURCES) * 24 + index + 1}"


def destination_name(number):
    place, index = divmod(number - 1, 16)
    return f"{PLACES[place % len(PLACES)]} {SCREENS[index // 4]} {place // len(PLACES) * 4 + index % 4 + 1}"


def write_names(path, markup=True):
    """Names as a plant has them; one input and one output of each level bear markup."""
    lines = []
    for level, name, size in ((1, "video", 288), (2, "audio", 2304)):
        lines.append(f"level {level} {name}")
        for number in range(1, size + 1):
            is_markup = markup and number == 11
            lines.append(f"input {number} {MARKUP if is_markup else source_name(number)}")
            lines.append(f"output {number} {MARKUP if is_markup else destination_name(number)}")
    path.write_text("\n".join(lines) + "\n")


class Chain:
    """All of it. Every program can be killed and started again."""

    def __init__(self, programs, folder, partition="R1", markup=True):
        self.programs, self.folder, self.partition = Path(programs), Path(folder), partition
        self.salvos = self.folder / "salvos"
        self.salvos.mkdir()
        self.names = self.folder / "names"
        write_names(self.names, markup)
        self.router = self.bridge = None
        self.panels = {}

    def start(self):
        self.router = self._start("router.log", "korasim", "--frame", 17, "--partition", self.partition)
        self.start_bridge()

    def start_bridge(self):
        self.bridge = self._start("bridge.log", "korabridge", 17, 1, "Bridge", "behind the panel")
        wait_until(lambda: self.koractl("status", 1, 1, 1).returncode == 0 and self.koractl("status", 2, 2304, 1).returncode == 0,
                   "the bridge answers")

    def start_panel(self, port, *options):
        panel = self._start(f"panel-{port}.log", "korapanel", "--bridge", "127.0.0.1", "--listen", f"127.0.0.1:{port}", "--names", self.names,
                            "--salvos", self.salvos, "--page", ROOT / "tools/korapanel/page", *options)
        self.panels[port] = panel
        wait_until(lambda: not panel.is_running() or answers(port), f"the panel answers at port {port}")
        if not panel.is_running():
            raise AssertionError(panel.log.read_text())
        return panel

    def koractl(self, *words):
        return subprocess.run([str(self.programs / "koractl"), *(str(word) for word in words)], capture_output=True, text=True,
                              check=False, timeout=30)

    def do(self, *words):
        """A koractl command that must succeed."""
        result = self.koractl(*words)
        assert result.returncode == 0, result.stdout + result.stderr
        return result.stdout

    def status(self, level, output):
        """What the bridge says of an output: its input, and its state in words."""
        words = self.koractl("status", level, output, 1).stdout.splitlines()[-1].split(None, 3)
        return words[2], words[3].rsplit("  ", 1)[0].strip()

    def stop(self):
        for process in [*self.panels.values(), self.bridge, self.router]:
            if process:
                process.kill()

    def logs(self):
        return "\n".join(f"--- {log.name}\n{log.read_text(errors='replace')[-2500:]}" for log in sorted(self.folder.glob("*.log")))

    def _start(self, log, program, *arguments):
        return Process(self.folder / log, self.programs / program, *arguments)


def answers(port):
    """True when a panel listens, whether or not it knows us."""
    try:
        urllib.request.urlopen(f"http://127.0.0.1:{port}/", timeout=2).close()
    except urllib.error.HTTPError:
        return True
    except OSError:
        return False
    return True
