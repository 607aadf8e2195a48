"""The filter commands: median, sobel, distance."""

import ko_files
from ko_files import ToolTest, tiff


class FilterTest(ToolTest):
    def assert_same(self, picture, expected):
        """The file holds exactly the samples of the expected one."""
        self.assertIn("all inf dB", self.succeed("compare", expected, picture))


class Median(FilterTest):
    def test_the_middle_sample_of_the_square_stays(self):
        self.write("in.tif", tiff(3, 3, [9, 1, 8, 2, 255, 3, 7, 4, 6], bits=8))
        self.write("expected.tif", tiff(3, 3, [2, 3, 3, 4, 6, 4, 4, 4, 4], bits=8))
        self.succeed("median", "in.tif", "-o", "out.tif", "--radius", "1")
        self.assert_same("out.tif", "expected.tif")

    def test_colour_is_filtered_channel_by_channel(self):
        one = [5, 5, 5, 5, 200, 5, 5, 5, 5]
        self.write("in.tif", tiff(3, 3, [s for v in one for s in (v, v + 1, v + 2)], bits=8, channels=3))
        self.write("expected.tif", tiff(3, 3, [5, 6, 7] * 9, bits=8, channels=3))
        self.succeed("median", "in.tif", "-o", "out.tif")
        self.assert_same("out.tif", "expected.tif")

    def test_the_depth_stays(self):
        self.write("in.tif", tiff(3, 3, [v << 4 for v in range(9)], description="koimproc bits=12"))
        self.succeed("median", "in.tif", "-o", "out.tif")
        self.assertIn("12 bits", self.succeed("info", "out.tif"))

    def test_what_does_not_fit_is_refused(self):
        self.write("small.tif", tiff(4, 4, range(16), bits=8))
        self.write("two.tif", tiff(4, 4, range(32), bits=8, channels=2))
        self.write("signed.tif", tiff(4, 4, range(16), sample_format=2))
        self.refuse("median", "small.tif", "-o", "out.tif", "--radius", "2", names="small.tif: ",
                    says="smaller than the neighbourhood")
        self.refuse("median", "two.tif", "-o", "out.tif", names="two.tif: ", says="2 channels")
        self.refuse("median", "signed.tif", "-o", "out.tif", names="signed.tif: ", says="not unsigned")


class Sobel(FilterTest):
    def test_the_strongest_edge_is_white(self):
        rows = [0, 0, 10, 30] * 3
        self.write("in.tif", tiff(4, 3, rows, bits=8))
        # Magnitudes 0, 40, 120, 0 in the middle row; 40 / 120 * 255 = 85.
        self.write("expected.tif", tiff(4, 3, [0, 0, 0, 0, 0, 85, 255, 0, 0, 0, 0, 0], bits=8))
        self.succeed("sobel", "in.tif", "-o", "out.tif")
        self.assert_same("out.tif", "expected.tif")

    def test_a_picture_without_edges_stays_black(self):
        self.write("in.tif", tiff(4, 4, [7] * 16, bits=8))
        self.write("expected.tif", tiff(4, 4, [0] * 16, bits=8))
        self.succeed("sobel", "in.tif", "-o", "out.tif")
        self.assert_same("out.tif", "expected.tif")

    def test_colour_is_refused(self):
        self.write("colour.tif", tiff(4, 4, range(48), bits=8, channels=3))
        self.refuse("sobel", "colour.tif", "-o", "out.tif", names="colour.tif: ", says="3 channels")


class Distance(FilterTest):
    def test_distances_are_pixels_in_floats(self):
        self.write("in.tif", tiff(3, 2, [0, 5, 0, 0, 0, 0], bits=8))
        d = 4 / 3
        self.write("expected.tif", tiff(3, 2, [1, 0, 1, d, 1, d], bits=32, sample_format=3))
        self.succeed("distance", "in.tif", "-o", "out.tif", "--mask", "3x3")
        self.assert_same("out.tif", "expected.tif")

    def test_scaled_distances_end_at_white(self):
        self.write("in.tif", tiff(4, 1, [0, 0, 0, 9], bits=8))
        self.write("expected.tif", tiff(4, 1, [65535, 43690, 21845, 0]))
        self.succeed("distance", "in.tif", "-o", "out.tif", "--mask", "chessboard", "--scaled")
        self.assert_same("out.tif", "expected.tif")

    def test_an_unknown_mask_is_a_wrong_command_line(self):
        self.write("in.tif", tiff(4, 1, [0, 0, 0, 9], bits=8))
        self.assertEqual(self.ko("distance", "in.tif", "-o", "out.tif", "--mask", "4x4").returncode, 2)


if __name__ == "__main__":
    ko_files.main()
