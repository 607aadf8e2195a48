"""What users write with annotations. mypy reads it, see face_test.py; nothing here is run."""
from collections.abc import Iterator
from pathlib import Path
from typing import Any, Union, assert_type

import numpy as np
import numpy.typing as npt

import koimproc as ko
from koimproc import native
from koimproc import series as ks

Array = npt.NDArray[Any]
Mask = npt.NDArray[np.bool_]


def filters(a: npt.NDArray[np.uint8], f: ko.Frame, either: Union[Array, ko.Frame], view: memoryview, mask: Mask) -> None:
    assert_type(ko.median(a, radius=np.int64(2), threads=np.int64(1)), Array)
    assert_type(ko.median(f, 2, out=a), ko.Frame)
    assert_type(ko.median(view), Array)
    assert_type(ko.median(either), Union[Array, ko.Frame])
    assert_type(ko.sobel(f), npt.NDArray[np.int32])
    assert_type(ko.distance(mask, "5x5"), npt.NDArray[np.float64])
    assert_type(ko.resize(f, a.shape), ko.Frame)
    assert_type(ko.resize(a, np.array([2, 3])), Array)
    assert_type(ko.pad(f, ((1, 2), (3, 4)), "constant"), ko.Frame)
    assert_type(ko.active_contour(f, [(1, 2), (3, 4)], weight_gradient=np.float32(2)), npt.NDArray[np.int32])


def levels(a: npt.NDArray[np.uint8], f: ko.Frame, mask: Mask) -> None:
    assert_type(ko.greater(a, np.uint8(3)), Mask)
    assert_type(ko.greater(f, ko.threshold_otsu(f), out=mask), Mask)
    assert_type(ko.threshold(f, [1, 2, 3], low=np.float32(1), high=np.array([1, 2, 3]), mask=a), ko.Frame)
    assert_type(ko.rescale_intensity(a, [0, 3]), Array)
    assert_type(ko.rescale_intensity(f, ((0, 0, 0), np.ones(3)), dtype="uint8", bits=np.int16(7)), ko.Frame)
    assert_type(ko.white_balance(f, np.float32(2), black=np.uint8(3)), ko.Frame)
    assert_type(ko.binarize(f), Mask)
    assert_type(ko.logical_and(a, mask, out=mask), Mask)
    assert_type(ko.ellipse_mask(np.int64(3), 2, np.float32(1)), Mask)
    assert_type(ko.histogram(f, mask), npt.NDArray[np.uint64])
    assert_type(ko.moments(f) + ko.moments(a), ko.Moments)
    assert_type(f > 3, Mask)
    assert_type(f[1:, :2], ko.Frame)


def many(a: Array, frames: list[ko.Frame], later: Iterator[ko.Frame], s: ks.Series) -> None:
    assert_type(ko.average(frames), ko.Frame)
    assert_type(ko.average(later), ko.Frame)
    assert_type(ko.average([a, a]), Array)
    assert_type(ko.average(a), Array)
    assert_type(ko.average(s), Array)
    assert_type(s[np.int64(2)], Array)
    assert_type(s[1:3], ks.Series)
    ks.open_series(path for path in Path("darks").iterdir())
    rows, report = ks.describe(s)
    assert_type(rows[0]["mean"] + 1, float)
    assert_type(rows[0]["name"], str)
    assert_type(report, ks.Report)
    sums = ks.Accumulator("mean")
    sums.add(*frames, masks=[a])
    ks.write_frame(Path("a.tif"), frames[0])
    ks.calibrate(s, "out", flat=frames[0], dark=ks.master(s))


def packed(f: ko.Frame, a: npt.NDArray[np.uint8], view: memoryview) -> None:
    assert_type(ko.unpack(view, "Mono12p", a.shape, bits=np.int64(12)), ko.Frame)
    assert_type(ko.pack(f, "Mono12p", out=bytearray(9)), npt.NDArray[np.uint8])
    assert_type(ko.pack(view, "Mono8"), npt.NDArray[np.uint8])
    assert_type(ko.Frame(a, np.int64(7)).bits, int)
    assert_type(native.Histogram(native.SxImageBuf(a), native.CxImageHistogram(1, 256)), native.ResultCode)
