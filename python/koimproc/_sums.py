"""Exact sums of the samples of each colour."""

from __future__ import annotations

import math
from collections.abc import Iterator

import numpy as np

from koimproc import native
from koimproc._errors import fail
from koimproc._frame import DEPTHS, NO_GRID, Array

# What the library sums samples up to.
_LARGEST_SUM = 2**32 - 1


def cell_views(array: Array) -> Iterator[tuple[slice, Array]]:
    """The samples of a mosaic as images of one or two channels, and the positions of the cell that these are."""
    columns = array.shape[1]
    for first in (0, 2):
        rows = array[first // 2 :: 2]
        pairs = rows[:, : columns // 2 * 2]
        yield slice(first, first + 2), pairs.reshape(rows.shape[0], columns // 2, 2)
        if columns % 2:
            yield slice(first, first + 1), rows[:, -1:]


def _sums_of_channels(array: Array) -> list[int]:
    """The exact sum of each channel of uint8 or uint16, from means of regions whose sums the library holds."""
    # The format 0 has no colours, so that there is a mean for every channel, however many.
    record = native.SxImageBuf(array, DEPTHS[array.dtype], 0, NO_GRID, 0)
    rows, columns = array.shape[:2]
    most = _LARGEST_SUM // int(np.iinfo(array.dtype).max)
    wide = max(1, min(columns, most))
    high = most // wide
    sums = [0] * (1 if array.ndim == 2 else array.shape[2])
    for top in range(0, rows, high):
        for left in range(0, columns, wide):
            region = left, top, min(wide, columns - left), min(high, rows - top)
            status, means = native.Mean(record, region)
            if status:
                fail(native.Mean, (record, region), status)
            sums = [total + round(mean * region[2] * region[3]) for total, mean in zip(sums, means)]
    return sums


def means_of(array: Array, bayer: str | None) -> list[float]:
    """The mean of each channel or position, rounded once; NaN where there is no sample."""
    if bayer is None:
        number = array.shape[0] * array.shape[1]
        return [total / number if number else math.nan for total in _sums_of_channels(array)]
    sums, numbers = [0] * 4, [0] * 4
    for positions, samples in cell_views(array):
        for position, total in zip(range(4)[positions], _sums_of_channels(samples)):
            sums[position] += total
            numbers[position] += samples.shape[0] * samples.shape[1]
    return [total / number if number else math.nan for total, number in zip(sums, numbers)]
