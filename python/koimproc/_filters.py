"""Filters that look at the neighbours of a pixel."""

from __future__ import annotations

from collections.abc import Callable
from typing import Any, overload

import numpy as np
import numpy.typing as npt

from koimproc import native
from koimproc._arrays import FLOAT64, INT32, Image, Output, Source, Target, like, mask_of, record_of, whole
from koimproc._errors import ArgumentError, one_of
from koimproc._frame import Array, Frame, Pixels, Whole, array_of
from koimproc._threads import limit, run

_METRICS = {"chessboard": 0, "3x3": 1, "5x5": 2, "7x7": 3, "13x13": 4}


def _channel_by_channel(
    operation: Callable[..., Any], source: Source, target: Target, *arguments: Any
) -> None:
    """An operation of mono images on every channel of another one."""
    for channel in range(source.channels):
        pixels = np.ascontiguousarray(source.array[..., channel])
        result = np.zeros(pixels.shape, target.array.dtype)
        run(None, operation, native.SxImageBuf(pixels, source.bits), native.SxImageBuf(result, target.bits), *arguments)
        target.array[..., channel] = result


@overload
def median(
    image: Frame, radius: Whole = ..., *, out: Output | None = ..., threads: Whole | None = ...
) -> Frame: ...
@overload
def median(
    image: Pixels, radius: Whole = ..., *, out: Output | None = ..., threads: Whole | None = ...
) -> Array: ...
def median(
    image: Image, radius: Whole = 1, *, out: Output | None = None, threads: Whole | None = None
) -> Frame | Array:
    """Replace every sample by the median of the square around it, channel by channel.

    At the edges only the part of the square inside the image counts. Of an even number of samples the lower of the
    two in the middle is taken. Samples above 2**bits - 1 count as 2**bits - 1.

    Parameters
    ----------
    image : array or Frame
        uint8 or uint16, of shape (rows, columns) or (rows, columns, channels); no mosaic.
    radius : int
        The square is 2 * radius + 1 pixels wide, at most as many as the image is wide and high.
    out : array or Frame, optional
        Where the result goes: of the same dtype and shape. Must not share memory with `image`.
    threads : int, optional
        How many threads may work, see `threads`.

    Returns
    -------
    Frame or ndarray
        A frame if `image` is one, otherwise an array; over `out` if given.

    Raises
    ------
    ArgumentError
        For other shapes, a mosaic, a negative or too large radius, and an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for another dtype.
    MemoryError
        For a radius above 32767.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> a = np.zeros((3, 3), np.uint8)
    >>> a[1, 1] = 200
    >>> ko.median(a).max()
    0
    """
    source = Source(image)
    if type(radius) is not int:
        radius = whole(radius, "radius", -(2**31))
    elif not -(2**31) <= radius < 2**31:
        raise ArgumentError("radius", f"0...32767 is wanted, not {radius}")
    target = like(source, out)
    if source.channels in (1, 3):
        run(threads, native.Median, source.record, target.record, radius, None)
    else:
        with limit(threads):
            _channel_by_channel(native.Median, source, target, radius, None)
    return target.result(source.frame)


def sobel(
    image: Image, *, out: npt.NDArray[np.int32] | None = None, threads: Whole | None = None
) -> npt.NDArray[np.int32]:
    """Compute the magnitude of the gradient with the 3 x 3 Sobel kernels, channel by channel.

    The result is ``sqrt(gx**2 + gy**2)``, truncated, with the whole-numbered kernels (1, 2, 1) across (-1, 0, 1). The
    outermost rows and columns, which lack neighbours, are 0.

    Parameters
    ----------
    image : array or Frame
        uint8 or uint16, of shape (rows, columns) or (rows, columns, channels); no mosaic.
    out : ndarray of int32, optional
        Where the result goes: of the shape of `image`. Must not share memory with it.
    threads : int, optional
        How many threads may work, see `threads`.

    Returns
    -------
    ndarray of int32
        Of the shape of `image`; `out` if given.

    Raises
    ------
    ArgumentError
        For other shapes, a mosaic, and an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for another dtype.

    Notes
    -----
    I. Sobel, G. Feldman, "A 3x3 isotropic gradient operator for image processing", 1968.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> a = np.zeros((3, 4), np.uint8)
    >>> a[:, 2:] = 10
    >>> ko.sobel(a)
    array([[ 0,  0,  0,  0],
           [ 0, 40, 40,  0],
           [ 0,  0,  0,  0]], dtype=int32)
    """
    source = Source(image)
    target = Target(out, source.shape, INT32, reads=(source.array,))
    gradient = target.array
    if source.array.ndim == 2:
        run(threads, native.Sobel, source.record, target.record)
        gradient[:1] = gradient[-1:] = 0
        gradient[:, :1] = gradient[:, -1:] = 0
    else:
        with limit(threads):
            _channel_by_channel(native.Sobel, source, target)
    return gradient


def distance(
    mask: Image, metric: str = "5x5", *, out: npt.NDArray[np.float64] | None = None
) -> npt.NDArray[np.float64]:
    """Measure the distance of every pixel to the nearest pixel of a mask.

    It is the shortest path along the steps of a chamfer mask: the larger that is, the nearer to the Euclidean distance.

    Parameters
    ----------
    mask : array
        bool or uint8, of shape (rows, columns). Distances lead to the pixels where it is not zero.
    metric : {"chessboard", "3x3", "5x5", "7x7", "13x13"}
        Steps that a path may take.
    out : ndarray of float64, optional
        Where the result goes: of the same shape.

    Returns
    -------
    ndarray of float64
        In pixels; infinite everywhere if the mask selects nothing. `out` if given.

    Raises
    ------
    ArgumentError
        For other shapes, an unknown metric, and an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for another dtype.

    Notes
    -----
    G. Borgefors, "Distance transformations in digital images", CVGIP 34, 1986.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> ko.distance(np.array([[1, 0, 0, 0]], np.uint8))
    array([[0., 1., 2., 3.]])
    """
    one_of(metric, _METRICS, "metric")
    array = array_of(mask, "mask")
    if array.ndim != 2:
        raise ArgumentError("mask", f"the shape (rows, columns) is wanted, not {array.shape}")
    selected = mask_of(array, array.shape)
    assert selected is not None
    target = Target(out, array.shape, FLOAT64, reads=(selected,))
    run(None, native.ChamferDistance, record_of(selected), target.record, _METRICS[metric])
    if target.array.size and target.array[0, 0] < 0:
        target.array[...] = np.inf
    return target.array
