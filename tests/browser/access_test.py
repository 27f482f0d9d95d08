"""Who may look and press: tokens and sessions."""

import subprocess
import urllib.error
import urllib.request

from page import Page
from panel_case import BRIEF_PORT, CLOSED_PORT, TOKEN_PORT, PanelCase
from waiting import wait_until


class AccessTest(PanelCase):
    tokens = {}

    def setUp(self):
        super().setUp()
        self.file = self.chain.folder / "tokens"
        if not self.tokens:
            for name, right in (("anna", "control"), ("ben", "read")):
                self.tokens[name] = self.add_token(name, right)
            self.chain.start_panel(TOKEN_PORT, "--control", "--tokens", self.file)
        self.page = Page(self.driver, f"http://127.0.0.1:{TOKEN_PORT}")
        self.driver.get("about:blank")
        self.driver.delete_all_cookies()
        self.driver.execute_cdp_cmd("Network.clearBrowserCookies", {})

    def add_token(self, name, right):
        result = subprocess.run([self.chain.programs / "korapanel", "--tokens", self.file, "token", "add", name, f"--{right}"],
                                capture_output=True, text=True, check=True)
        return result.stdout.strip()

    def sign_in(self, token):
        wait_until(lambda: self.page.is_shown("token-page"), "the page asks for a token")
        self.page.find("token").clear()
        self.page.find("token").send_keys(token)
        self.page.find("token-open").click()

    def test_without_a_token_nothing_is_shown(self):
        self.page.open()
        wait_until(lambda: self.page.is_shown("token-page"), "the page asks for a token")
        self.assertFalse(self.page.is_shown("app"))
        for path in ("state", "levels", "levels/1/outputs", "names", "history", "events"):
            with self.assertRaises(urllib.error.HTTPError) as refused:
                urllib.request.urlopen(f"{self.page.address}/api/{path}", timeout=5)
            self.assertEqual(refused.exception.code, 401, path)

    def test_wrong_token_is_told_and_the_right_one_opens(self):
        self.page.open()
        self.sign_in("anna.wrong")
        self.page.wait_text("token-trouble", "none of the panel's tokens")
        def opens():
            if "wait" in self.page.text("token-trouble"):
                self.page.find("token-open").click()
            return self.page.is_shown("app")
        self.page.find("token").clear()
        self.page.find("token").send_keys(self.tokens["anna"])
        self.page.find("token-open").click()
        wait_until(opens, "the panel opens")
        self.page.ready()
        self.assertEqual(self.page.text("who"), "anna")
        self.page.choose_with_mouse(21, 5)
        self.page.find("take").click()
        self.assertEqual(self.page.wait_answer("21 ")[0], "done")
        self.page.wait_text("newest", "anna took 5 ")
        self.assertEqual(self.driver.execute_script("return document.cookie"), "")

    def test_who_may_only_look_cannot_press(self):
        self.page.open()
        self.sign_in(self.tokens["ben"])
        self.page.ready()
        self.page.choose_with_mouse(22, 5)
        self.assertEqual(self.page.text("why-not"), "This panel, or this session, may only look.")
        for button in ("take", "lock", "protect", "release"):
            self.assertFalse(self.page.is_enabled(button))
            self.page.find(button).click()
        self.assertEqual(self.page.answers(), [])
        status = self.driver.execute_async_script("""fetch("/api/takes", {method: "POST", headers: {"Content-Type": "application/json"},
            body: JSON.stringify({coherent: false, takes: [{level: 1, output: 22, input: 5}]})}).then((r) => arguments[0](r.status));""")
        self.assertEqual(status, 403)
        self.assertNotEqual(self.chain.status(1, 22)[0], "5")

    def test_panel_without_control_may_only_look(self):
        self.chain.start_panel(CLOSED_PORT)
        self.page = Page(self.driver, f"http://127.0.0.1:{CLOSED_PORT}")
        self.page.open().ready()
        self.page.choose_with_mouse(22, 6)
        self.assertFalse(self.page.is_enabled("take"))
        self.chain.panels.pop(CLOSED_PORT).kill()

    def test_session_that_ends_shows_the_token_page(self):
        token = self.add_token("carl", "control")
        self.page.open()
        self.sign_in(token)
        self.page.ready()
        self.page.choose_with_mouse(23, 5)
        self.file.write_text("".join(line for line in self.file.read_text().splitlines(True) if not line.startswith("carl ")))
        self.page.find("take").click()
        wait_until(lambda: self.page.is_shown("token-page"), "the page asks for a token again")
        self.assertIn("ended", self.page.text("token-trouble"))
        self.assertNotEqual(self.chain.status(1, 23)[0], "5")

    def test_expired_session_shows_the_token_page(self):
        self.chain.start_panel(BRIEF_PORT, "--control", "--tokens", self.file, "--session", "3s")
        self.page = Page(self.driver, f"http://127.0.0.1:{BRIEF_PORT}")
        self.page.open()
        self.sign_in(self.tokens["anna"])
        self.page.ready()
        wait_until(lambda: self.page.is_shown("token-page"), "the session expires")
        self.assertIn("ended", self.page.text("token-trouble"))
        self.assertFalse(self.page.is_shown("app"))

    def test_leaving_ends_the_session(self):
        self.page.open()
        self.sign_in(self.tokens["anna"])
        self.page.ready()
        self.page.find("close-session").click()
        wait_until(lambda: self.page.is_shown("token-page"), "the page asks for a token")
        self.driver.get("about:blank")  # the same address alone would not load the page again
        self.page.open()
        wait_until(lambda: self.page.is_shown("token-page"), "the page still asks for a token")
