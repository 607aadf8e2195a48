"""Series in files of every kind, and what is compared of results."""
import hashlib

import h5py
import numpy as np
import tifffile
import zarr
from astropy.io import fits

from koimproc import series as ks

EVERYTHING = ("mean", "var", "min", "max", "above", "hist")


def frames_of(count=13, shape=(12, 17), dtype="u2", top=4096):
    return np.random.default_rng(3).integers(0, top, (count, *shape), dtype)


def accumulator(frames, what=EVERYTHING, **options):
    sums = ks.Accumulator(*what, level=2000 if "above" in what else None, **options)
    sums.add(*frames)
    return sums


def digest(sums):
    """Of all integers and all results."""
    known = hashlib.sha256(repr((sums.frames, sums.what)).encode())
    for part in (sums.planes, sums.result(), sums.result(ddof=1)):
        for name in sorted(part):
            known.update(name.encode() + np.ascontiguousarray(part[name]).tobytes())
    return known.hexdigest()


def stored(kind, frames, directory):
    """The frames in files of a kind, opened."""
    if kind == "tiff files":
        for index, frame in enumerate(frames):
            ks.write_frame(directory / f"dark{index}.tif", frame, 12, "GRBG")
        return ks.open_series(directory / "dark*.tif")
    if kind == "fits files":
        for index, frame in enumerate(frames):
            fits.PrimaryHDU(frame).writeto(directory / f"dark{index}.fits")
        return ks.open_series(directory / "dark*.fits")
    if kind == "tiff pages":
        tifffile.imwrite(directory / "stack.tif", frames, photometric="minisblack")
        return ks.open_series(directory / "stack.tif")
    if kind == "fits cube":
        fits.PrimaryHDU(frames).writeto(directory / "cube.fits")
        return ks.open_series(directory / "cube.fits")
    if kind == "hdf5":
        with h5py.File(directory / "stack.h5", "w") as file:
            file.create_dataset("scan/frames", data=frames)
        return ks.open_series(directory / "stack.h5", dataset="scan/frames")
    zarr.save(str(directory / "stack.zarr"), frames)
    return ks.open_series(directory / "stack.zarr")


def bytes_in(directory):
    return {path.name: path.read_bytes() for path in sorted(directory.iterdir()) if path.is_file()}
