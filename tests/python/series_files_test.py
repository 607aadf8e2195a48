"""Files of other programs: what koimproc.series makes of them is what imread and the tool make of them."""
import os

import h5py
import numpy as np
import OpenImageIO as oiio
import PIL.Image
import pytest
import tifffile
import zarr
from astropy.io import fits
from series_support import frames_of
from support import random_picture, tiff_of_few_bits

import koimproc as ko
from koimproc import series as ks

GRAY = random_picture((20, 31), np.uint16)
COLOUR = random_picture((20, 31, 3), np.uint16, seed=2)
BYTES = (COLOUR >> 8).astype(np.uint8)


def write_packed(path, compression):
    output = oiio.ImageOutput.create(str(path))
    spec = oiio.ImageSpec(31, 20, 3, "uint16")
    spec.attribute("compression", compression)
    output.open(str(path), spec)
    output.write_image(COLOUR)
    output.close()


TIFFS = {
    "big endian": lambda path: tifffile.imwrite(path, GRAY, byteorder=">"),
    "BigTIFF in tiles": lambda path: tifffile.imwrite(path, GRAY, bigtiff=True, tile=(16, 16)),
    "planes": lambda path: tifffile.imwrite(path, np.moveaxis(COLOUR, -1, 0), planarconfig="separate", photometric="rgb"),
    "five channels": lambda path: tifffile.imwrite(path, np.dstack([GRAY] * 5), photometric="minisblack", planarconfig="contig"),
    "transparency": lambda path: tifffile.imwrite(path, np.dstack([BYTES, BYTES[..., 0]]), photometric="rgb",
                                                  extrasamples=["unassalpha"]),
    "LZW": lambda path: write_packed(path, "lzw"),
    "PackBits": lambda path: write_packed(path, "packbits"),
    "JPEG": lambda path: PIL.Image.fromarray(BYTES).save(path, compression="jpeg"),
    "a palette": lambda path: PIL.Image.fromarray(BYTES).quantize(16).save(path),
    "one bit": lambda path: path.write_bytes(tiff_of_few_bits(GRAY >> 15, 1)),
    "four bits": lambda path: path.write_bytes(tiff_of_few_bits(GRAY >> 12, 4)),
    "twelve bits": lambda path: path.write_bytes(tiff_of_few_bits(GRAY >> 4, 12)),
}


@pytest.mark.parametrize("kind", TIFFS)
def test_tiff_files_are_those_of_imread_and_the_tool(kind, tmp_path):
    TIFFS[kind](tmp_path / "a.tif")
    series, frame = ks.open_series(tmp_path / "a.tif"), ko.imread(tmp_path / "a.tif")
    assert (series.bits, series.shape) == (frame.bits, frame.shape)
    np.testing.assert_array_equal(series[0], frame)
    ks.run({"operations": [{"op": "crop", "roi": [0, 0, 31, 20]}]}, series, tmp_path / "out", workers=1)
    same = ko.imread(tmp_path / "out/a.tif")
    assert same.bits == frame.bits
    np.testing.assert_array_equal(same, frame)


def test_pages_that_tifffile_does_not_decode_are_read_too(tmp_path):
    pages = [PIL.Image.fromarray(BYTES), PIL.Image.fromarray(255 - BYTES)]
    pages[0].save(tmp_path / "a.tif", save_all=True, append_images=pages[1:], compression="tiff_lzw")
    series = ks.open_series(tmp_path / "a.tif")
    assert len(series) == 2
    np.testing.assert_array_equal(series[1], 255 - BYTES)


@pytest.mark.parametrize("byteorder", "<>")
def test_frames_behind_the_only_page_are_found(byteorder, tmp_path):
    """As ImageJ writes stacks of more than 4 GB."""
    frames = frames_of(5, (6, 8))
    tifffile.imwrite(tmp_path / "a.tif", frames, truncate=True, photometric="minisblack", byteorder=byteorder)
    series = ks.open_series(tmp_path / "a.tif")
    assert (len(series), series.dtype) == (5, np.dtype("u2"))
    np.testing.assert_array_equal(list(series), frames)
    np.testing.assert_array_equal(ks.accumulate(series, "max", workers=2)[0].result()["max"], frames.max(0))


def cut_stack(path, frames):
    tifffile.imwrite(path, frames, truncate=True, photometric="minisblack")


def cut_cube(path, frames):
    fits.PrimaryHDU(frames).writeto(path)


@pytest.mark.parametrize("write, name", [(cut_stack, "a.tif"), (cut_cube, "a.fits")])
def test_files_that_become_shorter_while_they_are_read_end_no_program(write, name, tmp_path):
    frames = frames_of(9, (64, 64))
    write(tmp_path / name, frames)
    series = ks.open_series(tmp_path / name)
    with series.reader() as read:
        np.testing.assert_array_equal(read(0), frames[0])
        os.truncate(tmp_path / name, 20000)
        with pytest.raises(ks.FrameError, match=r"\[8\]"):
            read(8)


@pytest.mark.parametrize("ending", ["png", "pgm"])
def test_pictures_need_no_program_of_their_own(ending, tmp_path, monkeypatch):
    for index in range(2):
        if ending == "png":
            PIL.Image.fromarray(BYTES).save(tmp_path / f"{index}.png")
        else:
            (tmp_path / f"{index}.pgm").write_bytes(b"P5 31 20 4095\n" + (GRAY >> 4).astype(">u2").tobytes())
    monkeypatch.setenv("KO_TOOL", "/nowhere/ko")
    series = ks.open_series(tmp_path / f"*.{ending}")
    frame = ko.imread(tmp_path / f"1.{ending}")
    assert (len(series), series.bits) == (2, frame.bits)
    np.testing.assert_array_equal(series[1], frame)


def test_fits_files_with_tables_and_compressed_ones(tmp_path):
    frames = frames_of(4, (20, 31))
    table = fits.BinTableHDU.from_columns([fits.Column("a", "J", array=[1, 2])])
    for index, frame in enumerate(frames):
        fits.HDUList([fits.PrimaryHDU(), fits.CompImageHDU(frame, compression_type="RICE_1")]).writeto(
            tmp_path / f"{index}.fits.fz")
    series = ks.open_series(tmp_path / "*.fits.fz")
    np.testing.assert_array_equal(list(series), frames)
    report = ks.run({"operations": [{"op": "median", "radius": 1}]}, series, tmp_path / "out", workers=1)
    assert report.done == 4
    np.testing.assert_array_equal(ks.open_series(tmp_path / "out/*.tif")[2], ko.median(frames[2], 1))
    for ending in ("fits", "fits.gz", "fits.fz"):
        image = fits.CompImageHDU(frames, compression_type="RICE_1") if ending == "fits.fz" else fits.ImageHDU(frames)
        image.header["BAYERPAT"] = "GRBG"
        fits.HDUList([fits.PrimaryHDU(), table, image]).writeto(tmp_path / f"cube.{ending}")
        cube = ks.open_series(tmp_path / f"cube.{ending}")
        assert (len(cube), cube.bayer) == (4, "GRBG"), ending
        np.testing.assert_array_equal(cube[3], frames[3])
    fits.HDUList([fits.PrimaryHDU(), table]).writeto(tmp_path / "table.fits")
    with pytest.raises(ks.FrameError, match="no image in the file"):
        ks.open_series(tmp_path / "table.fits")


def test_the_datasets_that_may_be_meant_are_told(tmp_path):
    with h5py.File(tmp_path / "a.h5", "w") as file:
        file["entry/data/data"], file["dark"] = frames_of(3), frames_of(2)
        file["entry/flat"], file["note"] = frames_of(1)[0], "text"
    with pytest.raises(ko.ArgumentError, match="wanted, such as dark, entry/data/data$"):
        ks.open_series(tmp_path / "a.h5")


def test_an_array_holds_no_other_array(tmp_path):
    zarr.save(str(tmp_path / "a.zarr"), frames_of(3))
    with pytest.raises(ks.FrameError, match="there is no array 'b'"):
        ks.open_series(tmp_path / "a.zarr", dataset="b")
