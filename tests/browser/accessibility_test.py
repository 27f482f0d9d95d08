"""For everybody: the rules of axe-core on each view, light and dark; no sideways scrolling; a focus that is seen."""

import chromium
from page import Page
from panel_case import OPEN_PORT, TOKEN_PORT, PanelCase, Stage
from selenium.webdriver.common.keys import Keys
from waiting import wait_until

SIZES = {"desk": (1440, 900, False), "tablet": (820, 1180, True), "tablet on its side": (1180, 820, True), "phone": (390, 844, True)}
VIEWS = ("matrix", "xy", "salvos", "history")


class AccessibilityTest(PanelCase):
    def setUp(self):
        super().setUp()
        self.addCleanup(chromium.look_like, self.driver)
        (self.chain.salvos / "late").write_text("koractl-backup 1\nlevel 1\noutput 30 input 9\noutput 31 input 9\n")

    def assert_rules_hold(self, what):
        self.driver.execute_script(Stage.axe.read_text())
        found = self.driver.execute_async_script("""const done = arguments[0];
            axe.run(document, {resultTypes: ["violations"]}).then((result) => done(result.violations.map((each) => each.id + ": " +
              each.help + " at " + each.nodes.map((node) => node.target.join(" ") + " (" + node.failureSummary + ")").join("; "))));""")
        self.assertEqual(found, [], what)

    def test_rules_of_axe_hold_in_each_view(self):
        if not Stage.axe:
            self.skipTest("axe-core is not here")
        self.chain.do("lock", "1:2", "--lpr-id", 12)
        self.chain.do("protect", "1:3", "--lpr-id", 60)
        self.addCleanup(self.chain.do, "release", "1:2", "1:3", "--force")
        self.fresh()
        self.page.choose_with_mouse(2, 9)
        self.page.find("take").click()
        self.page.wait_answer("2 ")
        for dark in (False, True):
            for view in VIEWS:
                self.page.show(view)
                if view == "salvos":
                    wait_until(lambda: self.driver.find_elements("css selector", "[data-name=late]"), "the salvo")
                    self.driver.find_element("css selector", "[data-name=late]").click()
                    self.page.wait_text("salvo-summary", "of 2")
                chromium.look_like(self.driver, dark=dark)
                self.assert_rules_hold(f"{view}, {'dark' if dark else 'light'}")
            self.page.find("search").send_keys("1")
            self.assert_rules_hold("search")
            self.page.find("search").send_keys(Keys.ESCAPE)

    def test_rules_of_axe_hold_when_something_is_lost(self):
        if not Stage.axe:
            self.skipTest("axe-core is not here")
        self.fresh()
        self.chain.router.tell("vanish")
        wait_until(lambda: self.page.is_shown("lost"), "the loss is shown")
        for dark in (False, True):
            chromium.look_like(self.driver, dark=dark)
            self.assert_rules_hold("lost")
        self.chain.router.tell("announce")
        wait_until(lambda: not self.page.is_shown("lost"), "the router is back")

    def test_rules_of_axe_hold_on_the_token_page(self):
        if not Stage.axe:
            self.skipTest("axe-core is not here")
        tokens = self.chain.folder / "no-tokens"
        tokens.write_text("")
        tokens.chmod(0o600)
        panel = self.chain.start_panel(TOKEN_PORT + 10, "--tokens", tokens)
        self.addCleanup(panel.kill)
        page = Page(self.driver, f"http://127.0.0.1:{TOKEN_PORT + 10}").open()
        wait_until(lambda: page.is_shown("token-page"), "the page asks for a token")
        for dark in (False, True):
            chromium.look_like(self.driver, dark=dark)
            self.assert_rules_hold("token page")

    def test_no_size_scrolls_sideways(self):
        self.fresh()
        for name, (width, height, touch) in SIZES.items():
            chromium.look_like(self.driver, width, height, touch=touch)
            for view in VIEWS:
                self.page.show(view)
                # The browser's own width would grow with the page on a touch screen.
                found = self.driver.execute_script("""const [width, height] = arguments;
                    return [document.documentElement.scrollWidth <= width, document.documentElement.scrollHeight <= height,
                      document.getElementById("take").checkVisibility(),
                      [...document.querySelectorAll("button, input, nav a")].filter((each) => each.checkVisibility() &&
                        each.getBoundingClientRect().right > width).map((each) => each.id)];""", width, height)
                self.assertEqual(found, [True, True, True, []], f"{name}, {view}")

    def test_each_stop_of_the_tab_key_is_seen(self):
        self.fresh()
        self.driver.execute_script("document.activeElement.blur()")
        stops = []
        for _ in range(30):
            self.page.keys(Keys.TAB)
            stop, outline = self.driver.execute_script("""const at = document.activeElement;
                return [at.id || at.dataset.level || at.type || at.tagName, parseFloat(getComputedStyle(at).outlineWidth)];""")
            if stop == "BODY" or stop in stops:
                break
            stops.append(stop)
            self.assertGreaterEqual(outline, 2, stop)
        for stop in ("to-matrix", "search", "1", "matrix", "take", "lock", "release"):
            self.assertIn(stop, stops)
