"""ko develop: from the samples of a sensor to the colours of a screen."""

import json
import math
import os

import ko_files
from ko_files import ToolTest, png, random_samples, read_tags, read_tiff, tiff
from raw_test import dng, rationals

# From linear sRGB to XYZ.
XYZ = ((0.4124564, 0.3575761, 0.1804375), (0.2126729, 0.7151522, 0.0721750), (0.0193339, 0.1191920, 0.9503041))
# From XYZ to the colours of a camera that sees them much less apart than a screen shows them.
CAMERA = ((0.7, -0.1, -0.05), (-0.35, 1.1, 0.25), (-0.05, 0.15, 0.6))


def times(a, b):
    return [[sum(a[i][k] * b[k][j] for k in range(3)) for j in range(3)] for i in range(3)]


SENSOR = times(CAMERA, XYZ)  # from linear sRGB to the camera
GRAY = [sum(row) / sum(SENSOR[1]) for row in SENSOR]  # what gray is to the camera, green being 1


def decoded(level):
    return level / 12.92 if level <= 0.04045 else ((level + 0.055) / 1.055) ** 2.4


def encoded(light):
    return 12.92 * light if light <= 0.0031308 else 1.055 * light ** (1 / 2.4) - 0.055


def photograph(width, height):
    """Waves of colour and a disc with a soft edge, as shares of white."""
    picture = []
    for y in range(height):
        for x in range(width):
            wave = [0.5 + 0.3 * math.sin(x / 9 + c) * math.cos(y / 11 - 2 * c) for c in range(3)]
            disc = 1 / (1 + math.exp((math.hypot(x - 40, y - 20) - 10) / 1.5))
            picture.append([w + disc * (d - w) for w, d in zip(wave, (0.85, 0.3, 0.2))])
    return picture


def seen(colours):
    """What the camera sees of linear sRGB, gray and white being at the top for green."""
    return [[max(sum(row[c] * pixel[c] for c in range(3)) / sum(SENSOR[1]), 0) for row in SENSOR] for pixel in colours]


def mosaic_of(colours, width, grid, black, white):
    """The samples of a sensor, which clips; `black` has four levels in raster order."""
    samples = []
    for i, pixel in enumerate(colours):
        position = i // width % 2 * 2 + i % width % 2
        level = pixel["rgb".index(grid[position])] * (white - max(black))
        samples.append(min(round(level) + black[position], white))
    return samples


class DevelopTest(ToolTest):
    def developed(self, name, *options):
        """Width, height and the pixels."""
        self.succeed("develop", name, "-o", "out.tif", *options)
        width, height, channels, samples, _ = read_tiff(self.read("out.tif"))
        self.assertEqual(channels, 3)
        return width, height, [samples[i:i + 3] for i in range(0, len(samples), 3)]

    def raw(self, name, colours, width, grid="rggb", black=(0, 0, 0, 0), white=16383, **options):
        samples = mosaic_of(colours, width, grid, black, white)
        options = {"matrix": sum(map(tuple, CAMERA), ()), "neutral": GRAY, **options}
        return self.write(name, dng(width, len(colours) // width, samples, grid, black, white, **options))


class CameraRaws(DevelopTest):
    def test_a_photograph_comes_back_through_the_eyes_of_a_camera(self):
        width, height = 64, 48
        photo = photograph(width, height)
        colours = seen([[decoded(c) for c in pixel] for pixel in photo])
        for grid, black in (("rggb", (0, 0, 0, 0)), ("gbrg", (500, 512, 520, 508))):
            self.raw("a.dng", colours, width, grid, black)
            for options, levels in (((), 255), (("--bits", "16"), 65535)):
                w, h, pixels = self.developed("a.dng", *options)
                self.assertEqual((w, h), (width, height))
                errors = [a / levels - b for got, want in zip(pixels, photo) for a, b in zip(got, want)]
                self.assertGreater(-10 * math.log10(sum(e * e for e in errors) / len(errors)), 35)

    def test_gray_stays_gray_at_every_level(self):
        colours = seen([[x / 63] * 3 for y in range(32) for x in range(64)])
        self.raw("a.dng", colours, 64, black=(64, 64, 64, 64))
        for x, pixel in enumerate(self.developed("a.dng")[2][15 * 64:16 * 64]):
            self.assertLessEqual(max(pixel) - min(pixel), 1, pixel)
            self.assertAlmostEqual(pixel[1], 255 * encoded(x / 63), delta=1 + 2000 / (x + 1) ** 2)

    def test_what_clips_is_white_and_gray_when_darker(self):
        # Brighter than the sensor can tell: in all colours, or in green alone.
        for light in (4.0, 1.1):
            colours = seen([[light if x >= 32 else 0.1] * 3 for y in range(32) for x in range(64)])
            self.raw("a.dng", colours, 64, black=(64, 60, 70, 64))
            for options in ((), ("--exposure", "2"), ("--exposure", "-1"), ("--wb", "camera", "--method", "malvar")):
                bright = {tuple(p) for i, p in enumerate(self.developed("a.dng", *options)[2]) if i % 64 >= 40}
                gray = round(255 * encoded(0.5)) if "-1" in options else 255
                self.assertEqual(bright, {(gray,) * 3}, (light, options))

    def test_gains_and_matrix_can_be_left_out_or_given(self):
        colours = seen([[0.2, 0.3, 0.1]] * 32 * 24)
        self.raw("a.dng", colours, 32)
        bare = self.developed("a.dng", "--wb", "1,1,1", "--matrix", "none", "--curve", "linear")[2][0]
        for got, want in zip(bare, colours[0]):
            self.assertAlmostEqual(got / 65535, want, delta=1e-3)
        gains = ",".join(str(1 / c) for c in GRAY)
        self.assertEqual(self.developed("a.dng", "--wb", gains)[2], self.developed("a.dng", "--wb", "camera")[2])
        balanced = self.developed("a.dng", "--matrix", "none", "--curve", "linear")[2][0]
        least = min(1 / c for c in GRAY)
        for got, want, gray in zip(balanced, colours[0], GRAY):
            self.assertAlmostEqual(got / 65535, want / gray / least, delta=1e-3)

    def test_greens_that_the_camera_tells_apart_are_balanced_apart(self):
        # As raws of one maker tell them: red, green in the rows of red, green in the rows of blue, blue.
        gains = {29459: (3, (2000, 1000, 1250, 1600))}
        for grid in ("rggb", "bggr", "gbrg", "grbg"):
            seen = [16000 * 1000 / gain for gain in (2000, 1000, 1600, 1250)]
            first_row = grid[:2]
            samples = []
            for y in range(24):
                for x in range(32):
                    colour = grid[y % 2 * 2 + x % 2]
                    is_other = colour == "g" and ("b" in first_row) == (y % 2 == 0)
                    samples.append(round(seen[3 if is_other else "rgb".index(colour)]))
            self.write("a.dng", dng(32, 24, samples, grid, white=40000, neutral=None, matrix=None, more=gains))
            for method in ("menon", "half"):
                pixels = self.developed("a.dng", "--curve", "linear", "--method", method)[2]
                for level in sum(pixels, []):
                    self.assertAlmostEqual(level, 65535 * 16000 / 40000, delta=2)

    def test_the_light_may_be_told_as_a_place_in_the_diagram_of_colours(self):
        x, y = 0.3457, 0.3585
        light = (x / y, 1, (1 - x - y) / y)
        gray = [sum(a * b for a, b in zip(row, light)) for row in CAMERA]
        colours = [[0.5 * c / gray[1] for c in gray]] * 32 * 24
        self.raw("a.dng", colours, 32, neutral=None, more={50729: (5, rationals((x, y)))})
        for options in ((), ("--wb", "camera")):
            pixel = self.developed("a.dng", *options, "--curve", "linear")[2][100]
            self.assertLessEqual(max(pixel) - min(pixel), 30, pixel)

    def test_cameras_that_tell_nothing_are_gray_worlds(self):
        colours = [[0.2, 0.4, 0.1]] * 32 * 24
        self.raw("a.dng", colours, 32, neutral=None, matrix=None)
        pixel = self.developed("a.dng")[2][100]
        self.assertEqual(pixel, [round(255 * encoded(0.4))] * 3)
        for option, says in (("--wb", "has no white balance of a camera; --wb gray-world estimates one"),
                             ("--matrix", "has no colour matrix of a camera; --matrix none does without")):
            self.refuse("develop", "a.dng", "-o", "x.tif", option, "camera", names="a.dng: ", says=says)

    def test_the_camera_keeps_the_name_that_the_file_has(self):
        self.raw("a.dng", [[0.2, 0.3, 0.1]] * 32 * 24, 32, maker=b"NIKON CORPORATION",
                 more={272: (2, b"NIKON D5000  \0rest\0")})
        self.assertIn("camera raw Nikon D5000, ", self.succeed("info", "a.dng"))
        self.developed("a.dng")
        tags = read_tags(self.read("out.tif"))
        self.assertEqual((tags[271], tags[272]), (b"NIKON CORPORATION\0", b"NIKON D5000\0"))
        for nonsense in ((2, b"x" * 9999), (5, (1, 0)), (10, (-9, 1)), (4, (2**32 - 1,) * 3)):
            self.raw("a.dng", [[0.2, 0.3, 0.1]] * 32 * 24, 32, more={272: nonsense})
            self.succeed("develop", "a.dng", "-o", "out.jpg")

    def test_the_part_that_the_camera_shows_can_be_had(self):
        tags = {50719: (4, (3, 5)), 50720: (4, (40, 31))}
        colours = seen([[x / 64, y / 48, 0.3] for y in range(48) for x in range(64)])
        for turn, (width, height) in ((1, (40, 31)), (6, (31, 40))):
            self.raw("a.dng", colours, 64, more=tags, turn=turn)
            whole = self.developed("a.dng", "--as-stored")[2]
            part = [whole[y * 64 + x] for y in range(5, 36) for x in range(3, 43)]
            self.assertEqual(self.developed("a.dng", "--crop", "--as-stored"), (40, 31, part))
            self.assertEqual(self.developed("a.dng", "--crop")[:2], (width, height))
        whole = self.developed("a.dng", "--as-stored", "--method", "half")[2]
        part = [whole[y * 32 + x] for y in range(2, 17) for x in range(1, 21)]
        self.assertEqual(self.developed("a.dng", "--crop", "--as-stored", "--method", "half"), (20, 15, part))
        # Its own light alone decides how bright it becomes.
        brightest = max(max(p) for p in self.developed("a.dng", "--crop", "--auto", "0")[2])
        self.assertEqual(brightest, 255)
        self.write("r.json", b'{"operations": [{"op": "crop", "roi": [2, 2, 60, 44]}, {"op": "develop", "crop": true}]}')
        os.mkdir(self.path("run"))
        self.refuse("run", "r.json", "a.dng", "-o", "run", names="a.dng: ", says="has been cut before")
        self.raw("a.dng", colours, 64)
        self.assertEqual(self.developed("a.dng", "--crop"), self.developed("a.dng"))

    def test_pictures_stand_upright_and_keep_what_the_camera_says(self):
        colours = seen([[0.7 * x / 63, 0.4, 0.1] for y in range(32) for x in range(64)])
        self.raw("a.dng", colours, 64)
        width, height, straight = self.developed("a.dng")
        self.raw("a.dng", colours, 64, turn=6, date=b"2021:07:04 23:59:58")
        self.assertEqual(self.developed("a.dng"),
                         (32, 64, [straight[y * 64 + x] for x in range(64) for y in reversed(range(32))]))
        tags = read_tags(self.read("out.tif"))
        self.assertEqual((tags[271], tags[272], tags[274]), (b"Maker\0", b"Model\0", (1,)))
        self.assertEqual(tags[306], b"2021:07:04 23:59:58\0")
        # Exif has the date once more, in TIFF files that were made of JPEG files too.
        self.succeed("develop", "a.dng", "-o", "out.jpg")
        self.succeed("unpack", "out.jpg", "-o", "back.tif")
        for name in ("out.tif", "out.jpg", "back.tif"):
            self.assertGreaterEqual(self.read(name).count(b"2021:07:04 23:59:58"), 2, name)
        self.assertEqual(read_tiff(self.read("back.tif"))[:3], (32, 64, 3))

    def test_a_matrix_that_no_camera_has_is_not_used(self):
        colours = seen([[0.2, 0.3, 0.1]] * 32 * 24)
        self.raw("a.dng", colours, 32, matrix=None)
        without = self.developed("a.dng")
        self.raw("a.dng", colours, 32, matrix=(1, 1, 1, 1, 1, 1 + 1e-6, 1, 1 - 1e-6, 1))
        self.assertEqual(self.developed("a.dng"), without)


class Highlights(DevelopTest):
    SIDE = 24
    COLOURS = {"sky": (0.25, 0.42, 0.8), "skin": (0.75, 0.48, 0.36), "orange": (0.7, 0.3, 0.1), "yellow": (0.7, 0.6, 0.15),
               "leaf": (0.25, 0.6, 0.15), "violet": (0.5, 0.2, 0.6), "gray": (0.4, 0.4, 0.4)}

    def setUp(self):
        super().setUp()
        row = [light for light in self.COLOURS.values() for _ in range(self.SIDE)]
        self.raw("a.dng", seen(row * self.SIDE), len(row), white=65535)

    def patches(self, *options):
        """The middle of every patch."""
        width, _, pixels = self.developed("a.dng", *options)
        middle = self.SIDE // 2
        return {name: pixels[width * middle + i * self.SIDE + middle] for i, name in enumerate(self.COLOURS)}

    @staticmethod
    def hue(colour):
        """In degrees, of a colour that has one."""
        red, green, blue = colour
        return math.degrees(math.atan2(math.sqrt(3) / 2 * (green - blue), red - (green + blue) / 2))

    def test_colours_keep_their_hue_and_never_become_darker(self):
        last = self.patches("--curve", "linear")
        hues = {name: self.hue(patch) for name, patch in last.items()}
        for exposure in range(1, 13):
            stops = exposure / 4
            patches = self.patches("--curve", "linear", "--exposure", str(stops))
            for name, patch in patches.items():
                with self.subTest(colour=name, stops=stops):
                    light = [2**stops * part for part in self.COLOURS[name]]
                    for got, want in zip(sorted(patch), sorted(light)):
                        if max(light) < 1 or want == min(light) < 1:
                            self.assertAlmostEqual(got / 65535, want, delta=2e-3)
                    if max(light) > 1.01:
                        self.assertEqual(max(patch), 65535)
                    if min(light) > 1.01:
                        self.assertEqual(patch, [65535] * 3)
                    elif name != "gray" and min(patch) < 62000:
                        angle = (self.hue(patch) - hues[name] + 180) % 360 - 180
                        self.assertLess(abs(angle), 0.5)
                    self.assertTrue(all(now >= before for now, before in zip(patch, last[name])), (patch, last[name]))
            last = patches

    def test_skies_do_not_turn_cyan_nor_skin_yellow(self):
        red, green, blue = self.patches("--exposure", "1.25")["sky"]
        self.assertEqual(blue, 255)
        self.assertTrue(red + 15 < green < blue - 15, (red, green, blue))
        red, green, blue = self.patches("--exposure", "1")["skin"]
        self.assertEqual(red, 255)
        self.assertTrue(blue + 6 < green < red - 6, (red, green, blue))

    def test_gray_stays_gray(self):
        for stops in ("0", "1", "1.3", "1.5", "4"):
            for options, spread in (((), 1), (("--bits", "16"), 200)):
                patch = self.patches("--exposure", stops, *options)["gray"]
                self.assertLessEqual(max(patch) - min(patch), spread, (stops, options))

    def test_both_depths_show_the_same(self):
        for stops in ("0", "1", "2"):
            narrow = self.patches("--exposure", stops)
            for name, patch in self.patches("--exposure", stops, "--bits", "16").items():
                for a, b in zip(narrow[name], patch):
                    self.assertAlmostEqual(a, b / 257, delta=0.51)


class MonochromeRaws(DevelopTest):
    def gray(self, name, *options):
        """Width, height, samples and their bits."""
        self.succeed("develop", name, "-o", "out.tif", *options)
        width, height, channels, samples, _ = read_tiff(self.read("out.tif"))
        self.assertEqual(channels, 1)
        return width, height, samples

    def raw(self, samples, width=33, **options):
        return self.write("a.dng", dng(width, len(samples) // width, samples, None, (64,), 4095,
                                       **{"neutral": None, "matrix": None, **options}))

    def test_levels_become_those_of_the_screen(self):
        samples = random_samples(33 * 25, 4095, 5)
        light = [max(s - 64, 0) / (4095 - 64) for s in samples]
        self.raw(samples)
        for options, top, level in (((), 255, encoded), (("--bits", "16"), 65535, encoded),
                                    (("--curve", "linear"), 65535, float),
                                    (("--curve", "linear", "--bits", "8"), 255, float)):
            width, height, got = self.gray("a.dng", *options)
            self.assertEqual((width, height), (33, 25))
            for a, b in zip(got, light):
                # Light is rounded to 16 bits, which the curve spreads where it is dark.
                self.assertAlmostEqual(a, top * level(b), delta=1.01 if top == 255 else 8, msg=options)

    def test_exposure_and_levels_and_orientation(self):
        samples = random_samples(33 * 25, 4095, 6)
        self.raw(samples, turn=8)
        upright = [samples[y * 33 + x] for x in reversed(range(33)) for y in range(25)]
        for options, gain, white in ((("--exposure", "1"), 2, 4031), (("--exposure", "-2"), 0.25, 4031),
                                     (("--white", "2000"), 1, 2000), (("--white", "2000", "--auto", "0"), 1, 2000)):
            width, height, got = self.gray("a.dng", "--curve", "linear", *options)
            self.assertEqual((width, height), (25, 33))
            for a, b in zip(got, upright):
                self.assertAlmostEqual(a, 65535 * min(gain * max(b - 64, 0) / white, 1), delta=2, msg=options)
        self.raw([64 + 100] * 732 + [64 + 1000] * 50 + [64 + 3000] * 10)
        for percent, brightest in (("1", 3000), ("2", 1000), ("0", 3000)):
            self.assertAlmostEqual(self.gray("a.dng", "--auto", percent, "--curve", "linear")[2][0],
                                   65535 * 100 / brightest, delta=2)

    def test_what_only_colours_have_is_refused(self):
        self.raw([1000] * 33 * 24)
        plain = self.gray("a.dng")
        for options in (("--wb", "gray-world"), ("--matrix", "none"), ("--method", "malvar"), ("--method", "linear")):
            self.assertEqual(self.gray("a.dng", *options), plain, options)
        for options, name in ((("--wb", "camera"), "--wb"), (("--wb", "2,1,1.5"), "--wb"),
                              (("--matrix", "camera"), "--matrix camera"), (("--method", "half"), "--method half")):
            self.refuse("develop", "a.dng", "-o", "x.tif", *options, names="a.dng: ",
                        says="its sensor is monochrome, which leaves nothing to do for " + name)
        self.write("r.json", b'{"operations": [{"op": "develop", "wb": [2, 1, 1.5]}]}')
        self.refuse("run", "r.json", "a.dng", "-o", ".", names="a.dng: operations[0] (develop): ",
                    says="leaves nothing to do for wb\n")

    def test_the_sensor_is_known_behind_other_operations(self):
        self.raw([1000] * 33 * 24)
        level = self.gray("a.dng")[2][0]
        self.write("r.json", b'{"operations": [{"op": "crop", "roi": [3, 5, 7, 4]}, {"op": "develop"}]}')
        self.succeed("run", "r.json", "a.dng", "-o", "run")
        self.assertEqual(read_tiff(self.read("run/a.tif"))[:4], (7, 4, 1, [level] * 28))
        # Other pictures without a pattern may be mosaics, and what is said is believed.
        self.succeed("unpack", "a.dng", "-o", "plain.tif")
        self.refuse("develop", "plain.tif", "-o", "x.tif", names="plain.tif: ", says="say it with --grid")
        self.assertEqual(len(self.developed("a.dng", "--grid", "rggb")[2]), 33 * 24)


class Mosaics(DevelopTest):
    def mosaic(self, name, cell, bits=12, size=(16, 12)):
        """A RGGB mosaic of one cell again and again."""
        width, height = size
        samples = [cell[y % 2 * 2 + x % 2] << 16 - bits for y in range(height) for x in range(width)]
        return self.write(name, tiff(width, height, samples, description=f"koimproc bits={bits} grid=RGGB"))

    def test_the_mean_becomes_gray(self):
        self.mosaic("m.tif", [1000, 1800, 2200, 500])
        width, height, pixels = self.developed("m.tif", "--method", "half")
        self.assertEqual((width, height), (8, 6))
        for level in sum(pixels, []):
            self.assertAlmostEqual(level, 255 * encoded(2000 / 4095), delta=1)

    def test_the_mean_makes_greens_equal_that_differ_by_little(self):
        for first, second in ((1960, 2040), (1500, 2500)):
            self.mosaic("m.tif", [1000, first, second, 500])
            samples = sum(self.developed("m.tif", "--method", "malvar", "--curve", "linear")[2], [])
            if second < 2100:
                self.assertLessEqual(max(samples) - min(samples), 4)
            else:
                self.assertGreater(max(samples) - min(samples), 4000)

    def test_cells_that_clip_do_not_count_for_the_balance(self):
        samples = [([4095, 4095, 4095, 4095] if y < 6 else [1000, 2000, 2000, 500])[y % 2 * 2 + x % 2] << 4
                   for y in range(24) for x in range(16)]
        self.write("m.tif", tiff(16, 24, samples, description="koimproc bits=12 grid=RGGB"))
        pixels = self.developed("m.tif")[2]
        self.assertEqual(pixels[16 * 20 + 8], [round(255 * encoded(2000 / 4095))] * 3)
        self.assertEqual(pixels[16 * 1 + 8], [255] * 3)

    def test_nothing_to_go_by_leaves_colours_alone(self):
        self.mosaic("m.tif", [0, 2000, 2000, 0])
        self.assertEqual(self.developed("m.tif")[2][40], [0, round(255 * encoded(2000 / 4095)), 0])

    def test_levels_can_be_said(self):
        self.mosaic("m.tif", [600, 600, 600, 600])
        self.assertEqual(self.developed("m.tif", "--black", "100", "--white", "1100", "--curve", "linear")[2][40],
                         [32768] * 3)
        self.refuse("develop", "m.tif", "-o", "x.tif", "--black", "200", "--white", "200", names="m.tif: ",
                    says="its white level 200 does not lie above the black level 200")

    def test_exposure_counts_in_stops(self):
        self.mosaic("m.tif", [500, 500, 500, 500])
        for stops in ("-2", "-0.5", "0", "1", "+1", "+2.5", "4"):
            self.assertAlmostEqual(self.developed("m.tif", "--exposure", stops, "--curve", "linear")[2][40][0],
                                   min(500 / 4095 * 2**float(stops), 1) * 65535, delta=1)
        for wrong in ("++1", "+-1", "+", "0x1", "1,5", "nan", "inf"):
            self.refuse("develop", "m.tif", "-o", "x.tif", "--exposure", wrong, names="--exposure: ",
                        says=f"{wrong} is not a number -16...16", code=2)

    def test_automatic_exposure_makes_a_share_of_the_pixels_white(self):
        samples = [v for y in range(64) for v in [100] * 32 + [800] * 24 + [1600] * 8]
        self.write("m.tif", tiff(64, 64, [v << 4 for v in samples], description="koimproc bits=12 grid=RGGB"))
        for percent, brightest in (("5", 1600), ("30", 800), ("0", 1600)):
            row = self.developed("m.tif", "--auto", percent, "--curve", "linear", "--method", "half")[2][:32]
            for pixel, level in zip(row, samples[:64:2]):
                self.assertAlmostEqual(pixel[0], min(level / brightest, 1) * 65535, delta=3)
        for pixel, level in zip(self.developed("m.tif", "--auto", "5", "--method", "half")[2], samples[:64:2]):
            self.assertAlmostEqual(pixel[0], encoded(level / 1600) * 255, delta=1)
        self.mosaic("m.tif", [0] * 4)
        self.assertEqual(self.developed("m.tif", "--auto", "1")[2][0], [0, 0, 0])

    def test_methods_are_those_of_demosaic(self):
        self.write("m.tif", tiff(24, 18, random_samples(24 * 18, 65535, 3), description="koimproc bits=16 grid=GRBG"))
        results = set()
        for method in ("menon", "malvar", "linear", "half"):
            self.succeed("demosaic", "m.tif", "-o", "d.tif", *(["--half"] if method == "half" else ["--method", method]))
            samples = read_tiff(self.read("d.tif"))[3]
            pixels = self.developed("m.tif", "--method", method, "--wb", "1,1,1", "--curve", "linear")[2]
            self.assertEqual(sum(pixels, []), samples, method)
            results.add(tuple(samples))
        self.assertEqual(len(results), 4)
        self.succeed("develop", "m.tif", "-o", "d.tif", "--wb", "1,1,1", "--curve", "linear")
        self.assertEqual(read_tiff(self.read("d.tif"))[3], sum(self.developed(
            "m.tif", "--method", "menon", "--wb", "1,1,1", "--curve", "linear")[2], []))

    def test_eight_bits_and_odd_sizes_and_other_patterns(self):
        self.write("m.png", png(5, 7, [128] * 35))
        self.assertEqual(self.developed("m.png", "--grid", "bggr"),
                         (5, 7, [[round(255 * encoded(128 / 255))] * 3] * 35))
        self.refuse("develop", "m.png", "-o", "x.tif", "--grid", "bggr", "--method", "linear", names="m.png: ",
                    says="odd size, 5 x 7; another --method takes it")
        self.refuse("develop", "m.png", "-o", "x.tif", names="m.png: ", says="say it with --grid")

    def test_the_depth_of_the_result(self):
        self.mosaic("m.tif", [500, 500, 500, 500])
        for options, kind in (((), "UInt8"), (("--bits", "16"), "UInt16"), (("--curve", "linear"), "UInt16"),
                              (("--curve", "linear", "--bits", "8"), "UInt8")):
            self.succeed("develop", "m.tif", "-o", "out.png", *options)
            self.assertIn(f"16 x 12, 3 channels, {kind}, ", self.succeed("info", "out.png"))


class Series(DevelopTest):
    def test_a_recipe_develops_and_knows_the_camera(self):
        colours = seen([[0.6 * x / 63, 0.4, 0.1 + 0.02 * y] for y in range(32) for x in range(64)])
        self.raw("a.dng", colours, 64)
        self.raw("b.dng", colours, 64, grid="grbg")
        for settings in ({}, {"wb": [2, 1, 1.5], "matrix": "none", "bits": 16}, {"wb": "Camera", "exposure": -0.5}):
            self.write("r.json", json.dumps({"operations": [{"op": "develop", **settings}]}).encode())
            self.succeed("run", "r.json", "a.dng", "b.dng", "-o", "run")
            options = [word for key, value in settings.items() for word in
                       ("--" + key, ",".join(map(str, value)) if isinstance(value, list) else str(value))]
            self.succeed("develop", "a.dng", "b.dng", "-o", "command/", *options)
            for name in ("a", "b"):
                self.assertEqual(read_tiff(self.read(f"run/{name}.tif")), read_tiff(self.read(f"command/{name}.tif")))

    def test_the_camera_is_known_behind_other_operations(self):
        self.raw("a.dng", seen([[0.5, 0.4, 0.3]] * 64 * 32), 64)
        self.write("r.json", b'{"operations": [{"op": "crop", "roi": [3, 5, 20, 10]}, {"op": "develop"}]}')
        self.succeed("run", "r.json", "a.dng", "-o", "run")
        want = [round(255 * encoded(c)) for c in (0.5, 0.4, 0.3)]
        width, height, _, samples, _ = read_tiff(self.read("run/a.tif"))
        self.assertEqual((width, height), (20, 10))
        for got, level in zip(samples[300:303], want):
            self.assertAlmostEqual(got, level, delta=1)

    def test_bad_files_do_not_keep_the_others_from_their_turn(self):
        self.write("m.tif", tiff(4, 4, [9] * 16, description="koimproc bits=16 grid=RGGB"))
        self.write("c.png", png(2, 2, [1] * 12, channels=3))
        run = self.ko("develop", "c.png", "none.dng", "m.tif", "-o", "out/")
        self.assertEqual((run.returncode, run.stderr), (1, "ko: c.png: not a mosaic but a picture of 3 channels\n"
                                                           "ko: none.dng: no such file\n"))
        self.assertEqual(read_tiff(self.read("out/m.tif"))[:3], (4, 4, 3))

    def test_command_lines_that_make_no_sense(self):
        for options, says in ((("--exposure", "1", "--auto", "1"), "either --exposure or --auto can be wanted"),
                              (("--bits", "12"), "--bits must be 8 or 16"),
                              (("--wb", "1,2"), "1,2 is not one of camera, gray-world, or 3 numbers 0.001...1000"),
                              (("--wb", "1,0,2"), "1,0,2 is not one of camera, gray-world, or 3 numbers"),
                              (("--wb", "grey"), "grey is not one of camera, gray-world, or 3 numbers"),
                              (("--method", "vng"), "vng is not one of menon, malvar, linear, half"),
                              (("--mehtod", "menon"), "unknown option --mehtod; did you mean --method?")):
            self.refuse("develop", "m.tif", "-o", "x.tif", *options, names="", says=says, code=2)


if __name__ == "__main__":
    ko_files.main()
