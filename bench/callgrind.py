"""A server under callgrind, and the instructions that each of its threads needed. Used by bench/instructions."""

import re
import subprocess
import time
from pathlib import Path

import harness
from harness import BenchError

# A name is written where its number is first used, which may be a call's line; later lines have the number alone.
KEEPERS = re.compile(r"^c?fn=(\(\d+\)) .*durability::(?:Recorder|StoreKeeper)::", re.MULTILINE)
RUNS = re.compile(r"^fn=(\(\d+\))", re.MULTILINE)
WARM_UP = 0.3  # seconds
FEWEST = 10  # requests that say something
STORED_AFTER = 0.6  # seconds: twice a second what is kept goes to the store


class Counted:
    """A server under callgrind."""

    def __init__(self, scratch, server):
        self._scratch, self._server = Path(scratch), server
        self._number = 0  # of the last dump, as callgrind counts them

    def per_request(self, options, load, identity):
        """Instructions for each request, what is done after the last included: of the threads that answer, and of those
        that keep what was taken."""
        self._load(options, load, identity, WARM_UP)  # also ends what is left of the start and of the load before
        self._begin()
        requests = 0
        while requests < FEWEST:
            requests += self._load(options, load, identity, options.seconds)
        counts = self._counts()
        return (sum(count for count, keeps in counts if not keeps) / requests,
                sum(count for count, keeps in counts if keeps) / requests)

    def _begin(self):
        self._control("--zero")

    def _counts(self):
        self._control("--dump")
        self._number += 1
        return [of_thread(dump) for dump in self._dumps()]

    def _load(self, options, load, identity, seconds):
        """How many requests it was."""
        result = harness.korabench(options.programs, self._server, load, "free", seconds, 0, identity).result()
        self._server.settle()
        time.sleep(STORED_AFTER)
        return result["allRequests"]

    def _dumps(self):
        return self._scratch.glob(f"callgrind.{self._server.process.pid}.{self._number}-*")

    def _control(self, what):
        """Returns when it is done."""
        done = subprocess.run(["callgrind_control", what, str(self._server.process.pid)], capture_output=True, text=True,
                              check=False)
        if done.returncode != 0 or "Error" in done.stderr:
            raise BenchError(f"callgrind_control {what}: {done.stdout}{done.stderr}")


def of_thread(dump):
    """Its instructions, and whether it is one of those that keep targets: how often they look depends on the time that
    the load takes, and so on the machine."""
    text = dump.read_text(errors="replace")
    totals = re.search(r"^totals: (\d+)", text, re.MULTILINE)
    if totals is None:
        raise BenchError(f"{dump} is not whole")
    return int(totals[1]), not set(KEEPERS.findall(text)).isdisjoint(RUNS.findall(text))


def command(scratch):
    return ["valgrind", "--tool=callgrind", "--separate-threads=yes", f"--callgrind-out-file={scratch}/callgrind.%p"]
