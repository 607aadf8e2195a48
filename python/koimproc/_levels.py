"""What is read from histograms: thresholds, entropy, joint histograms."""

from __future__ import annotations

import math
from typing import Any

import numpy as np
import numpy.typing as npt

from koimproc import native
from koimproc._arrays import Image, Source, mask_of, number, record_of
from koimproc._errors import ArgumentError
from koimproc._frame import Array, Number
from koimproc._stats import Counts, counts_of, is_single
from koimproc._threads import run

# How far the doubles below may be off, with plenty of room.
_NEARLY = 1 - 1e-9
# Depth up to which a joint histogram is a square array.
_JOINT_BITS = 12


def _otsu(counts: Counts) -> int:
    """The lowest level that separates best, by exact comparison of those that are nearly as good in doubles."""
    levels = np.flatnonzero(counts)
    if levels.size == 0:
        raise ArgumentError("image", "no sample counts")
    if levels.size == 1:
        return int(levels[0])
    found = counts[levels]
    below = np.cumsum(found)[:-1]
    sums = np.cumsum(found * levels.astype(np.uint64))
    number, total = int(found.sum()), int(sums[-1])
    sums = sums[:-1]
    share = below.astype(np.float64) / number
    distance = sums.astype(np.float64) / below - (total - sums.astype(np.float64)) / (number - below)
    score = share * (1 - share) * distance * distance
    best = (-1, 1, 0)
    for index in np.flatnonzero(score >= score.max() * _NEARLY):
        n, s = int(below[index]), int(sums[index])
        numerator, denominator = (s * number - total * n) ** 2, n * (number - n)
        if numerator * best[1] > best[0] * denominator:
            best = (numerator, denominator, int(levels[index]))
    return best[2]


def threshold_otsu(image: Image, mask: Image | None = None) -> Any:
    """Find Otsu's threshold, exactly at any size.

    The level t that makes the variance between the samples up to t and those above t largest; of equally good levels
    the lowest. Samples above it are foreground: ``image > t``.

    Parameters
    ----------
    image : array or Frame
        uint8 or uint16, of shape (rows, columns) or (rows, columns, channels).
    mask : array, optional
        bool or uint8, of shape (rows, columns). Pixels where it is zero do not count.

    Returns
    -------
    int or ndarray of int
        A number for a mono image; one per channel, or per position of a mosaic's cell, otherwise.

    Raises
    ------
    ArgumentError
        For another shape, a mask of another size, samples of 2**bits and above, and where no sample counts.
    SampleTypeError
        For anything but an array, and for another dtype.

    Notes
    -----
    N. Otsu, "A threshold selection method from gray-level histograms", 1979.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> a = np.array([[10, 11, 12], [200, 201, 202]], np.uint8)
    >>> t = ko.threshold_otsu(a)
    >>> t
    12
    >>> (a > t).sum()
    3
    """
    source = Source(image, mosaic=True)
    counts = counts_of(source, mask_of(mask, source.shape))
    if is_single(source):
        return _otsu(counts[0])
    return np.array([_otsu(row) for row in counts])


def _entropy(counts: Counts, base: float, order: float) -> float:
    found = counts[counts > 0]
    if found.size == 0:
        return 0.0
    share = found / found.sum()
    if order == 1:
        return float(abs(np.dot(share, np.log2(share)))) / math.log2(base)
    if abs(order - 1) < 0.5:
        # Near Shannon's order the sum is 1 but for a little, which alone counts.
        logarithm = math.log1p(float(np.dot(share, np.expm1((order - 1) * np.log(share)))))
    else:
        # Powers of the shares themselves would vanish at high orders.
        largest = float(share.max())
        logarithm = math.log(float(np.sum((share / largest) ** order))) + order * math.log(largest)
    return logarithm / (1 - order) / math.log(base)


def entropy(image: Image, mask: Image | None = None, *, base: Number = 2, order: Number = 1) -> Any:
    """Compute the entropy of the distribution of the samples.

    Parameters
    ----------
    image : array or Frame
        uint8 or uint16, of shape (rows, columns) or (rows, columns, channels).
    mask : array, optional
        bool or uint8, of shape (rows, columns). Pixels where it is zero do not count.
    base : float
        Unit of the result, above 1: bits for 2.
    order : float
        1 for Shannon's entropy; another positive number for Rényi's entropy of that order.

    Returns
    -------
    float or ndarray of float64
        A number for a mono image, one per channel, or per position of a mosaic's cell, otherwise. 0 where no sample
        counts.

    Raises
    ------
    ArgumentError
        For another shape, a mask of another size, samples of 2**bits and above, and another base or order.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> ko.entropy(np.arange(256, dtype=np.uint8).reshape(16, 16))
    8.0
    """
    base, order = number(base, "base"), number(order, "order")
    if not base > 1:
        raise ArgumentError("base", f"a number above 1 is wanted, not {base!r}")
    if not order > 0:
        raise ArgumentError("order", f"a positive number is wanted, not {order!r}")
    source = Source(image, mosaic=True)
    counts = counts_of(source, mask_of(mask, source.shape))
    if is_single(source):
        return _entropy(counts[0], base, order)
    return np.array([_entropy(row, base, order) for row in counts])


def joint_histogram(image: Image, other: Image, mask: Image | None = None) -> npt.NDArray[np.int32]:
    """Count how often each pair of levels occurs at the same place of two images.

    Parameters
    ----------
    image, other : array or Frame
        uint8 or uint16 of at most 12 bits, of shape (rows, columns), and of the same dtype and depth. Where `other` is
        an array it is taken to have the depth of `image`.
    mask : array, optional
        bool or uint8, of the same shape. Pixels where it is zero do not count.

    Returns
    -------
    ndarray of int32
        h[a, b] is the number of pixels where `image` is a and `other` is b; of shape (2**bits, 2**bits). Pairs with
        a sample of 2**bits and above do not count.

    Raises
    ------
    ArgumentError
        For other shapes, for a mask of another size, for different depths, and for more than 12 bits.
    SampleTypeError
        For anything but an array, and for other or different dtypes.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> a = ko.Frame(np.array([[0, 1, 1]], np.uint8), bits=1)
    >>> b = ko.Frame(np.array([[1, 1, 0]], np.uint8), bits=1)
    >>> ko.joint_histogram(a, b)
    array([[0, 1],
           [1, 1]], dtype=int32)
    """
    first = Source(image)
    second = Source(other, (first.dtype,), "other", bits=first.bits)
    if first.array.ndim != 2:
        raise ArgumentError("image", f"the shape (rows, columns) is wanted, not {first.shape}")
    if second.shape != first.shape:
        raise ArgumentError("other", f"the shape of the image, {first.shape}, is wanted, not {second.shape}")
    if second.bits != first.bits:
        raise ArgumentError("other", f"the depth of the image, {first.bits} bits, is wanted, not {second.bits}")
    if first.bits > _JOINT_BITS:
        raise ArgumentError("image", f"at most {_JOINT_BITS} bits are wanted, not {first.bits}: the result is square")
    selected: Array | None = mask_of(mask, first.shape)
    if selected is None:
        selected = np.broadcast_to(np.uint8(1), first.shape)
    counters = native.CxImageHistogram2D(1, 1 << first.bits)
    # The second of the operation's images selects the row.
    run(None, native.HistogramMasked2D, second.record, 0, first.record, 0, record_of(selected), counters)
    return counters[0]
