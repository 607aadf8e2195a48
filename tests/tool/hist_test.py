"""ko hist and ko hist2d: the counts in tables, and that diagrams show them."""

import json
import struct
import zlib

import ko_files
from ko_files import ToolTest, png, random_samples, tiff


def read_png(content):
    """(width, height, rows of RGB triples) of an 8-bit colour PNG."""
    assert content[:8] == b"\x89PNG\r\n\x1a\n"
    at, data = 8, b""
    while at < len(content):
        length, name = struct.unpack_from(">I4s", content, at)
        if name == b"IHDR":
            width, height, depth, colours = struct.unpack_from(">IIBB", content, at + 8)
            assert (depth, colours) == (8, 2)
        elif name == b"IDAT":
            data += content[at + 8:at + 8 + length]
        at += length + 12
    raw, rows, above = zlib.decompress(data), [], bytes(3 * width)
    for y in range(height):
        kind, line = raw[y * (3 * width + 1)], bytearray(raw[y * (3 * width + 1) + 1:(y + 1) * (3 * width + 1)])
        for i in range(len(line)):
            left, up, corner = (line[i - 3] if i >= 3 else 0), above[i], (above[i - 3] if i >= 3 else 0)
            guess = left + up - corner
            paeth = min((left, up, corner), key=lambda value: abs(guess - value))
            line[i] = (line[i] + (0, left, up, (left + up) // 2, paeth)[kind]) % 256
        rows.append([tuple(line[i:i + 3]) for i in range(0, len(line), 3)])
        above = bytes(line)
    return width, height, rows


class Hist(ToolTest):
    def csv(self, *arguments):
        self.succeed("hist", *arguments, "-o", "out.csv")
        head, *rows = self.read("out.csv").decode().splitlines()
        columns = list(zip(*(map(int, row.split(",")) for row in rows)))
        self.assertEqual(columns[0], tuple(range(len(rows))))
        return head.split(",")[1:], [{level: n for level, n in enumerate(c) if n} for c in columns[1:]]

    def test_every_channel_of_a_colour_picture_is_counted(self):
        self.write("a.png", png(2, 2, [1, 2, 3, 1, 2, 255, 9, 0, 3, 1, 2, 3], channels=3))
        self.assertEqual(self.csv("a.png"), (["red", "green", "blue"], [{1: 3, 9: 1}, {2: 3, 0: 1}, {3: 3, 255: 1}]))

    def test_one_channel_can_be_chosen(self):
        self.write("a.png", png(2, 1, [1, 2, 3, 1, 2, 255], channels=3))
        self.assertEqual(self.csv("a.png", "--channel", "2"), (["blue"], [{3: 1, 255: 1}]))
        self.refuse("hist", "a.png", "--channel", "3", "-o", "out.png", names="a.png: ", says="has no channel 3")

    def test_the_levels_are_those_of_the_depth(self):
        self.write("a.tif", tiff(3, 1, [4095 << 4, 7 << 4, 7 << 4], description="koimproc bits=12"))
        self.succeed("hist", "a.tif", "-o", "out.json")
        whole = json.loads(self.read("out.json"))
        self.assertEqual((whole["file"], whole["bits"]), ("a.tif", 12))
        (channel,) = whole["channels"]
        self.assertEqual((channel["name"], len(channel["counts"])), ("gray", 4096))
        self.assertEqual((channel["counts"][4095], channel["counts"][7], sum(channel["counts"])), (1, 2, 3))

    def test_a_mosaic_has_a_curve_for_each_position_of_its_cell(self):
        self.write("a.tif", tiff(4, 2, [1, 2, 1, 2, 3, 4, 3, 5], description="koimproc bits=16 grid=GRBG"))
        self.assertEqual(self.csv("a.tif"), (["red", "green 1", "blue", "green 2"], [{2: 2}, {1: 2}, {3: 2}, {4: 1, 5: 1}]))

    def test_regions_and_masks_select(self):
        self.write("a.png", png(3, 2, [10, 11, 12, 13, 14, 15]))
        self.write("m.png", png(3, 2, [0, 1, 0, 0, 255, 1]))
        self.assertEqual(self.csv("a.png", "--roi", "1,0,2,1")[1], [{11: 1, 12: 1}])
        self.assertEqual(self.csv("a.png", "--mask", "m.png")[1], [{11: 1, 14: 1, 15: 1}])
        self.assertEqual(self.csv("a.png", "--mask", "m.png", "--roi", "1,1,2,1")[1], [{14: 1, 15: 1}])

    def test_the_mask_of_a_mosaic_selects_positions(self):
        self.write("a.tif", tiff(4, 2, range(8), description="koimproc bits=16 grid=RGGB"))
        self.write("m.png", png(4, 2, [1, 1, 0, 1, 1, 0, 1, 1]))
        self.assertEqual(self.csv("a.tif", "--mask", "m.png")[1], [{0: 1}, {1: 1, 3: 1}, {7: 1}, {4: 1, 6: 1}])

    def test_a_row_or_a_column_can_be_chosen(self):
        self.write("a.png", png(3, 2, [10, 11, 12, 13, 14, 11]))
        self.write("m.png", png(3, 2, [0, 1, 1, 0, 0, 1]))
        self.assertEqual(self.csv("a.png", "--row", "1"), (["gray"], [{13: 1, 14: 1, 11: 1}]))
        self.assertEqual(self.csv("a.png", "--column", "2")[1], [{12: 1, 11: 1}])
        self.assertEqual(self.csv("a.png", "--row", "0", "--mask", "m.png")[1], [{11: 1, 12: 1}])
        self.assertEqual(self.csv("a.png", "--column", "1", "--mask", "m.png")[1], [{11: 1}])
        self.refuse("hist", "a.png", "--row", "2", names="a.png: ", says="has no row 2")
        self.refuse("hist", "a.png", "--column", "3", names="a.png: ", says="has no column 3")
        self.refuse("hist", "a.png", "--row", "0", "--column", "0", names="", says="only one of", code=2)

    def test_gray_is_the_mean_of_the_colours(self):
        self.write("a.png", png(3, 1, [1, 2, 5, 1, 2, 3, 9, 9, 9], channels=3))
        self.write("m.png", png(3, 1, [1, 1, 0]))
        names = ["gray", "red", "green", "blue"]
        self.assertEqual(self.csv("a.png", "--gray"), (names, [{2: 2, 9: 1}, {1: 2, 9: 1}, {2: 2, 9: 1}, {5: 1, 3: 1, 9: 1}]))
        self.assertEqual(self.csv("a.png", "--gray", "--mask", "m.png"), (names, [{2: 2}, {1: 2}, {2: 2}, {5: 1, 3: 1}]))
        self.assertEqual(self.csv("a.png", "--gray", "--roi", "1,0,2,1", "--channel", "0"), (["gray"], [{2: 1, 9: 1}]))
        self.assertEqual(self.csv("a.png", "--gray", "--channel", "0", "--mask", "m.png"), (["gray"], [{2: 2}]))
        self.write("alpha.tif", tiff(1, 1, [1, 2, 6, 77], channels=4, bits=8, extra=[(338, 3, (2,))]))
        self.assertEqual(self.csv("alpha.tif", "--gray", "--channel", "0"), (["gray"], [{3: 1}]))
        self.write("g.png", png(1, 1, [1]))
        self.refuse("hist", "g.png", "--gray", names="g.png: ", says="neither a colour picture nor a mosaic")

    def test_the_gray_of_a_mosaic_is_that_of_its_cells(self):
        self.write("a.tif", tiff(4, 2, [10, 20, 1, 2, 21, 40, 3, 6], bits=8, description="koimproc bits=8 grid=RGGB"))
        self.write("m.png", png(4, 2, [0, 0, 0, 0, 0, 0, 0, 1]))
        names = ["gray", "red", "green", "blue"]
        self.assertEqual(self.csv("a.tif", "--gray"),
                         (names, [{22: 1, 3: 1}, {10: 1, 1: 1}, {20: 1, 21: 1, 2: 1, 3: 1}, {40: 1, 6: 1}]))
        self.assertEqual(self.csv("a.tif", "--gray", "--mask", "m.png"), (names, [{3: 1}, {1: 1}, {2: 1, 3: 1}, {6: 1}]))

    def test_of_signed_samples_those_that_are_not_negative_count(self):
        self.write("a.tif", tiff(4, 1, [-5, 0, 7, 7], sample_format=2))
        self.assertEqual(self.csv("a.tif"), (["gray"], [{0: 1, 7: 2}]))
        self.assertEqual(self.csv("a.tif", "--roi", "0,0,2,1"), (["gray"], [{0: 1}]))
        self.refuse("hist", "a.tif", "--row", "0", names="a.tif: ", says="of signed samples")

    def test_without_an_output_a_sparkline_is_printed(self):
        self.write("a.png", png(4, 1, [0, 0, 128, 255]))
        self.assertEqual(self.succeed("hist", "a.png"),
                         "a.png: 8 bits, pixels per 4 levels, at most 2\n"
                         "gray      |█" + " " * 31 + "▄" + " " * 30 + "▄|\n")

    def test_a_diagram_shows_the_curves_in_their_colours(self):
        self.write("a.png", png(64, 64, random_samples(64 * 64 * 3, 255, 1), channels=3))
        self.succeed("hist", "a.png", "-o", "out.png")
        width, height, rows = read_png(self.read("out.png"))
        self.assertEqual((width, height), (660, 474))
        for colour in ((205, 35, 45), (20, 140, 50), (40, 80, 215)):
            curve = {x for row in rows[108:396] for x, pixel in enumerate(row) if pixel == colour}
            self.assertGreater(len(curve), 128, colour)
            self.assertTrue(90 <= min(curve) and max(curve) < 602, colour)

    def test_a_vector_diagram_says_what_it_shows(self):
        self.write("a<b.tif", tiff(3, 1, [4095 << 4, 7 << 4, 7 << 4], description="koimproc bits=12"))
        self.succeed("hist", "a<b.tif", "--log", "-o", "out.svg")
        text = self.read("out.svg").decode()
        for words in ("a&lt;b.tif", "gray", "level, of 12 bits", "pixels per 16 levels", "1024", "4096"):
            self.assertIn(">" + words + "</text>", text)
        self.assertEqual(text.count("<polyline"), 1)

    def test_any_name_can_stand_above_a_diagram(self):
        name = "\u00e4\u540d\x07\ufffe" + "\udcff" + ".png"  # the last one is a byte that is no UTF-8
        self.write(name, png(4, 1, [0, 0, 128, 255]))
        self.succeed("hist", name, "-o", "out.svg")
        self.assertIn(">\u00e4\u540d  \ufffd.png</text>", self.read("out.svg").decode())
        self.succeed("hist", name, "-o", "out.png")
        self.assertEqual(read_png(self.read("out.png"))[:2], (660, 474))

    def test_bad_arguments_leave_nothing(self):
        self.write("a.tif", tiff(4, 3, range(12), description="koimproc bits=16 grid=RGGB"))
        self.write("f.tif", tiff(1, 1, [0.5], bits=32, sample_format=3))
        self.write("m.png", png(4, 4, [1] * 16))
        self.write("none.png", png(4, 3, [0] * 12))
        self.refuse("hist", "a.tif", "-o", "out.csv", names="a.tif: ", says="odd size, 4 x 3")
        self.refuse("hist", "f.tif", "-o", "out.csv", names="f.tif: ", says="8 or 16 bits")
        roi = ("--roi", "0,0,4,2")
        self.refuse("hist", "a.tif", *roi, "--mask", "m.png", "-o", "o.csv", names="a.tif: ",
                    says="m.png has not the size of the picture, 4 x 3")
        self.refuse("hist", "a.tif", *roi, "--mask", "none.png", "-o", "o.csv", names="a.tif: ", says="selects no sample")
        self.refuse("hist", "a.tif", "--roi", "2,0,4,2", "-o", "o.csv", names="a.tif: ", says="does not lie inside")
        self.refuse("hist", "a.tif", *roi, "-o", "no/out.csv", names="no/out.csv: ", says="cannot be written")
        self.refuse("hist", "a.tif", *roi, "-o", "out.xyz", names="out.xyz: ", says="no picture format")


class Hist2D(ToolTest):
    def test_equal_pictures_lie_on_the_diagonal(self):
        self.write("a.png", png(16, 16, range(256)))
        self.succeed("hist2d", "a.png", "a.png", "-o", "out.svg")
        cells = [line for line in self.read("out.svg").decode().splitlines() if 'width="2" height="2"' in line]
        self.assertEqual(len(cells), 256)
        for level in (0, 100, 255):
            self.assertTrue(any(f'x="{110 + 2 * level}" y="{562 - 2 * level}"' in cell for cell in cells), level)

    def test_the_first_picture_runs_across_and_frequent_pairs_are_brighter(self):
        self.write("a.png", png(10, 1, [200] * 9 + [7]))
        self.write("b.png", png(10, 1, [50] * 9 + [60]))
        self.succeed("hist2d", "a.png", "b.png", "-o", "out.png")
        _, _, rows = read_png(self.read("out.png"))
        often, once = rows[562 - 100][110 + 400], rows[562 - 120][110 + 14]
        self.assertEqual(often, (250, 235, 90))
        self.assertNotIn(once, (often, (255, 255, 255)))

    def test_a_channel_can_be_chosen(self):
        self.write("a.png", png(1, 1, [10, 20, 30], channels=3))
        self.succeed("hist2d", "a.png", "a.png", "--channel", "2", "-o", "out.svg")
        self.assertIn('x="170" y="502" width="2" height="2"', self.read("out.svg").decode())

    def test_rows_columns_and_masks_select(self):
        self.write("a.png", png(2, 2, [0, 50, 100, 150]))
        self.write("m.png", png(2, 2, [0, 0, 0, 1]))
        for options, levels in ((("--row", "1"), {100, 150}), (("--column", "0"), {0, 100}), (("--mask", "m.png"), {150})):
            self.succeed("hist2d", "a.png", "a.png", *options, "-o", "out.svg")
            cells = [line for line in self.read("out.svg").decode().splitlines() if 'width="2" height="2"' in line]
            self.assertEqual(len(cells), len(levels), options)
            for level in levels:
                self.assertTrue(any(f'x="{110 + 2 * level}" y="{562 - 2 * level}"' in cell for cell in cells), options)
        self.refuse("hist2d", "a.png", "a.png", "--row", "2", "-o", "o.png", names="a.png: ", says="no such row or column")

    def test_pictures_that_do_not_fit_are_refused(self):
        self.write("a.png", png(2, 2, range(4)))
        self.write("b.png", png(4, 1, range(4)))
        self.write("c.png", png(2, 2, range(4), bits=16))
        for other in ("b.png", "c.png"):
            self.refuse("hist2d", "a.png", other, "-o", "out.png", names=other + ": ", says="differs in size or depth")
        self.refuse("hist2d", "a.png", "a.png", "--channel", "1", "-o", "o.png", names="a.png: ", says="no channel 1")


if __name__ == "__main__":
    ko_files.main()
