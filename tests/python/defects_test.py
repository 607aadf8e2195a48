"""Defective pixels: against a plain loop, on mosaics and colours."""
import numpy as np
import pytest
from hypothesis import given
from hypothesis import strategies as st
from support import laid_out, layouts, masks, pictures

import koimproc as ko


def naive(array, defects, step):
    result = array.copy()
    rows, columns = defects.shape
    for y, x in np.argwhere(defects):
        for reach in range(1, 9):
            near = [array[b, a] for b in range(y - reach * step, y + reach * step + 1, step)
                    for a in range(x - reach * step, x + reach * step + 1, step)
                    if max(abs(b - y), abs(a - x)) == reach * step and 0 <= b < rows and 0 <= a < columns
                    and not defects[b, a]]
            if near:
                total = np.sum(near, 0, dtype=np.int64)
                result[y, x] = (2 * total + len(near)) // (2 * len(near))
                break
        else:
            return None
    return result


@given(pictures(), layouts, st.data())
def test_defects_become_the_mean_of_good_neighbours(a, layout, data):
    defects = data.draw(masks(a.shape))
    step = data.draw(st.sampled_from((1, 2))) if a.ndim == 2 else 1
    expected = naive(a, defects, step)
    image = laid_out(a, layout)
    if step == 2:
        image = ko.Frame(image, bayer="BGGR")
    if expected is None:
        with pytest.raises(ko.ArgumentError) as caught:
            ko.correct_defects(image, defects)
        assert caught.value.argument == "defects"
    else:
        assert np.array_equal(np.asarray(ko.correct_defects(image, defects)), expected)
        assert np.array_equal(np.asarray(ko.correct_defects(image, defects.astype(np.uint8) * 9)), expected)


def test_the_eighth_ring_is_the_last_one():
    a = np.arange(20, dtype=np.uint16).reshape(1, 20)
    defects = np.ones((1, 20), bool)
    defects[0, 10] = False
    with pytest.raises(ko.ArgumentError, match="row 0, column 0"):
        ko.correct_defects(a, defects)
    assert np.array_equal(ko.correct_defects(a[:, 2:19], defects[:, 2:19]), np.full((1, 17), 10))


def test_wrong_maps_are_named():
    a = np.zeros((4, 4), np.uint8)
    for wrong in (np.ones((4, 5), bool), np.ones((4, 4)), None, [[1]]):
        with pytest.raises((ko.ArgumentError, ko.SampleTypeError)) as caught:
            ko.correct_defects(a, wrong)
        assert caught.value.argument == "defects"
