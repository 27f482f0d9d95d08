"""Salvos: what differs is shown, then applied, and what is refused is named."""

from panel_case import PanelCase
from waiting import wait_until


class SalvoTest(PanelCase):
    def test_difference_is_shown_and_then_applied(self):
        self.chain.do("take", "1:1:101", "1:2:102", "1:3:103")
        self.wait_routed(1, 103, 3)
        (self.chain.salvos / "evening").write_text(
            "koractl-backup 1\nlevel 1\noutput 101 input 1\noutput 102 input 20\noutput 103 input 30\n")
        self.fresh("salvos")
        self.assertEqual(wait_until(lambda: self.page.text("salvo-list"), "a salvo").split(",")[0], "evening3 entries")
        self.page.find("salvo-list").find_element("css selector", "button").click()
        self.page.wait_text("salvo-summary", "2 outputs differ, of 3 entries")
        self.assertEqual([row.split()[2] for row in self._rows()], ["102", "103"])
        self.assertEqual(self.chain.status(1, 102)[0], "2")
        self.page.find("apply-salvo").click()
        self.page.wait_text("salvo-done", "done")
        self.wait_routed(1, 102, 20)
        self.wait_routed(1, 103, 30)
        self.page.wait_text("salvo-summary", "Nothing differs")
        self.assertFalse(self.page.is_enabled("apply-salvo"))

    def test_refused_entry_is_named(self):
        self.chain.do("take", "1:1:104", "1:1:105")
        self.chain.do("lock", "1:104", "--lpr-id", 42)
        self.addCleanup(self.chain.do, "release", "1:104", "--force")
        (self.chain.salvos / "held").write_text("koractl-backup 1\nlevel 1\noutput 104 input 9\noutput 105 input 9\n")
        self.fresh("salvos")
        self.driver.find_element("css selector", "[data-name=held]").click()
        self.page.wait_text("salvo-summary", "2 outputs differ")
        self.assertEqual(["locked by 42" in row for row in self._rows()], [True, False])
        self.page.find("apply-salvo").click()
        self.page.wait_text("salvo-results", "output 104")
        self.assertIn("locked by 42", self.page.text("salvo-results"))
        self.assertIn("1 of 2 done", self.page.text("salvo-done"))
        self.wait_routed(1, 105, 9)

    def test_other_salvo_shows_nothing_of_the_one_before(self):
        for name, output in (("one", 111), ("other", 112)):
            (self.chain.salvos / name).write_text(f"koractl-backup 1\nlevel 1\noutput {output} input 9\n")
        self.fresh("salvos")
        self.driver.find_element("css selector", "[data-name=one]").click()
        self.page.wait_text("salvo-summary", "1 output differs")
        self.page.find("apply-salvo").click()
        self.page.wait_text("salvo-done", "Salvo one: done")
        self.driver.find_element("css selector", "[data-name=other]").click()
        self.page.wait_text("salvo-summary", "1 output differs")
        self.assertEqual(self.page.text("salvo-done"), "")

    def test_salvo_that_is_gone_shows_no_difference_to_apply(self):
        (self.chain.salvos / "brief").write_text("koractl-backup 1\nlevel 1\noutput 113 input 9\n")
        self.fresh("salvos")
        self.driver.find_element("css selector", "[data-name=brief]").click()
        self.page.wait_text("salvo-summary", "1 output differs")
        (self.chain.salvos / "brief").unlink()
        self.chain.do("take", "1:8:114")  # a change makes the page compare again
        self.page.wait_text("salvo-trouble", "no such salvo")
        self.assertEqual(self.page.text("salvo-summary"), "")
        self.assertEqual(self._rows(), [])
        self.assertFalse(self.page.is_enabled("apply-salvo"))

    def _rows(self):
        return self.driver.execute_script("""return [...document.querySelectorAll("#salvo-rows tr")]
            .map((row) => [...row.cells].map((cell) => cell.textContent).join(" "));""")
