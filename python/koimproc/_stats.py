"""Histograms, extremes and moments."""

from __future__ import annotations

import math
from collections.abc import Iterator
from dataclasses import dataclass
from typing import Any

import numpy as np
import numpy.typing as npt

from koimproc import native
from koimproc._arrays import ALL_SAMPLES, Image, Source, mask_of, record_of
from koimproc._errors import ArgumentError, fail
from koimproc._frame import Array, Whole
from koimproc._sums import cell_moments, cell_views, moments_of
from koimproc._threads import limit, run

Counts = npt.NDArray[np.uint64]

# Positions of a mosaic's cell in the order in which its grid is named, as (row, column).
POSITIONS = ((0, 0), (0, 1), (1, 0), (1, 1))
# Samples that are counted at a time: the counters of the library have 32 bits.
_AT_A_TIME = 2**31


def position_views(array: Array, mask: Array | None) -> Iterator[tuple[Array, Array | None]]:
    """The samples of each position of a mosaic's cell, and their part of the mask."""
    for row, column in POSITIONS:
        part = None if mask is None else mask[row::2, column::2]
        yield array[row::2, column::2], part


def _count(record: native.SxImageBuf, mask: Array | None, planes: int, levels: int) -> Counts:
    counts = np.zeros((planes, levels), np.uint32)
    counters = native.CxImageHistogram(counts)
    if mask is None:
        run(None, native.Histogram, record, counters)
    else:
        run(None, native.HistogramMasked, record, record_of(mask), counters)
    total: Counts = counts.astype(np.uint64)
    return total


def counts_of(source: Source, mask: Array | None, name: str = "image", *, strict: bool = True) -> Counts:
    """The exact histogram, one row per channel or position; `strict` refuses samples beyond the depth."""
    levels = 1 << source.bits
    rows = max(1, _AT_A_TIME // max(1, source.array.shape[1]))
    if source.bayer is not None and mask is None:
        counts = np.zeros((4, levels), np.uint64)
        for positions, samples in cell_views(source.array):
            planes = positions.stop - positions.start
            counts[positions] += _count(native.SxImageBuf(samples, source.bits), None, planes, levels)
    elif source.bayer is not None:
        views = [
            (np.ascontiguousarray(samples), part) for samples, part in position_views(source.array, mask)
        ]
        counts = np.concatenate(
            [_count(native.SxImageBuf(samples, source.bits), part, 1, levels) for samples, part in views]
        )
    elif source.array.shape[0] <= rows:
        counts = _count(source.record, mask, source.channels, levels)
    else:
        counts = np.zeros((source.channels, levels), np.uint64)
        for top in range(0, source.array.shape[0], rows):
            record = native.SxImageBuf(source.array[top : top + rows], source.bits)
            counts += _count(record, None if mask is None else mask[top : top + rows], source.channels, levels)
    if strict and levels < 1 << (8 * source.dtype.itemsize):
        selected = source.array.shape[0] * source.array.shape[1] if mask is None else np.count_nonzero(mask)
        if int(counts.sum()) != selected * (1 if source.bayer else source.channels):
            raise _beyond_depth(source, name)
    return counts


def _beyond_depth(source: Source, name: str) -> ArgumentError:
    return ArgumentError(
        name,
        f"has samples of {1 << source.bits} and above, more than its {source.bits} bits; "
        "give the right bits, or limit the samples with clip_to_depth",
    )


def is_single(source: Source) -> bool:
    """Whether statistics are plain numbers: of a mono image that is no mosaic."""
    return source.bayer is None and source.array.ndim == 2


def histogram(image: Image, mask: Image | None = None) -> Counts:
    """Count how often each level occurs.

    Histograms of parts of an image, or of several images, add up exactly.

    Parameters
    ----------
    image : array or Frame
        uint8 or uint16, of shape (rows, columns) or (rows, columns, channels).
    mask : array, optional
        bool or uint8, of shape (rows, columns). Pixels where it is zero do not count.

    Returns
    -------
    ndarray of uint64
        Of shape (2**bits,) for a mono image; with one row per channel, or per position of a mosaic's cell in the
        order in which its pattern is named, otherwise.

    Raises
    ------
    ArgumentError
        For another shape, a mask of another size, and samples of 2**bits and above.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> a = np.array([[0, 1, 1], [3, 3, 3]], np.uint8)
    >>> h = ko.histogram(ko.Frame(a, bits=2))
    >>> h
    array([1, 2, 0, 3], dtype=uint64)
    >>> ko.histogram(ko.Frame(a, bits=2), mask=a > 0)
    array([0, 2, 0, 3], dtype=uint64)
    """
    source = Source(image, mosaic=True)
    counts = counts_of(source, mask_of(mask, source.shape))
    first: Counts = counts[0]
    return first if is_single(source) else counts


@dataclass(frozen=True)
class Moments:
    """Number, sum and sum of squares of samples, as exact integers.

    Those of parts of an image, or of several images, add up exactly with `+` and `sum`.

    Attributes
    ----------
    n : int or tuple of int
        How many samples; as tuples for several colours, one number each.
    sum : int or tuple of int
        Their sum.
    sum_of_squares : int or tuple of int
        The sum of their squares.
    mean, var, std : float or ndarray of float64
        Mean, population variance and standard deviation (divisor n), rounded once; NaN for no samples.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> m = ko.moments(np.array([[1, 2], [3, 4]], np.uint8))
    >>> m
    Moments(n=4, sum=10, sum_of_squares=30)
    >>> (m + m).n, m.mean, m.var
    (8, 2.5, 1.25)
    """

    n: int | tuple[int, ...]
    sum: int | tuple[int, ...]
    sum_of_squares: int | tuple[int, ...]

    def __add__(self, other: Moments) -> Moments:
        if not isinstance(other, Moments):
            return NotImplemented
        if isinstance(self.n, int) != isinstance(other.n, int) or len(self._rows()) != len(other._rows()):
            raise ArgumentError("other", "moments of as many colours are wanted")
        rows = [tuple(a + b for a, b in zip(x, y)) for x, y in zip(self._rows(), other._rows())]
        return moments_from(rows, isinstance(self.n, int))

    def __radd__(self, other: object) -> Moments:
        """`sum` starts with 0."""
        if type(other) is int and other == 0:
            return self
        return NotImplemented

    def _rows(self) -> list[tuple[int, int, int]]:
        if isinstance(self.n, int):
            return [(self.n, self.sum, self.sum_of_squares)]  # type: ignore[list-item]
        return list(zip(self.n, self.sum, self.sum_of_squares))  # type: ignore[arg-type]

    def _each(self, values: list[float]) -> Any:
        return values[0] if isinstance(self.n, int) else np.array(values)

    @property
    def mean(self) -> Any:
        return self._each([total / n if n else math.nan for n, total, _ in self._rows()])

    @property
    def var(self) -> Any:
        return self._each(
            [(n * squares - total * total) / (n * n) if n else math.nan for n, total, squares in self._rows()]
        )

    @property
    def std(self) -> Any:
        return np.sqrt(self.var) if not isinstance(self.n, int) else math.sqrt(self.var)


def moments_from(rows: list[tuple[int, ...]], single: bool) -> Moments:
    """From rows of number, sum and sum of squares."""
    if single:
        return Moments(*rows[0])
    n, total, squares = zip(*rows)
    return Moments(n, total, squares)


def moments(image: Image, mask: Image | None = None) -> Moments:
    """Sum up samples and their squares, exactly at any size.

    Parameters
    ----------
    image : array or Frame
        uint8 or uint16, of shape (rows, columns) or (rows, columns, channels).
    mask : array, optional
        bool or uint8, of shape (rows, columns). Pixels where it is zero do not count.

    Returns
    -------
    Moments
        Of numbers for a mono image; of one number per channel, or per position of a mosaic's cell, otherwise.

    Raises
    ------
    ArgumentError
        For another shape, a mask of another size, and samples of 2**bits and above.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> a = np.full((1000, 1000), 65535, np.uint16)
    >>> m = ko.moments(a)
    >>> m.sum_of_squares == 10**6 * 65535**2
    True
    >>> m.mean, m.std
    (65535.0, 0.0)
    """
    source = Source(image, mosaic=True)
    selected = mask_of(mask, source.shape)
    if source.bits < 8 * source.dtype.itemsize and source.array.size:
        _, highs = _extremes(source, selected)
        if max(highs) >> source.bits:
            raise _beyond_depth(source, "image")
    if source.bayer is None:
        rows = moments_of(source.array, selected)
    elif selected is None:
        rows = cell_moments(source.array)
    else:
        rows = [moments_of(samples, part)[0] for samples, part in position_views(source.array, selected)]
    return moments_from(rows, is_single(source))


def minmax(image: Image, mask: Image | None = None, *, threads: Whole | None = None) -> tuple[Any, Any]:
    """Find the least and the greatest sample.

    Parameters
    ----------
    image : array or Frame
        Integers of 8 to 64 bits, float32 or float64, of shape (rows, columns) or (rows, columns, channels).
    mask : array, optional
        bool or uint8, of shape (rows, columns). Pixels where it is zero do not count.
    threads : int, optional
        How many threads may work, see `threads`.

    Returns
    -------
    lowest, highest : int or float, or ndarray of the dtype of the image
        Numbers for a mono image; arrays with one element per channel, or per position of a mosaic's cell, otherwise.
        NaN does not count.

    Raises
    ------
    ArgumentError
        For another shape, a mask of another size, and where no sample counts.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> a = np.array([[5, 7], [1, 9]], np.uint16)
    >>> ko.minmax(a)
    (1, 9)
    >>> ko.minmax(a, mask=a > 2)
    (5, 9)
    """
    source = Source(image, ALL_SAMPLES, mosaic=True)
    selected = mask_of(mask, source.shape)
    with limit(threads):
        lows, highs = _extremes(source, selected)
        if source.dtype.kind == "f" and (math.inf in highs or -math.inf in lows):
            lows, highs = _with_infinities(source, selected, lows, highs)
    for low, high in zip(lows, highs):
        if low > high:
            raise ArgumentError("image" if mask is None else "mask", "no sample counts")
    if is_single(source):
        return lows[0], highs[0]
    return np.array(lows, source.dtype), np.array(highs, source.dtype)


def _with_infinities(
    source: Source, mask: Array | None, lows: list[float], highs: list[float]
) -> tuple[list[float], list[float]]:
    """The library looks for the least sample below the greatest finite number, and likewise for the greatest: where all
    are infinite there is none."""
    largest = float(np.finfo(source.dtype).max)
    samples = source.array if source.array.ndim == 3 else source.array[..., None]
    for channel, (low, high) in enumerate(zip(lows, highs)):
        found = samples[..., channel] if mask is None else samples[..., channel][mask != 0]
        if (low, high) == (largest, math.inf):
            lows[channel] = float(np.fmin.reduce(found, None))
        elif (low, high) == (-math.inf, -largest):
            highs[channel] = float(np.fmax.reduce(found, None))
    return lows, highs


def _extremes(source: Source, mask: Array | None) -> tuple[list[Any], list[Any]]:
    if mask is None:
        status, lows, highs = native.MinMax(source.record)
        if status:
            fail(native.MinMax, (source.record,), status)
        return lows, highs
    views = [(source.array, mask)] if source.bayer is None else position_views(source.array, mask)
    lowest: list[Any] = []
    highest: list[Any] = []
    for samples, part in views:
        assert part is not None
        arguments = (record_of(samples), record_of(part))
        status, lows, highs = native.MinMaxMasked(*arguments)
        if status:
            fail(native.MinMaxMasked, arguments, status)
        lowest += lows
        highest += highs
    return lowest, highest
