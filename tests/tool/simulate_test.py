"""ko simulate: the mosaics it makes of photographs."""

import itertools
import os
import statistics

import ko_files
from ko_files import ToolTest, png, random_samples, read_tiff, tiff


class Simulate(ToolTest):
    def test_every_position_takes_its_colour_of_the_photograph(self):
        photo = random_samples(6 * 4 * 3, 255, 1)
        self.write("photo.png", png(6, 4, photo, channels=3))
        for grid in ("rggb", "bggr", "gbrg", "grbg"):
            self.succeed("simulate", "photo.png", "-o", "raw.tif", "--bits", "8", "--grid", grid)
            expected = [photo[(y * 6 + x) * 3 + "rgb".index(grid[y % 2 * 2 + x % 2])]
                        for y in range(4) for x in range(6)]
            self.assertEqual(read_tiff(self.read("raw.tif")),
                             (6, 4, 1, expected, f"koimproc bits=8 grid={grid.upper()}"))

    def test_white_is_white_at_every_depth(self):
        self.write("photo.tif", tiff(2, 2, [65535, 0, 0, 0, 32768, 0, 0, 0, 0, 0, 0, 257], channels=3))
        for bits in range(9, 17):
            self.succeed("simulate", "photo.tif", "-o", "raw.tif", "--bits", str(bits))
            top = 2**bits - 1
            expected = [top, (32768 * top * 2 + 65535) // 131070, 0, (257 * top * 2 + 65535) // 131070]
            self.assertEqual(read_tiff(self.read("raw.tif")),
                             (2, 2, 1, [s << (16 - bits) for s in expected], f"koimproc bits={bits} grid=RGGB"))

    def test_light_is_what_a_sensor_counts_of_it(self):
        photo = [0, 128, 255, 255, 10, 64, 0, 188, 255, 3, 255, 90]
        self.write("photo.png", png(2, 2, photo, channels=3))
        self.succeed("simulate", "photo.png", "-o", "raw.tif", "--linear", "--bits", "16")
        def light(level):
            return level / 255 / 12.92 if level <= 10 else ((level / 255 + 0.055) / 1.055) ** 2.4
        expected = [light(0) / 2, light(10), light(188), light(90) * 2 / 3]
        self.assertEqual(read_tiff(self.read("raw.tif"))[3], [int(v * 65535 + 0.5) for v in expected])

    def test_floats_outside_the_range_are_cut(self):
        values = [2.0, 0, 0, 0, -1.0, 0, 0, float("nan"), 0, 0, 0, 0.5]
        self.write("photo.tif", tiff(2, 2, values, bits=32, channels=3, sample_format=3))
        self.succeed("simulate", "photo.tif", "-o", "raw.tif", "--bits", "16")
        self.assertEqual(read_tiff(self.read("raw.tif"))[3], [65535, 0, 0, 32768])

    def test_odd_photographs_are_cropped_and_told_so(self):
        self.write("photo.png", png(5, 3, [9] * 45, channels=3))
        told = self.succeed("simulate", "photo.png", "-o", "raw.tif")
        self.assertIn("cropped from 5 x 3 to 4 x 2", told)
        self.assertEqual(read_tiff(self.read("raw.tif"))[:2], (4, 2))

    def test_noise_has_the_stated_size_and_is_the_same_every_time(self):
        self.write("photo.png", png(64, 64, [128] * 64 * 64 * 3, channels=3))
        mosaics = []
        for name in ("a.tif", "b.tif"):
            self.succeed("simulate", "photo.png", "-o", name, "--noise", "20")
            mosaics.append([s >> 4 for s in read_tiff(self.read(name))[3]])
        self.assertEqual(mosaics[0], mosaics[1])
        self.assertAlmostEqual(statistics.mean(mosaics[0]), 128 / 255 * 4095, delta=1.5)
        self.assertAlmostEqual(statistics.pstdev(mosaics[0]), 20, delta=1)

    def test_every_seed_has_noise_of_its_own_and_the_first_is_the_default(self):
        self.write("photo.png", png(64, 64, [128] * 64 * 64 * 3, channels=3))
        frames = {}
        for seed in ("", "0", "1", "2", "4294967295"):
            self.succeed("simulate", "photo.png", "-o", "raw.tif", "--noise", "20", *(["--seed", seed] if seed else []))
            frames[seed] = [s >> 4 for s in read_tiff(self.read("raw.tif"))[3]]
        self.assertEqual(frames[""], frames["1"])
        for one, other in itertools.combinations(("0", "1", "2", "4294967295"), 2):
            differences = [a - b for a, b in zip(frames[one], frames[other])]
            # Independent noise: the deviation of the difference is larger by the root of 2.
            self.assertAlmostEqual(statistics.pstdev(differences), 20 * 2**0.5, delta=1.5)
        for seed in ("-1", "4294967296", "x", "1.5"):
            run = self.ko("simulate", "photo.png", "-o", "bad.tif", "--seed", seed)
            self.assertEqual(run.returncode, 2, seed)
            self.assertFalse(os.path.exists(self.path("bad.tif")))

    def test_the_vignette_darkens_the_corners_alone(self):
        self.write("photo.png", png(34, 18, [255] * 34 * 18 * 3, channels=3))
        self.succeed("simulate", "photo.png", "-o", "raw.tif", "--bits", "16", "--vignette", "0.4")
        samples = read_tiff(self.read("raw.tif"))[3]
        for corner in (0, 33, 17 * 34, 18 * 34 - 1):
            self.assertAlmostEqual(samples[corner], 0.6 * 65535, delta=1)
        self.assertGreater(samples[8 * 34 + 16], 0.998 * 65535)

    def test_what_is_no_number_is_refused(self):
        self.write("photo.png", png(2, 2, [9] * 12, channels=3))
        for option, wrong in (("--noise", "nan"), ("--vignette", "nan"), ("--noise", "inf"), ("--vignette", "1.1"),
                              ("--noise", "-1"), ("--bits", "7"), ("--bits", "8.5")):
            self.refuse("simulate", "photo.png", "-o", "raw.tif", option, wrong, names=f"{option}: {wrong} is not ",
                        says="number", code=2)

    def test_pictures_that_are_no_colour_photographs_are_refused(self):
        self.write("gray.tif", tiff(2, 2, range(4)))
        self.write("thin.tif", tiff(1, 2, range(6), channels=3))
        self.write("signed.tif", tiff(2, 2, range(12), channels=3, sample_format=2))
        self.refuse("simulate", "gray.tif", "-o", "raw.tif", names="gray.tif: ", says="not a colour photograph")
        self.refuse("simulate", "thin.tif", "-o", "raw.tif", names="thin.tif: ", says="smaller than one 2 x 2 cell")
        self.refuse("simulate", "signed.tif", "-o", "raw.tif", names="signed.tif: ", says="must be unsigned")


if __name__ == "__main__":
    ko_files.main()
