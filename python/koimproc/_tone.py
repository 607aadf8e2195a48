"""Equalisation and matching of histograms."""

from __future__ import annotations

from typing import Any, overload

import numpy as np
import numpy.typing as npt

from koimproc import native
from koimproc._arrays import Image, Output, Source, flat, like, mask_of, need_colours
from koimproc._errors import ArgumentError
from koimproc._frame import DEPTHS, Array, Frame, Pixels, Whole
from koimproc._stats import Counts, counts_of, minmax
from koimproc._threads import limit, run

Levels = npt.NDArray[np.intp]

# Samples that are looked up at a time, so that the indices stay in the cache.
_BLOCK = 1 << 15


def look_up(table: Array, samples: Array, out: Array) -> None:
    """out = table[samples], in blocks of rows; samples beyond the table become its last entry."""
    per_row = max(1, samples[:1].size)
    rows = max(1, _BLOCK // per_row)
    for top in range(0, samples.shape[0], rows):
        indices = samples[top : top + rows].astype(np.intp)
        out[top : top + rows] = table.take(indices, mode="clip")


@overload
def equalize_hist(
    image: Frame, mask: Image | None = ..., *, out: Output | None = ..., threads: Whole | None = ...
) -> Frame: ...
@overload
def equalize_hist(
    image: Pixels, mask: Image | None = ..., *, out: Output | None = ..., threads: Whole | None = ...
) -> Array: ...
def equalize_hist(
    image: Image, mask: Image | None = None, *, out: Output | None = None, threads: Whole | None = None
) -> Frame | Array:
    """Spread the levels of an image evenly.

    Every sample becomes 2**bits - 1 times the share of samples at or below it, truncated. All colours follow one
    curve, that of all their samples together, so that grays stay gray. The fourth of four channels is taken for
    transparency and copied.

    Parameters
    ----------
    image : array or Frame
        uint8 or uint16, of shape (rows, columns) or (rows, columns, channels); no mosaic.
    mask : array, optional
        bool or uint8, of shape (rows, columns). The curve comes from the pixels where it is not zero, and is applied
        to all.
    out : array or Frame, optional
        Where the result goes: of the same dtype and shape. May be `image` itself.
    threads : int, optional
        How many threads may work, see `threads`.

    Returns
    -------
    Frame or ndarray
        A frame if `image` is one, otherwise an array; over `out` if given.

    Raises
    ------
    ArgumentError
        For other shapes, a mask that selects nothing or has another size, a mosaic, an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> a = np.array([[100, 101], [102, 103]], np.uint8)
    >>> ko.equalize_hist(a)
    array([[ 63, 127],
           [191, 255]], dtype=uint8)
    """
    source = Source(image)
    selected = mask_of(mask, source.shape)
    target = like(source, out, in_place=True, extra=() if selected is None else (selected,))
    if source.array.size == 0:
        return target.result(source.frame)
    number = source.array.size
    pixels, result = source.record, target.record
    if source.channels > 1:
        pixels = native.SxImageBuf(flat(source.array), source.bits)
        result = native.SxImageBuf(flat(target.array), source.bits)
    if selected is None and source.channels != 4 and number & (number - 1) == 0 and not _exceeds(source.array, source):
        # The library sums up shares as doubles, which are exact where a power of two divides them. It does not count
        # samples beyond the depth, so without them it must be all.
        run(threads, native.HistogramEqualize, pixels, result)
        return target.result(source.frame)
    counts = counts_of(source, selected, strict=False)
    curve = _equal_levels(counts[:3].sum(axis=0) if source.channels == 4 else counts.sum(axis=0), source.top)
    if curve is None:
        raise ArgumentError("mask" if mask is not None else "image", "no sample counts")
    with limit(threads):
        if source.channels == 4:
            look_up(curve.astype(source.dtype), source.array[..., :3], target.array[..., :3])
            target.array[..., 3] = source.array[..., 3]
            return target.result(source.frame)
        if selected is not None:
            counts = counts_of(source, None, strict=False)
        wanted = native.CxImageHistogram(_for_levels(counts.sum(axis=0), curve)[np.newaxis])
        run(None, native.HistogramMatch, pixels, wanted, result)
        if _exceeds(target.array, source):
            np.minimum(target.array, source.dtype.type(source.top), out=target.array)
    return target.result(source.frame)


def _exceeds(samples: Array, source: Source) -> bool:
    """Whether one of them lies beyond the depth of the source."""
    return source.bits < DEPTHS[source.dtype] and bool(minmax(flat(samples))[1] > source.top)


def _equal_levels(counts: Counts, top: int) -> Levels | None:
    """The level of each level when all are to be equally frequent, exactly; None where no sample counts."""
    below: npt.NDArray[Any] = np.cumsum(counts)
    number = below[-1]
    if number == 0:
        return None
    levels: Levels = (below * np.uint64(top) // number).astype(np.intp)
    return levels


def _matching_levels(counts: Counts, reference: Counts) -> Levels:
    """The level of each level when an image with these counts is to get those of a reference, exactly."""
    below, wanted = np.cumsum(counts), np.cumsum(reference)
    number, others = int(below[-1]), int(wanted[-1])
    ours: npt.NDArray[Any] = below
    theirs: npt.NDArray[Any] = wanted
    if number * others >= 2**64:
        ours, theirs = below.astype(object), wanted.astype(object)
    levels: Levels = np.searchsorted(theirs * number, ours * others)
    return levels


def _for_levels(counts: Counts, levels: Levels) -> npt.NDArray[np.uint32]:
    """The histogram to be matched that gives every level of an image the wanted one.

    The library compares shares as sums of doubles, so equal ones may differ. This is the histogram that the result is
    to have, twice and with one sample moved from its last level to its first: no share is then nearer to one of the
    image's than half a sample. A last share that rounding has made less than 1 is none, and gives the greatest value
    of the dtype.
    """
    below = np.cumsum(counts)
    number = below[-1]
    moved = np.searchsorted(levels, np.arange(counts.size), side="right")
    sums = np.concatenate((np.zeros(1, np.uint64), below))[moved]
    twice = 2 * sums + ((sums > 0) & (sums < number))
    return np.diff(twice, prepend=np.uint64(0)).astype(np.uint32)


@overload
def match_histograms(
    image: Frame, reference: Image, *, out: Output | None = ..., threads: Whole | None = ...
) -> Frame: ...
@overload
def match_histograms(
    image: Pixels, reference: Image, *, out: Output | None = ..., threads: Whole | None = ...
) -> Array: ...
def match_histograms(
    image: Image, reference: Image, *, out: Output | None = None, threads: Whole | None = None
) -> Frame | Array:
    """Give an image the distribution of levels of another one, channel by channel.

    A sample becomes the first level at which the share of the reference's samples at or below it is not less than the
    same share for the sample in the image. The fourth of four channels is taken for transparency and copied.

    Parameters
    ----------
    image : array or Frame
        uint8 or uint16, of shape (rows, columns) or (rows, columns, channels) with 1, 3 or 4 channels; no mosaic.
    reference : array or Frame
        Of the same dtype and number of channels; of any size, with at least one pixel. A frame has the same depth, an
        array is taken to have it.
    out : array or Frame, optional
        Where the result goes: of the dtype and shape of `image`. May be `image` itself.
    threads : int, optional
        How many threads may work, see `threads`.

    Returns
    -------
    Frame or ndarray
        A frame if `image` is one, otherwise an array; over `out` if given.

    Raises
    ------
    ArgumentError
        For other shapes or depths, a mosaic, an empty reference, an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for other or different dtypes.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> a = np.array([[1, 2, 3, 4]], np.uint8)
    >>> ko.match_histograms(a, a * 20)
    array([[20, 40, 60, 80]], dtype=uint8)
    """
    source = Source(image)
    wanted = Source(reference, (source.dtype,), "reference", bits=source.bits)
    need_colours(source)
    if wanted.channels != source.channels:
        raise ArgumentError("reference", f"{source.channels} channels are wanted, not {wanted.channels}")
    if wanted.bits != source.bits:
        raise ArgumentError("reference", f"a depth of {source.bits} bits is wanted, not {wanted.bits}")
    if wanted.array.size == 0:
        raise ArgumentError("reference", "has no pixels")
    target = like(source, out, in_place=True, extra=(wanted.array,))
    if source.array.size == 0:
        return target.result(source.frame)
    counts = counts_of(wanted, None, "reference")
    limits: npt.NDArray[Any] = np.array([np.flatnonzero(row)[-1] for row in counts], source.dtype)
    own = counts_of(source, None, strict=False)
    matched = np.stack([_for_levels(ours, _matching_levels(ours, row)) for ours, row in zip(own, counts)])
    with limit(threads):
        if source.channels == 4 and target.array is not source.array:
            target.array[..., 3] = source.array[..., 3]
        run(None, native.HistogramMatch, source.record, native.CxImageHistogram(matched), target.record)
    colours = target.array[..., :3] if source.channels == 4 else target.array
    np.minimum(colours, limits[:3] if source.channels == 4 else limits, out=colours)
    return target.result(source.frame)
