"""Pictures of another size."""

from __future__ import annotations

from typing import overload

from koimproc import native
from koimproc._arrays import Image, Output, Size, Source, Target, size_of
from koimproc._errors import ArgumentError
from koimproc._frame import Array, Frame, Pixels, Whole
from koimproc._threads import run

# Product of the sides up to which results are exact, each of the input or twice that of the result.
_EXACT = 2**34


@overload
def resize(
    image: Frame, shape: Size, *, out: Output | None = ..., threads: Whole | None = ...
) -> Frame: ...
@overload
def resize(
    image: Pixels, shape: Size, *, out: Output | None = ..., threads: Whole | None = ...
) -> Array: ...
def resize(
    image: Image, shape: Size, *, out: Output | None = None, threads: Whole | None = None
) -> Frame | Array:
    """Give an image another size, without moving it.

    Along an axis that becomes shorter, a sample is the mean of what it covers of the image, so that nothing is lost
    and nothing flickers. Along one that becomes longer, it is interpolated linearly between its neighbours, with those
    at the edges repeated. Centres lie at halves: sample p of n is at (p + 0.5) / n of the axis. Results are exact,
    rounded to the nearest whole number (halves up).

    Parameters
    ----------
    image : array or Frame
        uint8 or uint16, of shape (rows, columns) or (rows, columns, channels), with one pixel or more; no mosaic.
    shape : (int, int)
        Rows and columns of the result.
    out : array or Frame, optional
        Where the result goes: of the same dtype. Must not share memory with `image`.
    threads : int, optional
        How many threads may work, see `threads`.

    Returns
    -------
    Frame or ndarray
        A frame if `image` is one, otherwise an array; over `out` if given.

    Raises
    ------
    ArgumentError
        For other shapes, a mosaic, and an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> ko.resize(np.array([[0, 100]], np.uint8), (1, 4))
    array([[  0,  25,  75, 100]], dtype=uint8)
    >>> ko.resize(np.array([[0, 30, 60]], np.uint8), (1, 2))
    array([[10, 50]], dtype=uint8)
    """
    source = Source(image)
    rows, columns = size_of(shape)
    if source.array.size == 0:
        raise ArgumentError("image", "has no pixels")
    lengths = [max(2 * wanted, length) for wanted, length in zip((rows, columns), source.shape)]
    if lengths[0] * lengths[1] > _EXACT:
        raise ArgumentError("shape", f"{rows} x {columns} is too large to be exact")
    bits = None if source.frame is None else source.bits
    target = Target(out, (rows, columns, *source.shape[2:]), source.dtype, bits, reads=(source.array,))
    if rows != 0 and columns != 0:
        run(threads, native.Resize, source.record, target.record)
    return target.result(source.frame)
