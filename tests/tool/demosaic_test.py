"""ko demosaic: the pictures it makes."""

import os
import pty
import struct
import subprocess

import ko_files
from ko_files import ToolTest, fits, png, random_samples, read_tiff, tiff

GRIDS = ["rggb", "bggr", "gbrg", "grbg"]


def enlarge(plane, width, height):
    """Twice the size: position p lies between the samples floor(p / 2 + 1/4) - 1 and floor(p / 2 + 1/4)."""
    def taps(p, limit):
        centre4 = 2 * p + 1  # in quarters
        second = centre4 // 4
        weight = (centre4 % 4) * 16384
        return (max(second - 1, 0), 65536 - weight), (min(second, limit - 1), weight)

    wide = [[sum(line[i] * w for i, w in taps(x, width)) >> 16 for x in range(2 * width)] for line in plane]
    return [[sum(wide[i][x] * w for i, w in taps(y, height)) >> 16 for x in range(2 * width)]
            for y in range(2 * height)]


def colour_planes(grid, region, width, samples):
    """Red, the two greens in raster order of the cell, blue: by the absolute position of each sample."""
    left, top, w, h = region
    planes = {"r": [], "g0": [], "g1": [], "b": []}
    for cell_y in range(top, top + h, 2):
        rows = {name: [] for name in planes}
        for cell_x in range(left, left + w, 2):
            greens = 0
            for y in (cell_y, cell_y + 1):
                for x in (cell_x, cell_x + 1):
                    colour = grid[y % 2 * 2 + x % 2]
                    name = f"g{greens}" if colour == "g" else colour
                    greens += colour == "g"
                    rows[name].append(samples[y * width + x])
        for name in planes:
            planes[name].append(rows[name])
    return planes


def demosaiced(grid, width, height, samples, bits, region=None, half=False):
    region = region or (0, 0, width, height)
    planes = colour_planes(grid, region, width, samples)
    if not half:
        planes = {k: enlarge(p, region[2] // 2, region[3] // 2) for k, p in planes.items()}
    top = 2**bits - 1
    picture = []
    for rows in zip(*(planes[name] for name in ("r", "g0", "g1", "b"))):
        for r, g0, g1, b in zip(*rows):
            if not half:
                r, g0, g1, b = (min(v, top) for v in (r, g0, g1, b))
            picture += [r, (g0 + g1) >> 1, b]
    return picture


def mosaic(width, height, samples, grid, bits):
    """As the tool stores it: the samples in the high bits."""
    container = 8 if bits == 8 else 16
    return tiff(width, height, [s << (container - bits) for s in samples], container,
                description=f"koimproc bits={bits} grid={grid.upper()}")


class Demosaic(ToolTest):
    def expect(self, name, width, height, samples, bits=12):
        container = 8 if bits == 8 else 16
        self.assertEqual(read_tiff(self.read(name)),
                         (width, height, 3, [s << (container - bits) for s in samples], f"koimproc bits={bits}"))

    def test_every_pattern_and_depth_gives_the_interpolated_picture(self):
        cases = {f"{grid}{bits}": (grid, bits, random_samples(12 * 8, 2**bits - 1, bits))
                 for grid in GRIDS for bits in (8, 10, 12, 16)}
        names = [self.write(f"{name}.tif", mosaic(12, 8, samples, grid, bits))
                 for name, (grid, bits, samples) in cases.items()]
        self.succeed("demosaic", *names, "-o", "out/")
        for name, (grid, bits, samples) in cases.items():
            self.expect(f"out/{name}.tif", 12, 8, demosaiced(grid, 12, 8, samples, bits), bits)

    def test_one_cell_becomes_four_equal_pixels(self):
        self.write("m.tif", mosaic(2, 2, [4000, 1001, 3000, 17], "rggb", 12))
        self.succeed("demosaic", "m.tif", "-o", "out.tif")
        self.expect("out.tif", 2, 2, [4000, 2000, 17] * 4)

    def test_half_size_takes_each_cell_as_one_pixel(self):
        samples = random_samples(6 * 4, 4095, 5)
        names = [self.write(f"{grid}.tif", mosaic(6, 4, samples, grid, 12)) for grid in GRIDS]
        self.succeed("demosaic", *names, "--half", "-o", "out/")
        for grid in GRIDS:
            self.expect(f"out/{grid}.tif", 3, 2, demosaiced(grid, 6, 4, samples, 12, half=True))

    def test_the_methods_differ_at_edges_and_agree_on_their_regions(self):
        edge = [600 if x < 7 else 3000 for y in range(12) for x in range(16)]
        self.write("edge.tif", mosaic(16, 12, edge, "gbrg", 12))
        self.succeed("demosaic", "edge.tif", "-o", "linear.tif", "--method", "linear")
        self.expect("linear.tif", 16, 12, demosaiced("gbrg", 16, 12, edge, 12))
        wrong = {}
        for method in ("malvar", "menon"):
            self.succeed("demosaic", "edge.tif", "-o", "out.tif", "--method", method)
            samples = [s >> 4 for s in read_tiff(self.read("out.tif"))[3]]
            wrong[method] = sum(abs(s - edge[i // 3]) for i, s in enumerate(samples))
            self.succeed("demosaic", "edge.tif", "-o", "part.tif", "--method", method, "--roi", "3,1,9,5")
            self.expect("part.tif", 9, 5, [samples[3 * (y * 16 + x) + c] for y in range(1, 6) for x in range(3, 12)
                                           for c in range(3)])
        self.assertLess(wrong["menon"], wrong["malvar"])
        self.refuse("demosaic", "edge.tif", "-o", "x.tif", "--half", "--method", "menon", names="",
                    says="either --half or --method can be wanted", code=2)

    def test_a_region_keeps_the_colours_of_its_place(self):
        samples = random_samples(10 * 10, 4095, 6)
        self.write("m.tif", mosaic(10, 10, samples, "grbg", 12))
        for region in ((2, 4, 6, 4), (1, 0, 8, 6), (3, 3, 4, 4)):
            for half in (False, True):
                self.succeed("demosaic", "m.tif", "--roi", ",".join(map(str, region)), *["--half"] * half,
                             "-o", "out.tif")
                scale = 2 if half else 1
                self.expect("out.tif", region[2] // scale, region[3] // scale,
                            demosaiced("grbg", 10, 10, samples, 12, region, half))

    def test_options_stand_in_for_a_file_that_says_nothing(self):
        samples = random_samples(4 * 4, 4095, 7)
        self.write("m.tif", tiff(4, 4, samples))
        self.succeed("demosaic", "m.tif", "--grid", "GbRg", "--bits", "12", "-o", "out.tif")
        self.expect("out.tif", 4, 4, demosaiced("gbrg", 4, 4, samples, 12))

    def test_samples_above_the_stated_depth_are_clamped(self):
        self.write("m.tif", tiff(2, 2, [5000, 300, 65535, 4095]))
        self.succeed("demosaic", "m.tif", "--grid", "rggb", "--bits", "12", "-o", "out.tif")
        self.expect("out.tif", 2, 2, [4095, (300 + 4095) // 2, 4095] * 4)
        self.succeed("demosaic", "m.tif", "--grid", "rggb", "--bits", "12", "--half", "-o", "out.tif")
        self.expect("out.tif", 1, 1, [4095, 4095, 4095])

    def test_options_override_what_the_file_says(self):
        samples = random_samples(4 * 4, 4095, 8)
        self.write("m.tif", mosaic(4, 4, samples, "rggb", 12))
        self.succeed("demosaic", "m.tif", "--grid", "bggr", "--bits", "14", "-o", "out.tif")
        self.expect("out.tif", 4, 4, demosaiced("bggr", 4, 4, samples, 14), 14)

    def test_png_and_fits_hold_mosaics_too(self):
        samples = random_samples(4 * 6, 65535, 9)
        self.write("m.png", png(4, 6, samples, 16))
        self.write("m.fits", fits(4, 6, samples, ("BAYERPAT", "'GRBG    '")))
        expected = demosaiced("grbg", 4, 6, samples, 16)
        self.succeed("demosaic", "m.png", "--grid", "grbg", "-o", "out.tif")
        self.expect("out.tif", 4, 6, expected, 16)
        self.succeed("demosaic", "m.fits", "-o", "out.tif")
        self.expect("out.tif", 4, 6, expected, 16)

    def test_fits_results_are_planes_of_unsigned_samples(self):
        samples = random_samples(2 * 4, 4095, 10)
        self.write("m.tif", mosaic(2, 4, samples, "rggb", 12))
        self.succeed("demosaic", "m.tif", "-o", "out.fits")
        content = self.read("out.fits")
        self.assertEqual(len(content), 2 * 2880)
        stored = struct.unpack(">24h", content[2880:2880 + 48])
        expected = demosaiced("rggb", 2, 4, samples, 12)
        self.assertEqual([s + 32768 for s in stored], [expected[3 * i + c] << 4 for c in range(3) for i in range(8)])

    def test_formats_of_eight_bits_get_the_high_bits(self):
        self.write("m.tif", mosaic(2, 2, [4095, 2048, 2048, 0], "rggb", 12))
        self.succeed("demosaic", "m.tif", "-o", "out.bmp")
        content = self.read("out.bmp")
        self.assertEqual(content[-16:], 2 * bytes([0, 128, 255, 0, 128, 255, 0, 0]))  # from blue to red

    def test_a_series_of_changing_formats_goes_into_a_directory(self):
        formats = [(4, 4, 12, "rggb"), (4, 4, 12, "rggb"), (6, 2, 12, "rggb"), (6, 2, 8, "rggb"), (6, 2, 8, "bggr")]
        for n, (w, h, bits, grid) in enumerate(formats):
            self.write(f"m{n}.tif", mosaic(w, h, random_samples(w * h, 2**bits - 1, n), grid, bits))
        names = [f"m{n}.tif" for n in range(len(formats))]
        summary = self.succeed("demosaic", *names, "-o", "results/")
        self.assertIn("5 of 5 frames", summary)
        self.assertRegex(summary, r"frames/s, .* megapixels/s")
        for n, (w, h, bits, grid) in enumerate(formats):
            samples = random_samples(w * h, 2**bits - 1, n)
            self.expect(f"results/m{n}.tif", w, h, demosaiced(grid, w, h, samples, bits), bits)

    def test_a_series_follows_a_pattern_of_names(self):
        for name in ("a.tif", "b.tif"):
            self.write(name, mosaic(2, 2, [1, 2, 3, 4], "rggb", 12))
        self.succeed("demosaic", "a.tif", "b.tif", "-o", "colour-{}.png")
        self.assertEqual(sorted(os.listdir(self.dir)), ["a.tif", "b.tif", "colour-a.png", "colour-b.png"])

    def test_the_progress_bar_is_for_terminals(self):
        for name in ("a.tif", "b.tif"):
            self.write(name, mosaic(2, 2, [1, 2, 3, 4], "rggb", 12))
        arguments = [ko_files.TOOL, "demosaic", "a.tif", "b.tif", "-o", "out/"]
        ours, theirs = pty.openpty()
        subprocess.run(arguments, cwd=self.dir, stdout=subprocess.DEVNULL, stderr=theirs, check=True)
        os.close(theirs)
        shown = os.read(ours, 10000).decode()
        os.close(ours)
        self.assertIn("] 0/2", shown)
        self.assertIn("] 1/2", shown)
        self.assertEqual(self.succeed(*arguments[1:]).count("\r"), 0)


if __name__ == "__main__":
    ko_files.main()
