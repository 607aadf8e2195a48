"""ko compare: the ratios it prints."""

import math

import ko_files
from ko_files import ToolTest, tiff


class Compare(ToolTest):
    def test_equal_pictures_have_no_noise(self):
        self.write("a.tif", tiff(2, 2, range(12), bits=8, channels=3))
        self.assertEqual(self.succeed("compare", "a.tif", "a.tif"),
                         "shift 0,0, 2 x 2 pixels, PSNR inf inf inf all inf dB\n")

    def test_the_ratio_is_that_of_the_peak_to_the_mean_square(self):
        self.write("a.tif", tiff(2, 1, [0, 0, 0, 255, 255, 255], bits=8, channels=3))
        self.write("b.tif", tiff(2, 1, [51, 0, 0, 255, 204, 255], bits=8, channels=3))
        one = 10 * math.log10(2 / 0.04)
        both = 10 * math.log10(6 / 0.08)
        self.assertEqual(self.succeed("compare", "a.tif", "b.tif"),
                         f"shift 0,0, 2 x 1 pixels, PSNR {one:.2f} {one:.2f} inf all {both:.2f} dB\n")

    def test_depths_are_compared_by_their_white(self):
        self.write("a.tif", tiff(2, 1, [255, 0], bits=8))
        self.write("b.tif", tiff(2, 1, [4095 << 4, 0], description="koimproc bits=12"))
        self.assertIn("all inf dB", self.succeed("compare", "a.tif", "b.tif"))

    def test_a_shift_is_moved_back_before_the_comparison(self):
        self.write("a.tif", tiff(3, 3, [1, 2, 0, 3, 4, 0, 0, 0, 0], bits=8))
        self.write("b.tif", tiff(3, 3, [9, 9, 9, 9, 1, 2, 9, 3, 4], bits=8))
        lines = self.succeed("compare", "a.tif", "b.tif", "--shift", "1,1").splitlines()
        self.assertTrue(lines[0].startswith("shift 0,0, 3 x 3 pixels, PSNR "))
        self.assertNotIn("inf", lines[0])
        self.assertEqual(lines[1], "shift 1,1, 2 x 2 pixels, PSNR inf all inf dB")
        self.assertEqual(self.succeed("compare", "b.tif", "a.tif", "--shift", "-1,-1").splitlines()[1],
                         "shift -1,-1, 2 x 2 pixels, PSNR inf all inf dB")

    def test_what_an_odd_photograph_lost_is_left_out(self):
        self.write("a.tif", tiff(3, 3, [1, 2, 0, 3, 4, 0, 0, 0, 0], bits=8))
        self.write("b.tif", tiff(2, 2, [1, 2, 3, 4], bits=8))
        self.assertEqual(self.succeed("compare", "a.tif", "b.tif"),
                         "shift 0,0, 2 x 2 pixels, PSNR inf all inf dB\n")

    def test_pictures_that_cannot_be_compared_are_refused(self):
        self.write("a.tif", tiff(2, 2, range(4)))
        self.write("wide.tif", tiff(4, 2, range(8)))
        self.write("colour.tif", tiff(2, 2, range(12), channels=3))
        self.write("signed.tif", tiff(2, 2, range(4), sample_format=2))
        self.refuse("compare", "a.tif", "wide.tif", names="wide.tif: ", says="differs in size")
        self.refuse("compare", "a.tif", "colour.tif", names="colour.tif: ", says="number of channels")
        self.refuse("compare", "signed.tif", "a.tif", names="signed.tif: ", says="can be compared")
        self.refuse("compare", "a.tif", "a.tif", "--shift", "2,0", names="", says="nothing to compare", code=2)


if __name__ == "__main__":
    ko_files.main()
