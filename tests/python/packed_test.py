"""Packed samples: every format there and back, and against sums by hand."""
import numpy as np
import pytest
from hypothesis import given
from hypothesis import strategies as st
from support import laid_out, layouts, pictures, random_picture

import koimproc as ko

FORMATS = {"Mono10p": 10, "Mono12p": 12, "Mono14p": 14, "Mono10Packed": 10, "Mono12Packed": 12, "Csi2Raw10": 10,
           "Csi2Raw12": 12, "Csi2Raw14": 14, "Mono16BigEndian": 16, "Mono16MsbAligned": 16}


@given(pictures((np.uint16,), (1,)), layouts, st.sampled_from(list(FORMATS)), st.integers(0, 3))
def test_there_and_back(a, layout, name, gap):
    bits = FORMATS[name]
    a &= (1 << bits) - 1
    packed = ko.pack(laid_out(a, layout), name)
    f = ko.unpack(packed, name, a.shape)
    assert f.bits == bits and np.array_equal(f, a)
    if gap and a.size:
        row_bytes = len(packed) // a.shape[0] + gap
        wider = ko.pack(a, name, row_bytes=row_bytes)
        assert np.array_equal(ko.unpack(wider.tobytes(), name, a.shape, row_bytes=row_bytes), a)
        with pytest.raises(ko.ArgumentError) as caught:
            ko.unpack(packed[:-1], name, a.shape)
        assert caught.value.argument == "buffer"


def test_formats_as_strings_of_bits():
    a = random_picture((3, 8), np.uint16, 12)
    string = "".join(format(v, "012b")[::-1] for v in a[0])
    expected = bytes(int(string[i:i + 8][::-1], 2) for i in range(0, len(string), 8))
    assert ko.pack(a[:1], "Mono12p").tobytes() == expected
    assert ko.pack(a, "Mono16BigEndian").tobytes() == a.astype(">u2").tobytes()
    assert ko.pack(ko.Frame(a, 12), "Mono16MsbAligned").tobytes() == (a << 4).astype("<u2").tobytes()


@pytest.mark.parametrize("name, bayer, bits", [("BayerRG12p", "RGGB", 12), ("BayerGR10Packed", "GRBG", 10),
                                               ("BayerGB14p", "GBRG", 14), ("BayerBG12Packed", "BGGR", 12),
                                               ("pRAA", "RGGB", 10), ("pgCC", "GRBG", 12), ("pGEE", "GBRG", 14),
                                               ("pBAA", "BGGR", 10)])
def test_names_say_depth_and_pattern(name, bayer, bits):
    a = random_picture((4, 8), np.uint16, bits)
    f = ko.Frame(a, bits=bits, bayer=bayer)
    back = ko.unpack(ko.pack(f, name), name, a.shape)
    assert (back.bits, back.bayer) == (bits, bayer) and np.array_equal(back, a)
    with pytest.raises(ko.ArgumentError) as caught:
        ko.unpack(bytes(99), name, (4, 8), bits=bits + 1)
    assert caught.value.argument == "bits"
    with pytest.raises(ko.ArgumentError) as caught:
        ko.pack(ko.Frame(a, bits=bits), name)
    assert caught.value.argument == "format"


def test_words_take_a_depth_and_a_pattern():
    f = ko.unpack(bytes([0x0F, 0xFF, 0, 1]), "Mono16BigEndian", (1, 2), bits=12, bayer="GRBG")
    assert (f.bits, f.bayer) == (12, "GRBG") and np.asarray(f).tolist() == [[4095, 1]]
    f = ko.unpack(bytes([0xF0, 0xFF]), "Mono16MsbAligned", (1, 1), bits=12)
    assert np.asarray(f).tolist() == [[4095]]


def test_out_of_unpack_and_pack_is_used():
    a = random_picture((4, 6), np.uint16, 12)
    packed = ko.pack(a, "Mono12p")
    out = np.zeros((4, 6), np.uint16)
    f = ko.unpack(packed, "Mono12p", (4, 6), out=out)
    assert np.asarray(f) is out and np.array_equal(out, a)
    space = bytearray(b"\xff" * (len(packed) + 3))
    ko.pack(a, "Mono12p", out=space)
    assert bytes(space) == packed.tobytes() + b"\xff\xff\xff"
    for bad in (bytes(len(packed)), bytearray(3), 5, out[:, ::2]):
        with pytest.raises((ko.ArgumentError, ko.SampleTypeError)) as caught:
            ko.pack(a, "Mono12p", out=bad)
        assert caught.value.argument == "out"
    with pytest.raises(ko.ArgumentError) as caught:
        ko.unpack(out, "Mono12p", (4, 4), out=out[:, :4])
    assert caught.value.argument == "out"


@pytest.mark.parametrize("arguments, name", [
    ((5, "Mono12p", (1, 1)), "buffer"), ((None, "Mono12p", (1, 1)), "buffer"), (([1, 2], "Mono12p", (1, 1)), "buffer"),
    ((b"", "Mono12p", (1, 1)), "buffer"), ((b"abc", "Mono13p", (1, 1)), "format"), ((b"abc", 3, (1, 1)), "format"),
    ((b"abc", "Mono12p", (1,)), "shape"), ((b"abc", "Mono12p", (-1, 1)), "shape"), ((b"abc", "Mono12p", 3), "shape"),
    ((b"abc", "Mono12p", (2**31, 2**31)), "shape"), ((b"abc", "Mono12p", (2**30, 2**30)), "buffer"),
])
def test_bad_arguments(arguments, name):
    with pytest.raises((ko.ArgumentError, ko.SampleTypeError)) as caught:
        ko.unpack(*arguments)
    assert caught.value.argument == name
