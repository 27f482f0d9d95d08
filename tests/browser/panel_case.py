"""What the tests of the page share: one chain and one browser for all of them, and a page in a window."""

import shutil
import tempfile
import unittest
from pathlib import Path

import chromium
from chain import Chain
from page import Page
from waiting import wait_until

OPEN_PORT = 8090  # everybody may press
TOKEN_PORT = 8091  # asks for a token
CLOSED_PORT = 8092  # everybody may look
BRIEF_PORT = 8093  # asks for a token, and again soon
HOLDER = 7  # as whom the panels lock


class Stage:
    """The chain and the browser, started by the first test and kept for the others."""

    programs = axe = None
    chain = driver = requests = None
    _folder = None

    @classmethod
    def set(cls, markup=True):
        if cls.chain:
            return
        cls._folder = Path(tempfile.mkdtemp())
        cls.chain = Chain(cls.programs, cls._folder, markup=markup)
        cls.chain.start()
        cls.chain.do("take", "1:1:1", "2:1:1")
        cls.start_open_panel()
        cls.driver = chromium.start(cls._folder)
        cls.requests = chromium.Requests(cls.driver)
        chromium.look_like(cls.driver)

    @classmethod
    def start_open_panel(cls):
        cls.chain.start_panel(OPEN_PORT, "--control", "--lpr-id", HOLDER)

    @classmethod
    def strike(cls):
        if cls.driver:
            cls.driver.quit()
        if cls.chain:
            cls.chain.stop()
            shutil.rmtree(cls._folder)
        cls.chain = cls.driver = None


class PanelCase(unittest.TestCase):
    """A test with a page of the open panel, and all outputs it uses released."""

    def setUp(self):
        Stage.set()
        self.chain, self.driver = Stage.chain, Stage.driver
        self.page = Page(self.driver, f"http://127.0.0.1:{OPEN_PORT}")

    def run(self, result=None):
        before = len(result.failures) + len(result.errors)
        super().run(result)
        if len(result.failures) + len(result.errors) > before and Stage.chain:
            print(Stage.chain.logs())

    def fresh(self, view="matrix"):
        """The page from the start."""
        self.driver.get("about:blank")
        return self.page.open(view).ready()

    def wait_routed(self, level, output, number):
        wait_until(lambda: self.chain.status(level, output)[0] == str(number),
                   f"input {number} on output {output} of level {level}; it is {self.chain.status(level, output)}")
