"""Averages of series."""

from __future__ import annotations

from collections.abc import Iterable
from typing import overload

from koimproc import native
from koimproc._arrays import Image, Output, Source, like
from koimproc._errors import ArgumentError, SampleTypeError
from koimproc._frame import Array, Frame, Pixels, Whole, array_of
from koimproc._threads import run


@overload
def average(  # type: ignore[misc]  # to mypy an array may be made of frames
    images: Array | memoryview, *, out: Output | None = ..., threads: Whole | None = ...
) -> Array: ...
@overload
def average(images: Iterable[Frame], *, out: Output | None = ..., threads: Whole | None = ...) -> Frame: ...
@overload
def average(images: Iterable[Pixels], *, out: Output | None = ..., threads: Whole | None = ...) -> Array: ...
def average(
    images: Array | memoryview | Iterable[Image], *, out: Output | None = None, threads: Whole | None = None
) -> Frame | Array:
    """Average a series of images.

    Every sample becomes the sum of the samples at its place divided by their number, truncated.

    Parameters
    ----------
    images : iterable of array or Frame
        1...65537 images, uint8 or uint16, all of the same dtype, shape, depth and pattern. An array with one
        more dimension than an image, or a series, will do.
    out : array or Frame, optional
        Where the result goes: of the same dtype and shape.
    threads : int, optional
        How many threads may work, see `threads`.

    Returns
    -------
    Frame or ndarray
        A frame if the first image is one, otherwise an array; over `out` if given.

    Raises
    ------
    ArgumentError
        For no or too many images, other or different shapes and depths, and an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for other or different dtypes.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> ko.average([np.array([[1, 10]], np.uint8), np.array([[4, 20]], np.uint8)])
    array([[ 2, 15]], dtype=uint8)
    """
    if isinstance(images, Frame):
        raise SampleTypeError("images", "a sequence of images is wanted, not one frame")
    try:
        given = list(array_of(images, "images") if isinstance(images, memoryview) else images)
    except TypeError:
        raise SampleTypeError("images", f"a sequence of images is wanted, not {type(images).__name__}") from None
    if not 1 <= len(given) <= 65537:
        raise ArgumentError("images", f"1...65537 images are wanted, not {len(given)}")
    sources = [Source(image, name=f"images[{index}]", mosaic=True) for index, image in enumerate(given)]
    first = sources[0]
    for index, source in enumerate(sources):
        if (source.dtype, source.shape, source.bits, source.bayer) != (
            first.dtype, first.shape, first.bits, first.bayer
        ):
            raise ArgumentError(f"images[{index}]", "differs from the first in dtype, shape, depth or pattern")
    target = like(first, out, extra=tuple(source.array for source in sources))
    if first.array.size:
        run(threads, native.AverageImage, [source.record for source in sources], target.record)
    return target.result(first.frame)
