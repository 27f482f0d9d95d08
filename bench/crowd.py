"""Many bridges of one router, or as many floors, on one machine, and how long one more needs. Used by bench/growth.py."""

import re
import time
from pathlib import Path

import harness
from controller import Controller
from harness import Process, await_that

SIZES = {1: 288, 2: 2304}  # outputs of the levels that every bridge has
JOINED = "TopicMacroXptOutputVideoLocalTarget joinRouterPartition(routerPartition 'R1')"  # the last step of a join
PATIENCE = 60  # seconds that one of many may need


def own_store(scratch, name):
    """The environment of a bridge that shares nothing with others of the machine but the bus."""
    folder = Path(scratch) / f"{name}-kept"
    folder.mkdir()
    return {"KORABRIDGE_DURABLE_STORE": str(folder / "durable.db"), "KORABRIDGE_DURABLE_MEMORY": str(folder),
            "KORABRIDGE_METRICS_FILE": str(folder / "metrics")}


class Crowd:
    """Bridges of one router, or floors beside one reader, all on one machine."""

    def __init__(self, options, scratch):
        self._options, self._scratch, self._started, self._staying = options, scratch, 0, []
        self._observer = self._start_observer()

    def grow(self, count):
        """Until so many are there."""
        self._staying += [self._start() for _ in range(count - len(self._staying))]
        for each in self._staying:
            self._await(each)

    def newcomer(self):
        """Milliseconds that one more needs; it goes again."""
        begin = time.monotonic()
        process = self._start()
        self._await(process)
        milliseconds = 1e3 * (time.monotonic() - begin)
        process.stop()
        return milliseconds, process

    def stop(self):
        for process in (*self._staying, self._observer):
            process.stop()


class Bridges(Crowd):
    """The first of them serves controllers: the port is a constant, and the others join without."""

    def _start_observer(self):
        return harness.Router(self._scratch, self._options.programs)

    def _start(self):
        self._started += 1
        name = f"bridge-{self._started}"
        return Process(self._scratch, name, [self._options.programs / "korabridge", 17, self._started, name, "in a crowd"],
                       environment=own_store(self._scratch, name))

    def _await(self, process):
        await_that(lambda: process.says(JOINED), f"{process.name} to join", PATIENCE, 0.005)

    def take_all(self):
        await_that(lambda: harness.accepts(harness.BRIDGE_PORT), "the first bridge's port")
        with Controller(harness.BRIDGE_PORT) as controller:
            for level, outputs in SIZES.items():
                controller.take_all(level, outputs, outputs)

    def join_alone(self, process):
        """Milliseconds of its join, as it has counted itself."""
        metrics = (Path(self._scratch) / f"{process.name}-kept/metrics").read_text()
        return 1e3 * float(re.search(r"^korabridge_join_seconds_sum (\S+)$", metrics, re.MULTILINE)[1])


class Floors(Crowd):
    def _start_observer(self):
        return harness.Reader(self._scratch, "floors-reader", self._options.programs, "--domain", harness.FLOOR_DOMAIN,
                              "--silent")

    def _start(self):
        self._started += 1
        process = Process(self._scratch, f"floor-of-crowd-{self._started}", [
            self._options.programs / "bench_floor", "--port", harness.FLOOR_PORT + self._started, "--domain",
            harness.FLOOR_DOMAIN])
        process.port = harness.FLOOR_PORT + self._started
        return process

    def _await(self, process):
        """Until what it takes comes to the reader. What it took before they had found each other never does."""
        await_that(lambda: harness.accepts(process.port), f"the port of {process.name}", PATIENCE, 0.005)
        before = harness.count_of(self._observer)
        with Controller(process.port) as controller:
            def arrives():
                controller.take_all(2, 1, 2)
                return harness.count_of(self._observer) > before

            await_that(arrives, f"a sample of {process.name}", PATIENCE, 0.005)
