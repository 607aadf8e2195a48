"""ko stats: the figures against hand-worked ones."""

import collections
import json
import math
import struct
from fractions import Fraction

import ko_files
from ko_files import ToolTest, fits_unit, png, tiff


def otsu(samples):
    """The highest level that divides the samples into two classes of the greatest variance between them."""
    counts = collections.Counter(samples)
    total, total_sum = len(samples), sum(samples)
    below = below_sum = 0
    best, threshold = 0, 0
    for level in range(max(samples)):
        below += counts[level]
        below_sum += level * counts[level]
        if below:
            above = total - below
            variance = Fraction((below_sum * total - total_sum * below) ** 2, below * above)
            if variance >= best:
                best, threshold = variance, level
    return threshold


class Stats(ToolTest):
    def figures(self, *arguments):
        return json.loads(self.succeed("stats", *arguments, "--json"))["channels"]

    def test_the_figures_of_each_channel(self):
        self.write("a.png", png(4, 1, [0, 10, 5, 0, 10, 5, 4, 20, 5, 4, 20, 5], channels=3))
        red, green, blue = self.figures("a.png")
        self.assertEqual(red, {"name": "red", "nan": 0, "minimum": 0, "maximum": 4, "mean": 2, "deviation": 2, "entropy": 1,
                               "otsu": 3})
        self.assertEqual((green["minimum"], green["maximum"], green["mean"], green["otsu"]), (10, 20, 15, 19))
        self.assertEqual(blue, {"name": "blue", "nan": 0, "minimum": 5, "maximum": 5, "mean": 5, "deviation": 0, "entropy": 0,
                                "otsu": 0})

    def test_the_table_is_aligned(self):
        self.write("a.tif", tiff(2, 2, [0, 0, 65535, 65535]))
        self.assertEqual(self.succeed("stats", "a.tif"),
                         "a.tif: 16 bits\n"
                         "channel               min          max         mean    deviation      entropy         Otsu\n"
                         "gray                    0        65535    32767.500    32767.500        1.000        65534\n")

    def test_the_columns_of_floats_stay_apart(self):
        self.write("f.tif", tiff(2, 1, [-1.2345678e-20, 1.2345678e20], bits=32, sample_format=3))
        self.assertEqual(self.succeed("stats", "f.tif").splitlines()[1:],
                         ["channel                 min           max         mean    deviation      entropy         Otsu          NaN",
                          "gray         -1.2345678e-20 1.2345678e+20  6.17284e+19  6.17284e+19            -            -            0"])
        self.write("f.tif", tiff(2, 1, [0.001, 0.002], bits=32, sample_format=3))
        self.assertRegex(self.succeed("stats", "f.tif"), r"gray +0\.001 +0\.002 +0\.0015 +0\.0005 +- +- +0\n$")

    def test_masks_and_regions_select(self):
        self.write("a.png", png(3, 2, [1, 2, 3, 4, 5, 6]))
        self.write("m.png", png(3, 2, [1, 0, 1, 0, 1, 1]))
        (gray,) = self.figures("a.png", "--mask", "m.png", "--roi", "1,0,2,2")
        self.assertEqual((gray["minimum"], gray["maximum"], gray["mean"]), (3, 6, 14 / 3))
        self.assertAlmostEqual(gray["entropy"], math.log2(3))

    def test_a_mosaic_has_the_figures_of_each_position(self):
        self.write("a.tif", tiff(4, 2, [1, 2, 1, 2, 3, 4, 3, 6], description="koimproc bits=16 grid=BGGR"))
        self.assertEqual([(c["name"], c["mean"]) for c in self.figures("a.tif")],
                         [("red", 5), ("green 1", 2), ("blue", 1), ("green 2", 3)])

    def test_other_samples_have_neither_entropy_nor_threshold(self):
        self.write("f.tif", tiff(2, 1, [-0.5, 1.5], bits=32, sample_format=3))
        (gray,) = self.figures("f.tif")
        self.assertEqual(gray, {"name": "gray", "nan": 0, "minimum": -0.5, "maximum": 1.5, "mean": 0.5, "deviation": 1,
                                "entropy": None, "otsu": None})
        self.assertRegex(self.succeed("stats", "f.tif"), r"-0\.5 +1\.5 +0\.500 +1\.000 +- +- +0\n$")

    def test_samples_that_are_no_numbers_are_counted_and_left_out(self):
        nan = math.nan
        self.write("f.tif", tiff(5, 1, [nan, -1, nan, 3, 4], bits=32, sample_format=3))
        (gray,) = self.figures("f.tif")
        self.assertEqual(gray, {"name": "gray", "nan": 2, "minimum": -1, "maximum": 4, "mean": 2,
                                "deviation": math.sqrt(14 / 3), "entropy": None, "otsu": None})
        self.assertRegex(self.succeed("stats", "f.tif"), r"Otsu +NaN\ngray +-1 +4 +2\.000 +2\.160 +- +- +2\n$")
        self.write("m.png", png(5, 1, [1, 0, 0, 1, 0]))
        (gray,) = self.figures("f.tif", "--mask", "m.png")
        self.assertEqual([gray[key] for key in ("nan", "minimum", "maximum", "mean")], [1, 3, 3, 3])

    def test_where_there_are_no_numbers_there_are_no_figures(self):
        self.write("f.tif", tiff(2, 1, [math.nan] * 2, bits=32, sample_format=3))
        (gray,) = self.figures("f.tif")
        self.assertEqual([gray[key] for key in ("nan", "minimum", "maximum", "mean", "deviation")],
                         [2, None, None, None, None])
        self.assertRegex(self.succeed("stats", "f.tif"), r"gray +- +- +- +- +- +- +2\n$")

    def test_blank_samples_of_fits_are_among_them(self):
        self.write("a.fits", fits_unit([4, 1], 16, struct.pack(">4h", 1, -99, 3, -99), ("BLANK", -99)))
        (gray,) = self.figures("a.fits")
        self.assertEqual([gray[key] for key in ("nan", "minimum", "maximum", "mean")], [2, 1, 3, 2])

    def test_the_threshold_of_a_large_picture_is_exact(self):
        # A slope, in which every pixel matters: sums of 32 bits or a sample of the pixels give other levels.
        samples = [min(65535, i * i // 900000 + (i * 7919) % 1500) for i in range(240000)]
        self.write("a.tif", tiff(600, 400, samples))
        (gray,) = self.figures("a.tif")
        self.assertEqual(gray["otsu"], otsu(samples))

    def test_the_renyi_entropy_has_an_order(self):
        self.write("a.png", png(4, 1, [0, 0, 0, 9]))
        (gray,) = self.figures("a.png", "--renyi", "2")
        self.assertAlmostEqual(gray["renyi"], -math.log2((3 / 4) ** 2 + (1 / 4) ** 2))
        self.assertRegex(self.succeed("stats", "a.png", "--renyi", "2"), r"Otsu +Renyi\n.* 0\.811 .* 0\.678\n$")
        self.refuse("stats", "a.png", "--renyi", "1", names="", says="of order 1", code=2)

    def test_the_extremes_of_cells_have_places(self):
        self.write("a.png", png(4, 2, [9, 1, 7, 2, 8, 1, 8, 3]))
        run = json.loads(self.succeed("stats", "a.png", "--cell", "2,1", "--json"))
        self.assertEqual(run["cells"], [
            {"position": [0, 0], "minimum": 7, "minimumAt": [2, 0], "maximum": 9, "maximumAt": [0, 0]},
            {"position": [1, 0], "minimum": 1, "minimumAt": [1, 0], "maximum": 3, "maximumAt": [3, 1]}])
        self.assertIn("cell 0,0: min 1 at 1,1, max 8 at 2,1\n",
                      self.succeed("stats", "a.png", "--roi", "1,1,2,1", "--cell", "1,1"))
        self.refuse("stats", "a.png", "--cell", "3,1", names="a.png: ", says="do not consist of such cells")

    def test_tiles_show_uneven_light(self):
        self.write("a.tif", tiff(5, 2, [1, 3, 5, 7, 9, 1, 3, 5, 7, 9]))
        (gray,) = self.figures("a.tif", "--tiles", "2,1")
        self.assertEqual(gray["tiles"], [[2, 7]])
        self.assertRegex(self.succeed("stats", "a.tif", "--tiles", "2,1"), r"mean of tiles, gray\n +2\.000 +7\.000\n$")
        self.refuse("stats", "a.tif", "--tiles", "6,1", names="a.tif: ", says="fewer pixels than tiles")

    def test_the_mean_of_a_large_tile_is_not_lost_to_32_bits(self):
        self.write("a.tif", tiff(400, 500, [65535 - i % 2 for i in range(200000)]))
        (gray,) = self.figures("a.tif", "--tiles", "1,1")
        self.assertEqual(gray["tiles"], [[65534.5]])

    def test_bad_input_is_refused(self):
        self.write("a.png", png(2, 2, range(4)))
        self.write("m.png", png(2, 2, [0] * 12, channels=3))
        self.refuse("stats", "none.png", names="none.png: ", says="no such file")
        self.refuse("stats", "a.png", "--mask", "m.png", names="m.png: ", says="one channel")
        self.refuse("stats", "a.png", "--roi", "1,1,2,2", names="a.png: ", says="does not lie inside")


if __name__ == "__main__":
    ko_files.main()
