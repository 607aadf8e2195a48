"""Frames."""
import copy
import operator
import pickle
import weakref

import numpy as np
import pytest
from hypothesis import given
from hypothesis import strategies as st
from support import pictures, random_picture

import koimproc as ko

BAYERS = ("RGGB", "BGGR", "GBRG", "GRBG")


def colour_at(bayer, row, column):
    return bayer[2 * (row % 2) + column % 2]


def test_a_frame_says_what_its_samples_mean():
    a = random_picture((4, 6), np.uint16, 12)
    f = ko.Frame(a, bits=12, bayer="RGGB")
    assert (f.bits, f.bayer, f.shape, f.dtype) == (12, "RGGB", (4, 6), np.uint16)
    assert (ko.Frame(a).bits, ko.Frame(a).bayer, ko.Frame(a.astype(float)).bits) == (16, None, 64)
    assert (f.ndim, f.size, len(f)) == (2, 24, 4) and ko.Frame(np.zeros((2, 3, 4), np.uint8)).ndim == 3
    again = ko.Frame(f)
    assert (again.bits, again.bayer) == (12, "RGGB")
    assert ko.Frame(f, bayer="GRBG").bayer == "GRBG"


def test_a_frame_becomes_an_array_of_another_type_by_a_copy_alone():
    a = random_picture((4, 6), np.uint16, 12)
    f = ko.Frame(a)
    assert f.__array__(np.uint16) is a and f.__array__(copy=False) is a and f.__array__(copy=True) is not a
    assert f.__array__(float).dtype == float and f.__array__(float, copy=True).dtype == float
    with pytest.raises(ValueError):
        f.__array__(float, copy=False)


@given(pictures(channels=(1,), smallest=1), st.sampled_from(BAYERS), st.data())
def test_a_part_of_a_mosaic_keeps_its_colours(a, bayer, data):
    top, left = (data.draw(st.integers(-n, n - 1)) for n in a.shape)
    part = ko.Frame(a, bayer=bayer)[top:, left:]
    row, column = top % a.shape[0], left % a.shape[1]
    assert np.array_equal(part, a[row:, column:])
    for y in range(2):
        for x in range(2):
            assert colour_at(part.bayer, y, x) == colour_at(bayer, row + y, column + x)


@pytest.mark.parametrize("part", [0, slice(2), (0, 1), (slice(None, None, 2), slice(None)), (slice(3),) * 3, ...])
def test_other_parts_are_refused(part):
    with pytest.raises(ko.ArgumentError):
        ko.Frame(np.zeros((4, 4), np.uint8))[part]


@pytest.mark.parametrize("protocol", range(pickle.HIGHEST_PROTOCOL + 1))
def test_frames_pickle_and_copy(protocol):
    f = ko.Frame(random_picture((4, 6), np.uint16, 12), bits=12, bayer="GBRG")
    for other in (pickle.loads(pickle.dumps(f, protocol)), copy.deepcopy(f)):
        assert (other.bits, other.bayer) == (12, "GBRG") and np.array_equal(other, f)
        assert not np.shares_memory(np.asarray(other), np.asarray(f))


COMPARISONS = (operator.eq, operator.ne, operator.lt, operator.le, operator.gt, operator.ge)


@pytest.mark.parametrize("compare", COMPARISONS)
def test_frames_compare_sample_by_sample_as_arrays_do(compare):
    a, b = (random_picture((4, 6), np.uint16, 4, seed) for seed in (1, 2))
    f = ko.Frame(a, bits=4)
    for other, samples in ((ko.Frame(b, bits=12, bayer="RGGB"), b), (f, a), (b, b), (7, 7), (np.float32(2.5), 2.5),
                           (b[0], b[0])):
        for result, expected in ((compare(f, other), compare(a, samples)), (compare(other, f), compare(samples, a))):
            assert type(result) is np.ndarray and result.dtype == bool and np.array_equal(result, expected)
    with pytest.raises(ValueError):
        compare(f, np.zeros((3, 3), np.uint16))


def test_frames_are_neither_true_nor_hashed_nor_calculated_with():
    f = ko.Frame(random_picture((4, 6), np.uint16, 12), bits=12)
    with pytest.raises(ValueError, match="neither true nor false"):
        bool(f)
    with pytest.raises(TypeError):
        hash(f)
    for operation in (operator.add, operator.mul, operator.and_):
        for operands in ((f, 1), (1, f), (f, f)):
            with pytest.raises(TypeError):
                operation(*operands)
    with pytest.raises(TypeError):
        f[:2, :2] = 1
    with pytest.raises(ko.ArgumentError):
        list(f)
    # NumPy's own functions and arrays take frames for arrays.
    assert np.array_equal(np.asarray(f) + f, 2 * np.asarray(f)) and np.mean(f) == np.asarray(f).mean()
    assert type(np.add(f, 1)) is np.ndarray


def test_a_shallow_copy_is_another_view_and_np_array_a_copy():
    f = ko.Frame(random_picture((4, 6), np.uint16, 12), bits=12, bayer="GBRG")
    other = copy.copy(f)
    assert (other.bits, other.bayer) == (12, "GBRG") and np.asarray(other) is np.asarray(f)
    assert not np.shares_memory(np.array(f), np.asarray(f))
    assert repr(other) == "Frame(4 x 6, uint16, bits=12, bayer='GBRG')"


def test_frames_are_seen_without_being_kept():
    f = ko.Frame(random_picture((4, 6)))
    seen = weakref.ref(f)
    assert seen() is f
    del f
    assert seen() is None


def test_masks_from_comparisons_select():
    f = ko.Frame(random_picture((8, 8), np.uint16, 12), bits=12)
    assert ko.moments(f, mask=f > 2000).n == np.count_nonzero(np.asarray(f) > 2000)


@pytest.mark.parametrize("bits", [0, -1, 17, 1.5, "12", True, 2**40])
def test_bits_that_the_type_does_not_have(bits):
    with pytest.raises(ko.ArgumentError) as caught:
        ko.Frame(np.zeros((2, 2), np.uint16), bits=bits)
    assert caught.value.argument == "bits"


@pytest.mark.parametrize("bayer, a", [("RGBG", np.zeros((2, 2), np.uint8)), ("rggb", np.zeros((2, 2), np.uint8)),
                                      (1, np.zeros((2, 2), np.uint8)), ("RGGB", np.zeros((2, 2, 3), np.uint8))])
def test_mosaics_that_are_none(bayer, a):
    with pytest.raises(ko.ArgumentError) as caught:
        ko.Frame(a, bayer=bayer)
    assert caught.value.argument == "bayer"


def test_arrays_that_no_frame_has():
    for a in (np.zeros(3, np.uint8), np.zeros((2, 2, 2, 2), np.uint8), np.zeros((2, 2, 0), np.uint8)):
        with pytest.raises(ko.ArgumentError) as caught:
            ko.Frame(a)
        assert caught.value.argument == "array"
    for a in ([[1]], np.zeros((2, 2), complex), np.zeros((2, 2), object), np.zeros((2, 2), np.float16), None, 5, "ab"):
        with pytest.raises(ko.SampleTypeError) as caught:
            ko.Frame(a)
        assert caught.value.argument == "array"
    with pytest.raises(ko.SampleTypeError):
        ko.Frame(np.zeros((2, 2), np.float32), bayer="RGGB")
    with pytest.raises(ko.ArgumentError):
        ko.Frame(np.zeros((2, 2), np.float32), bits=12)


def test_arrays_and_frames_give_what_they_are_given():
    a = random_picture((9, 9), np.uint16, 12)
    assert type(ko.median(a)) is np.ndarray
    result = ko.median(ko.Frame(a, 12))
    assert type(result) is ko.Frame and result.bits == 12
    assert np.array_equal(result, ko.median(a))
    assert np.array_equal(np.asarray(result, float), ko.median(a).astype(float))


def test_neighbours_of_a_mosaic_are_refused():
    f = ko.Frame(np.zeros((8, 8), np.uint8), bayer="RGGB")
    for function, arguments in ((ko.median, ()), (ko.sobel, ()), (ko.resize, ((4, 4),)), (ko.equalize_hist, ()),
                                (ko.pad, (1,)), (ko.active_contour, ([[1, 1]],))):
        with pytest.raises(ko.ArgumentError, match="mosaic") as caught:
            function(f, *arguments)
        assert caught.value.argument == "image"
