"""A session of the real bridge with a simulated router and a controller, recorded from the loopback interface."""

import contextlib
import pathlib
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest

from capture import BRIDGE_PORT, ETHERNET, Capture, dissect

PROGRAMS = pathlib.Path(sys.argv.pop(1) if len(sys.argv) > 1 else "build/release/bin").resolve()
DEADLINE = 30
ANY_PROTOCOL = 0x0003
OUTGOING = 4

# What the controller does, and the requests that it sends for it.
COMMANDS = [
    (["take", "1:5:7", "--lpr-id", "42"], [0x50]),
    (["coherent-take", "1:8:3", "2:9:4"], [0x55]),
    (["lock", "1:7", "--lpr-id", "42"], [0x51]),
    (["release", "--force", "1:7", "--lpr-id", "9"], [0x51]),
    (["tally", "1", "1", "8"], [0x5E]),
    (["status", "1", "7", "1"], [0x52]),
    (["changes", "1"], [0x53]),
    (["partition"], [0x59]),
    (["card", "3"], [0xA2]),
    (["port"], [0x4000]),
    (["system", "4"], [0x5000]),
]


class Recorder:
    """Writes what passes the loopback interface on the bridge's port to a capture file, once each."""

    def __init__(self, path):
        self._capture = Capture(path, ETHERNET)
        self._socket = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(ANY_PROTOCOL))
        self._socket.bind(("lo", 0))
        self._socket.settimeout(0.2)
        self._stopping = threading.Event()
        self._thread = threading.Thread(target=self._record)
        self._thread.start()

    def _record(self):
        port = BRIDGE_PORT.to_bytes(2, "big")
        while True:
            try:
                data, (_, _, kind, *_) = self._socket.recvfrom(1 << 17)
            except TimeoutError:
                if self._stopping.is_set():
                    return
                continue
            is_tcp = len(data) > 38 and data[12:14] == b"\x08\x00" and data[23] == socket.IPPROTO_TCP
            if kind != OUTGOING and is_tcp and port in (data[34:36], data[36:38]):
                self._capture.packet(data)

    def stop(self):
        """Ends once nothing has come for a while."""
        self._stopping.set()
        self._thread.join()
        self._capture.close()
        self._socket.close()


def wait_until(condition, what):
    """Waits until `condition()` holds."""
    end = time.monotonic() + DEADLINE
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"waited in vain for {what}")
        time.sleep(0.05)


def koractl(*arguments):
    """Runs koractl and returns its exit status."""
    command = [PROGRAMS / "koractl", *arguments]
    return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=DEADLINE,
                          check=False).returncode


class SessionTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = cls.enterClassContext(tempfile.TemporaryDirectory())
        path = pathlib.Path(folder) / "session.pcap"
        log = pathlib.Path(folder) / "bridge.log"
        with contextlib.ExitStack() as running:
            router = subprocess.Popen([PROGRAMS / "korasim", "--frame", "17", "--partition", "R1"],
                                      stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
            running.callback(cls.end, router)
            with log.open("w", encoding="utf-8") as output:
                bridge = subprocess.Popen([PROGRAMS / "korabridge", "17", "1", "Bridge", "recorded"],
                                          stdin=subprocess.PIPE, stdout=output)
            running.callback(cls.end, bridge)
            for topic in ("Video", "Audio"):
                ready = f"addRouterMemberMacroXpts  TopicMacroXptOutput{topic}Target"
                wait_until(lambda: ready in log.read_text(encoding="utf-8"), ready)
            wait_until(lambda: koractl("port") == 0, "the bridge's port")
            recorder = Recorder(path)
            running.callback(recorder.stop)
            cls.statuses = [koractl(*arguments) for arguments, _ in COMMANDS]
        cls.messages = dissect(path, "-2")

    @staticmethod
    def end(process):
        process.terminate()
        process.wait(DEADLINE)
        process.stdin.close()

    def test_every_command_was_carried_out(self):
        self.assertEqual(self.statuses, [0] * len(COMMANDS))

    def test_requests_are_those_that_the_controller_sent(self):
        requests = [int(each.one("kora.id"), 0) for each in self.messages if int(each.one("kora.id"), 0) < 1 << 31]
        expected = [message_id for _, ids in COMMANDS for message_id in ids]
        # koractl may ask more than once where an answer says that there is more.
        self.assertEqual(list(dict.fromkeys(requests)), list(dict.fromkeys(expected)))

    def test_every_request_has_its_response_and_the_reverse(self):
        for each in self.messages:
            is_request = int(each.one("kora.id"), 0) < 1 << 31
            self.assertTrue(each.has("kora.response_in" if is_request else "kora.response_to"), each.line)
            if not is_request:
                self.assertLess(float(each.one("kora.response_time")), DEADLINE)

    def test_nothing_of_the_bridge_is_called_malformed_or_refused(self):
        marks = ("bad_length", "cut_short", "missing_words", "too_long", "unaligned", "unknown_type", "unknown_id",
                 "sequence_gap", "no_request", "wrong_response", "no_response", "refused", "failed")
        for each in self.messages:
            self.assertEqual([mark for mark in marks if each.has(f"kora.{mark}")], [], each.line)

    def test_take_shows_what_was_taken(self):
        take = next(each for each in self.messages if each.one("kora.id") == "0x00000050")
        shown = [take.one(f"kora.{name}") for name in ("level", "holder", "input", "output")]
        self.assertEqual(shown, ["1", "42", "5", "7"])


if __name__ == "__main__":
    unittest.main()
