#!/usr/bin/env python3
"""Makes the picture of the page of ko live that the documentation shows, docs/pictures/live.jpg.

usage: live_picture.py KO PHOTOGRAPH

A simulated sensor of 12 bits looks at the photograph while its lens is focused. Needs what the test of the page needs
(packages_browser in ./dev), GStreamer, NumPy, SciPy and Pillow. The picture is kept in the repository, as those who
only build the documentation do not have all that.
"""
import io
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import numpy
from PIL import Image
from scipy.ndimage import gaussian_filter
from selenium import webdriver
from selenium.webdriver.chrome.service import Service

PICTURE = Path(__file__).resolve().parents[2] / "docs/pictures/live.jpg"
SIZE = 1080, 720
FRAMES, RATE = 60, 5
SENSOR = 0.55, 0.95, 0.7  # what it sees of red, green and blue light
ELECTRONS = 8000  # of a pixel that is full
IS_SHARP = 'return Number(document.getElementById("focus").textContent) > 0.9 * document.getElementById("best").textContent'
WINDOW = "1280,1005"


def write_frames(directory, photograph):
    """A mosaic for each step of the lens: from blurred to sharp and past it, again and again, until it stays."""
    random = numpy.random.default_rng(1)
    levels = numpy.asarray(Image.open(photograph).convert("RGB").resize(SIZE, Image.LANCZOS)) / 255
    light = numpy.where(levels <= 0.04045, levels / 12.92, ((levels + 0.055) / 1.055) ** 2.4) * SENSOR
    for number in range(FRAMES):
        distance = abs(6 * numpy.cos(number / 4) * max(0, 1 - number / 40))
        red, mosaic, blue = (gaussian_filter(light[..., colour], distance) for colour in range(3))
        mosaic[::2, ::2], mosaic[1::2, 1::2] = red[::2, ::2], blue[1::2, 1::2]
        samples = random.poisson(ELECTRONS * mosaic) * (4095 / ELECTRONS) + 40
        numpy.clip(samples, 0, 4095).astype("<u2").tofile(directory / f"{number:03}.raw")


def take_picture(url):
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     f"--window-size={WINDOW}"):
        options.add_argument(argument)
    browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    try:
        browser.get(url)
        time.sleep(FRAMES / RATE)  # until the course of the focus shows something
        browser.execute_script(f"wish({{gains: {[SENSOR[1] / colour for colour in SENSOR]}}})")
        time.sleep(1)
        while not browser.execute_script(IS_SHARP):
            time.sleep(0.1)
        picture = Image.open(io.BytesIO(browser.get_screenshot_as_png())).convert("RGB")
        picture.save(PICTURE, quality=85, optimize=True)
    finally:
        browser.quit()


def main():
    tool, photograph = sys.argv[1:]
    with tempfile.TemporaryDirectory() as name:
        write_frames(Path(name), photograph)
        width, height = SIZE
        source = (f"multifilesrc location=%03d.raw stop-index={FRAMES - 1} loop=true ! rawvideoparse format=gray16-le "
                  f"width={width} height={height} framerate={RATE}/1 ! clocksync ! capssetter join=false replace=true "
                  f"caps=video/x-bayer,format=rggb12le,width={width},height={height},framerate={RATE}/1")
        run = subprocess.Popen([Path(tool).resolve(), "live", source, "--http", "0"], cwd=name, stdout=subprocess.PIPE,
                               text=True)
        try:
            take_picture(run.stdout.readline().strip())
        finally:
            run.terminate()
            run.wait()


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main()
