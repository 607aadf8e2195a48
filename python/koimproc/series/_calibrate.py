"""Dark frames, flats and defective pixels."""

from __future__ import annotations

import os
from numbers import Real
from typing import Any, Optional

import numpy as np
import numpy.typing as npt

from koimproc._arrays import Image
from koimproc._errors import ArgumentError
from koimproc._filters import median
from koimproc._frame import array_of
from koimproc._stats import POSITIONS
from koimproc.series._engine import Report, need_series
from koimproc.series._files import PathLike
from koimproc.series._recipe import correction_of, records_in, run
from koimproc.series._results import write_frame
from koimproc.series._series import Series
from koimproc.series._sources import read_tiff
from koimproc.series._statistics import accumulate, mean_of

Array = npt.NDArray[Any]

# Variance of rounding to whole levels: no pixel is steadier.
_ROUNDING = 1 / 12


def _colours(array: Array, bayer: Optional[str]) -> list[Array]:
    """Views of the samples of each position of a mosaic's cell, or of each channel."""
    if bayer is not None:
        return [array[row::2, column::2] for row, column in POSITIONS]
    return [array] if array.ndim == 2 else [array[..., channel] for channel in range(array.shape[2])]


def _around(samples: Array) -> Array:
    """The median of each sample's 5 x 5 neighbours, as signed numbers."""
    smooth: Array = np.asarray(median(np.ascontiguousarray(samples), 2)).astype(np.int64)
    return smooth


def _marks(defects: Array, bayer: Optional[str], channels: int) -> list[Array]:
    """Where each colour of a frame marks its defects."""
    return _colours(defects, bayer) if bayer is not None else [defects] * channels


def find_defects(
    darks: Optional[Series] = None,
    flats: Optional[Series] = None,
    *,
    hot: float = 0.02,
    noisy: float = 4.0,
    dead: float = 0.3,
    **engine: Any,
) -> npt.NDArray[np.bool_]:
    """A map of the defective pixels: those that are hot or noisy in the dark, and those that respond wrongly to light.

    It follows from exact sums, so it is the same whatever the parts, the workers and their order.

    Parameters
    ----------
    darks, flats : Series, optional
        Frames of darkness and of an evenly lit field; at least one of the two.
    hot : float
        A pixel is hot if its mean in the darks is above the median of its 5 x 5 neighbours of the same colour by more
        than this share of 2**bits - 1.
    noisy : float
        A pixel is noisy if its variance in the darks is above noisy**2 times the median variance of its colour, which
        counts as 1/12 at least: that of rounding to whole levels. This needs two darks or more.
    dead : float
        A pixel is dead, or too bright, if its mean in the flats differs from the median of its 5 x 5 neighbours of the
        same colour by more than this share of that median.
    **engine
        As for `accumulate`.

    Returns
    -------
    array of bool
        Of shape (rows, columns): true where any channel of the pixel is defective.
    """
    if darks is None and flats is None:
        raise ArgumentError("darks", "darks or flats are wanted")
    for name, series in (("darks", darks), ("flats", flats)):
        if series is not None:
            need_series(series, name)
    for name, share in (("hot", hot), ("noisy", noisy), ("dead", dead)):
        if not (isinstance(share, Real) and share >= 0):
            raise ArgumentError(name, f"0 or more is wanted, not {share!r}")
    shapes = {series.shape for series in (darks, flats) if series is not None}
    if len(shapes) > 1:
        raise ArgumentError("flats", f"frames of the darks' shape are wanted, not the shapes {shapes}")
    defects = np.zeros(shapes.pop()[:2], np.bool_)
    if darks is not None:
        sums, _ = accumulate(darks, "mean", "var", **engine)
        marks = _marks(defects, darks.bayer, sums.planes["sum"].size // defects.size)
        for samples, mark in zip(_colours(mean_of(sums, darks), darks.bayer), marks):
            mark |= samples - _around(samples) > hot * ((1 << darks.bits) - 1)
        if sums.frames > 1:
            for variance, mark in zip(_colours(sums.result(ddof=1)["var"], darks.bayer), marks):
                mark |= variance > noisy**2 * max(float(np.median(variance)), _ROUNDING)
    if flats is not None:
        sums, _ = accumulate(flats, "mean", **engine)
        marks = _marks(defects, flats.bayer, sums.planes["sum"].size // defects.size)
        for samples, mark in zip(_colours(mean_of(sums, flats), flats.bayer), marks):
            smooth = _around(samples)
            mark |= np.abs(samples - smooth) > dead * smooth
    return defects


def calibrate(
    series: Series,
    out: PathLike,
    *,
    flat: Image,
    dark: Optional[Image] = None,
    defects: Optional[npt.NDArray[np.bool_]] = None,
    **engine: Any,
) -> Report:
    """Divide a flat field out of every frame, less a dark frame where given: the recipe of `ko flatfield`.

    Parameters
    ----------
    series, out
        As for `run`.
    flat, dark : array or Frame
        Frames like those of the series, such as `master` makes.
    defects : array, optional
        Of bool and shape (rows, columns), such as `find_defects` makes. `correct_defects` replaces these pixels in the
        flat, in the dark frame and in every frame before anything else is done.
    **engine
        As for `run`.
    """
    need_series(series)
    records = records_in(out)
    correction = None if defects is None else correction_of(defects, series)
    operation = {"op": "flatfield"}
    for name, option, image in (("flat", "background", flat), ("dark", "dark", dark)):
        if image is None:
            continue
        frame = array_of(image, name)
        if frame.shape != series.shape or frame.dtype != series.dtype:
            raise ArgumentError(name, f"a frame like those of the series is wanted: {series.dtype} of shape {series.shape}")
        if correction is not None:
            frame = frame.copy()
            correction.apply(frame)
        operation[option] = os.path.join(records, option + ".tif")
        _write_if_changed(operation[option], frame, series)
    return run({"operations": [operation]}, series, out, defects=defects, **engine)


def _write_if_changed(path: str, frame: Array, series: Series) -> None:
    """A file that is the same keeps its time, so that a run that goes on knows it."""
    if os.path.exists(path):
        stored, meaning = read_tiff(path)
        if meaning == (series.bits, series.bayer) and np.array_equal(stored, frame):
            return
    write_frame(path, frame, series.bits, series.bayer)
