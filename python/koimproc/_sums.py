"""Exact sums of the samples of each colour, and of their squares."""

from __future__ import annotations

import math
from collections.abc import Iterator, Sequence

from koimproc import native
from koimproc._arrays import record_of
from koimproc._errors import fail
from koimproc._frame import Array


def cell_views(array: Array) -> Iterator[tuple[slice, Array]]:
    """The samples of a mosaic as images of one or two channels, and the positions of the cell that these are."""
    columns = array.shape[1]
    for first in (0, 2):
        rows = array[first // 2 :: 2]
        pairs = rows[:, : columns // 2 * 2]
        yield slice(first, first + 2), pairs.reshape(rows.shape[0], columns // 2, 2)
        if columns % 2:
            yield slice(first, first + 1), rows[:, -1:]


def moments_of(array: Array, mask: Array | None = None) -> list[tuple[int, ...]]:
    """Number, sum and sum of squares of each channel of uint8 or uint16."""
    rows = max(1, native.mostMomentPixels // max(1, array.shape[1]))
    total: list[tuple[int, ...]] = [(0, 0, 0)] * (1 if array.ndim == 2 else array.shape[2])
    for top in range(0, array.shape[0], rows):
        image = record_of(array[top : top + rows])
        if mask is None:
            status, found = native.Moments(image)
        else:
            status, found = native.MomentsMasked(image, record_of(mask[top : top + rows]))
        if status:
            fail(native.Moments, (image,), status)
        total = _added(total, found)
    return total


def _added(moments: Sequence[tuple[int, ...]], more: Sequence[tuple[int, ...]]) -> list[tuple[int, ...]]:
    return [tuple(map(int.__add__, one, other)) for one, other in zip(moments, more)]


def cell_moments(array: Array) -> list[tuple[int, ...]]:
    """The same of each position of a mosaic's cell."""
    found: list[tuple[int, ...]] = [(0, 0, 0)] * 4
    for positions, samples in cell_views(array):
        found[positions] = _added(found[positions], moments_of(samples))
    return found


def means_of(array: Array, bayer: str | None) -> list[float]:
    """The mean of each channel or position, rounded once; NaN where there is no sample."""
    found = moments_of(array) if bayer is None else cell_moments(array)
    return [total / number if number else math.nan for number, total, _ in found]
