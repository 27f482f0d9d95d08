"""The pictures of docs/panel.md and the README: the page as it is, with a plant that looks like one."""

import chromium
from page import Page
from panel_case import OPEN_PORT, Stage
from waiting import wait_until


def _prepare(chain):
    routes = [f"1:{(number * 7) % 30 + 1}:{number}" for number in range(1, 120)]
    chain.do("take", *routes, "1:1:9", "1:1:10", "1:2:12", *(f"2:{number}:{number}" for number in range(1, 80)))
    chain.do("lock", "1:4", "1:13", "--lpr-id", 12)
    chain.do("protect", "1:7", "1:20", "--lpr-id", 60)
    (chain.salvos / "evening news").write_text("koractl-backup 1\nlevel 1\n" + "".join(
        f"output {number} input {number % 12 + 1}\n" for number in range(1, 17)))


def make(folder):
    folder.mkdir(parents=True, exist_ok=True)
    Stage.set(markup=False)
    chain, driver = Stage.chain, Stage.driver
    _prepare(chain)
    page = Page(driver, f"http://127.0.0.1:{OPEN_PORT}")

    def look(**how):
        chromium.look_like(driver, **how)
        for _ in range(3):  # lists and canvas follow a new size a frame later
            driver.execute_async_script("requestAnimationFrame(arguments[0])")

    def picture(name):
        wait_until(lambda: driver.execute_script("return document.readyState") == "complete", "the page is there")
        driver.save_screenshot(str(folder / f"panel-{name}.png"))

    look(dark=True)
    page.open().ready()
    page.choose_with_mouse(4, 8)
    page.find("take").click()
    page.wait_answer("4 ")
    for output, source in ((2, 9), (6, 5)):
        page.choose_with_mouse(output, source)
        page.find("take").click()
        page.wait_answer(f"→ {output} ")
    page.choose_with_mouse(15, 11)
    wait_until(lambda: all("shows it" in words for state, _, words in page.answers() if state == "done"), "the router follows")
    look(dark=True)
    picture("matrix-dark")
    look(dark=False)
    picture("matrix")
    page.show("xy")
    look(dark=False)
    picture("xy")
    page.show("salvos")
    wait_until(lambda: driver.find_elements("css selector", ".salvo"), "a salvo")
    driver.find_element("css selector", ".salvo").click()
    page.wait_text("salvo-summary", "differ")
    look(dark=False)
    picture("salvo")
    page.show("matrix")
    look(width=820, height=1180, touch=True, dark=True)
    picture("tablet")
    look(dark=False)
    chain.bridge.kill()
    wait_until(lambda: page.is_shown("lost"), "the loss is shown")
    look(dark=False)
    picture("lost")
