"""Debian's Chromium without a screen. One process serves many tests; each page is a window of it."""

import json
from pathlib import Path

from selenium import webdriver
from selenium.webdriver.chrome.service import Service


def start(folder):
    options = webdriver.ChromeOptions()
    # Root of a namespace has no sandbox of its own to enter; what is shown is only this project's page.
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--disable-background-networking",
                     "--disable-component-update", "--no-first-run", "--force-color-profile=srgb", "--disable-background-timer-throttling",
                     "--disable-backgrounding-occluded-windows", "--disable-renderer-backgrounding", f"--user-data-dir={Path(folder) / 'profile'}"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"performance": "ALL", "browser": "ALL"})
    driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    driver.set_script_timeout(60)
    driver.set_page_load_timeout(60)  # the driver's own, 300 s, is longer than all of the tests may take
    return driver


def look_like(driver, width=1440, height=900, dark=False, touch=False, scale=1):
    """The window's size, the user's taste, and whether there are fingers instead of a mouse."""
    driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                           {"width": width, "height": height, "deviceScaleFactor": scale, "mobile": touch})
    driver.execute_cdp_cmd("Emulation.setTouchEmulationEnabled", {"enabled": touch})
    driver.execute_cdp_cmd("Emulation.setEmulatedMedia",
                           {"features": [{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}]})


class Requests:
    """Every address that the browser asked for, from its own log."""

    def __init__(self, driver):
        self._driver, self._found = driver, set()

    def found(self):
        for entry in self._driver.get_log("performance"):
            message = json.loads(entry["message"])["message"]
            if message["method"] == "Network.requestWillBeSent":
                self._found.add(message["params"]["request"]["url"])
            elif message["method"] == "Network.webSocketCreated":
                self._found.add(message["params"]["url"])
        return self._found
