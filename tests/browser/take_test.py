"""Takes and locks, by mouse and by keyboard, and how they end."""

import signal

from selenium.webdriver import ActionChains
from selenium.webdriver.common.keys import Keys

import chromium
from panel_case import HOLDER, OPEN_PORT, PanelCase, Stage
from waiting import wait_until


class TakeTest(PanelCase):
    def setUp(self):
        super().setUp()
        self.fresh()

    def test_take_by_mouse_is_done_and_shown(self):
        self.page.choose_with_mouse(5, 4)
        self.assertNotEqual(self.chain.status(1, 5)[0], "4")
        self.page.find("take").click()
        self.assertEqual(self.page.wait_answer("5 ")[0], "done")
        self.wait_routed(1, 5, 4)
        wait_until(lambda: ", routed" in self.page.words_of(5, 4), "the matrix shows the route")

    def test_choosing_takes_nothing(self):
        self.page.choose_with_mouse(6, 3)
        self.page.choose_with_keyboard(6, 3)
        self.assertEqual(self.page.answers(), [])
        self.assertNotEqual(self.chain.status(1, 6)[0], "3")

    def test_take_by_keyboard_alone(self):
        self.page.choose_with_keyboard(8, 6)
        self.assertEqual(self.page.focused(), "take")
        self.page.keys(Keys.ENTER)
        self.assertEqual(self.page.wait_answer("8 ")[0], "done")
        self.wait_routed(1, 8, 6)
        self.assertEqual(self.page.focused(), "matrix")

    def test_take_in_the_xy_panel_by_keyboard(self):
        self.page.show("xy")
        self.page.find("destination-filter").send_keys("201", Keys.ENTER)
        wait_until(lambda: self.page.option("destinations", 201), "the destination is listed")
        self.page.keys(Keys.ENTER)
        self.assertEqual(self.page.focused(), "sources")
        self.page.keys(Keys.END, Keys.ENTER)
        self.page.keys(Keys.ENTER)
        self.assertEqual(self.page.wait_answer("201 ")[0], "done")
        self.wait_routed(1, 201, 288)

    def test_levels_are_taken_together(self):
        self.page.choose_with_mouse(9, 12)
        self.page.find("together-levels").find_element("css selector", "input").click()
        self.page.find("take").click()
        self.assertEqual(self.page.wait_answer("9 ")[0], "done")
        self.wait_routed(1, 9, 12)
        self.wait_routed(2, 9, 12)
        self.page.show("history")
        self.assertIn("took together", self.page.text("history-rows"))

    def test_refused_take_says_why(self):
        self.chain.do("lock", "1:10", "--lpr-id", 42)
        self.addCleanup(self.chain.do, "release", "1:10", "--force")
        self.page.choose_with_mouse(10, 2)
        self.page.find("take").click()
        state, words = self.page.wait_answer("10 ")
        self.assertEqual(state, "refused")
        self.assertIn("output 10 is locked by 42", words)
        self.assertIn("output 10 is locked by 42", self.page.text("alarmed"))
        self.assertNotEqual(self.chain.status(1, 10)[0], "2")

    def test_lock_by_another_controller_appears_in_words(self):
        self.page.choose_with_mouse(12, 1)
        self.chain.do("lock", "1:12", "--lpr-id", 99)
        self.addCleanup(self.chain.do, "release", "1:12", "--force")
        self.page.wait_text("chosen-held", "locked by 99")
        self.assertIn("locked by 99", self.page.words_of(12, 1))
        self.page.show("xy")
        self.page.wait_option("destinations", 12, "locked by 99")

    def test_lock_protect_and_release(self):
        self.page.choose_with_mouse(13, 1)
        for button, words in (("lock", f"locked by {HOLDER}"), ("release", ""), ("protect", f"protected by {HOLDER}"), ("release", "")):
            self.page.find(button).click()
            self.assertEqual(self.page.wait_answer(button.capitalize())[0], "done")
            wait_until(lambda: self.page.text("chosen-held") == words, f"the lock is '{words}'")
            self.assertEqual(self.chain.status(1, 13)[1], words or "released")

    def test_double_click_and_held_key_press_once(self):
        self.page.choose_with_mouse(14, 5)
        ActionChains(self.driver, duration=0).double_click(self.page.find("take")).perform()
        self.assertEqual(self.page.wait_answer("14 ")[0], "done")
        self.page.find("lock").click()
        self.page.wait_answer("Lock")
        self.page.choose_with_mouse(14, 6)
        self.driver.execute_script("document.getElementById('take').focus()")
        for repeated in (False, True, True):
            self.driver.execute_cdp_cmd("Input.dispatchKeyEvent", {"type": "keyDown", "key": "Enter", "code": "Enter", "text": "\r",
                                                                   "windowsVirtualKeyCode": 13, "autoRepeat": repeated})
        self.driver.execute_cdp_cmd("Input.dispatchKeyEvent", {"type": "keyUp", "key": "Enter", "code": "Enter"})
        self.assertEqual(self.page.wait_answer("14 ")[0], "refused")
        self.assertEqual([title.split(" ")[0] for _, title, _ in self.page.answers()], ["6", "Lock", "5"])
        self.chain.do("release", "1:14", "--force")

    def replace(self, panel):
        """A panel that works in the place of one that does not, unless there is one already."""
        if self.chain.panels[OPEN_PORT] is panel:
            if panel.is_running():
                panel.kill()
            Stage.start_open_panel()

    def test_take_without_an_answer_is_unknown(self):
        self.page.choose_with_mouse(15, 5)
        panel = self.chain.panels[OPEN_PORT]
        self.addCleanup(self.replace, panel)
        panel.signal(signal.SIGSTOP)
        self.page.find("take").click()
        wait_until(lambda: self.page.answers()[0][0] == "pending", "the take is pending")
        self.assertFalse(self.page.is_enabled("take"))
        self.assertEqual(self.page.text("take"), "Pending …")
        panel.kill()
        state, words = self.page.wait_answer("15 ")
        self.replace(panel)
        self.assertEqual(state, "unknown")
        self.assertIn("may have been done", words)
        wait_until(lambda: not self.page.is_shown("lost"), "the panel is there again")

    def test_take_whose_answer_is_lost_is_sent_again_and_done_once(self):
        self.page.choose_with_mouse(19, 5)
        self.driver.execute_script("""
            const real = window.fetch;
            window.sent = [];
            window.fetch = async (...asked) => {
              const answer = await real(...asked);
              if (asked[0] === "/api/takes") {
                window.sent.push(asked[1].headers["Idempotency-Key"]);
                if (window.sent.length === 1) {
                  throw new TypeError("the answer is lost");
                }
              }
              return answer;
            };""")
        self.page.find("take").click()
        self.assertEqual(self.page.wait_answer("19 ")[0], "done")
        self.wait_routed(1, 19, 5)
        sent = self.driver.execute_script("return window.sent")
        self.assertEqual(len(sent), 2)
        self.assertEqual(sent[0], sent[1])
        self.assertRegex(sent[0], "^[0-9a-f]{32}$")
        # The panel writes down what it does.
        log = self.chain.panels[OPEN_PORT].log.read_text()
        self.assertEqual(log.count("take level 1 output 19 input 5: done"), 1)

    def test_presses_stand_in_the_same_order_after_a_reload(self):
        self.page.choose_with_mouse(7, 12)
        self.page.find("together-levels").find_element("css selector", "input").click()
        self.page.find("take").click()
        self.page.wait_answer("7 ")
        self.page.show("history")
        levels = """return [...document.querySelectorAll("#history-rows tr")].slice(0, 2).map((row) => row.cells[4].textContent);"""
        wait_until(lambda: "took together" in self.page.text("history-rows"), "the presses are listed")
        before = self.driver.execute_script(levels)
        self.fresh("history")
        wait_until(lambda: "took together" in self.page.text("history-rows"), "the presses are listed again")
        self.assertEqual(self.driver.execute_script(levels), before)
        self.assertEqual(sorted(before), ["1 video", "2 audio"])

    def test_corners_of_the_matrix_are_reached_with_the_keyboard(self):
        self.driver.execute_script("document.getElementById('matrix').focus()")
        for key, words in ((Keys.END, "output 288 "), (Keys.HOME, "output 1 ")):
            ActionChains(self.driver, duration=0).key_down(Keys.CONTROL).send_keys(key).key_up(Keys.CONTROL).perform()
            self.page.wait_text("where", words)
            self.page.wait_text("where", words.replace("output", "input"))

    def test_take_that_the_router_ignores_is_told_so(self):
        self.chain.router.tell("refuse video 16")
        self.addCleanup(self.chain.router.tell, "accept video 16")
        self.page.choose_with_mouse(16, 5)
        self.page.find("take").click()
        self.assertEqual(self.page.wait_answer("16 ")[0], "done")
        wait_until(lambda: "the router does not show it" in self.page.answers()[0][2], "the page says that the router does not follow")

    def test_page_asks_for_everything_once(self):
        self.page.choose_with_mouse(18, 4)
        self.page.find("take").click()
        self.page.wait_answer("18 ")
        asked = self.driver.execute_script("""return performance.getEntriesByType("resource").map((each) => new URL(each.name).pathname)
            .filter((path) => path.startsWith("/api/")).sort();""")
        once = ["/api/history", "/api/levels", "/api/levels/1/outputs", "/api/levels/2/outputs", "/api/names", "/api/session", "/api/state",
                "/api/takes"]
        self.assertEqual([path for path in asked if path != "/api/events"], once)

    def test_two_browsers_stay_in_step(self):
        here = self.driver.current_window_handle
        self.driver.switch_to.new_window("window")
        there = self.driver.current_window_handle
        try:
            chromium.look_like(self.driver)
            self.page.open("xy").ready()
            self.driver.switch_to.window(here)
            self.page.choose_with_mouse(17, 8)
            self.page.find("take").click()
            self.page.wait_answer("17 ")
            self.driver.switch_to.window(there)
            self.page.wait_option("destinations", 17, "← 8 ")
            wait_until(lambda: "took 8 " in self.page.text("newest"), "the other browser shows who took")
        finally:
            self.driver.switch_to.window(there)
            self.driver.close()
            self.driver.switch_to.window(here)

    def test_markup_in_names_is_text(self):
        self.page.show("xy")
        self.page.wait_option("destinations", 11, "<img src=x onerror=")
        self.page.find("search").send_keys("onerror")
        wait_until(lambda: "<img src=x" in self.page.text("found"), "the name is found")
        self.page.find("search").send_keys(Keys.ENTER)
        self.page.wait_text("chosen-output", "11 <img src=x")
        self.page.show("matrix")
        self.page.choose_with_mouse(11, 11)
        self.page.find("take").click()
        self.assertEqual(self.page.wait_answer("11 <img")[0], "done")
        self.page.show("history")
        self.page.wait_text("history-rows", "11 <img src=x")
        self.assertEqual(self.driver.execute_script("return document.querySelectorAll('img').length"), 0)
        self.assertEqual(self.driver.title, "korapanel")

    def test_search_finds_names_and_locks(self):
        self.chain.do("protect", "1:200", "--lpr-id", 60)
        self.addCleanup(self.chain.do, "release", "1:200", "--force")
        self.page.keys("/")
        self.assertEqual(self.page.focused(), "search")

        def found():
            self.page.find("search").clear()
            self.page.find("search").send_keys("protected by 60")
            return "200 " in self.page.text("found")

        wait_until(found, "the protected output is found")
        self.page.keys(Keys.ENTER)
        self.page.wait_text("chosen-output", "200 ")
        self.page.wait_text("where", "output 200 ")
