"""Histograms, extremes, moments, thresholds and entropy against NumPy, scikit-image and brute force."""
from fractions import Fraction

import numpy as np
import pytest
import skimage.filters
import skimage.measure
from hypothesis import given
from hypothesis import strategies as st
from support import ALL, laid_out, layouts, masks, pictures, random_picture

import koimproc as ko

POSITIONS = [(0, 0), (0, 1), (1, 0), (1, 1)]


def counted(samples, levels):
    return np.bincount(samples.ravel(), minlength=levels)


def with_mask(**arguments):
    return pictures(**arguments).flatmap(lambda a: st.tuples(st.just(a), st.none() | masks(a.shape)))


def selected(a, mask):
    return a.reshape(-1, *a.shape[2:]) if mask is None else a[mask]


@given(with_mask(channels=(1, 2, 3, 4, 5)), layouts)
def test_histogram_counts_what_bincount_counts(case, layout):
    a, mask = case
    levels = 256 if a.dtype == np.uint8 else 65536
    h = ko.histogram(laid_out(a, layout), mask)
    assert h.dtype == np.uint64
    samples = selected(a, mask)
    if a.ndim == 2:
        assert np.array_equal(h, counted(samples, levels))
    else:
        assert np.array_equal(h, [counted(samples[:, c], levels) for c in range(a.shape[2])])


@given(with_mask(channels=(1,)), st.sampled_from(["RGGB", "BGGR", "GBRG", "GRBG"]))
def test_statistics_of_a_mosaic_are_those_of_its_positions(case, bayer):
    a, mask = case
    f = ko.Frame(a, bayer=bayer)
    for position, (row, column) in enumerate(POSITIONS):
        part, of_mask = a[row::2, column::2], None if mask is None else mask[row::2, column::2]
        assert np.array_equal(ko.histogram(f, mask)[position], ko.histogram(part, of_mask))
        assert ko.moments(f, mask).sum[position] == ko.moments(part, of_mask).sum
        if part.size and (mask is None or all(mask[r::2, c::2].any() for r, c in POSITIONS)) and min(a.shape) > 1:
            assert ko.minmax(f, mask)[0][position] == ko.minmax(part, of_mask)[0]
            assert ko.threshold_otsu(f, mask)[position] == ko.threshold_otsu(part, of_mask)


def test_histograms_of_parts_add_up():
    a = random_picture((40, 30), np.uint16, 12)
    f = ko.Frame(a, bits=12)
    assert np.array_equal(ko.histogram(f), ko.histogram(f[:17, :]) + ko.histogram(f[17:, :]))
    assert ko.moments(f) == ko.moments(f[:17, :]) + ko.moments(f[17:, :])
    parts = [f[top:top + 8, :] for top in range(0, f.shape[0], 8)]
    assert ko.moments(f) == sum(map(ko.moments, parts))
    assert np.array_equal(ko.histogram(f), sum(map(ko.histogram, parts)))
    with pytest.raises(TypeError):
        sum(map(ko.moments, parts), 1)


def test_counters_beyond_a_block_of_rows_add_up(monkeypatch):
    a, mask = random_picture((40, 30, 3)), random_picture((40, 30)) > 99
    whole = ko.histogram(a, mask), ko.histogram(a)
    monkeypatch.setattr("koimproc._stats._AT_A_TIME", 7 * 30)
    assert np.array_equal(ko.histogram(a, mask), whole[0])
    assert np.array_equal(ko.histogram(a), whole[1])


def test_samples_beyond_the_depth_are_refused_and_not_lost():
    f = ko.Frame(np.array([[0, 4096]], np.uint16), bits=12)
    for function in (ko.histogram, ko.moments, ko.threshold_otsu, ko.entropy):
        with pytest.raises(ko.ArgumentError, match="12 bits") as caught:
            function(f)
        assert caught.value.argument == "image"
        function(f, mask=np.array([[1, 0]], np.uint8))


@given(with_mask(channels=(1, 3)), layouts)
def test_moments_are_exact(case, layout):
    a, mask = case
    m = ko.moments(laid_out(a, layout), mask)
    samples = selected(a, mask).astype(object)
    columns = [samples.ravel()] if a.ndim == 2 else [samples[:, c] for c in range(a.shape[2])]
    exact = [(len(v), sum(map(int, v)), sum(int(s) ** 2 for s in v)) for v in columns]
    rows = [(m.n, m.sum, m.sum_of_squares)] if a.ndim == 2 else list(zip(m.n, m.sum, m.sum_of_squares))
    assert rows == exact
    assert all(type(number) is int for row in rows for number in row)
    if exact[0][0]:
        values = [np.asarray(v, np.float64) for v in columns]
        np.testing.assert_allclose(m.mean, [v.mean() for v in values] if a.ndim == 3 else values[0].mean())
        np.testing.assert_allclose(m.std, [v.std() for v in values] if a.ndim == 3 else values[0].std(), atol=1e-9)


def test_moments_of_nothing():
    m = ko.moments(np.empty((0, 5), np.uint8))
    assert (m.n, m.sum) == (0, 0) and np.isnan(m.mean) and np.isnan(m.std)


@given(pictures(ALL, (1, 2, 3), smallest=1), layouts)
def test_minmax_is_that_of_numpy(a, layout):
    low, high = ko.minmax(laid_out(a, layout))
    axes = (0, 1) if a.ndim == 3 else None
    assert np.array_equal(low, a.min(axis=axes)) and np.array_equal(high, a.max(axis=axes))


@given(with_mask(dtypes=ALL, channels=(1, 2, 3), smallest=1))
def test_minmax_obeys_the_mask(case):
    a, mask = case
    if mask is not None and not mask.any():
        with pytest.raises(ko.ArgumentError) as caught:
            ko.minmax(a, mask)
        assert caught.value.argument == "mask"
        return
    low, high = ko.minmax(a, mask)
    assert np.array_equal(low, selected(a, mask).min(axis=0 if a.ndim == 3 else None))
    assert np.array_equal(high, selected(a, mask).max(axis=0 if a.ndim == 3 else None))


def test_nan_is_no_extreme():
    assert ko.minmax(np.array([[np.nan, 1.0, -2.0]])) == (-2.0, 1.0)
    with pytest.raises(ko.ArgumentError):
        ko.minmax(np.full((2, 2), np.nan))
    with pytest.raises(ko.ArgumentError):
        ko.minmax(np.empty((0, 4), np.uint8))


def brute_force_otsu(samples):
    levels = sorted(set(samples))
    best, found = Fraction(-1), levels[0]
    for t in levels[:-1]:
        low, high = [v for v in samples if v <= t], [v for v in samples if v > t]
        means = Fraction(sum(low), len(low)) - Fraction(sum(high), len(high))
        score = len(low) * len(high) * means ** 2
        if score > best:
            best, found = score, t
    return found


@given(with_mask(channels=(1,), smallest=1, largest=7))
def test_otsu_is_the_lowest_of_the_best_levels(case):
    a, mask = case
    samples = [int(v) for v in selected(a, mask).ravel()]
    if not samples:
        with pytest.raises(ko.ArgumentError):
            ko.threshold_otsu(a, mask)
    else:
        assert ko.threshold_otsu(a, mask) == brute_force_otsu(samples)


def test_otsu_is_that_of_scikit_image_on_large_pictures():
    for dtype, bits in ((np.uint8, 8), (np.uint16, 12)):
        a = random_picture((700, 900), dtype, bits) // 2
        a[200:400] += dtype(1 << (bits - 1))
        assert ko.threshold_otsu(ko.Frame(a, bits=bits)) == skimage.filters.threshold_otsu(a)


def test_otsu_of_colours_is_one_per_channel():
    a = random_picture((20, 30, 3))
    assert np.array_equal(ko.threshold_otsu(a), [ko.threshold_otsu(a[..., c]) for c in range(3)])


@given(with_mask(channels=(1,), smallest=1))
def test_entropy_is_that_of_scikit_image(case):
    a, mask = case
    samples = selected(a, mask)
    assert ko.entropy(a, mask) == pytest.approx(skimage.measure.shannon_entropy(samples), abs=1e-12)
    assert ko.entropy(a, np.zeros(a.shape, bool)) == skimage.measure.shannon_entropy(samples[:0]) == 0


def test_entropy_of_another_order_and_base():
    a = np.array([[0, 0, 1, 2]], np.uint8)
    share = np.array([0.5, 0.25, 0.25])
    assert ko.entropy(a, order=2) == pytest.approx(-np.log2((share ** 2).sum()))
    assert ko.entropy(a, base=10) == pytest.approx(-(share * np.log10(share)).sum())
    for arguments in ({"base": 1}, {"base": 0}, {"base": float("nan")}, {"order": 0}, {"order": -1}):
        with pytest.raises(ko.ArgumentError) as caught:
            ko.entropy(a, **arguments)
        assert caught.value.argument in arguments


@given(pictures((np.uint8,), (1,)), layouts, st.data())
def test_joint_histogram_is_that_of_numpy(a, layout, data):
    b = a[::-1, ::-1]
    mask = data.draw(st.none() | masks(a.shape))
    h = ko.joint_histogram(laid_out(a, layout), b, mask)
    expected = np.zeros((256, 256), int)
    np.add.at(expected, (selected(a, mask).ravel(), selected(b, mask).ravel()), 1)
    assert np.array_equal(h, expected)


@pytest.mark.parametrize("dtype", [np.float32, np.float64])
def test_infinities_are_extremes(dtype):
    infinite = np.array([[np.inf, np.nan, np.inf]], dtype)
    assert ko.minmax(infinite) == (np.inf, np.inf)
    assert ko.minmax(-infinite) == (-np.inf, -np.inf)
    largest = np.finfo(dtype).max
    mixed = np.stack((infinite, -infinite, np.full((1, 3), largest, dtype)), 2)
    mask = np.ones((1, 3), bool)
    for low, high in (ko.minmax(mixed), ko.minmax(mixed, mask)):
        assert low.tolist() == [np.inf, -np.inf, largest] and high.tolist() == low.tolist()


def test_entropy_of_extreme_orders():
    a = np.arange(256, dtype=np.uint8).reshape(16, 16)
    for order in (1e-300, 1 - 1e-10, 1 + 1e-10, 0.5, 1.5, 200, 1e300):
        assert ko.entropy(a, order=order) == pytest.approx(8, abs=1e-12)
