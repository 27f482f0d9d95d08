"""Each word of each golden message is shown by the dissector under the right name, with the right value."""

import pathlib
import re
import sys
import tempfile
import unittest

from capture import SOURCE, Capture, Connection, dissect, words

sys.path.insert(0, str(SOURCE / "tests" / "vectors"))
import vectors  # noqa: E402

MESSAGES = vectors.load()

# What the comment of a word in tests/vectors says, the field that must show it, and what the field's line must hold.
# {0} is the text of the comment's group.
EXPECTED = [
    (r"protocol type: (router control)", "kora.type", "{0}"),
    (r"tag(?:, echoed)?", "kora.tag", ""),
    (r"sequence: first response of the connection", "kora.sequence", "0"),
    (r"length: (\d+).*", "kora.length", "{0}"),
    (r"message id: router port present(.*)", "kora.id", "port presence{0} ("),
    (r"message id: (.*)", "kora.id", "{0} ("),
    (r"n", "kora.count", ""),
    (r"level number(?:: unknown)?", "kora.level", ""),
    (r"holder \(lprId\)", "kora.holder", ""),
    (r"input(?:: none)?", "kora.input", ""),
    (r"input: (\d+)", "kora.input", "{0}"),
    (r"output", "kora.output", ""),
    (r"first output", "kora.first_output", ""),
    (r"format: (short entries|long entries).*", "kora.format", "{0}"),
    (r"LPR code: (.*)", "kora.lpr_code", "{0} ("),
    (r"LPR state: (.*)", "kora.lpr_state", "{0} ("),
    (r"status: (all done)", "kora.lpr_status", "{0}"),
    (r"status: some entry failed", "kora.lpr_status", "at least one entry was refused"),
    (r"result: invalid destination", "kora.result", "invalid output"),
    (r"(?:entry \d|result): (.*)", "kora.result", "{0} ("),
    (r"more: no further change", "kora.more", "nothing further"),
    (r"card(?:, as asked)?", "kora.card", ""),
    (r"present", "kora.present", "present ("),
    (r"error code: unknown message", "kora.error", "unknown message"),
    (r"payload", "kora.rest", "deadbeef"),
    (r"time: 1700000000", "kora.time", "Nov 14, 2023 22:13:20.000000000 UTC"),
    (r"(\d+)(?:; .*)?", "kora.word", "{0}"),
]

# Where the same comment stands for different fields.
EXPECTED_IN = {
    "ready_system_status": [(r"format.*", "kora.status_format", "")],
    "get_output": [(r"format", "kora.format", "entries")],
    "router_port_present_response": [(r"0", "kora.port_present", "0")],
}


def expectation(name, comment):
    """The field that shows a word with this comment, and what its line holds."""
    special = [row for prefix, rows in EXPECTED_IN.items() if name.startswith(prefix) for row in rows]
    for pattern, field, text in special + EXPECTED:
        match = re.fullmatch(pattern, comment)
        if match:
            return field, text.format(*match.groups())
    raise AssertionError(f"{name}: no field is expected for '{comment}'")


class GoldenTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.pairs = sorted(name.removesuffix("_request") for name in MESSAGES if name.endswith("_request"))
        with tempfile.TemporaryDirectory() as folder:
            capture = Capture(pathlib.Path(folder) / "golden.pcap")
            for index, pair in enumerate(cls.pairs):
                connection = Connection(capture, 40000 + index)
                connection.request(cls.bytes_of(f"{pair}_request"))
                connection.response(cls.bytes_of(f"{pair}_response"))
            capture.close()
            cls.messages = dissect(capture.path)
        if len(cls.messages) != 2 * len(cls.pairs):
            raise AssertionError(f"{len(cls.messages)} messages are shown, {2 * len(cls.pairs)} were captured")

    @staticmethod
    def bytes_of(name):
        return words(*(value for _, value, _ in MESSAGES[name]))

    def test_every_golden_message_is_one_message(self):
        self.assertEqual(len(MESSAGES), 2 * len(self.pairs))
        self.assertEqual([message.frame for message in self.messages], list(range(1, 2 * len(self.pairs) + 1)))

    def test_every_word_is_shown_under_its_name_with_its_value(self):
        names = [f"{pair}_{side}" for pair in self.pairs for side in ("request", "response")]
        for name, message in zip(names, self.messages):
            shown = {field.position - message.start: field for field in message.fields if field.size}
            lines = MESSAGES[name]
            self.assertEqual(sorted(shown), [offset for offset, _, _ in lines], name)
            for offset, value, comment in lines:
                with self.subTest(message=name, offset=offset):
                    field = shown[offset]
                    expected_name, expected_text = expectation(name, comment)
                    self.assertEqual(field.name, expected_name)
                    self.assertEqual(field.bytes, f"{value:08x}")
                    self.assertEqual(field.size, 4)
                    self.assertIn(expected_text.lower(), field.line.lower())
                    if expected_name not in ("kora.time", "kora.rest"):
                        self.assertEqual(int(field.shown, 0), value)

    def test_every_response_is_paired_with_its_request(self):
        for request, response in zip(self.messages[0::2], self.messages[1::2]):
            self.assertEqual(response.one("kora.response_to"), str(request.frame))
            self.assertEqual(int(response.one("kora.request_id"), 0), int(request.one("kora.id"), 0))
            self.assertEqual(float(response.one("kora.response_time")), 0.001)

    def test_nothing_is_called_malformed(self):
        malformed = ("bad_length", "cut_short", "missing_words", "too_long", "unaligned", "unknown_type",
                     "sequence_gap", "no_request", "wrong_response", "no_response")
        for message in self.messages:
            self.assertFalse([name for name in malformed if message.has(f"kora.{name}")], message.line)


if __name__ == "__main__":
    unittest.main()
