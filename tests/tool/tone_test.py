"""The tone commands: results against hand-worked ones."""

import os
import struct

import ko_files
from ko_files import ToolTest, png, random_samples, read_tiff, tiff


class ToneTest(ToolTest):
    def samples(self, *arguments):
        """The samples of the result, which keeps size and channels."""
        self.succeed(*arguments, "-o", "out.tif")
        return read_tiff(self.read("out.tif"))[3]


class Threshold(ToneTest):
    def test_samples_above_become_white(self):
        self.write("a.png", png(4, 1, [0, 99, 100, 255]))
        self.assertEqual(self.samples("threshold", "a.png", "--above", "99"), [0, 0, 255, 255])
        self.assertEqual(self.samples("threshold", "a.png", "--above", "99", "--low", "7", "--high", "8"), [7, 7, 8, 8])

    def test_the_depth_is_kept(self):
        self.write("a.tif", tiff(2, 1, [100 << 4, 101 << 4], description="koimproc bits=12"))
        self.succeed("threshold", "a.tif", "--above", "100", "-o", "out.tif")
        _, _, _, samples, description = read_tiff(self.read("out.tif"))
        self.assertEqual((samples, description), ([0, 4095 << 4], "koimproc bits=12"))

    def test_otsu_divides_each_channel(self):
        self.write("a.png", png(4, 1, [10, 1, 0, 12, 9, 0, 200, 1, 9, 201, 9, 9], channels=3))
        self.assertEqual(self.samples("threshold", "a.png", "--otsu"),
                         [0, 0, 0, 0, 255, 0, 255, 0, 255, 255, 255, 255])

    def test_floats_and_signed_samples_have_thresholds_too(self):
        self.write("f.tif", tiff(3, 1, [0.25, 0.5, 0.75], bits=32, sample_format=3))
        self.succeed("threshold", "f.tif", "--above", "0.4", "-o", "out.tif")
        self.assertRegex(self.succeed("stats", "out.tif"), r"gray +0 +1 +0\.667")
        self.write("s.tif", tiff(2, 1, [-5, -4], sample_format=2))
        self.succeed("threshold", "s.tif", "--above", "-5", "-o", "out.tif")
        self.assertRegex(self.succeed("stats", "out.tif"), r"gray +0 +32767 ")

    def test_levels_that_the_samples_do_not_have_are_refused(self):
        self.write("a.png", png(2, 1, [0, 1]))
        for level in ("256", "-1", "0.5", "1e300"):
            self.refuse("threshold", "a.png", "-o", "o.tif", f"--above={level}", names="a.png: ", says="is no level")
        for level in ("nan", "1,5", "inf", "five", ""):
            run = self.ko("threshold", "a.png", "-o", "o.tif", f"--above={level}")
            self.assertEqual(run.returncode, 2)
            self.assertIn("--above", run.stderr)
        self.refuse("threshold", "a.png", "-o", "o.tif", names="", says="either --above or --otsu", code=2)


class Equalize(ToneTest):
    def test_levels_are_spread_by_their_distribution(self):
        self.write("a.png", png(4, 1, [10, 10, 20, 30]))
        self.assertEqual(self.samples("equalize", "a.png"), [127, 127, 191, 255])

    def test_colours_follow_the_first_channel_and_alpha_stays(self):
        self.write("a.tif", tiff(2, 1, [10, 10, 20, 77, 20, 5, 5, 78], channels=4, bits=8, extra=[(338, 3, (2,))]))
        self.assertEqual(self.samples("equalize", "a.tif"), [127, 127, 255, 77, 255, 0, 0, 78])

    def test_other_pictures_are_refused(self):
        self.write("f.tif", tiff(1, 1, [0.5], bits=32, sample_format=3))
        self.refuse("equalize", "f.tif", "-o", "o.tif", names="f.tif: ", says="8 or 16 bits")


class Match(ToneTest):
    def test_levels_become_those_of_the_reference(self):
        self.write("a.png", png(4, 1, [1, 2, 3, 4]))
        self.write("r.png", png(4, 2, [50, 50, 60, 60, 70, 70, 80, 80]))
        self.assertEqual(self.samples("match", "a.png", "--reference", "r.png"), [50, 60, 70, 80])

    def test_a_reference_that_does_not_fit_is_refused(self):
        self.write("a.png", png(2, 1, [1, 2]))
        self.write("c.png", png(1, 1, [1, 2, 3], channels=3))
        self.write("f.tif", tiff(1, 1, [0.5], bits=32, sample_format=3))
        self.refuse("match", "a.png", "--reference", "c.png", "-o", "o.tif", names="a.png: ", says="from c.png")
        self.refuse("match", "a.png", "--reference", "f.tif", "-o", "o.tif", names="f.tif: ", says="8 or 16 bits")
        self.refuse("match", "a.png", "--reference", "no.png", "-o", "o.tif", names="no.png: ", says="no such file")


class StretchLevels(ToneTest):
    def test_a_band_is_spread_and_the_rest_is_black(self):
        self.write("a.png", png(5, 1, [49, 50, 75, 100, 101]))
        self.assertEqual(self.samples("stretch-levels", "a.png", "--low", "50", "--high", "100"), [0, 0, 127, 254, 0])

    def test_the_automatic_band_leaves_out_both_ends(self):
        self.write("a.png", png(10, 1, [0, 0, 100, 100, 110, 120, 130, 151, 151, 255]))
        # A tenth at each end: the two zeros are more than it, the 255 is not.
        self.assertEqual(self.samples("stretch-levels", "a.png", "--auto", "10"),
                         [int(v * (255 / 151)) for v in (0, 0, 100, 100, 110, 120, 130, 151, 151, 151)])

    def test_colours_share_the_automatic_band(self):
        self.write("a.png", png(2, 1, [50, 60, 70, 80, 90, 101], channels=3))
        self.assertEqual(self.samples("stretch-levels", "a.png", "--auto", "0"), [0, 50, 100, 150, 200, 255])

    def test_outside_the_mask_nothing_changes(self):
        self.write("a.png", png(4, 1, [50, 101, 75, 200]))
        self.write("m.png", png(4, 1, [1, 1, 0, 0]))
        self.assertEqual(self.samples("stretch-levels", "a.png", "--low", "50", "--high", "152", "--mask", "m.png"),
                         [0, 127, 75, 200])
        # The band is that of the selected samples.
        self.assertEqual(self.samples("stretch-levels", "a.png", "--auto", "0", "--mask", "m.png"), [0, 255, 75, 200])

    def test_the_greens_of_a_mosaic_are_stretched_together(self):
        self.write("a.tif", tiff(4, 2, [0, 10, 0, 20, 30, 0, 31, 0], bits=8, description="koimproc bits=8 grid=RGGB"))
        self.write("m.png", png(4, 2, [0, 0, 1, 0, 0, 0, 0, 0]))
        # Means 20 and 25.5, halves kept, times 255 / 51.
        band = ("--green", "--low", "0", "--high", "51")
        self.assertEqual(self.samples("stretch-levels", "a.tif", *band), [100, 127])
        self.assertEqual(self.samples("stretch-levels", "a.tif", *band, "--mask", "m.png"), [0, 127])
        self.write("g.png", png(2, 2, range(4)))
        self.refuse("stretch-levels", "g.png", *band, "-o", "o.tif", names="g.png: ", says="not a mosaic")

    def test_bands_that_make_no_sense_are_refused(self):
        self.write("a.png", png(2, 1, [7, 7]))
        for options in ((), ("--low", "5"), ("--low", "5", "--high", "5"), ("--low", "5", "--high", "6", "--auto", "1")):
            self.refuse("stretch-levels", "a.png", "-o", "o.tif", *options, names="", says="low", code=2)
        self.refuse("stretch-levels", "a.png", "-o", "o.tif", "--low", "5", "--high", "256", names="a.png: ", says="end below")
        self.refuse("stretch-levels", "a.png", "-o", "o.tif", "--auto", "1", names="a.png: ", says="has level 7")


class Flatfield(ToneTest):
    def test_the_shading_of_the_background_is_taken_out(self):
        self.write("a.png", png(4, 1, [40, 80, 20, 9]))
        self.write("b.png", png(4, 1, [50, 100, 50, 0]))
        # The mean of the background is 50; where the background is black, the result is.
        self.assertEqual(self.samples("flatfield", "a.png", "--background", "b.png"), [40, 40, 20, 0])

    def test_the_dark_picture_is_taken_off_both(self):
        self.write("a.png", png(2, 1, [45, 5]))
        self.write("b.png", png(2, 1, [55, 110]))
        self.write("d.png", png(2, 1, [5, 10]))
        samples = self.samples("flatfield", "a.png", "--background", "b.png", "--dark", "d.png")
        self.assertEqual(samples, [60, 0])

    def test_pictures_of_other_formats_are_refused(self):
        self.write("a.tif", tiff(2, 2, range(4), description="koimproc bits=12 grid=RGGB"))
        self.write("size.tif", tiff(4, 1, [99] * 4, description="koimproc bits=12 grid=RGGB"))
        self.write("depth.tif", tiff(2, 2, [9] * 4, description="koimproc bits=16 grid=RGGB"))
        self.write("grid.tif", tiff(2, 2, [99] * 4, description="koimproc bits=12 grid=BGGR"))
        self.write("black.tif", tiff(2, 2, [0] * 4))
        for name, says in (("size", "size"), ("depth", "depth"), ("grid", "mosaic pattern")):
            self.refuse("flatfield", "a.tif", "--background", name + ".tif", "-o", "o.tif",
                        names="a.tif: ", says=says)
        self.refuse("flatfield", "a.tif", "--background", "black.tif", "-o", "o.tif", names="black.tif: ", says="brighter")
        self.refuse("flatfield", "a.tif", "--background", "depth.tif", "--dark", "size.tif", "-o", "o.tif",
                    names="size.tif: ", says="differs in size from depth.tif")


    def test_factors_can_take_the_place_of_the_mean(self):
        self.write("a.png", png(3, 1, [40, 80, 9]))
        self.write("b.png", png(3, 1, [50, 100, 0]))
        self.assertEqual(self.samples("flatfield", "a.png", "--background", "b.png", "--factors", "100"), [80, 80, 9])
        self.write("c.png", png(1, 1, [40, 80, 200], channels=3))
        self.write("d.png", png(1, 1, [50, 100, 100], channels=3))
        self.assertEqual(self.samples("flatfield", "c.png", "--background", "d.png", "--factors", "10,20,200"), [8, 16, 255])

    def test_results_of_factors_stay_within_the_depth(self):
        for name, level in (("a.tif", 4000), ("b.tif", 100)):
            self.write(name, tiff(1, 1, [level << 4], description="koimproc bits=12"))
        self.assertEqual(self.samples("flatfield", "a.tif", "--background", "b.tif", "--factors", "1000"), [4095 << 4])

    def test_factors_that_do_not_fit_are_refused(self):
        self.write("a.tif", tiff(1, 1, [9]))
        self.write("c.png", png(1, 1, [1, 2, 3], channels=3))
        self.refuse("flatfield", "a.tif", "--background", "a.tif", "--factors", "1", "-o", "o.tif", names="a.tif: ",
                    says="below 16 bits")
        self.refuse("flatfield", "c.png", "--background", "c.png", "--factors", "1,2", "-o", "o.tif", names="c.png: ",
                    says="3 channels, there are 2 factors")
        self.assertIn("one to 3 numbers 0...1000000000", self.ko("flatfield", "c.png", "--background", "c.png", "-o", "o.tif",
                                                           "--factors=-1").stderr)


class CompressLevels(ToneTest):
    def test_a_band_is_divided_by_its_spread(self):
        self.write("a.png", png(5, 1, [99, 100, 150, 151, 152]))
        # 255 levels on 51 steps: a fifth.
        self.assertEqual(self.samples("compress-levels", "a.png", "--low", "100", "--high", "151"), [0, 0, 10, 10, 0])

    def test_colours_go_together(self):
        self.write("a.png", png(2, 1, [100, 110, 151, 100, 110, 152], channels=3))
        self.assertEqual(self.samples("compress-levels", "a.png", "--low", "100", "--high", "151"), [0, 2, 10, 0, 0, 0])

    def test_a_mosaic_becomes_a_colour_picture(self):
        self.write("a.tif", tiff(4, 2, [10, 20, 10, 20, 31, 40, 33, 40], bits=8, description="koimproc bits=8 grid=RGGB"))
        self.succeed("compress-levels", "a.tif", "--low", "0", "--high", "85", "-o", "out.tif")
        # Greens 20 and 31 have the mean 25, 20 and 33 have 26; a third of each.
        self.assertEqual(read_tiff(self.read("out.tif"))[:4], (2, 1, 3, [3, 8, 13, 3, 8, 13]))

    def test_a_mask_leaves_the_rest_black(self):
        self.write("a.tif", tiff(4, 2, [30] * 8, bits=8, description="koimproc bits=8 grid=RGGB"))
        self.write("m.png", png(4, 2, [0, 0, 0, 0, 0, 0, 1, 0]))
        self.assertEqual(self.samples("compress-levels", "a.tif", "--low", "0", "--high", "85", "--mask", "m.png"),
                         [0, 0, 0, 10, 10, 10])
        self.write("g.png", png(4, 2, [30] * 8))
        self.assertEqual(self.samples("compress-levels", "g.png", "--low", "0", "--high", "85", "--mask", "m.png"),
                         [0] * 6 + [10, 0])

    def test_bands_that_make_no_sense_are_refused(self):
        self.write("a.png", png(1, 1, [7]))
        self.refuse("compress-levels", "a.png", "--low", "5", "--high", "5", "-o", "o.tif", names="", says="--low must be below --high", code=2)
        self.refuse("compress-levels", "a.png", "--low", "5", "--high", "256", "-o", "o.tif", names="a.png: ", says="end below 256")


class Average(ToneTest):
    def test_sums_are_exact_and_the_quotient_is_truncated(self):
        frames = [random_samples(30, 65535, seed) for seed in range(1, 8)]
        names = [self.write(f"f{i}.tif", tiff(5, 6, frame)) for i, frame in enumerate(frames)]
        self.assertEqual(self.samples("average", *names), [sum(column) // 7 for column in zip(*frames)])

    def test_frames_that_are_not_held_give_the_same(self):
        frames = [random_samples(30, 255, seed) for seed in range(1, 6)]
        names = [self.write(f"f{i}.png", png(5, 6, frame)) for i, frame in enumerate(frames)]
        expected = [sum(column) // 5 for column in zip(*frames)]
        for memory in ("1024", "0"):
            self.assertEqual(self.samples("average", *names, "--memory", memory), expected)

    def test_depth_and_pattern_are_kept(self):
        for name, level in (("a.tif", 100), ("b.tif", 103)):
            self.write(name, tiff(2, 2, [level << 4] * 4, description="koimproc bits=12 grid=GBRG"))
        self.succeed("average", "a.tif", "b.tif", "-o", "out.tif")
        self.assertEqual(read_tiff(self.read("out.tif"))[3:], ([101 << 4] * 4, "koimproc bits=12 grid=GBRG"))

    def test_nothing_is_written_unless_all_frames_fit(self):
        self.write("a.png", png(2, 1, [1, 2]))
        self.write("b.png", png(1, 2, [1, 2]))
        run = self.ko("average", "a.png", "b.png", "none.png", "-o", "out.tif")
        self.assertEqual(run.returncode, 1)
        self.assertEqual(run.stderr.splitlines(),
                         ["ko: b.png: differs in size from the frames before", "ko: none.png: no such file"])
        self.assertFalse(os.path.exists(self.path("out.tif")))
        self.refuse("average", "a.png", "-o", "a.png", names="", says="would replace this input", code=2)


def wide_tiff(values):
    """One row of signed 32-bit samples."""
    floats = struct.unpack(f"<{len(values)}f", struct.pack(f"<{len(values)}i", *values))
    return tiff(len(values), 1, floats, bits=32, sample_format=3).replace(
        struct.pack("<HHII", 339, 3, 1, 3), struct.pack("<HHII", 339, 3, 1, 2))


class Convert(ToneTest):
    def test_the_range_of_floats_becomes_that_of_the_samples(self):
        self.write("f.tif", tiff(3, 1, [-1, 0, 1], bits=32, sample_format=3))
        self.assertEqual(self.samples("convert", "f.tif", "--to", "u8"), [0, 127, 255])
        self.assertEqual(self.samples("convert", "f.tif"), [0, 32767, 65535])
        self.assertEqual(self.samples("convert", "f.tif", "--zero-based", "--to", "u8"), [0, 0, 255])

    def test_channels_share_a_range_or_have_their_own(self):
        self.write("f.tif", tiff(2, 1, [0, 1, 2, 1, 2, 4], bits=32, channels=3, sample_format=3))
        self.assertEqual(self.samples("convert", "f.tif", "--to", "u8"), [0, 63, 127, 63, 127, 255])
        self.assertEqual(self.samples("convert", "f.tif", "--joint", "--to", "u8"), [0, 63, 127, 63, 127, 255])
        self.assertEqual(self.samples("convert", "f.tif", "--separate", "--to", "u8"), [0, 0, 0, 255, 255, 255])

    def test_a_given_range_ends_at_the_brightest_level(self):
        self.write("f.tif", tiff(5, 1, [-1, 0, 0.5, 1, 9], bits=32, sample_format=3))
        self.assertEqual(self.samples("convert", "f.tif", "--to", "u8", "--range", "0,1"), [0, 0, 128, 255, 255])
        for given in ("1,0", "1", "0,1,2", "0,x"):
            run = self.ko("convert", "f.tif", "-o", "o.tif", "--range", given)
            self.assertEqual(run.returncode, 2)
            self.assertIn("range", run.stderr)

    def test_a_mask_selects_what_has_the_range(self):
        self.write("f.tif", tiff(3, 1, [0, 1, 2, 1, 2, 3, 50, 60, 70], bits=32, channels=3, sample_format=3))
        self.write("m.png", png(3, 1, [1, 1, 0]))
        self.assertEqual(self.samples("convert", "f.tif", "--to", "u8", "--mask", "m.png"),
                         [0, 85, 170, 85, 170, 255, 0, 0, 0])
        self.refuse("convert", "f.tif", "--mask", "m.png", "-o", "o.tif", names="f.tif: ", says="to 8 bits only")

    def test_wide_integers_are_converted(self):
        self.write("i.tif", wide_tiff([-100, 0, 155]))
        self.assertEqual(self.samples("convert", "i.tif", "--to", "u8"), [0, 100, 255])

    def test_what_cannot_be_converted_is_refused(self):
        self.write("a.png", png(2, 1, [1, 2]))
        self.write("i.tif", wide_tiff([-2**31 + 1, 2**31 - 2]))
        self.refuse("convert", "a.png", "-o", "o.tif", names="a.png: ", says="only floating-point")
        self.refuse("convert", "i.tif", "-o", "o.tif", names="i.tif: ", says="further apart than 31 bits")
        self.refuse("convert", "i.tif", "-o", "o.tif", "--zero-based", names="i.tif: ", says="zero-based, range and mask are for")


if __name__ == "__main__":
    ko_files.main()
