"""Colours of DNG files under many lights, beside a computation that knows the temperature of the light."""

import math

import ko_files
from develop_test import XYZ, times
from ko_files import ToolTest, read_tiff
from raw_test import dng, rationals

# From XYZ to a camera, as measured under standard light A and under D65.
WARM, COLD = 17, 21
TEMPERATURES = {WARM: 2856, COLD: 6504}
COLOURS = {WARM: ((0.86, -0.22, -0.06), (-0.42, 1.16, 0.28), (-0.08, 0.17, 0.52)),
           COLD: ((0.70, -0.13, -0.05), (-0.35, 1.10, 0.25), (-0.05, 0.15, 0.60))}
# From balanced colours of a camera to XYZ under D50: white becomes white.
FORWARD = {WARM: ((0.70, 0.13, 0.1342), (0.27, 0.82, -0.09), (0.02, -0.20, 1.0052)),
           COLD: ((0.62, 0.23, 0.1142), (0.24, 0.86, -0.10), (0.02, -0.14, 0.9452))}
# What makes this camera of its model.
OWN = {WARM: ((1.03, 0.01, 0), (0, 1, 0), (0, 0.02, 0.96)), COLD: ((1.01, 0, 0.01), (0, 1, 0), (0, 0, 0.98))}
NONE = ((1, 0, 0), (0, 1, 0), (0, 0, 1))
ANALOG = (1.2, 1, 0.9)

BRADFORD = ((0.8951, 0.2664, -0.1614), (-0.7502, 1.7135, 0.0367), (0.0389, -0.0685, 1.0296))
D65 = [sum(row) for row in XYZ]
D50 = (0.9642, 1, 0.8251)

LIGHTS = (2000, 2400, 2856, 3400, 4200, 5000, 5800, 6504, 8000, 10000)
# Shares of white in linear sRGB: grays, skin, foliage, sky, brick.
PATCHES = ((0.7, 0.7, 0.7), (0.2, 0.2, 0.2), (0.55, 0.35, 0.28), (0.15, 0.25, 0.1), (0.2, 0.3, 0.55), (0.45, 0.2, 0.15))
SIDE = 24  # LibRaw takes less for no picture


def apply(matrix, colour):
    return [sum(a * b for a, b in zip(row, colour)) for row in matrix]


def inverse(m):
    """By Cramer's rule."""
    def determinant(m):
        return sum(m[0][i] * (m[1][(i + 1) % 3] * m[2][(i + 2) % 3] - m[1][(i + 2) % 3] * m[2][(i + 1) % 3])
                   for i in range(3))

    unit = [[1.0 * (i == j) for j in range(3)] for i in range(3)]
    columns = [[determinant([[unit[j][r] if c == i else m[r][c] for c in range(3)] for r in range(3)]) / determinant(m)
                for i in range(3)] for j in range(3)]
    return [[columns[j][i] for j in range(3)] for i in range(3)]


def diagonal(numbers):
    return [[numbers[i] * (i == j) for j in range(3)] for i in range(3)]


def place(kelvin):
    """x and y: below 4,000 K of a black body, by the cubics of Kim and others, above of daylight, by those of the CIE."""
    t = 1e3 / kelvin
    if kelvin >= 4000:
        x = (-4.6070 * t**3 + 2.9678 * t**2 + 0.09911 * t + 0.244063 if kelvin <= 7000 else
             -2.0064 * t**3 + 1.9018 * t**2 + 0.24748 * t + 0.237040)
        return x, -3 * x * x + 2.87 * x - 0.275
    x = -0.2661239 * t**3 - 0.2343589 * t**2 + 0.8776956 * t + 0.179910
    if kelvin < 2222:
        return x, -1.1063814 * x**3 - 1.34811020 * x**2 + 2.18555832 * x - 0.20219683
    return x, -0.9549476 * x**3 - 1.37418593 * x**2 + 2.09137015 * x - 0.16748867


def white_of(kelvin):
    x, y = place(kelvin)
    return [x / y, 1, (1 - x - y) / y]


def adapted(colour, old, new):
    gains = [b / a for a, b in zip(apply(BRADFORD, old), apply(BRADFORD, new))]
    return apply(inverse(BRADFORD), [g * c for g, c in zip(gains, apply(BRADFORD, colour))])


def mixed(matrices, kelvin):
    """Of the two, by the inverse of the temperature."""
    kelvin = min(max(kelvin, TEMPERATURES[WARM]), TEMPERATURES[COLD])
    share = (1 / kelvin - 1 / TEMPERATURES[WARM]) / (1 / TEMPERATURES[COLD] - 1 / TEMPERATURES[WARM])
    return [[(1 - share) * a + share * b for a, b in zip(*rows)] for rows in zip(matrices[WARM], matrices[COLD])]


def lab(linear):
    def bent(t):
        return t ** (1 / 3) if t > 0.008856 else 7.787 * t + 16 / 116

    x, y, z = (bent(a / b) for a, b in zip(apply(XYZ, linear), D65))
    return 116 * y - 16, 500 * (x - y), 200 * (y - z)


class DngColours(ToolTest):
    def raw(self, camera, more, **options):
        """A file of patches, of which a camera sees these colours; the greatest number of white is 1."""
        width = SIDE * len(camera)
        samples = [min(round(60000 * max(camera[x // SIDE][y % 2 + x % 2], 0)), 65535)
                   for y in range(SIDE) for x in range(width)]
        return self.write("a.dng", dng(width, SIDE, samples, "rggb", white=60000, matrix=None, more=more, **options))

    def patches(self, *options):
        self.succeed("develop", "a.dng", "-o", "out.tif", "--curve", "linear", *options)
        width, _, _, samples, _ = read_tiff(self.read("out.tif"))
        row = samples[SIDE // 2 * 3 * width:(SIDE // 2 + 1) * 3 * width]
        return [[v / 65535 for v in row[3 * x:3 * x + 3]] for x in range(SIDE // 2, width, SIDE)]

    def expect(self, wanted, patches, limit=0.2):
        """Patches are near those wanted, and the first two, which are gray, have no colour."""
        for got, want in zip(patches, wanted):
            difference = math.dist(lab(got), lab(want))
            self.assertLess(difference, limit, (got, want))
        for gray in patches[:2]:
            self.assertLess(math.hypot(*lab(gray)[1:]), 0.2, gray)

    def scene(self, kelvin, to_camera):
        """What the camera sees of the patches and of white, white at 1 for the brightest of its colours."""
        white = white_of(kelvin)
        seen = [apply(to_camera, adapted(apply(XYZ, patch), D65, white)) for patch in (*PATCHES, (1, 1, 1))]
        top = max(seen[-1])
        return [[c / top for c in colour] for colour in seen[:-1]], [c / top for c in seen[-1]]

    def tags(self, lights=(WARM, COLD), forward=False, own=False, analog=False):
        more = {}
        for i, light in enumerate(lights):
            more[50778 + i] = (3, (light,))
            more[50721 + i] = (10, rationals(sum(COLOURS[light], ())))
            if forward:
                more[50964 + i] = (10, rationals(sum(FORWARD[light], ())))
            if own:
                more[50723 + i] = (10, rationals(sum(OWN[light], ())))
        if analog:
            more[50727] = (5, rationals(ANALOG))
        return more

    def both_ways(self, kelvin, camera, neutral, more):
        """The patches by what gray is to the camera, and by the place of the light."""
        self.raw(camera, more, neutral=neutral)
        yield self.patches()
        self.raw(camera, {**more, 50729: (5, rationals(place(kelvin)))}, neutral=None)
        yield self.patches()

    def test_two_matrices_are_mixed_by_the_light(self):
        for lights, temperatures in (((WARM, COLD), LIGHTS), ((COLD, WARM), (2400, 4200))):
            for kelvin in temperatures:
                camera, neutral = self.scene(kelvin, mixed(COLOURS, kelvin))
                for patches in self.both_ways(kelvin, camera, neutral, self.tags(lights)):
                    with self.subTest(kelvin=kelvin, lights=lights):
                        self.expect(PATCHES, patches)

    def test_the_copy_and_its_amplifiers_count(self):
        for kelvin in (2400, 4200, 8000):
            own = times(diagonal(ANALOG), mixed(OWN, kelvin))
            camera, neutral = self.scene(kelvin, times(own, mixed(COLOURS, kelvin)))
            for patches in self.both_ways(kelvin, camera, neutral, self.tags(own=True, analog=True)):
                self.expect(PATCHES, patches)

    def test_a_calibration_for_other_matrices_does_not_count(self):
        camera, neutral = self.scene(4200, mixed(COLOURS, 4200))
        signed = {50931: (2, b"laboratory\0"), 50932: (2, b"workshop\0")}
        self.raw(camera, {**self.tags(own=True), **signed}, neutral=neutral)
        self.expect(PATCHES, self.patches())
        camera, neutral = self.scene(4200, times(mixed(OWN, 4200), mixed(COLOURS, 4200)))
        # A text that is left out is an empty one.
        for signed in ({50931: (2, b"laboratory\0"), 50932: (2, b"laboratory\0\0")}, {50931: (2, b"\0")}, {}):
            self.raw(camera, {**self.tags(own=True), **signed}, neutral=neutral)
            self.expect(PATCHES, self.patches())

    def test_forward_matrices_are_taken_where_there_are_two(self):
        for kelvin in LIGHTS[::3]:
            own = times(diagonal(ANALOG), mixed(OWN, kelvin))
            neutral = apply(times(own, mixed(COLOURS, kelvin)), white_of(kelvin))
            neutral = [n / max(neutral) for n in neutral]
            balanced = [apply(inverse(mixed(FORWARD, kelvin)), adapted(apply(XYZ, p), D65, D50)) for p in PATCHES]
            camera = [apply(own, [b * m for b, m in zip(c, apply(inverse(own), neutral))]) for c in balanced]
            more = self.tags(forward=True, own=True, analog=True)
            for patches in self.both_ways(kelvin, camera, neutral, more):
                with self.subTest(kelvin=kelvin):
                    self.expect(PATCHES, patches)
        camera, neutral = self.scene(4200, mixed(COLOURS, 4200))
        self.raw(camera, {**self.tags(forward=True), 50965: None}, neutral=neutral)
        self.expect(PATCHES, self.patches())

    def test_one_matrix_holds_for_every_light(self):
        for kelvin in LIGHTS[::3]:
            camera, neutral = self.scene(kelvin, COLOURS[COLD])
            # A light without a temperature cannot be mixed with another one.
            for more in (self.tags((COLD,)), {**self.tags(), 50778: (3, (255,))}):
                for patches in self.both_ways(kelvin, camera, neutral, more):
                    with self.subTest(kelvin=kelvin):
                        self.expect(PATCHES, patches)

    def test_given_gains_tell_another_light_than_the_file(self):
        camera, neutral = self.scene(3400, mixed(COLOURS, 3400))
        self.raw(camera, self.tags(), neutral=(1, 1, 1))
        self.expect(PATCHES, self.patches("--wb", ",".join(str(1 / n) for n in neutral)))

    def test_nonsense_leaves_pictures_that_can_be_looked_at(self):
        camera, neutral = self.scene(5000, mixed(COLOURS, 5000))
        for broken in ({50721: (10, (0, 1) * 9)}, {50721: (10, (1, 0) * 9)}, {50964: (10, (0, 1) * 9)},
                       {50723: (10, (0, 1) * 9)}, {50727: (5, (0, 1) * 3)}, {50727: (5, (1, 0) * 3)}):
            self.raw(camera, {**self.tags(forward=True), **broken}, neutral=neutral)
            for gray, patch in zip(self.patches()[:2], PATCHES):
                for got, want in zip(gray, patch):
                    self.assertAlmostEqual(got, want, delta=1e-3, msg=broken)
        for x, y in ((0, 0), (0.3, 0), (0.9, 0.9)):
            self.raw(camera, {**self.tags(), 50729: (5, rationals((x, y)))}, neutral=None)
            self.refuse("develop", "a.dng", "-o", "x.tif", "--wb", "camera", names="a.dng: ",
                        says="has no white balance of a camera")


if __name__ == "__main__":
    ko_files.main()
