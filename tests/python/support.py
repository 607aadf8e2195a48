"""Arrays of every layout, and what the tests of the friendly face have in common."""
import struct

import numpy as np
from hypothesis import HealthCheck, settings
from hypothesis import strategies as st
from hypothesis.extra import numpy as arrays

# The same examples on every run: a test that fails once in a while helps nobody.
settings.register_profile("koimproc", max_examples=40, deadline=None, derandomize=True, database=None,
                          suppress_health_check=list(HealthCheck))
settings.load_profile("koimproc")

CAMERA = (np.uint8, np.uint16)
ALL = (np.uint8, np.int8, np.uint16, np.int16, np.uint32, np.int32, np.uint64, np.int64, np.float32, np.float64)
IN_PLACE = ("plain", "slice", "read-only", "misaligned")
COPIED = ("rows flipped", "columns flipped", "fortran", "stepped", "other byte order")
LAYOUTS = IN_PLACE + COPIED


def laid_out(values, layout):
    """An array equal to `values` of another layout."""
    rows, columns = values.shape[:2]
    if layout == "plain":
        return values.copy()
    if layout == "slice":
        larger = np.ones((rows + 5, columns + 7, *values.shape[2:]), values.dtype)
        larger[2:2 + rows, 3:3 + columns] = values
        return larger[2:2 + rows, 3:3 + columns]
    if layout == "read-only":
        result = values.copy()
        result.flags.writeable = False
        return result
    if layout == "misaligned":
        result = np.ndarray(values.shape, values.dtype, bytearray(values.nbytes + 1), 1)
        result[...] = values
        return result
    if layout == "rows flipped":
        return values[::-1].copy()[::-1]
    if layout == "columns flipped":
        return values[:, ::-1].copy()[:, ::-1]
    if layout == "fortran":
        return np.asfortranarray(values)
    if layout == "stepped":
        larger = np.ones((rows, 2 * columns, *values.shape[2:]), values.dtype)
        larger[:, ::2] = values
        return larger[:, ::2]
    assert layout == "other byte order"
    return values.astype(values.dtype.newbyteorder())


def shapes(channels=(1, 3), smallest=0, largest=12):
    """(rows, columns), and (rows, columns, channels) where there are several."""
    def shaped(rows, columns, count):
        return (rows, columns) if count == 1 else (rows, columns, count)
    side = st.integers(smallest, largest)
    return st.builds(shaped, side, side, st.sampled_from(channels))


def pictures(dtypes=CAMERA, channels=(1, 3), smallest=0, largest=12):
    """Arrays of any shape and type, with samples all over the range of the type."""
    def filled(dtype, shape):
        return arrays.arrays(dtype, shape, elements=arrays.from_dtype(np.dtype(dtype), allow_nan=False,
                                                                      allow_infinity=False))
    return st.tuples(st.sampled_from(dtypes), shapes(channels, smallest, largest)).flatmap(lambda of: filled(*of))


layouts = st.sampled_from(LAYOUTS)


def masks(shape):
    return arrays.arrays(np.bool_, shape[:2])


def random_picture(shape, dtype=np.uint8, bits=None, seed=1):
    top = 1 << (bits or 8 * np.dtype(dtype).itemsize)
    return np.random.default_rng(seed).integers(0, top, shape, dtype)


def tiff_of_few_bits(levels, bits):
    """A TIFF file of gray samples that follow each other bit by bit, as microscopes write those of 12 bits."""
    rows = b"".join(np.packbits([level >> bit & 1 for level in row.tolist() for bit in reversed(range(bits))]).tobytes()
                    for row in levels)
    height, width = levels.shape
    tags = [(256, width), (257, height), (258, bits), (259, 1), (262, 1), (273, 8), (277, 1), (278, height), (279, len(rows))]
    rows += b"\0" * (len(rows) % 2)
    return (struct.pack("<4sI", b"II*\0", 8 + len(rows)) + rows + struct.pack("<H", len(tags))
            + b"".join(struct.pack("<HHII", tag, 4, 1, value) for tag, value in tags) + bytes(4))
