"""Camera raws, as DNG files made here: pattern, active area, black and white level."""

import json
import math
import struct
import zlib

import ko_files
from ko_files import ToolTest, random_samples, read_tags, read_tiff, tiff_of

COLOURS = {"r": 0, "g": 1, "b": 2}
IDENTITY = (1, 0, 0, 0, 1, 0, 0, 0, 1)


def rationals(numbers):
    return tuple(part for number in numbers for part in (round(number * 10**6), 10**6))


def packed(samples, width, bits):
    """Rows of whole bytes, the high bits first; samples of 16 bits as they are in memory."""
    if bits == 16:
        return struct.pack(f"<{len(samples)}H", *samples)
    rows = b""
    for start in range(0, len(samples), width):
        row = 0
        for sample in samples[start:start + width]:
            row = row << bits | sample
        spare = -width * bits % 8
        rows += (row << spare).to_bytes((width * bits + spare) // 8, "big")
    return rows


def dng(width, height, samples, grid, black=(0,), white=65535, area=None, strip=8, bits=16, curve=None, turn=1,
        maker=b"Maker", size=None, matrix=IDENTITY, neutral=(1, 1, 1), date=None, pixels=None, more=None):
    """A raw file of one uncompressed strip; no `grid` is that of a sensor that sees no colours, `black` is one level or
    four of a 2 x 2 pattern, no `white` is that of the bits, `curve` what samples stand for, `size` what the header
    claims, `matrix` what makes colours of the camera of XYZ, `neutral` the camera's colours of gray, either None for
    none, `date` when it was taken, `pixels` the bytes of the samples if they are compressed, `more` further tags, None
    for one that is left out."""
    repeat = (1, 1) if len(black) == 1 else (2, 2)
    if not grid:
        more = {262: (3, (34892,)), 33421: None, 33422: None, 50710: None, 50711: None, **(more or {})}
    pixels = packed(samples, width, bits) if pixels is None else pixels
    columns, rows = size or (width, height)
    tags = {
        254: (4, (0,)), 256: (4, (columns,)), 257: (4, (rows,)), 258: (3, (bits,)), 259: (3, (1,)),
        262: (3, (32803,)), 271: (2, maker + b"\0"), 272: (2, b"Model\0"), 273: (4, (strip,)), 274: (3, (turn,)),
        277: (3, (1,)), 278: (4, (rows,)), 279: (4, (len(pixels),)), 33421: (3, (2, 2)),
        33422: (1, tuple(COLOURS[c] for c in grid or "")),
        50706: (1, (1, 4, 0, 0)), 50708: (2, maker + b" Model\0"), 50710: (1, (0, 1, 2)), 50711: (3, (1,)),
        50713: (3, repeat), 50714: (4, tuple(black)),
        50778: (3, (21,)),
    }
    if matrix:
        tags[50721] = (10, rationals(matrix))
    if date:
        tags[306] = (2, date + b"\0")
    if neutral:
        tags[50728] = (5, rationals(neutral))
    if white is not None:
        tags[50717] = (4, (white,))
    if curve:
        tags[50712] = (3, tuple(curve))
    if area:
        tags[50829] = (4, area)
    tags.update(more or {})
    return tiff_of(pixels, {tag: value for tag, value in tags.items() if value})


def in_parts(width, samples, bits, columns, rows, are_tiles, components=0):
    """Bytes and tags of samples in tiles, or strips as wide as the sensor, that lie in the file the last one first;
    packed, or lossless JPEG of so many components."""
    height = len(samples) // width
    parts = []
    for top in range(0, height, rows):
        for left in range(0, width, columns):
            last = height if are_tiles else min(top + rows, height)
            part = [samples[min(y, last - 1) * width + min(x, width - 1)]
                    for y in range(top, top + rows if are_tiles else last) for x in range(left, left + columns)]
            parts.append(lossless_jpeg(columns, part, components) if components else packed(part, columns, bits))
    lengths = [len(part) for part in parts]
    starts = tuple(8 + sum(lengths[i + 1:]) for i in range(len(parts)))
    tags = ({322: (4, (columns,)), 323: (4, (rows,)), 324: (4, starts), 325: (4, tuple(lengths)), 273: None, 278: None,
             279: None} if are_tiles else {273: (4, starts), 278: (4, (rows,)), 279: (4, tuple(lengths))})
    tags[259] = (3, (7 if components else 1,))
    return b"".join(reversed(parts)), tags


def lossless_jpeg(width, samples, components=1):
    """Samples of 16 bits as differences to the left neighbour, those of the first column to the one above; neighbours
    that are so many apart if there are several components."""
    def segment(marker, data):
        return struct.pack(">HH", marker, len(data) + 2) + data

    bits = ""
    for i, sample in enumerate(samples):
        x, y = i % width, i // width
        last = samples[i - components] if x >= components else samples[i - width] if y > 0 else 32768
        difference = (sample - last + 32767) % 65536 - 32767
        size = abs(difference).bit_length()
        bits += f"{size:05b}"  # every size has a code of five bits
        if 0 < size < 16:
            bits += f"{difference if difference > 0 else difference + 2**size - 1:0{size}b}"
    bits += "1" * (-len(bits) % 8)
    codes = bytes([0] + 4 * [0] + [17] + 11 * [0]) + bytes(range(17))
    frame = struct.pack(">BHHB", 16, len(samples) // width, width // components, components)
    frame += b"".join(bytes([c, 0x11, 0]) for c in range(components))
    scan = bytes([components]) + b"".join(bytes([c, 0]) for c in range(components)) + bytes([1, 0, 0])
    return (b"\xff\xd8" + segment(0xFFC4, codes) + segment(0xFFC3, frame) + segment(0xFFDA, scan)
            + int(bits, 2).to_bytes(len(bits) // 8, "big").replace(b"\xff", b"\xff\0") + b"\xff\xd9")


def beside(content, tags):
    """A file of one directory with another one of `tags` behind it."""
    content = bytearray(content)
    (first,) = struct.unpack_from("<I", content, 4)
    (count,) = struct.unpack_from("<H", content, first)
    struct.pack_into("<I", content, first + 2 + 12 * count, len(content))
    return bytes(content) + ko_files.tiff_directory(len(content), tags)


def kodak(samples):
    """A raw file of the kind whose decoder alone knows how bright its samples become."""
    return tiff_of(samples, {271: (2, b"Kodak\0"), 272: (2, b"Kodak DC50 Zoom Digital Camera\0")})


def rw2(width, height, samples):
    """A raw file of 12 bits in blocks of 16 KiB."""
    tags = {1: (7, b"0310"), 2: (3, (width,)), 3: (3, (height,)), 4: (3, (0,)), 5: (3, (0,)), 6: (3, (height,)),
            7: (3, (width,)), 9: (3, (1,)), 10: (3, (12,)), 11: (3, (34316,)), 271: (2, b"Panasonic\0"),
            272: (2, b"DMC-GH2\0"), 280: (4, (4096,)), 278: (4, (height,)), 279: (4, (len(samples),))}
    head = b"IIU\0" + struct.pack("<I", 8) + ko_files.tiff_directory(8, tags)
    return head.ljust(4096, b"\0") + samples


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

    def test_single_samples_above_the_white_level_stay_within_its_bits(self):
        samples = [4000] * (64 * 64 - 2) + [5000] * 2
        self.assertEqual(set(self.unpacked(dng(64, 64, samples, "rggb", white=4000))[3]), {4000 << 4, 4095 << 4})

    def test_a_white_level_that_the_samples_contradict_is_not_believed(self):
        samples = random_samples(32 * 24, 16383, 8)
        self.write("a.dng", dng(32, 24, samples, "rggb", white=255))
        self.assertIn(", 14 bits, ", self.succeed("info", "a.dng"))
        self.assertRegex(self.succeed("info", "a.dng"), r", white 255 but samples reach 163\d\d\n$")
        run = self.ko("unpack", "a.dng", "-o", "out.tif")
        self.assertEqual(run.returncode, 0)
        self.assertRegex(run.stderr, r"^ko: warning: a.dng: its white level is 255 but samples reach 163\d\d\n$")
        self.assertEqual(read_tiff(self.read("out.tif"))[3:], ([s << 2 for s in samples], "koimproc bits=14 grid=RGGB"))

    def test_every_depth_comes_out_whole(self):
        for bits in range(8, 17):
            top = 2**bits - 1
            samples = random_samples(32 * 24, top, bits)
            for white in (None, top):
                self.assertEqual(self.unpacked(dng(32, 24, samples, "rggb", white=white, bits=bits)),
                                 (32, 24, 1, [s << 16 - bits for s in samples], f"koimproc bits={bits} grid=RGGB"))

    def test_samples_that_stand_for_others_are_looked_up(self):
        curve = [min(i * i // 16, 4095) for i in range(256)]
        samples = random_samples(32 * 24, 255, 9)
        self.assertEqual(self.unpacked(dng(32, 24, samples, "rggb", white=4095, bits=8, curve=curve)),
                         (32, 24, 1, [curve[s] << 4 for s in samples], "koimproc bits=12 grid=RGGB"))

    def test_levels_are_those_that_the_decoder_settled_on(self):
        self.write("a.kdc", kodak(b"\x55" * 200000))
        self.assertRegex(self.succeed("info", "a.kdc"), r", 14 bits, .*, white 16383\n$")
        self.succeed("unpack", "a.kdc", "-o", "out.tif")
        self.assertEqual(max(read_tiff(self.read("out.tif"))[3]), 16383 << 2)

    def test_only_the_active_area_counts_and_its_corner_names_the_pattern(self):
        samples = random_samples(40 * 30, 65535, 4)
        # LibRaw starts at whole cells of the sensor: an area that does not loses its first row or column.
        for top, left, grid in ((4, 6, "RGGB"), (3, 6, "GBRG"), (4, 5, "GRBG"), (3, 5, "BGGR")):
            rows = range(top + top % 2, top + 24 - top % 2)
            columns = range(left + left % 2, left + 32 - left % 2)
            expected = [samples[y * 40 + x] for y in rows for x in columns]
            self.assertEqual(self.unpacked(dng(40, 30, samples, "rggb", area=(top, left, top + 24, left + 32))),
                             (len(columns), len(rows), 1, expected, f"koimproc bits=16 grid={grid}"))

    def test_black_by_place_begins_at_the_corner_of_the_active_area(self):
        samples = random_samples(40 * 30, 65535, 20)
        for top, left in ((4, 6), (3, 6), (4, 5), (3, 5)):
            for rows, columns in ((2, 2), (3, 5)):
                levels = [1000 * (i + 1) for i in range(rows * columns)]
                more = {50713: (3, (rows, columns)), 50714: (4, tuple(levels))}
                _, height, _, mosaic, _ = self.unpacked(
                    dng(40, 30, samples, "rggb", area=(top, left, top + 24, left + 32), more=more))
                y0, x0, width = top + top % 2, left + left % 2, len(mosaic) // height
                for i, sample in enumerate(mosaic):
                    y, x = y0 + i // width, x0 + i % width
                    level = levels[(y - top) % rows * columns + (x - left) % columns]
                    self.assertEqual(sample, max(samples[y * 40 + x] - level, 0), (top, left, rows, columns, x, y))

    def test_black_by_row_and_column_is_added_and_all_of_it_rounded_once(self):
        samples = random_samples(40 * 30, 65535, 21)
        columns = [x - 20 + 0.25 for x in range(32)]
        rows = [y * 3 - 0.5 for y in range(24)]
        levels = [10.5, 20.25, 30.75, 0]
        more = {50713: (3, (2, 2)), 50714: (5, rationals(levels)),
                50715: (10, rationals(columns)), 50716: (10, rationals(rows))}
        mosaic = self.unpacked(dng(40, 30, samples, "rggb", area=(3, 5, 27, 37), more=more))[3]
        expected = [min(max(samples[y * 40 + x] - math.floor(
            levels[(y - 3) % 2 * 2 + (x - 5) % 2] + columns[x - 5] + rows[y - 3] + 0.5), 0), 65535)
            for y in range(4, 26) for x in range(6, 36)]
        self.assertEqual(mosaic, expected)
        self.assertIn(", black -16 to 104, white 65535\n", self.succeed("info", "a.dng"))
        # Without the levels by column and row, halves go up.
        self.write("a.dng", dng(40, 30, samples, "rggb", more={tag: more[tag] for tag in (50713, 50714)}))
        self.assertIn(", black 11/20/31/0, white 65535\n", self.succeed("info", "a.dng"))

    def test_black_that_the_file_tells_is_not_measured(self):
        samples = random_samples(40 * 30, 65535, 22)
        masked = {50830: (4, (0, 0, 30, 4))}
        expected = [max(samples[y * 40 + x] - 100, 0) for y in range(30) for x in range(4, 40)]
        self.assertEqual(self.unpacked(dng(40, 30, samples, "rggb", (100,), area=(0, 4, 30, 40), more=masked))[3],
                         expected)

    def test_black_that_is_measured_is_rounded(self):
        # Four masked columns on the left. The decoder drops the fractions of their means.
        means = ((100.25, 100.5), (99.75, 101))

        def dark(x, y):
            mean = means[y % 2][x % 2]
            return int(mean) + (y // 2 % 4 < mean % 1 * 4)

        samples = [dark(x, y) if x < 4 else 3000 for y in range(32) for x in range(40)]
        masked = {50713: None, 50714: None, 50830: (4, (0, 0, 32, 4))}
        levels = ((100, 101), (100, 101))
        self.write("a.dng", dng(40, 32, samples, "rggb", area=(0, 4, 32, 40), more=masked))
        self.assertIn(", black 100/101/100/101, ", self.succeed("info", "a.dng"))
        self.assertEqual(self.unpacked(self.read("a.dng"))[3],
                         [3000 - levels[y % 2][x % 2] for y in range(32) for x in range(36)])

    def test_black_that_makes_no_sense_is_left_to_the_decoder(self):
        for more in ({50714: (5, (1, 0))}, {50713: (3, (0, 2))}, {50713: (3, (9, 9))},
                     {50715: (10, (1, 0))}, {50713: (5, (1, 0, 1, 0))}):
            self.write("a.dng", dng(32, 24, [700] * 768, "rggb", (7,), more=more))
            self.assertRegex(self.succeed("info", "a.dng"), r", black \d, white")

    def test_what_the_camera_recommends_for_pictures_is_not_done_to_samples(self):
        samples = random_samples(32 * 24, 65535, 23)
        self.write("plain.dng", dng(32, 24, samples, "rggb", (100,)))
        self.write("more.dng", dng(32, 24, samples, "rggb", (100,), more={
            50719: (4, (4, 4)), 50720: (4, (16, 12)), 50730: (10, rationals([1.5])),
            50731: (5, rationals([3])), 50734: (5, rationals([0.5])), 50737: (4, (500,)), 51109: (10, rationals([-2]))}))
        for command in ("unpack", "develop"):
            for name in ("plain", "more"):
                self.succeed(command, name + ".dng", "-o", name + ".tif")
            self.assertEqual(self.read("more.tif"), self.read("plain.tif"), command)

    def test_lossless_jpeg_is_decoded(self):
        samples = random_samples(32 * 24, 65535, 24)
        jpeg = lossless_jpeg(32, samples)
        self.assertEqual(self.unpacked(dng(32, 24, samples, "rggb", pixels=jpeg, more={259: (3, (7,))}))[3], samples)
        # Nothing that begins like this can be decoded; it used to become a black picture.
        self.write("a.dng", dng(32, 24, samples, "rggb", pixels=b"\0" + jpeg, more={259: (3, (7,))}))
        self.refuse("unpack", "a.dng", "-o", "b.tif", names="a.dng: ", says="is damaged or cut short")

    def test_samples_may_lie_in_tiles_and_strips(self):
        for bits in (8, 10, 12, 14, 16):
            samples = random_samples(40 * 30, 2**bits - 1, bits)
            for columns, rows, are_tiles in ((16, 16, True), (48, 32, True), (40, 7, False), (40, 1, False)):
                pixels, tags = in_parts(40, samples, bits, columns, rows, are_tiles)
                content = dng(40, 30, samples, "rggb", white=None, bits=bits, pixels=pixels, more=tags)
                self.assertEqual(self.unpacked(content)[:4], (40, 30, 1, [s << 16 - bits for s in samples]),
                                 (bits, columns, rows, are_tiles))
        curve = [i * i for i in range(256)]
        samples = random_samples(40 * 30, 255, 2)
        pixels, tags = in_parts(40, samples, 8, 16, 16, True)
        content = dng(40, 30, samples, "rggb", (100,), area=(0, 2, 30, 40), bits=8, curve=curve, pixels=pixels, more=tags)
        self.assertEqual(self.unpacked(content)[:4],
                         (38, 30, 1, [max(curve[s] - 100, 0) for i, s in enumerate(samples) if i % 40 > 1]))
        for bad in ({322: (4, (0,))}, {323: (4, (31,))}, {324: (4, (10**6,) * 6)}, {258: (3, (0,))}):
            self.write("a.dng", dng(40, 30, samples, "rggb", bits=8, pixels=pixels, more={**tags, **bad}))
            self.refuse("unpack", "a.dng", "-o", "b.tif", names="a.dng: ", says="is damaged or cut short")

    def test_tiles_of_lossless_jpeg_that_the_decoder_would_mix_up_are_refused(self):
        samples = random_samples(64 * 48, 65535, 28)
        says = "its lossless JPEG has a width that is not supported in camera raws"
        for columns, components, is_read in ((32, 1, True), (32, 2, False), (16, 2, True), (16, 4, False), (48, 2, True),
                                             (64, 2, True), (80, 1, False), (80, 2, False)):
            pixels, tags = in_parts(64, samples, 16, columns, 16, True, components)
            content = dng(64, 48, samples, "rggb", pixels=pixels, more=tags)
            if is_read:
                self.assertEqual(self.unpacked(content)[3], samples, (columns, components))
            else:
                self.write("a.dng", content)
                self.refuse("unpack", "a.dng", "-o", "b.tif", names="a.dng: ", says=says)
        pixels, tags = in_parts(64, samples, 16, 32, 16, True, 2)
        sides = {322: (4, (2**32 - 1,)), 323: (4, (2**32 - 1,))}
        self.write("a.dng", dng(64, 48, samples, "rggb", pixels=pixels, more={**tags, **sides}))
        self.refuse("unpack", "a.dng", "-o", "b.tif", names="a.dng: ", says=says)

    def test_samples_that_cannot_be_decoded_are_named(self):
        samples = random_samples(32 * 24, 65535, 25)
        for compression, name in ((5, "LZW"), (8, "Deflate"), (32946, "Deflate"), (32773, "PackBits"),
                                  (52546, "JPEG XL"), (50000, "method 50000")):
            self.write("a.dng", dng(32, 24, samples, "rggb", pixels=zlib.compress(packed(samples, 32, 16)),
                                    more={259: (3, (compression,))}))
            self.refuse("info", "a.dng", names="a.dng: ",
                        says=f"its samples are compressed by {name}, which is not supported in camera raws")
        self.write("a.dng", dng(32, 24, samples, "rggb", more={339: (3, (3,))}))
        self.refuse("info", "a.dng", names="a.dng: ", says="its samples are floating-point numbers, which are not "
                                                           "supported in camera raws")
        self.write("a.dng", dng(32, 24, samples, "rggb", more={258: (3, (32,))}))
        self.refuse("info", "a.dng", names="a.dng: ", says="its samples have 32 bits; those of camera raws may have 16")
        strips = {259: (3, (7,)), 273: (4, (8, 8)), 278: (4, (12,)), 279: (4, (99, 99))}
        for more, says in ((strips, "its samples are lossless JPEG in several strips"),
                           ({50710: (1, (2, 1, 0))}, "its colours are not in the order of red, green and blue"),
                           ({50711: (3, (4,))}, "its rows or columns are staggered"),
                           ({50974: (4, (2, 2))}, "its samples are interleaved"),
                           ({50975: (4, (2,))}, "its samples are interleaved"),
                           ({52547: (4, (2,))}, "its samples are interleaved")):
            self.write("a.dng", dng(32, 24, samples, "rggb", more=more))
            self.refuse("info", "a.dng", names="a.dng: ", says=says + ", which is not supported in camera raws")

    def test_a_larger_picture_beside_the_mosaic_does_not_matter(self):
        samples = random_samples(32 * 24, 65535, 26)
        content = dng(32, 24, samples, "rggb", (100, 200, 300, 400))
        tags = {254: (4, (16,)), 256: (4, (64,)), 257: (4, (48,)), 258: (3, (16,) * 3), 259: (3, (52546,)),
                262: (3, (34892,)), 273: (4, (8,)), 277: (3, (3,)), 278: (4, (48,)), 279: (4, (99,))}
        expected = [max(s - (100, 200, 300, 400)[i // 32 % 2 * 2 + i % 2], 0) for i, s in enumerate(samples)]
        self.assertEqual(self.unpacked(beside(content, tags))[3], expected)

    def test_a_mosaic_beside_that_is_larger_than_any_sensor_does_not_matter(self):
        samples = random_samples(32 * 24, 65535, 27)
        content = dng(32, 24, samples, "rggb", more={50714: (5, rationals([10.5]))})
        for side in (65537, 2**32 - 1):
            self.write("a.dng", beside(content, {256: (4, (side,)), 257: (4, (side,)), 262: (3, (32803,)), 259: (3, (8,))}))
            self.assertIn(" of 32 x 24, white balance 1,1,1, black 11, white ", self.succeed("info", "a.dng"))

    def test_an_orientation_that_there_is_not_turns_nothing(self):
        for turn in (0, 9, 65535):
            self.write("a.dng", dng(32, 24, [0] * 768, "rggb", turn=turn))
            self.succeed("demosaic", "--half", "a.dng", "-o", "b.tif")
            self.assertEqual(read_tiff(self.read("b.tif"))[:2], (16, 12), turn)

    def test_odd_areas_lose_their_last_row_and_column(self):
        samples = random_samples(33 * 25, 65535, 5)
        expected = [samples[y * 33 + x] for y in range(24) for x in range(32)]
        self.assertEqual(self.unpacked(dng(33, 25, samples, "rggb"))[:4], (32, 24, 1, expected))

    def test_info_names_the_camera_and_the_levels(self):
        self.write("a.dng", dng(40, 30, [0] * 1200, "rggb", (64,), 1023, (4, 6, 28, 38)))
        self.assertEqual(self.succeed("info", "a.dng"),
                         "a.dng: 32 x 24, 1 channel, UInt16, 10 bits, mosaic RGGB, camera raw Maker Model, "
                         "active area 32 x 24 at 6,4 of 40 x 30, white balance 1,1,1, black 64, white 1023\n")
        self.write("a.dng", dng(32, 24, [0] * 768, "rggb", (1, 2, 3, 4), 1023))
        self.assertIn(", black 1/2/3/4, white 1023\n", self.succeed("info", "a.dng"))

    def test_info_tells_the_white_balance_as_gains(self):
        self.write("a.dng", dng(32, 24, [0] * 768, "rggb", neutral=(0.576577, 1, 0.8)))
        self.assertIn(", white balance 1.734,1,1.25, black 0", self.succeed("info", "a.dng"))
        self.write("a.dng", dng(32, 24, [0] * 768, "rggb", neutral=None))
        self.assertIn(", no white balance, black 0", self.succeed("info", "a.dng"))

    def test_info_tells_the_part_that_pictures_show(self):
        for tags, told in (({50719: (4, (2, 3)), 50720: (4, (20, 16))}, ", crop 2,3,20,16,"),
                           ({50719: (5, rationals((2.5, 0))), 50720: (5, rationals((99, 16)))}, ", crop 2,0,30,16,"),
                           ({50719: (4, (0, 0)), 50720: (4, (32, 24))}, ""), ({50719: (4, (1, 1))}, ""),
                           ({50719: (4, (40, 1)), 50720: (4, (20, 16))}, "")):
            self.write("a.dng", dng(40, 30, [0] * 1200, "rggb", area=(4, 6, 28, 38), more=tags))
            line = self.succeed("info", "a.dng")
            self.assertIn(" of 40 x 30" + (told or ", white balance"), line)
        # As one maker tells it: of the sensor and not of its active area.
        tags = {29895: (4, (9, 6)), 29896: (4, (20, 16))}
        self.write("a.dng", dng(40, 30, [0] * 1200, "rggb", area=(4, 6, 28, 38), maker=b"SONY", more=tags))
        self.assertIn(", crop 3,2,20,16,", self.succeed("info", "a.dng"))

    def test_programs_are_told_white_and_gains(self):
        def told():
            report = json.loads(self.succeed("info", "--json", "a.dng"))
            return report["white"], report["gains"]

        for grid in ("rggb", "bggr", "gbrg", "grbg"):
            self.write("a.dng", dng(32, 24, [0] * 768, grid, (64,), 4095, neutral=(0.5, 1, 0.8)))
            white, gains = told()
            self.assertEqual((white, gains), (4031, [{"r": 2, "g": 1, "b": 1.25}[c] for c in grid]))
        self.write("a.dng", dng(32, 24, [0] * 768, "rggb", white=4095, neutral=None))
        self.assertEqual(told(), (4095, None))
        self.write("a.dng", dng(32, 24, [0] * 768, None, white=4095, neutral=None))
        self.assertEqual(told(), (4095, None))
        self.succeed("unpack", "a.dng", "-o", "a.tif")
        self.assertNotIn("white", json.loads(self.succeed("info", "--json", "a.tif")))

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
        colours = {262: (3, (34892,)), 277: (3, (4,)), 258: (3, (16,) * 4), 33421: None, 33422: None}
        self.write("a.dng", dng(32, 24, [0] * 768 * 4, "rggb", more=colours))
        self.refuse("develop", "a.dng", "-o", "out.tif", names="a.dng: ", says="holds all colours of every pixel")

    def test_monochrome_sensors_have_nothing_to_demosaic(self):
        self.write("a.dng", dng(32, 24, [0] * 768, None))
        for command, out in (("demosaic", "out.tif"), ("stream", "streamed/")):
            run = self.ko(command, "a.dng", "-o", out)
            self.assertEqual(run.returncode, 1)
            self.assertIn("ko: a.dng: its sensor is monochrome, so there is no mosaic; develop makes", run.stderr)
        self.succeed("demosaic", "--grid", "rggb", "a.dng", "-o", "out.tif")

    def test_monochrome_sensors_give_pictures_of_one_channel(self):
        samples = random_samples(33 * 25, 4095, 31)
        self.assertEqual(self.unpacked(dng(33, 25, samples, None, (100,), 4095)),
                         (33, 25, 1, [max(s - 100, 0) << 4 for s in samples], "koimproc bits=12"))
        self.assertEqual(self.succeed("info", "a.dng"),
                         "a.dng: 33 x 25, 1 channel, UInt16, 12 bits, camera raw Maker Model, "
                         "active area 33 x 25 at 0,0 of 33 x 25, black 100, white 4095\n")
        # Nothing in them depends on a place in a cell, so they stand upright at once.
        turned = [max(samples[y * 33 + x] - 100, 0) << 4 for x in range(33) for y in reversed(range(25))]
        self.assertEqual(self.unpacked(dng(33, 25, samples, None, (100,), 4095, turn=6))[:4], (25, 33, 1, turned))

    def test_raws_under_another_ending_are_refused(self):
        # One maker's raws start like this.
        self.write("a.bin", dng(32, 24, [0] * 768, "rggb").replace(b"II*\0", b"IIU\0"))
        self.refuse("info", "a.bin", names="a.bin: ", says="is a camera raw; give it the ending of one")

    def test_raws_that_end_early_are_refused(self):
        samples = random_samples(64 * 48, 65535, 7)
        # The samples start where a third of them does not fit before the end of the file.
        self.write("a.dng", dng(64, 48, samples, "rggb", strip=8 + 64 * 32))
        self.refuse("demosaic", "a.dng", "-o", "out.tif", names="a.dng: ", says="is damaged or cut short")

    def test_raws_that_end_in_their_header_are_damaged(self):
        content = dng(64, 48, [0] * 3072, "rggb")
        for length in (3, 20, 33, 1000, 8 + 2 * 3072 + 1, len(content) - 300):
            self.write("a.dng", content[:length])
            run = self.refuse("info", "a.dng", names="a.dng: ", says="cut short")
            self.assertRegex(run.stderr, "(is damaged or cut short|: damaged, cut short or of no known kind)\n$")
        self.write("a.nef", b"text " * 100)
        self.refuse("develop", "a.nef", "-o", "b.png", names="a.nef: ", says="damaged, cut short or of no known kind")

    def test_raws_whose_decoder_runs_out_of_bytes_are_refused(self):
        content = b"\x55" * (512 * 384 * 8 // 7 + 20000)
        self.write("a.rw2", rw2(512, 384, content))
        self.assertIn("512 x 384", self.succeed("info", "a.rw2"))
        self.succeed("unpack", "a.rw2", "-o", "whole.tif")
        self.write("a.rw2", rw2(512, 384, content[:60000]))
        self.refuse("unpack", "a.rw2", "-o", "out.tif", names="a.rw2: ", says="is damaged or cut short")
        self.refuse("info", "a.rw2", names="a.rw2: ", says="is damaged or cut short")
        self.write("a.rw2", rw2(4096, 3072, content[:8000]))
        self.refuse("unpack", "a.rw2", "-o", "out.tif", names="a.rw2: ",
                    says="is damaged or cut short: shorter than its header claims")

    def test_names_of_cameras_cannot_talk_to_the_terminal(self):
        self.write("a.dng", dng(32, 24, [0] * 768, "rggb", maker=b"Mak\x1b[31mer\x07"))
        self.assertIn("camera raw Mak [31mer  Model, ", self.succeed("info", "a.dng"))

    def test_mosaics_stay_as_the_sensor_has_them_and_pictures_of_them_stand_upright(self):
        samples = random_samples(32 * 24, 65535, 12)
        self.write("a.dng", dng(32, 24, samples, "rggb", turn=6))
        self.assertEqual(self.unpacked(self.read("a.dng"))[:4], (32, 24, 1, samples))
        self.assertEqual(read_tags(self.read("out.tif"))[274], (6,))
        self.write("straight.dng", dng(32, 24, samples, "rggb"))
        self.succeed("demosaic", "--half", "straight.dng", "-o", "straight.tif")
        straight = read_tiff(self.read("straight.tif"))[3]
        # A row of the result is a column of the sensor, from the bottom.
        expected = [straight[3 * (y * 16 + x) + c] for x in range(16) for y in reversed(range(12)) for c in range(3)]
        for name in ("a.dng", "out.tif"):
            self.succeed("demosaic", "--half", name, "-o", "b.tif")
            self.assertEqual(read_tiff(self.read("b.tif"))[:4], (12, 16, 3, expected))
            self.succeed("stream", name, "-o", "streamed/")
            self.assertEqual(read_tiff(self.read("streamed/" + name[:-4] + ".tif"))[3], expected)
        self.succeed("demosaic", "--half", "--as-stored", "a.dng", "-o", "b.tif")
        self.assertEqual(read_tiff(self.read("b.tif"))[:4], (16, 12, 3, straight))
        self.assertEqual(read_tags(self.read("b.tif"))[274], (6,))


if __name__ == "__main__":
    ko_files.main()
