"""Masks by shape and by logic, and borders."""

from __future__ import annotations

from collections.abc import Callable
from typing import Any, overload

import numpy as np

from koimproc import native
from koimproc._arrays import (
    ALL_SAMPLES,
    BOOL,
    CAMERA_SAMPLES,
    Image,
    Output,
    Source,
    Target,
    is_same_memory,
    mask_of,
    need_colours,
    number,
    numbers_of,
    record_of,
    whole,
)
from koimproc._errors import ArgumentError, one_of
from koimproc._frame import Array, Frame, Mask, Number, Pixels, Whole, array_of
from koimproc._threads import limit, run


def ellipse_mask(semi_major: Whole, semi_minor: Whole, angle: Number = 0.0) -> Mask:
    """Make the mask of a filled, rotated ellipse, in the smallest array of odd size that holds it.

    Parameters
    ----------
    semi_major, semi_minor : int
        Semi-axes in pixels: 1 <= semi_minor <= semi_major.
    angle : float
        From the direction of the columns to the larger semi-axis, in radians, rows growing downwards.

    Returns
    -------
    ndarray of bool
        Of shape (rows, columns).

    Raises
    ------
    ArgumentError
        For other semi-axes, and for an angle that is not finite.
    MemoryError
        For an ellipse that is too large.

    Examples
    --------
    >>> import koimproc as ko
    >>> ko.ellipse_mask(3, 3).sum()
    37
    """
    major = whole(semi_major, "semi_major", 1)
    minor = whole(semi_minor, "semi_minor", 1, major)
    result = native.SxImageBuf()
    run(None, native.EllipseMaskMono, result, major, minor, number(angle, "angle"), 0, 1)
    array = result.array
    assert array is not None
    return np.ascontiguousarray(array).view(BOOL)


def disk_mask(diameter: Whole) -> Mask:
    """Make the mask of a filled disc.

    Parameters
    ----------
    diameter : int
        In pixels, 2...15.

    Returns
    -------
    ndarray of bool
        Of shape (diameter, diameter).

    Raises
    ------
    ArgumentError
        For another diameter.

    Examples
    --------
    >>> import koimproc as ko
    >>> ko.disk_mask(4).astype(int)
    array([[0, 1, 1, 0],
           [1, 1, 1, 1],
           [1, 1, 1, 1],
           [0, 1, 1, 0]])
    """
    _, mask = native.GetCircleMaskByte(whole(diameter, "diameter", 2, 15))
    assert mask is not None
    return mask.astype(BOOL)


def _combined(
    operation: Callable[..., Any], first: Image, second: Image, out: Mask | None, threads: Whole | None
) -> Mask:
    one = array_of(first, "mask")
    if one.ndim != 2:
        raise ArgumentError("mask", f"the shape (rows, columns) is wanted, not {one.shape}")
    left = mask_of(first, one.shape)
    right = mask_of(array_of(second, "other"), one.shape, "other")
    assert left is not None and right is not None
    target = Target(out, one.shape, BOOL, reads=(left, right), in_place=True)
    if is_same_memory(left, target.array):
        # The first step overwrites the target, and the order does not matter to the result.
        left, right = right, left
    run(threads, native.Binarize, record_of(right), target.record, 1)
    run(threads, operation, record_of(left), target.record, 1)
    return target.array


def logical_and(mask: Image, other: Image, *, out: Mask | None = None, threads: Whole | None = None) -> Mask:
    """Mark the pixels that are not zero in both of two masks.

    Parameters
    ----------
    mask, other : array
        bool or uint8, of one shape (rows, columns).
    out : ndarray of bool, optional
        Where the result goes: of that shape. May be `mask` or `other` itself.
    threads : int, optional
        How many threads may work, see `threads`.

    Returns
    -------
    ndarray of bool
        `out` if given.

    Raises
    ------
    ArgumentError
        For other or different shapes, and an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> ko.logical_and(np.array([[0, 1, 1]], np.uint8), np.array([[1, 1, 0]], np.uint8))
    array([[False,  True, False]])
    """
    return _combined(native.And, mask, other, out, threads)


def logical_or(mask: Image, other: Image, *, out: Mask | None = None, threads: Whole | None = None) -> Mask:
    """Mark the pixels that are not zero in at least one of two masks.

    Everything else is as for `logical_and`.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> ko.logical_or(np.array([[0, 1, 0]], np.uint8), np.array([[1, 1, 0]], np.uint8))
    array([[ True,  True, False]])
    """
    return _combined(native.Or, mask, other, out, threads)


def logical_xor(mask: Image, other: Image, *, out: Mask | None = None, threads: Whole | None = None) -> Mask:
    """Mark the pixels that are not zero in exactly one of two masks.

    Everything else is as for `logical_and`.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> ko.logical_xor(np.array([[0, 1, 0]], np.uint8), np.array([[1, 1, 0]], np.uint8))
    array([[ True, False, False]])
    """
    return _combined(native.Xor, mask, other, out, threads)


def _margins(width: object) -> tuple[int, int, int, int]:
    """Top, bottom, left, right, from what np.pad takes."""
    if type(width) is int and width >= 0:
        return width, width, width, width
    wanted = "a number, (before, after) or ((top, bottom), (left, right)) is wanted"
    given = numbers_of(width, "iu", "pad_width", wanted)
    if given.shape not in ((), (1,), (2,), (1, 2), (2, 1), (2, 2)):
        raise ArgumentError("pad_width", f"{wanted}, not {width!r}")
    top, bottom, left, right = (int(number) for number in np.broadcast_to(given, (2, 2)).ravel())
    if min(top, bottom, left, right) < 0:
        raise ArgumentError("pad_width", f"widths of 0 or more are wanted, not {width!r}")
    return top, bottom, left, right


@overload
def pad(
    image: Frame, pad_width: Any, mode: str = ..., *, out: Output | None = ..., threads: Whole | None = ...
) -> Frame: ...
@overload
def pad(
    image: Pixels, pad_width: Any, mode: str = ..., *, out: Output | None = ..., threads: Whole | None = ...
) -> Array: ...
def pad(
    image: Image,
    pad_width: Any,
    mode: str = "symmetric",
    *,
    out: Output | None = None,
    threads: Whole | None = None,
) -> Frame | Array:
    """Put a margin around an image, as np.pad does.

    Parameters
    ----------
    image : array or Frame
        uint8 or uint16 for "symmetric", integers of 8 to 64 bits, float32 or float64 for "constant"; of shape
        (rows, columns) or (rows, columns, channels); no mosaic. "symmetric" takes 1, 3 or 4 channels.
    pad_width : int, (before, after) or ((top, bottom), (left, right))
        In pixels; for "symmetric" at most the rows and columns that there are.
    mode : {"symmetric", "constant"}
        Mirrors the image at its edges, the outermost pixels repeated; or fills with 0.
    out : array or Frame, optional
        Where the result goes: of the same dtype.
    threads : int, optional
        How many threads may work, see `threads`.

    Returns
    -------
    Frame or ndarray
        A frame if `image` is one, otherwise an array; over `out` if given.

    Raises
    ------
    ArgumentError
        For other shapes or widths, a mosaic, and an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> ko.pad(np.array([[1, 2, 3]], np.uint8), ((0, 0), (2, 1)))
    array([[2, 1, 1, 2, 3, 3]], dtype=uint8)
    """
    one_of(mode, ("symmetric", "constant"), "mode")
    source = Source(image, CAMERA_SAMPLES if mode == "symmetric" else ALL_SAMPLES)
    if mode == "symmetric":
        need_colours(source)
    top, bottom, left, right = _margins(pad_width)
    rows, columns = source.shape[:2]
    if mode == "symmetric" and (max(top, bottom) > rows or max(left, right) > columns):
        raise ArgumentError("pad_width", f"at most {rows} rows and {columns} columns can be mirrored")
    shape = (rows + top + bottom, columns + left + right, *source.shape[2:])
    if max(shape) >= 2**31:
        raise ArgumentError("pad_width", f"at most {2**31 - 1} rows and columns can be made, not {shape[:2]}")
    bits = None if source.frame is None else source.bits
    target = Target(out, shape, source.dtype, bits, reads=(source.array,))
    if mode == "constant":
        with limit(threads):
            target.array[...] = 0
            target.array[top : top + rows, left : left + columns] = source.array
    elif target.array.size:
        run(
            threads, native.CreateImageWithMirroredBorder,
            source.record, target.record, left, top, right, bottom,
        )
    return target.result(source.frame)
