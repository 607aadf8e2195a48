"""Pictures of another size."""

from __future__ import annotations

from typing import overload

import numpy as np

from koimproc._arrays import Image, Output, Source, Target, size_of
from koimproc._errors import ArgumentError
from koimproc._frame import Array, Frame, Pixels

# Samples that are worked on at a time, so that they stay in the cache.
_BLOCK = 1 << 16

# Product of the input's sides up to which sums of weighted samples are whole numbers of a double.
_EXACT = 2**34


def _taps(length: int, wanted: int) -> tuple[Array, Array, int]:
    """For every output the inputs it is made of and their weights, whole numbers that sum to the last result.

    An output of a reduction is the mean of the inputs under it, each counted by its part under the output. That of an
    enlargement lies between the two inputs whose centres are nearest. Both leave the centre where it is.
    """
    p = np.arange(wanted, dtype=np.int64)
    if wanted < length:
        first = p * length // wanted
        index = first[:, None] + np.arange(-(-length // wanted) + 1)
        begin = np.maximum(index * wanted, p[:, None] * length)
        end = np.minimum((index + 1) * wanted, (p[:, None] + 1) * length)
        weight = np.maximum(end - begin, 0)
        return np.minimum(index, length - 1), weight, length
    centre = (2 * p + 1) * length - wanted
    first = centre // (2 * wanted)
    part = centre - first * 2 * wanted
    index = np.clip(np.stack((first, first + 1), 1), 0, length - 1)
    return index, np.stack((2 * wanted - part, part), 1), 2 * wanted


def _along_rows_axis(samples: Array, index: Array, weight: Array) -> Array:
    """Weighted sums of whole rows."""
    result: Array = samples[index[:, 0]] * weight[:, 0, None].astype(np.float64)
    for tap in range(1, index.shape[1]):
        used = np.flatnonzero(weight[:, tap])
        if used.size == index.shape[0]:
            result += samples[index[:, tap]] * weight[:, tap, None].astype(np.float64)
        elif used.size:
            result[used] += samples[index[used, tap]] * weight[used, tap, None].astype(np.float64)
    return result


def _whole_reduction(plane: Array, out: Array) -> None:
    """Means of rectangles of whole samples, in the narrowest integers that hold twice their sums."""
    down, across = (length // wanted for length, wanted in zip(plane.shape, out.shape))
    count = down * across
    kind = np.min_scalar_type((2 * int(np.iinfo(plane.dtype).max) + 1) * count)
    rows = max(1, _BLOCK // (down * plane.shape[1]))
    for top in range(0, out.shape[0], rows):
        block = plane[top * down : (top + rows) * down]
        sums = block[::down].astype(kind)
        for row in range(1, down):
            sums += block[row::down]
        total = sums[:, ::across].copy()
        for column in range(1, across):
            total += sums[:, column::across]
        total += total
        total += kind.type(count)
        out[top : top + rows] = total // kind.type(2 * count)


def _resize_plane(plane: Array, out: Array) -> None:
    """One channel, rounded to the nearest whole number."""
    if all(length % wanted == 0 for length, wanted in zip(plane.shape, out.shape)):
        _whole_reduction(plane, out)
        return
    row_index, row_weight, row_sum = _taps(plane.shape[0], out.shape[0])
    column_index, column_weight, column_sum = _taps(plane.shape[1], out.shape[1])
    rows = max(1, _BLOCK // max(plane.shape[1], out.shape[1]))
    for top in range(0, out.shape[0], rows):
        part = slice(top, top + rows)
        first = _along_rows_axis(plane, row_index[part], row_weight[part])
        sums = _along_rows_axis(np.ascontiguousarray(first.T), column_index, column_weight)
        # Sums are whole numbers, and so large that no quotient that is not a half is rounded to one.
        sums /= float(row_sum * column_sum)
        sums += 0.5
        out[part] = np.floor(sums, out=sums).T


@overload
def resize(image: Frame, shape: tuple[int, int], *, out: Output | None = ...) -> Frame: ...
@overload
def resize(image: Pixels, shape: tuple[int, int], *, out: Output | None = ...) -> Array: ...
def resize(image: Image, shape: tuple[int, int], *, out: Output | None = None) -> Frame | Array:
    """Give an image another size, without moving it.

    Along an axis that becomes shorter, a sample is the mean of what it covers of the image, so that nothing is lost
    and nothing flickers. Along one that becomes longer, it is interpolated linearly between its neighbours, with those
    at the edges repeated. Results are exact, rounded to the nearest whole number (halves up).

    It is computed by NumPy, on one thread. Sizes that go into those of the image without remainder, such as a half or a
    quarter, take least time. The operation `Stretch` of the library is faster, and moves the picture by up to half a
    pixel.

    Parameters
    ----------
    image : array or Frame
        uint8 or uint16, of shape (rows, columns) or (rows, columns, channels), with one pixel or more; no mosaic.
    shape : (int, int)
        Rows and columns of the result.
    out : array or Frame, optional
        Where the result goes: of the same dtype. Must not share memory with `image`.

    Returns
    -------
    Frame or ndarray
        A frame if `image` is one, otherwise an array; over `out` if given.

    Raises
    ------
    ArgumentError
        For other shapes, a mosaic, and an `out` that cannot be written.
    SampleTypeError
        For what is no array, and for another dtype.

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
    if rows == 0 or columns == 0:
        return target.result(source.frame)
    if source.array.ndim == 2:
        _resize_plane(source.array, target.array)
    else:
        for channel in range(source.channels):
            _resize_plane(source.array[..., channel], target.array[..., channel])
    return target.result(source.frame)
