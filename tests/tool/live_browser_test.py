"""The page of ko live in a browser: the picture moves, the histogram follows the exposure, every control acts."""

import json
import os
import shutil
import unittest

import ko_files
import live_run
from live_run import BALL, FAKE_CAMERA, LiveTest, status_of

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.options import Options
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
    from selenium.webdriver.support.ui import Select
except ImportError:
    webdriver = None

DRIVER = shutil.which("chromedriver")

# The pixels of the live picture, as a number that differs when they do.
PICTURE = """
const image = document.getElementById("picture"), canvas = document.createElement("canvas");
if (!image.naturalWidth) return 0;
canvas.width = canvas.height = 32;
const drawing = canvas.getContext("2d");
drawing.drawImage(image, 0, 0, 32, 32);
return drawing.getImageData(0, 0, 32, 32).data.reduce((sum, value, i) => (31 * sum + value + i) % 1000003, 7);
"""

# The greatest level with a column in the histogram, as a share of all levels.
BRIGHTEST = """
const canvas = document.getElementById("histogram");
const data = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height - 4).data;
let last = 0;
for (let i = 3; i < data.length; i += 4)
    if (data[i] > 40) last = Math.max(last, (i >> 2) % canvas.width);
return last / canvas.width;
"""

SET = """
const input = document.getElementById(arguments[0]);
input.value = arguments[1];
for (const event of ["input", "change"]) input.dispatchEvent(new Event(event));
"""


@unittest.skipUnless(webdriver and DRIVER, "a browser comes with python3-selenium and chromium-driver")
class Browser(LiveTest):
    @classmethod
    def setUpClass(cls):
        options = Options()
        options.page_load_strategy = "eager"  # a page has only been loaded when its first picture is there
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--window-size=1280,900"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        cls.browser = webdriver.Chrome(service=Service(DRIVER), options=options)

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()

    def open(self, *arguments):
        run, url = self.serve(*arguments)
        self.browser.get_log("browser")  # of the test before
        self.browser.get(url)
        self.wait_for(lambda: self.text("format"))
        self.addCleanup(lambda: self.browser.get("about:blank"))
        return run, url

    def find(self, name):
        return self.browser.find_element(By.ID, name)

    def text(self, name):
        return self.find(name).text

    def run_script(self, script, *arguments):
        return self.browser.execute_script(script, *arguments)

    def expect_no_complaints(self):
        self.assertEqual([line["message"] for line in self.browser.get_log("browser") if line["level"] == "SEVERE"], [])

    def test_the_picture_moves_and_the_figures_are_there(self):
        self.open(BALL)
        first = self.wait_for(lambda: self.run_script(PICTURE))
        self.wait_for(lambda: self.run_script(PICTURE) != first)
        self.assertEqual(self.text("camera"), BALL)
        self.assertEqual(self.text("format"), "320 × 240, 8 bits, RGGB")
        self.wait_for(lambda: float(self.text("rate")) > 5)
        self.assertRegex(self.text("delay"), r"^\d+\.\d ms$")
        self.assertRegex(self.text("clipped"), r"^\d+\.\d+ %\s\d+\.\d+ %\s\d+\.\d+ %\sclipped$")
        self.assertGreater(float(self.text("focus")), 0)
        self.assertFalse(self.find("settings").is_displayed(), "GStreamer has no controls of the camera")
        self.expect_no_complaints()

    def test_a_click_shows_the_pixels_of_a_place(self):
        self.open(BALL.replace("ball", "smpte"))
        self.wait_for(lambda: self.run_script(PICTURE))
        self.assertFalse(self.find("pixels").is_displayed())
        self.find("picture").click()
        self.wait_for(lambda: self.find("pixels").get_property("naturalWidth"))

        def region():
            return self.run_script("return [region.x, region.y, region.width, region.height]")

        x, y, width, height = region()
        self.assertTrue(abs(x + width / 2 - 160) <= 4 and abs(y + height / 2 - 120) <= 4, "the middle was clicked")
        self.assertEqual(self.find("pixels").get_property("naturalWidth"), width)
        loupe, picture = self.find("loupe").rect, self.find("picture").rect
        self.assertAlmostEqual(loupe["width"] / picture["width"], width / 320, delta=0.05)
        Select(self.find("scale")).select_by_value("16")
        self.wait_for(lambda: self.find("pixels").get_property("naturalWidth") == region()[2] < width)
        self.assertEqual(self.find("pixels").value_of_css_property("image-rendering"), "pixelated")
        self.find("leave").click()
        self.assertFalse(self.find("pixels").is_displayed() or self.find("loupe").is_displayed())
        self.expect_no_complaints()

    def test_keys_show_the_pixels_of_a_place(self):
        self.open(BALL.replace("ball", "smpte"))
        self.wait_for(lambda: self.run_script(PICTURE))

        def place():
            return self.run_script("return region ? [region.x, region.y, region.width] : null")

        def press(*keys):
            self.browser.switch_to.active_element.send_keys(*keys)
            return place()

        self.run_script("document.getElementById('whole').focus()")
        x, y, width = press(Keys.ENTER)
        self.wait_for(lambda: self.find("pixels").get_property("naturalWidth") == width)
        self.assertEqual((x % 2, y % 2), (0, 0))
        self.assertTrue(abs(x + width / 2 - 160) <= 4, "the middle is shown")
        self.assertGreater(press(Keys.ARROW_RIGHT)[0], x)
        self.assertEqual(press(Keys.ARROW_LEFT), [x, y, width])
        self.assertGreater(press(Keys.ARROW_DOWN)[1], y)
        self.assertEqual(press(Keys.ARROW_UP), [x, y, width])
        self.assertEqual(press(Keys.SHIFT + Keys.ARROW_RIGHT + Keys.NULL), [x + 2, y, width])
        self.assertLess(press("+")[2], width)
        self.assertEqual(press("-")[2], width)
        self.wait_for(lambda: self.find("pixels").get_property("naturalWidth") == width)
        self.assertEqual(self.run_script("return scrollY"), 0, "the arrows do not scroll")
        self.assertIsNone(press(Keys.ESCAPE))
        press(" ")
        self.find("leave").send_keys(Keys.ENTER)
        self.assertEqual(self.run_script("return document.activeElement.id"), "whole")
        self.assertFalse(self.find("pixels").is_displayed() or self.find("loupe").is_displayed())
        self.expect_no_complaints()

    def test_it_is_told_where_no_picture_comes(self):
        run, url = self.serve("videotestsrc is-live=true ! identity drop-probability=1 ! "
                              "video/x-bayer,format=rggb,width=320,height=240")
        self.browser.get(url)
        self.wait_for(lambda: self.shows("state", "No picture yet"))
        self.assertEqual(self.text("delay"), "–")
        self.browser.get("about:blank")

    @unittest.skipUnless(FAKE_CAMERA, "the fake camera comes with aravis-tools")
    def test_it_is_told_that_the_camera_is_lost_and_is_back(self):
        camera = self.plug_in()
        self.open("Aravis-GV01", "--roi", "0,0,320,240")
        self.wait_for(lambda: not self.find("state").is_displayed())
        camera.kill()
        camera.wait()
        self.wait_for(lambda: self.shows("state", "Camera lost"))
        self.assertIn("connection lost", self.text("trouble"))
        self.plug_in()
        self.wait_for(lambda: not self.find("state").is_displayed() and not self.find("trouble").is_displayed())

    def shows(self, name, text):
        return self.run_script("const box = document.getElementById(arguments[0]);"
                               "return box !== null && !box.hidden && box.textContent === arguments[1]", name, text)

    def test_the_display_is_changed_for_everybody(self):
        run, url = self.open(BALL.replace("ball", "smpte"))
        before = self.wait_for(lambda: self.run_script(PICTURE))
        self.run_script(SET, "red-slider", 3)
        self.wait_for(lambda: status_of(url)["look"]["gains"] == [3, 1, 1])
        self.wait_for(lambda: self.run_script(PICTURE) != before)
        self.wait_for(lambda: self.text("red-number") == "3.00")
        self.find("linear").click()
        self.wait_for(lambda: not status_of(url)["look"]["linear"])
        self.find("balance").click()
        self.wait_for(lambda: status_of(url)["look"]["gains"][0] not in (1, 3))
        self.find("neutral").click()
        self.wait_for(lambda: status_of(url)["look"]["gains"] == [1, 1, 1])
        self.wait_for(lambda: self.text("red-number") == "1.00")
        self.expect_no_complaints()

    @unittest.skipUnless(FAKE_CAMERA, "the fake camera comes with aravis-tools")
    def test_the_histogram_follows_exposure_and_gain(self):
        self.plug_in()
        run, url = self.open("Aravis-GV01", "--exposure", "10000")
        bright = self.wait_for(lambda: self.run_script(BRIGHTEST))
        self.assertTrue(self.find("exposure").is_displayed() and self.find("gain").is_displayed())
        self.assertEqual(self.find("exposure-number").get_property("value"), "10000")
        self.run_script(SET, "exposure-number", 2500)
        self.wait_for(lambda: status_of(url)["exposure"]["value"] == 2500)
        self.wait_for(lambda: self.run_script(BRIGHTEST) < bright / 2)
        self.run_script(SET, "exposure-slider", 1000)  # the greatest
        self.wait_for(lambda: status_of(url)["exposure"]["value"] > 1e6)
        self.run_script(SET, "gain-slider", 500)
        self.wait_for(lambda: status_of(url)["gain"]["value"] > 0)
        self.expect_no_complaints()

    def test_wide_and_narrow_bright_and_dark(self):
        self.open(BALL)
        for width in (320, 390, 800, 1280, 2000):
            self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
                "width": width, "height": 800, "deviceScaleFactor": 1, "mobile": width < 600})
            self.assertLessEqual(self.run_script("return document.documentElement.scrollWidth"), width)
        self.browser.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})
        colours = {}
        for scheme in ("light", "dark"):
            self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
                "features": [{"name": "prefers-color-scheme", "value": scheme}]})
            colours[scheme] = [sum(json.loads("[" + self.find_css(name).split("(")[1].split(")")[0] + "]")[:3])
                               for name in ("background-color", "color")]
        self.assertGreater(colours["light"][0], 600)
        self.assertLess(colours["light"][1], 150)
        self.assertLess(colours["dark"][0], 100)
        self.assertGreater(colours["dark"][1], 600)

    def find_css(self, name):
        return self.browser.find_element(By.TAG_NAME, "body").value_of_css_property(name)

    def test_an_end_is_told(self):
        run, url = self.open(BALL)
        self.assertFalse(self.find("trouble").is_displayed())
        self.end(run)
        self.wait_for(lambda: self.find("trouble").is_displayed())
        self.assertIn("No answer from ko live. It has ended or", self.text("trouble"))
        self.assertTrue(self.shows("state", "No answer"))


if __name__ == "__main__":
    live_run.leave_network()
    os.environ["NO_PROXY"] = "*"  # the browser's driver is asked over the network as well
    ko_files.main()
