"""How pictures come in and go out: orientation, profiles, pages, standard streams, headers that claim too much."""

import os
import re
import struct
import subprocess
import time

import ko_files
from ko_files import ToolTest, fits, fits_unit, png, random_samples, read_tags, read_tiff, tiff, tiff_directory
from raw_test import dng


class Orientation(ToolTest):
    # Where the stored sample (0, 0) of 3 x 2 belongs, and the upright samples of 1 2 3 / 4 5 6.
    UPRIGHT = {1: (3, 2, [1, 2, 3, 4, 5, 6]), 2: (3, 2, [3, 2, 1, 6, 5, 4]), 3: (3, 2, [6, 5, 4, 3, 2, 1]),
               4: (3, 2, [4, 5, 6, 1, 2, 3]), 5: (2, 3, [1, 4, 2, 5, 3, 6]), 6: (2, 3, [4, 1, 5, 2, 6, 3]),
               7: (2, 3, [6, 3, 5, 2, 4, 1]), 8: (2, 3, [3, 6, 2, 5, 1, 4])}

    def test_pictures_are_turned_upright(self):
        for orientation, (width, height, samples) in self.UPRIGHT.items():
            extra = [(274, 3, (orientation,))]
            self.write("a.tif", tiff(3, 2, [1, 2, 3, 4, 5, 6], extra=extra))
            self.write("rgb.tif", tiff(3, 2, [v for s in range(1, 7) for v in (s, 10 * s, 100 + s)], bits=8, channels=3,
                                       extra=extra))
            self.succeed("unpack", "a.tif", "rgb.tif", "-o", "out/")
            self.assertEqual(read_tiff(self.read("out/a.tif"))[:4], (width, height, 1, samples))
            self.assertEqual(read_tiff(self.read("out/rgb.tif"))[:4],
                             (width, height, 3, [v for s in samples for v in (s, 10 * s, 100 + s)]))
            self.assertEqual(read_tags(self.read("out/a.tif"))[274], (1,))
            info = self.succeed("info", "a.tif")
            self.assertIn(f"a.tif: {width} x {height}, ", info)
            self.assertEqual("turned upright from 3 x 2" in info, orientation != 1)

    def test_as_stored_they_keep_their_orientation(self):
        self.write("a.tif", tiff(3, 2, [1, 2, 3, 4, 5, 6], extra=[(274, 3, (6,))]))
        self.succeed("median", "a.tif", "-o", "out.tif", "--radius", "0", "--as-stored")
        self.assertEqual(read_tiff(self.read("out.tif"))[:4], (3, 2, 1, [1, 2, 3, 4, 5, 6]))
        self.assertEqual(read_tags(self.read("out.tif"))[274], (6,))
        self.assertIn("a.tif: 3 x 2, ", self.succeed("info", "--as-stored", "a.tif"))

    def test_wide_samples_are_turned_without_a_change(self):
        samples = [1e-30, 2.0, 16777217.0, -4.0, 5.5, 6.25]
        self.write("a.tif", tiff(3, 2, samples, bits=32, sample_format=3, extra=[(274, 3, (3,))]))
        self.succeed("unpack", "a.tif", "-o", "out.tif")
        self.assertEqual(read_tiff(self.read("out.tif"))[3], [struct.unpack("f", struct.pack("f", s))[0]
                                                              for s in reversed(samples)])

    def test_unknown_orientations_mean_nothing(self):
        self.write("a.tif", tiff(3, 2, range(6), extra=[(274, 3, (9,))]))
        self.succeed("unpack", "a.tif", "-o", "out.tif")
        self.assertEqual(read_tiff(self.read("out.tif"))[:4], (3, 2, 1, list(range(6))))


class Metadata(ToolTest):
    def setUp(self):
        super().setUp()
        self.profile = (struct.pack(">I", 132) + b"\0" * 8 + b"mntrRGB XYZ " + b"\0" * 12 + b"acsp").ljust(132, b"\0")
        extra = [(34675, 7, self.profile), (271, 2, b"MakerX\0"), (306, 2, b"2020:02:03 04:05:06\0")]
        self.write("a.tif", tiff(8, 8, random_samples(192, 255, 1), bits=8, channels=3, extra=extra))

    def tags(self, *arguments):
        self.succeed(*arguments, "-o", "out.tif")
        return read_tags(self.read("out.tif"))

    def test_profile_and_camera_travel_where_colours_stay(self):
        self.write("recipe.json", b'{"operations": [{"op": "crop", "roi": [0, 0, 4, 4]}, {"op": "median"}]}')
        self.succeed("run", "recipe.json", "a.tif", "-o", "ran/")
        for tags in (self.tags("unpack", "a.tif"), self.tags("median", "a.tif"), self.tags("crop", "a.tif", "--roi", "1,1,4,4"),
                     self.tags("average", "a.tif", "a.tif"), read_tags(self.read("ran/a.tif"))):
            self.assertEqual(tags[34675], self.profile)
            self.assertEqual(tags[271], b"MakerX\0")
            self.assertEqual(tags[306], b"2020:02:03 04:05:06\0")

    def test_they_stay_behind_where_colours_change(self):
        self.write("recipe.json", b'{"operations": [{"op": "median"}, {"op": "equalize"}]}')
        self.succeed("run", "recipe.json", "a.tif", "-o", "ran/")
        for tags in (self.tags("equalize", "a.tif"), self.tags("threshold", "a.tif", "--above", "9"), read_tags(self.read("ran/a.tif"))):
            self.assertNotIn(34675, tags)
            self.assertNotIn(271, tags)

    def test_exif_reaches_a_jpeg(self):
        self.succeed("unpack", "a.tif", "-o", "out.jpg")
        self.assertIn(b"MakerX", self.read("out.jpg"))
        self.assertIn(b"ICC_PROFILE", self.read("out.jpg"))
        self.succeed("unpack", "out.jpg", "-o", "back.tif")
        self.assertEqual(read_tags(self.read("back.tif"))[34675], self.profile)

    def test_a_profile_of_other_colours_does_not_travel(self):
        gray = self.profile.replace(b"RGB ", b"GRAY")
        self.write("g.tif", tiff(2, 2, range(12), bits=8, channels=3, extra=[(34675, 7, gray)]))
        self.assertNotIn(34675, self.tags("unpack", "g.tif"))

    def test_equal_runs_give_equal_files(self):
        self.write("plain.tif", tiff(4, 4, range(16)))
        endings = ("tif", "exr", "png", "jpg", "fits")
        for ending in endings:
            self.succeed("median", "plain.tif", "-o", "first." + ending)
        time.sleep(1.1)
        for ending in endings:
            self.succeed("median", "plain.tif", "-o", "second." + ending)
            self.assertEqual(self.read("first." + ending), self.read("second." + ending), ending)


class Pages(ToolTest):
    def test_pages_are_counted_and_chosen(self):
        first, second = struct.pack("<4H", 1, 2, 3, 4), struct.pack("<2H", 7, 8)

        def tags(width, height, at):
            return {256: (3, (width,)), 257: (3, (height,)), 258: (3, (16,)), 259: (3, (1,)), 262: (3, (1,)),
                    273: (4, (at,)), 277: (3, (1,)), 278: (3, (height,)), 279: (4, (2 * width * height,))}

        size = len(tiff_directory(0, tags(2, 2, 0)))
        self.write("two.tif", b"II*\0" + struct.pack("<I", 20) + first + second
                   + tiff_directory(20, tags(2, 2, 8), 20 + size) + tiff_directory(20 + size, tags(2, 1, 16)))
        self.write("one.tif", tiff(2, 1, [5, 6]))
        self.assertEqual(self.succeed("info", "two.tif"),
                         "two.tif: 2 x 2, 1 channel, UInt16, 16 bits, tiff, page 1 of 2\n")
        self.assertEqual(self.succeed("info", "two.tif", "--page", "2"),
                         "two.tif: 2 x 1, 1 channel, UInt16, 16 bits, tiff, page 2 of 2\n")
        self.succeed("unpack", "two.tif", "-o", "out.tif", "--page", "2")
        self.assertEqual(read_tiff(self.read("out.tif"))[:4], (2, 1, 1, [7, 8]))
        self.refuse("unpack", "two.tif", "-o", "o.tif", "--page", "3", names="two.tif: ", says="has no page 3, it holds 2")
        self.assertEqual(self.ko("info", "two.tif", "--page", "0").returncode, 2)
        # A picture beside the inputs is not one of them.
        self.succeed("logic", "two.tif", "--and", "one.tif", "-o", "out.tif", "--page", "2")


class Streams(ToolTest):
    def pipe(self, content, *arguments):
        run = subprocess.run([ko_files.TOOL, *arguments], cwd=self.dir, input=content, capture_output=True, timeout=60)
        self.assertEqual((run.returncode, run.stderr), (0, b""), arguments)
        return run.stdout

    def test_what_never_ends_is_refused(self):
        os.mkfifo(self.path("pipe.tif"))
        for device in ("zero", "random", "full", "null"):
            os.symlink("/dev/" + device, self.path(device + ".tif"))
        os.symlink("/dev/zero", self.path("zero.fits"))
        os.symlink("/dev/zero", self.path("zero.dng"))
        self.write("a.tif", tiff(2, 2, range(4)))
        for name in ("pipe.tif", "zero.tif", "random.tif", "full.tif", "null.tif", "zero.fits", "zero.dng", "/dev/zero"):
            self.refuse("info", name, names=name + ": ", says="is not a regular file; - reads", timeout=60)
        self.refuse("logic", "a.tif", "--and", "pipe.tif", "-o", "o.tif", names="pipe.tif: ", says="regular file", timeout=60)
        self.refuse("run", "pipe.tif", "a.tif", "-o", "o/", names="pipe.tif: ", says="regular file", timeout=60)
        self.refuse("snake", "a.tif", "--circle", "1,1,1", "--params", "pipe.tif", "-o", "o.tif", names="pipe.tif: ",
                    says="regular file", timeout=60)

    def test_pictures_come_from_the_standard_input_whatever_they_are(self):
        samples = random_samples(32 * 24, 65535, 3)
        for content, kind in ((tiff(32, 24, samples), "tiff"), (png(32, 24, samples, 16), "png"), (fits(32, 24, samples), "fits"),
                              (dng(32, 24, samples, "rggb"), "camera raw Maker Model")):
            self.assertIn(b"standard input: 32 x 24, 1 channel, UInt16, ", self.pipe(content, "info", "-"))
            self.assertIn(kind.encode(), self.pipe(content, "info", "-"))
            self.assertEqual(read_tiff(self.pipe(content, "unpack", "-", "-o", "-", "--format", "tif"))[3], samples)
        # A mosaic of ours that names its camera is no raw of that camera.
        self.write("a.dng", dng(32, 24, samples, "rggb"))
        self.succeed("unpack", "a.dng", "-o", "a.tif")
        self.assertIn(b"mosaic RGGB, tiff", self.pipe(self.read("a.tif"), "info", "-"))

    def test_several_arguments_may_be_the_same_standard_input(self):
        self.assertIn(b"PSNR inf", self.pipe(tiff(2, 2, range(4)), "compare", "-", "-"))

    def test_results_go_to_the_standard_output_and_nothing_else_does(self):
        content = png(16, 16, random_samples(256, 255, 4))
        self.write("in.png", content)
        for command in (["median", "-"], ["crop", "-", "--roi", "0,0,4,4"], ["average", "-"], ["unpack", "-"],
                        ["mask", "circle", "5"], ["mask", "ellipse", "3", "2"], ["hist", "-"], ["hist2d", "-", "in.png"],
                        ["snake", "-", "--circle", "8,8,4"]):
            result = self.pipe(content, *command, "-o", "-", "--format", "png")
            self.assertTrue(result.startswith(b"\x89PNG") and result.endswith(b"IEND\xaeB`\x82"), command)
        self.assertTrue(self.pipe(content, "hist", "-", "-o", "-", "--format", "csv").startswith(b"level,"))
        self.assertTrue(self.pipe(content, "hist", "-", "-o", "-", "--format", "svg").startswith(b"<svg"))
        self.assertTrue(self.pipe(content, "median", "-", "-o", "-", "--format", "fits").startswith(b"SIMPLE"))
        colour = png(3, 2, range(18), channels=3)
        run = subprocess.run([ko_files.TOOL, "simulate", "-", "-o", "-", "--format", "png"], input=colour, capture_output=True)
        self.assertTrue(run.stdout.startswith(b"\x89PNG"))

    def test_results_of_the_standard_input_have_a_name(self):
        self.pipe(tiff(2, 2, range(4)), "unpack", "-", "-o", "out/")
        self.assertEqual(os.listdir(self.path("out")), ["stdin.tif"])

    def test_formats_and_standard_output_go_together(self):
        self.write("a.tif", tiff(2, 2, range(4)))
        self.refuse("unpack", "a.tif", "-o", "-", names="-o - wants --format", says="", code=2)
        self.refuse("unpack", "a.tif", "-o", "b.tif", "--format", "png", names="--format goes with -o -", says="", code=2)
        self.refuse("unpack", "a.tif", "a.tif", "-o", "-", "--format", "png", names="-: ", says="several inputs", code=2)
        self.refuse("unpack", "a.tif", "-o", "-", "--format", "xyz", names="standard output: ", says="no picture format")
        self.write("recipe.json", b'{"operations": []}')
        self.refuse("run", "recipe.json", "a.tif", "-o", "-", "--format", "png", names="-o must be", says="", code=2)

    def test_the_standard_input_may_be_too_long_or_no_picture(self):
        self.refuse("info", "-", "--spool", "1", names="standard input: ", says="is longer than 1 MiB; --spool",
                    input="x" * (1 << 20) + "x")
        self.refuse("info", "-", names="standard input: ", says="cannot be read as a picture", input="hello")
        self.refuse("median", "-", "-o", "out.tif", names="standard input: ", says="cannot be read as a picture", input="")

    def test_a_standard_output_that_is_full_is_a_failure(self):
        self.write("a.tif", tiff(2, 2, range(4)))
        with open("/dev/full", "w") as full:
            run = subprocess.run([ko_files.TOOL, "unpack", self.path("a.tif"), "-o", "-", "--format", "tif"], stdout=full,
                                 stderr=subprocess.PIPE)
        self.assertEqual((run.returncode, run.stderr),
                         (1, b"ko: standard output: cannot be written: No space left on device\n"))


class Claims(ToolTest):
    def assert_too_short(self, name):
        self.refuse("median", name, "-o", "out.tif", names=name + ": ",
                    says="is damaged or cut short: shorter than its header claims: " + str(len(self.read(name))))
        self.assertIn(", shorter than its header claims: ", self.succeed("info", name))

    def test_claims_are_compared_with_the_file_before_memory_is_asked_for(self):
        deflated = [(259, 3, (8,)), (256, 3, (40000,)), (257, 3, (60000,)), (278, 3, (60000,))]
        self.write("zip.tif", tiff(2, 2, range(4), extra=deflated))
        self.write("plain.tif", tiff(2, 2, range(4), extra=[(257, 3, (600,)), (278, 3, (600,)), (279, 4, (2400,))]))
        self.write("a.png", png(2, 2, range(4)).replace(struct.pack(">II", 2, 2), struct.pack(">II", 50000, 50000)))
        self.write("a.fits", fits(2, 2, range(4)).replace(b"NAXIS1  =                    2", b"NAXIS1  =                20000"))
        for name in ("zip.tif", "plain.tif", "a.fits"):
            self.assert_too_short(name)
        # The header of a PNG has a sum of its own.
        content = self.read("a.png")
        self.write("a.png", content[:29] + struct.pack(">I", ko_files.zlib.crc32(content[12:29])) + content[33:])
        self.assert_too_short("a.png")

    def test_so_are_those_of_pictures_of_other_programs(self):
        self.write("in.tif", tiff(8, 8, [7] * 64))
        self.succeed("unpack", "in.tif", "-o", "a.jpg")
        content = self.read("a.jpg")
        at = content.index(b"\xff\xc0") + 5
        self.write("a.jpg", content[:at] + struct.pack(">HH", 60000, 60000) + content[at + 4:])
        self.assert_too_short("a.jpg")
        self.succeed("unpack", "in.tif", "-o", "a.exr")
        window = struct.pack("<4i", 0, 0, 7, 7)
        self.write("a.exr", self.read("a.exr").replace(window, struct.pack("<4i", 0, 0, 29999999, 7)))
        self.assert_too_short("a.exr")

    def test_so_are_those_of_raws(self):
        self.write("a.dng", dng(32, 24, [0] * 768, "rggb", size=(20000, 20000)))
        self.refuse("info", "a.dng", names="a.dng: ", says="is damaged or cut short: shorter than its header claims")

    def test_memory_that_there_is_not_is_named_with_its_size(self):
        with open(self.path("a.fits"), "wb") as file:
            file.write(fits_unit([600000, 600000], -64, b""))
            file.truncate(8 * 600000**2 + 2880 * 2)  # without a block on the disk
        env = dict(os.environ, ASAN_OPTIONS="allocator_may_return_null=1:detect_leaks=0")
        run = self.ko("unpack", "a.fits", "-o", "out.tif", env=env)
        self.assertEqual((run.returncode, run.stderr),
                         (1, "ko: a.fits: out of memory for a picture of 600000 x 600000, 2746582 MiB\n"))


def read_netpbm(content):
    """(magic, width, height, maximum, samples) of a binary PGM or PPM file."""
    magic, width, height, maximum = content.split(None, 4)[:4]
    header = re.match(rb"P[56]\s+\d+\s+\d+\s+\d+\s", content).end()
    width, height, maximum = int(width), int(height), int(maximum)
    count = width * height * {b"P5": 1, b"P6": 3}[magic]
    return magic, width, height, maximum, struct.unpack(f">{count}{'B' if maximum < 256 else 'H'}", content[header:])


class Netpbm(ToolTest):
    def test_samples_keep_their_depth(self):
        for bits in (8, 10, 12, 16):
            top = 2 ** bits - 1
            for channels, ending, magic in ((1, "pgm", b"P5"), (3, "ppm", b"P6"), (1, "pnm", b"P5")):
                samples = [0, top, *random_samples(7 * 5 * channels - 2, top, bits)]
                self.write("in.tif", tiff(7, 5, [s << (16 - bits) if bits > 8 else s for s in samples], channels=channels,
                                          bits=16 if bits > 8 else 8, description=f"koimproc bits={bits}"))
                self.succeed("crop", "in.tif", "--roi", "0,0,7,5", "-o", f"out.{ending}")
                self.assertEqual(read_netpbm(self.read(f"out.{ending}")), (magic, 7, 5, top, tuple(samples)))
                self.assertIn(f"7 x 5, {channels} channel", self.succeed("info", f"out.{ending}"))

    def test_they_are_read_exactly(self):
        for maximum, bits in ((255, 8), (100, 8), (1, 8), (4095, 12), (65535, 16), (1000, 16)):
            levels = range(maximum + 1)
            packed = struct.pack(f">{maximum + 1}{'B' if maximum < 256 else 'H'}", *levels)
            text = " ".join(map(str, levels)).encode()
            top = 2 ** bits - 1
            expected = [(level * top + maximum // 2) // maximum << (16 - bits if bits > 8 else 0) for level in levels]
            for head, samples in ((b"P5", packed), (b"P2", text)):
                self.write("in.pgm", head + b" # a comment 7\n%d 1\n# another\n%d\n" % (maximum + 1, maximum) + samples)
                self.succeed("unpack", "in.pgm", "-o", "out.tif")
                width, _, _, found, description = read_tiff(self.read("out.tif"))
                self.assertEqual((width, found, description), (maximum + 1, expected, f"koimproc bits={bits}"))
        self.write("in.ppm", b"P6 2 1 65535 " + struct.pack(">6H", 1, 2, 3, 40000, 50000, 60000))
        self.succeed("crop", "in.ppm", "--roi", "1,0,1,1", "-o", "out.tif")
        self.assertEqual(read_tiff(self.read("out.tif"))[:4], (1, 1, 3, [40000, 50000, 60000]))

    def test_damaged_ones_are_refused(self):
        for content, says in ((b"P5 2 2 255\nabc", "is damaged or cut short: shorter than its header claims"),
                              (b"P2 2 2 255 1 22 3333", "is damaged or cut short: a sample is missing"),
                              (b"P5 0 2 255\n", "its header is damaged"), (b"P5 2 2 65536 ", "its header is damaged"),
                              (b"P5 99999999999 2 255 ", "its header is damaged"), (b"P5 2", "its header is damaged"),
                              (b"P5 2147483647 2147483647 9 a", "shorter than its header claims")):
            self.write("in.pgm", content)
            self.refuse("unpack", "in.pgm", "-o", "out.tif", names="in.pgm: ", says=says)
        self.write("in.pgm", b"P5 1 1 255 a")
        self.refuse("unpack", "in.pgm", "--page", "2", "-o", "out.tif", names="in.pgm: ", says="has no page 2, it holds 1")

    def test_levels_above_the_depth_are_limited(self):
        self.write("in.tif", tiff(2, 2, [0x1fff, 5, 5, 7]))
        self.succeed("demosaic", "in.tif", "--grid", "RGGB", "--bits", "12", "--half", "-o", "out.ppm")
        self.assertEqual(read_netpbm(self.read("out.ppm")), (b"P6", 1, 1, 4095, (4095, 5, 7)))

    def test_what_they_cannot_hold_is_refused(self):
        self.write("float.tif", tiff(2, 1, [0.5, 1.0], bits=32, sample_format=3))
        self.refuse("crop", "float.tif", "--roi", "0,0,2,1", "-o", "out.pgm", names="out.pgm: ", says="cannot be written")
        self.write("two.tif", tiff(2, 1, [1] * 4, channels=2))
        self.refuse("crop", "two.tif", "--roi", "0,0,2,1", "-o", "out.pgm", names="out.pgm: ", says="cannot be written")


class BlackAndWhite(ToolTest):
    def test_bits_of_a_tiff_become_bytes(self):
        rows = [[(x * y + x) % 3 == 0 for x in range(21)] for y in range(40)]
        strip = b"".join(int("".join("01"[bit] for bit in row).ljust(24, "0"), 2).to_bytes(3, "big") for row in rows)
        self.write("in.tif", ko_files.tiff_of(strip, {
            256: (3, (21,)), 257: (3, (40,)), 258: (3, (1,)), 259: (3, (1,)), 262: (3, (1,)), 273: (4, (8,)),
            277: (3, (1,)), 278: (3, (40,)), 279: (4, (len(strip),))}))
        self.succeed("unpack", "in.tif", "-o", "out.tif")
        self.assertEqual(read_tiff(self.read("out.tif"))[:4], (21, 40, 1, [255 * bit for row in rows for bit in row]))


class Jpeg2000(ToolTest):
    def test_pictures_that_its_encoder_gives_up_on_are_refused(self):
        for size in (1, 31, 32):
            self.write("in.tif", tiff(size, size, [200] * size**2, bits=8))
            if size < 32:
                self.refuse("crop", "in.tif", "--roi", f"0,0,{size},{size}", "-o", "out.jp2", names="out.jp2: ",
                            says="32 x 32")
            else:
                self.succeed("crop", "in.tif", "--roi", f"0,0,{size},{size}", "-o", "out.jp2")
                self.succeed("stats", "out.jp2")


class WebP(ToolTest):
    def test_gray_pictures_become_colours(self):
        self.write("in.tif", tiff(16, 8, [200] * 128, bits=8))
        self.succeed("crop", "in.tif", "--roi", "0,0,16,8", "-o", "out.webp", "--quality", "100")
        self.succeed("unpack", "out.webp", "-o", "out.tif")
        width, height, channels, samples = read_tiff(self.read("out.tif"))[:4]
        self.assertEqual((width, height, channels), (16, 8, 3))
        self.assertTrue(all(abs(sample - 200) <= 1 for sample in samples), samples)

    def test_other_numbers_of_channels_are_refused(self):
        for channels in (2, 5):
            self.write("in.tif", tiff(2, 1, [1] * (2 * channels), channels=channels))
            self.refuse("crop", "in.tif", "--roi", "0,0,2,1", "-o", "out.webp", names="out.webp: ",
                        says=f"cannot hold {channels} channels")


class Messages(ToolTest):
    def test_each_name_is_said_once_and_libraries_are_not(self):
        for ending in ("png", "tif", "jpg", "exr", "gif", "bmp", "txt", "fits", "dng"):
            name = self.write("text." + ending, b"hello, this is no picture at all\n" * 3)
            run = self.refuse("info", name, names=name + ": cannot be read as a ", says=": ")
            self.assertEqual(run.stderr.count("text."), 1, run.stderr)
            self.assertNotRegex(run.stderr, "(?i)openimageio|libraw|could not open")

    def test_names_of_files_cannot_talk_to_the_terminal(self):
        self.write("a\x1b[31m\u009b.tif", tiff(2, 2, range(4)))
        self.assertTrue(self.succeed("info", "a\x1b[31m\u009b.tif").startswith("a [31m .tif: 2 x 2"))


if __name__ == "__main__":
    ko_files.main()
