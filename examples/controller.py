#!/usr/bin/env python3
"""A small router controller: controller.py HOST take LEVEL INPUT OUTPUT [HOLDER] | controller.py HOST follow LEVEL."""
import socket
import struct
import sys
import time

TAKE, CHANGES = 0x50, 0x53
RESULTS = {0: "done", 3: "no such input", 4: "no such output", 5: "no such level", 12: "locked", 13: "protected"}
STATES = {0: "released", 1: "locked", 2: "protected"}


class Bridge:
    def __init__(self, host, port=5194, timeout=2.0):
        self.socket = socket.create_connection((host, port), timeout)
        # Closing takes back what has not arrived.
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.stream = self.socket.makefile("rb")
        self.tag = self.answered = 0

    def request(self, message_id, *words):
        """Sends one request; returns the words of its response from offset 20 on."""
        self.tag = (self.tag + 1) % 2**32
        self.socket.sendall(struct.pack(f">{4 + len(words)}I", 12, self.tag, 16 + 4 * len(words), message_id, *words))
        protocol, sequence, length, answer_id = struct.unpack(">4I", self.receive(16))
        if protocol != 12 or sequence != self.answered or length % 4 or not 20 <= length <= 8192:
            raise ConnectionError("not a bridge's answer")
        tag, *answer = struct.unpack(f">{length // 4 - 4}I", self.receive(length - 16))
        if tag != self.tag or answer_id == 0x80000000:
            raise ConnectionError("the request was not answered")
        self.answered = (self.answered + 1) % 2**32
        return answer

    def receive(self, count):
        data = self.stream.read(count)
        if len(data) < count:
            raise ConnectionError("the bridge closed the connection")
        return data

    def take(self, level, source, output, holder=0):
        return self.request(TAKE, 1, level, holder, source, output)[1]

    def changes(self, level):
        """Each output that changed since the last call; on a new connection: every output."""
        more = True
        while more:
            _, _, _, more, *words = self.request(CHANGES, 2, level)
            for result, output, source, state, holder in zip(*[iter(words)] * 5):
                yield output, source if result == 0 else "nothing", STATES[state], holder


def follow(host, level):
    while True:
        try:
            bridge = Bridge(host)
            while True:
                for output, source, state, holder in bridge.changes(level):
                    print(f"output {output} shows {source}, {state}, holder {holder}", flush=True)
                time.sleep(0.2)
        except OSError as problem:  # refused, closed, silent: the next connection brings the whole state
            print(f"{problem}; trying again", file=sys.stderr, flush=True)
            time.sleep(1)


if __name__ == "__main__":
    host, command, *numbers = sys.argv[1:]
    if command == "follow":
        follow(host, int(numbers[0]))
    code = Bridge(host).take(*map(int, numbers))
    sys.exit(f"refused: {RESULTS.get(code, code)}" if code else print("done"))
