"""Runs the tool, and makes and reads the files of its tests without the libraries that the tool uses."""

import os
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib

TYPES = {1: "B", 2: "s", 3: "H", 4: "I", 5: "II", 7: "s", 10: "ii"}


def is_emulated():
    """Whether the tool is a script that starts it in an emulator. The kernel cannot start the tool itself then."""
    with open(TOOL, "rb") as tool:
        return tool.read(4) != b"\x7fELF"


class ToolTest(unittest.TestCase):
    """A test in a directory of its own."""

    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.dir = holder.name

    def path(self, name):
        return os.path.join(self.dir, name)

    def ko(self, *arguments, **options):
        return subprocess.run([TOOL, *arguments], cwd=self.dir, capture_output=True, text=True, **options)

    def succeed(self, *arguments):
        run = self.ko(*arguments)
        self.assertEqual((run.returncode, run.stderr), (0, ""), arguments)
        return run.stdout

    def refuse(self, *arguments, names, says, code=1, **options):
        """Runs what must fail with one line that names the file and the cause, and leave no new file behind."""
        before = sorted(os.listdir(self.dir))
        run = self.ko(*arguments, **options)
        self.assertEqual(run.returncode, code, (arguments, run.stderr))
        self.assertEqual(run.stderr.count("\n"), 1, run.stderr)
        self.assertTrue(run.stderr.startswith("ko: " + names), run.stderr)
        self.assertIn(says, run.stderr)
        self.assertEqual(sorted(os.listdir(self.dir)), before)
        return run

    def write(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content)
        return name

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()


def tiff(width, height, samples, bits=16, channels=1, description=None, sample_format=1, extra=()):
    """A little-endian TIFF of one uncompressed strip; `extra` holds further (tag, type, values)."""
    letter = {(8, 1): "B", (16, 1): "H", (32, 3): "f", (16, 2): "h"}[bits, sample_format]
    assert len(samples) == width * height * channels
    pixels = struct.pack(f"<{len(samples)}{letter}", *samples)
    tags = {
        256: (3, (width,)), 257: (3, (height,)), 258: (3, (bits,) * channels), 259: (3, (1,)),
        262: (3, (2 if channels == 3 else 1,)), 273: (4, (8,)), 277: (3, (channels,)), 278: (3, (height,)),
        279: (4, (len(pixels),)), 339: (3, (sample_format,) * channels),
    }
    if description is not None:
        tags[270] = (2, description.encode() + b"\0")
    tags.update({tag: (kind, values) for tag, kind, values in extra})
    return tiff_of(pixels, tags)


def tiff_of(strip, tags, magic=b"II*\0"):
    """A TIFF file of one strip, at byte 8, and one directory of `tags`: {tag: (type, values)}."""
    start = 8 + len(strip) + len(strip) % 2
    return magic + struct.pack("<I", start) + strip.ljust(start - 8, b"\0") + tiff_directory(start, tags)


def tiff_directory(start, tags, following=0):
    """A directory that stands at byte `start`, and its values."""
    tail_at = start + 2 + 12 * len(tags) + 4
    entries, tail = b"", b""
    for tag, (kind, values) in sorted(tags.items()):
        if kind in (2, 7):
            count, data = len(values), values
        else:
            count = len(values) // len(TYPES[kind])
            data = struct.pack(f"<{count * TYPES[kind]}", *values)
        if len(data) > 4:
            data, tail = struct.pack("<I", tail_at + len(tail)), tail + data + b"\0" * (len(data) % 2)
        entries += struct.pack("<HHI", tag, kind, count) + data.ljust(4, b"\0")
    return struct.pack("<H", len(tags)) + entries + struct.pack("<I", following) + tail


def read_tags(content):
    """{tag: values} of the first directory of a little-endian TIFF."""
    assert content[:4] == b"II*\0", content[:4]
    (at,) = struct.unpack_from("<I", content, 4)
    tags = {}
    for entry in range(struct.unpack_from("<H", content, at)[0]):
        tag, kind, count = struct.unpack_from("<HHI", content, at + 2 + 12 * entry)
        if kind not in TYPES or kind in (5, 10):
            continue
        size = struct.calcsize("<" + TYPES[kind]) * count
        where = at + 2 + 12 * entry + 8
        if size > 4:
            (where,) = struct.unpack_from("<I", content, where)
        tags[tag] = (content[where:where + count] if kind in (2, 7)
                     else struct.unpack_from(f"<{count}{TYPES[kind]}", content, where))
    return tags


def read_tiff(content):
    """(width, height, channels, samples, description) of an uncompressed TIFF of integers or floats."""
    tags = read_tags(content)
    assert tags[259] == (1,), "compressed"
    data = b"".join(content[o:o + n] for o, n in zip(tags[273], tags[279]))
    letter = {(8, 1): "B", (16, 1): "H", (16, 2): "h", (32, 3): "f", (64, 3): "d"}[
        tags[258][0], tags.get(339, (1,))[0]]
    samples = list(struct.unpack(f"<{len(data) // struct.calcsize(letter)}{letter}", data))
    return tags[256][0], tags[257][0], tags[277][0], samples, tags.get(270, b"").rstrip(b"\0").decode()


def png(width, height, samples, bits=8, channels=1):
    row = width * channels
    letter = {8: "B", 16: "H"}[bits]
    lines = b"".join(b"\0" + struct.pack(f">{row}{letter}", *samples[y * row:(y + 1) * row]) for y in range(height))

    def chunk(name, data):
        return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))

    head = struct.pack(">IIBBBBB", width, height, bits, {1: 0, 3: 2}[channels], 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", zlib.compress(lines)) + chunk(b"IEND", b"")


def fits(width, height, samples, *cards, unsigned=True):
    """A FITS file of 16-bit samples."""
    data = struct.pack(f">{len(samples)}h", *(s - 32768 if unsigned else s for s in samples))
    offset = [("BZERO", 32768), ("BSCALE", "1.0")] if unsigned else []
    return fits_unit([width, height], 16, data, *offset, *cards)


def fits_unit(sizes, bitpix, data, *cards, first=("SIMPLE", "T")):
    """A header of FITS and its data: a file, or an extension with ("XTENSION", "'IMAGE   '") for the first."""
    def card(key, value):
        return f"{key:<8}= {value:>20}".ljust(80)

    lines = [card(*first), card("BITPIX", bitpix), card("NAXIS", len(sizes))]
    lines += [card(f"NAXIS{i + 1}", size) for i, size in enumerate(sizes)]
    lines += [card(*c) for c in cards] + ["END".ljust(80)]
    header = "".join(lines)
    header = header.ljust((len(header) + 2879) // 2880 * 2880).encode()
    return header + data.ljust((len(data) + 2879) // 2880 * 2880, b"\0")


def random_samples(count, top, seed):
    """The same numbers on every run, extremes among them."""
    values, state = [], seed
    for _ in range(count):
        state = (state * 6364136223846793005 + 1442695040888963407) % 2**64
        values.append((state >> 33) % (top + 1))
    values[0], values[-1] = top, 0
    return values


def main():
    global TOOL
    TOOL = os.path.abspath(sys.argv.pop(1))
    unittest.main()
