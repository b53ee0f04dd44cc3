"""What tests of pages share: a browser without a window, what it can be asked, and what can be done in it.

Room: tests. Whoever imports it is called with SETTINGS_JSON as first argument, or without when it asks no tool.
"""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

SETTINGS = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8")) if sys.argv[1].endswith(".json") else {}
TOOL = [*SETTINGS.get("emulator", []), SETTINGS.get("tool")]

# What every script that a test runs in a page may use.
HELPERS = """
const isInSight = element => {
  const box = element.getBoundingClientRect();
  const top = document.elementFromPoint((box.left + Math.min(box.right, innerWidth)) / 2, (box.top + box.bottom) / 2);
  return top !== null && (top === element || element.contains(top));
};
"""

# And what measures how well text stands out: colour(text) is [red, green, blue, opacity] of 255, ground(element)
# the colour behind it, and contrast(one, other) what accessibility guidelines call the contrast ratio, of 1 to 21.
CONTRAST = """
const context = document.createElement("canvas").getContext("2d", {willReadFrequently: true});
const colour = text => {
  context.clearRect(0, 0, 1, 1);
  context.fillStyle = text;
  context.fillRect(0, 0, 1, 1);
  return [...context.getImageData(0, 0, 1, 1).data];
};
const luminance = rgb => {
  const [r, g, b] = rgb.slice(0, 3).map(each => each / 255)
    .map(each => each <= 0.04045 ? each / 12.92 : ((each + 0.055) / 1.055) ** 2.4);
  return 0.2126 * r + 0.7152 * g + 0.0722 * b;
};
const contrast = (one, other) => {
  const [low, high] = [luminance(one), luminance(other)].sort((a, b) => a - b);
  return (high + 0.05) / (low + 0.05);
};
const ground = element => {
  for (let at = element; at; at = at.parentElement) {
    const found = colour(getComputedStyle(at).backgroundColor);
    if (found[3] === 255) return found;
    if (found[3] !== 0) throw Error("half transparent");
  }
  throw Error("nothing behind it");
};
"""


class BrowserTest(unittest.TestCase):
    """With a browser of its own, whose page has complained of nothing when the test ends."""

    maxDiff = None
    helpers = HELPERS

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="mesh-fib6-browser.", ignore_cleanup_errors=True)
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        # Nothing answers at the proxy: a page that wants something from a network gets an error.
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                         "--proxy-server=127.0.0.1:9", "--proxy-bypass-list=<-loopback>",
                         "--force-prefers-reduced-motion", "--force-device-scale-factor=1",
                         f"--user-data-dir={self.folder / 'browser'}"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.addCleanup(self.browser.quit)
        self.browser.set_page_load_timeout(60)
        self.browser.set_script_timeout(60)
        self.resize(1400, 900)

    def tearDown(self):
        self.assertEqual(self.complaints(), [], "the page complained")

    def complaints(self):
        """What the browser has logged since it was asked last."""
        return [entry["message"] for entry in self.browser.get_log("browser")]

    def resize(self, width, height):
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})

    def prefer(self, scheme):
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "features": [{"name": "prefers-color-scheme", "value": scheme}]})

    def tool(self, *arguments, given=b"", statuses=(0,)):
        done = subprocess.run([*TOOL, *arguments], input=given, capture_output=True, timeout=100, check=False)
        self.assertIn(done.returncode, statuses, done.stderr)
        return done.stdout

    def open(self, page):
        """Opens a page, of bytes, as a file; its text."""
        path = self.folder / "page.html"
        path.write_bytes(page)
        self.browser.get(path.as_uri())
        return page.decode()

    # What there is to see.

    def run_script(self, script, *arguments):
        return self.browser.execute_script(self.helpers + script, *arguments)

    def find(self, selector):
        return self.browser.find_element("css selector", selector)

    # What there is to do.

    def hover(self, element):
        self.run_script("arguments[0].scrollIntoView({block: 'nearest'})", element)
        ActionChains(self.browser, duration=0).move_to_element_with_offset(
            element, 8 - element.rect["width"] // 2 if element.rect["width"] > 40 else 0, 0).perform()

    def press(self, *keys):
        ActionChains(self.browser, duration=0).send_keys(*keys).perform()

    def press_with_shift(self, key):
        ActionChains(self.browser, duration=0).key_down(Keys.SHIFT).send_keys(key).key_up(Keys.SHIFT).perform()

    # What holds of every page.

    def assert_wants_nothing_from_elsewhere(self, page):
        self.assertNotRegex(page, r"(?i)\b(src|srcset|action|poster)\s*=|url\(|@import|//[a-z]+\.|https?:")
        self.assertNotRegex(page, r"(?i)<(link|base|iframe|object|embed|img)\b")
        self.assertNotRegex(page, r"\b(fetch|XMLHttpRequest|WebSocket|EventSource|sendBeacon|import)\b *\(")
        self.assertEqual(self.run_script("return performance.getEntriesByType('resource').map(each => each.name)"), [])


def main(test_class):
    unittest.main(argv=[sys.argv[0], *[f"{test_class.__name__}.test_{case}" for case in sys.argv[2:]]],
                  module=test_class.__module__)
