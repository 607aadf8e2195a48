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
    for parameters, reasons in CHECKS[name]:
        assert reasons
        if sum(len(form[0]) == len(parameters) for form in CHECKS[name]) > 1:
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
