"""White balance and flat fields."""

from __future__ import annotations

from collections.abc import Iterable, Sequence
from typing import Any, Union, overload

import numpy as np
import numpy.typing as npt

from koimproc import native
from koimproc._arrays import Image, Output, Source, like, need_colours, number, numbers_of
from koimproc._errors import ArgumentError
from koimproc._frame import Array, Frame, Number, Pixels, Whole
from koimproc._memory import empty
from koimproc._sums import means_of
from koimproc._threads import limit, run

Numbers = Union[Number, Sequence[Number], Array]

# More than what the library's three roundings can take from a quotient, which might fall below a whole number.
_UP = 1 + 2.0**-51
# Samples that are corrected at a time where scratch memory is needed.
_BLOCK = 1 << 18


def row_blocks(array: Array) -> Iterable[slice]:
    """Slices of an even number of rows, in turn, that are a small part of a large array."""
    rows = max(2, _BLOCK // max(1, array[:1].size) // 2 * 2)
    return (slice(top, top + rows) for top in range(0, array.shape[0], rows))


def _colours(source: Source) -> int:
    """Channels, or positions of a mosaic's cell."""
    return 4 if source.bayer else source.channels


def per_colour(values: Numbers, source: Source, name: str) -> list[float]:
    """One number per channel or position, from one for all, one per channel, or red, green and blue of a mosaic."""
    colours = _colours(source)
    if type(values) in (int, float):
        return [number(values, name)] * colours
    given = numbers_of(values, "iuf", name, "numbers are wanted").astype(np.float64)
    if given.ndim == 0:
        numbers = [float(given)] * colours
    elif source.bayer and given.shape == (3,):
        numbers = [float(given["RGB".index(colour)]) for colour in source.bayer]
    elif given.shape == (colours,):
        numbers = given.tolist()
    else:
        wanted = "3 (red, green, blue) or 4" if source.bayer else str(colours)
        raise ArgumentError(name, f"one number or {wanted} are wanted, not the shape {given.shape}")
    if not np.all(np.isfinite(numbers)):
        raise ArgumentError(name, f"finite numbers are wanted, not {values!r}")
    return numbers


def black_levels(black: Numbers, source: Source) -> list[int]:
    if isinstance(black, int) and type(black) is not bool and 0 <= black <= 65535:
        return [black] * _colours(source)  # what most calls give
    levels = [round(level) for level in per_colour(black, source, "black")]
    if min(levels) < 0 or max(levels) > 65535:
        raise ArgumentError("black", f"levels of 0...65535 are wanted, not {black!r}")
    return levels


@overload
def white_balance(
    image: Frame, gains: Numbers, *, black: Numbers = ..., out: Output | None = ..., threads: Whole | None = ...
) -> Frame: ...
@overload
def white_balance(
    image: Pixels, gains: Numbers, *, black: Numbers = ..., out: Output | None = ..., threads: Whole | None = ...
) -> Array: ...
def white_balance(
    image: Image,
    gains: Numbers,
    *,
    black: Numbers = 0,
    out: Output | None = None,
    threads: Whole | None = None,
) -> Frame | Array:
    """Subtract black levels and multiply by gains, one of each per colour.

    A sample v becomes (v - black) * gain, not below 0, rounded to the nearest whole number (halves up) and limited to
    2**bits - 1. The gain is taken as the nearest multiple of 1/65536; the rest is exact.

    Parameters
    ----------
    image : array or Frame
        uint8 or uint16, of shape (rows, columns) or (rows, columns, channels) with 1, 3 or 4 channels.
    gains : float or sequence of float
        0...65535: one for all, or one per channel. For a mosaic red, green, blue, or one per position of its cell.
    black : float or sequence of float
        Levels of 0...65535, likewise; rounded to whole levels.
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
        For other shapes, gains or levels, and an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> f = ko.Frame(np.full((2, 2), 100, np.uint16), bits=12, bayer="RGGB")
    >>> np.asarray(ko.white_balance(f, (2, 1, 1.5), black=64))
    array([[72, 36],
           [36, 54]], dtype=uint16)
    """
    source = Source(image, mosaic=True)
    need_colours(source)
    factors = per_colour(gains, source, "gains")
    if min(factors) < 0 or max(factors) > 65535:
        raise ArgumentError("gains", f"gains of 0...65535 are wanted, not {gains!r}")
    levels = black_levels(black, source)
    target = like(source, out, in_place=True)
    run(threads, native.WhiteBalance, source.record, target.record, factors, levels)
    return target.result(source.frame)


def _flat_gains(flat: Array, bayer: str | None) -> list[float]:
    """The mean of each colour of a flat field, by a trifle too large."""
    return [mean * _UP for mean in means_of(flat, bayer)]


def _divide(
    samples: Array, flat: Array, out: Array, bits: int, gains: list[float]
) -> None:
    if samples.size == 0:
        return
    pixels = native.SxImageBuf(samples, bits)
    run(
        None,
        native.CorrectBackground,
        pixels,
        native.SxImageBuf(flat, bits),
        native.SxImageBuf(out, bits),
        0.0,
        0.0,
        gains[:3],
    )


def _divide_mosaic(samples: Array, flat: Array, out: Array, bits: int, gains: list[float], scratch: Array) -> None:
    """Whole rows by the gain of either column of the cell, of which every other sample is taken: that is faster than to
    part the columns."""
    for first in (0, 1):
        rows = slice(first, None, 2)
        left, right = gains[2 * first : 2 * first + 2]
        second = scratch[: samples[rows].shape[0]]
        if samples.shape[1] > 1:
            _divide(samples[rows], flat[rows], second, bits, [right])
        _divide(samples[rows], flat[rows], out[rows], bits, [left])
        out[rows, 1::2] = second[:, 1::2]


def _subtracted(samples: Array, dark: Array, out: Array) -> Array:
    """Samples less the dark frame, not below 0."""
    np.maximum(samples, dark, out=out)
    return np.subtract(out, dark, out=out)


def _divide_in_blocks(source: Source, flat: Array, dark: Array | None, out: Array, gains: list[float]) -> None:
    """What needs scratch memory, which stays in the cache."""
    blocks = list(row_blocks(source.array))
    rows = blocks[0].stop
    less = None if dark is None else empty((rows, *source.shape[1:]), source.dtype)
    second = None if source.bayer is None else empty((rows // 2, source.shape[1]), source.dtype)
    for block in blocks:
        samples = source.array[block]
        if less is not None and dark is not None:
            samples = _subtracted(samples, dark[block], less[: samples.shape[0]])
        if second is None:
            _divide(samples, flat[block], out[block], source.bits, gains)
        else:
            _divide_mosaic(samples, flat[block], out[block], source.bits, gains, second)


@overload
def flat_field(
    image: Frame,
    flat: Image,
    dark: Image | None = ...,
    *,
    out: Output | None = ...,
    threads: Whole | None = ...,
) -> Frame: ...
@overload
def flat_field(
    image: Pixels,
    flat: Image,
    dark: Image | None = ...,
    *,
    out: Output | None = ...,
    threads: Whole | None = ...,
) -> Array: ...
def flat_field(
    image: Image,
    flat: Image,
    dark: Image | None = None,
    *,
    out: Output | None = None,
    threads: Whole | None = None,
) -> Frame | Array:
    """Divide out what a lens and a sensor do to an evenly lit field.

    A sample becomes (image - dark) / (flat - dark) * mean, truncated and limited to 2**bits - 1, where mean is the
    mean of flat - dark of its colour: brightness and white balance stay. Differences below 0 count as 0, and where
    flat - dark is 0 the result is 0. A result that is short of a whole number by less than 10**-15 of itself becomes
    that number. The fourth of four channels is taken for transparency and copied.

    Parameters
    ----------
    image : array or Frame
        uint8 or uint16, of shape (rows, columns) or (rows, columns, channels) with 1, 3 or 4 channels.
    flat : array or Frame
        Picture of an evenly lit field, of the dtype and shape of `image`. Only proportions count, so samples of an array
        may be above the depth of `image`.
    dark : array or Frame, optional
        Picture in the dark, likewise.
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
        For other or different shapes or depths, and an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for other or different dtypes.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> flat = np.array([[100, 200, 300]], np.uint16)
    >>> ko.flat_field(flat * 2, flat)
    array([[400, 400, 400]], dtype=uint16)
    """
    source = Source(image, mosaic=True)
    need_colours(source)
    field = _companion(flat, source, "flat")
    night = None if dark is None else _companion(dark, source, "dark")
    others = (field,) if night is None else (field, night)
    target = like(source, out, in_place=True, extra=others)
    if source.array.size == 0:
        return target.result(source.frame)
    with limit(threads):
        bright = field if night is None else _subtracted(field, night, empty(field.shape, field.dtype))
        gains = _flat_gains(bright, source.bayer)
        if source.channels == 4 and target.array is not source.array:
            target.array[..., 3] = source.array[..., 3]
        if source.bayer is None and night is None:
            _divide(source.array, bright, target.array, source.bits, gains)
        else:
            _divide_in_blocks(source, bright, night, target.array, gains)
    return target.result(source.frame)


def _companion(image: Image, source: Source, name: str) -> Array:
    """Pixels that go with an image: of its type, shape and, if a frame says so, depth and pattern."""
    other = Source(image, (source.dtype,), name, mosaic=True, bits=source.bits)
    if other.shape != source.shape:
        raise ArgumentError(name, f"the shape of the image, {source.shape}, is wanted, not {other.shape}")
    if other.frame is not None and (other.bits, other.bayer) != (source.bits, source.bayer):
        raise ArgumentError(
            name, f"a frame with bits={source.bits}, bayer={source.bayer!r} is wanted, not {other.frame!r}"
        )
    return other.array
