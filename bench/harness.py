"""Starts the programs that are measured and reads what the system says of them. Used by bench/compare."""

import contextlib
import json
import os
import signal
import socket
import statistics
import subprocess
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
FLOOR_DOMAIN = 1
BRIDGE_PORT = 5194
FLOOR_PORT = 5195
CPUS = sorted(os.sched_getaffinity(0))


class BenchError(Exception):
    """The measurement cannot go on; the text says why."""


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


def await_that(condition, what, seconds=30):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise BenchError(f"waited in vain for {what}")
        time.sleep(0.02)


def accepts(port):
    with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", port), 1):
        return True
    return False


class Process:
    """A running program with its output in a file."""

    def __init__(self, scratch, name, arguments, stdin=subprocess.DEVNULL):
        self.name = name
        self.log = Path(scratch) / f"{name}.log"
        with self.log.open("wb") as log:
            self.popen = subprocess.Popen([str(a) for a in arguments], stdin=stdin, stdout=log,
                                          stderr=subprocess.STDOUT)
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
        """User and system time so far, ended threads included."""
        fields = Path(f"/proc/{self.pid}/stat").read_text().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def thread_nanoseconds(self):
        """CPU time of the threads that run now, exactly."""
        total = 0
        for task in os.listdir(f"/proc/{self.pid}/task"):
            total += int(Path(f"/proc/{self.pid}/task/{task}/schedstat").read_text().split()[0])
        return total

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


class Reader(Process):
    """The remote reader of the targets; for the bridge also its router."""

    def __init__(self, scratch, name, programs, *arguments):
        super().__init__(scratch, name, [programs / "bench_reader", *arguments])
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

    def stop(self):
        self.process.stop()
        self.reader.stop()


def start_bridge(scratch, programs, bridge):
    reader = Reader(scratch, "bridge-reader", programs)
    process = Process(scratch, "bridge", [bridge, 17, 1, "bench", "under measurement"])
    process.await_text("addRouterMemberMacroXpts  TopicMacroXptOutputAudioTarget")
    process.await_text("addRouterMemberMacroXpts  TopicMacroXptOutputVideoTarget")
    await_that(lambda: accepts(BRIDGE_PORT), "the bridge's port")
    return Server("bridge", BRIDGE_PORT, process, reader)


def start_floor(scratch, programs, *arguments, port=FLOOR_PORT, domain=FLOOR_DOMAIN):
    name = f"floor-{port}"
    reader = Reader(scratch, f"{name}-reader", programs, "--domain", domain, "--silent")
    process = Process(scratch, name, [programs / "bench_floor", "--port", port, "--domain", domain, *arguments])
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
    """One run; what korabench says and the server's CPU microseconds for each request."""
    server.pin(pin)
    before = server.process.cpu_seconds()
    result = korabench(programs, server, arguments, pin, seconds, warm_up).result()
    result["cpuPerRequest"] = 1e6 * (server.process.cpu_seconds() - before) / result["allRequests"]
    return result


def median_of(results, metric):
    return statistics.median(pick(result, metric) for result in results)


def pick(result, metric):
    for key in metric.split("/"):
        result = result[key]
    return result
