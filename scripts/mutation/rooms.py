"""Which tests belong to which folder. Unit tests are asked first, end-to-end tests about what those have not noticed.
Rounds and floods that take minutes are left out there."""

from dataclasses import dataclass


@dataclass(frozen=True)
class Program:
    """A test program of the build, and which of its cases. Most of those that wait can run side by side."""
    name: str
    cases: str = "*"
    waits: bool = True


@dataclass(frozen=True)
class Room:
    pure: tuple
    waiting: tuple
    end_to_end: tuple

    @property
    def units(self):
        return self.pure + self.waiting


def _room(pure, waiting, *end_to_end):
    return Room(tuple(Program(name, waits=False) for name in pure.split()),
                tuple(Program(name) for name in waiting.split()), end_to_end)


def _bridge(cases):
    return Program("e2e_bridge", cases)


ROOMS = {
    "runtime": _room("unit_runtime unit_runtime_misc",
                     "unit_runtime_waits unit_runtime_misc_waits unit_runtime_timing unit_runtime_misc_timing",
                     Program("e2e_console"), Program("e2e_console_timing"), _bridge("StartStop*")),
    "bustypes": _room("unit_bustypes", "unit_buswrappers", _bridge("Join*:Changes*")),
    # The bound of what is left out of the unit tests is one for optimised code; two frames need a namespace for each case.
    "durability": Room((Program("unit_durability", waits=False), Program("durable_simulation", waits=False)),
                       (Program("unit_durability_waits"), Program("unit_durability_timing", "-*WithinASecond")),
                       (Program("e2e_durable", "-PairTest.*:TwoBridgesTest.*"),)),
    "ddscxx": _room("unit_ddscxx", "unit_ddscxx_waits unit_buswrappers", _bridge("Join*:Changes*")),
    "buswrappers": _room("unit_ddskorabridge", "unit_buswrappers unit_buswrappers_timing unit_ddskorabridge_waits",
                         _bridge("Join*:Changes*")),
    "koracommand": _room("unit_koracommand", "unit_koracommand_waits", _bridge("Command*:Changes*")),
    "koraserver": _room("unit_koraserver", "unit_koraserver_waits unit_koraserver_timing", _bridge("Connections*:StartStop*")),
    "ddskorabridge": _room("unit_ddskorabridge", "unit_ddskorabridge_waits", _bridge("Join*:Command*:Changes*"),
                           Program("e2e_bridge_timing")),
    "bridge": _room("", "unit_bridge", _bridge("StartStop*:Join*"), Program("e2e_console"),
                    Program("e2e_faults", "Ports*:SharedMemory*")),
    "koraclient": _room("unit_koraclient", "unit_koraclient_waits unit_koractl_waits", Program("e2e_koractl")),
    "tools/common": _room("unit_tools_common", "unit_tools_common_waits unit_koractl", Program("e2e_koractl")),
    "tools/koractl": _room("unit_koractl", "unit_koractl_waits", Program("e2e_koractl")),
    "tools/korapanel": _room("unit_korapanel", "unit_korapanel_waits", Program("e2e_panel")),
    "tools/korasim": _room("unit_korasim", "unit_korasim_waits", _bridge("Join*:Changes*")),
}
