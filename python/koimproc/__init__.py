"""Exact and fast operations on camera images, for NumPy.

Images are arrays of shape (rows, columns) or (rows, columns, channels), or a `Frame`, which adds what the samples mean:
their depth, and the pattern of a raw mosaic. Arrays of any row stride, also parts of larger arrays, are used in place;
other layouts are copied once for inputs, and refused for `out`. Every export of the library stands under its own name
in `koimproc.native`; `koimproc.series` works on thousands of frames.
"""

from typing import TYPE_CHECKING

from koimproc import _interpreter  # the first of all: it refuses what the others would wait for
from koimproc._average import average
from koimproc._contrast import rescale_intensity
from koimproc._correct import flat_field, white_balance
from koimproc._defects import correct_defects
from koimproc._demosaic import demosaic, develop
from koimproc._errors import ArgumentError, SampleTypeError
from koimproc._filters import distance, median, sobel
from koimproc._frame import Frame
from koimproc._io import RawInfo, imread, raw_info
from koimproc._levels import entropy, joint_histogram, threshold_otsu
from koimproc._masks import disk_mask, ellipse_mask, logical_and, logical_or, logical_xor, pad
from koimproc._raw import pack, unpack
from koimproc._resize import resize
from koimproc._samples import apply_mask, binarize, clip_to_depth
from koimproc._snake import active_contour
from koimproc._stats import Moments, histogram, minmax, moments
from koimproc._threads import threads
from koimproc._thresholds import greater, threshold, threshold_to_zero
from koimproc._tone import equalize_hist, match_histograms
from koimproc.native import __version__

if TYPE_CHECKING:
    from koimproc import series
    from koimproc.series import Accumulator

__all__ = [
    "Accumulator",
    "ArgumentError",
    "Frame",
    "Moments",
    "RawInfo",
    "SampleTypeError",
    "__version__",
    "active_contour",
    "apply_mask",
    "average",
    "binarize",
    "clip_to_depth",
    "correct_defects",
    "demosaic",
    "develop",
    "disk_mask",
    "distance",
    "ellipse_mask",
    "entropy",
    "equalize_hist",
    "flat_field",
    "greater",
    "histogram",
    "imread",
    "joint_histogram",
    "logical_and",
    "logical_or",
    "logical_xor",
    "match_histograms",
    "median",
    "minmax",
    "moments",
    "pack",
    "pad",
    "raw_info",
    "rescale_intensity",
    "resize",
    "sobel",
    "threads",
    "threshold",
    "threshold_otsu",
    "threshold_to_zero",
    "unpack",
    "white_balance",
]


def __getattr__(name: str) -> object:
    """What only work on series needs is loaded when it is asked for."""
    if name not in ("Accumulator", "series"):
        raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
    from importlib import import_module

    module = import_module("koimproc.series")
    return module if name == "series" else module.Accumulator


def __dir__() -> list[str]:
    """For completion: what is loaded when it is asked for is there too."""
    return sorted({*globals(), *__all__, "series"} - {"TYPE_CHECKING"})
