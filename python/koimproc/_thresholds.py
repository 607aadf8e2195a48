"""Thresholds."""

from __future__ import annotations

from typing import Any, overload

import numpy as np

from koimproc import native
from koimproc._arrays import (
    ALL_SAMPLES,
    BOOL,
    UINT8,
    Image,
    Output,
    Source,
    Target,
    apart,
    copied,
    flat,
    like,
    mask_of,
    numbers_of,
)
from koimproc._correct import Numbers
from koimproc._errors import ArgumentError
from koimproc._frame import DEPTHS, Array, Frame, Mask, Pixels, Whole
from koimproc._samples import masked
from koimproc._threads import limit, run


# The largest sample of all bits of a type; of floating-point numbers the usual one.
_LARGEST = {dtype: 1 if dtype.kind == "f" else int(np.iinfo(dtype).max) for dtype in ALL_SAMPLES}


def _levels(values: object, source: Source, name: str) -> list[Any]:
    """One number per channel, of the kind of the samples and within their type."""
    if type(values) is int and 0 <= values <= _LARGEST[source.dtype]:  # the way that needs no NumPy
        return [values] * source.channels
    numbers: list[Any]
    if isinstance(values, (tuple, list)) and all(type(value) is int and -(2**63) <= value < 2**64 for value in values):
        numbers = list(values)  # of some of 64 bits NumPy would make floating-point numbers
    else:
        given = numbers_of(values, "iuf", name, "one number, or one per channel, is wanted")
        if given.ndim == 0:
            numbers = [given.item()] * source.channels
        else:
            numbers = given.tolist() if given.shape == (source.channels,) else []
    if len(numbers) != source.channels:
        raise ArgumentError(name, f"one number, or one per channel, is wanted, not {values!r}")
    if source.dtype.kind == "f":
        return [float(number) for number in numbers]
    limits = np.iinfo(source.dtype)
    for number in numbers:
        if not np.isfinite(number) or number != int(number):
            raise ArgumentError(name, f"whole numbers are wanted for {source.dtype}, not {number!r}")
        if not limits.min <= int(number) <= limits.max:
            raise ArgumentError(name, f"{source.dtype} has levels of {limits.min}...{limits.max}, not {number!r}")
    return [int(number) for number in numbers]


def _highest(source: Source) -> int:
    """The largest sample of the depth."""
    return _LARGEST[source.dtype] >> DEPTHS[source.dtype] - source.bits


@overload
def threshold(
    image: Frame,
    level: Numbers,
    *,
    low: Numbers = ...,
    high: Numbers | None = ...,
    mask: Image | None = ...,
    out: Output | None = ...,
    threads: Whole | None = ...,
) -> Frame: ...
@overload
def threshold(
    image: Pixels,
    level: Numbers,
    *,
    low: Numbers = ...,
    high: Numbers | None = ...,
    mask: Image | None = ...,
    out: Output | None = ...,
    threads: Whole | None = ...,
) -> Array: ...
def threshold(
    image: Image,
    level: Numbers,
    *,
    low: Numbers = 0,
    high: Numbers | None = None,
    mask: Image | None = None,
    out: Output | None = None,
    threads: Whole | None = None,
) -> Frame | Array:
    """Give every sample one of two values: `high` where it is above a level, `low` elsewhere.

    Parameters
    ----------
    image : array or Frame
        Integers of 8 to 64 bits, float32 or float64, of shape (rows, columns) or (rows, columns, channels).
    level : number or sequence of number
        Of the type of the samples: one for all, or one per channel. NaN samples are above nothing.
    low, high : number or sequence of number
        Likewise. The largest sample of the depth, 1 for floating-point samples, unless `high` is given.
    mask : array, optional
        bool or uint8, of shape (rows, columns). Pixels where it is zero become 0.
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
        For other shapes, levels outside the type, a mask of another size, and an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> ko.threshold(np.array([[1, 5, 9]], np.uint8), 4)
    array([[  0, 255, 255]], dtype=uint8)
    """
    source = Source(image, ALL_SAMPLES, mosaic=True)
    levels = _levels(level, source, "level")
    lows = _levels(low, source, "low")
    highs = [_highest(source)] * source.channels if high is None else _levels(high, source, "high")
    selected = mask_of(mask, source.shape)
    target = like(source, out, in_place=True, extra=() if selected is None else (selected,))
    selected = apart(selected, target)
    pixels, result = source.record, target.record
    if source.channels > 1 and len(set(levels)) == len(set(lows)) == len(set(highs)) == 1:
        pixels, result = native.SxImageBuf(flat(source.array)), native.SxImageBuf(flat(target.array))
    elif source.channels == 4 and source.dtype == UINT8:
        # The operation leaves the fourth of four channels of bytes alone.
        fourth = np.where(source.array[..., 3] > levels[3], np.uint8(highs[3]), np.uint8(lows[3]))
        run(threads, native.ThresholdBinary, pixels, result, levels, lows, highs)
        target.array[..., 3] = fourth
        return masked(target, source, selected, threads)
    run(threads, native.ThresholdBinary, pixels, result, levels, lows, highs)
    return masked(target, source, selected, threads)


def greater(
    image: Image, level: Numbers, *, out: Mask | None = None, threads: Whole | None = None
) -> Mask:
    """Mark the samples above a level.

    Parameters
    ----------
    image : array or Frame
        Integers of 8 to 64 bits, float32 or float64, of shape (rows, columns) or (rows, columns, channels).
    level : number or sequence of number
        Of the type of the samples: one for all, or one per channel. NaN samples are above nothing.
    out : ndarray of bool, optional
        Where the result goes: of the shape of `image`.
    threads : int, optional
        How many threads may work, see `threads`.

    Returns
    -------
    ndarray of bool
        Of the shape of `image`; `out` if given.

    Raises
    ------
    ArgumentError
        For other shapes, levels outside the type, and an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> ko.greater(np.array([[1, 5, 9]], np.uint8), 4)
    array([[False,  True,  True]])
    """
    source = Source(image, ALL_SAMPLES, mosaic=True)
    levels = _levels(level, source, "level")
    target = Target(out, source.shape, BOOL, reads=(source.array,))
    ones = [1] * source.channels
    run(threads, native.ThresholdBinaryGT, source.record, target.record, levels, ones, False)
    return target.array


@overload
def threshold_to_zero(
    image: Frame, level: Numbers, *, out: Output | None = ..., threads: Whole | None = ...
) -> Frame: ...
@overload
def threshold_to_zero(
    image: Pixels, level: Numbers, *, out: Output | None = ..., threads: Whole | None = ...
) -> Array: ...
def threshold_to_zero(
    image: Image, level: Numbers, *, out: Output | None = None, threads: Whole | None = None
) -> Frame | Array:
    """Keep the samples above a level and make the others 0. NaN stays.

    Parameters
    ----------
    image : array or Frame
        Integers of 8 to 64 bits, float32 or float64, of shape (rows, columns) or (rows, columns, channels).
    level : number or sequence of number
        Of the type of the samples: one for all, or one per channel.
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
        For other shapes, levels outside the type, and an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> ko.threshold_to_zero(np.array([[1, 5, 9]], np.uint8), 4)
    array([[0, 5, 9]], dtype=uint8)
    """
    source = Source(image, ALL_SAMPLES, mosaic=True)
    levels = _levels(level, source, "level")
    with limit(threads):
        target = copied(source, out)
        run(None, native.ThresholdGT, target.record, levels, [0] * source.channels, False)
    return target.result(source.frame)
