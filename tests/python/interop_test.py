"""Pixels of other libraries, wherever NumPy sees their memory."""
import array
import ctypes

import numpy as np
import PIL.Image
import pytest
from support import random_picture

import koimproc as ko

A = random_picture((30, 40))


class Shown:
    """Has nothing but the array interface."""

    def __init__(self, array):
        self.array = array
        self.__array_interface__ = array.__array_interface__


class Handed:
    """Has nothing but DLPack."""

    def __init__(self, array):
        self.array = array

    def __dlpack__(self, **arguments):
        return self.array.__dlpack__(**arguments)

    def __dlpack_device__(self):
        return self.array.__dlpack_device__()


class Made:
    """Has nothing but a method that makes an array."""

    def __array__(self, dtype=None, copy=None):
        return A


@pytest.mark.parametrize("pixels", [Shown(A), Handed(A.copy()), Made(), memoryview(A), np.asmatrix(A),
                                    memoryview(A.tobytes()).cast("B", A.shape), A.view(np.recarray)],
                         ids=lambda v: type(v).__name__)
def test_objects_with_memory(pixels):
    assert np.array_equal(ko.median(pixels), ko.median(A))
    assert np.array_equal(ko.histogram(pixels, mask=Shown(A > 9)), ko.histogram(A, A > 9))
    assert np.array_equal(ko.Frame(pixels), A)


def test_memory_is_seen_and_not_copied():
    for pixels in (Shown(A), memoryview(A)):
        assert np.shares_memory(np.asarray(ko.Frame(pixels)), A)
    handed = A.copy()
    assert np.shares_memory(np.asarray(ko.Frame(Handed(handed))), handed)


def test_pictures_of_pillow():
    colour = random_picture((20, 30, 3))
    assert np.array_equal(ko.median(PIL.Image.fromarray(colour)), ko.median(colour))
    assert np.array_equal(ko.minmax(PIL.Image.fromarray(A)), ko.minmax(A))
    assert np.array_equal(np.asarray(PIL.Image.fromarray(np.asarray(ko.Frame(A)))), A)


def test_bytes_of_a_qimage_are_seen_by_their_stride():
    # A QImage pads its rows to whole words; its bytes come as a buffer.
    stride = 44
    memory = bytearray(30 * stride)
    seen = np.frombuffer(memory, np.uint8).reshape(30, stride)[:, :40]
    seen[...] = A
    assert np.array_equal(ko.median(seen), ko.median(A))
    ko.median(A, out=seen)
    assert np.array_equal(np.frombuffer(memory, np.uint8).reshape(30, stride)[:, :40], ko.median(A))


def test_frames_go_where_arrays_go():
    f = ko.Frame(A)
    assert np.array_equal(np.add(f, 1), A + 1)
    assert np.median(f) == np.median(A)
    assert np.concatenate([f, f]).shape == (60, 40)


def test_buffers_of_rows_are_seen():
    memory = (ctypes.c_uint16 * 40 * 30)()
    seen = np.asarray(ko.Frame(memory, bits=12))
    seen[...] = A
    assert seen.dtype == np.uint16 and [list(row) for row in memory] == A.tolist()
    assert np.array_equal(ko.median(memory), ko.median(A.astype(np.uint16)))


@pytest.mark.parametrize("pixels", [A.tobytes(), bytearray(A.tobytes()), array.array("B", A.tobytes()),
                                    (ctypes.c_ubyte * A.size)()], ids=lambda v: type(v).__name__)
def test_what_to_do_with_bytes_is_told(pixels):
    with pytest.raises(ko.SampleTypeError, match=r"image: an array is wanted, .*np.frombuffer\(..., dtype=\).reshape"):
        ko.median(pixels)


def test_closed_memory():
    view = memoryview(bytearray(A.tobytes())).cast("B", A.shape)
    view.release()
    with pytest.raises(ko.ArgumentError) as caught:
        ko.median(view)
    assert caught.value.argument == "image"


@pytest.mark.parametrize("memory", [np.zeros((4, 4), bool), np.zeros((4, 4), ">u2")])
def test_memory_that_dlpack_does_not_have(memory):
    with pytest.raises(ko.ArgumentError, match="image: memory that cannot be read"):
        ko.median(Handed(memory))


def test_results_go_into_the_memory_of_subclasses():
    a = random_picture((6, 8), np.uint8)
    out = np.zeros((6, 8), np.uint8).view(np.matrix)
    defects = np.eye(6, 8, dtype=bool)
    ko.correct_defects(a, defects, out=out)
    assert np.array_equal(np.asarray(out), ko.correct_defects(a, defects))
    with pytest.raises(ko.SampleTypeError, match="out: a masked array"):
        ko.median(a, out=np.ma.zeros((6, 8), np.uint8))
