"""How cost grows: what is measured for each curve, the bridge and the floor in turn. Used by bench/curves."""

import contextlib
import statistics
import time
from dataclasses import dataclass, field
from pathlib import Path

import harness
from controller import Controller
from crowd import SIZES, Bridges, Floors, own_store
from harness import BenchError, NoAnswer, measure, pick
from scenarios import in_turn

LONGEST = 20  # seconds in which something is answered
BUFFERS_SHRINK = 6  # seconds after a burst


@dataclass
class Curve:
    """One panel of the picture."""

    name: str
    x: str
    y: str
    series: list
    points: list = field(default_factory=list)  # of x and a value for each series

    def add(self, x, values):
        self.points.append([x, *(round(value, 3) for value in values)])
        print(f"{self.name:38} {x:>6} {self.x:12}" + "".join(
            f"  {series}: {value:.1f} {self.y}" for series, value in zip(self.series, values)), flush=True)


def rounds(options):
    """Of one point: at least one, and no further one once the time is over."""
    for number in range(options.rounds):
        if number > 0 and time.monotonic() > options.end:
            return
        yield number


def answered_by(options, server, load):
    """One measurement, longer where nothing was answered in its time."""
    seconds = options.seconds
    while True:
        try:
            return measure(options.programs, server, load, "split", seconds, options.warm_up)
        except NoAnswer:
            seconds *= 4
            if seconds > LONGEST:
                raise BenchError(f"{server.name} answered nothing with {' '.join(map(str, load))}") from None


def under_load(options, bridge, floor, xs, load, metrics):
    """Medians of each metric at each x: of the bridge, then of the floor."""
    for x in xs:
        results = [in_turn(number, *(lambda server=server: answered_by(options, server, load(x))
                                     for server in (bridge, floor))) for number in rounds(options)]
        yield x, [[statistics.median(pick(pair[side], metric) for pair in results) for side in (0, 1)]
                  for metric in metrics]


def under_controllers(options, scratch):
    curves = [Curve(f"latency of a take, {percentile}", "controllers", "µs", ["bridge", "floor"])
              for percentile in ("p50", "p99")]
    takes = Curve("takes of many entries", "entries", "takes/s", ["bridge", "floor"])
    with contextlib.ExitStack() as stack:
        bridge = harness.start_bridge(scratch, options.programs, options.bridge)
        stack.callback(bridge.stop)
        floor = harness.start_floor(scratch, options.programs)
        stack.callback(floor.stop)
        for x, medians in under_load(options, bridge, floor, options.points["controllers"],
                                     lambda count: ("--connections", count), ("latency/p50", "latency/p99")):
            for curve, values in zip(curves, medians):
                curve.add(x, values)
        for x, (values,) in under_load(options, bridge, floor, options.points["entries"],
                                       lambda count: ("--connections", 1, "--entries", count), ("takesPerSecond",)):
            takes.add(x, values)
    return [*curves, takes]


def joins(options, scratch):
    curve = Curve("one more bridge joins", "bridges", "ms", ["bridge, start and join", "bridge, join", "floor, start"])
    with contextlib.ExitStack() as stack:
        bridges = Bridges(options, scratch)
        stack.callback(bridges.stop)
        floors = Floors(options, scratch)
        stack.callback(floors.stop)
        for count in options.points["bridges"]:
            for crowd in (bridges, floors):
                crowd.grow(count - 1)
            if count > 1:
                bridges.take_all()
            values = []
            for number in rounds(options):
                (ours, process), (theirs, _) = in_turn(number, bridges.newcomer, floors.newcomer)
                values.append((ours, bridges.join_alone(process), theirs))
            curve.add(count, [statistics.median(column) for column in zip(*values)])
    return [curve]


def resident(options, scratch, name, levels):
    """MiB of a bridge beside a router with these levels, number to outputs, and of a floor, after every output was taken
    that a router can have, and every one was read."""
    beyond = [argument for level, outputs in levels.items() if level not in SIZES
              for argument in ("--level", f"{level},audio,1,{SIZES[2]},1,1,{outputs},1")]
    with contextlib.ExitStack() as stack:
        folder = Path(scratch) / name
        folder.mkdir()
        bridge = harness.start_bridge(folder, options.programs, options.bridge, router=beyond,
                                      environment=own_store(folder, "bridge"))
        stack.callback(bridge.stop)
        floor = harness.start_floor(folder, options.programs)
        stack.callback(floor.stop)
        for server in (bridge, floor):
            with Controller(server.port) as controller:
                for level, outputs in levels.items():
                    controller.take_all(level, min(outputs, SIZES[2]), min(outputs, SIZES[2]))
                    server.settle()
                    controller.read_all(level, outputs)
        time.sleep(BUFFERS_SHRINK)
        return [server.process.resident_mib() for server in (bridge, floor)]


def memory(options, scratch):
    outputs = Curve("memory, one level more", "outputs", "MiB", ["bridge", "floor"])
    for count in options.points["outputs"]:
        outputs.add(count, resident(options, scratch, f"outputs-{count}", {3: count}))
    levels = Curve("memory, levels of 2304", "levels", "MiB", ["bridge", "floor"])
    for count in options.points["levels"]:
        more = {level: SIZES[2] for level in range(3, count + 1)}
        levels.add(count, resident(options, scratch, f"levels-{count}", {**SIZES, **more}))
    return [outputs, levels]
