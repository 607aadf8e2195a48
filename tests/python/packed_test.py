"""Packed samples: every format there and back, and against sums by hand."""
import os
import subprocess

import numpy as np
import pytest
from hypothesis import given
from hypothesis import strategies as st
from support import laid_out, layouts, pictures, random_picture

import koimproc as ko

# What names say, as depth and pattern.
ENDINGS = {"10p": 10, "12p": 12, "14p": 14, "10Packed": 10, "12Packed": 12, "8": 8, "10": 10, "12": 12, "14": 14,
           "16": 16, "10be": 10, "12be": 12, "14be": 14, "16be": 16, "10msb": 10, "12msb": 12, "14msb": 14}
BEGINNINGS = {"Mono": None, "BayerRG": "RGGB", "BayerGR": "GRBG", "BayerGB": "GBRG", "BayerBG": "BGGR"}
CSI2 = {"AA": 10, "CC": 12, "EE": 14}
CSI2_BEGINNINGS = {"pR": "RGGB", "pg": "GRBG", "pG": "GBRG", "pB": "BGGR"}
NAMED = {**{b + e: (bits, bayer) for b, bayer in BEGINNINGS.items() for e, bits in ENDINGS.items()},
         **{b + e: (bits, bayer) for b, bayer in CSI2_BEGINNINGS.items() for e, bits in CSI2.items()},
         **{f"Y{bits}P": (bits, None) for bits in CSI2.values()}}
FORMATS = {**{name: bits for name, (bits, bayer) in NAMED.items() if bayer is None}, "Csi2Raw10": 10, "Csi2Raw12": 12,
           "Csi2Raw14": 14, "Mono16BigEndian": 16, "Mono16MsbAligned": 16}


@given(pictures((np.uint16,), (1,)), layouts, st.sampled_from(list(FORMATS)), st.integers(0, 3))
def test_there_and_back(a, layout, name, gap):
    bits = FORMATS[name]
    a = (a & (1 << bits) - 1).astype(np.uint8 if bits == 8 else np.uint16)
    packed = ko.pack(laid_out(a, layout), name)
    f = ko.unpack(packed, name, a.shape)
    assert f.bits == bits and f.dtype == a.dtype and np.array_equal(f, a)
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


@pytest.mark.parametrize("name, bits, bayer", [(name, *meaning) for name, meaning in NAMED.items() if meaning[1]])
def test_names_say_depth_and_pattern(name, bits, bayer):
    a = random_picture((4, 8), np.uint8 if bits == 8 else np.uint16, bits)
    f = ko.Frame(a, bits=bits, bayer=bayer)
    back = ko.unpack(ko.pack(f, name), name, a.shape)
    assert (back.bits, back.bayer) == (bits, bayer) and np.array_equal(back, a)
    with pytest.raises(ko.ArgumentError) as caught:
        ko.unpack(bytes(99), name, (4, 8), bits=bits + 1)
    assert caught.value.argument == "bits"
    with pytest.raises(ko.ArgumentError) as caught:
        ko.unpack(bytes(99), name, (4, 8), bayer="GRBG" if bayer == "RGGB" else "RGGB")
    assert caught.value.argument == "bayer"
    with pytest.raises(ko.ArgumentError) as caught:
        ko.pack(ko.Frame(a, bits=bits), name)
    assert caught.value.argument == "format"


@pytest.mark.skipif("KO_TOOL" not in os.environ, reason="needs the tool ko")
@pytest.mark.parametrize("name", [name for name in NAMED if name in FORMATS or name.endswith(("12p", "AA"))])
def test_formats_are_those_of_the_tool(name, tmp_path):
    bits, bayer = NAMED[name]
    a = random_picture((4, 7), np.uint8 if bits == 8 else np.uint16, bits)
    (tmp_path / "frame.bin").write_bytes(ko.pack(ko.Frame(a, bits=bits, bayer=bayer), name))
    subprocess.run([os.environ["KO_TOOL"], "unpack", "frame.bin", "-o", "frame.tif", "--packed", name, "--size", "7,4",
                    "--quiet"], check=True, cwd=tmp_path)
    read = ko.imread(tmp_path / "frame.tif")
    assert (read.bits, read.bayer) == (bits, bayer) and np.array_equal(read, a)


def test_samples_beyond_the_depth_are_limited():
    a = np.array([[4095, 4096, 65535]], np.uint16)
    for name, dtype in (("Mono12", "<u2"), ("Mono12be", ">u2")):
        packed = ko.pack(a, name)
        assert packed.tobytes() == np.minimum(a, 4095).astype(dtype).tobytes()
        assert np.array_equal(ko.unpack(a.astype(dtype).tobytes(), name, a.shape), a)


def test_bytes_between_rows_stay():
    a = random_picture((3, 5), np.uint16, 12)
    space = np.full(60, 7, np.uint8)
    ko.pack(a, "Mono12", row_bytes=20, out=space)
    rows = space.reshape(3, 20)
    assert rows[:, :10].tobytes() == a.astype("<u2").tobytes() and (rows[:, 10:] == 7).all()
    assert np.array_equal(ko.unpack(space, "Mono12", a.shape, row_bytes=20), a)


def test_the_nearest_name_is_told():
    with pytest.raises(ko.ArgumentError, match="did you mean 'BayerRG12p'"):
        ko.unpack(b"abc", "BayerRG12P", (1, 2))


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
    ((b"abc", "Mono8", (2, 2)), "buffer"), ((b"abc", "Mono16", (1, 2)), "buffer"),
    ((b"abc", "Mono16", (2**30, 2**30)), "buffer"),
    ((b"abc", "Mono12p", (2**31, 2**31)), "shape"), ((b"abc", "Mono12p", (2**30, 2**30)), "buffer"),
])
def test_bad_arguments(arguments, name):
    with pytest.raises((ko.ArgumentError, ko.SampleTypeError)) as caught:
        ko.unpack(*arguments)
    assert caught.value.argument == name


def test_memory_of_objects_is_no_bytes():
    objects = np.array([None] * 9)
    for call in (lambda: ko.unpack(objects, "Mono8", (2, 2)),
                 lambda: ko.pack(np.zeros((2, 2), np.uint8), "Mono8", out=objects)):
        with pytest.raises(ko.SampleTypeError):
            call()
    assert objects.tolist() == [None] * 9
