"""Mosaics: colours at their places, all methods, and pictures to look at."""
import numpy as np
import pytest
import scipy.ndimage
import skimage.data
from hypothesis import given
from hypothesis import strategies as st
from support import laid_out, layouts, pictures, random_picture

import koimproc as ko

BAYERS = ("RGGB", "BGGR", "GBRG", "GRBG")
bayers = st.sampled_from(BAYERS)


def sampled(picture, bayer):
    """The mosaic that a sensor would see of a colour picture."""
    mosaic = np.empty(picture.shape[:2], picture.dtype)
    for position, colour in enumerate(bayer):
        part = (slice(position // 2, None, 2), slice(position % 2, None, 2))
        mosaic[part] = picture[..., "RGB".index(colour)][part]
    return mosaic


def bilinear(mosaic, bayer):
    """Normalised convolution with tents, which is what means of the nearest samples are."""
    rows, columns = mosaic.shape
    result = np.empty((rows, columns, 3))
    mirrored = np.pad(mosaic.astype(float), 2, mode="reflect")
    for c, colour in enumerate("RGB"):
        there = np.zeros(mirrored.shape)
        for position, letter in enumerate(bayer):
            if letter == colour:
                there[position // 2::2, position % 2::2] = 1
        kernel = np.array([[0, 1, 0], [1, 4, 1], [0, 1, 0]]) if colour == "G" else np.outer([1, 2, 1], [1, 2, 1])
        sums = scipy.ndimage.correlate(mirrored * there, kernel) / scipy.ndimage.correlate(there, kernel)
        result[..., c] = sums[2:-2, 2:-2]
    return np.floor(result + 0.5)


@given(pictures(channels=(1,), smallest=3), layouts, bayers)
def test_linear_is_the_mean_of_the_nearest_samples(a, layout, bayer):
    result = ko.demosaic(ko.Frame(laid_out(a, layout), bayer=bayer), "linear")
    assert np.array_equal(result, bilinear(a, bayer))


@given(pictures(channels=(1,)), layouts, bayers, st.sampled_from(["menon", "malvar", "linear"]))
def test_every_sample_stays_where_it_is(a, layout, bayer, method):
    f = ko.Frame(laid_out(a, layout), bayer=bayer)
    rgb = ko.demosaic(f, method)
    assert rgb.shape == (*a.shape, 3) and rgb.bits == f.bits and rgb.bayer is None
    assert np.array_equal(sampled(np.asarray(rgb), bayer), a)


@given(pictures(channels=(1,)), layouts, bayers)
def test_half_makes_a_pixel_of_a_cell(a, layout, bayer):
    rgb = np.asarray(ko.demosaic(ko.Frame(laid_out(a, layout), bayer=bayer), "half"))
    rows, columns = a.shape[0] // 2, a.shape[1] // 2
    cells = [a[p // 2:2 * rows:2, p % 2:2 * columns:2].astype(int) for p in range(4)]
    greens = [cells[p] for p in range(4) if bayer[p] == "G"]
    expected = np.stack([cells[bayer.index("R")], (greens[0] + greens[1]) >> 1, cells[bayer.index("B")]], -1)
    assert np.array_equal(rgb, expected)


@pytest.mark.parametrize("bayer", BAYERS)
def test_methods_are_as_good_as_they_are_said_to_be(bayer):
    picture = skimage.data.astronaut()[:256, :256]
    inside = (slice(8, -8), slice(8, -8))
    ratio = {}
    for method in ("menon", "malvar", "linear"):
        rgb = np.asarray(ko.demosaic(ko.Frame(sampled(picture, bayer), bayer=bayer), method))
        error = np.mean((rgb[inside].astype(float) - picture[inside]) ** 2)
        ratio[method] = 10 * np.log10(255 ** 2 / error)
    assert ratio["menon"] > ratio["malvar"] > ratio["linear"] > 25


@pytest.mark.parametrize("method", ["menon", "malvar", "linear"])
def test_a_part_of_a_frame_has_the_same_colours(method):
    f = ko.Frame(sampled(skimage.data.astronaut()[:64, :64], "RGGB"), bayer="RGGB")
    whole = np.asarray(ko.demosaic(f, method))
    part = np.asarray(ko.demosaic(f[11:53, 6:51], method))
    assert np.array_equal(part[12:-12, 12:-12], whole[23:41, 18:39])


def srgb(linear):
    return np.where(linear <= 0.0031308, 12.92 * linear, 1.055 * linear ** (1 / 2.4) - 0.055)


def test_develop_shows_grey_as_grey():
    scene = np.full((20, 30), 0.25)
    mosaic = np.empty(scene.shape, np.uint16)
    for (row, column), gain in zip([(0, 0), (0, 1), (1, 0), (1, 1)], (0.5, 1, 1, 0.7)):
        mosaic[row::2, column::2] = np.rint(64 + scene[row::2, column::2] * gain * (4000 - 64))
    f = ko.Frame(mosaic, bits=12, bayer="RGGB")
    rgb = ko.develop(f, black=64, white=4000)
    assert rgb.dtype == np.uint8 and rgb.bits == 8
    assert np.abs(np.asarray(rgb).astype(float) - 255 * srgb(0.25)).max() <= 1
    assert np.array_equal(rgb, ko.develop(f, (2, 1, 1 / 0.7), black=64, white=4000))
    none = np.asarray(ko.develop(f, "none", black=64, white=4000))[5, 5]
    assert none == pytest.approx(255 * srgb(0.25 * np.array([0.5, 1, 0.7])), abs=1)


@pytest.mark.parametrize("light", [(1, 0.5, 0.4), (0.4, 0.5, 1), (0.5, 1, 0.7)])
def test_what_clips_is_white_whatever_the_light(light):
    mosaic = np.full((32, 48), 4095, np.uint16)
    for (row, column), share in zip([(0, 0), (0, 1), (1, 0), (1, 1)], (light[0], light[1], light[1], light[2])):
        mosaic[row::2, column:24:2] = 2000 * share
    rgb = np.asarray(ko.develop(ko.Frame(mosaic, bits=12, bayer="RGGB")))
    assert (rgb[:, 32:] == 255).all()


def test_what_clips_does_not_count_for_the_balance():
    mosaic = np.empty((33, 49), np.uint16)
    for (row, column), share in zip([(0, 0), (0, 1), (1, 0), (1, 1)], (0.5, 1, 1, 0.25)):
        mosaic[row::2, column::2] = 1000 * share
    even = ko.develop(ko.Frame(mosaic, bits=12, bayer="RGGB"), white=3800)
    assert len(np.unique(even)) == 1
    mosaic[:10, :20] = 3900  # as many in all colours, which would make a gray of its own
    some = np.asarray(ko.develop(ko.Frame(mosaic, bits=12, bayer="RGGB"), white=3800))
    assert np.array_equal(some[14:], np.asarray(even)[14:])
    mosaic[:] = 4000
    assert (np.asarray(ko.develop(ko.Frame(mosaic, bits=12, bayer="RGGB"), white=3800)) == 255).all()


@pytest.mark.parametrize("first, second, is_even", [(980, 1020, True), (700, 1300, False)])
def test_greens_that_differ_by_little_are_made_equal(first, second, is_even):
    mosaic = np.empty((32, 48), np.uint16)
    for (row, column), level in zip([(0, 0), (0, 1), (1, 0), (1, 1)], (first, 500, 250, second)):
        mosaic[row::2, column::2] = level
    rgb = np.asarray(ko.develop(ko.Frame(mosaic, bits=12, bayer="GRBG")))
    assert (np.ptp(rgb) <= 1) == is_even


def test_what_is_no_mosaic_is_refused():
    a = random_picture((8, 8))
    for function in (ko.demosaic, ko.develop):
        with pytest.raises(ko.SampleTypeError) as caught:
            function(a)
        assert caught.value.argument == "frame"
        with pytest.raises(ko.ArgumentError):
            function(ko.Frame(a))
        with pytest.raises(ko.ArgumentError) as caught:
            function(ko.Frame(a, bayer="RGGB"), method="best")
        assert caught.value.argument == "method"
    f = ko.Frame(a, bayer="RGGB")
    for arguments in ({"white_balance": "auto"}, {"white_balance": (1, 2)}, {"black": 300}, {"white": 0},
                      {"white_balance": (-1, 1, 1)}):
        with pytest.raises(ko.ArgumentError) as caught:
            ko.develop(f, **arguments)
        assert caught.value.argument in arguments
    with pytest.raises(ko.ArgumentError):
        ko.develop(ko.Frame(np.zeros((8, 8), np.uint8), bayer="RGGB"))
