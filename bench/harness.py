"""Starts the programs that are measured and reads what the system says of them. Used by bench/compare, bench/curves,
bench/instructions and scripts/board-figures."""

import contextlib
import json
import os
import resource
import signal
import socket
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
FLOOR_DOMAIN = 1
BRIDGE_PORT = 5194
FLOOR_PORT = 5195
GATHERING_DOMAIN = 2
GATHERING_PORT = 5196
TICKS = os.sysconf("SC_CLK_TCK")
# Two are enough, and of no more it is known what else they did.
CPUS = sorted({min(os.sched_getaffinity(0)), max(os.sched_getaffinity(0))})


class BenchError(Exception):
    """The measurement cannot go on; the text says why."""


class NoAnswer(Exception):
    """Nothing was answered in the time of a measurement, so it says nothing."""


def pins(name):
    """The CPUs of servers, and of clients and readers."""
    if name == "one":  # everything on one: a wake-up across CPUs costs more than all that is measured here
        return {CPUS[-1]}, {CPUS[-1]}
    if name == "split":  # the server alone on one
        return {CPUS[-1]}, {CPUS[0]}
    return set(CPUS), set(CPUS)


def pace_nothing():
    """TCP of the namespace without pacing, whatever the machine's default: a pacing timer says nothing of a server."""
    setting = Path("/proc/sys/net/ipv4/tcp_congestion_control")
    if "KORABRIDGE_IN_NAMESPACE" in os.environ:
        with contextlib.suppress(OSError):
            setting.write_text("reno\n")
    with contextlib.suppress(OSError):
        return setting.read_text().strip()
    return "unknown"


def enter_namespace(program):
    """Runs `program`, the calling one, once more inside a namespace of its own, unless it is there already."""
    if "KORABRIDGE_BENCH_INSIDE" not in os.environ:
        os.environ["KORABRIDGE_BENCH_INSIDE"] = "1"
        inside = ROOT / "tests/support/in-namespace"
        os.execv(inside, [str(inside), sys.executable, program, *sys.argv[1:]])


def await_that(condition, what, seconds=30, pause=0.02):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise BenchError(f"waited in vain for {what}")
        time.sleep(pause)


def accepts(port):
    with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", port), 1):
        return True
    return False


class Process:
    """A running program with its output in a file."""

    def __init__(self, scratch, name, arguments, stdin=subprocess.DEVNULL, environment=None):
        self.name = name
        self.log = Path(scratch) / f"{name}.log"
        with self.log.open("wb") as log:
            self.popen = subprocess.Popen([str(a) for a in arguments], stdin=stdin, stdout=log,
                                          stderr=subprocess.STDOUT, env={**os.environ, **(environment or {})})
        self.pid = self.popen.pid

    def says(self, text):
        if self.popen.poll() is not None:
            raise BenchError(f"{self.name} ended: {self.log.read_text(errors='replace')[-2000:]}")
        return text in self.log.read_text(errors="replace")

    def await_text(self, text):
        await_that(lambda: self.says(text), f"'{text}' from {self.name}")

    def pin(self, cpus):
        for task in os.listdir(f"/proc/{self.pid}/task"):
            with contextlib.suppress(ProcessLookupError):  # a thread that has just ended
                os.sched_setaffinity(int(task), cpus)

    def cpu_seconds(self):
        """CPU time so far to the nanosecond, ended threads included."""
        return time.clock_gettime(~self.pid << 3 | 2)  # what clock_getcpuclockid(3) makes of a process

    def resident_mib(self):
        for line in Path(f"/proc/{self.pid}/status").read_text().splitlines():
            if line.startswith("VmRSS:"):
                return int(line.split()[1]) / 1024
        raise BenchError(f"no VmRSS of {self.name}")

    def stop(self):
        if self.popen.poll() is None:
            self.popen.send_signal(signal.SIGTERM)
        try:
            self.popen.wait(20)
        except subprocess.TimeoutExpired:
            self.popen.kill()
            self.popen.wait()
            raise BenchError(f"{self.name} did not end") from None


class Others:
    """The share of the CPUs that went to others, other machines on the same hardware included, while a block ran. It has
    the system's resolution for idle time: a hundredth of a second for each CPU."""

    def __init__(self, *processes):
        self._processes = processes
        self.share = None

    def __enter__(self):
        self._before = self._reading()
        return self

    def __exit__(self, *_):
        self.share = share_of_others(self._before, self._reading())

    def _reading(self):
        """CPU seconds that passed, that nobody used, that the hypervisor took, and that the measurement used itself."""
        idle, stolen = idle_and_stolen(Path("/proc/stat").read_text(), CPUS)
        own = sum(process.cpu_seconds() for process in self._processes)
        for who in (resource.RUSAGE_SELF, resource.RUSAGE_CHILDREN):
            usage = resource.getrusage(who)
            own += usage.ru_utime + usage.ru_stime
        return len(CPUS) * time.monotonic(), idle, stolen, own


def idle_and_stolen(stat, cpus):
    """Seconds in which nobody used these CPUs, and those that the hypervisor took, from the text of /proc/stat."""
    lines = [line.split() for line in stat.splitlines()]
    ticks = [[int(field) for field in line[1:]] for line in lines if line and line[0] in [f"cpu{cpu}" for cpu in cpus]]
    # Interrupts count as nobody's: the loopback interface works in them.
    idle = sum(sum(each[3:7]) for each in ticks)
    return idle / TICKS, sum(each[7] for each in ticks) / TICKS


def share_of_others(before, after):
    passed, idle, stolen, own = (now - then for now, then in zip(after, before))
    return max(0.0, (passed - idle - own) / passed, stolen / passed)


class Reader(Process):
    """The remote reader of the targets; for the bridge also its router."""

    def __init__(self, scratch, name, programs, *arguments):
        super().__init__(scratch, name, [programs / "bench_reader", *arguments])
        self.await_text("announced")


class Router(Process):
    """The simulated router: a reader of the targets that shows each as the status of its output."""

    def __init__(self, scratch, programs, *arguments):
        super().__init__(scratch, "router", [programs / "korasim", *arguments], stdin=subprocess.PIPE)
        self.await_text("announced")


def count_of(process):
    """What a reader or subscriber has counted so far."""
    before = process.log.read_text().count("samples")
    process.popen.send_signal(signal.SIGUSR1)
    await_that(lambda: process.log.read_text().count("samples") > before, f"the count of {process.name}")
    return int(process.log.read_text().split()[-1])


class Server:
    """The bridge or the floor with its reader."""

    def __init__(self, name, port, process, reader):
        self.name, self.port, self.process, self.reader = name, port, process, reader

    def pin(self, pin):
        servers, clients = pins(pin)
        self.process.pin(servers)
        self.reader.pin(clients)

    def processes(self):
        return self.process, self.reader

    def settle(self):
        """Waits until what the last load left to do is done: it would be on the bill of the next measurement."""
        def used():
            return sum(process.cpu_seconds() for process in self.processes())

        def is_still():
            before = used()
            time.sleep(0.01)
            return used() - before < 0.001

        await_that(is_still, f"{self.name} to settle", pause=0)

    def stop(self):
        self.process.stop()
        self.reader.stop()


def start_bridge(scratch, programs, bridge, under=(), router=None, environment=None):
    """`under` is a program that runs it, with its arguments. With arguments for `router` its router shows what is taken."""
    reader = Reader(scratch, "bridge-reader", programs) if router is None else Router(scratch, programs, *router)
    process = Process(scratch, "bridge", [*under, bridge, 17, 1, "bench", "under measurement"], environment=environment)
    process.await_text("addRouterMemberMacroXpts  TopicMacroXptOutputAudioTarget")
    process.await_text("addRouterMemberMacroXpts  TopicMacroXptOutputVideoTarget")
    await_that(lambda: accepts(BRIDGE_PORT), "the bridge's port")
    return Server("bridge", BRIDGE_PORT, process, reader)


def start_floor(scratch, programs, *arguments, port=FLOOR_PORT, domain=FLOOR_DOMAIN, under=(), floor=None):
    name = f"floor-{port}"
    reader = Reader(scratch, f"{name}-reader", programs, "--domain", domain, "--silent")
    process = Process(scratch, name, [*under, floor or programs / "bench_floor", "--port", port, "--domain", domain, *arguments])
    await_that(lambda: accepts(port), "the floor's port")
    return Server(name, port, process, reader)


class Load:
    """A running load generator that prints one JSON object at its end."""

    def __init__(self, arguments, cpus):
        self.popen = subprocess.Popen([str(a) for a in arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                      text=True, preexec_fn=lambda: os.sched_setaffinity(0, cpus))

    def await_line(self, line):
        if self.popen.stdout.readline().strip() != line:
            raise BenchError(f"the load generator did not get as far as '{line}': {self.popen.communicate()[1]}")

    def result(self):
        out, error = self.popen.communicate()
        if self.popen.returncode != 0:
            raise BenchError(error.strip() or f"the load generator ended with {self.popen.returncode}")
        return json.loads(out.splitlines()[-1])


# The audio level that every bridge has, with the routes that bench_reader shows.
LEVEL = ("--level", 2, "--outputs", 2304, "--inputs", 2304)


def korabench(programs, server, arguments, pin, seconds, warm_up, identity=True):
    """Starts a load on a server."""
    return Load([programs / "korabench", "--json", "--port", server.port, *LEVEL, "--duration", seconds, "--warm-up",
                 warm_up, *(("--identity",) if identity else ()), *arguments], pins(pin)[1])


def measure(programs, server, arguments, pin, seconds, warm_up):
    """One run; what korabench says and the server's CPU microseconds for each request, what it still does after the last
    included."""
    server.pin(pin)
    before = server.process.cpu_seconds()
    result = answered(korabench(programs, server, arguments, pin, seconds, warm_up).result())
    server.settle()
    result["cpuPerRequest"] = 1e6 * (server.process.cpu_seconds() - before) / result["allRequests"]
    return result


def answered(result):
    if result["requests"] == 0:
        raise NoAnswer
    return result


def pick(result, metric):
    for key in metric.split("/"):
        result = result[key]
    return result
