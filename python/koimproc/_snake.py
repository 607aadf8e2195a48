"""Active contours."""

from __future__ import annotations

from collections.abc import Sequence
from typing import Union

import numpy as np
import numpy.typing as npt

from koimproc import native
from koimproc._arrays import Image, Source, number, numbers_of, whole
from koimproc._errors import ArgumentError, fail
from koimproc._frame import Array, Number, Whole

Points = Union[Array, Sequence[Union[Sequence[Number], Array]]]


def active_contour(
    image: Image,
    points: Points,
    *,
    edge_fraction: Number = 0.2,
    weight_continuity: Number = 0.5,
    weight_curvature: Number = 0.5,
    weight_distance: Number = 2.0,
    weight_gradient: Number = 1.0,
    refine: bool | np.bool_ = True,
    refine_interval: Whole = 5,
    loop_distance: Whole = 2,
    point_spacing: Whole = 5,
    max_iterations: Whole = 200,
) -> npt.NDArray[np.int32]:
    """Move a closed contour to the edges of an image, by a greedy active contour.

    Points are given and returned as (row, column), as indices of arrays are.

    Parameters
    ----------
    image : array or Frame
        uint8 or uint16, of shape (rows, columns), 3 x 3 or more; no mosaic.
    points : array_like
        Of shape (n, 2), rows and columns in the order of the contour; the last is connected to the first. Rounded to
        whole pixels.
    edge_fraction : float
        Gradients above this fraction (0...1) of the largest one count as edges.
    weight_continuity, weight_curvature, weight_distance, weight_gradient : float
        Pulls of even spacing, of smoothness, towards the nearest edge, and of strong edges.
    refine : bool
        Whether loops are removed and points inserted on the way and spaced evenly at the end.
    refine_interval : int
        How many steps lie between two such refinements.
    loop_distance : int
        Points that come this close (pixels) close a loop, which is cut off.
    point_spacing : int
        Largest gap between neighbours, and their distance at the end (pixels).
    max_iterations : int
        At most this many steps after the first.

    Returns
    -------
    ndarray of int32
        The contour at rest, of shape (m, 2), rows and columns.

    Raises
    ------
    ArgumentError
        For other shapes, a mosaic, no points, and weights that are not finite.
    SampleTypeError
        For anything but an array, and for another dtype.

    Notes
    -----
    D. J. Williams, M. Shah, "A fast algorithm for active contours and curvature estimation", CVGIP 55, 1992.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> a = np.zeros((60, 60), np.uint8)
    >>> a[20:40, 20:40] = 200
    >>> turn = np.linspace(0, 2 * np.pi, 24, endpoint=False)
    >>> s = ko.active_contour(a, np.stack((30 + 20 * np.sin(turn), 30 + 20 * np.cos(turn)), 1))
    >>> bool(abs(s - 30).max() <= 12)
    True
    """
    source = Source(image)
    if source.array.ndim != 2 or min(source.shape) < 3:
        raise ArgumentError("image", f"the shape (rows, columns) of 3 x 3 or more is wanted, not {source.shape}")
    given = numbers_of(points, "iuf", "points", "rows of two numbers are wanted").astype(np.float64)
    if given.ndim != 2 or given.shape[1] != 2 or given.shape[0] == 0:
        raise ArgumentError("points", f"the shape (n, 2) with one point or more is wanted, not {given.shape}")
    if not np.all(np.abs(given) < 2**31 - 1):
        raise ArgumentError("points", "numbers of pixels are wanted")
    weights = {
        "edge_fraction": edge_fraction,
        "weight_continuity": weight_continuity,
        "weight_curvature": weight_curvature,
        "weight_distance": weight_distance,
        "weight_gradient": weight_gradient,
    }
    for name, value in weights.items():
        number(value, name)
    if not isinstance(refine, (bool, int, np.bool_)):
        raise ArgumentError("refine", f"True or False is wanted, not {refine!r}")
    limits = {
        "refine_interval": refine_interval,
        "loop_distance": loop_distance,
        "point_spacing": point_spacing,
        "max_iterations": max_iterations,
    }
    numbers = [whole(value, name, -(2**31)) for name, value in limits.items()]
    params = native.SxSnakeParams(
        float(edge_fraction),
        float(weight_continuity),
        float(weight_curvature),
        float(weight_distance),
        float(weight_gradient),
        int(bool(refine)),
        *numbers,
    )
    whole_points = np.floor(given[:, ::-1] + 0.5).astype(np.int32)
    arguments = (source.record, params, whole_points)
    status, contour = native.SnakeImage(*arguments)
    if status:
        fail(native.SnakeImage, arguments, status)
    return contour[:, ::-1]
