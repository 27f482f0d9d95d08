"""Reads the golden messages: see README.md beside this."""

import pathlib
import re


def load():
    """Each message by its name: a list of its words, each as offset, value, comment."""
    messages = {}
    for path in sorted(pathlib.Path(__file__).parent.glob("*.txt")):
        for line in path.read_text(encoding="utf-8").splitlines():
            if heading := re.fullmatch(r"\[(\w+)\]", line):
                words = messages.setdefault(heading[1], [])
            elif word := re.fullmatch(r"\s*(\d+)\s+([0-9a-f]{8})\s+# (.*)", line):
                words.append((int(word[1]), int(word[2], 16), word[3]))
    return messages
