"""Files."""
import importlib
import os
import shutil
import sys
from pathlib import Path

import numpy as np
import OpenImageIO as oiio
import pytest
from support import random_picture, tiff_of_few_bits

import koimproc as ko


@pytest.mark.parametrize("shape, dtype, name", [((5, 7), np.uint8, "a.png"), ((5, 7, 3), np.uint8, "a.png"),
                                                ((5, 7, 4), np.uint16, "a.png"), ((5, 7), np.uint16, "a.tif"),
                                                ((5, 7), np.float32, "a.tif")])
def test_pictures_are_read_as_they_are(tmp_path, shape, dtype, name):
    a = random_picture(shape, np.uint16).astype(dtype)
    output = oiio.ImageOutput.create(str(tmp_path / name))
    spec = oiio.ImageSpec(shape[1], shape[0], a[..., None].shape[2], np.dtype(dtype).name.removesuffix("32"))
    spec.attribute("oiio:UnassociatedAlpha", 1)
    output.open(str(tmp_path / name), spec)
    output.write_image(a.reshape(*shape[:2], -1))
    output.close()
    f = ko.imread(tmp_path / name)
    assert f.dtype == dtype and f.bits == 8 * a.itemsize and f.bayer is None
    assert np.array_equal(f, a)


def test_a_description_says_depth_and_pattern(tmp_path):
    a = random_picture((6, 8), np.uint16, 12)
    name = str(tmp_path / "mosaic.tif")
    spec = oiio.ImageSpec(8, 6, 1, oiio.UINT16)
    spec.attribute("ImageDescription", "koimproc bits=12 grid=GRBG")
    output = oiio.ImageOutput.create(name)
    output.open(name, spec)
    output.write_image((a << 4)[..., None])
    output.close()
    f = ko.imread(name)
    assert (f.bits, f.bayer) == (12, "GRBG") and np.array_equal(f, a)


@pytest.mark.skipif("KO_TOOL" not in os.environ, reason="the tool is not built")
def test_a_raw_file_is_its_mosaic(tmp_path, monkeypatch):
    sys.path.insert(0, str(Path(__file__).parents[1] / "tool"))
    from raw_test import dng

    a = random_picture((24, 32), np.uint16, 12)
    (tmp_path / "a.dng").write_bytes(dng(32, 24, a.ravel().tolist(), "gbrg", black=(64,), white=4095))
    monkeypatch.setenv("PATH", f"{Path(os.environ['KO_TOOL']).parent}:{os.environ['PATH']}")
    f = ko.imread(tmp_path / "a.dng")
    assert (f.bits, f.bayer) == (12, "GBRG")
    assert np.array_equal(f, np.maximum(a, 64) - 64)
    (tmp_path / "b.dng").write_bytes(dng(32, 24, a.ravel().tolist(), "gbrg")[:900])
    with pytest.raises(OSError):
        ko.imread(tmp_path / "b.dng")
    # It is a TIFF file too, and OpenImageIO would make something of it.
    (tmp_path / "c.DNG").write_bytes(dng(32, 24, a.ravel().tolist(), "gbrg", more={259: (3, (5,))}))
    with pytest.raises(OSError, match="c.DNG: its samples are compressed by LZW"):
        ko.imread(tmp_path / "c.DNG")


@pytest.mark.skipif("KO_TOOL" not in os.environ, reason="the tool is not built")
def test_a_raw_file_tells_what_develops_it(tmp_path, monkeypatch):
    sys.path.insert(0, str(Path(__file__).parents[1] / "tool"))
    from linear_raw_test import linear
    from raw_test import dng

    monkeypatch.setenv("PATH", f"{Path(os.environ['KO_TOOL']).parent}:{os.environ['PATH']}")
    seen = {"R": 0.5, "G": 1, "B": 0.7}
    cell = np.array([[seen["G"], seen["B"]], [seen["R"], seen["G"]]])
    gray = np.rint(64 + 0.25 * np.tile(cell, (12, 16)) * (4000 - 64)).astype(int)
    (tmp_path / "a.dng").write_bytes(dng(32, 24, gray.ravel().tolist(), "gbrg", (64,), 4000, neutral=tuple(seen.values())))
    info = ko.raw_info(tmp_path / "a.dng")
    assert isinstance(info, ko.RawInfo) and info.white == 4000 - 64
    assert info.gains == pytest.approx((1, 1 / 0.7, 2, 1), rel=1e-5)
    rgb = np.asarray(ko.develop(ko.imread(tmp_path / "a.dng"), info.gains, white=info.white))
    assert np.ptp(rgb) <= 1 and abs(int(rgb[0, 0, 0]) - 137) <= 1
    (tmp_path / "b.dng").write_bytes(linear(32, 24, [100] * 32 * 24 * 3, neutral=(0.5, 1, 0.7)))
    assert ko.raw_info(str(tmp_path / "b.dng")).gains == pytest.approx((2, 1, 1 / 0.7), rel=1e-5)
    assert ko.imread(tmp_path / "b.dng").shape == (24, 32, 3)
    (tmp_path / "c.dng").write_bytes(dng(32, 24, [100] * 32 * 24, "rggb", white=4095, neutral=None))
    assert ko.raw_info(tmp_path / "c.dng") == (4095, None)
    (tmp_path / "d.dng").write_bytes(b"none")
    with pytest.raises(OSError, match="d.dng: cannot be read"):
        ko.raw_info(tmp_path / "d.dng")
    (tmp_path / "e.pgm").write_bytes(b"P5 1 1 255 a")
    with pytest.raises(ko.ArgumentError, match="e.pgm: no raw file"):
        ko.raw_info(tmp_path / "e.pgm")
    with pytest.raises(FileNotFoundError):
        ko.raw_info(tmp_path / "missing.dng")


def test_files_that_cannot_be_read(tmp_path):
    for name in ("missing.png", "missing.fits", "missing.dng"):
        with pytest.raises(FileNotFoundError, match=name):
            ko.imread(tmp_path / name)
    with pytest.raises(IsADirectoryError):
        ko.imread(tmp_path)
    (tmp_path / "broken.png").write_bytes(b"no picture")
    with pytest.raises(OSError):
        ko.imread(tmp_path / "broken.png")


def test_without_openimageio_the_package_is_named(monkeypatch):
    def refused(name):
        raise ImportError(name)
    monkeypatch.setattr(importlib, "import_module", refused)
    with pytest.raises(ImportError, match="python3-openimageio"):
        ko.imread("a.png")


def test_a_raw_file_without_the_tool_names_the_tool(monkeypatch):
    import koimproc._io
    monkeypatch.setattr(shutil, "which", lambda name: None)
    with pytest.raises(OSError, match="koimproc-tools"):
        koimproc._io._read_raw("a.dng")


@pytest.mark.parametrize("maximum, bits", [(255, 8), (100, 8), (1, 8), (4095, 12), (1023, 10), (65535, 16), (1000, 16)])
@pytest.mark.parametrize("channels", [1, 3])
def test_netpbm_files_are_read_exactly(tmp_path, maximum, bits, channels):
    levels = np.arange(maximum + 1, dtype=">u2" if maximum > 255 else np.uint8).repeat(3)
    kind = 5 if channels == 1 else 6
    columns = levels.size // channels
    (tmp_path / "a.pnm").write_bytes(b"P%d #c 1\n%d 1 # \n%d\n" % (kind, columns, maximum) + levels.tobytes() + b"rest")
    f = ko.imread(tmp_path / "a.pnm")
    top = 2**bits - 1
    expected = (levels.astype(int) * top + maximum // 2) // maximum
    assert f.bits == bits and np.array_equal(np.asarray(f).ravel(), expected)
    assert f.shape == ((1, columns) if channels == 1 else (1, columns, 3))
    text = "\n".join(map(str, levels.tolist())).replace("\n", " # 7\n", 1)
    (tmp_path / "b.pnm").write_text(f"P{kind - 3} #c 1\n{columns} 1\n{maximum}\n{text}")
    again = ko.imread(tmp_path / "b.pnm")
    assert again.bits == bits and np.array_equal(again, f)


@pytest.mark.parametrize("contents", [b"P5 2 2 65535 1234567", b"P2 2 2 4095 1 2 3", b"P2 2 2 4095 1 2 -3 4",
                                      b"P3 1 1 255 1 2", b"P5 2 2 70000 12345678", b"P5 2 2 0 1234",
                                      pytest.param(b"P2 1 1 255 " + 5000 * b"9", id="5000 digits"),
                                      pytest.param(b"P5 " + 5000 * b"9" + b" 1 255 1", id="5000 digits of columns"),
                                      pytest.param(b"P2 1 1 " + 5000 * b"9" + b" 1", id="5000 digits of the maximum")])
def test_damaged_netpbm_files_are_refused(tmp_path, contents):
    (tmp_path / "a.pnm").write_bytes(contents)
    with pytest.raises(OSError, match="cut short"):
        ko.imread(os.fsencode(tmp_path / "a.pnm"))


def test_halves_become_floats(tmp_path):
    a = np.array([[0.5, -2.0, 65504.0]], np.float16)
    name = str(tmp_path / "a.exr")
    output = oiio.ImageOutput.create(name)
    output.open(name, oiio.ImageSpec(3, 1, 1, oiio.HALF))
    output.write_image(a[..., None])
    output.close()
    assert ko.imread(name).dtype == np.float32 and np.array_equal(ko.imread(name), a)


def test_fits_files_are_read_as_astropy_reads_them(tmp_path):
    fits = pytest.importorskip("astropy.io.fits")
    a = random_picture((3, 5, 8), np.uint16)
    image = fits.ImageHDU(a[0])
    image.header["BAYERPAT"] = "GBRG"
    fits.HDUList([fits.PrimaryHDU(), image]).writeto(tmp_path / "mosaic.fits")
    image.header["XBAYROFF"] = 1.0
    fits.HDUList([fits.PrimaryHDU(), image]).writeto(tmp_path / "part.fits")
    image.header["YBAYROFF"] = 3
    fits.HDUList([fits.PrimaryHDU(), image]).writeto(tmp_path / "corner.fits")
    assert [ko.imread(tmp_path / name).bayer for name in ("part.fits", "corner.fits")] == ["BGGR", "GRBG"]
    fits.PrimaryHDU(a).writeto(tmp_path / "colours.FIT.gz")
    f = ko.imread(tmp_path / "mosaic.fits")
    assert (f.dtype, f.bits, f.bayer) == (np.uint16, 16, "GBRG") and np.array_equal(f, a[0])
    assert np.array_equal(ko.imread(tmp_path / "colours.FIT.gz"), np.moveaxis(a, 0, -1))
    (tmp_path / "bad.fits").write_text("nonsense")
    with pytest.raises(OSError, match="bad.fits"):
        ko.imread(tmp_path / "bad.fits")


@pytest.mark.parametrize("bits", [10, 12, 14])
def test_tiff_files_of_few_bits_keep_their_levels(tmp_path, bits):
    a = random_picture((20, 31), np.uint16, bits)
    (tmp_path / "a.tif").write_bytes(tiff_of_few_bits(a, bits))
    f = ko.imread(tmp_path / "a.tif")
    assert (f.bits, f.bayer) == (bits, None) and np.array_equal(f, a)


@pytest.mark.parametrize("ending", ["fits.fz", "FTS.bz2", "fit.gz"])
def test_compressed_fits_files(tmp_path, ending):
    fits = pytest.importorskip("astropy.io.fits")
    a = random_picture((20, 31), np.uint16)
    image = fits.CompImageHDU(a, compression_type="RICE_1") if ending.endswith("fz") else fits.ImageHDU(a)
    table = fits.BinTableHDU.from_columns([fits.Column("a", "J", array=[1])])
    fits.HDUList([fits.PrimaryHDU(), table, image]).writeto(tmp_path / f"a.{ending}")
    assert np.array_equal(ko.imread(tmp_path / f"a.{ending}"), a)


def test_a_cube_of_mosaics_is_read_without_their_pattern(tmp_path):
    fits = pytest.importorskip("astropy.io.fits")
    cube = fits.PrimaryHDU(random_picture((4, 6, 8), np.uint16))
    cube.header["BAYERPAT"] = "RGGB"
    cube.writeto(tmp_path / "a.fits")
    assert (ko.imread(tmp_path / "a.fits").shape, ko.imread(tmp_path / "a.fits").bayer) == ((6, 8, 4), None)
