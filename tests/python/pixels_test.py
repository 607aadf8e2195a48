"""Thresholds, logic, masks and borders against NumPy."""
import numpy as np
import pytest
from hypothesis import given
from hypothesis import strategies as st
from support import ALL, CAMERA, laid_out, layouts, masks, pictures, random_picture

import koimproc as ko


def level_of(a, data):
    """A level of the type, often one of the samples."""
    if a.size and data.draw(st.booleans()):
        return a.ravel()[data.draw(st.integers(0, a.size - 1))].item()
    return data.draw(st.integers(0, 100))


@given(pictures(ALL, (1, 2, 3, 4)), layouts, st.data())
def test_threshold_gives_one_of_two_values(a, layout, data):
    level = level_of(a, data)
    mask = data.draw(st.none() | masks(a.shape))
    result = ko.threshold(laid_out(a, layout), level, low=3, high=100, mask=mask)
    expected = np.where(a > np.array(level, a.dtype), 100, 3)
    if mask is not None:
        expected[~mask] = 0
    assert result.dtype == a.dtype and np.array_equal(result, expected)


@given(pictures(ALL, (2, 3, 4)), st.data())
def test_every_channel_may_have_its_level(a, data):
    levels = np.array([level_of(a, data) for _ in range(a.shape[2])], a.dtype)
    lows, highs = range(a.shape[2]), range(50, 50 + a.shape[2])
    assert np.array_equal(ko.threshold(a, levels, low=lows, high=highs), np.where(a > levels, highs, lows))
    assert np.array_equal(ko.greater(a, levels), a > levels)
    assert np.array_equal(ko.threshold_to_zero(a, levels), np.where(a > levels, a, 0))


@given(pictures(ALL, (1, 2, 3, 4)), layouts, st.data())
def test_samples_are_compared_in_their_type(a, layout, data):
    level = level_of(a, data)
    laid = laid_out(a, layout)
    bound = np.array(level, a.dtype)
    assert ko.greater(laid, level).dtype == bool
    assert np.array_equal(ko.greater(laid, level), a > bound)
    assert np.array_equal(ko.threshold_to_zero(laid, level), np.where(a > bound, a, 0))
    assert np.array_equal(ko.binarize(laid), a != 0)


def test_nan_is_above_nothing():
    a = np.array([[np.nan, 1.0, 3.0]])
    assert ko.greater(a, 2).tolist() == [[False, False, True]]
    assert ko.threshold(a, 2, low=-1).tolist() == [[-1, -1, 1]]
    assert ko.binarize(a).tolist() == [[True, True, True]]


def test_the_highest_sample_of_the_depth_is_the_default():
    f = ko.Frame(np.array([[1, 9]], np.uint16), bits=12)
    assert np.asarray(ko.threshold(f, 5)).tolist() == [[0, 4095]]
    assert ko.threshold(np.array([[1, 9]], np.int8), 5).tolist() == [[0, 127]]


@pytest.mark.parametrize("level", [-1, 256, 1.5, float("nan"), "5", None, [1, 2], 1j, [2**64], (-(10**400),)])
def test_levels_outside_the_type_are_refused(level):
    with pytest.raises(ko.ArgumentError) as caught:
        ko.threshold(np.zeros((2, 2), np.uint8), level)
    assert caught.value.argument == "level"


def test_levels_may_be_numbers_of_any_kind():
    for level in (3, [3], np.int8(3), np.float16(3), np.longdouble(3)):
        for dtype in (np.uint8, np.uint64, np.float32):
            assert ko.greater(np.array([[3, 4]], dtype), level).tolist() == [[False, True]]


@given(pictures(CAMERA, (1, 2, 3, 4)), layouts, st.integers(1, 8))
def test_clip_to_depth(a, layout, bits):
    bits *= a.itemsize
    result = ko.clip_to_depth(ko.Frame(laid_out(a, layout), bits=bits))
    assert result.bits == bits
    assert np.array_equal(result, np.minimum(a, (1 << bits) - 1))


@given(pictures(ALL, (1, 2, 3, 4)), layouts, st.data())
def test_apply_mask_clears_the_rest(a, layout, data):
    mask = data.draw(masks(a.shape))
    expected = np.where(mask if a.ndim == 2 else mask[..., None], a, 0)
    assert np.array_equal(ko.apply_mask(laid_out(a, layout), mask), expected)
    assert np.array_equal(ko.apply_mask(a, mask.astype(np.uint8) * 7), expected)


@given(pictures((np.uint8,), (1,)), layouts)
def test_logic_of_masks_is_that_of_numpy(a, layout):
    a %= 3
    b = np.ascontiguousarray(a[::-1])
    laid = laid_out(a, layout)
    for name in ("logical_and", "logical_or", "logical_xor"):
        expected = getattr(np, name)(a, b)
        assert np.array_equal(getattr(ko, name)(laid, b), expected)
        out = b.astype(bool)
        assert getattr(ko, name)(laid, out, out=out) is out
        assert np.array_equal(out, expected)


def test_masks_by_shape():
    for major, minor in ((5, 5), (10, 10), (9, 4), (20, 1)):
        mask = ko.ellipse_mask(major, minor)
        assert mask.dtype == bool and mask.shape[1] == 2 * major + 1
        assert np.array_equal(mask, mask[::-1, ::-1])
        assert abs(mask.sum() - np.pi * major * minor) <= 2 * (major + minor)  # half a pixel of the edge
    turned = ko.ellipse_mask(9, 4, np.pi / 2)
    assert turned.shape == (19, 9) and np.count_nonzero(turned != ko.ellipse_mask(9, 4).T) <= 8
    for diameter in range(2, 16):
        disk = ko.disk_mask(diameter)
        assert disk.shape == (diameter, diameter) and np.array_equal(disk, disk.T)
    for arguments in ((0, 0), (3, 4), (3, 0)):
        with pytest.raises(ko.ArgumentError):
            ko.ellipse_mask(*arguments)
    for diameter in (1, 16, 2.5):
        with pytest.raises(ko.ArgumentError):
            ko.disk_mask(diameter)


@given(pictures(CAMERA, (1, 3, 4)), layouts, st.data())
def test_pad_is_that_of_numpy(a, layout, data):
    def width(side):
        return data.draw(st.tuples(st.integers(0, side), st.integers(0, side)))
    widths = (width(a.shape[0]), width(a.shape[1]))
    full = widths + ((0, 0),) * (a.ndim - 2)
    expected = np.pad(a, full, mode="symmetric") if a.size else np.zeros(
        [n + sum(w) for n, w in zip(a.shape, full)], a.dtype)
    result = ko.pad(laid_out(a, layout), widths)
    assert result.shape == expected.shape
    assert np.array_equal(result, expected)
    assert np.array_equal(ko.pad(laid_out(a, layout), widths, "constant"), np.pad(a, full))


def test_widths_of_pad():
    a = random_picture((5, 6))
    for width in (2, (1, 2), ((1, 2), (3, 0)), np.array([1, 2])):
        assert np.array_equal(ko.pad(a, width), np.pad(a, width, mode="symmetric"))
    for width in (-1, 6, (1, 2, 3), 1.5, None, ((7, 0), (0, 0))):
        with pytest.raises(ko.ArgumentError) as caught:
            ko.pad(a, width)
        assert caught.value.argument == "pad_width"
    with pytest.raises(ko.ArgumentError):
        ko.pad(a, 1, "reflect")


@pytest.mark.parametrize("name", ["logical_and", "logical_or", "logical_xor"])
def test_logic_in_place_of_either_mask(name):
    one = np.array([[0, 0, 1, 1]], np.uint8)
    other = np.array([[0, 1, 0, 1]], np.uint8)
    expected = getattr(np, name)(one, other)
    for place in (0, 1):
        given = [one.astype(bool), other.astype(bool)]
        assert getattr(ko, name)(*given, out=given[place]) is given[place]
        assert np.array_equal(given[place], expected)


def test_a_result_in_place_of_its_mask():
    a = np.array([[0, 1, 2, 3]], np.uint8)
    mask = np.array([[1, 0, 1, 0]], np.uint8)
    assert ko.apply_mask(a, mask, out=mask).tolist() == [[0, 0, 2, 0]]
    mask = np.array([[1, 0, 1, 0]], np.uint8)
    assert ko.threshold(a, 1, low=5, high=9, mask=mask, out=mask).tolist() == [[5, 0, 9, 0]]
    assert ko.threshold(a, 1, low=5, high=9, mask=a, out=a).tolist() == [[0, 5, 9, 9]]


def test_levels_of_64_bits_stay_whole():
    a = np.array([[[2**64 - 1, 2**63 + 1, 5]]], np.uint64)
    assert ko.greater(a, [2**64 - 2, 2**63, 5]).tolist() == [[[True, True, False]]]
    assert ko.threshold(a, 0, high=[2**64 - 1, 1, 2]).tolist() == [[[2**64 - 1, 1, 2]]]
