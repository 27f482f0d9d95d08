"""What is lost is shown over everything, and goes when it is back."""

import signal

from page import Page
from panel_case import CLOSED_PORT, OPEN_PORT, PanelCase, Stage
from waiting import LONG, wait_until


class LossTest(PanelCase):
    def setUp(self):
        super().setUp()
        self.fresh()
        self.page.choose_with_mouse(20, 3)

    def assert_lost(self, title, seconds=LONG):
        wait_until(lambda: self.page.is_shown("lost") and self.page.text("lost-title") == title, f"'{title}' over the page", seconds)
        self.assertIn(title, self.page.text("alarmed"))
        self.assertFalse(self.page.is_enabled("take"))
        # What lies over everything gets the mouse, whatever is below.
        covers = """const lost = document.getElementById("lost");
            return [[5, 5], [innerWidth / 2, innerHeight / 2], [innerWidth - 5, innerHeight - 5]]
              .every(([x, y]) => lost.contains(document.elementFromPoint(x, y)));"""
        self.assertTrue(self.driver.execute_script(covers))
        self.assertTrue(self.driver.execute_script("return document.getElementById('main').inert"))

    def assert_back(self):
        wait_until(lambda: not self.page.is_shown("lost"), "everything is back")
        wait_until(lambda: self.page.is_enabled("take"), "Take is ready")

    def test_bridge_killed_and_back(self):
        self.chain.do("take", "1:7:20")
        self.wait_routed(1, 20, 7)
        self.chain.bridge.kill()
        self.assert_lost("The bridge is gone")
        self.assertIn("127.0.0.1", self.page.text("lost-text"))
        self.chain.start_bridge()
        self.assert_back()
        self.chain.do("take", "1:8:20")
        wait_until(lambda: ", routed" in self.page.words_of(20, 8), "the page follows the new bridge")

    def test_page_opened_while_the_bridge_is_gone_says_that_it_was_before(self):
        self.chain.bridge.kill()
        self.assert_lost("The bridge is gone")
        self.assertRegex(self.page.text("lost-since"), "^Since [0-9]")
        self.driver.get("about:blank")
        self.page.open()
        wait_until(lambda: self.page.text("lost-title") == "The bridge is gone", "the new page knows")
        self.assertRegex(self.page.text("lost-since"), "^Since before [0-9]")
        self.chain.start_bridge()
        wait_until(lambda: not self.page.is_shown("lost"), "everything is back")

    def test_router_gone_and_back(self):
        self.chain.router.tell("vanish")
        self.assert_lost("The router is gone")
        self.chain.router.tell("announce")
        self.assert_back()

    def test_level_that_is_not_there_shows_nothing_of_another(self):
        self.chain.start_panel(CLOSED_PORT, "--level", 1, "--level", 9)
        self.addCleanup(lambda: self.chain.panels.pop(CLOSED_PORT).kill())
        page = Page(self.driver, f"http://127.0.0.1:{CLOSED_PORT}").open().ready()
        self.driver.find_element("css selector", "[data-level='9']").click()
        wait_until(lambda: page.text("where") == "", "no crosspoint is described")
        # It is drawn with the next frame.
        wait_until(lambda: self.driver.execute_script("""const canvas = document.getElementById("matrix-canvas");
            return "rgb(" + [...canvas.getContext("2d").getImageData(20, 20, 1, 1).data].slice(0, 3).join(", ") + ")" ===
              getComputedStyle(document.getElementById("matrix")).backgroundColor;"""), "the matrix is empty, not black")
        self.driver.find_element("css selector", "[data-level='1']").click()
        page.wait_text("where", "output 1 ")

    def test_panel_killed_and_back(self):
        self.chain.panels[OPEN_PORT].kill()
        self.assert_lost("The panel is gone")
        self.chain.do("take", "1:9:20")
        Stage.start_open_panel()
        self.assert_back()
        wait_until(lambda: ", routed" in self.page.words_of(20, 9), "the page shows what happened meanwhile")

    def test_panel_that_falls_silent_and_speaks_again(self):
        panel = self.chain.panels[OPEN_PORT]
        panel.signal(signal.SIGSTOP)
        try:
            # Nobody closes the connection: the page asks after five seconds, and gives up after four more.
            self.assert_lost("The panel is gone", 20)
            self.assertIn("does not answer", self.page.text("lost-text"))
        finally:
            panel.signal(signal.SIGCONT)
        self.assert_back()
