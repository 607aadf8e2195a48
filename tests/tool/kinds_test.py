"""Every command and every kind of picture: a right result, or a refusal that says what does not fit."""

import json
import os

import ko_files
from ko_files import ToolTest, png, tiff

MOSAIC = "koimproc bits=16 grid=RGGB"


def kinds():
    """One picture of each kind, 6 x 6 unless its name says otherwise."""
    def levels(count):
        return [i * 37 % 251 for i in range(count)]

    return {
        "gray.tif": tiff(6, 6, levels(36), bits=8),
        "gray16.tif": tiff(6, 6, levels(36)),
        "colour.tif": tiff(6, 6, levels(108), bits=8, channels=3),
        "alpha.tif": tiff(6, 6, levels(144), bits=8, channels=4, extra=[(338, 3, (2,))]),
        "mosaic.tif": tiff(6, 6, levels(36), description=MOSAIC),
        "oddmosaic.tif": tiff(5, 6, levels(30), description=MOSAIC),
        "two.tif": tiff(6, 6, levels(72), bits=8, channels=2),
        "five.tif": tiff(6, 6, levels(180), bits=8, channels=5),
        "signed.tif": tiff(6, 6, levels(36), sample_format=2),
        "float.tif": tiff(6, 6, [v / 4 for v in levels(36)], bits=32, sample_format=3),
        "1x6.tif": tiff(1, 6, levels(6), bits=8),
        "6x1.tif": tiff(6, 1, levels(6), bits=8),
        "1x1.tif": tiff(1, 1, [5], bits=8),
    }


# What many operations answer.
KEPT = {"6x6x1 UInt8": "gray", "6x6x1 UInt16": "gray16 mosaic", "5x6x1 UInt16": "oddmosaic"}
COLOUR = {"6x6x3 UInt8": "colour", "6x6x4 UInt8": "alpha"}
MORE = {"6x6x2 UInt8": "two", "6x6x5 UInt8": "five"}
SMALL = {"1x6x1 UInt8": "1x6", "6x1x1 UInt8": "6x1", "1x1x1 UInt8": "1x1"}
ONE_CHANNEL = {f"has {count} channels, wanted is one": kind
               for count, kind in ((3, "colour"), (4, "alpha"), (2, "two"), (5, "five"))}
GRAY_OR_COLOUR = {f"neither a gray nor a colour picture, it has {count} channels": kind
                  for count, kind in ((2, "two"), (5, "five"))}
COUNTED = {"only unsigned samples of 8 or 16 bits have levels that can be counted": "signed float"}
UNSIGNED = {"its samples are not unsigned of 8 or 16 bits": "signed float"}

# For each operation its settings, and what becomes of which kinds: width x height x channels and type of the result,
# or the refusal.
OPERATIONS = {
    "apply-mask": ({"mask": "gray.tif"}, {
        **COLOUR, **MORE,
        "6x6x1 UInt8": "gray",
        "6x6x1 UInt16": "gray16 mosaic",
        "the mask gray.tif has not the size of the picture, 5 x 6": "oddmosaic",
        "6x6x1 Int16": "signed",
        "6x6x1 Float32": "float",
        "the mask gray.tif has not the size of the picture, 1 x 6": "1x6",
        "the mask gray.tif has not the size of the picture, 6 x 1": "6x1",
        "the mask gray.tif has not the size of the picture, 1 x 1": "1x1",
    }),
    "binarize": ({}, {
        **SMALL, **ONE_CHANNEL,
        "6x6x1 UInt8": "gray gray16 mosaic signed float",
        "5x6x1 UInt8": "oddmosaic",
    }),
    "border": ({"left": 1, "top": 1, "right": 1, "bottom": 1}, {
        "8x8x1 UInt8": "gray",
        "8x8x1 UInt16": "gray16 mosaic",
        "8x8x3 UInt8": "colour",
        "8x8x4 UInt8": "alpha",
        "7x8x1 UInt16": "oddmosaic",
        "has 2 channels, mirrored are pictures of 1, 3 or 4": "two",
        "has 5 channels, mirrored are pictures of 1, 3 or 4": "five",
        "8x8x1 Int16": "signed",
        "mirrored are samples of 8 or 16 bits": "float",
        "3x8x1 UInt8": "1x6",
        "8x3x1 UInt8": "6x1",
        "3x3x1 UInt8": "1x1",
    }),
    "channel": ({"index": 0}, {
        **SMALL,
        "6x6x1 UInt8": "gray colour alpha two five",
        "6x6x1 UInt16": "gray16",
        "3x3x1 UInt16": "mosaic",
        "a mosaic of odd size, 5 x 6": "oddmosaic",
        "6x6x1 Int16": "signed",
        "6x6x1 Float32": "float",
    }),
    "clamp": ({"bits": 7}, {
        **KEPT, **COLOUR, **MORE, **SMALL,
        "its samples are not unsigned of 8, 16 or 32 bits": "signed float",
    }),
    "compress-levels": ({"low": 10, "high": 100}, {
        **COLOUR, **SMALL, **GRAY_OR_COLOUR, **COUNTED,
        "6x6x1 UInt8": "gray",
        "6x6x1 UInt16": "gray16",
        "3x3x3 UInt16": "mosaic",
        "a mosaic of odd size, 5 x 6": "oddmosaic",
    }),
    "convert": ({}, {
        "only floating-point samples and signed ones of 32 bits can be converted":
            "gray gray16 colour alpha mosaic two signed 1x6 6x1 1x1",
        "a mosaic of odd size, 5 x 6": "oddmosaic",
        "has 5 channels, at most four fit": "five",
        "6x6x1 UInt16": "float",
    }),
    "crop": ({"roi": [0, 0, 1, 1]}, {
        "1x1x1 UInt8": "gray 1x6 6x1 1x1",
        "1x1x1 UInt16": "gray16 mosaic oddmosaic",
        "1x1x3 UInt8": "colour",
        "1x1x4 UInt8": "alpha",
        "1x1x2 UInt8": "two",
        "1x1x5 UInt8": "five",
        "1x1x1 Int16": "signed",
        "1x1x1 Float32": "float",
    }),
    "demosaic": ({}, {
        "the file names no mosaic pattern; say it with grid": "gray gray16 1x6 6x1 1x1",
        "not a mosaic but a picture of 3 channels": "colour",
        "not a mosaic but a picture of 4 channels": "alpha",
        "6x6x3 UInt16": "mosaic",
        "a mosaic of odd size, 5 x 6; choose an even part with roi": "oddmosaic",
        "not a mosaic but a picture of 2 channels": "two",
        "not a mosaic but a picture of 5 channels": "five",
        "the samples of a mosaic must be unsigned of 8 or 16 bits": "signed float",
    }),
    "develop": ({}, {
        "the file names no mosaic pattern; say it with grid": "gray gray16 1x6 6x1 1x1",
        "not a mosaic but a picture of 3 channels": "colour",
        "not a mosaic but a picture of 4 channels": "alpha",
        "6x6x3 UInt8": "mosaic",
        "5x6x3 UInt8": "oddmosaic",
        "not a mosaic but a picture of 2 channels": "two",
        "not a mosaic but a picture of 5 channels": "five",
        "the samples of a mosaic must be unsigned of 8 or 16 bits": "signed float",
    }),
    "distance": ({}, {
        **ONE_CHANNEL, **UNSIGNED,
        "6x6x1 Float32": "gray gray16 mosaic",
        "5x6x1 Float32": "oddmosaic",
        "1x6x1 Float32": "1x6",
        "6x1x1 Float32": "6x1",
        "1x1x1 Float32": "1x1",
    }),
    "equalize": ({}, {
        **KEPT, **COLOUR, **SMALL, **GRAY_OR_COLOUR, **COUNTED,
    }),
    "flatfield": ({"background": "gray.tif"}, {
        "6x6x1 UInt8": "gray",
        "differs in depth from gray.tif": "gray16 mosaic signed float",
        "has another number of channels than gray.tif": "colour alpha two five",
        "differs in size from gray.tif": "oddmosaic 1x6 6x1 1x1",
    }),
    "logic": ({"and": "gray.tif"}, {
        **ONE_CHANNEL,
        "6x6x1 UInt8": "gray",
        "differs in depth from gray.tif": "gray16 mosaic signed float",
        "differs in size from gray.tif": "oddmosaic 1x6 6x1 1x1",
    }),
    "match": ({"reference": "gray.tif"}, {
        **SMALL, **GRAY_OR_COLOUR, **COUNTED,
        "6x6x1 UInt8": "gray",
        "differs in depth or channels from gray.tif": "gray16 colour alpha mosaic oddmosaic",
    }),
    "median": ({"radius": 1}, {
        **KEPT, **UNSIGNED,
        "6x6x3 UInt8": "colour",
        "has 4 channels, wanted are 1 or 3": "alpha",
        "has 2 channels, wanted are 1 or 3": "two",
        "has 5 channels, wanted are 1 or 3": "five",
        "smaller than the neighbourhood": "1x6 6x1 1x1",
    }),
    "paint": ({"mask": "gray.tif"}, {
        **COLOUR, **MORE,
        "6x6x1 UInt8": "gray",
        "6x6x1 UInt16": "gray16 mosaic",
        "the mask does not lie inside the picture of 5 x 6": "oddmosaic",
        "6x6x1 Int16": "signed",
        "6x6x1 Float32": "float",
        "the mask does not lie inside the picture of 1 x 6": "1x6",
        "the mask does not lie inside the picture of 6 x 1": "6x1",
        "the mask does not lie inside the picture of 1 x 1": "1x1",
    }),
    "resize": ({"width": 3}, {
        "3x3x1 UInt8": "gray 1x1",
        "3x3x1 UInt16": "gray16",
        "3x3x3 UInt8": "colour",
        "3x3x4 UInt8": "alpha",
        "a mosaic would lose its pattern, demosaic it first": "mosaic oddmosaic",
        "3x3x2 UInt8": "two",
        "3x3x5 UInt8": "five",
        "its samples are neither unsigned of 8 or 16 bits nor floats of 32": "signed",
        "3x3x1 Float32": "float",
        "3x18x1 UInt8": "1x6",
        "3x1x1 UInt8": "6x1",
    }),
    "sobel": ({}, {
        **KEPT, **SMALL, **ONE_CHANNEL, **UNSIGNED,
    }),
    "stretch-levels": ({"low": 10, "high": 100}, {
        **KEPT, **COLOUR, **SMALL, **GRAY_OR_COLOUR, **COUNTED,
    }),
    "threshold": ({"otsu": True}, {
        **KEPT, **COLOUR, **MORE, **SMALL, **COUNTED,
    }),
}


class Kinds(ToolTest):
    def setUp(self):
        super().setUp()
        self.kinds = kinds()
        for name, content in self.kinds.items():
            self.write(name, content)

    def outcomes(self, operation, settings):
        """What became of every kind: the size, channels and type of its result, or why there is none."""
        self.write("r.json", json.dumps({"operations": [{"op": operation, **settings}]}).encode())
        run = self.ko("run", "r.json", *self.kinds, "-o", operation, "--report", "report.json")
        self.assertIn(run.returncode, (0, 1), run.stderr)
        report = json.loads(self.read("report.json"))["files"]
        done = [f["output"] for f in report if f["status"] == "done"]
        formats = json.loads(self.succeed("info", *done, "--json")) if done else []
        formats = {f["file"]: f for f in ([formats] if isinstance(formats, dict) else formats)}
        outcomes = {}
        for file in report:
            name = file["input"].removesuffix(".tif")
            if file["status"] == "done":
                f = formats[file["output"]]
                outcomes[name] = f"{f['width']}x{f['height']}x{f['channels']} {f['type']}"
            else:
                outcomes[name] = file["message"].removeprefix(file["input"] + ": ").removeprefix(f"operations[0] ({operation}): ")
        return outcomes

    def test_operations(self):
        for operation, (settings, expected) in OPERATIONS.items():
            outcomes = {}
            for kind, outcome in self.outcomes(operation, settings).items():
                outcomes.setdefault(outcome, []).append(kind)
            self.assertEqual({outcome: " ".join(kinds) for outcome, kinds in outcomes.items()}, expected, operation)

    def test_every_operation_is_in_the_table(self):
        self.write("r.json", b'{"operations": [{"op": "none"}]}')
        known = self.ko("run", "r.json", "gray.tif", "-o", "out").stderr.split("must be one of ")[1]
        self.assertEqual(set(known.strip().split(", ")), set(OPERATIONS))

    def refuses(self, arguments, says, accepted):
        """Runs a command, K standing for the picture, on every kind; those not accepted are refused."""
        for kind in map(lambda name: name.removesuffix(".tif"), self.kinds):
            run = self.ko(*(kind + ".tif" if word == "K" else word for word in arguments))
            lines = run.stderr.splitlines()
            if kind in accepted.split():
                self.assertEqual((run.returncode, lines), (0, []), (arguments, kind))
            else:
                self.assertEqual(run.returncode, 1, (arguments, kind))
                for line in lines:
                    self.assertTrue(line.startswith(f"ko: {kind}.tif: "), line)
                    self.assertRegex(line, says)

    def test_commands_on_single_pictures(self):
        small = "1x6 6x1 1x1"
        self.refuses(("pack", "K", "-o", "o.bin", "--packed", "Mono16"), "wanted is one$|not unsigned of 16 bits, ",
                     "gray16 mosaic oddmosaic")
        self.refuses(("simulate", "K", "-o", "o.tif"), "not a colour photograph", "colour alpha")
        self.refuses(("snake", "K", "--circle", "3,3,2", "-o", "o.tif"),
                     r"wanted is one$|not unsigned of 8 or 16 bits$|smaller than 3 x 3 pixels$",
                     "gray gray16 mosaic oddmosaic")
        countable = "gray gray16 colour alpha mosaic oddmosaic two five " + small
        self.refuses(("hist2d", "K", "K", "-o", "o.svg"), "only unsigned samples", countable)
        self.refuses(("average", "K", "K", "-o", "o.tif"), "only unsigned samples", countable)
        self.refuses(("compare", "K", "K"), "only unsigned samples of 8 or 16 bits and floats", countable + " float")
        self.refuses(("mask", "from-value", "K", "--value", "5", "-o", "o.tif"), "mono pictures of 16 bits",
                     "gray16 mosaic oddmosaic")

    def test_commands_on_several_pictures(self):
        for arguments, says, accepted in (
                (("info",), "", len(self.kinds)),
                (("stats",), "oddmosaic.*odd size", len(self.kinds) - 1),
                (("hist",), "float.*only unsigned samples|oddmosaic.*odd size", len(self.kinds) - 2),
                (("hist", "--gray"), "neither a colour picture nor a mosaic|only unsigned|odd size|of signed samples", 3)):
            run = self.ko(arguments[0], *self.kinds, *arguments[1:])
            lines = run.stderr.splitlines()
            self.assertEqual(len(lines), len(self.kinds) - accepted, lines)
            for line in lines:
                self.assertRegex(line, r"^ko: \w+\.tif: ")
                self.assertRegex(line, says)

    def test_the_pipeline(self):
        run = self.ko("stream", *self.kinds, "-o", "out")
        self.assertEqual(os.listdir(self.path("out")), ["mosaic.tif"])
        for line in run.stderr.splitlines():
            self.assertRegex(line, r"^ko: \w+\.tif: (the file names no mosaic pattern|not a mosaic|a mosaic of odd size|the samples of a mosaic)")
        self.assertEqual(len(run.stderr.splitlines()), len(self.kinds) - 1)


if __name__ == "__main__":
    ko_files.main()
