#!/usr/bin/env python3
"""Tests of the panel's page in a real browser, on the real chain: browser - korapanel - korabridge - bus - korasim.

Usage: tests/browser/run.py PROGRAMS [--axe FILE] [--failfast] [MODULE | MODULE.CLASS | MODULE.CLASS.TEST]...
       tests/browser/run.py PROGRAMS --pictures FOLDER
PROGRAMS is the folder of the programs. With --pictures it makes the pictures of docs/panel.md instead of testing. Needs
tests/support/in-namespace around it."""

import sys
import unittest
from pathlib import Path

from panel_case import Stage

ALL = ("take_test", "salvo_test", "loss_test", "access_test", "foreign_test")  # the last looks back at all others


def main(arguments):
    Stage.programs = Path(arguments.pop(0)).resolve()
    try:
        if arguments[:1] == ["--pictures"]:
            import pictures  # it needs nothing of the tests

            pictures.make(Path(arguments[1]))
            return 0
        if arguments[:1] == ["--axe"]:
            Stage.axe = Path(arguments[1])
            del arguments[:2]
        stops = "--failfast" in arguments
        arguments = [each for each in arguments if each != "--failfast"]
        suite = unittest.defaultTestLoader.loadTestsFromNames(arguments or ALL)
        return 0 if unittest.TextTestRunner(verbosity=2, failfast=stops).run(suite).wasSuccessful() else 1
    finally:
        Stage.strike()


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
