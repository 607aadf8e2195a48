"""Samples made simple, limited or cleared."""

from __future__ import annotations

from typing import overload

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
    fill,
    flat,
    like,
    mask_of,
    record_of,
)
from koimproc._errors import SampleTypeError
from koimproc._frame import Array, Frame, Mask, Pixels, Whole
from koimproc._threads import limit, run


def masked(target: Target, source: Source, mask: Array | None, threads: Whole | None) -> Frame | Array:
    """The result of a target, 0 where a mask is zero."""
    if mask is not None:
        run(threads, native.MaskImage, target.record, record_of(mask))
    return target.result(source.frame)


def binarize(image: Image, *, out: Mask | None = None, threads: Whole | None = None) -> Mask:
    """Mark the samples that are not zero. NaN is not zero.

    Parameters
    ----------
    image : array or Frame
        Integers of 8 to 64 bits, float32 or float64, of shape (rows, columns) or (rows, columns, channels).
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
        For other shapes, and an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> ko.binarize(np.array([[0, 5, 9]], np.uint8))
    array([[False,  True,  True]])
    """
    source = Source(image, ALL_SAMPLES, mosaic=True)
    target = Target(out, source.shape, BOOL, reads=(source.array,))
    pixels = native.SxImageBuf(flat(source.array))
    run(threads, native.Binarize, pixels, native.SxImageBuf(flat(target.array).view(UINT8)), 1)
    return target.array


@overload
def clip_to_depth(image: Frame, *, out: Output | None = ..., threads: Whole | None = ...) -> Frame: ...
@overload
def clip_to_depth(image: Pixels, *, out: Output | None = ..., threads: Whole | None = ...) -> Array: ...
def clip_to_depth(image: Image, *, out: Output | None = None, threads: Whole | None = None) -> Frame | Array:
    """Limit the samples to the depth of the image: those above 2**bits - 1 become 2**bits - 1.

    Parameters
    ----------
    image : array or Frame
        uint8 or uint16, of shape (rows, columns) or (rows, columns, channels).
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
        For other shapes, and an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> f = ko.Frame(np.array([[4000, 5000]], np.uint16), bits=12)
    >>> np.asarray(ko.clip_to_depth(f))
    array([[4000, 4095]], dtype=uint16)
    """
    source = Source(image, mosaic=True)
    with limit(threads):
        target = copied(source, out)
        run(None, native.ClampToColorDepth, target.record)
    return target.result(source.frame)


@overload
def apply_mask(
    image: Frame, mask: Image, *, out: Output | None = ..., threads: Whole | None = ...
) -> Frame: ...
@overload
def apply_mask(
    image: Pixels, mask: Image, *, out: Output | None = ..., threads: Whole | None = ...
) -> Array: ...
def apply_mask(
    image: Image, mask: Image, *, out: Output | None = None, threads: Whole | None = None
) -> Frame | Array:
    """Make every pixel 0 where a mask is zero, in all channels.

    Parameters
    ----------
    image : array or Frame
        Integers of 8 to 64 bits, float32 or float64, of shape (rows, columns) or (rows, columns, channels).
    mask : array
        bool or uint8, of shape (rows, columns).
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
        For other shapes, a mask of another size, and an `out` that cannot be written.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> a = np.array([[1, 5, 9]], np.uint8)
    >>> ko.apply_mask(a, a > 4)
    array([[0, 5, 9]], dtype=uint8)
    """
    source = Source(image, ALL_SAMPLES, mosaic=True)
    selected = mask_of(mask, source.shape)
    if selected is None:
        raise SampleTypeError("mask", "an array is wanted, not NoneType")
    with limit(threads):
        target = like(source, out, in_place=True, extra=(selected,))
        kept = apart(selected, target)
        fill(target, source)
        return masked(target, source, kept, None)
