"""Accumulators of koimproc.native against NumPy and exact fractions."""
import threading
from fractions import Fraction

import numpy as np
import pytest

from koimproc import native as ko

PLANES = {"sum": "u8", "squares": "u8", "minimum": None, "maximum": None, "above": "u4", "counts": "u4"}


def accumulator(shape, dtype, level=0, planes=tuple(PLANES)):
    arrays = {name: np.zeros(shape, PLANES[name] or dtype) for name in planes}
    sums = ko.SxAccumulator(**{name: ko.SxImageBuf(array) for name, array in arrays.items()}, level=level)
    assert ko.ClearAccumulator(sums) == ko.ResultOk
    return sums, arrays


def images(frames):
    return [ko.SxImageBuf(frame) for frame in frames]


@pytest.mark.parametrize("dtype", ["u1", "u2"])
@pytest.mark.parametrize("shape", [(7, 33), (5, 6, 3)])
def test_numbers_are_those_of_numpy(dtype, shape):
    random = np.random.default_rng(1)
    frames = random.integers(0, np.iinfo(dtype).max + 1, (11, *shape), dtype)
    masks = random.integers(0, 2, (11, *shape[:2]), "u1")
    sums, arrays = accumulator(shape, dtype, level=100)
    assert ko.AccumulateFrames(images(frames), images(masks), sums) == ko.ResultOk
    selected = np.broadcast_to(masks.reshape(11, *shape[:2], *[1] * (len(shape) - 2)) != 0, frames.shape)
    wide = np.where(selected, frames, 0).astype("u8")
    np.testing.assert_array_equal(arrays["sum"], wide.sum(0))
    np.testing.assert_array_equal(arrays["squares"], (wide * wide).sum(0))
    np.testing.assert_array_equal(arrays["maximum"], wide.max(0))
    np.testing.assert_array_equal(arrays["minimum"], np.where(selected, frames, np.iinfo(dtype).max).min(0))
    np.testing.assert_array_equal(arrays["above"], (selected & (frames > 100)).sum(0))
    np.testing.assert_array_equal(arrays["counts"], selected.sum(0))
    assert sums.frames == 11

    variance, mean = np.empty(shape), np.empty(shape)
    assert ko.AccumulatedVariance(sums, 1, ko.SxImageBuf(variance)) == ko.ResultOk
    assert ko.AccumulatedMean(sums, ko.SxImageBuf(mean)) == ko.ResultOk
    for at in np.ndindex(shape):
        n, total, squares = (int(arrays[name][at]) for name in ("counts", "sum", "squares"))
        if n > 1:
            assert variance[at] == float(Fraction(n * squares - total * total, n * (n - 1)))
            assert mean[at] == float(Fraction(total, n))
        else:
            assert np.isnan(variance[at])


def test_merging_adds_frames_up_to_the_bound():
    a, arrays = accumulator((3, 4), "u2")
    b, _ = accumulator((3, 4), "u2")
    assert ko.AccumulateFrames([ko.SxImageBuf(np.full((3, 4), 9, "u2"))], [], b) == ko.ResultOk
    assert ko.MergeAccumulators(b, a) == ko.ResultOk
    assert (a.frames, arrays["sum"].sum()) == (1, 12 * 9)
    a.frames = ko.mostAccumulatedFrames
    assert ko.MergeAccumulators(b, a) == ko.ResultOutOfRange
    assert (a.frames, arrays["sum"].sum()) == (ko.mostAccumulatedFrames, 12 * 9)
    with pytest.raises(RuntimeError):
        ko.MergeAccumulators(a, a)


def test_absent_and_read_only_planes():
    sums, arrays = accumulator((2, 2), "u1", planes=("maximum",))
    assert not sums.sum
    assert ko.AccumulateFrames([ko.SxImageBuf(np.full((2, 2), 7, "u1"))], [], sums) == ko.ResultOk
    assert arrays["maximum"].tolist() == [[7, 7], [7, 7]]
    assert ko.AccumulatedMean(sums, ko.SxImageBuf(np.empty((2, 2)))) == ko.ResultBadArg1
    arrays["maximum"].setflags(write=False)
    fixed = ko.SxAccumulator(maximum=ko.SxImageBuf(arrays["maximum"]))
    with pytest.raises(ValueError):
        ko.ClearAccumulator(fixed)
    with pytest.raises(TypeError):
        ko.AccumulateFrames([np.zeros((2, 2), "u1")], [], sums)


def test_one_call_at_a_time():
    sums, arrays = accumulator((700, 700), "u2")
    frames = images([np.ones((700, 700), "u2")] * 20)
    refused = []

    def add():
        for _ in range(10):
            try:
                assert ko.AccumulateFrames(frames, [], sums) == ko.ResultOk
            except RuntimeError:
                refused.append(1)

    threads = [threading.Thread(target=add) for _ in range(2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    done = 20 - len(refused)
    assert sums.frames == 20 * done
    assert (arrays["sum"] == 20 * done).all()
