"""The goals that need more than one load on one server. Used by bench/compare. Each function yields an Outcome a goal."""

import contextlib
import os
import socket
import statistics
import subprocess
import time
from dataclasses import dataclass
from pathlib import Path

import harness
from harness import BenchError, Load, Process, await_that, korabench, pins


@dataclass
class Outcome:
    """A measured value, the goal and which side of it is right. Ratios have no unit."""

    name: str
    pin: str
    value: float
    goal: float
    most: bool
    unit: str = ""
    detail: str = ""

    def ok(self, slack=0.0):
        return self.value <= self.goal * (1 + slack) if self.most else self.value >= self.goal / (1 + slack)

    def text(self):
        value = f"{self.value:.3f}" if not self.unit else f"{self.value:.1f} {self.unit}"
        return (f"{self.name:46} {self.pin:5} {value:>10}  {'<=' if self.most else '>='} {self.goal:<5g} "
                f"{'ok ' if self.ok() else 'NOT'} {self.detail}").rstrip()


BURST = 2304


def burst(options, bridge, scratch):
    """A router reports 2304 changed outputs at once while 16 controllers poll without a pause."""
    sim = Process(scratch, "router", [options.programs / "korasim", "--frame", 99, "--member-index", 1],
                  stdin=subprocess.PIPE)

    def burst_to(source):
        sim.popen.stdin.write(f"burst audio 1 {BURST} {source}\n".encode())
        sim.popen.stdin.flush()

    try:
        sim.await_text("announced")
        burst_to(1)  # so that every later one changes every output
        sim.await_text(f"status audio output {BURST} input 1 ")
        time.sleep(1)
        complete, longest = [], []
        for number in range(max(3, options.rounds // 2)):
            load = korabench(options.programs, bridge, ("--connections", 16, "--mix", "changes", "--await-changes",
                                                        BURST, "--interval", options.poll), "free", 20, 0,
                             identity=False)
            bridge.pin("free")
            load.await_line("ready")
            began = time.monotonic_ns()
            burst_to(number + 2)
            result = load.result()
            complete.append((max(result["changesCompleteAt"]) - began) / 1e6)
            longest.append(result["latency"]["max"] / 1e3)
    finally:
        sim.popen.stdin.close()
        sim.stop()
    yield Outcome(f"burst of {BURST}: last controller complete", "free", statistics.median(complete), 100, True, "ms",
                  f"worst {max(complete):.0f}")
    yield Outcome(f"burst of {BURST}: longest command", "free", statistics.median(longest), 20, True, "ms",
                  f"worst {max(longest):.0f}")


def beside(options, bridge):
    """A single take beside another controller's 500-entry takes waits for one of them at most.

    What one of them takes is measured in the same seconds: it depends on the reader, which shares a CPU with the clients.
    """
    one, many = ("--connections", 1), ("--connections", 1, "--entries", 500)
    seconds = 2 * options.seconds  # some thousand of each, so that a p99 is more than ten values
    ratios = []
    for _ in range(options.rounds):
        alone = harness.measure(options.programs, bridge, one, "split", options.seconds, options.warm_up)
        other = korabench(options.programs, bridge, many, "split", seconds + 0.6, 0)
        time.sleep(0.3)  # until the other one is under way
        single = korabench(options.programs, bridge, one, "split", seconds, 0).result()
        message = other.result()
        ratios.append(single["latency"]["p99"] / (message["latency"]["p99"] + alone["latency"]["p99"]))
    yield Outcome("take beside 500-entry takes: p99 to one more", "split", statistics.median(ratios), 1.0, True)


@contextlib.contextmanager
def idle_controllers(port, count):
    """Connections that ask once, to know that they are served, and then nothing."""
    request = b"".join(word.to_bytes(4, "big") for word in (12, 1, 16, 0x4000))
    with contextlib.ExitStack() as stack:
        for _ in range(count):
            stack.enter_context(served_connection(port, request))
        yield


def served_connection(port, request):
    end = time.monotonic() + 10
    while True:
        with contextlib.suppress(OSError):
            connection = socket.create_connection(("127.0.0.1", port), 2)
            connection.sendall(request)
            if connection.recv(64):
                return connection
            connection.close()
        if time.monotonic() > end:
            raise BenchError(f"port {port} serves no more controllers")
        time.sleep(0.05)


def idle_microseconds(server, count, seconds):
    """CPU microseconds a second with so many idle controllers."""
    with idle_controllers(server.port, count):
        time.sleep(0.5)
        before = server.process.thread_nanoseconds()
        time.sleep(seconds)
        used = (server.process.thread_nanoseconds() - before) / seconds / 1e3
    return used, server.process.resident_mib()


def idle(options, bridge, floor, name, most_mib):
    """What 16 idle controllers cost beyond none, against the floor's timers; resident memory."""
    for server in (bridge, floor):
        server.pin("free")
    seconds = 1.5 if options.quick else 4
    without = [idle_microseconds(server, 0, seconds)[0] for server in (bridge, floor)]
    (bridge_cpu, bridge_mib), (floor_cpu, floor_mib) = [idle_microseconds(server, 16, seconds)
                                                        for server in (bridge, floor)]
    cost, floor_cost = bridge_cpu - without[0], floor_cpu - without[1]
    yield Outcome(f"16 idle controllers, {name}: CPU", "free", cost / floor_cost, 1.0, True,
                  detail=f"{cost / 1e4:.2f} % of a CPU to {floor_cost / 1e4:.2f} % for the floor's timers")
    yield Outcome(f"16 idle controllers, {name}: memory", "free", bridge_mib, most_mib, True, "MiB",
                  f"floor {floor_mib:.1f}")


MOSQUITTO_PORT = 1883
MOSQUITTO = """listener {port} 127.0.0.1
allow_anonymous true
persistence false
log_dest none
max_inflight_messages 0
max_queued_messages 0
set_tcp_nodelay true
user {user}
"""


class Broker:
    """mosquitto with one subscriber: neither a log, nor a store, nor a limit, nor Nagle's delay holds it up."""

    name = "mosquitto"

    def __init__(self, options, scratch):
        configuration = Path(scratch) / "mosquitto.conf"
        configuration.write_text(MOSQUITTO.format(port=MOSQUITTO_PORT, user="root" if os.geteuid() == 0 else "nobody"))
        program = next((path for path in ("/usr/sbin/mosquitto", "/usr/bin/mosquitto") if os.path.exists(path)), None)
        if program is None:
            raise BenchError("mosquitto is not installed; scripts/setup does it")
        self.process = Process(scratch, "mosquitto", [program, "-c", configuration])
        await_that(lambda: harness.accepts(MOSQUITTO_PORT), "mosquitto's port")
        self.subscriber = Process(scratch, "subscriber", [options.programs / "bench_subscriber"])
        self.subscriber.await_text("announced")
        self.programs = options.programs

    def measure(self, connections, pin, options):
        servers, clients = pins(pin)
        self.process.pin(servers)
        self.subscriber.pin(clients)
        before = harness.count_of(self.subscriber)
        result = Load([self.programs / "bench_publisher", "--json", "--connections", connections, "--duration",
                       options.seconds, "--warm-up", options.warm_up], clients).result()
        time.sleep(0.1)
        forwarded = harness.count_of(self.subscriber) - before
        published = result["allRequests"] - connections  # the first answer is that to the connecting
        if forwarded < published:
            raise BenchError(f"mosquitto forwarded {forwarded} of {published} messages")
        return result

    def stop(self):
        self.subscriber.stop()
        self.process.stop()


def mosquitto(options, bridge, scratch):
    """A take to one remote reader against a message of 20 bytes with QoS 1 to one subscriber."""
    broker = Broker(options, scratch)
    try:
        for name, connections, pin, metric, goal, most in (
                ("to mosquitto, 1 connection: p50", 1, "one", "latency/p50", 1.0, True),
                ("to mosquitto, 16 connections: requests/s", 16, "one", "requestsPerSecond", 1.0, False),
                ("to mosquitto, 16 connections: requests/s", 16, "split", "requestsPerSecond", 0.75, False)):
            ours, theirs = [], []
            for number in range(options.rounds):
                for turn in (0, 1) if number % 2 == 0 else (1, 0):
                    if turn == 0:
                        ours.append(harness.measure(options.programs, bridge, ("--connections", connections), pin,
                                                    options.seconds, options.warm_up))
                    else:
                        theirs.append(broker.measure(connections, pin, options))
            ratio = harness.median_of(ours, metric) / harness.median_of(theirs, metric)
            yield Outcome(name, pin, ratio, goal, most,
                          detail="" if not options.verbose else f"{harness.median_of(ours, metric):.1f} to "
                                                                f"{harness.median_of(theirs, metric):.1f}")
    finally:
        broker.stop()
