"""A server of the board under qemu's user-mode emulation, and the instructions that each of its threads has begun
(bench/board/CountInstructions.cpp). Used by bench/instructions."""

import struct
import subprocess
from pathlib import Path

import callgrind
import harness
from harness import BenchError

RECORD = struct.Struct("<QQ")
KEEPERS = ("Durable record", "Durable store")


class Counted(callgrind.Counted):
    """A server under `command`."""

    def __init__(self, scratch, server):
        super().__init__(scratch, server)
        self._before = {}

    def _begin(self):
        self._before = self._reading()

    def _counts(self):
        """Of each thread since then, and whether it is one that keeps targets. Those live as long as the server."""
        tasks = Path(f"/proc/{self._server.process.pid}/task")
        names = {int(task.name): (task / "comm").read_text().strip() for task in tasks.iterdir()}
        return [(count - self._before.get(thread, 0), names.get(thread) in KEEPERS)
                for thread, count in self._reading().items()]

    def _reading(self):
        return read_records(records_of(self._scratch, self._server.name).read_bytes())


def read_records(counted):
    """Instructions of each thread. A number comes again when an ended thread's is given to a new one."""
    counts = {}
    for thread, instructions in RECORD.iter_unpack(counted):
        if thread:
            counts[thread] = counts.get(thread, 0) + instructions
    if not counts:
        raise BenchError("the emulator has counted nothing")
    return counts


def records_of(scratch, name):
    return Path(scratch) / f"instructions-{name}"


def command(options, scratch, name):
    return ["qemu-arm", "-L", options.root, "-plugin",
            f"{options.programs}/libcount_instructions.so,counts={records_of(scratch, name)}"]


def board_root():
    """Where the board's libraries are."""
    done = subprocess.run([harness.ROOT / "scripts/debian-root", "armhf"], stdout=subprocess.PIPE, text=True, check=True)
    return done.stdout.strip()
