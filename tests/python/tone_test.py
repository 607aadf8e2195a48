"""Equalisation, matching, contrast, white balance, flat fields and averages."""
import numpy as np
import pytest
from hypothesis import given
from hypothesis import strategies as st
from support import ALL, laid_out, layouts, masks, pictures, random_picture

import koimproc as ko


def equalized(a, bits, mask=None):
    """By the definition; the curve of all colours together."""
    colours = a[..., :3] if a.ndim == 3 and a.shape[2] == 4 else a
    samples = colours.ravel() if mask is None else colours[mask].ravel()
    counts = np.bincount(samples, minlength=1 << bits)
    top = (1 << bits) - 1
    curve = (top * np.cumsum(counts).astype(object) // int(counts.sum())).astype(a.dtype)
    result = a.copy()
    result[..., :colours.shape[-1]] = curve[colours]
    return result


@given(pictures(channels=(1, 2, 3, 4), smallest=1), layouts, st.data())
def test_equalized_colours_share_one_curve(a, layout, data):
    mask = data.draw(st.none() | masks(a.shape))
    if mask is not None and not mask.any():
        with pytest.raises(ko.ArgumentError):
            ko.equalize_hist(a, mask)
        return
    result = ko.equalize_hist(laid_out(a, layout), mask)
    assert np.array_equal(result, equalized(a, 8 * a.itemsize, mask))


def test_a_mask_of_everything_changes_nothing():
    for shape in ((40, 50), (40, 50, 3)):
        a = random_picture(shape, np.uint16, 12)
        f = ko.Frame(a, bits=12)
        assert np.array_equal(ko.equalize_hist(f), ko.equalize_hist(f, np.ones((40, 50), bool)))


@pytest.mark.parametrize("channels", [1, 3, 4])
@pytest.mark.parametrize("dtype, bits", [(np.uint8, 8), (np.uint16, 12), (np.uint16, 16)])
def test_equalized_white_is_white(dtype, bits, channels):
    top = (1 << bits) - 1
    for levels in range(1, 40):
        a = np.linspace(0, top, levels).astype(dtype).reshape(1, levels)
        a = a if channels == 1 else np.stack([a] * channels, axis=-1)
        result = np.asarray(ko.equalize_hist(ko.Frame(a, bits)))
        assert np.array_equal(result, equalized(a, bits)) and result.max() == top


@pytest.mark.parametrize("shape", [(64, 64), (64, 63), (16, 64, 2), (16, 63, 2)])
@pytest.mark.parametrize("dtype, bits", [(np.uint8, 8), (np.uint16, 12), (np.uint16, 16)])
def test_equalized_pictures_of_any_number_of_samples_are_exact(dtype, bits, shape):
    for seed in range(9):
        a = random_picture(shape, dtype, bits, seed)
        assert np.array_equal(ko.equalize_hist(ko.Frame(a, bits)), equalized(a, bits))


def test_equalized_samples_beyond_the_depth_are_white():
    a = np.array([[1, 2, 3, 5000]] * 7, np.uint16)
    assert np.asarray(ko.equalize_hist(ko.Frame(a, 12)))[0].tolist() == [1365, 2730, 4095, 4095]


@pytest.mark.parametrize("shape", [(32, 32), (31, 33)])
def test_samples_beyond_the_depth_do_not_count_when_others_are_equalized(shape):
    for seed in range(9):
        a = random_picture(shape, np.uint16, 12, seed)
        a[:5] |= 4096
        inside = np.sort(a[5:].ravel())
        expected = np.searchsorted(inside, a, side="right") * 4095 // inside.size
        assert np.array_equal(ko.equalize_hist(ko.Frame(a, 12)), expected)


def test_equalized_twelve_bits_stay_twelve_bits():
    f = ko.Frame(random_picture((50, 60), np.uint16, 10), bits=12)
    result = ko.equalize_hist(f)
    assert result.bits == 12 and 4090 <= np.asarray(result).max() <= 4095


def matched(a, reference, bits, off):
    shares = [np.cumsum(np.bincount(v.ravel(), minlength=1 << bits) / v.size) for v in (a, reference)]
    curve = np.searchsorted(shares[1], shares[0] + off)
    return np.minimum(curve, reference.max())[a]


@given(pictures((np.uint8,), (1, 3, 4), smallest=1), layouts, st.integers(0, 99))
def test_a_matched_picture_has_the_levels_of_the_reference(a, layout, seed):
    reference = random_picture((7, 9, *a.shape[2:]), a.dtype, seed=seed)
    result = ko.match_histograms(laid_out(a, layout), reference)
    assert result.dtype == a.dtype
    for c in range(min(3, a[..., None].shape[2])):
        found, of_reference, of_a = (v if v.ndim == 2 else v[..., c] for v in (result, reference, a))
        # Shares that are equal may differ by rounding, and then the next level is as good.
        lowest, highest = (matched(of_a, of_reference, 8, off) for off in (-1e-9, 1e-9))
        assert np.all((lowest == found) | (found == highest))
    if a.ndim == 3 and a.shape[2] == 4:
        assert np.array_equal(result[..., 3], a[..., 3])


def test_matched_twelve_bits_stay_below_the_reference():
    rng = np.random.default_rng(3)
    a = ko.Frame(rng.integers(0, 4096, (333, 77), np.uint16), bits=12)
    reference = ko.Frame(rng.integers(0, 3000, (55, 91), np.uint16), bits=12)
    assert np.asarray(ko.match_histograms(a, reference)).max() == np.asarray(reference).max()


def rescaled(a, low, high, bits):
    top = (1 << bits) - 1
    gain = min(top / (high - low), 65535) if high > low else 65535
    gain = int(np.floor(gain * 65536 + 0.5))
    return np.clip(((a.astype(object) - low) * gain + 32768) // 65536, 0, top).astype(int)


@given(pictures(channels=(1, 2, 3, 4), smallest=1), layouts, st.data())
def test_rescaled_levels_are_those_of_the_formula(a, layout, data):
    bits = 8 * a.itemsize
    mask = data.draw(st.none() | masks(a.shape).filter(lambda m: m.any()))
    samples = a if mask is None else a[mask]
    result = ko.rescale_intensity(laid_out(a, layout), mask=mask)
    assert np.array_equal(result, rescaled(a, int(samples.min()), int(samples.max()), bits))
    low, high = sorted(data.draw(st.tuples(st.integers(0, 300), st.integers(0, 300))))
    assert np.array_equal(ko.rescale_intensity(a, (low, high)), rescaled(a, low, high, bits))


@given(pictures(channels=(1, 2, 3), smallest=1), st.sampled_from(["uint8", "uint16"]), st.integers(1, 8))
def test_levels_change_their_type_by_the_same_formula(a, dtype, bits):
    result = ko.rescale_intensity(a, "dtype", dtype=dtype, bits=bits)
    assert result.dtype == dtype
    assert np.array_equal(result, rescaled(a, 0, (1 << 8 * a.itemsize) - 1, bits))


@given(pictures([t for t in ALL if t not in (np.uint8, np.uint16)], (1, 2), smallest=1), layouts)
def test_other_types_are_scaled_in_double(a, layout):
    low, high = float(a.min()), float(a.max())
    if not np.isfinite(high - low):
        return
    with np.errstate(over="ignore"):
        result = ko.rescale_intensity(laid_out(a, layout), dtype=np.uint8)
        factor = 255 / (high - low) if high > low else 0
        expected = np.clip(np.floor((a.astype(np.float64) - low) * factor + 0.5), 0, 255)
    assert np.array_equal(result, expected)


def test_a_mosaic_is_rescaled_by_one_range_or_one_per_colour():
    f = ko.Frame(random_picture((8, 10), np.uint16, 12), bits=12, bayer="GRBG")
    low, high = ko.minmax(f)
    joint = ko.rescale_intensity(f)
    assert joint.bayer == "GRBG" and joint.bits == 12
    assert np.array_equal(joint, rescaled(np.asarray(f), int(min(low)), int(max(high)), 12))
    separate = np.asarray(ko.rescale_intensity(f, (low, high)))
    for position, (row, column) in enumerate([(0, 0), (0, 1), (1, 0), (1, 1)]):
        part = np.asarray(f)[row::2, column::2]
        assert np.array_equal(separate[row::2, column::2], rescaled(part, int(low[position]), int(high[position]), 12))


@given(pictures(channels=(1, 3, 4)), layouts, st.floats(0, 20), st.integers(0, 300))
def test_white_balance_is_that_of_the_formula(a, layout, gain, black):
    gain = round(gain * 64) / 64
    gains = gain if a.ndim == 2 else [gain, 1, 0.5, 2][:a.shape[2]]
    result = ko.white_balance(laid_out(a, layout), gains, black=black)
    top = (1 << 8 * a.itemsize) - 1
    expected = np.clip(np.floor((a.astype(float) - black) * gains + 0.5), 0, top)
    assert np.array_equal(result, expected)


def test_the_colours_of_a_mosaic_are_named_or_in_the_order_of_its_cell():
    f = ko.Frame(np.full((2, 2), 10, np.uint8), bayer="GBRG")
    named = np.asarray(ko.white_balance(f, (2, 3, 4)))
    assert named.tolist() == [[30, 40], [20, 30]]
    assert np.asarray(ko.white_balance(f, (1, 2, 3, 4))).tolist() == [[10, 20], [30, 40]]


def flattened(a, flat, dark, top):
    """By the definition, in whole numbers; of all samples of one colour, or with the colours in the last axis."""
    light = np.maximum(a.astype(object) - dark, 0)
    field = np.maximum(flat.astype(object) - dark, 0)
    total, number = field.sum(axis=(0, 1)), a.shape[0] * a.shape[1]
    result = light * total // (np.maximum(field, 1) * number)
    return np.where(field > 0, np.minimum(result, top), 0).astype(a.dtype)


@given(pictures(channels=(1, 3, 4), smallest=1), layouts, st.booleans())
def test_flat_field_divides_by_the_flat(a, layout, with_dark):
    flat, dark = random_picture(a.shape, a.dtype, 8, seed=5), random_picture(a.shape, a.dtype, 4, seed=6)
    result = ko.flat_field(laid_out(a, layout), flat, dark if with_dark else None)
    expected = flattened(a, flat, dark if with_dark else 0, (1 << 8 * a.itemsize) - 1)
    if a.ndim == 3 and a.shape[2] == 4:
        expected[..., 3] = a[..., 3]
    assert np.array_equal(result, expected)


@pytest.mark.parametrize("shape", [(9, 7), (300, 1100)])
def test_flat_field_keeps_the_colours_of_a_mosaic(shape):
    a, flat = random_picture(shape, np.uint16, 12), random_picture(shape, np.uint16, 12, 9) // 2 + 99
    dark = random_picture(shape, np.uint16, 6, 7)
    result = np.asarray(ko.flat_field(ko.Frame(a, 12, "RGGB"), flat, dark))
    for row, column in [(0, 0), (0, 1), (1, 0), (1, 1)]:
        part = (slice(row, None, 2), slice(column, None, 2))
        assert np.array_equal(result[part], flattened(a[part], flat[part], dark[part], 4095))


def test_of_a_flat_only_proportions_count():
    a, flat = random_picture((60, 70), np.uint16, 12), random_picture((60, 70), np.uint16, 16, 9)
    assert flat.max() > 4095
    assert np.array_equal(np.asarray(ko.flat_field(ko.Frame(a, 12), flat)), flattened(a, flat, 0, 4095))


@pytest.mark.parametrize("dtype, step", [(np.uint8, 1), (np.uint16, 499)])
def test_an_even_flat_changes_nothing(dtype, step):
    top = np.iinfo(dtype).max
    a = np.arange(top + 1, dtype=dtype).reshape(16, -1)
    for level in range(1, top + 1, step):
        assert np.array_equal(ko.flat_field(a, np.full_like(a, level)), a)


@given(pictures(channels=(1, 2, 3)), layouts, st.integers(1, 5))
def test_average_is_the_truncated_mean(a, layout, number):
    frames = [laid_out(a, layout)] + [random_picture(a.shape, a.dtype, seed=n) for n in range(number)]
    assert np.array_equal(ko.average(frames), np.sum(frames, axis=0, dtype=np.uint64) // len(frames))


def test_a_stack_is_a_series():
    stack = random_picture((5, 8, 9))
    assert np.array_equal(ko.average(stack), stack.astype(int).sum(axis=0) // 5)
    frame = ko.average([ko.Frame(v, bits=8, bayer="RGGB") for v in stack])
    assert frame.bayer == "RGGB"
    with pytest.raises(ko.ArgumentError) as caught:
        ko.average([stack[0], stack[1, :, 1:]])
    assert caught.value.argument == "images[1]"
    with pytest.raises(ko.ArgumentError):
        ko.average([])


@given(st.integers(0, 2**32))
def test_equal_shares_are_matched_exactly(seed):
    random = np.random.default_rng(seed)
    a = random.integers(0, 12, (9, 11)).astype(np.uint8)
    reference = random.integers(0, 12, (9, 22)).astype(np.uint8)
    below = np.cumsum(np.bincount(a.ravel(), minlength=256)) * reference.size
    wanted = np.cumsum(np.bincount(reference.ravel(), minlength=256)) * a.size
    assert np.array_equal(ko.match_histograms(a, reference), np.searchsorted(wanted, below)[a])


def test_ranges_of_all_sizes():
    def bytes_of(samples, *in_range):
        return ko.rescale_intensity(np.array([samples]), *in_range, dtype=np.uint8).tolist()[0]

    with np.errstate(all="raise"):
        assert bytes_of([-1.7e308, 0.0, 1.7e308]) == [0, 128, 255]
        assert bytes_of([4.0, 5.0, 6.0, np.nan, np.inf, -np.inf], (5, 5)) == [0, 0, 255, 0, 255, 0]
        assert bytes_of([7.0, 7.0]) == [0, 0]
    assert ko.rescale_intensity(np.array([[4, 5, 6]], np.uint8), (5, 5)).tolist() == [[0, 0, 255]]
