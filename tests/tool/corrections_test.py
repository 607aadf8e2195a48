"""The corrections that DNG files ask for: what ko develop applies of them, and what ko info tells."""

import json
import math
import os
import re
import struct

import ko_files
from develop_test import CAMERA, GRAY, DevelopTest, encoded, seen
from ko_files import random_samples, read_tiff
from linear_raw_test import linear
from raw_test import dng

LISTS = {1: 51008, 2: 51009, 3: 51022}
WIDTH, HEIGHT = 64, 48
TOP = 2**32 - 1


def opcode(number, body, flags=0, length=None):
    return struct.pack(">4I", number, 0x01030000, flags, len(body) if length is None else length) + body


def listed(*opcodes, count=None):
    """The value of a tag."""
    return 7, struct.pack(">I", len(opcodes) if count is None else count) + b"".join(opcodes)


class Map:
    """Gains at points, `channels` of them at each."""

    def __init__(self, rows, columns, gains, channels=1, spacing=None, origin=(0, 0)):
        self.rows, self.columns, self.gains, self.channels, self.origin = rows, columns, gains, channels, origin
        self.spacing = spacing or (1 / max(rows - 1, 1), 1 / max(columns - 1, 1))

    @staticmethod
    def of(function, rows, columns):
        """Of a lens: `function` of the place, from 0 to 1."""
        return Map(rows, columns, [function(y / (rows - 1), x / (columns - 1)) for y in range(rows) for x in range(columns)])

    def at(self, y, x, channel=0):
        """At a place, from 0 to 1."""
        v = min(max((y - self.origin[0]) / self.spacing[0], 0), self.rows - 1)
        h = min(max((x - self.origin[1]) / self.spacing[1], 0), self.columns - 1)
        total = 0
        for row in {math.floor(v), math.ceil(v)}:
            for column in {math.floor(h), math.ceil(h)}:
                weight = (1 - abs(v - row)) * (1 - abs(h - column))
                total += weight * self.gains[(row * self.columns + column) * self.channels + channel]
        return total

    def opcode(self, area, plane=0, planes=1, pitches=(1, 1), flags=0, **changes):
        head = {"points": (self.rows, self.columns), "spacing": self.spacing, "origin": self.origin,
                "channels": self.channels, "length": None, **changes}
        body = struct.pack(">10I", *area, plane, planes, *pitches, *head["points"])
        body += struct.pack(">4dI", *head["spacing"], *head["origin"], head["channels"])
        return opcode(9, body + struct.pack(f">{len(self.gains)}f", *self.gains), flags, head["length"])


def lens(strength, red=0.0):
    """Gains that a lens wants which is dark in the corners."""
    return lambda y, x: 1 + strength * ((x - 0.5)**2 + (y - 0.5)**2) + red * x


def of_cell(maps, width, height, **options):
    """One for each position."""
    return listed(*(m.opcode((i // 2, i % 2, height, width), pitches=(2, 2), **options) for i, m in enumerate(maps)))


MAPS = [Map.of(lens(2.0, 0.3), 7, 9), Map.of(lens(1.6), 5, 6), Map.of(lens(1.5), 3, 4), Map.of(lens(1.2), 13, 17)]


class Corrections(DevelopTest):
    def gray(self, level, width=WIDTH, height=HEIGHT, maps=MAPS):
        """The samples of a mosaic that maps make even."""
        return [round(level * 65535 / maps[y % 2 * 2 + x % 2].at((y + 0.5) / height, (x + 0.5) / width))
                for y in range(height) for x in range(width)]

    def assert_even(self, pixels, level, delta=1.0):
        for part in (min(map(min, pixels)), max(map(max, pixels))):
            self.assertAlmostEqual(part, level, delta=delta)

    def told(self, content):
        self.write("a.dng", content)
        return self.corrections(self.succeed("info", "a.dng"))

    def told_of_all(self, contents):
        names = [f"{i:02}.dng" for i in range(len(contents))]
        for name, content in zip(names, contents):
            self.write(name, content)
        return [self.corrections(line) for line in self.succeed("info", *names).splitlines()]

    @staticmethod
    def corrections(line):
        return re.search(r", white \d+(, (.*))?$", line)[2] or ""


class GainMaps(Corrections):
    def test_four_maps_make_a_gray_picture_even(self):
        for grid in ("rggb", "gbrg"):
            maps = of_cell(MAPS, WIDTH, HEIGHT)
            self.write("a.dng", dng(WIDTH, HEIGHT, self.gray(0.4), grid, more={51009: maps}))
            for method in ("menon", "malvar", "half"):
                self.assert_even(self.developed("a.dng", "--method", method)[2], 255 * encoded(0.4))
            self.assertNotEqual(self.developed("a.dng", "--corrections", "none")[2][0], [round(255 * encoded(0.4))] * 3)
        self.assertEqual(self.told(self.read("a.dng")), "applied by develop: GainMap")

    def test_places_count_from_the_corner_of_the_active_area(self):
        for top, left in ((4, 6), (3, 6), (4, 5), (3, 7)):
            area = (top, left, top + HEIGHT, left + WIDTH)
            samples = [9] * (WIDTH + 10) * (HEIGHT + 10)
            gray = self.gray(0.4)
            for y in range(HEIGHT):
                at = (top + y) * (WIDTH + 10) + left
                samples[at:at + WIDTH] = gray[y * WIDTH:(y + 1) * WIDTH]
            maps = of_cell(MAPS, WIDTH, HEIGHT)
            self.write("a.dng", dng(WIDTH + 10, HEIGHT + 10, samples, "rggb", area=area, more={51009: maps}))
            width, height, pixels = self.developed("a.dng", "--wb", "1,1,1")
            self.assertEqual((width, height), (WIDTH - left % 2 * 2, HEIGHT - top % 2 * 2))
            self.assert_even(pixels, 255 * encoded(0.4))

    def test_the_gain_is_held_at_the_edges_of_a_map(self):
        m = Map(2, 3, [1, 2, 1.5, 1.25, 1, 3], spacing=(0.25, 0.2), origin=(0.5, 0.25))
        self.write("a.dng", dng(WIDTH, HEIGHT, self.gray(0.3, maps=[m] * 4), "rggb",
                                more={51009: listed(m.opcode((0, 0, HEIGHT, WIDTH)))}))
        self.assert_even(self.developed("a.dng")[2], 255 * encoded(0.3))
        one = Map(1, 1, [1.5], spacing=(0, 0))
        self.write("a.dng", dng(32, 24, [20000] * 768, "rggb", more={51009: listed(one.opcode((0, 0, 24, 32)))}))
        self.assert_even(self.developed("a.dng", "--curve", "linear")[2], 30000)

    def test_only_the_area_and_every_so_many_rows_and_columns_are_multiplied(self):
        two = Map(1, 1, [2.0])
        maps = listed(two.opcode((3, 5, 20, 29), pitches=(3, 4)), two.opcode((22, 30, TOP, TOP)))
        samples = random_samples(32 * 24, 30000, 5)
        self.write("a.dng", dng(32, 24, samples, None, neutral=None, matrix=None, more={51009: maps}))
        self.succeed("develop", "a.dng", "-o", "out.tif", "--curve", "linear")
        expected = [s * 2 if (3 <= y < 20 and 5 <= x < 29 and (y - 3) % 3 == 0 and (x - 5) % 4 == 0) or (y >= 22 and x >= 30)
                    else s for i, s in enumerate(samples) for y, x in [divmod(i, 32)]]
        self.assertEqual(read_tiff(self.read("out.tif"))[3], expected)

    def test_black_and_white_come_first_and_parts_of_levels_are_kept(self):
        m = Map.of(lambda y, x: 1 + 0.2 * x, 2, 2)
        maps = listed(m.opcode((0, 0, 24, 128)))
        self.write("a.dng", dng(128, 24, [164] * 128 * 24, "rggb", (64,), 1023, more={51009: maps}))
        row = self.developed("a.dng", "--curve", "linear")[2][:128]
        for x, pixel in enumerate(row):
            self.assertAlmostEqual(pixel[1], 65535 * 100 / 959 * (1 + 0.2 * (x + 0.5) / 128), delta=1.5)

    def test_what_clips_stays_white_and_the_rest_is_limited_to_it(self):
        tinted = [Map(1, 1, [g]) for g in (2.5, 0.8, 0.8, 1.4)]
        colours = seen([[4.0 if x >= 32 else 0.2] * 3 for y in range(32) for x in range(64)])
        self.raw("a.dng", colours, 64, white=16383, more={51009: of_cell(tinted, 64, 32)})
        for options, level in (((), 255), (("--exposure", "-1"), round(255 * encoded(0.5))), (("--method", "half"), 255)):
            width, _, pixels = self.developed("a.dng", *options)
            bright = {tuple(p) for i, p in enumerate(pixels) if i % width >= width * 5 // 8}
            self.assertEqual(bright, {(level,) * 3})
        huge = [Map(1, 1, [3e38])] * 4
        self.write("a.dng", dng(32, 24, [0, 40000] * 384, None, more={51009: of_cell(huge, 32, 24)}))
        self.succeed("develop", "a.dng", "-o", "out.tif")
        self.assertEqual(read_tiff(self.read("out.tif"))[3], [0, 255] * 384)

    def test_those_of_demosaiced_samples(self):
        planes = [Map.of(lens(0.8, 0.1), 5, 7), Map.of(lens(0.6), 7, 7), Map.of(lens(0.5), 6, 6)]
        maps = listed(*(m.opcode((0, 0, HEIGHT, WIDTH), plane=i) for i, m in enumerate(planes)))
        samples = self.gray(0.4, maps=[planes[0], planes[1], planes[1], planes[2]])
        self.write("a.dng", dng(WIDTH, HEIGHT, samples, "rggb", more={51022: maps}))
        for method in ("menon", "half"):
            for options, level in (((), 255), (("--bits", "16"), 65535)):
                width, height, pixels = self.developed("a.dng", "--method", method, "--matrix", "none", *options)
                inner = [p for i, p in enumerate(pixels) if 3 < i % width < width - 4 and 3 < i // width < height - 4]
                self.assert_even(inner, level * encoded(0.4), 1 if level == 255 else 300)
        linear_light = self.developed("a.dng", "--curve", "linear", "--matrix", "none")[2][WIDTH * 24 + 30]
        self.assert_even([linear_light], 65535 * 0.4, 200)

    def test_maps_of_several_colours(self):
        gains = [g for y in range(3) for x in range(2) for g in (1 + 0.2 * y, 1 + 0.1 * x)]
        two = Map(3, 2, gains, channels=2)
        samples = []
        for y in range(25):
            for x in range(33):
                place = (y + 0.5) / 25, (x + 0.5) / 33
                samples += [round(26000 / two.at(*place, 0))] + [round(26000 / two.at(*place, 1))] * 2
        # The last channel of a map is also for further planes.
        for number in (51009, 51022):
            self.write("a.dng", linear(33, 25, samples, more={number: listed(two.opcode((0, 0, 25, 33), planes=3))}))
            self.assert_even(self.developed("a.dng", "--curve", "linear", "--wb", "1,1,1", "--matrix", "none")[2], 26000, 2)

    def test_pictures_that_stand_upright_are_corrected_as_they_are_stored(self):
        m = Map.of(lambda y, x: 1 + y + 0.3 * x * x, 7, 9)
        gray = [round(20000 / m.at((y + 0.5) / 25, (x + 0.5) / 33)) for y in range(25) for x in range(33)]
        for turn in range(1, 9):
            for number in (51009, 51022):
                more = {number: listed(m.opcode((0, 0, 25, 33), planes=3))}
                self.write(f"{turn}-{number}-3.dng", linear(33, 25, [s for s in gray for _ in range(3)], turn=turn, more=more))
                self.write(f"{turn}-{number}-1.dng", dng(33, 25, gray, None, neutral=None, matrix=None, turn=turn, more=more))
        names = sorted(os.listdir(self.dir))
        self.succeed("develop", *names, "-o", "upright/", "--curve", "linear")
        self.succeed("develop", *names, "-o", "stored/", "--curve", "linear", "--as-stored")
        for name in names:
            for directory, is_upright in (("upright", True), ("stored", False)):
                width, _, channels, samples, _ = read_tiff(self.read(f"{directory}/{name[:-4]}.tif"))
                self.assertEqual((width, channels), (25 if is_upright and name > "5" else 33, int(name[-5])))
                self.assert_even([samples], 20000, 3)

    def test_the_crop_does_not_move_them(self):
        more = {51009: of_cell(MAPS, WIDTH, HEIGHT), 50719: (4, (10, 8)), 50720: (4, (40, 30))}
        self.write("a.dng", dng(WIDTH, HEIGHT, self.gray(0.4), "rggb", more=more))
        self.assertEqual(self.developed("a.dng", "--crop")[:2], (40, 30))
        self.assert_even(self.developed("a.dng", "--crop")[2], 255 * encoded(0.4))

    def test_other_commands_leave_the_samples_alone(self):
        samples = self.gray(0.4)
        self.write("a.dng", dng(WIDTH, HEIGHT, samples, "rggb", more={51009: of_cell(MAPS, WIDTH, HEIGHT)}))
        self.succeed("unpack", "a.dng", "-o", "out.tif")
        self.assertEqual(read_tiff(self.read("out.tif"))[3], samples)

    def test_recipes(self):
        self.write("a.dng", dng(WIDTH, HEIGHT, self.gray(0.4), "rggb", more={51009: of_cell(MAPS, WIDTH, HEIGHT)}))
        for wish in ("file", "none"):
            self.write("r.json", json.dumps({"operations": [{"op": "develop", "corrections": wish}]}).encode())
            self.succeed("run", "r.json", "a.dng", "-o", "run/", "--quiet")
            self.succeed("develop", "a.dng", "-o", "out.tif", "--corrections", wish)
            self.assertEqual(read_tiff(self.read("run/a.tif")), read_tiff(self.read("out.tif")))
        cut = {"op": "crop", "roi": [2, 2, 32, 32]}
        self.write("r.json", json.dumps({"operations": [cut, {"op": "develop"}]}).encode())
        self.refuse("run", "r.json", "a.dng", "-o", "run/", "--quiet", names="a.dng: operations[1] (develop): ",
                    says="has been cut before, so the corrections of its file have no place; corrections none does without")
        self.write("r.json", json.dumps({"operations": [cut, {"op": "develop", "corrections": "none"}]}).encode())
        self.succeed("run", "r.json", "a.dng", "-o", "run/", "--quiet")


def radial(factors, centre=(0.5, 0.5), flags=0):
    return opcode(3, struct.pack(">7d", *factors, *centre), flags)


def radial_gain(factors, centre, y, x, height, width):
    """At a pixel."""
    dy, dx = y + 0.5 - centre[1] * height, x + 0.5 - centre[0] * width
    farthest = math.hypot(*(max(c, 1 - c) * size for c, size in zip(centre, (width, height))))
    square = (dx * dx + dy * dy) / farthest**2
    return 1 + sum(k * square**(i + 1) for i, k in enumerate(factors))


class RadialGains(Corrections):
    FACTORS = (0.8, -0.2, 0.3, 0, 0.1)

    def test_they_make_a_dark_lens_even_before_and_after_demosaicing(self):
        for centre in ((0.5, 0.5), (0.6, 0.3)):
            gray = [round(0.4 * 65535 / radial_gain(self.FACTORS, centre, y, x, HEIGHT, WIDTH))
                    for y in range(HEIGHT) for x in range(WIDTH)]
            for number in (51009, 51022):
                more = {number: listed(radial(self.FACTORS, centre))}
                told = self.told(dng(WIDTH, HEIGHT, gray, "grbg", more=more))
                self.assertEqual(told, "applied by develop: FixVignetteRadial")
                for method in ("menon", "half"):
                    pixels = self.developed("a.dng", "--method", method, "--matrix", "none")[2]
                    # Demosaicing makes a little of the slope in a dark corner.
                    self.assert_even(pixels, 255 * encoded(0.4), 1 if number == 51009 else 3)
                self.write("a.dng", linear(WIDTH, HEIGHT, [s for s in gray for _ in range(3)], turn=6, more=more))
                self.assert_even(self.developed("a.dng")[2], 255 * encoded(0.4))

    def test_they_work_with_maps(self):
        gray = [round(s / radial_gain(self.FACTORS, (0.5, 0.5), i // WIDTH, i % WIDTH, HEIGHT, WIDTH))
                for i, s in enumerate(self.gray(0.4))]
        lists = {51009: of_cell(MAPS, WIDTH, HEIGHT), 51022: listed(radial(self.FACTORS))}
        self.assertEqual(self.told(dng(WIDTH, HEIGHT, gray, "rggb", more=lists)),
                         "applied by develop: GainMap FixVignetteRadial")
        self.assert_even(self.developed("a.dng", "--matrix", "none")[2], 255 * encoded(0.4), 2)

    def test_damaged(self):
        nan = math.nan
        wrong = [radial((-2, 0, 0, 0, 0)), radial((nan, 0, 0, 0, 0)), radial((0, 0, 0, math.inf, 0)),
                 radial((1e308, 1e308, 0, 0, 0)), radial(self.FACTORS, (-0.1, 0.5)), radial(self.FACTORS, (0.5, nan)),
                 opcode(3, bytes(48)), opcode(3, bytes(64)), opcode(3, b"")]
        told = self.told_of_all([dng(32, 24, [9000] * 768, "rggb", more={51022: listed(radial(self.FACTORS), part)})
                                 for part in wrong])
        self.assertEqual(told, ["damaged: OpcodeList3"] * len(wrong))


def warp(planes, centre=(0.5, 0.5), count=None):
    """Factors of each plane: four radial ones and two tangential."""
    numbers = sum(planes, ()) + tuple(centre)
    return opcode(1, struct.pack(f">I{len(numbers)}d", len(planes) if count is None else count, *numbers))


STRAIGHT = (1, 0, 0, 0, 0, 0)


class Warps(Corrections):
    PLANES = ((1.001, -0.1, 0.02, -0.005, 0.004, -0.003), (1, -0.1, 0.02, -0.005, 0.004, -0.003), (0.998, -0.09, 0.03, 0, 0, 0))

    @staticmethod
    def light(y, x):
        """A scene without edges."""
        return 25000 + 9000 * math.sin(x / 6) * math.cos(y / 7) + 200 * x

    def bent(self, factors, centre, y, x, height, width):
        """Where the light of a pixel comes from, within the picture."""
        middle = centre[1] * height, centre[0] * width
        farthest = math.hypot(*(max(m, size - m) for m, size in zip(middle, (height, width))))
        dy, dx = (y + 0.5 - middle[0]) / farthest, (x + 0.5 - middle[1]) / farthest
        square = dx * dx + dy * dy
        radial = sum(k * square**i for i, k in enumerate(factors[:4]))
        down = dy * radial + factors[4] * (square + 2 * dy * dy) + 2 * factors[5] * dx * dy
        right = dx * radial + factors[5] * (square + 2 * dx * dx) + 2 * factors[4] * dx * dy
        return middle[0] + farthest * down - 0.5, middle[1] + farthest * right - 0.5

    def test_each_plane_comes_from_its_own_places(self):
        for planes, centre in ((self.PLANES, (0.5, 0.5)), (self.PLANES[:1], (0.4, 0.7))):
            samples = [round(self.light(y, x)) for y in range(HEIGHT) for x in range(WIDTH) for _ in range(3)]
            content = linear(WIDTH, HEIGHT, samples, more={51022: listed(warp(planes, centre))})
            self.assertEqual(self.told(content), "applied by develop: WarpRectilinear")
            _, _, pixels = self.developed("a.dng", "--curve", "linear", "--wb", "1,1,1", "--matrix", "none")
            moved = 0
            for i, pixel in enumerate(pixels):
                for channel, part in enumerate(pixel):
                    y, x = self.bent(planes[min(channel, len(planes) - 1)], centre, *divmod(i, WIDTH), HEIGHT, WIDTH)
                    if 1 <= x <= WIDTH - 2 and 1 <= y <= HEIGHT - 2:
                        self.assertAlmostEqual(part, self.light(y, x), delta=30)
                        moved = max(moved, abs(part - samples[3 * i]))
            self.assertGreater(moved, 3000)

    def test_mosaics_and_half_of_them(self):
        samples = [round(self.light(y, x)) for y in range(HEIGHT) for x in range(WIDTH)]
        self.write("a.dng", dng(WIDTH, HEIGHT, samples, "rggb", more={51022: listed(warp(self.PLANES[:1]))}))
        for method, scale in (("menon", 1), ("half", 2)):
            width, height, pixels = self.developed("a.dng", "--method", method, "--matrix", "none", "--curve", "linear")
            for y in range(4, height - 4):
                for x in range(4, width - 4):
                    row, column = self.bent(self.PLANES[0], (0.5, 0.5), y * scale + scale / 2 - 0.5, x * scale + scale / 2 - 0.5,
                                            HEIGHT, WIDTH)
                    self.assertAlmostEqual(pixels[y * width + x][1], self.light(row, column), delta=700)

    def test_a_straight_lens_changes_nothing(self):
        samples = random_samples(33 * 25 * 3, 65535, 4)
        self.write("0.dng", linear(33, 25, samples, turn=6, more={51022: listed(warp((STRAIGHT,)))}))
        self.write("1.dng", linear(33, 25, samples, turn=6))
        self.assertEqual(self.developed("0.dng", "--bits", "16"), self.developed("1.dng", "--bits", "16"))
        # Nor where the picture begins a row and a column behind the corner that places count from.
        samples = random_samples(WIDTH * HEIGHT, 65535, 5)
        for name, more in (("0.dng", {51022: listed(warp((STRAIGHT,)))}), ("1.dng", {})):
            self.write(name, dng(WIDTH, HEIGHT, samples, "rggb", area=(3, 5, HEIGHT - 4, WIDTH - 2), more=more))
        for method in ("menon", "half"):
            self.assertEqual(self.developed("0.dng", "--method", method), self.developed("1.dng", "--method", method))

    def test_order(self):
        """Gains belong to where light fell before it was moved, or after that, as the list says."""
        larger = (0.5, 0, 0, 0, 0, 0)
        step = Map(1, 2, [1, 2], spacing=(1, 0.02), origin=(0, 0.6)).opcode((0, 0, 24, 48))
        edges = []
        for order in ((step, warp((larger,))), (warp((larger,)), step)):
            self.write("a.dng", dng(48, 24, [9000] * 48 * 24, None, neutral=None, matrix=None, more={51022: listed(*order)}))
            self.succeed("develop", "a.dng", "-o", "out.tif", "--curve", "linear")
            edges.append(sum(s < 13500 for s in read_tiff(self.read("out.tif"))[3][:48]))
        for edge, place in zip(edges, (0.5 + 2 * 0.11, 0.61)):
            self.assertAlmostEqual(edge, 48 * place, delta=1)

    def test_damaged(self):
        three = self.PLANES
        wrong = [warp(three[:2]), warp(three + three[:1]), warp((), count=0), warp(three[:1], count=3), warp(three, count=1),
                 warp(three, count=TOP), warp(((math.nan,) + STRAIGHT[1:],)), warp((STRAIGHT[:5] + (math.inf,),)),
                 warp(((1e300,) * 6,)), warp((STRAIGHT,), (0.5, math.nan)), warp((STRAIGHT,), (2, 0.5)), opcode(1, b""),
                 opcode(1, bytes(3)), opcode(1, bytes(68))]
        lists = [listed(warp((STRAIGHT,)), part) for part in wrong] + [listed(*[warp((STRAIGHT,))] * 5)]
        told = self.told_of_all([dng(32, 24, [9000] * 768, "rggb", more={51022: value}) for value in lists])
        self.assertEqual(told, ["damaged: OpcodeList3"] * len(lists))
        # Far places are those of the edge.
        self.write("a.dng", dng(32, 24, [9000] * 768, "rggb", more={51022: listed(warp(((9e5,) * 6,)))}))
        self.assert_even(self.developed("a.dng")[2], 255 * encoded(9000 / 65535))
        # Samples of a mosaic cannot be moved.
        self.assertEqual(self.told(dng(32, 24, [9000] * 768, "rggb", more={51009: listed(warp((STRAIGHT,)))})),
                         "not applied: WarpRectilinear")


def constant(level):
    return opcode(4, struct.pack(">2I", level, 0))


def faulty(points, areas=(), counts=None):
    numbers = [number for part in (*points, *areas) for number in part]
    return opcode(5, struct.pack(f">{3 + len(numbers)}I", 0, *(counts or (len(points), len(areas))), *numbers))


class FaultyPixels(Corrections):
    # Row and column; single ones, neighbours, and those at corners and sides.
    POINTS = ((0, 0), (0, 63), (47, 0), (47, 63), (10, 10), (10, 12), (11, 11), (20, 31), (21, 31), (22, 31), (0, 30), (30, 0))

    def damaged(self, samples, points=POINTS, left=0, top=0, width=WIDTH, level=None):
        for i, (row, column) in enumerate(points):
            samples[(row + top) * width + column + left] = (i % 2 * 65535) if level is None else level
        return samples

    def slope(self, width=WIDTH, height=HEIGHT):
        return [8000 + 300 * x + 200 * y + 4000 * ((x + y) % 2) for y in range(height) for x in range(width)]

    def test_they_get_what_their_neighbours_of_the_same_colour_have(self):
        for grid in ("rggb", "grbg"):
            whole = dng(WIDTH, HEIGHT, [(20000, 30000, 30000, 10000)[y % 2 * 2 + x % 2] if grid == "rggb" else
                                        (30000, 20000, 10000, 30000)[y % 2 * 2 + x % 2]
                                        for y in range(HEIGHT) for x in range(WIDTH)], grid)
            self.write("whole.dng", whole)
            samples = list(struct.unpack_from(f"<{WIDTH * HEIGHT}H", whole, 8))
            more = {51008: listed(faulty(self.POINTS, ((0, 40, HEIGHT, 41), (33, 5, 35, 8))))}
            samples = self.damaged(samples, self.POINTS + tuple((y, 40) for y in range(HEIGHT)))
            samples = self.damaged(samples, tuple((y, x) for y in (33, 34) for x in (5, 6, 7)))
            self.assertEqual(self.told(dng(WIDTH, HEIGHT, samples, grid, more=more)), "applied by develop: FixBadPixelsList")
            self.assertEqual(self.developed("a.dng"), self.developed("whole.dng"))
            self.assertNotEqual(self.developed("a.dng", "--corrections", "none"), self.developed("whole.dng"))

    def test_those_of_one_level(self):
        for level in (0, 4095):
            samples = self.damaged([2000] * WIDTH * HEIGHT, level=level)
            told = self.told(dng(WIDTH, HEIGHT, samples, "rggb", (100,), 4095, more={51008: listed(constant(level))}))
            self.assertEqual(told, "applied by develop: FixBadPixelsConstant")
            pixels = self.developed("a.dng")[2]
            self.assertEqual(pixels, [[round(255 * encoded(1900 / 3995))] * 3] * len(pixels))
        # Of samples that stand for others the level that the file means is not known any more.
        curve = [min(i * i // 200, 65535) for i in range(4096)]
        told = self.told(dng(32, 24, [9] * 768, "rggb", bits=12, white=65535, curve=curve, more={51008: listed(constant(0))}))
        self.assertEqual(told, "not applied: FixBadPixelsConstant")

    def test_levels_lie_between_those_of_the_neighbours(self):
        points = ((10, 10), (10, 13), (20, 20), (30, 41), (11, 30))
        samples = self.slope()
        self.write("whole.dng", dng(WIDTH, HEIGHT, samples, None, neutral=None, matrix=None))
        samples = self.damaged(samples, points)
        self.write("a.dng", dng(WIDTH, HEIGHT, samples, None, neutral=None, matrix=None, more={51008: listed(faulty(points))}))
        pictures = []
        for name in ("a.dng", "whole.dng"):
            self.succeed("develop", name, "-o", "out.tif", "--curve", "linear")
            pictures.append(read_tiff(self.read("out.tif"))[3])
        for i, (a, b) in enumerate(zip(*pictures)):
            is_faulty = (i // WIDTH, i % WIDTH) in points
            self.assertAlmostEqual(a, b, delta=4000 if is_faulty else 0)
            if is_faulty:
                near = [pictures[1][i + dy * WIDTH + dx] for dy in (-1, 0, 1) for dx in (-1, 0, 1) if dy or dx]
                self.assertTrue(min(near) < a < max(near))

    def test_places_count_from_the_corner_of_the_file(self):
        for area in ((4, 6, 44, 60), (3, 5, 43, 61)):
            points = ((2, 30), (10, 11), (11, 30), (43, 59))
            samples = self.damaged([9000] * WIDTH * HEIGHT, points)
            self.write("a.dng", dng(WIDTH, HEIGHT, samples, "rggb", area=area, more={51008: listed(faulty(points))}))
            pixels = self.developed("a.dng", "--curve", "linear")[2]
            self.assertEqual(pixels, [[9000] * 3] * len(pixels))

    def test_they_go_before_the_gains(self):
        samples = self.damaged(self.gray(0.4))
        lists = {51008: listed(faulty(self.POINTS)), 51009: of_cell(MAPS, WIDTH, HEIGHT)}
        told = self.told(dng(WIDTH, HEIGHT, samples, "rggb", more=lists))
        self.assertEqual(told, "applied by develop: FixBadPixelsList GainMap")
        # At the corners all neighbours lie on one side, where the lens is brighter.
        self.assert_even(self.developed("a.dng", "--wb", "1,1,1", "--matrix", "none")[2], 255 * encoded(0.4), 9)
        gray = [8000 + 200 * (i // 33) for i in range(33 * 25)]
        points = ((5, 5), (20, 30), (12, 1))
        more = {51008: listed(faulty(points)), 51022: listed(radial((0.5, 0, 0, 0, 0)))}
        pictures = []
        for samples, lists in ((gray, {51022: more[51022]}), (self.damaged(list(gray), points, width=33), more)):
            self.write("a.dng", dng(33, 25, samples, None, neutral=None, matrix=None, turn=6, more=lists))
            self.succeed("develop", "a.dng", "-o", "out.tif")
            pictures.append(read_tiff(self.read("out.tif")))
        for a, b in zip(pictures[0][3], pictures[1][3]):
            self.assertAlmostEqual(a, b, delta=1)

    def test_where_nothing_near_is_sound_samples_stay(self):
        area = (10, 10, 21, 21)
        samples = self.slope()
        more = {51008: listed(faulty((), (area,)))}
        self.write("a.dng", dng(WIDTH, HEIGHT, samples, None, neutral=None, matrix=None, more=more))
        self.succeed("develop", "a.dng", "-o", "out.tif", "--curve", "linear")
        self.assertEqual(read_tiff(self.read("out.tif"))[3][15 * WIDTH + 15], samples[15 * WIDTH + 15])

    def test_damaged(self):
        wrong = [
            faulty(((48, 0),)), faulty(((0, 64),)), faulty(((TOP, TOP),)), faulty((), ((0, 0, 49, 1),)),
            faulty((), ((5, 5, 5, 9),)), faulty((), ((9, 5, 8, 9),)), faulty((), ((0, 0, TOP, TOP),)),
            faulty((), ((0, 0, 30, 30),)), faulty((), ((0, 0, 9, 9),) * 100000), faulty(((1, 1),), counts=(2, 0)),
            faulty(((1, 1),), counts=(TOP, TOP)), faulty(((1, 1),), counts=(0, 0)), opcode(5, bytes(11)), opcode(5, b""),
            opcode(4, bytes(4)), constant(9000)]
        lists = [listed(faulty(((1, 1),)), part) for part in wrong] + [listed(*[constant(1)] * 9)]
        told = self.told_of_all([dng(WIDTH, HEIGHT, [9000] * WIDTH * HEIGHT, "rggb", more={51008: value}) for value in lists])
        self.assertEqual(told, ["damaged: OpcodeList1"] * len(lists))
        # Of pixels with all colours they are not known.
        more = {51008: listed(faulty(((1, 1),)))}
        self.assertEqual(self.told(linear(33, 25, [9000] * 33 * 25 * 3, more=more)), "not applied: FixBadPixelsList")


class Lists(Corrections):
    def warned(self, says):
        """What is developed with a warning, and the same without corrections."""
        run = self.ko("develop", "a.dng", "-o", "out.tif")
        self.assertEqual((run.returncode, run.stderr), (0, "".join(f"ko: warning: a.dng: {line}\n" for line in says)))
        return read_tiff(self.read("out.tif")), self.developed("a.dng", "--corrections", "none")

    def test_what_is_not_known_is_named(self):
        unknown = [opcode(n, bytes(12), flags=1) for n in range(20)]
        for lists, told in (({3: listed(unknown[2], unknown[2])}, "not applied: WarpFisheye"),
                            ({2: listed(unknown[13], unknown[12])}, "not applied: ScalePerColumn ScalePerRow"),
                            ({1: listed(unknown[9], unknown[17], unknown[0])}, "not applied: GainMap others"),
                            ({1: listed(*[unknown[1]] * 1023, unknown[2])}, "not applied: WarpRectilinear WarpFisheye"),
                            ({1: listed()}, "")):
            content = dng(32, 24, [9000] * 768, "rggb", more={LISTS[n]: value for n, value in lists.items()})
            self.assertEqual(self.told(content), told)
            self.succeed("develop", "a.dng", "-o", "out.tif")

    def test_what_is_no_option_is_warned_of_and_the_rest_applied(self):
        maps = [m.opcode((i // 2, i % 2, HEIGHT, WIDTH), pitches=(2, 2)) for i, m in enumerate(MAPS)]
        lists = {51009: listed(opcode(77, b"abc"), *maps, opcode(10, bytes(40), flags=1)),
                 51022: listed(opcode(2, bytes(68)))}
        told = self.told(dng(WIDTH, HEIGHT, self.gray(0.4), "rggb", more=lists))
        self.assertEqual(told, "applied by develop: GainMap, not applied: others DeltaPerRow WarpFisheye")
        picture, _ = self.warned(["its correction others is not applied", "its correction WarpFisheye is not applied"])
        self.assert_even([picture[3]], 255 * encoded(0.4))

    def test_damaged_lists_are_left_out_as_a_whole(self):
        m, area = MAPS[1], (0, 0, 24, 32)
        good = m.opcode(area)

        def gains(*numbers):
            return Map(1, len(numbers), numbers)

        nan, infinite = math.nan, math.inf
        wrong = [
            good[:-1], good[:40], good[:9], m.opcode(area, length=TOP), m.opcode(area, length=len(good)),
            m.opcode(area, points=(0, 6)), m.opcode(area, points=(5, 0)), m.opcode(area, points=(5, 7)),
            m.opcode(area, points=(TOP, TOP)), m.opcode(area, points=(2**31, 2**31), channels=4), m.opcode(area, channels=0),
            m.opcode(area, channels=TOP), m.opcode(area, points=(1, 1)), m.opcode(area, pitches=(0, 1)),
            m.opcode(area, pitches=(1, 0)), m.opcode(area, planes=0), m.opcode(area, plane=1), m.opcode(area, plane=TOP),
            m.opcode((24, 0, 30, 32)), m.opcode((0, 32, 24, 40)), m.opcode((0, 9, 24, 9)), m.opcode((9, 0, 8, 32)),
            m.opcode(area, spacing=(0, 0.1)), m.opcode(area, spacing=(0.1, -0.1)), m.opcode(area, spacing=(nan, 0.1)),
            m.opcode(area, spacing=(0.1, infinite)), m.opcode(area, origin=(nan, 0)), m.opcode(area, origin=(0, infinite)),
            Map(1, 34, [1] * 34).opcode(area), gains(1, nan).opcode(area), gains(infinite, 1).opcode(area),
            gains(1, 1, -0.5).opcode(area),
            opcode(9, b""), opcode(9, bytes(76))]
        lists = [(2, good + part) for part in wrong] + [(65, good * 65), (1025, good + opcode(1, b"", flags=1) * 1024)]
        names = [f"{i:02}.dng" for i in range(len(lists))]
        for i, (count, content) in enumerate(lists):
            damaged = 7, struct.pack(">I", count) + content
            self.write(names[i], dng(32, 24, [9000 + i for i in range(768)], "rggb", more={51009: damaged}))
        lines = self.succeed("info", *names).splitlines()
        for line in lines:
            self.assertRegex(self.corrections(line), "^(not applied: WarpRectilinear, )?damaged: OpcodeList2$")
        self.assertEqual(len(lines), len(names))
        run = self.ko("develop", *names, "-o", "got/")
        says = "its corrections OpcodeList2 are damaged and not applied"
        self.assertEqual(run.stderr, "".join(f"ko: warning: {name}: {says}\n" for name in names))
        self.succeed("develop", *names, "-o", "bare/", "--corrections", "none")
        for name in names:
            self.assertEqual(self.read(f"got/{name[:2]}.tif"), self.read(f"bare/{name[:2]}.tif"), name)

    def test_counts_that_lie(self):
        good = MAPS[1].opcode((0, 0, 24, 32))
        for value in ((7, b"\xff" * 9), (7, b"abc"), listed(good, count=2), listed(good, count=TOP), listed(count=1)):
            self.assertRegex(self.told(dng(32, 24, [9000] * 768, "rggb", more={51022: value})), "damaged: OpcodeList3$")
        # Whatever a file cut short has of its list.
        content = dng(32, 24, [9000] * 768, "rggb", more={51009: listed(good, good)})
        for length in range(len(content) - 2 * len(good) - 60, len(content), 37):
            self.write("a.dng", content[:length])
            self.assertIn(self.ko("develop", "a.dng", "-o", "out.tif").returncode, (0, 1))

    def test_places_that_no_sound_map_has_do_no_harm(self):
        for changes in ({"spacing": (1e-300, 1e300)}, {"origin": (1e308, -1e308)},
                        {"spacing": (5e-324, 5e-324), "origin": (0.5, 0.5)}):
            maps = listed(MAPS[1].opcode((0, 0, TOP, TOP), pitches=(1, TOP), **changes))
            self.assertEqual(self.told(dng(32, 24, [9000] * 768, "rggb", more={51009: maps})), "applied by develop: GainMap")
            self.succeed("develop", "a.dng", "-o", "out.tif")


if __name__ == "__main__":
    ko_files.main()
