"""What is promised for the bridge, one row each: the only place of these numbers. docs/performance.md and docs/board.md
say how they came about. Used by bench/compare, bench/instructions and scripts/board-figures; bench/guard.py says when a
row fails."""

from dataclasses import dataclass


@dataclass(frozen=True)
class Promise:
    """A value is at most or at least so much. Without a unit it is a ratio to what is measured in the same run."""

    name: str
    pin: str
    value: float
    most: bool = True
    unit: str = ""
    load: tuple = ()  # of korabench, for bridge and floor
    metric: str = ""  # of its results
    stretch: int = 1  # how many times longer it is measured, because its requests are few
    quick: bool = True  # decided by short measurements too

    def worse(self, value):
        """By what factor a value is worse than promised: 1 is as promised, less is better."""
        return value / self.value if self.most else self.value / value


def at_most(name, load, pin, metric, value):
    return Promise(name, pin, value, True, "", load, metric)


def at_least(name, load, pin, metric, value, stretch=1, quick=True):
    return Promise(name, pin, value, False, "", load, metric, stretch, quick)


def long_takes(name, load, takes, cpu, stretch=1):
    """Takes of many entries. Clients and reader share a CPU there, and how they share it scatters the rate by a third;
    the server's CPU for a take scatters by a tenth, so short measurements decide on that."""
    return (at_least(f"{name}: takes/s", load, "split", "takesPerSecond", takes, stretch, quick=False),
            Promise(f"{name}: CPU per take", "split", cpu, True, "", load, "cpuPerRequest", stretch))


ONE = ("--connections", 1)
MANY = ("--connections", 16)
POLLS = ("--mix", "take:1,changes:1")  # by turns, as a controller that shows what is on air does
FLOOR = [
    at_most("1 controller, 1 entry: p50", ONE, "one", "latency/p50", 0.98),
    at_most("1 controller, 1 entry: p99", ONE, "one", "latency/p99", 1.10),
    at_least("16 controllers, 1 entry: requests/s", MANY, "split", "requestsPerSecond", 1.45),
    at_most("16 controllers, 1 entry: p99", MANY, "split", "latency/p99", 0.90),
    at_most("16 controllers, 1 entry: CPU per request", MANY, "split", "cpuPerRequest", 0.70),
    at_most("1 controller, takes and polls: p50", (*ONE, *POLLS), "one", "latency/p50", 0.95),
    at_most("1 controller, takes and polls: p99", (*ONE, *POLLS), "one", "latency/p99", 1.10),
    at_least("16 controllers, takes and polls: requests/s", (*MANY, *POLLS), "split", "requestsPerSecond", 1.30),
    at_most("16 controllers, takes and polls: p99", (*MANY, *POLLS), "split", "latency/p99", 0.90),
    at_least("16 controllers, tally of 288: requests/s", (*MANY, "--mix", "tally"), "split", "requestsPerSecond", 1.00),
    at_most("16 controllers, tally of 288: p99", (*MANY, "--mix", "tally"), "split", "latency/p99", 1.00),
    at_most("16 controllers, tally of 288: CPU per request", (*MANY, "--mix", "tally"), "split", "cpuPerRequest", 1.00),
    at_most("changes, none: p50", (*ONE, "--mix", "changes"), "one", "latency/p50", 1.02),
    at_most("tally of 288: p50", (*ONE, "--mix", "tally"), "one", "latency/p50", 1.02),
    at_most("status of 288: p50", (*ONE, "--mix", "status"), "one", "latency/p50", 1.05),
]
# To a floor that sends the entries of a message together, as the bridge does: to one that does not, they tell what a send
# costs the machine and little of the bridge.
GATHERING = [
    *long_takes("1 controller, 64 entries", (*ONE, "--entries", 64), 0.90, 1.15),
    *long_takes("16 controllers, 64 entries", (*MANY, "--entries", 64), 0.90, 1.25),
    *long_takes("1 controller, 500 entries", (*ONE, "--entries", 500), 1.05, 0.95, 3),
    *long_takes("16 controllers, 500 entries", (*MANY, "--entries", 500), 1.10, 0.90, 3),
]
FLOOR_NAMES = {row.name for row in (*FLOOR, *GATHERING)}

# Instructions of the whole process for each request, to the floor's for the same request.
INSTRUCTIONS = [
    Promise("take of 1 entry", "free", 1.6, load=ONE),
    Promise("take of 64 entries", "free", 0.98, load=(*ONE, "--entries", 64)),
    Promise("take of 500 entries", "free", 0.96, load=(*ONE, "--entries", 500)),
    Promise("changes, none", "free", 5.0, load=(*ONE, "--mix", "changes")),  # the floor's own scatters by a sixth
    Promise("tally of 288", "free", 1.65, load=(*ONE, "--mix", "tally")),
    Promise("status of 288", "free", 1.25, load=(*ONE, "--mix", "status")),
]
# The same with a router that shows what is taken.
INSTRUCTIONS_SHOWN = [
    Promise("take of 1 entry, shown", "free", 3.0, load=ONE),
    Promise("take of 64 entries, shown", "free", 2.0, load=(*ONE, "--entries", 64)),
]

# The same of the board's bridge and floor, which have 32-bit words and a compiler of their own.
BOARD_INSTRUCTIONS = [
    Promise("take of 1 entry", "free", 1.85, load=ONE),
    Promise("take of 64 entries", "free", 1.04, load=(*ONE, "--entries", 64)),
    Promise("take of 500 entries", "free", 1.01, load=(*ONE, "--entries", 500)),
    Promise("changes, none", "free", 6.4, load=(*ONE, "--mix", "changes")),  # the floor's own scatters by a quarter
    Promise("tally of 288", "free", 2.5, load=(*ONE, "--mix", "tally")),
    Promise("status of 288", "free", 1.85, load=(*ONE, "--mix", "status")),
]
BOARD_INSTRUCTIONS_SHOWN = [
    Promise("take of 1 entry, shown", "free", 3.0, load=ONE),
    Promise("take of 64 entries, shown", "free", 1.8, load=(*ONE, "--entries", 64)),
]

BESIDE = Promise("take beside 500-entry takes: p99 to one more", "split", 1.0)

MOSQUITTO = [
    Promise("to mosquitto, 1 connection: p50", "one", 1.0, True, "", ONE, "latency/p50"),
    Promise("to mosquitto, 16 connections: requests/s", "one", 1.0, False, "", MANY, "requestsPerSecond"),
    Promise("to mosquitto, 16 connections: requests/s", "split", 0.85, False, "", MANY, "requestsPerSecond"),
]

# Both to the time in which the floor answers as many takes of 16 controllers.
BURST_COMPLETE = Promise("burst of 2304: last controller complete", "free", 0.75)
BURST_LONGEST = Promise("burst of 2304: longest command", "free", 0.13)

# To what the floor's 16 timers cost.
IDLE_CPU = {when: Promise(f"16 idle controllers, {when}: CPU", "free", 0.1) for when in ("new", "after all this")}
IDLE_MEMORY = {
    "new": Promise("16 idle controllers, new: memory", "free", 15.0, unit="MiB"),
    "after all this": Promise("16 idle controllers, after all this: memory", "free", 19.5, unit="MiB"),
}

# Resident memory of a bridge after one controller has taken and read all of its 2592 outputs.
USED_MEMORY = Promise("every output taken and read: memory", "free", 17.8, unit="MiB")

# Resident memory with 16 idle controllers beside an empty router, by machine.
BOARD_MEMORY = {
    "x86_64": Promise("resident, 16 idle controllers, x86-64", "free", 14.0, unit="MiB"),
    "armhf": Promise("resident, 16 idle controllers, armhf", "free", 9.5, unit="MiB"),
}
# The same after every output was taken, and read by all controllers.
BOARD_MEMORY_USED = {
    "x86_64": Promise("resident, every output taken and read, x86-64", "free", 17.8, unit="MiB"),
    "armhf": Promise("resident, every output taken and read, armhf", "free", 12.5, unit="MiB"),
}
