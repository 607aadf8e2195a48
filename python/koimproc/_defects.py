"""Defective pixels."""

from __future__ import annotations

from typing import overload

import numpy as np

from koimproc._arrays import Image, Output, Source, copied, mask_of
from koimproc._errors import ArgumentError, SampleTypeError
from koimproc._frame import Array, Frame, Pixels

# Rings of pixels of the same colour that are looked at for good ones.
_RINGS = 8


def _ring(reach: int) -> Array:
    """Rows and columns of the outline of a square, counted from its centre."""
    side = range(-reach, reach + 1)
    return np.array([(y, x) for y in side for x in side if max(abs(y), abs(x)) == reach])


class Correction:
    """Which pixels take the place of the defective ones. It depends on the map alone, and serves many frames.

    Parameters
    ----------
    defects : array
        uint8, of shape (rows, columns): not zero where a pixel is defective.
    step : int
        From a pixel to the next one of its colour: 2 in a mosaic, 1 elsewhere.
    """

    def __init__(self, defects: Array, step: int) -> None:
        size = np.array(defects.shape)
        left = np.argwhere(defects)
        self._groups: list[tuple[Array, Array, Array]] = []
        for reach in range(1, _RINGS + 1):
            if not left.size:
                return
            places = left[:, None] + step * _ring(reach)
            inside = ((places >= 0) & (places < size)).all(2)
            places[~inside] = 0
            good = inside & (defects[places[..., 0], places[..., 1]] == 0)
            found = good.any(1)
            self._groups.append((left[found], places[found], good[found]))
            left = left[~found]
        if left.size:
            raise ArgumentError("defects", f"no good pixel of the colour is near row {left[0][0]}, column {left[0][1]}")

    def apply(self, array: Array) -> None:
        """Corrects a frame of the map's size in place."""
        for defect, places, good in self._groups:
            values = array[places[..., 0], places[..., 1]].astype(np.uint64)
            weight = good.astype(np.uint64)
            count = weight.sum(1)
            if array.ndim == 3:
                weight, count = weight[..., None], count[:, None]
            array[defect[:, 0], defect[:, 1]] = (2 * (values * weight).sum(1) + count) // (2 * count)


@overload
def correct_defects(image: Frame, defects: Image, *, out: Output | None = ...) -> Frame: ...
@overload
def correct_defects(image: Pixels, defects: Image, *, out: Output | None = ...) -> Array: ...
def correct_defects(image: Image, defects: Image, *, out: Output | None = None) -> Frame | Array:
    """Replace defective pixels by the mean of their good neighbours.

    The neighbours of a pixel are the eight around it: in a mosaic those at the same position of the cells around, so
    that they have its colour. Where none of them is good, they are the 16 of the next ring, and so on up to the eighth.
    A defective pixel becomes the mean of the good ones, rounded to the nearest whole number (halves up). All other
    pixels stay, and the result depends on them alone.

    Parameters
    ----------
    image : array or Frame
        uint8 or uint16, of shape (rows, columns) or (rows, columns, channels).
    defects : array
        bool or uint8, of shape (rows, columns): not zero where a pixel is defective, with all its channels.
    out : array or Frame, optional
        Where the result goes: of the same dtype and shape. May be `image` itself.

    Returns
    -------
    Frame or ndarray
        A frame if `image` is one, otherwise an array; over `out` if given.

    Raises
    ------
    ArgumentError
        For other shapes, a map of another size, a pixel without a good one in eight rings, and an `out` that cannot be
        written.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> a = np.array([[10, 20, 255, 30]], np.uint8)
    >>> ko.correct_defects(a, a == 255)
    array([[10, 20, 25, 30]], dtype=uint8)
    """
    source = Source(image, mosaic=True)
    marks = mask_of(defects, source.shape, "defects")
    if marks is None:
        raise SampleTypeError("defects", "an array is wanted, not NoneType")
    correction = Correction(marks, 2 if source.bayer else 1)
    target = copied(source, out, (marks,))
    correction.apply(target.array)
    return target.result(source.frame)
