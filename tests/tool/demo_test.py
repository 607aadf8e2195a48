"""The pages that ./dev demo makes."""

import os
import re
import statistics
import subprocess
import sys
from pathlib import Path
from urllib.parse import unquote

import ko_files
from ko_files import ToolTest, png, random_samples, read_tiff
from raw_test import dng

SCRIPTS = Path(__file__).parents[2] / "tools/demo"


class PageTest(ToolTest):
    def make_page(self, script, file, *arguments):
        """Runs a script: how it ended, the page, and the pictures on it, which are there.

        The page links to the others that the demonstration makes, and not to itself.
        """
        run = subprocess.run([sys.executable, "-B", SCRIPTS / script, ko_files.TOOL, "page", *arguments],
                             cwd=self.dir, capture_output=True, text=True)
        page = self.read("page/" + file).decode()
        self.assertIn(os.path.realpath(self.path("page/" + file)), run.stdout)
        others = set(re.findall(r'href="([^"]*\.html)"', page))
        self.assertIn(others, ({"index.html", "coins.html", "camera.html"} - {file}, set()))
        self.assertEqual("raws" in arguments, not others)
        links = re.findall(r'(?:href|src)="([^"]*(?<!\.html))"', page) + re.findall(r"url\(([^)]*)\)", page)
        for link in links:
            self.assertGreater(os.path.getsize(self.path("page/" + unquote(link))), 0)
        return run, page, set(map(unquote, links))


class Gallery(PageTest):
    def gallery(self, *arguments):
        return self.make_page("gallery.py", "index.html", *arguments)

    def test_photographs_stand_beside_what_the_sensor_saw_and_every_method_with_its_ratios(self):
        self.write("one & two.png", png(8, 6, random_samples(144, 255, 1), channels=3))
        self.write("odd.png", png(9, 7, [90] * 189, channels=3))
        run, page, links = self.gallery("photos", "one & two.png", "odd.png")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        names = ("one & two", "odd")
        self.assertEqual(links, {f"{folder}/{name}.png" for folder in ("originals", "mosaics") for name in names} |
                         {f"results/{name}-{method}.png" for name in names for method in ("menon", "malvar", "linear")})
        self.assertIn("<h2>one &amp; two.png</h2>", page)
        self.assertLess(page.index('src="results/one%20%26%20two-menon.png"'), page.index("<h2>"))
        self.assertIn("What the sensor delivered, RGGB", page)
        self.assertIn("What the sensor delivered, BGGR", page)
        for row in ("menon", "malvar", "linear", "linear, moved back by one pixel"):
            self.assertEqual(page.count(f"<tr><td>{row}</td>"), 2)
        self.assertEqual(len(re.findall(r"<td>\d+ ms</td>", page)), 6)
        # A picture of one colour comes back up to one level.
        worst = min(float(n) for n in re.findall(r"<td>(\d+\.\d+|inf) dB</td>", page.split("<h2>odd.png")[1]))
        self.assertGreater(worst, 48)

    def test_raws_stand_beside_their_mosaic(self):
        self.write("a.dng", dng(32, 24, random_samples(768, 4095, 2), "gbrg", white=4095))
        run, page, links = self.gallery("raws", "a.dng")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertEqual(links, {"mosaics/1-a.jpg", "results/1-a.jpg"})
        self.assertIn("mosaic GBRG", page)

    def test_a_bad_file_is_told_and_left_out(self):
        self.write("bad.png", b"nothing")
        self.write("good.png", png(4, 4, [1] * 48, channels=3))
        run, page, links = self.gallery("photos", "bad.png", "good.png")
        self.assertEqual(run.returncode, 1)
        self.assertRegex(run.stderr, "^ko: page/originals/bad.png: cannot be read as a picture")
        self.assertNotIn("bad.png", page)


class Camera(PageTest):
    def test_noise_and_dark_corners_are_gone_from_the_result(self):
        width, height = 48, 32
        self.write("wall.png", png(width, height, [180, 140, 100] * width * height, channels=3))
        run, page, links = self.make_page("camera.py", "camera.html", "wall.png")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertEqual(links, {f"camera/{name}.png" for name in (
            "original", "scene-1", "frame-colour", "scene-mean", "card-mean", "even", "colour", "equalised",
            "original-equalised")})

        def red(name):
            """Mean of the corner cells and of those in the middle, and deviation of the latter."""
            self.succeed("unpack", f"page/camera/{name}.png", "-o", "bare.tif")
            samples = read_tiff(self.read("bare.tif"))[3]
            cells = {(x, y): samples[y * width + x] / 16 for y in range(0, height, 2) for x in range(0, width, 2)}
            corner = [v for (x, y), v in cells.items() if x % 40 < 8 and y % 24 < 8]
            middle = [v for (x, y), v in cells.items() if 16 <= x < 32 and 10 <= y < 22]
            return statistics.mean(corner), statistics.mean(middle), statistics.pstdev(middle)

        corner, middle, noise = red("scene-1")
        self.assertLess(corner, 0.65 * middle)
        self.assertGreater(noise, 250)
        corner, middle, noise = red("even")
        self.assertAlmostEqual(corner / middle, 1, delta=0.05)
        self.assertLess(noise, 150)


if __name__ == "__main__":
    ko_files.main()
