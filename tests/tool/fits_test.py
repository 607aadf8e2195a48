"""FITS files: extensions, compression, samples that stand for other numbers."""

import gzip
import math
import struct

import ko_files
from ko_files import ToolTest, fits, fits_unit, random_samples, read_tiff, tiff

IMAGE = ("XTENSION", "'IMAGE   '")


def single(number):
    return struct.unpack("f", struct.pack("f", number))[0]


class Fits(ToolTest):
    def unpacked(self, content, *options, name="a.fits"):
        self.write(name, content)
        self.succeed("unpack", name, "-o", "out.tif", *options)
        return read_tiff(self.read("out.tif"))

    def test_the_first_picture_may_stand_in_an_extension(self):
        head = fits_unit([], 8, b"", ("EXTEND", "T"))
        table = fits_unit([5, 3], 8, b"x" * 15, ("PCOUNT", 4), ("GCOUNT", 1), first=("XTENSION", "'BINTABLE'"))
        first = fits_unit([2, 2], 16, struct.pack(">4h", 1, 2, 3, 4), ("PCOUNT", 0), ("GCOUNT", 1), first=IMAGE)
        second = fits_unit([1, 1], 8, b"\x09", ("PCOUNT", 0), ("GCOUNT", 1), first=IMAGE)
        content = head + table + first + second
        self.assertEqual(self.unpacked(content)[:4], (2, 2, 1, [1, 2, 3, 4]))
        self.assertEqual(self.unpacked(content, "--page", "2")[:4], (1, 1, 1, [9]))
        self.assertEqual(self.succeed("info", "a.fits"),
                         "a.fits: 2 x 2, 1 channel, Int16, 16 bits, fits, page 1 of 2\n")
        self.refuse("info", "a.fits", "--page", "3", names="a.fits: ", says="has no page 3, it holds 2")

    def test_the_pattern_begins_where_the_part_of_the_sensor_does(self):
        for cards, pattern in (((), "GBRG"), ((("XBAYROFF", 1),), "BGGR"), ((("YBAYROFF", "3.0"),), "RGGB"),
                               ((("XBAYROFF", -1), ("YBAYROFF", 1)), "GRBG"), ((("XBAYROFF", 4),), "GBRG")):
            self.write("a.fits", fits(4, 2, range(8), ("BAYERPAT", "'GBRG    '"), *cards))
            self.assertIn(f", mosaic {pattern}, ", self.succeed("info", "a.fits"), cards)

    def test_compressed_files_are_read(self):
        samples = random_samples(40 * 30, 65535, 1)
        content = fits(40, 30, samples, ("BAYERPAT", "'GBRG    '"))
        self.assertEqual(self.unpacked(gzip.compress(content), name="a.fits.gz")[:4], (40, 30, 1, samples))
        self.assertIn("mosaic GBRG, fits in gzip", self.succeed("info", "a.fits.gz"))
        self.write("cut.fit.gz", gzip.compress(content)[:-900])
        self.refuse("unpack", "cut.fit.gz", "-o", "o.tif", names="cut.fit.gz: ", says="is damaged or cut short")
        # Large enough that the samples are read before the check sum behind them is.
        large = gzip.compress(fits(500, 500, 50 * random_samples(5000, 65535, 9)), 0)
        for damaged in (large[:450000] + b"\0\0" + large[450002:], large[:-8] + bytes(4) + large[-4:], large[:-4]):
            self.write("bad.fits.gz", damaged)
            self.refuse("unpack", "bad.fits.gz", "-o", "o.tif", names="bad.fits.gz: ", says="is damaged or cut short")
        self.refuse("unpack", "a.fits.gz", "-o", "o.fits.gz", names="o.fits.gz: ", says="cannot be written")

    def test_scaled_integers_become_floats(self):
        raw = [-32768, -5, 0, 1, 7, 32767]
        content = fits_unit([3, 2], 16, struct.pack(">6h", *raw), ("BSCALE", "2.5D-1"), ("BZERO", "100.125"))
        self.assertEqual(self.unpacked(content)[3], [single(single(r * 0.25) + 100.125) for r in raw])
        self.assertIn("Float32", self.succeed("info", "a.fits"))
        content = fits_unit([3, 2], 32, struct.pack(">6i", *raw), ("BSCALE", "0.1"))
        self.assertEqual(self.unpacked(content)[3], [r * 0.1 for r in raw])
        self.assertIn("Float64", self.succeed("info", "a.fits"))
        content = fits_unit([3, 2], 8, bytes(range(6)), ("BZERO", "-3"))
        self.assertEqual(self.unpacked(content)[3], [r - 3.0 for r in range(6)])
        content = fits_unit([3, 1], -32, struct.pack(">3f", 0.5, 1.5, math.inf), ("BSCALE", "2"))
        self.assertEqual(self.unpacked(content)[3], [1, 3, math.inf])

    def test_blank_samples_are_not_numbers(self):
        for cards in ((), (("BSCALE", "2"),)):
            content = fits_unit([3, 1], 16, struct.pack(">3h", 1, -99, 3), ("BLANK", -99), *cards)
            first, second, third = self.unpacked(content)[3]
            self.assertEqual((first, third), (2 if cards else 1, 6 if cards else 3))
            self.assertTrue(math.isnan(second))
        # Unsigned integers have no blank ones, floats have NaN.
        self.assertEqual(self.unpacked(fits(2, 1, [7, 8], ("BLANK", 7 - 32768)))[3], [7, 8])
        content = fits_unit([2, 1], -32, struct.pack(">2f", 5, math.nan), ("BLANK", 5))
        self.assertEqual(self.unpacked(content)[3][0], 5)

    def test_axes_of_length_one_do_not_count(self):
        content = fits_unit([2, 1, 1, 1], 16, struct.pack(">2h", 3, 4))
        self.assertEqual(self.unpacked(content)[:4], (2, 1, 1, [3, 4]))

    def test_what_holds_no_picture_says_so(self):
        self.write("empty.fits", fits_unit([], 8, b""))
        self.refuse("info", "empty.fits", names="empty.fits: ", says="holds no flat picture")
        tiles = fits_unit([4, 1], 8, b"1234", ("PCOUNT", 0), ("ZIMAGE", "T"), first=("XTENSION", "'BINTABLE'"))
        self.write("tiles.fits", fits_unit([], 8, b"") + tiles)
        self.refuse("info", "tiles.fits", names="tiles.fits: ", says="compressed in tiles; funpack")
        huge = fits_unit([2, 2, 3, 3], 16, b"")
        self.write("huge.fits", huge)
        self.refuse("info", "huge.fits", names="huge.fits: ", says="holds no flat picture")
        self.write("far.fits", fits_unit([], 8, b"", ("PCOUNT", "1D300")) + huge)
        self.refuse("info", "far.fits", names="far.fits: ", says="holds no flat picture")


if __name__ == "__main__":
    ko_files.main()
