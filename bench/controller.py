"""A controller of a few lines, for what korabench does not do: take every output exactly once and read it once. Used by
bench/curves and scripts/board-figures."""

import socket
import struct

from harness import BenchError

TAKE, CHANGES, TALLY, PORT_PRESENCE = 0x50, 0x53, 0x5E, 0x4000
HEADER = struct.Struct(">4I")
PROTOCOL = 12
WORDS_BEFORE_RESULTS = 2  # of a take's response: the tag and the number of entries
MOST_ENTRIES = 509
MOST_OF_A_TALLY = 1000


class Controller:
    """A connection with one request outstanding."""

    def __init__(self, port, seconds=30):
        self._socket = socket.create_connection(("127.0.0.1", port), seconds)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        self._socket.close()

    def ask(self, message, *words):
        """The words of the answer behind its header, the tag first."""
        self._socket.sendall(HEADER.pack(PROTOCOL, 0, HEADER.size + 4 * len(words), message) +
                             struct.pack(f">{len(words)}I", *words))
        _, _, length, _ = HEADER.unpack(self._receive(HEADER.size))
        payload = self._receive(length - HEADER.size)
        return struct.unpack(f">{len(payload) // 4}I", payload)

    def be_present(self):
        self.ask(PORT_PRESENCE)

    def take_all(self, level, outputs, inputs):
        """Another input on each output than its own number."""
        for first in range(1, outputs + 1, MOST_ENTRIES):
            entries = range(first, min(outputs + 1, first + MOST_ENTRIES))
            words = [word for output in entries for word in (level, 0, output % inputs + 1, output)]
            results = self.ask(TAKE, len(entries), *words)[WORDS_BEFORE_RESULTS:]
            if any(results) or len(results) != len(entries):
                raise BenchError(f"takes of level {level} from output {first} were refused: {results[:4]} ...")

    def read_all(self, level, outputs):
        """Every change that waits, then the input of each output."""
        while self.ask(CHANGES, 0, level)[4]:
            pass
        for first in range(1, outputs + 1, MOST_OF_A_TALLY):
            self.ask(TALLY, level, first, min(MOST_OF_A_TALLY, outputs + 1 - first))

    def _receive(self, count):
        received = b""
        while len(received) < count:
            more = self._socket.recv(count - len(received))
            if not more:
                raise BenchError("the connection was closed instead of an answer")
            received += more
        return received
