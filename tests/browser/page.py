"""What a user sees of the page and does with it."""

from selenium.webdriver import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

from waiting import wait_until

# The matrix as it is drawn for a mouse, in CSS pixels.
CELL, LEFT, TOP = 24, 360, 128


class Page:
    def __init__(self, driver, address):
        self.driver, self.address = driver, address

    def open(self, view="matrix"):
        self.driver.get(f"{self.address}/#/{view}")
        return self

    def ready(self):
        """Opened, and everything has come."""
        wait_until(lambda: "lit" in self.find("lamp-router").get_attribute("class"), "the router's lamp is lit")
        wait_until(lambda: self.find("levels").find_elements(By.TAG_NAME, "button"), "there are levels")
        shown = """const text = document.getElementById("where").textContent + (document.getElementById("destinations-1")?.textContent ?? "");
            return text !== "" && !text.includes("not known");"""
        if self.driver.current_url.endswith(("matrix", "xy")):
            wait_until(lambda: self.driver.execute_script(shown), "the first output is known")
        return self

    def show(self, view):
        self.find(f"to-{view}").click()
        wait_until(lambda: self.find(f"view-{view}").is_displayed(), f"the view {view}")
        return self

    def find(self, element):
        return self.driver.find_element(By.ID, element)

    def text(self, element):
        return self.driver.execute_script("return document.getElementById(arguments[0]).textContent", element)

    def is_shown(self, element):
        return self.driver.execute_script("return document.getElementById(arguments[0]).checkVisibility()", element)

    def wait_text(self, element, part):
        return wait_until(lambda: part in self.text(element) and self.text(element), f"'{part}' in {element}")

    def is_enabled(self, button):
        return self.find(button).get_attribute("aria-disabled") == "false"

    def focused(self):
        return self.driver.switch_to.active_element.get_attribute("id")

    def keys(self, *keys):
        """To whatever has the focus."""
        ActionChains(self.driver, duration=0).send_keys(*keys).perform()

    # The matrix

    def over_crosspoint(self, output, number):
        """An action that begins with the mouse over a crosspoint near the matrix's beginning."""
        matrix = self.find("matrix")
        size = matrix.size
        x = LEFT + (number - 0.5) * CELL - size["width"] / 2 + 1
        y = TOP + (output - 0.5) * CELL - size["height"] / 2 + 1
        return ActionChains(self.driver, duration=0).move_to_element_with_offset(matrix, int(x), int(y))

    def words_of(self, output, number):
        self.over_crosspoint(output, number).perform()
        return self.wait_text("where", f"output {output} ")

    def choose_with_mouse(self, output, number):
        self.driver.execute_script("document.getElementById('matrix').scrollTo(0, 0)")
        self.over_crosspoint(output, number).click().perform()
        self.wait_text("chosen-output", f"{output} ")
        self.wait_text("chosen-input", f"{number} ")

    def choose_with_keyboard(self, output, number):
        self.driver.execute_script("document.getElementById('matrix').focus()")
        ActionChains(self.driver, duration=0).key_down(Keys.CONTROL).send_keys(Keys.HOME).key_up(Keys.CONTROL).perform()
        self.keys(Keys.ARROW_DOWN * (output - 1) + Keys.ARROW_RIGHT * (number - 1))
        self.keys(Keys.ENTER)
        self.wait_text("chosen-output", f"{output} ")
        self.wait_text("chosen-input", f"{number} ")

    # The answers

    def answers(self):
        """(state, title, words) of each press of this page, the newest first."""
        return self.driver.execute_script("""
            return [...document.querySelectorAll("#answers > li")].map((each) => [each.className.replace("answer ", ""),
              each.querySelector(".title").textContent, each.querySelector(".words").textContent]);""")

    def wait_answer(self, title):
        """How the newest press ended: its state and words."""
        def ended():
            newest = self.answers()[:1]
            return newest and title in newest[0][1] and newest[0][0] != "pending" and newest[0]
        state, _, words = wait_until(ended, f"an answer to '{title}'; there are {self.answers()}")
        return state, words

    def option(self, of_list, number):
        """The text of a list's item, or nothing when it is out of sight."""
        return self.driver.execute_script("return document.getElementById(arguments[0])?.textContent ?? ''", f"{of_list}-{number}")

    def wait_option(self, of_list, number, part):
        return wait_until(lambda: part in self.option(of_list, number) and self.option(of_list, number),
                          f"'{part}' in item {number} of {of_list}: {self.option(of_list, number)}")
