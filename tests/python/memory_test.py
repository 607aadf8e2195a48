"""Memory: results in `out`, inputs untouched, no copy where none is needed, nothing written on failure."""
import pickle
import subprocess
import sys
import tracemalloc
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest
from support import COPIED, IN_PLACE, LAYOUTS, laid_out, random_picture

import koimproc as ko
from koimproc import _memory, native

SHAPE = (64, 48)
GREY = random_picture(SHAPE, np.uint16, 12)
COLOUR = random_picture((*SHAPE, 3), np.uint16, 12, seed=2)
OTHER = random_picture(SHAPE, np.uint16, 12, seed=3)
MASK = random_picture(SHAPE, seed=4) > 99

# Functions that write an image: what they are called with, and whether `out` may be the input itself.
WRITERS = {
    "median": (ko.median, GREY, (2,), {}, False),
    "median of colours": (ko.median, COLOUR, (2,), {}, False),
    "sobel": (ko.sobel, GREY, (), {}, False),
    "equalize_hist": (ko.equalize_hist, GREY, (), {}, True),
    "equalize_hist of colours": (ko.equalize_hist, COLOUR, (), {}, True),
    "equalize_hist with a mask": (ko.equalize_hist, GREY, (MASK,), {}, True),
    "match_histograms": (ko.match_histograms, GREY, (OTHER,), {}, True),
    "rescale_intensity": (ko.rescale_intensity, GREY, (), {}, True),
    "rescale_intensity to bytes": (ko.rescale_intensity, GREY, (), {"dtype": np.uint8}, False),
    "white_balance": (ko.white_balance, COLOUR, ((1, 2, 3),), {}, True),
    "flat_field": (ko.flat_field, GREY, (OTHER,), {}, True),
    "flat_field with a dark": (ko.flat_field, GREY, (OTHER, OTHER // 2), {}, True),
    "threshold": (ko.threshold, GREY, (99,), {}, True),
    "threshold with a mask": (ko.threshold, GREY, (99,), {"mask": MASK}, True),
    "threshold_to_zero": (ko.threshold_to_zero, GREY, (99,), {}, True),
    "greater": (ko.greater, GREY, (99,), {}, False),
    "binarize": (ko.binarize, GREY, (), {}, False),
    "clip_to_depth": (ko.clip_to_depth, GREY, (), {}, True),
    "apply_mask": (ko.apply_mask, GREY, (MASK,), {}, True),
    "pad": (ko.pad, GREY, (3,), {}, False),
    "distance": (ko.distance, MASK, (), {}, False),
    "correct_defects": (ko.correct_defects, GREY, (MASK,), {}, True),
    "resize": (ko.resize, GREY, ((30, 90),), {}, False),
}
# Those that need no memory for pixels besides their result. The others are computed by NumPy, or in blocks that are as
# large as the pictures here.
LEAN = [name for name in WRITERS if name not in ("equalize_hist with a mask", "flat_field with a dark",
                                                 "correct_defects", "rescale_intensity to bytes")]
writers = pytest.mark.parametrize("name", WRITERS)


@writers
@pytest.mark.parametrize("layout", LAYOUTS)
def test_out_gets_the_result_and_inputs_stay(name, layout):
    function, image, arguments, more, _ = WRITERS[name]
    laid = laid_out(image, layout)
    before = laid.copy()
    expected = function(image, *arguments, **more)
    out = np.ones_like(expected)
    assert function(laid, *arguments, out=out, **more) is out
    assert np.array_equal(out, expected)
    assert np.array_equal(laid, before)


@writers
def test_out_may_be_a_part_of_a_larger_array(name):
    function, image, arguments, more, _ = WRITERS[name]
    expected = function(image, *arguments, **more)
    larger = np.ones((expected.shape[0] + 6, expected.shape[1] + 9, *expected.shape[2:]), expected.dtype)
    part = larger[2:2 + expected.shape[0], 5:5 + expected.shape[1]]
    function(image, *arguments, out=part, **more)
    assert np.array_equal(part, expected)
    part[...] = 1
    assert np.all(larger == 1)


@writers
def test_in_place_where_it_is_allowed(name):
    function, image, arguments, more, in_place = WRITERS[name]
    expected = function(image, *arguments, **more)
    if expected.dtype != image.dtype or expected.shape != image.shape:
        return
    a = image.copy()
    if in_place:
        assert function(a, *arguments, out=a, **more) is a
        assert np.array_equal(a, expected)
    else:
        with pytest.raises(ko.ArgumentError) as caught:
            function(a, *arguments, out=a, **more)
        assert caught.value.argument == "out" and np.array_equal(a, image)


@writers
def test_an_out_that_cannot_be_used_stays_untouched(name):
    function, image, arguments, more, _ = WRITERS[name]
    good = function(image, *arguments, **more)
    read_only = np.ones_like(good)
    read_only.flags.writeable = False
    other_type = np.float32 if good.dtype != np.float32 else np.uint8
    bad = [np.ones_like(good)[1:], np.ones((*good.shape, 1), good.dtype), good.astype(other_type), read_only,
           np.ones_like(good)[::-1], np.ones_like(good)[:, ::-1], np.asfortranarray(good), good.tolist(), 5,
           np.ones((good.shape[0], 2 * good.shape[1], *good.shape[2:]), good.dtype)[:, ::2]]
    if good.dtype.itemsize > 1:
        bad.append(good.astype(good.dtype.newbyteorder()))
    for out in bad:
        before = np.array(out)
        with pytest.raises((ko.ArgumentError, ko.SampleTypeError)) as caught:
            function(image, *arguments, out=out, **more)
        assert caught.value.argument == "out"
        assert np.array_equal(before, out)


@writers
def test_an_out_that_overlaps_is_refused_and_one_beside_is_not(name):
    function, image, arguments, more, _ = WRITERS[name]
    good = function(image, *arguments, **more)
    if good.dtype != image.dtype or good.shape != image.shape:
        return
    rows, columns = image.shape[:2]
    larger = np.ones((rows + 1, 2 * columns, *image.shape[2:]), image.dtype)
    source = larger[:rows, :columns]
    source[...] = image
    with pytest.raises(ko.ArgumentError) as caught:
        function(source, *arguments, out=larger[1:, :columns], **more)
    assert caught.value.argument == "out" and np.array_equal(source, image)
    function(source, *arguments, out=larger[:rows, columns:], **more)
    assert np.array_equal(larger[:rows, columns:], good)


def peak_of(call):
    tracemalloc.start()
    try:
        call()
        return tracemalloc.get_traced_memory()[1]
    finally:
        tracemalloc.stop()


@pytest.mark.parametrize("name", LEAN)
@pytest.mark.parametrize("layout", IN_PLACE)
def test_with_out_no_memory_for_pixels_is_taken(name, layout):
    function, image, arguments, more, _ = WRITERS[name]
    arguments = tuple(np.tile(v, (16, 16)) if isinstance(v, np.ndarray) else v for v in arguments)
    more = {key: np.tile(v, (16, 16)) if isinstance(v, np.ndarray) else v for key, v in more.items()}
    large = laid_out(np.tile(image, (16, 16) + (1,) * (image.ndim - 2)), layout)
    frame = large if large.dtype == bool else ko.Frame(large, 12)
    result = function(frame, *arguments, **more)
    out = np.empty_like(np.asarray(result))
    # What is computed from histograms of 12 bits takes some hundred kilobytes.
    assert peak_of(lambda: function(frame, *arguments, out=out, **more)) < large.nbytes // 2


@pytest.mark.parametrize("layout", LAYOUTS)
def test_inputs_are_copied_once_where_they_must_be(layout):
    large = laid_out(random_picture((512, 512), np.uint16), layout)
    peak = peak_of(lambda: ko.minmax(large))
    if layout in COPIED:
        assert large.nbytes <= peak < 1.2 * large.nbytes
    else:
        assert peak < 20_000


def test_rows_that_lie_over_each_other_are_copied():
    line = np.arange(60, dtype=np.uint8)
    for rows in (np.broadcast_to(line, (20, 60)), np.lib.stride_tricks.as_strided(line, (20, 30), (1, 1))):
        assert np.array_equal(ko.median(rows), ko.median(rows.copy()))
        assert np.array_equal(ko.histogram(rows), ko.histogram(rows.copy()))
    assert ko.minmax(np.broadcast_to(np.uint16(7), (30, 40))) == (7, 7)


def test_a_frame_shares_memory_with_its_array():
    for layout in LAYOUTS:
        a = laid_out(GREY, layout)
        f = ko.Frame(a, 12)
        assert np.asarray(f) is a and np.array(f, copy=False) is a
        assert not np.shares_memory(np.array(f), a)
        assert np.shares_memory(np.asarray(f[3:9, 4:7]), a)


def test_frames_as_out_keep_their_meaning():
    f = ko.Frame(GREY, 12)
    out = ko.Frame(np.empty_like(GREY), 12)
    assert ko.median(f, out=out) is out
    for other in (ko.Frame(np.empty_like(GREY), 11), ko.Frame(np.empty_like(GREY), 12, "RGGB")):
        with pytest.raises(ko.ArgumentError) as caught:
            ko.median(f, out=other)
        assert caught.value.argument == "out"
    plain = np.empty_like(GREY)
    result = ko.median(f, out=plain)
    assert result.bits == 12 and np.asarray(result) is plain


@writers
def test_arrays_without_pixels(name):
    function, image, arguments, more, _ = WRITERS[name]
    for rows, columns in ((0, 5), (5, 0), (0, 0)):
        empty = image[:rows, :columns]
        fitting = tuple(v[:rows, :columns] if isinstance(v, np.ndarray) else v for v in arguments)
        named = {key: v[:rows, :columns] if isinstance(v, np.ndarray) else v for key, v in more.items()}
        try:
            result = function(empty, *fitting, **named)
        except ko.ArgumentError as error:
            assert error.argument in ("image", "radius", "reference", "pad_width")
        else:
            assert result.shape == empty.shape


class TestMemoryOfResults:
    """What is gone gives its memory to the next result of its size, and nothing else does."""

    LARGE = random_picture((700, 600), np.uint16, 12)

    def test_goes_to_the_next_result(self):
        address = ko.median(self.LARGE).ctypes.data
        assert ko.median(self.LARGE).ctypes.data == address
        kept = ko.median(self.LARGE)
        assert ko.median(self.LARGE).ctypes.data != kept.ctypes.data

    @pytest.mark.parametrize("view", [
        lambda a: a[3:5], lambda a: a.ravel()[:7], lambda a: a.T, lambda a: memoryview(a), lambda a: ko.Frame(a)[1:, 1:],
        lambda a: a.view(np.uint8), lambda a: native.SxImageBuf(a),
    ])
    def test_stays_while_a_view_of_it_does(self, view):
        expected = ko.median(self.LARGE)
        part = view(ko.median(self.LARGE))
        for _ in range(3):
            ko.white_balance(self.LARGE, 0)
        assert np.array_equal(np.asarray(getattr(part, "array", part)), np.asarray(
            getattr(view(expected), "array", view(expected))))

    def test_is_not_shared_by_threads(self):
        pictures = [random_picture((700, 600), np.uint16, 12, seed) for seed in range(4)]
        expected = [ko.median(a) for a in pictures]

        def work(number):
            return all(np.array_equal(ko.median(pictures[number]), expected[number]) for _ in range(50))

        with ThreadPoolExecutor(4) as pool:
            assert all(pool.map(work, range(4)))

    def test_is_bounded(self):
        spare = native._ResultMemory(3 << 20)
        byte, word = np.dtype(np.uint8), np.dtype(np.uint16)
        held = [spare.lend((1, 1 << 20), byte) for _ in range(4)]
        held += [spare.lend((rows, 1 << 18), word) for rows in range(1, 5)]
        assert spare.bytes == 0
        while held:
            held.pop()
            assert spare.bytes <= 3 << 20
        assert spare.bytes == 3 << 20
        large = spare.lend((1, 4 << 20), byte)
        del large
        assert spare.bytes == 0, "what is too large for it is not kept, and all that waited longer is gone"

    def test_sizes_that_are_no_longer_asked_for_go(self):
        spare = native._ResultMemory(3 << 20)
        byte = np.dtype(np.uint8)
        for columns in range(1, 600):
            spare.lend((1 << 11, columns), byte)
        assert 0 < spare.bytes <= 3 << 20
        address = spare.lend((1 << 11, 599), byte).ctypes.data
        assert spare.lend((599, 1 << 11), byte).ctypes.data == address

    def test_refuses_what_no_memory_holds(self):
        for shape in ((1 << 62, 4), (-1, 4)):
            with pytest.raises(MemoryError):
                native._ResultMemory(1 << 20).lend(shape, np.dtype(np.float64))

    def test_outlives_its_home(self):
        array = native._ResultMemory(1 << 20).lend((3, 4), np.dtype(np.float64))
        array[...] = 7
        assert array.sum() == 84

    @pytest.mark.parametrize("dtype", [np.uint8, np.uint16, np.float64, np.bool_])
    def test_begins_a_cache_line(self, dtype):
        for side in (700, 701, 1500):
            assert _memory.empty((side, side), np.dtype(dtype)).ctypes.data % 64 == 0

    def test_beyond_what_is_kept_is_left_to_numpy(self):
        small, large = _memory.empty((8, 8), np.dtype(np.uint8)), _memory.empty((1, _memory._MOST + 1), np.dtype(np.uint8))
        assert small.base is None and large.base is None

    def test_is_an_ordinary_array(self):
        result = ko.median(self.LARGE)
        assert type(result) is np.ndarray and result.flags.writeable and result.flags.c_contiguous and result.flags.aligned
        assert np.array_equal(pickle.loads(pickle.dumps(result)), result)
        result[...] = 5
        assert result.min() == 5

    def test_ends_with_the_interpreter(self):
        code = ("import numpy as np, koimproc as ko; a = np.zeros((999, 999), np.uint8); keep = [ko.median(a)]; "
                "keep.append(keep); b = ko.median(a); c = b[1:]; ko.kept = b")
        done = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True)
        assert done.returncode == 0 and done.stderr == ""


def test_references_are_steady():
    a, out = np.zeros((4, 4), np.uint8), np.empty((4, 4), np.uint8)
    f = ko.Frame(a)
    before = [sys.getrefcount(v) for v in (a, out, f, None)]
    for _ in range(20_000):
        ko.clip_to_depth(a, out=out)
        ko.clip_to_depth(f)
    after = [sys.getrefcount(v) for v in (a, out, f, None)]
    assert after[:3] == before[:3] and abs(after[3] - before[3]) < 1000
