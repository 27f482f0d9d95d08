"""Which tests belong to which folder. Unit tests are asked first, end-to-end tests about what those have not noticed.
Rounds and floods that take minutes are left out there."""

from dataclasses import dataclass


@dataclass(frozen=True)
class Program:
    """A test program of the build, and which of its cases."""
    name: str
    cases: str = "*"


@dataclass(frozen=True)
class Room:
    units: tuple
    end_to_end: tuple


def _room(units, *end_to_end):
    return Room(tuple(Program(name) for name in units.split()), end_to_end)


ROOMS = {
    "runtime": _room("unit_runtime unit_runtime_misc", Program("e2e_console"), Program("e2e_bridge", "StartStop*")),
    "bustypes": _room("unit_bustypes unit_buswrappers", Program("e2e_bridge", "Join*:Changes*")),
    "durability": _room("unit_durability", Program("e2e_durable", "-KillRounds*")),
    "ddscxx": _room("unit_ddscxx unit_buswrappers", Program("e2e_bridge", "Join*:Changes*")),
    "buswrappers": _room("unit_buswrappers unit_ddskorabridge", Program("e2e_bridge", "Join*:Changes*")),
    "koracommand": _room("unit_koracommand", Program("e2e_bridge", "Command*:Changes*")),
    "koraserver": _room("unit_koraserver", Program("e2e_bridge", "Connections*:StartStop*")),
    "ddskorabridge": _room("unit_ddskorabridge", Program("e2e_bridge", "Join*:Command*:Changes*")),
    "bridge": _room("unit_bridge", Program("e2e_bridge", "StartStop*:Join*"), Program("e2e_console"), Program("e2e_faults", "Ports*:SharedMemory*")),
    "tools/koractl": _room("unit_koractl", Program("e2e_koractl")),
    "tools/korasim": _room("unit_korasim", Program("e2e_bridge", "Join*:Changes*")),
}
