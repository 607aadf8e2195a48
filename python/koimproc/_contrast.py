"""A range of levels onto another one."""

from __future__ import annotations

import math
from collections.abc import Sequence
from typing import overload

import numpy as np
import numpy.typing as npt

from koimproc import native
from koimproc._arrays import ALL_SAMPLES, CAMERA_SAMPLES, UINT16, Image, Output, Source, Target, flat, mask_of, whole
from koimproc._correct import Numbers, per_colour, row_blocks
from koimproc._errors import ArgumentError, SampleTypeError
from koimproc._frame import DEPTHS, NO_GRID, Array, Frame, Pixels, Whole
from koimproc._stats import minmax
from koimproc._threads import limit, run

# The largest gain that the library takes.
_MOST = 65535.0


@overload
def rescale_intensity(
    image: Frame,
    in_range: str | Sequence[Numbers] | Array = ...,
    *,
    dtype: npt.DTypeLike = ...,
    bits: Whole | None = ...,
    mask: Image | None = ...,
    out: Output | None = ...,
    threads: Whole | None = ...,
) -> Frame: ...
@overload
def rescale_intensity(
    image: Pixels,
    in_range: str | Sequence[Numbers] | Array = ...,
    *,
    dtype: npt.DTypeLike = ...,
    bits: Whole | None = ...,
    mask: Image | None = ...,
    out: Output | None = ...,
    threads: Whole | None = ...,
) -> Array: ...
def rescale_intensity(
    image: Image,
    in_range: str | Sequence[Numbers] | Array = "image",
    *,
    dtype: npt.DTypeLike = None,
    bits: Whole | None = None,
    mask: Image | None = None,
    out: Output | None = None,
    threads: Whole | None = None,
) -> Frame | Array:
    """Spread a range of levels over all levels, or bring samples of any type to 8 or 16 bits.

    A sample v becomes (v - low) * (2**bits - 1) / (high - low), rounded to the nearest whole number (halves up) and
    limited to 0...2**bits - 1; NaN becomes 0. Of a range of one level, samples above it become 2**bits - 1. Of uint8
    and uint16 samples the factor is taken as the nearest multiple of 1/65536 and limited to 65535, and the rest is
    exact; others are computed in float64.

    Parameters
    ----------
    image : array or Frame
        Integers of 8 to 64 bits, float32 or float64, of shape (rows, columns) or (rows, columns, channels).
    in_range : "image", "dtype" or (low, high)
        From the least to the greatest sample of all colours; or 0...2**bits - 1 of `image`; or these levels, each a
        number or, for uint8 and uint16, one per colour as for `white_balance`. Those of uint8 and uint16 are rounded
        to whole levels of 0...65535.
    dtype : uint8 or uint16, optional
        Of the result. That of `image` unless given, so given for all images but uint8 and uint16.
    bits : int, optional
        Depth of the result: that of `image` if it has the same dtype, otherwise all bits of `dtype`.
    mask : array, optional
        bool or uint8, of shape (rows, columns). With "image" the range comes from the pixels where it is not zero.
    out : array or Frame, optional
        Where the result goes: of `dtype` and the shape of `image`. May be `image` itself where it is of that dtype.
    threads : int, optional
        How many threads may work, see `threads`.

    Returns
    -------
    Frame or ndarray
        A frame if `image` is one, otherwise an array; over `out` if given.

    Raises
    ------
    ArgumentError
        For other shapes or ranges, a mask that selects nothing or has another size, and an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for another dtype of the result.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> f = ko.Frame(np.array([[100, 600, 1100]], np.uint16), bits=12)
    >>> np.asarray(ko.rescale_intensity(f))
    array([[   0, 2048, 4095]], dtype=uint16)
    >>> np.asarray(ko.rescale_intensity(f, "dtype", dtype=np.uint8))
    array([[ 6, 37, 68]], dtype=uint8)
    >>> ko.rescale_intensity(np.array([[-1.0, 0.0, 1.0]]), dtype=np.uint8)
    array([[  0, 128, 255]], dtype=uint8)
    """
    source = Source(image, ALL_SAMPLES, mosaic=True)
    try:
        wanted = source.dtype if dtype is None else np.dtype(dtype)
    except (TypeError, ValueError):
        raise SampleTypeError("dtype", f"uint8 or uint16 is wanted for the result, not {dtype!r}") from None
    if wanted not in CAMERA_SAMPLES:
        raise SampleTypeError("dtype", f"uint8 or uint16 is wanted for the result, not {wanted}")
    if bits is None:
        bits = source.bits if wanted == source.dtype else DEPTHS[wanted]
    else:
        bits = whole(bits, "bits", 1, DEPTHS[wanted])
    selected = mask_of(mask, source.shape)
    with limit(threads):
        lows, highs = _range_of(source, in_range, selected)
        if source.channels not in (1, 3, 4) and len(set(zip(lows, highs))) > 1:
            raise ArgumentError("in_range", "one range per channel needs 1, 3 or 4 channels")
        target = Target(
            out,
            source.shape,
            wanted,
            None if source.frame is None else bits,
            source.bayer,
            NO_GRID if source.frame is None else source.frame._grid,
            reads=(source.array,),
            in_place=wanted == source.dtype,
        )
        if source.array.size == 0:
            return target.result(source.frame)
        if source.dtype in CAMERA_SAMPLES:
            _rescale_levels(source, target.array, lows, highs, bits)
        else:
            _rescale_numbers(source.array, target.array, lows[0], highs[0], bits)
    return target.result(source.frame)


def _range_of(source: Source, in_range: object, mask: Array | None) -> tuple[list[float], list[float]]:
    """Least and greatest level of every colour."""
    if isinstance(in_range, str):
        if in_range == "image":
            if source.array.size == 0:
                return [0.0], [1.0]
            low, high = minmax(source.array, mask)
            in_range = (float(np.min(low)), float(np.max(high)))
        elif in_range == "dtype" and source.dtype.kind == "u":
            in_range = (0.0, float(source.top))
        else:
            wanted = '"image", "dtype" (of unsigned integers) or (low, high)'
            raise ArgumentError("in_range", f"{wanted} is wanted, not {in_range!r}")
    if isinstance(in_range, np.ndarray) and in_range.shape[:1] == (2,):
        in_range = list(in_range)
    if not isinstance(in_range, (tuple, list)) or len(in_range) != 2:
        raise ArgumentError("in_range", f"(low, high) is wanted, not {in_range!r}")
    lows = per_colour(in_range[0], source, "in_range")
    highs = per_colour(in_range[1], source, "in_range")
    if source.dtype in CAMERA_SAMPLES:
        lows, highs = [[float(round(level)) for level in levels] for levels in (lows, highs)]
        if min(lows) < 0 or max(highs) > 65535:
            raise ArgumentError("in_range", f"levels of 0...65535 are wanted, not {in_range!r}")
    elif len(set(lows)) > 1 or len(set(highs)) > 1:
        raise ArgumentError("in_range", f"one range for all channels is wanted for {source.dtype}")
    if any(high < low for low, high in zip(lows, highs)):
        raise ArgumentError("in_range", f"low is above high in {in_range!r}")
    return lows, highs


def _rescale_levels(source: Source, out: Array, lows: list[float], highs: list[float], bits: int) -> None:
    """Unsigned samples of one or two bytes, by the library."""
    top = (1 << bits) - 1
    gains = [min(top / (high - low), _MOST) if high > low else _MOST for low, high in zip(lows, highs)]
    black = [int(low) for low in lows]
    grid = NO_GRID if source.frame is None else source.frame._grid
    array = source.array
    if source.channels not in (1, 3, 4):
        array, out = flat(array), flat(out)
        gains, black = gains[:1], black[:1]
    if array.dtype == out.dtype:
        records = native.SxImageBuf(array, source.bits, 0, grid), native.SxImageBuf(out, bits, 0, grid)
        run(None, native.WhiteBalance, *records, gains, black)
        return
    for rows in row_blocks(array):
        scratch = np.empty(array[rows].shape, UINT16)
        result = native.SxImageBuf(scratch, bits, 0, grid)
        if array.dtype == UINT16:
            run(None, native.WhiteBalance, native.SxImageBuf(array[rows], 16, 0, grid), result, gains, black)
        else:
            scratch[...] = array[rows]
            run(None, native.WhiteBalance, result, result, gains, black)
        np.copyto(out[rows], scratch, casting="unsafe")


@np.errstate(all="ignore")  # infinities, NaN and ranges of one level are as good as other numbers
def _rescale_numbers(array: Array, out: Array, low: float, high: float, bits: int) -> None:
    """Samples of all other types, in float64."""
    top = (1 << bits) - 1
    # The width of a range may exceed the greatest double, that of its half does not.
    part = 1.0 if math.isfinite(high - low) else 0.5
    low, width = low * part, high * part - low * part
    factor = np.float64(top) / width
    for rows in row_blocks(array):
        scaled = (array[rows].astype(np.float64) * part - low) * factor
        np.floor(scaled + 0.5, out=scaled)
        np.nan_to_num(np.clip(scaled, 0, top, out=scaled), copy=False, nan=0.0)
        np.copyto(out[rows], scaled, casting="unsafe")
