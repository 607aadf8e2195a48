"""Camera raws that hold red, green and blue of every pixel: DNG files of the kind LinearRaw."""

import os
import struct

import ko_files
from develop_test import CAMERA, GRAY, DevelopTest, decoded, encoded, photograph, seen
from ko_files import random_samples, read_tags, read_tiff
from raw_test import beside, dng, in_parts, packed

WIDTH, HEIGHT = 33, 25


def linear(width, height, samples, black=(0,), white=None, bits=16, pixels=None, more=None, **options):
    """A raw file of one uncompressed strip; `black` is one level or that of each colour."""
    kind = {262: (3, (34892,)), 258: (3, (bits,) * 3), 277: (3, (3,)), 284: (3, (1,)), 33421: None, 33422: None,
            50710: None, 50711: None, 50713: (3, (1, 1)), 50714: (4, black if len(black) == 3 else 3 * black),
            50717: (4, 3 * (2**bits - 1 if white is None else white,))}
    pixels = packed(samples, 3 * width, bits) if pixels is None else pixels
    return dng(width, height, (), "rggb", bits=bits, pixels=pixels, more={**kind, **(more or {})}, **options)


def parts(samples, bits, columns, rows, are_tiles, components=0, width=WIDTH):
    """As `in_parts`, of pixels."""
    pixels, tags = in_parts(3 * width, samples, bits, 3 * columns, rows, are_tiles, components)
    return pixels, {**tags, **({322: (4, (columns,))} if are_tiles else {})}


# A JPEG of 32 x 32 pixels, gray 64 on the left and gray 192 on the right.
JPEG = (b"\xff\xd8" + b"".join(b"\xff\xdb\0\x43" + bytes([i]) + 64 * b"\1" for i in range(2))
        + bytes.fromhex("ffc00011080020002003011100021101031101"
                        "ffc400160001010100000000000000000000000000000b0a"
                        "ffc40014100100000000000000000000000000000000"
                        "ffc40014010100000000000000000000000000000000"
                        "ffc40014110100000000000000000000000000000000"
                        "ffda000c03010002110311003f00"
                        "cff800a000009ff800a000009ff800a000009ff800a00000ffd9"))
POLYNOMIALS = ((0, 0.5), (0.1, 0, 0.8), (0, 0.25, 0, 0.75))


def polynomials(planes=(0, 1, 2), area=(0, 0, 32, 32), count=1):
    """A list of corrections that makes the samples of a JPEG linear."""
    body = b""
    for plane, factors in zip(planes, POLYNOMIALS):
        content = struct.pack(">9I", *area, plane, count, 1, 1, len(factors) - 1) + struct.pack(f">{len(factors)}d", *factors)
        body += struct.pack(">4I", 8, 0x01030000, 0, len(content)) + content
    return 7, struct.pack(">I", len(planes)) + body


class LinearRaw(DevelopTest):
    def unpacked(self, content):
        self.write("a.dng", content)
        self.succeed("unpack", "a.dng", "-o", "out.tif")
        return read_tiff(self.read("out.tif"))

    def test_the_samples_come_out_as_they_are(self):
        for bits in (8, 10, 12, 14, 16):
            samples = random_samples(3 * WIDTH * HEIGHT, 2**bits - 1, bits)
            expected = (WIDTH, HEIGHT, 3, [s << (16 - bits) for s in samples], f"koimproc bits={bits}")
            self.assertEqual(self.unpacked(linear(WIDTH, HEIGHT, samples, bits=bits)), expected)
            for options in ((WIDTH, 7, False), (16, 16, True), (48, 32, True)):
                pixels, tags = parts(samples, bits, *options)
                got = self.unpacked(linear(WIDTH, HEIGHT, (), bits=bits, pixels=pixels, more=tags))
                self.assertEqual(got, expected, (bits, options))

    def test_lossless_jpeg(self):
        for width, options in ((WIDTH, (WIDTH, HEIGHT, False)), (WIDTH, (32, 16, True)), (144, (16, 16, True))):
            samples = random_samples(3 * width * HEIGHT, 65535, 7)
            pixels, tags = parts(samples, 16, *options, components=3, width=width)
            got = self.unpacked(linear(width, HEIGHT, (), pixels=pixels, more=tags))
            self.assertEqual(got[:4], (width, HEIGHT, 3, samples))
        # LibRaw mixes these up.
        for options in ((48, HEIGHT, True, 3), (16, 16, True, 1), (WIDTH, HEIGHT, False, 1)):
            pixels, tags = parts(random_samples(3 * WIDTH * HEIGHT, 65535, 7), 16, *options)
            self.write("a.dng", linear(WIDTH, HEIGHT, (), pixels=pixels, more=tags))
            self.refuse("develop", "a.dng", "-o", "x.tif", names="a.dng: ", says="its lossless JPEG has a width that is not")

    def test_samples_may_stand_for_others(self):
        curve = [min(i * i // 200, 65535) for i in range(4096)]
        samples = random_samples(3 * WIDTH * HEIGHT, 4095, 8)
        got = self.unpacked(linear(WIDTH, HEIGHT, samples, bits=12, white=65535, curve=curve))
        self.assertEqual(got[3], [curve[s] for s in samples])

    def test_black_is_that_of_every_colour(self):
        samples = random_samples(3 * WIDTH * HEIGHT, 4095, 9)
        for black, words in (((100,), "100"), ((100, 200, 300), "100/200/300")):
            levels = black if len(black) == 3 else 3 * black
            got = self.unpacked(linear(WIDTH, HEIGHT, samples, black, 4095))
            self.assertEqual(got[3], [max(s - levels[i % 3], 0) << 4 for i, s in enumerate(samples)])
            self.assertRegex(self.succeed("info", "a.dng"),
                             "^a.dng: 33 x 25, 3 channels, UInt16, 12 bits, camera raw Maker Model, demosaiced before, active "
                             f"area 33 x 25 at 0,0 of 33 x 25, white balance [0-9.,]*, black {words}, white 4095\n$")
        pattern = (10, 20, 30, 40, 50, 60)
        got = self.unpacked(linear(WIDTH, HEIGHT, samples, white=4095, more={50713: (3, (1, 2)), 50714: (4, pattern)}))
        self.assertEqual(got[3], [max(s - pattern[i // 3 % WIDTH % 2 * 3 + i % 3], 0) << 4 for i, s in enumerate(samples)])
        self.assertIn(", black 10 to 60, white", self.succeed("info", "a.dng"))

    def test_the_active_area_alone_counts(self):
        samples = random_samples(3 * 40 * 30, 65535, 10)
        got = self.unpacked(linear(40, 30, samples, area=(3, 4, 28, 37)))
        rows = [samples[3 * (y * 40 + 4):3 * (y * 40 + 37)] for y in range(3, 28)]
        self.assertEqual(got[:4], (33, 25, 3, sum(rows, [])))
        self.assertIn(", active area 33 x 25 at 4,3 of 40 x 30, ", self.succeed("info", "a.dng"))

    def test_jpeg_with_polynomials(self):
        tags = {259: (3, (34892,)), 51009: polynomials()}
        self.write("a.dng", linear(32, 32, (), bits=8, pixels=JPEG, more=tags))
        info = self.succeed("info", "a.dng")
        self.assertTrue(info.endswith(", black 0, white 65535\n"), info)
        got = self.unpacked(self.read("a.dng"))
        for x, level in ((0, 64), (31, 192)):
            for c, factors in enumerate(POLYNOMIALS):
                want = sum(f * (level / 255)**i for i, f in enumerate(factors))
                self.assertAlmostEqual(got[3][3 * (5 * 32 + x) + c], 65535 * want, delta=1.01)
        # Those of another list are not applied, those of another picture do not matter.
        copy = {254: (4, (1,)), 256: (4, (16,)), 257: (4, (16,)), 258: (3, (8,) * 3), 259: (3, (34892,)), 262: (3, (34892,)),
                273: (4, (8,)), 277: (3, (3,)), 278: (4, (16,)), 279: (4, (len(JPEG),)), 51009: polynomials((2, 1, 0))}
        self.assertEqual(self.unpacked(beside(self.read("a.dng"), copy)), got)
        self.assertEqual(self.succeed("info", "a.dng"), info)
        self.write("a.dng", linear(32, 32, (), bits=8, pixels=JPEG, more={**tags, 51022: polynomials()}))
        self.assertIn(", not applied: MapPolynomial\n", self.succeed("info", "a.dng"))
        for wrong in ({51009: None}, {51009: polynomials((0, 0, 2))}, {51009: polynomials((0, 1))},
                      {51009: polynomials(area=(1, 0, 32, 32))}, {51009: polynomials(area=(0, 0, 32, 31))},
                      {51009: polynomials(count=3)}, {50714: (4, (1, 1, 1))}, {50717: (4, 3 * (254,))},
                      {50712: (3, tuple(range(256)))}):
            self.write("a.dng", linear(32, 32, (), bits=8, pixels=JPEG, more={**tags, **wrong}))
            self.refuse("develop", "a.dng", "-o", "x.tif", names="a.dng: ", says="its samples are JPEG without a polynomial")
        for broken in (JPEG[:-30], JPEG[:100], b"\0" + JPEG[1:]):
            content = linear(32, 32, (), bits=8, pixels=broken + bytes(len(JPEG) - len(broken)), more=tags)
            self.write("a.dng", content)
            self.refuse("develop", "a.dng", "-o", "x.tif", names="a.dng: ", says="is damaged or cut short")
        # LibRaw would look for four billion corrections behind the end of the file, for hours.
        endless = (7, b"\xff\xff\xff\xff" + polynomials()[1][4:])
        self.write("a.dng", linear(32, 32, (), bits=8, pixels=JPEG, more={**tags, 51009: endless}))
        self.refuse("develop", "a.dng", "-o", "x.tif", names="a.dng: ", says="is damaged or cut short", timeout=60)

    def test_what_is_stored_otherwise_is_refused(self):
        samples = [0] * 3 * WIDTH * HEIGHT
        for more, says in (({284: (3, (2,))}, "its colours lie one behind the other"),
                           ({50717: (4, (60000, 60000, 50000))}, "its colours have white levels of their own"),
                           ({339: (3, (3, 3, 3))}, "its samples are floating-point numbers"),
                           ({259: (3, (8,))}, "its samples are compressed by Deflate")):
            self.write("a.dng", linear(WIDTH, HEIGHT, samples, more=more))
            self.refuse("develop", "a.dng", "-o", "x.tif", names="a.dng: ", says=says)
        content = linear(64, 64, random_samples(3 * 64 * 64, 65535, 3))
        for length in range(100, len(content), 2000):
            self.write("a.dng", content[:length])
            self.refuse("develop", "a.dng", "-o", "x.tif", names="a.dng: ", says="cut short")
        pixels, tags = parts(random_samples(3 * 64 * 64, 65535, 3), 16, 32, 32, True, 3, 64)
        content = linear(64, 64, (), pixels=pixels, more=tags)
        for at in range(3000, 20000, 3000):
            self.write("a.dng", content[:at] + bytes(1000) + content[at + 1000:])
            self.assertIn(self.ko("develop", "a.dng", "-o", "x.tif").returncode, (0, 1))

    def raw_of(self, colours, width, black=64, white=16383, **options):
        samples = [min(round(part * (white - black)) + black, white) for pixel in seen(colours) for part in pixel]
        return self.write("a.dng", linear(width, len(colours) // width, samples, (black,), white, neutral=GRAY,
                                          matrix=sum(map(tuple, CAMERA), ()), **options))

    def test_a_photograph_comes_back(self):
        width, height = 64, 48
        photo = photograph(width, height)
        self.raw_of([[decoded(c) for c in pixel] for pixel in photo], width)
        for options, levels in (((), 255), (("--bits", "16"), 65535), (("--method", "malvar"), 255)):
            w, h, pixels = self.developed("a.dng", *options)
            self.assertEqual((w, h), (width, height))
            errors = [a / levels - b for got, want in zip(pixels, photo) for a, b in zip(got, want)]
            self.assertLess(max(map(abs, errors)), 0.006)

    def test_levels_gains_and_exposure_are_those_of_mosaics(self):
        self.raw_of([[0.2, 0.3, 0.1]] * 32 * 24, 32)
        self.assertEqual(self.developed("a.dng")[2][0], [round(255 * encoded(c)) for c in (0.2, 0.3, 0.1)])
        for stops in (-3, 1):
            pixel = self.developed("a.dng", "--exposure", str(stops), "--curve", "linear")[2][0]
            for got, want in zip(pixel, (0.2, 0.3, 0.1)):
                self.assertAlmostEqual(got / 65535, want * 2**stops, delta=1e-3)
        self.assertEqual(max(self.developed("a.dng", "--auto", "0")[2][0]), 255)
        gray = self.developed("a.dng", "--wb", "gray-world", "--matrix", "none")[2][0]
        self.assertEqual(gray, [gray[1]] * 3)
        bare = self.developed("a.dng", "--wb", "1,1,1", "--matrix", "none", "--curve", "linear")[2][0]
        for got, want in zip(bare, seen([[0.2, 0.3, 0.1]])[0]):
            self.assertAlmostEqual(got / 65535, want, delta=1e-3)
        # Without what the file tells, the mean of the pixels that are not clipped is gray.
        colours = [[0.2, 0.4, 0.1]] * 32 * 20 + [[9, 0, 0]] * 32 * 4
        samples = [min(round(60000 * part), 65535) for pixel in colours for part in pixel]
        self.write("a.dng", linear(32, 24, samples, white=60000, neutral=None, matrix=None))
        self.assertEqual(self.developed("a.dng")[2][0], [round(255 * encoded(0.4))] * 3)

    def test_no_white_level_exceeds_what_samples_can_be(self):
        for white in (65536, 2**31 + 5):
            self.write("a.dng", linear(WIDTH, HEIGHT, [30000] * 3 * WIDTH * HEIGHT, white=white))
            self.assertEqual(set(sum(self.developed("a.dng", "--curve", "linear")[2], [])), {30000})

    def test_what_clips_is_white(self):
        colours = [[4.0 if x >= 32 else 0.1] * 3 for y in range(32) for x in range(64)]
        self.raw_of(colours, 64)
        for stops, level in ((0, 255), (2, 255), (-1, round(255 * encoded(0.5)))):
            pixels = self.developed("a.dng", "--exposure", str(stops))[2]
            self.assertEqual({tuple(p) for i, p in enumerate(pixels) if i % 64 >= 32}, {(level,) * 3})
            self.assertLessEqual(max(max(p) - min(p) for p in pixels), 1)

    def test_parts_and_orientations(self):
        colours = [[x / 64, y / 48, 0.3] for y in range(48) for x in range(64)]
        tags = {50719: (4, (3, 5)), 50720: (4, (40, 31))}
        for turn in (3, 4, 6, 8):
            self.raw_of(colours, 64, more=tags, turn=turn)
            stored = self.developed("a.dng", "--as-stored", "--crop")
            whole = self.developed("a.dng", "--as-stored")[2]
            self.assertEqual(stored, (40, 31, [whole[y * 64 + x] for y in range(5, 36) for x in range(3, 43)]))
            upright = self.developed("a.dng", "--crop")
            crop = {3: "21,12,40,31", 4: "3,12,40,31", 6: "12,3,31,40", 8: "5,21,31,40"}[turn]
            self.assertIn(f", crop {crop}, white", self.succeed("info", "a.dng"))
            self.assertIn(", crop 3,5,40,31, white", self.succeed("info", "--as-stored", "a.dng"))
            self.assertEqual(upright[:2], (31, 40) if turn > 4 else (40, 31))
            # Turned by the tool itself, as the file says.
            self.succeed("develop", "a.dng", "--as-stored", "--crop", "-o", "stored.tif")
            self.assertEqual(read_tags(self.read("stored.tif")).get(274, (1,)), (turn,))
            self.succeed("unpack", "stored.tif", "-o", "turned.tif")
            self.assertEqual(read_tiff(self.read("turned.tif"))[3], sum(upright[2], []), turn)
            # Likewise of a sensor that sees no colours.
            gray = dng(33, 25, random_samples(33 * 25, 4095, 5), None, (64,), 4095, neutral=None, matrix=None, turn=turn,
                       more={50719: (4, (3, 5)), 50720: (4, (20, 11))})
            self.write("gray.dng", gray)
            self.succeed("develop", "gray.dng", "--as-stored", "--crop", "-o", "stored.tif")
            self.succeed("unpack", "stored.tif", "-o", "turned.tif")
            self.succeed("develop", "gray.dng", "--crop", "-o", "upright.tif")
            self.assertEqual(read_tiff(self.read("turned.tif"))[:4], read_tiff(self.read("upright.tif"))[:4])

    def test_what_mosaics_alone_have_is_refused(self):
        self.raw_of([[0.2, 0.3, 0.1]] * 32 * 24, 32)
        self.refuse("develop", "a.dng", "-o", "x.tif", "--method", "half", names="a.dng: ",
                    says="its pixels have all colours, which leaves nothing to do for --method half")
        for command in ("develop", "demosaic"):
            self.refuse(command, "a.dng", "-o", "x.tif", "--grid", "rggb", names="a.dng: ",
                        says="not a mosaic but a picture of 3 channels")
        self.refuse("demosaic", "a.dng", "-o", "x.tif", names="a.dng: ", says="not a mosaic but a picture of 3 channels")

    def test_recipes(self):
        self.raw_of([[0.2, 0.3, 0.1]] * 32 * 24, 32)
        whole = self.developed("a.dng")[2]
        self.write("r.json", b'{"operations": [{"op": "crop", "roi": [3, 2, 20, 11]}, {"op": "develop"}]}')
        os.mkdir(self.path("run"))
        self.succeed("run", "r.json", "a.dng", "-o", "run", "--quiet")
        self.assertEqual(read_tiff(self.read("run/a.tif"))[:4], (20, 11, 3, whole[0] * 220))
        # What a recipe has demosaiced or developed is no raw any more.
        self.write("m.dng", dng(32, 24, [100] * 768, "rggb"))
        self.write("gray.dng", dng(32, 24, [100] * 768, None))
        for name, first, says in (("m", "demosaic", "not a mosaic but a picture of 3 channels"),
                                  ("m", "develop", "not a mosaic but a picture of 3 channels"),
                                  ("a", "develop", "not a mosaic but a picture of 3 channels"),
                                  ("gray", "develop", "the file names no mosaic pattern")):
            self.write("r.json", b'{"operations": [{"op": "%s"}, {"op": "develop"}]}' % first.encode())
            run = self.ko("run", "r.json", name + ".dng", "-o", "run", "--quiet")
            self.assertEqual(run.returncode, 1, name)
            self.assertIn("operations[1] (develop): " + says, run.stderr)


if __name__ == "__main__":
    ko_files.main()
