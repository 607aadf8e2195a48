"""ko pack, ko unpack --packed and ko info --packed: frames as cameras send them."""

import json
import struct
import subprocess

import ko_files
from ko_files import ToolTest, png, random_samples, read_tiff, tiff


def bit_string(samples, bits):
    """The samples after each other, the lowest bit first."""
    number = sum(s << i * bits for i, s in enumerate(samples))
    return number.to_bytes((len(samples) * bits + 7) // 8, "little")


def pairs(samples, bits, low_last):
    """GigE Vision 1 and CSI-2 of 12 bits: the upper 8 bits of two samples and their low bits in a byte."""
    row = b""
    for first, second in zip(samples[::2], [*samples[1::2], 0]):
        low = bits - 8
        shared = (first & (1 << low) - 1) | (second & (1 << low) - 1) << 4
        upper = (first >> low, second >> low)
        row += bytes([*upper, shared] if low_last else [upper[0], shared, upper[1]])
    return row


def fours(samples, bits):
    """CSI-2 of 10 and 14 bits: the upper 8 bits of four samples, then their low bits."""
    row = b""
    for at in range(0, len(samples), 4):
        four = [*samples[at:at + 4], 0, 0, 0][:4]
        low = bits - 8
        row += bytes(s >> low for s in four) + bit_string([s & (1 << low) - 1 for s in four], low)
    return row


def words(order, shift=0):
    return lambda samples: struct.pack(f"{order}{len(samples)}H", *(s << shift for s in samples))


# Endings of GenICam's names, and V4L2's names of CSI-2: bits of a sample, and how a row is packed.
ENDINGS = {
    "10p": (10, lambda s: bit_string(s, 10)), "12p": (12, lambda s: bit_string(s, 12)),
    "14p": (14, lambda s: bit_string(s, 14)), "10Packed": (10, lambda s: pairs(s, 10, False)),
    "12Packed": (12, lambda s: pairs(s, 12, False)), "8": (8, bytes), "10": (10, words("<")), "12": (12, words("<")),
    "14": (14, words("<")), "16": (16, words("<")), "10be": (10, words(">")),
    "12be": (12, words(">")), "14be": (14, words(">")), "16be": (16, words(">")), "10msb": (10, words("<", 6)),
    "12msb": (12, words("<", 4)), "14msb": (14, words("<", 2)),
}
BEGINNINGS = {"Mono": None, "BayerRG": "RGGB", "BayerGR": "GRBG", "BayerGB": "GBRG", "BayerBG": "BGGR"}
CSI2 = {"AA": (10, lambda s: fours(s, 10)), "CC": (12, lambda s: pairs(s, 12, True)), "EE": (14, lambda s: fours(s, 14))}
CSI2_BEGINNINGS = {"pR": "RGGB", "pg": "GRBG", "pG": "GBRG", "pB": "BGGR"}


def formats():
    """name: (bits, grid, row). Each ending with one beginning, for the names are made of both."""
    known = {}
    for number, (ending, (bits, row)) in enumerate(ENDINGS.items()):
        beginning = list(BEGINNINGS)[number % len(BEGINNINGS)]
        known[beginning + ending] = (bits, BEGINNINGS[beginning], row)
    for ending, (bits, row) in CSI2.items():
        known[f"Y{bits}P"] = (bits, None, row)
        for beginning, grid in CSI2_BEGINNINGS.items():
            known[beginning + ending] = (bits, grid, row)
    return known


class PackTest(ToolTest):
    def rows(self, samples, width, row, pitch=0):
        return b"".join(row(samples[y:y + width]).ljust(pitch, b"\0") for y in range(0, len(samples), width))


class Formats(PackTest):
    def test_every_format_is_read_and_written(self):
        for number, (name, (bits, grid, row)) in enumerate(formats().items()):
            width, height = 3 + number % 6, 3  # also such as do not fill the last group
            samples = random_samples(width * height, 2**bits - 1, number)
            self.write("frame.bin", self.rows(samples, width, row))
            self.succeed("unpack", "frame.bin", "-o", "out.tif", "--packed", name, "--size", f"{width},{height}")
            description = f"koimproc bits={bits}" + (f" grid={grid}" if grid else "")
            self.assertEqual(read_tiff(self.read("out.tif")),
                             (width, height, 1, [s << -bits % 8 for s in samples], description), name)
            self.succeed("pack", "out.tif", "-o", "again.bin", "--packed", name)
            self.assertEqual(self.read("again.bin"), self.read("frame.bin"), name)

    def test_rows_have_a_pitch_and_files_a_header(self):
        for name, (bits, row) in {"BayerGB10p": ENDINGS["10p"], "Mono12Packed": ENDINGS["12Packed"],
                                  "pREE": CSI2["EE"], "BayerBG8": ENDINGS["8"], "BayerRG12": ENDINGS["12"]}.items():
            samples = random_samples(7 * 5, 2**bits - 1, 9)
            frame = self.rows(samples, 7, row, pitch=32)
            self.write("frame.bin", b"header" + frame + b"and more")
            options = ("--packed", name, "--size", "7,5", "--pitch", "32")
            self.succeed("unpack", "frame.bin", "-o", "out.tif", *options, "--offset", "6")
            self.assertEqual(read_tiff(self.read("out.tif"))[3], [s << -bits % 8 for s in samples])
            self.succeed("pack", "out.tif", "-o", "again.bin", "--packed", name, "--pitch", "32")
            self.assertEqual(self.read("again.bin"), frame)
            # The last row need not be filled up.
            self.write("frame.bin", frame[:-32] + row(samples[28:]))
            self.succeed("unpack", "frame.bin", "-o", "out.tif", *options)
            self.assertEqual(read_tiff(self.read("out.tif"))[3], [s << -bits % 8 for s in samples])

    def test_capitals_count_only_where_they_tell_names_apart(self):
        self.write("frame.bin", bytes(12))
        for name, grid in (("bayerrg12P", "RGGB"), ("PRCC", "RGGB"), ("pGCC", "GBRG"), ("pgCC", "GRBG")):
            self.assertIn(f"mosaic {grid}", self.succeed("info", "frame.bin", "--packed", name, "--size", "4,2"))
        self.refuse("info", "frame.bin", "--packed", "PGCC", "--size", "4,2", names="--packed: PGCC is no packed format; ",
                    says="did you mean pGCC?", code=2)

    def test_frames_of_a_file_are_its_pages(self):
        frames = [random_samples(8 * 3, 4095, n) for n in range(3)]
        self.write("frames.bin", b"".join(self.rows(f, 8, ENDINGS["12p"][1]) for f in frames))
        options = ("--packed", "Mono12p", "--size", "8,3")
        for page, frame in enumerate(frames):
            self.succeed("unpack", "frames.bin", "-o", "out.tif", *options, "--page", str(page + 1))
            self.assertEqual(read_tiff(self.read("out.tif"))[3], [s << 4 for s in frame])
        self.assertEqual(self.succeed("info", "frames.bin", *options, "--page", "2"),
                         "frames.bin: 8 x 3, 1 channel, UInt16, 12 bits, packed as Mono12p, rows of 12 bytes, page 2 of 3\n")
        self.refuse("unpack", "frames.bin", "-o", "x.tif", *options, "--page", "4", names="frames.bin: ",
                    says="has no page 4, it holds 3")

    def test_frames_come_and_go_through_pipes(self):
        samples = random_samples(4 * 2, 1023, 4)
        frame = self.rows(samples, 4, CSI2["AA"][1])
        unpacked = subprocess.run([ko_files.TOOL, "unpack", "-", "-o", "-", "--format", "tif", "--packed", "pgAA", "--size",
                                   "4,2"], input=frame, capture_output=True, check=True).stdout
        self.assertEqual(read_tiff(unpacked)[3:], ([s << 6 for s in samples], "koimproc bits=10 grid=GRBG"))
        packed = subprocess.run([ko_files.TOOL, "pack", "-", "-o", "-", "--packed", "pgAA"], input=unpacked,
                                capture_output=True, check=True).stdout
        self.assertEqual(packed, frame)

    def test_a_series_is_packed_into_a_directory(self):
        for name in ("a", "b"):
            self.write(name + ".tif", tiff(2, 1, [16, 32], description="koimproc bits=12"))
        self.assertIn("2 of 2 frames", self.succeed("pack", "a.tif", "b.tif", "-o", "out/", "--packed", "Mono12p"))
        self.assertEqual(self.read("out/b.bin"), bytes([1, 32, 0]))


class Refusals(PackTest):
    def test_files_of_another_length(self):
        for length, says in ((35, "is too short for 8 x 3 samples of Mono12p: 35 bytes instead of 36"),
                             (0, "is too short for 8 x 3 samples of Mono12p: 0 bytes instead of 36"),
                             (40, "is too long for 8 x 3 samples of Mono12p: 4 bytes more than 1 frame of 36; "
                                  "--offset skips a header"),
                             (73, "is too long for 8 x 3 samples of Mono12p: 1 bytes more than 2 frames of 36; ")):
            self.write("frame.bin", bytes(length))
            for command in (("info",), ("unpack", "-o", "x.tif")):
                self.refuse(*command, "frame.bin", "--packed", "Mono12p", "--size", "8,3", names="frame.bin: ", says=says)
        self.refuse("unpack", "frame.bin", "-o", "x.tif", "--packed", "Mono12p", "--size", "8,3", "--offset", "38",
                    names="frame.bin: ", says="is too short for 8 x 3 samples of Mono12p: 35 bytes instead of 36")
        self.refuse("unpack", "frame.bin", "-o", "x.tif", "--packed", "Mono16", "--size", "16777216,16777216", "--pitch",
                    "1073741824", "--offset", "1073741824", names="frame.bin: ", says="is too short for ")
        self.refuse("unpack", "none.bin", "-o", "x.tif", "--packed", "Mono12p", "--size", "8,3", names="none.bin: ",
                    says="no such file")

    def test_command_lines_that_make_no_sense(self):
        self.write("frame.bin", bytes(36))
        self.write("a.tif", tiff(8, 1, [16] * 8, description="koimproc bits=12"))
        for options, says in ((("--packed", "BayerRG12q", "--size", "8,3"),
                               "--packed: BayerRG12q is no packed format; did you mean BayerRG12p?"),
                              (("--packed", "xyzzy42", "--size", "8,3"), "--packed: xyzzy42 is no packed format\n"),
                              (("--packed", "Mono12p"), "--packed and --size go together"),
                              (("--size", "8,3"), "--packed and --size go together"),
                              (("--pitch", "8"), "--pitch and --offset go with --packed"),
                              (("--packed", "Mono12p", "--size", "8,0"), "8,0 is not two whole numbers w, h, 1...16777216"),
                              (("--packed", "Mono12p", "--size", "8,3", "--pitch", "11"),
                               "--pitch 11 is less than the 12 bytes of 8 samples of Mono12p")):
            self.refuse("unpack", "frame.bin", "-o", "x.tif", *options, names="", says=says, code=2)
        self.refuse("pack", "a.tif", "-o", "x.bin", names="", says="--packed is required", code=2)
        self.refuse("pack", "a.tif", "-o", "x.bin", "--packed", "Mono12q", names="", says="did you mean Mono12p?", code=2)

    def test_pictures_that_do_not_suit_the_format(self):
        self.write("m.tif", tiff(2, 2, [16] * 4, description="koimproc bits=12 grid=GBRG"))
        self.write("c.png", png(2, 2, [1] * 12, channels=3))
        self.write("g.png", png(2, 2, [1] * 4))
        for name, packed, says in (
                ("g.png", "Mono10", "its samples are not unsigned of 10 bits, as those of Mono10"),
                ("m.tif", "BayerGB8", "its samples are not unsigned of 8 bits, as those of BayerGB8"),
                ("m.tif", "BayerRG12p", "its mosaic is GBRG, that of BayerRG12p is RGGB"),
                ("m.tif", "BayerGB10p", "its samples are not unsigned of 10 bits, as those of BayerGB10p"),
                ("g.png", "Mono10p", "its samples are not unsigned of 10 bits, as those of Mono10p"),
                ("c.png", "Mono12p", "has 3 channels, wanted is one"),
                ("m.tif --pitch 2", "Mono12p", "--pitch 2 is less than the 3 bytes of 2 samples of Mono12p")):
            self.refuse("pack", *name.split(), "-o", "x.bin", "--packed", packed, names=name.split()[0] + ": ", says=says)

    def test_info_as_json(self):
        self.write("frame.bin", bytes(36))
        self.assertEqual(json.loads(self.succeed("info", "frame.bin", "--json", "--packed", "BayerBG12p", "--size", "8,3")),
                         {"file": "frame.bin", "width": 8, "height": 3, "channels": 1, "type": "UInt16", "bits": 12,
                          "mosaic": "BGGR", "kind": "packed as BayerBG12p, rows of 12 bytes"})


if __name__ == "__main__":
    ko_files.main()
