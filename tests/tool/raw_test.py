"""Camera raws, as DNG files made here: pattern, active area, black and white level."""

import ko_files
from ko_files import ToolTest, random_samples, read_tiff, tiff

COLOURS = {"r": 0, "g": 1, "b": 2}


def dng(width, height, samples, grid, black=(0,), white=65535, area=None, strip=8):
    """A raw file of one uncompressed strip of 16-bit samples; `black` is one level or four of a 2 x 2 pattern."""
    repeat = (1, 1) if len(black) == 1 else (2, 2)
    extra = [
        (254, 4, (0,)), (262, 3, (32803,)), (271, 2, b"Maker\0"), (272, 2, b"Model\0"), (274, 3, (1,)),
        (33421, 3, (2, 2)), (33422, 1, tuple(COLOURS[c] for c in grid)),
        (50706, 1, (1, 4, 0, 0)), (50708, 2, b"Maker Model\0"), (50710, 1, (0, 1, 2)), (50711, 3, (1,)),
        (50713, 3, repeat), (50714, 4, tuple(black)), (50717, 4, (white,)),
        (50721, 10, (1, 1, 0, 1, 0, 1, 0, 1, 1, 1, 0, 1, 0, 1, 0, 1, 1, 1)),
        (273, 4, (strip,)), (50728, 5, (1, 1, 1, 1, 1, 1)), (50778, 3, (21,)),
    ]
    if area:
        extra.append((50829, 4, area))
    return tiff(width, height, samples, extra=extra)


class Raw(ToolTest):
    def unpacked(self, content):
        self.write("a.dng", content)
        self.succeed("unpack", "a.dng", "-o", "out.tif")
        return read_tiff(self.read("out.tif"))

    def test_the_mosaic_comes_out_as_it_is(self):
        samples = random_samples(32 * 24, 65535, 1)
        for grid in ("rggb", "bggr", "gbrg", "grbg"):
            self.assertEqual(self.unpacked(dng(32, 24, samples, grid)),
                             (32, 24, 1, samples, f"koimproc bits=16 grid={grid.upper()}"))

    def test_black_is_subtracted_and_stops_at_zero(self):
        samples = random_samples(32 * 24, 4095, 2)
        expected = [max(s - 256, 0) << 4 for s in samples]
        self.assertEqual(self.unpacked(dng(32, 24, samples, "rggb", black=(256,), white=4095)),
                         (32, 24, 1, expected, "koimproc bits=12 grid=RGGB"))

    def test_each_position_has_its_own_black(self):
        samples = random_samples(32 * 24, 16383, 3)
        for grid in ("rggb", "gbrg"):
            levels = (100, 200, 300, 400)
            expected = [max(s - levels[i // 32 % 2 * 2 + i % 2], 0) << 2 for i, s in enumerate(samples)]
            self.assertEqual(self.unpacked(dng(32, 24, samples, grid, black=levels, white=16383)),
                             (32, 24, 1, expected, f"koimproc bits=14 grid={grid.upper()}"))

    def test_samples_above_the_white_level_stay_within_its_bits(self):
        samples = [5000] * (32 * 24)
        self.assertEqual(set(self.unpacked(dng(32, 24, samples, "rggb", white=4000))[3]), {4095 << 4})

    def test_only_the_active_area_counts_and_its_corner_names_the_pattern(self):
        samples = random_samples(40 * 30, 65535, 4)
        # LibRaw starts at whole cells of the sensor: an area that does not loses its first row or column.
        for top, left, grid in ((4, 6, "RGGB"), (3, 6, "GBRG"), (4, 5, "GRBG"), (3, 5, "BGGR")):
            rows = range(top + top % 2, top + 24 - top % 2)
            columns = range(left + left % 2, left + 32 - left % 2)
            expected = [samples[y * 40 + x] for y in rows for x in columns]
            self.assertEqual(self.unpacked(dng(40, 30, samples, "rggb", area=(top, left, top + 24, left + 32))),
                             (len(columns), len(rows), 1, expected, f"koimproc bits=16 grid={grid}"))

    def test_odd_areas_lose_their_last_row_and_column(self):
        samples = random_samples(33 * 25, 65535, 5)
        expected = [samples[y * 33 + x] for y in range(24) for x in range(32)]
        self.assertEqual(self.unpacked(dng(33, 25, samples, "rggb"))[:4], (32, 24, 1, expected))

    def test_info_names_the_camera_and_the_levels(self):
        self.write("a.dng", dng(40, 30, [0] * 1200, "rggb", (64,), 1023, (4, 6, 28, 38)))
        self.assertEqual(self.succeed("info", "a.dng"),
                         "a.dng: 32 x 24, 1 channel, UInt16, 10 bits, mosaic RGGB, camera raw Maker Model, "
                         "active area 32 x 24 at 6,4 of 40 x 30, black 64, white 1023\n")
        self.write("a.dng", dng(32, 24, [0] * 768, "rggb", (1, 2, 3, 4), 1023))
        self.assertIn(", black 1/2/3/4, white 1023\n", self.succeed("info", "a.dng"))

    def test_raws_are_demosaiced_without_options_and_with_another_pattern(self):
        samples = random_samples(32 * 24, 4095, 6)
        self.write("a.dng", dng(32, 24, samples, "grbg", (50,), 4095))
        for options in ([], ["--half"], ["--roi", "3,1,8,6"], ["--grid", "bggr"]):
            self.succeed("unpack", "a.dng", "-o", "mosaic.tif")
            self.succeed("demosaic", "a.dng", *options, "-o", "direct.tif")
            self.succeed("demosaic", "mosaic.tif", *options, "-o", "plain.tif")
            self.assertEqual(read_tiff(self.read("direct.tif")), read_tiff(self.read("plain.tif")))

    def test_sensors_without_a_mosaic_of_red_green_and_blue_are_refused(self):
        self.write("a.dng", dng(32, 24, [0] * 768, "rrbb"))
        self.refuse("demosaic", "a.dng", "-o", "out.tif", names="a.dng: ", says="mosaic")

    def test_raws_under_another_ending_are_refused(self):
        # One maker's raws start like this.
        self.write("a.bin", dng(32, 24, [0] * 768, "rggb").replace(b"II*\0", b"IIU\0"))
        self.refuse("info", "a.bin", names="a.bin: ", says="is a camera raw; give it the ending of one")

    def test_raws_that_end_early_are_refused(self):
        samples = random_samples(64 * 48, 65535, 7)
        # The samples start where a third of them does not fit before the end of the file.
        self.write("a.dng", dng(64, 48, samples, "rggb", strip=8 + 64 * 32))
        self.refuse("demosaic", "a.dng", "-o", "out.tif", names="a.dng: ", says="is damaged or cut short")


if __name__ == "__main__":
    ko_files.main()
