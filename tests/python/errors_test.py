"""Bad input, and the table that statuses are explained from."""
import inspect
import pickle
import re
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest

import koimproc as ko
from koimproc import native
from koimproc._checks import CHECKS
from koimproc._errors import _NAMES, fail

ROOT = Path(__file__).parents[2]
GREY = np.zeros((8, 8), np.uint8)

# Every function of one image with the rest of its arguments.
OF_IMAGES = {
    "median": (), "sobel": (), "equalize_hist": (), "match_histograms": (GREY,), "rescale_intensity": (),
    "white_balance": (1,), "flat_field": (GREY,), "threshold": (5,), "threshold_to_zero": (5,), "greater": (5,),
    "binarize": (), "clip_to_depth": (), "apply_mask": (GREY,), "correct_defects": (GREY,), "pad": (1,), "resize": ((4, 4),), "histogram": (),
    "moments": (), "minmax": (), "threshold_otsu": (), "entropy": (), "joint_histogram": (GREY,),
    "active_contour": ([[1, 1]],), "pack": ("Mono12p",),
}
MASKED = ("equalize_hist", "rescale_intensity", "histogram", "moments", "minmax", "threshold_otsu", "entropy")
NO_ARRAYS = [[[1, 2], [3, 4]], ((1, 2), (3, 4)), None, 5, 1.5, "picture", b"bytes", {}, object(),
             np.ma.masked_array(GREY, GREY == 0)]
NO_SAMPLES = [np.zeros((8, 8), t) for t in (object, complex, np.float16, "U3", "S3", "M8[s]", np.longdouble)] + [
    np.zeros((8, 8), [("red", "u1"), ("green", "u1")])]
NO_SHAPES = [np.zeros(shape, np.uint16) for shape in ((), (8,), (2, 2, 2, 2), (8, 8, 0))]


@pytest.mark.parametrize("name", OF_IMAGES)
def test_what_is_no_image(name):
    function = getattr(ko, name)
    for bad in NO_ARRAYS + NO_SAMPLES:
        with pytest.raises(ko.SampleTypeError) as caught:
            function(bad, *OF_IMAGES[name])
        assert caught.value.argument == "image" and str(caught.value).startswith("image: ")
        assert isinstance(caught.value, TypeError)
    for bad in NO_SHAPES:
        bad = bad.astype(np.uint8 if name != "pack" else np.uint16)
        with pytest.raises(ko.ArgumentError) as caught:
            function(bad, *OF_IMAGES[name])
        assert caught.value.argument == "image" and isinstance(caught.value, ValueError)


@pytest.mark.parametrize("name", OF_IMAGES)
def test_what_to_do_with_other_samples_is_told(name):
    function = getattr(ko, name)
    with pytest.raises(ko.SampleTypeError, match=r"wanted, not bool; array.view\(np.uint8\) has them as 0 and 1"):
        function(GREY.astype(bool), *OF_IMAGES[name])


def test_wanted_samples_are_listed_in_their_order():
    with pytest.raises(ko.SampleTypeError, match="^image: samples of uint8 or uint16 are wanted, not float64; rescale_int"):
        ko.median(np.zeros((4, 4)))
    with pytest.raises(ko.SampleTypeError, match="^image: samples of uint16 are wanted, not float64$"):
        ko.pack(np.zeros((4, 4)), "Mono12p")
    with pytest.raises(ko.SampleTypeError, match="uint8, uint16, uint32, uint64, int8, .*, float32 or float64 .* float16$"):
        ko.Frame(np.zeros((4, 4), np.float16))


@pytest.mark.parametrize("name", MASKED)
def test_masks_that_do_not_fit(name):
    function = getattr(ko, name)
    for bad in (np.ones((8, 7), bool), np.ones((8, 8, 1), bool), np.ones((8, 8, 3), np.uint8), np.ones(8, bool)):
        with pytest.raises(ko.ArgumentError) as caught:
            function(GREY, mask=bad)
        assert caught.value.argument == "mask"
    for bad in (np.ones((8, 8)), np.ones((8, 8), np.int64), [[1] * 8] * 8, 1):
        with pytest.raises(ko.SampleTypeError) as caught:
            function(GREY, mask=bad)
        assert caught.value.argument == "mask"


@pytest.mark.parametrize("radius", [-1, 4, 100, 2**31 - 1, 2**31, -2**31 - 1, 2**70, 1.5, "1", None, True])
def test_radii_that_no_window_has(radius):
    with pytest.raises(ko.ArgumentError) as caught:
        ko.median(GREY, radius)
    assert caught.value.argument == "radius"


def test_an_exception_says_what_is_wrong_and_what_was_given():
    with pytest.raises(ko.ArgumentError) as caught:
        ko.median(GREY, 40)
    error = caught.value
    assert error.code == native.ResultCode.ResultBadArg3
    assert "the window wider or higher than the image" in str(error) and "40" in str(error)
    with pytest.raises(ko.ArgumentError, match=re.escape("(4, 4)")) as caught:
        ko.median(GREY, out=np.zeros((4, 4), np.uint8))
    assert "(8, 8)" in str(caught.value)


def test_exceptions_pickle():
    for error in (ko.ArgumentError("radius", "too large", native.ResultCode.ResultBadArg3),
                  ko.SampleTypeError("image", "no array")):
        other = pickle.loads(pickle.dumps(error))
        assert type(other) is type(error) and str(other) == str(error)
        assert (other.argument, other.code) == (error.argument, error.code)


def test_other_arguments():
    for call, name in ((lambda: ko.distance(GREY, "euclidean"), "metric"), (lambda: ko.distance(GREY, 3), "metric"),
                       (lambda: ko.rescale_intensity(GREY, "all"), "in_range"),
                       (lambda: ko.rescale_intensity(GREY, (5, 1)), "in_range"),
                       (lambda: ko.rescale_intensity(GREY, (0, float("nan"))), "in_range"),
                       (lambda: ko.rescale_intensity(GREY, (-5, 10)), "in_range"),
                       (lambda: ko.rescale_intensity(GREY, bits=9), "bits"),
                       (lambda: ko.white_balance(GREY, float("nan")), "gains"),
                       (lambda: ko.white_balance(GREY, -1), "gains"), (lambda: ko.white_balance(GREY, 1e9), "gains"),
                       (lambda: ko.white_balance(GREY, (1, 2)), "gains"),
                       (lambda: ko.white_balance(GREY, "1"), "gains"),
                       (lambda: ko.white_balance(GREY, 1, black=-1), "black"),
                       (lambda: ko.flat_field(GREY, GREY[1:]), "flat"),
                       (lambda: ko.flat_field(GREY, GREY, GREY[1:]), "dark"),
                       (lambda: ko.flat_field(GREY, ko.Frame(GREY, 7)), "flat"),
                       (lambda: ko.match_histograms(GREY, ko.Frame(GREY, 7)), "reference"),
                       (lambda: ko.match_histograms(GREY, np.zeros((0, 3), np.uint8)), "reference"),
                       (lambda: ko.joint_histogram(GREY, GREY[1:]), "other"),
                       (lambda: ko.joint_histogram(GREY.astype(np.uint16), GREY.astype(np.uint16)), "image"),
                       (lambda: ko.equalize_hist(GREY, GREY), "mask"), (lambda: ko.threads(0), "threads"),
                       (lambda: ko.threads(1.5), "threads"), (lambda: ko.median(GREY, threads=0), "threads"),
                       (lambda: ko.minmax(GREY, threads=-1), "threads")):
        with pytest.raises(ko.ArgumentError) as caught:
            call()
        assert caught.value.argument == name


@pytest.mark.parametrize("value", [GREY, ko.Frame(GREY), GREY[:0], GREY.view([("gray", "u1")]), np.str_("x"), 5, None, b"half", []],
                         ids=lambda v: type(v).__name__)
def test_what_is_none_of_some_words(value):
    """An array compares with every word, and one that was meant for `out` comes here easily."""
    mosaic = ko.Frame(GREY, bayer="RGGB")
    for call, name in ((lambda: ko.demosaic(mosaic, value), "method"), (lambda: ko.develop(mosaic, "none", method=value), "method"),
                       (lambda: ko.pad(GREY, 2, value), "mode"), (lambda: ko.distance(GREY, value), "metric"),
                       (lambda: ko.rescale_intensity(GREY, value), "in_range")):
        with pytest.raises(ko.ArgumentError) as caught:
            call()
        assert caught.value.argument == name


@pytest.mark.parametrize("value", [GREY, GREY[:0], GREY.view([("gray", "u1")]), b"RGGB", ["RGGB"], {}], ids=lambda v: type(v).__name__)
def test_what_is_no_pattern_and_no_depth(value):
    for call, name in ((lambda: ko.Frame(GREY, bayer=value), "bayer"), (lambda: ko.Frame(GREY, value), "bits"),
                       (lambda: ko.unpack(bytes(64), "Mono8", (8, 8), bayer=value), "bayer"),
                       (lambda: ko.unpack(bytes(64), "Mono8", (8, 8), bits=value), "bits")):
        with pytest.raises(ko.ArgumentError) as caught:
            call()
        assert caught.value.argument == name


@pytest.mark.parametrize("points", [np.ones((3, 2), complex), [["1", "2"]], np.ones((3, 2), bool), [[None, 1]], [[1, 2], [3]],
                                    np.ones((3, 2), "m8[s]"), [[-2**63, 0]], [[0, 2**31]], [[float("nan"), 0]], [[2**70, 1]]],
                         ids=repr)
def test_what_is_no_list_of_points(points):
    with pytest.raises(ko.ArgumentError) as caught:
        ko.active_contour(GREY, points)
    assert caught.value.argument == "points"


def test_large_arrays_in_the_place_of_numbers_are_refused_at_once():
    """As lists they would fill the memory."""
    huge = np.broadcast_to(np.uint8(1), (2**31, 2**20))
    for call, name in ((lambda: ko.threshold(GREY, huge), "level"), (lambda: ko.threshold_to_zero(GREY, huge), "level"),
                       (lambda: ko.greater(GREY, huge), "level"), (lambda: ko.threshold(GREY, 5, high=huge), "high"),
                       (lambda: ko.resize(GREY, huge), "shape"), (lambda: ko.rescale_intensity(GREY, huge), "in_range"),
                       (lambda: ko.pad(GREY, huge), "pad_width")):
        with pytest.raises(ko.ArgumentError) as caught:
            call()
        assert caught.value.argument == name


NO_NUMBERS = (None, "x", b"x", 1j, [1, 2], np.array([1, 2]), {}, object(), float("nan"), float("inf"), True)


@pytest.mark.parametrize("value", NO_NUMBERS, ids=repr)
def test_what_is_no_number(value):
    for call, name in ((lambda: ko.ellipse_mask(5, 3, value), "angle"), (lambda: ko.entropy(GREY, base=value), "base"),
                       (lambda: ko.entropy(GREY, order=value), "order"),
                       (lambda: ko.active_contour(GREY, [(1, 1)], weight_distance=value), "weight_distance")):
        with pytest.raises(ko.ArgumentError) as caught:
            call()
        assert caught.value.argument == name


def test_arguments_of_another_kind():
    released = memoryview(bytearray(48)).cast("B", (6, 8))
    released.release()
    whole = memoryview(bytearray(48)).cast("B", (6, 8))
    for call, name in ((lambda: ko.logical_and(GREY, None), "other"), (lambda: ko.Frame(GREY, bayer=["RGGB"]), "bayer"),
                       (lambda: ko.unpack(bytes(9), "Mono12p", (1, 2), bayer={}), "bayer"),
                       (lambda: ko.average(5), "images"), (lambda: ko.average(ko.Frame(GREY)), "images"),
                       (lambda: ko.average(released), "images"), (lambda: ko.average(whole), "images[0]"),
                       (lambda: ko.average([GREY, None]), "images[1]"),
                       (lambda: ko.rescale_intensity(GREY, dtype="grey"), "dtype"),
                       (lambda: ko.active_contour(GREY, [(1, 1)], refine=np.array([1, 0])), "refine")):
        with pytest.raises((ko.ArgumentError, ko.SampleTypeError)) as caught:
            call()
        assert caught.value.argument == name
    assert ko.rescale_intensity(ko.Frame(GREY, 7), bits=np.int64(8)).bits == 8


class TestAccumulators:
    @pytest.mark.parametrize("what, more, name", [
        (("median",), {}, "what"), ((), {}, "what"), ((["mean"],), {}, "what"), ((5,), {}, "what"),
        (("mean",), {"bits": "x"}, "bits"), (("mean",), {"bits": 17}, "bits"), (("mean",), {"bits": 8.0}, "bits"),
        (("above",), {}, "level"), (("above",), {"level": -1}, "level"), (("above",), {"level": None}, "level"),
    ])
    def test_that_cannot_be_made(self, what, more, name):
        with pytest.raises(ko.ArgumentError) as caught:
            ko.Accumulator(*what, **more)
        assert caught.value.argument == name

    @pytest.mark.parametrize("frames, masks, name", [
        ((GREY.tolist(),), None, "frames"), ((GREY.astype(float),), None, "frames"), ((GREY[0],), None, "frames"),
        ((GREY, GREY[1:]), None, "frames"), ((GREY, GREY.astype(np.uint16)), None, "frames"),
        ((GREY,), [], "masks"), ((GREY,), [GREY[1:]], "masks"), ((GREY,), [None], "masks"),
        ((GREY,), [GREY * np.float32(0.5)], "masks"), ((GREY,), [np.full(GREY.shape, 256, np.uint16)], "masks"),
        ((GREY, ko.Frame(GREY.astype(np.uint16))), None, "frames"),
    ])
    def test_refuse_what_does_not_fit_and_stay_as_they_are(self, frames, masks, name):
        for known in (0, 1):
            sums = ko.Accumulator("mean", "hist")
            for _ in range(known):
                sums.add(GREY)
            with pytest.raises((ko.ArgumentError, ko.SampleTypeError)) as caught:
                sums.add(*frames, masks=masks)
            assert caught.value.argument == name and sums.frames == known
            sums.add(ko.Frame(GREY))
            assert np.array_equal(sums.result()["mean"], GREY)

    def test_take_other_frames_after_the_first_was_refused(self):
        sums = ko.Accumulator("mean", "hist", bits=2)
        with pytest.raises(ko.ArgumentError) as caught:
            sums.add(np.full((3, 4), 4, np.uint8))
        assert caught.value.argument == "bits"
        sums.add(np.full((5, 6), 3, np.uint16))
        assert sums.result()["mean"].shape == (5, 6)


def test_sizes_beyond_memory():
    huge = np.broadcast_to(np.uint8(0), (2**31 - 1, 2**31 - 1))
    for function in (ko.median, ko.histogram, ko.sobel):
        with pytest.raises((MemoryError, ko.ArgumentError)):
            function(huge)
    with pytest.raises(ko.ArgumentError):
        ko.minmax(np.broadcast_to(np.uint8(0), (2, 2**31)))
    with pytest.raises(MemoryError):
        ko.ellipse_mask(2**30, 2**30)


def test_every_status_names_an_argument_of_its_function():
    """What the library calls a parameter is either called so here, or has another name in the one list."""
    ours = set()
    for name in ko.__all__:
        if inspect.isfunction(getattr(ko, name)):
            ours |= set(inspect.signature(getattr(ko, name)).parameters)
    assert set(_NAMES.values()) <= ours


@pytest.mark.parametrize("name", CHECKS)
def test_statuses_become_exceptions(name):
    operation = getattr(native, name)
    forms = [(parameters, reasons) for group, reasons in CHECKS[name] for parameters in group]
    for parameters, reasons in forms:
        assert reasons
        if sum(len(form[0]) == len(parameters) for form in forms) > 1:
            continue
        for status in reasons:
            code = native.ResultCode[status]
            with pytest.raises((ko.ArgumentError, ko.SampleTypeError, MemoryError)) as caught:
                fail(operation, (None,) * len(parameters), code)
            number = native.argumentOf(code)
            if 0 < number <= len(parameters):
                expected = _NAMES.get(parameters[number - 1], parameters[number - 1])
                assert caught.value.argument == expected and caught.value.code == code


def test_the_table_is_that_of_the_headers():
    made = subprocess.run([sys.executable, "-B", ROOT / "tools/python/checks_table.py", ROOT / "include",
                           ROOT / "python/koimproc"], check=True, capture_output=True, text=True).stdout
    assert made == (ROOT / "python/koimproc/_checks.py").read_text(), "renew it: see tools/python/checks_table.py"


@pytest.mark.parametrize("value", [10**400, [1, [2]], "a", None, [1, 2, 3, 4, 5]])
def test_what_is_no_number_for_each_colour(value):
    a = np.zeros((3, 4), np.uint8)
    for name, call in (("gains", lambda: ko.white_balance(a, value)),
                       ("black", lambda: ko.white_balance(a, 1, black=value)),
                       ("level", lambda: ko.threshold(a, value)),
                       ("base", lambda: ko.entropy(a, base=value)),
                       ("in_range", lambda: ko.rescale_intensity(a, (0, value))),
                       ("pad_width", lambda: ko.pad(a, value)),
                       ("points", lambda: ko.active_contour(a, value)),
                       ("metric", lambda: ko.distance(a, value))):
        with pytest.raises(ko.ArgumentError) as caught:
            call()
        assert caught.value.argument == name


def test_what_no_picture_is_large_enough_for():
    a = np.zeros((3, 4), np.uint8)
    for width in (2**31, 2**40, 2**62):
        with pytest.raises(ko.ArgumentError, match="pad_width"):
            ko.pad(a, width, "constant")
    with pytest.raises(MemoryError):
        ko.pad(a.astype(np.uint64), 2**29, "constant")
    with pytest.raises(ko.ArgumentError, match="0...65535"):
        ko.white_balance(a, -1)
    with pytest.raises(ko.ArgumentError, match="in_range"):
        ko.rescale_intensity(a, np.array(2))
