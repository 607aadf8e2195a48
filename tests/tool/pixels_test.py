"""The commands on single pixels, masks and parts of pictures: results against hand-worked ones."""

import ko_files
from ko_files import ToolTest, png, read_tiff, tiff


class PixelTest(ToolTest):
    def result(self, *arguments):
        """(width, height, channels, samples, description) of the result."""
        self.succeed(*arguments, "-o", "out.tif")
        return read_tiff(self.read("out.tif"))

    def samples(self, *arguments):
        return self.result(*arguments)[3]


class Crop(PixelTest):
    def test_a_part_is_cut_out(self):
        self.write("a.png", png(3, 3, range(9)))
        self.assertEqual(self.result("crop", "a.png", "--roi", "1,0,2,2")[:4], (2, 2, 1, [1, 2, 4, 5]))

    def test_the_part_of_a_mosaic_begins_with_its_own_pattern(self):
        self.write("a.tif", tiff(4, 4, range(16), description="koimproc bits=16 grid=RGGB"))
        for at, grid in (("0,0", "RGGB"), ("1,0", "GRBG"), ("0,1", "GBRG"), ("1,1", "BGGR")):
            self.assertEqual(self.result("crop", "a.tif", "--roi", at + ",2,2")[4], "koimproc bits=16 grid=" + grid)

    def test_parts_outside_are_refused(self):
        self.write("a.png", png(3, 3, range(9)))
        self.refuse("crop", "a.png", "--roi", "2,0,2,2", "-o", "o.tif", names="a.png: ", says="does not lie inside")
        for roi in ("1,0,2", "1,0,2,2,2", "-1,0,2,2", "0,0,0,2", "a"):
            run = self.ko("crop", "a.png", f"--roi={roi}", "-o", "o.tif")
            self.assertEqual(run.returncode, 2)
            self.assertIn("is not four whole numbers", run.stderr)


class Channel(PixelTest):
    def test_a_channel_is_a_mono_picture_of_the_same_depth(self):
        self.write("a.tif", tiff(2, 1, [v << 4 for v in range(6)], channels=3, description="koimproc bits=12"))
        self.assertEqual(self.result("channel", "a.tif", "--index", "1"),
                         (2, 1, 1, [1 << 4, 4 << 4], "koimproc bits=12"))

    def test_a_mosaic_has_four(self):
        self.write("a.tif", tiff(4, 2, range(8), description="koimproc bits=16 grid=GRBG"))
        for index, samples in enumerate(([1, 3], [0, 2], [4, 6], [5, 7])):
            self.assertEqual(self.result("channel", "a.tif", "--index", str(index))[:4], (2, 1, 1, samples))

    def test_channels_that_do_not_exist_are_refused(self):
        self.write("a.png", png(1, 1, [1, 2, 3], channels=3))
        self.refuse("channel", "a.png", "--index", "3", "-o", "o.tif", names="a.png: ", says="no channel 3")


class Masks(PixelTest):
    def test_what_is_not_zero_becomes_one_level(self):
        self.write("f.tif", tiff(4, 1, [0.0, -0.5, 0.25, float("nan")], bits=32, sample_format=3))
        self.assertEqual(self.samples("binarize", "f.tif"), [0, 255, 255, 255])
        self.assertEqual(self.samples("binarize", "f.tif", "--value", "9"), [0, 9, 9, 9])
        self.write("c.png", png(1, 1, [1, 2, 3], channels=3))
        self.refuse("binarize", "c.png", "-o", "o.tif", names="c.png: ", says="3 channels, wanted is one")

    def test_the_rest_becomes_black(self):
        self.write("m.png", png(2, 1, [0, 1]))
        self.write("a.tif", tiff(2, 1, [11, 12, 13, 21, 22, 23], bits=8, channels=3))
        self.assertEqual(self.samples("apply-mask", "a.tif", "--mask", "m.png"), [0, 0, 0, 21, 22, 23])

    def test_a_mask_of_another_size_is_refused(self):
        self.write("m.png", png(1, 2, [0, 1]))
        self.write("a.png", png(2, 1, [3, 4]))
        self.refuse("apply-mask", "a.png", "--mask", "m.png", "-o", "o.tif", names="a.png: ",
                    says="the mask m.png has not the size of the picture, 2 x 1")
        self.refuse("apply-mask", "a.png", "--mask", "none.png", "-o", "o.tif", names="none.png: ", says="no such file")

    def test_a_level_is_painted_where_the_mask_is_placed(self):
        self.write("m.png", png(2, 1, [0, 7]))
        self.write("a.tif", tiff(3, 2, range(6), description="koimproc bits=16"))
        self.assertEqual(self.samples("paint", "a.tif", "--mask", "m.png", "--at", "1,1", "--value", "60000"),
                         [0, 1, 2, 3, 4, 60000])
        self.write("c.png", png(2, 1, range(6), channels=3))
        self.assertEqual(self.samples("paint", "c.png", "--mask", "m.png", "--value", "9"), [0, 1, 2, 9, 9, 9])

    def test_what_cannot_be_painted_is_refused(self):
        self.write("m.png", png(2, 1, [0, 7]))
        self.write("a.png", png(2, 1, [3, 4]))
        self.refuse("paint", "a.png", "--mask", "m.png", "--at", "1,0", "-o", "o.tif", names="a.png: ",
                    says="the mask does not lie inside")
        self.refuse("paint", "a.png", "--mask", "m.png", "--value", "256", "-o", "o.tif", names="a.png: ",
                    says="256 is no level")

    def test_an_ellipse_can_have_colours(self):
        self.succeed("mask", "ellipse", "1", "1", "--inside", "1,2,3", "--outside", "4", "-o", "out.tif")
        width, height, channels, samples, _ = read_tiff(self.read("out.tif"))
        self.assertEqual((width, height, channels), (3, 3, 3))
        self.assertEqual((samples[12:15], samples[:3]), ([1, 2, 3], [4, 4, 4]))
        self.succeed("mask", "ellipse", "1", "1", "--inside", "1", "--outside", "4", "-o", "out.tif")
        self.assertEqual(read_tiff(self.read("out.tif"))[2:4], (1, [4, 1, 4, 1, 1, 1, 4, 1, 4]))
        self.refuse("mask", "ellipse", "1", "1", "--inside", "1,2", "-o", "o.tif", names="", says="one number or three", code=2)


class Border(PixelTest):
    def test_a_margin_can_be_black(self):
        self.write("a.tif", tiff(1, 1, [1, 2], bits=8, channels=2))
        self.assertEqual(self.samples("border", "a.tif", "--left", "2", "--fill", "black"), [0, 0, 0, 0, 1, 2])

    def test_a_region_is_mirrored_at_its_own_edges(self):
        self.write("a.png", png(4, 1, [1, 2, 3, 4]))
        self.assertEqual(self.samples("border", "a.png", "--roi", "1,0,2,1", "--left", "1", "--right", "2"),
                         [2, 2, 3, 3, 2])
        self.refuse("border", "a.png", "--roi", "0,0,1,1", "--fill", "black", "-o", "o.tif", names="",
                    says="crop first", code=2)

    def test_pictures_that_cannot_be_mirrored_are_refused(self):
        self.write("f.tif", tiff(2, 1, [0.5, 1.5], bits=32, sample_format=3))
        self.write("two.tif", tiff(1, 1, [1, 2], bits=8, channels=2))
        self.refuse("border", "f.tif", "--left", "1", "-o", "o.tif", names="f.tif: ", says="8 or 16 bits")
        self.refuse("border", "two.tif", "--left", "1", "-o", "o.tif", names="two.tif: ", says="has 2 channels")


class Logic(PixelTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", png(4, 1, [0, 0, 5, 6]))
        self.write("b.png", png(4, 1, [0, 7, 0, 8]))

    def test_samples_count_by_whether_they_are_set(self):
        self.assertEqual(self.samples("logic", "a.png", "--and", "b.png"), [0, 0, 0, 255])
        self.assertEqual(self.samples("logic", "a.png", "--or", "b.png", "--value", "9"), [0, 9, 9, 9])
        self.assertEqual(self.samples("logic", "a.png", "--xor", "b.png", "--value", "9"), [0, 9, 9, 0])

    def test_the_level_of_the_sample_alone_stays(self):
        self.assertEqual(self.samples("logic", "a.png", "--xor", "b.png"), [0, 7, 5, 0])

    def test_white_is_that_of_the_depth(self):
        for name, samples in (("x.tif", [0, 5 << 4]), ("y.tif", [1 << 4, 5 << 4])):
            self.write(name, tiff(2, 1, samples, description="koimproc bits=12"))
        self.assertEqual(self.samples("logic", "x.tif", "--or", "y.tif"), [4095 << 4] * 2)

    def test_what_does_not_fit_is_refused(self):
        self.write("c.png", png(2, 2, range(4)))
        self.write("d.png", png(1, 1, [1, 2, 3], channels=3))
        self.refuse("logic", "a.png", "--and", "c.png", "-o", "o.tif", names="a.png: ", says="differs in size from c.png")
        self.refuse("logic", "d.png", "--and", "d.png", "-o", "o.tif", names="d.png: ", says="3 channels, wanted is one")
        for options in ((), ("--and", "b.png", "--or", "b.png")):
            self.refuse("logic", "a.png", "-o", "o.tif", *options, names="", says="one of --and, --or, --xor", code=2)


class Clamp(PixelTest):
    def test_samples_are_limited_to_the_depth(self):
        self.write("a.tif", tiff(3, 1, [1, 1023, 1024]))
        self.assertEqual(self.result("clamp", "a.tif", "--bits", "10")[3:],
                         ([1 << 6, 1023 << 6, 1023 << 6], "koimproc bits=10"))

    def test_depths_that_the_samples_do_not_have_are_refused(self):
        self.write("a.png", png(1, 1, [1]))
        self.refuse("clamp", "a.png", "--bits", "9", "-o", "o.tif", names="a.png: ", says="fewer than 9 bits")
        for bits in ("0", "31", "8.5", "x"):
            self.assertIn("is not a whole number 1...30", self.ko("clamp", "a.png", "--bits", bits, "-o", "o.tif").stderr)


class Threshold(PixelTest):
    def test_the_bright_ones_can_stay(self):
        self.write("a.png", png(4, 1, [0, 99, 100, 255]))
        self.assertEqual(self.samples("threshold", "a.png", "--above", "99", "--keep"), [0, 0, 100, 255])
        self.assertEqual(self.samples("threshold", "a.png", "--above", "99", "--keep", "--low", "3"), [3, 3, 100, 255])

    def test_marks_are_bytes(self):
        self.write("a.tif", tiff(2, 1, [1000, 1001]))
        self.assertEqual(self.result("threshold", "a.tif", "--above", "1000", "--marks"),
                         (2, 1, 1, [0, 255], "koimproc bits=8"))
        self.write("c.png", png(1, 1, [4, 5, 6], channels=3))
        self.assertEqual(self.samples("threshold", "c.png", "--above", "4", "--marks", "--high", "7"), [0, 7, 7])

    def test_outside_the_mask_is_black(self):
        self.write("a.png", png(4, 1, [0, 9, 0, 9]))
        self.write("m.png", png(4, 1, [0, 0, 1, 1]))
        for form, expected in ((("--low", "5"), [0, 0, 5, 255]), (("--keep", "--low", "5"), [0, 0, 5, 9]),
                               (("--marks",), [0, 0, 0, 255])):
            self.assertEqual(self.samples("threshold", "a.png", "--above", "5", "--mask", "m.png", *form), expected)

    def test_forms_that_exclude_each_other_are_refused(self):
        self.write("a.png", png(1, 1, [1]))
        for options in (("--marks", "--keep"), ("--marks", "--low", "1"), ("--keep", "--high", "2")):
            self.refuse("threshold", "a.png", "--above", "1", *options, "-o", "o.tif", names="", says=options[0][2:], code=2)
        self.refuse("threshold", "a.png", "--above", "1", "--marks", "--high", "256", "-o", "o.tif", names="a.png: ",
                    says="256 is no level")


class Resize(PixelTest):
    FILTERS = ("lanczos", "cubic", "triangle", "box", "exact")

    def test_the_operation_weights_a_halved_picture_by_a_tent(self):
        self.write("a.png", png(4, 1, [0, 0, 100, 100]))
        # Centred at inputs 1 and 3: a quarter, a half, a quarter, beyond the edge the outermost one.
        self.assertEqual(self.result("resize", "a.png", "--width", "2", "--height", "1", "--filter", "stretch")[:4],
                         (2, 1, 1, [25, 100]))

    def test_filters_leave_pictures_where_they_are(self):
        peak = [10, 10, 10, 10, 20, 60, 200, 60, 20, 10, 10, 10, 10]
        self.write("a.png", png(13, 1, peak))
        self.write("b.tif", tiff(13, 1, [16 * v for v in peak]))
        for name in ("a.png", "b.tif"):
            for filter in self.FILTERS:
                for width in (5, 7, 13, 26, 39):
                    samples = self.result("resize", name, "--width", str(width), "--height", "1", "--filter", filter)[3]
                    self.assertEqual(samples, samples[::-1], (name, filter, width))
        for filter in ("box", "exact"):
            self.assertEqual(self.result("resize", "a.png", "--scale", "1", "--filter", filter)[3], peak)

    def test_results_are_rounded_and_take_every_sample_into_account(self):
        self.write("a.png", png(8, 2, [0, 1, 1, 1, 7, 8, 8, 8] * 2))
        for filter in ("box", "exact"):
            self.assertEqual(self.result("resize", "a.png", "--width", "2", "--height", "1", "--filter", filter)[3], [1, 8])
        # Halves are rounded up.
        self.write("h.png", png(2, 1, [0, 3]))
        self.assertEqual(self.result("resize", "h.png", "--width", "3", "--height", "1", "--filter", "exact")[3], [0, 2, 3])
        stripes = [0, 255] * 64
        self.write("s.png", png(128, 1, stripes))
        for filter in self.FILTERS:
            samples = self.result("resize", "s.png", "--width", "8", "--height", "1", "--filter", filter)[3]
            self.assertTrue(all(120 <= v <= 135 for v in samples[1:-1]), (filter, samples))

    def test_no_result_exceeds_the_depth(self):
        self.write("a.tif", tiff(8, 1, [0, 0, 0, 4095 << 4, 4095 << 4, 0, 0, 0], description="koimproc bits=12"))
        samples = self.result("resize", "a.tif", "--scale", "4")[3]
        self.assertEqual(max(samples), 4095 << 4)

    def test_floats_can_be_resampled(self):
        self.write("f.tif", tiff(2, 2, [-1.5] * 4, bits=32, sample_format=3))
        self.succeed("resize", "f.tif", "--scale", "3", "-o", "o.tif")
        self.assertRegex(self.succeed("stats", "o.tif"), r"gray +-1\.(5|49999)\S* +-1\.(5|49999)\S* +-1\.500 ")

    def test_a_flat_picture_stays_flat_and_the_rest_is_in_proportion(self):
        self.write("a.tif", tiff(6, 4, [500 << 4] * 72, channels=3, description="koimproc bits=12"))
        for options, size in ((("--width", "3"), (3, 2)), (("--height", "8"), (12, 8)), (("--scale", "0.5"), (3, 2)),
                              (("--width", "5", "--height", "7"), (5, 7)), (("--scale", "0.01"), (1, 1))):
            for filter in (*self.FILTERS, "stretch"):
                width, height, channels, samples, description = self.result("resize", "a.tif", *options, "--filter", filter)
                self.assertEqual((width, height, channels, description), (*size, 3, "koimproc bits=12"))
                self.assertEqual(set(samples), {500 << 4})

    def test_what_cannot_be_resampled_is_refused(self):
        self.write("m.tif", tiff(2, 2, range(4), description="koimproc bits=16 grid=RGGB"))
        self.write("f.tif", tiff(1, 1, [0.5], bits=32, sample_format=3))
        self.refuse("resize", "m.tif", "--scale", "2", "-o", "o.tif", names="m.tif: ", says="would lose its pattern")
        self.write("s.tif", tiff(1, 1, [5], sample_format=2))
        for filter in ("exact", "stretch"):
            self.refuse("resize", "f.tif", "--scale", "2", "--filter", filter, "-o", "o.tif", names="f.tif: ",
                        says="8 or 16 bits")
        self.refuse("resize", "s.tif", "--scale", "2", "-o", "o.tif", names="s.tif: ", says="neither unsigned")
        for options in ((), ("--scale", "2", "--width", "2")):
            self.refuse("resize", "m.tif", "-o", "o.tif", *options, names="", says="either --width or --height", code=2)


if __name__ == "__main__":
    ko_files.main()
