"""What users point at: files of every make, and what is said of those that hold no series."""
import os
import resource

import h5py
import numpy as np
import pytest
import tifffile
import zarr
from astropy.io import fits
from series_support import accumulator, digest, frames_of, stored

import koimproc as ko
from koimproc import series as ks

FRAMES = frames_of(7, (12, 17))


@pytest.fixture
def hdf5(tmp_path):
    with h5py.File(tmp_path / "a.h5", "w") as file:
        file.create_dataset("packed", data=FRAMES, compression="gzip", chunks=(2, 5, 6), shuffle=True, fletcher32=True)
        file.create_dataset("growing", data=FRAMES, compression="lzf", maxshape=(None, 12, 17))
        file["big endian"] = FRAMES.astype(">u2")
        file["group/frames"] = FRAMES
        file["link"] = h5py.SoftLink("/group/frames")
        file["flat"], file["number"], file["wide"] = FRAMES[0], 5, np.zeros((2, 3, 4, 5, 6), "u2")
        file["none"] = FRAMES[:0]
    return tmp_path / "a.h5"


def same(series):
    np.testing.assert_array_equal(list(series), FRAMES)
    assert digest(ks.accumulate(series, "mean", workers=2, frames_per_part=3)[0]) == digest(accumulator(FRAMES, ("mean",), bits=16))
    return True


@pytest.mark.parametrize("dataset", ["packed", "growing", "big endian", "group/frames", "link"])
@pytest.mark.parametrize("ending", [".h5", ".hdf", ".nxs"])
def test_hdf5_of_any_layout(dataset, ending, hdf5):
    name = hdf5.rename(hdf5.with_suffix(ending))
    assert same(ks.open_series(name, dataset=dataset))


@pytest.mark.parametrize("dataset, said", [
    ("flat", r"'flat': an array .* is wanted, not the shape \(12, 17\)"), ("number", r"not the shape \(\)"), ("group", "not a group"),
    ("wide", "not the shape"), ("missing", r"a.h5: .*'missing' doesn't exist\)$"), ("none", "at least one frame")])
def test_other_datasets_are_refused(dataset, said, hdf5):
    with pytest.raises((ks.FrameError, ValueError), match=said):
        ks.open_series(hdf5, dataset=dataset)


def test_zarr_groups_and_arrays_with_any_name(tmp_path):
    group = zarr.open_group(str(tmp_path / "group"), mode="w")
    group.create_dataset("a/frames", data=FRAMES, chunks=(2, 6, 17))
    assert same(ks.open_series(tmp_path / "group", dataset="a/frames"))
    assert same(ks.open_series(tmp_path / "group/a/frames"))
    for dataset, said in ((None, "not a group"), ("a", "not a group"), ("b", "no array 'b'")):
        with pytest.raises(ks.FrameError, match=said):
            ks.open_series(tmp_path / "group", dataset=dataset)


@pytest.mark.parametrize("part", [fits.ImageHDU, fits.CompImageHDU])
def test_fits_cubes_in_extensions(part, tmp_path):
    fits.HDUList([fits.PrimaryHDU(), part(FRAMES, name="SCI"), fits.ImageHDU(FRAMES[:2])]).writeto(tmp_path / "a.fits")
    for dataset in (None, 1, "SCI"):
        assert same(ks.open_series(tmp_path / "a.fits", dataset=dataset))


def test_fits_cubes_of_pictures_have_channels(tmp_path):
    pictures = FRAMES[:6].reshape(2, 3, *FRAMES.shape[1:])
    cube = fits.ImageHDU(pictures)
    cube.header["BAYERPAT"] = "GRBG"
    fits.HDUList([fits.PrimaryHDU(), cube]).writeto(tmp_path / "a.fits")
    series = ks.open_series(tmp_path / "a.fits")
    assert (len(series), series.shape, series.bayer) == (2, (*FRAMES.shape[1:], 3), None)
    for frame, picture in zip(series, pictures):
        np.testing.assert_array_equal(frame, np.moveaxis(picture, 0, -1))
        assert frame.flags.c_contiguous


def test_pages_of_other_sizes_fail_alone(tmp_path):
    with tifffile.TiffWriter(tmp_path / "a.tif") as file:
        for index, frame in enumerate(FRAMES):
            file.write(frame[:5] if index == 2 else frame, photometric="minisblack")
    _, report = ks.accumulate(ks.open_series(tmp_path / "a.tif"), "mean", on_error="skip", workers=1)
    assert report.done == 6 and [name[-3:] for name, _ in report.failed] == ["[2]"]


@pytest.mark.parametrize("frames", [5, None, b"darks"])
def test_what_is_no_path_is_told(frames):
    with pytest.raises(ko.ArgumentError, match="frames: a path, a pattern or a list of paths is wanted"):
        ks.open_series(frames)


def test_slices_of_slices_get_no_deeper(tmp_path):
    zarr.save(str(tmp_path / "a.zarr"), FRAMES)
    series = ks.open_series(tmp_path / "a.zarr")
    assert np.array_equal(list(series[::-1][1:6][::2]), FRAMES[::-1][1:6][::2])
    assert np.array_equal(list(series[1:6][::-1][1:]), FRAMES[1:6][::-1][1:])
    assert series[1:5][1:].key() == series[2:5].key()
    for _ in range(1500):
        series = series[:]
    assert same(series)


def test_a_function_that_makes_no_frame_is_told(tmp_path):
    zarr.save(str(tmp_path / "a.zarr"), FRAMES)
    for result in (5, None, FRAMES[0, 0]):
        with pytest.raises(ks.FrameError, match="function"):
            ks.open_series(tmp_path / "a.zarr").map(lambda frame, result=result: result)


def test_names_may_have_gaps_blanks_and_any_letters(tmp_path):
    folder = tmp_path / "Bilder für Übung"
    folder.mkdir()
    for number in (100, 5, 11, 1, 2):
        ks.write_frame(folder / f"shot {number} ü.tif", FRAMES[0], 12)
    series = ks.open_series(folder / "shot *.tif")
    assert [os.path.basename(name).split()[1] for name in series.names] == ["1", "2", "5", "11", "100"]
    assert ks.run({"operations": []}, series, tmp_path / "Ergebnis ß", workers=1).done == 5
    assert len(list((tmp_path / "Ergebnis ß").glob("shot *.tif"))) == 5


@pytest.mark.parametrize("dtype", ["i2", "u4", "f4"])
def test_samples_of_other_types_are_refused_by_name(dtype, tmp_path):
    series = stored("hdf5", FRAMES.astype(dtype), tmp_path)
    for work in (lambda: ks.accumulate(series, "mean"), lambda: ks.describe(series),
                 lambda: ks.run({"operations": []}, series, tmp_path / "out")):
        with pytest.raises(TypeError, match=f"uint8 or uint16 are wanted, not {np.dtype(dtype)}"):
            work()


def test_directories_and_missing_files_are_told_apart(tmp_path):
    with pytest.raises(IsADirectoryError, match=r"a pattern such as .*\*.tif is wanted"):
        ks.open_series(tmp_path)
    for name in ("no.h5", "no.zarr", "no.tif", "no*.tif", "no/*.tif"):
        with pytest.raises(FileNotFoundError, match="no such files"):
            ks.open_series(tmp_path / name, dataset="x")


@pytest.mark.skipif(os.geteuid() != 0, reason="only root may become somebody else")
def test_what_must_not_be_read_is_not_called_missing(tmp_path):
    stored("tiff files", FRAMES, tmp_path)
    for folder in (tmp_path, *list(tmp_path.parents)[:2]):
        folder.chmod(0o711)
    os.seteuid(65534)
    try:
        with pytest.raises(PermissionError):
            ks.open_series(tmp_path / "*.tif")
    finally:
        os.seteuid(0)


def test_a_full_disk_says_so_and_where(tmp_path):
    sums = accumulator(frames_of(2, (64, 64)))
    before = resource.getrlimit(resource.RLIMIT_FSIZE)
    resource.setrlimit(resource.RLIMIT_FSIZE, (20000, before[1]))
    try:
        with pytest.raises(OSError, match="File too large.*sums") as caught:
            sums.save(tmp_path / "sums")
    finally:
        resource.setrlimit(resource.RLIMIT_FSIZE, before)
    assert caught.value.filename == str(tmp_path / "sums") and not list(tmp_path.iterdir())
