"""Captures of the KORA link made by hand, and what tshark's dissector shows of them."""

import os
import pathlib
import shutil
import struct
import subprocess
import tempfile
import xml.etree.ElementTree

SOURCE = pathlib.Path(__file__).resolve().parents[2]
DISSECTOR_FOLDER = SOURCE / "tools" / "wireshark"
BRIDGE_PORT = 5194
RAW_IP = 101  # the capture's link type: packets begin with the IP header
ETHERNET = 1
NOBODY = 65534


def words(*values):
    """A message or a part of one: 32-bit words in network order."""
    return struct.pack(f">{len(values)}I", *values)


def message(message_id, word1, *payload, protocol=12, length=None):
    """A whole message; its length word is right unless another is given."""
    right = 16 + 4 * len(payload)
    return words(protocol, word1, right if length is None else length, message_id, *payload)


class Capture:
    """Writes packets to a capture file, a millisecond apart."""

    def __init__(self, path, link_type=RAW_IP):
        self.path = pathlib.Path(path)
        self._file = self.path.open("wb")
        self._file.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, link_type))
        self._microseconds = 0
        self.frames = 0

    def packet(self, data, captured=None):
        """Adds one packet, cut off after `captured` bytes if given; returns its frame number."""
        kept = data[:captured]
        second, microsecond = divmod(self._microseconds, 1000000)
        self._file.write(struct.pack("<IIII", 1700000000 + second, microsecond, len(kept), len(data)) + kept)
        self._microseconds += 1000
        self.frames += 1
        return self.frames

    def close(self):
        self._file.close()


class Connection:
    """One TCP connection between a controller and the bridge in a capture."""

    def __init__(self, capture, controller_port, bridge_port=BRIDGE_PORT, first=(1, 1)):
        self._capture = capture
        self._ports = (controller_port, bridge_port)
        self._sent = list(first)  # the next TCP sequence number of the controller and of the bridge

    def request(self, data, captured=None):
        """A segment to the bridge; returns its frame number."""
        return self._segment(0, data, captured)

    def response(self, data, captured=None):
        """A segment from the bridge; returns its frame number."""
        return self._segment(1, data, captured)

    def _segment(self, side, data, captured):
        ports = (self._ports[side], self._ports[1 - side])
        tcp = struct.pack(">HHIIBBHHH", *ports, self._sent[side], self._sent[1 - side], 0x50, 0x18, 65535, 0, 0)
        self._sent[side] += len(data)
        loopback = bytes([127, 0, 0, 1])
        packet = struct.pack(">BBHHHBBH4s4s", 0x45, 0, 40 + len(data), 0, 0, 64, 6, 0, loopback, loopback)
        return self._capture.packet(packet + tcp + data, captured)


class Field:
    """One field as tshark shows it."""

    def __init__(self, element):
        self.name = element.get("name")
        self.position = int(element.get("pos", 0))
        self.size = int(element.get("size", 0))
        self.shown = element.get("show", "")
        self.line = element.get("showname", "")
        self.bytes = element.get("value", "")


class Message:
    """One message of the link as tshark shows it."""

    def __init__(self, frame, element):
        self.frame = frame
        self.start = int(element.get("pos"))
        self.line = element.get("showname", "")
        self.fields = [Field(each) for each in element.iter("field") if each.get("name", "").startswith("kora.")]

    def all(self, name):
        """What is shown of every field of that name, in order."""
        return [field.shown for field in self.fields if field.name == name]

    def one(self, name):
        """What is shown of the one field of that name; None when there is none."""
        shown = self.all(name)
        if len(shown) > 1:
            raise AssertionError(f"{len(shown)} fields {name} in {self.line}")
        return shown[0] if shown else None

    def has(self, name):
        return any(field.name == name for field in self.fields)


def tshark(path, *options):
    """Runs tshark with the dissector as an installed plugin and nobody's settings.

    As an ordinary user, because from version 4.4 on it runs no scripts for root.
    """
    with tempfile.TemporaryDirectory() as home:
        os.chmod(home, 0o755)
        capture = pathlib.Path(home) / "capture.pcap"
        capture.write_bytes(pathlib.Path(path).read_bytes())
        plugins = pathlib.Path(home) / ".local" / "lib" / "wireshark" / "plugins"
        plugins.mkdir(parents=True)
        shutil.copy(DISSECTOR_FOLDER / "kora.lua", plugins)
        environment = dict(os.environ, HOME=home)
        command = ["tshark", "-n", "-r", str(capture), *options]
        ordinary = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.geteuid() == 0 else {}
        result = subprocess.run(command, env=environment, cwd="/", capture_output=True, text=True,
                                check=False, **ordinary)
    complaints = [line for line in result.stderr.splitlines() if not line.startswith("Running as user")]
    if result.returncode != 0 or complaints or "Lua Error" in result.stdout:
        raise AssertionError(f"{command}: status {result.returncode}: {complaints}: {result.stdout}")
    return result.stdout


def dissect(path, *options):
    """Every message of the link in a capture, in order."""
    packets = xml.etree.ElementTree.fromstring(tshark(path, "-T", "pdml", *options))
    found = []
    for packet in packets.iter("packet"):
        number = int(packet.find("proto[@name='geninfo']/field[@name='num']").get("show"), 0)
        found += [Message(number, each) for each in packet.findall("proto[@name='kora']")]
    return found
