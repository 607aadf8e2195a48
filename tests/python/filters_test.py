"""Median, gradient, distance and resizing against SciPy, OpenCV and brute force."""
from fractions import Fraction

import cv2
import numpy as np
import pytest
import scipy.ndimage
from hypothesis import given
from hypothesis import strategies as st
from hypothesis.extra import numpy as arrays
from support import CAMERA, laid_out, layouts, pictures, random_picture

import koimproc as ko


def brute_force_median(a, radius):
    result = np.empty_like(a)
    for row, column in np.ndindex(a.shape[:2]):
        window = a[max(0, row - radius):row + radius + 1, max(0, column - radius):column + radius + 1]
        values = np.sort(window.reshape(-1, *a.shape[2:]), axis=0)
        result[row, column] = values[(len(values) - 1) // 2]
    return result


@given(pictures(CAMERA, (1, 2, 3, 4, 5), smallest=1, largest=9), layouts, st.integers(0, 4))
def test_median_is_that_of_the_cut_window(a, layout, radius):
    radius = min(radius, (min(a.shape[:2]) - 1) // 2)
    assert np.array_equal(ko.median(laid_out(a, layout), radius), brute_force_median(a, radius))


@pytest.mark.parametrize("dtype, bits", [(np.uint8, 8), (np.uint16, 12)])
def test_median_inside_is_that_of_scipy(dtype, bits):
    a = random_picture((60, 70), dtype, bits)
    for radius in (1, 2, 5):
        inside = (slice(radius, -radius),) * 2
        expected = scipy.ndimage.median_filter(a, 2 * radius + 1)
        assert np.array_equal(np.asarray(ko.median(ko.Frame(a, bits), radius))[inside], expected[inside])


@given(pictures(CAMERA, (1, 2, 3)), layouts)
def test_sobel_is_the_truncated_magnitude(a, layout):
    result = ko.sobel(laid_out(a, layout))
    assert result.dtype == np.int32 and result.shape == a.shape
    expected = np.zeros(a.shape, int)
    planes = a[..., None] if a.ndim == 2 else a
    for c in range(planes.shape[2]):
        plane = planes[..., c].astype(np.int64)
        if min(plane.shape) > 2:
            gx, gy = (scipy.ndimage.sobel(plane, axis)[1:-1, 1:-1] for axis in (1, 0))
            exact = gx * gx + gy * gy
            root = np.floor(np.sqrt(exact)).astype(np.int64)
            expected[(slice(1, -1), slice(1, -1)) + ((c,) if a.ndim == 3 else ())] = root
    assert np.array_equal(result, expected)


@given(arrays.arrays(np.bool_, st.tuples(st.integers(1, 12), st.integers(1, 12))), layouts)
def test_chessboard_distance_is_that_of_scipy(mask, layout):
    result = ko.distance(laid_out(mask, layout), "chessboard")
    if mask.any():
        assert np.array_equal(result, scipy.ndimage.distance_transform_cdt(~mask, "chessboard"))
    else:
        assert np.all(result == np.inf)


@pytest.mark.parametrize("metric, off", [("3x3", 0.09), ("5x5", 0.03), ("7x7", 0.02), ("13x13", 0.01)])
def test_distance_is_nearly_euclidean(metric, off):
    mask = random_picture((80, 90)) > 253
    euclidean = scipy.ndimage.distance_transform_edt(~mask)
    assert np.abs(ko.distance(mask, metric) - euclidean).max() <= off * euclidean.max() + 1e-9


def exactly_resized(line, wanted):
    """One dimension, in fractions."""
    length = len(line)
    result = []
    for p in range(wanted):
        if wanted < length:
            begin, end = Fraction(p * length, wanted), Fraction((p + 1) * length, wanted)
            parts = [(max(Fraction(0), min(end, i + 1) - max(begin, Fraction(i))), v) for i, v in enumerate(line)]
            result.append(sum(w * v for w, v in parts) / (end - begin))
        else:
            centre = Fraction((2 * p + 1) * length, 2 * wanted) - Fraction(1, 2)
            first = centre.numerator // centre.denominator
            part = centre - first
            left, right = (line[min(max(i, 0), length - 1)] for i in (first, first + 1))
            result.append((1 - part) * left + part * right)
    return result


@given(pictures(CAMERA, (1,), smallest=1, largest=7), layouts, st.integers(1, 12), st.integers(1, 12))
def test_resize_is_exact(a, layout, rows, columns):
    result = ko.resize(laid_out(a, layout), (rows, columns))
    across = [exactly_resized([Fraction(int(v)) for v in column], rows) for column in a.T]
    exact = [exactly_resized(list(line), columns) for line in zip(*across)]
    expected = [[(2 * v + 1).__floor__() // 2 for v in line] for line in exact]
    assert result.tolist() == expected


@pytest.mark.parametrize("channels", [(), (3,), (4,)])
def test_resize_is_that_of_opencv(channels):
    a = random_picture((90, 120, *channels))
    smaller = cv2.resize(a, (50, 37), interpolation=cv2.INTER_AREA)
    assert np.abs(ko.resize(a, (37, 50)).astype(int) - smaller).max() <= 1
    larger = cv2.resize(a, (200, 131), interpolation=cv2.INTER_LINEAR)
    assert np.abs(ko.resize(a, (131, 200)).astype(int) - larger).max() <= 1


@pytest.mark.parametrize("step", [2, 4, Fraction(5, 2)])
def test_resize_works_in_blocks_that_leave_no_trace(step):
    a = random_picture((700, 400), np.uint16)
    a[300:350] = 65535
    whole = ko.resize(a, (int(700 / step), int(400 / step)))
    begin, end = int(200 / step), int(400 / step)
    assert np.array_equal(whole[begin:end], ko.resize(a[200:400], (end - begin, whole.shape[1])))
    assert whole[int(300 / step):int(350 / step)].min() == 65535


def test_resize_moves_nothing():
    rows, columns = np.mgrid[:41, :61]
    spot = np.asarray(60000 * np.exp(-((rows - 20) ** 2 + (columns - 30) ** 2) / 50), np.uint16)
    for shape in ((80, 120), (21, 30), (123, 183), (20, 91)):
        found = np.array(scipy.ndimage.center_of_mass(ko.resize(spot, shape))) + 0.5
        assert found / shape == pytest.approx(np.array([20.5 / 41, 30.5 / 61]), abs=1e-3)


def test_resize_to_the_same_size_copies():
    a = random_picture((13, 17, 3), np.uint16)
    assert np.array_equal(ko.resize(a, (13, 17)), a)
    assert ko.resize(a, (0, 5)).shape == (0, 5, 3)
    for shape in ((3,), (1.5, 2), (-1, 2), 5, "ab", (2**31, 2**31)):
        with pytest.raises(ko.ArgumentError) as caught:
            ko.resize(a, shape)
        assert caught.value.argument == "shape"
