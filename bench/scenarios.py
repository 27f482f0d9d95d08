"""What is promised beyond one load on one server: how a pair of neighbouring measurements is made of each. Used by
bench/compare."""

import contextlib
import os
import socket
import subprocess
import time
from pathlib import Path

import harness
import promises
from guard import FEWEST, LEFT_OUT, Pair, measure_until_decided, outcome_of_one
from harness import BenchError, Load, NoAnswer, Others, Process, answered, await_that, korabench, pins


def decide(options, wanted, measure_pair, rounds=None):
    def measure(number):
        try:
            return measure_pair(number)
        except NoAnswer:
            return LEFT_OUT

    return measure_until_decided(wanted, measure, rounds or options.rounds, options.purse, options.others)


def in_turn(number, first, second):
    """The results of both, measured in one order and then in the other."""
    if number % 2 == 0:
        ours = first()
        return ours, second()
    theirs = second()
    return first(), theirs


def with_floor(options, bridge, floor, wanted):
    """One load on both; every promise that rests on it."""
    load, pin, seconds = wanted[0].load, wanted[0].pin, wanted[0].stretch * options.seconds

    def measure_pair(number):
        def of(server):
            return lambda: harness.measure(options.programs, server, load, pin, seconds, options.warm_up)

        with Others(*bridge.processes(), *floor.processes()) as others:
            ours, theirs = in_turn(number, of(bridge), of(floor))
        values = [harness.pick(ours, row.metric) / harness.pick(theirs, row.metric) for row in wanted]
        return Pair(values, others.share)

    return decide(options, wanted, measure_pair)


BURST = 2304
# The load that a burst is held against: the floor, as busy and with as many.
BURST_YARDSTICK = ("--connections", 16)


def burst(options, bridge, floor, scratch):
    """A router reports 2304 changed outputs at once while 16 controllers poll without a pause."""
    sim = Process(scratch, "router", [options.programs / "korasim", "--frame", 99, "--member-index", 1],
                  stdin=subprocess.PIPE)

    def burst_to(source):
        sim.popen.stdin.write(f"burst audio 1 {BURST} {source}\n".encode())
        sim.popen.stdin.flush()

    def measure_burst(number):
        load = korabench(options.programs, bridge, ("--connections", 16, "--mix", "changes", "--await-changes", BURST,
                                                    "--interval", options.poll), "free", 20, 0, identity=False)
        bridge.pin("free")
        load.await_line("ready")
        began = time.monotonic_ns()
        burst_to(number + 2)
        result = load.result()
        bridge.settle()
        return (max(result["changesCompleteAt"]) - began) / 1e6, result["latency"]["max"] / 1e3

    def measure_pair(number):
        with Others(*bridge.processes(), *floor.processes(), sim) as others:
            (complete, longest), yardstick = in_turn(
                number, lambda: measure_burst(number),
                lambda: harness.measure(options.programs, floor, BURST_YARDSTICK, "free", options.seconds,
                                        options.warm_up))
        floors = 1e3 * BURST / yardstick["requestsPerSecond"]
        return Pair([complete / floors, longest / floors], others.share, f"the last took {complete:.0f} ms, longest command {longest:.1f} ms")

    try:
        sim.await_text("announced")
        burst_to(1)  # so that every later one changes every output
        sim.await_text(f"status audio output {BURST} input 1 ")
        time.sleep(1)
        yield from decide(options, [promises.BURST_COMPLETE, promises.BURST_LONGEST], measure_pair)
    finally:
        sim.popen.stdin.close()
        sim.stop()


def beside(options, bridge):
    """A single take beside another controller's 500-entry takes waits for one of them at most.

    What one of them takes is measured in the same seconds: it depends on the reader, which shares a CPU with the clients.
    """
    one, many = ("--connections", 1), ("--connections", 1, "--entries", 500)
    seconds = max(0.5, 2 * options.seconds)  # some thousand of each, so that a p99 is more than ten values

    def measure_pair(_):
        with Others(*bridge.processes()) as others:
            alone = harness.measure(options.programs, bridge, one, "split", options.seconds, options.warm_up)
            other = korabench(options.programs, bridge, many, "split", seconds + 0.3, 0)
            time.sleep(0.15)  # until the other one is under way
            single = korabench(options.programs, bridge, one, "split", seconds, 0)
            message, single = other.result(), single.result()
            bridge.settle()
        answered(message)
        answered(single)
        return Pair([single["latency"]["p99"] / (message["latency"]["p99"] + alone["latency"]["p99"])], others.share)

    return decide(options, [promises.BESIDE], measure_pair)


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


def idle(options, bridge, floor, when):
    """What 16 idle controllers cost beyond none, against the floor's timers; resident memory."""
    servers = (bridge, floor)
    resident = []

    def microseconds(count):
        """CPU microseconds a second of each with so many idle controllers."""
        with contextlib.ExitStack() as stack:
            for server in servers:
                stack.enter_context(idle_controllers(server.port, count))
            time.sleep(options.idle / 2)
            before, begin = [server.process.cpu_seconds() for server in servers], time.monotonic()
            time.sleep(options.idle)
            seconds = time.monotonic() - begin
            used = [1e6 * (server.process.cpu_seconds() - cpu) / seconds for server, cpu in zip(servers, before)]
            resident[:] = [server.process.resident_mib() for server in servers]
        return used

    def measure_pair(_):
        with Others(*bridge.processes(), *floor.processes()) as others:
            without, beyond = microseconds(0), microseconds(16)
        cost, floor_cost = (many - none for none, many in zip(without, beyond))
        return Pair([cost / floor_cost], others.share,
                    f"{cost / 1e4:.2f} % of a CPU to {floor_cost / 1e4:.2f} % for the floor's timers")

    for server in servers:
        server.pin("free")
    yield from decide(options, [promises.IDLE_CPU[when]], measure_pair, FEWEST)
    yield outcome_of_one(promises.IDLE_MEMORY[when], resident[0], f"floor {resident[1]:.1f}")


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

    def measure(self, load, pin, options):
        servers, clients = pins(pin)
        self.process.pin(servers)
        self.subscriber.pin(clients)
        before = harness.count_of(self.subscriber)
        result = answered(Load([self.programs / "bench_publisher", "--json", *load, "--duration", options.seconds,
                                "--warm-up", options.warm_up], clients).result())
        time.sleep(0.1)
        forwarded = harness.count_of(self.subscriber) - before
        published = result["allRequests"] - result["connections"]  # the first answer is that to the connecting
        if forwarded < published:
            raise BenchError(f"mosquitto forwarded {forwarded} of {published} messages")
        return result

    def stop(self):
        self.subscriber.stop()
        self.process.stop()


def mosquitto(options, bridge, scratch):
    """A take to one remote reader against a message of 20 bytes with QoS 1 to one subscriber."""
    broker = Broker(options, scratch)

    def pair_of(row):
        def measure_pair(number):
            with Others(*bridge.processes(), broker.process, broker.subscriber) as others:
                ours, theirs = in_turn(
                    number,
                    lambda: harness.measure(options.programs, bridge, row.load, row.pin, options.seconds, options.warm_up),
                    lambda: broker.measure(row.load, row.pin, options))
            return Pair([harness.pick(ours, row.metric) / harness.pick(theirs, row.metric)], others.share)

        return measure_pair

    try:
        for row in promises.MOSQUITTO:
            yield from decide(options, [row], pair_of(row))
    finally:
        broker.stop()
