"""What is measured: the same work by koimproc and by others.

usage: contenders.py NAME WORKERS FRAMES.h5 DATASET

Every frame is corrected by a dark frame and a flat field and gets its colours back; then the histogram of each colour,
and mean and variance of each sample over all frames are formed. Prints the seconds and a digest of the results.

The clock runs from before a contender imports its libraries until it has the results. Python, NumPy and h5py are there
before, and the digest is formed afterwards.
"""
import hashlib
import json
import sys
import time

import h5py
import numpy as np

BITS, TOP = 12, 4095
# Frames that the plain loop adds in one call.
TOGETHER = 8


def read(path, name):
    with h5py.File(path, "r") as file:
        return file[name][...]


def digest(*arrays):
    known = hashlib.sha256()
    for array in arrays:
        known.update(np.ascontiguousarray(array).tobytes())
    return known.hexdigest()[:16]


class Develop:
    """The work on one frame, by koimproc."""

    def __init__(self, path):
        self.dark, self.flat = read(path, "dark"), read(path, "flat")

    def __call__(self, frame):
        import koimproc as ko

        with ko.threads(1):
            return ko.demosaic(ko.flat_field(frame, self.flat, self.dark), "malvar")


def results(sums):
    found = sums.result()
    return found["mean"], found["var"], found["hist"]


def plain(path, dataset, workers):
    """A loop in one process, without an engine."""
    import koimproc as ko

    develop = Develop(path)
    sums = ko.Accumulator("mean", "var", "hist", bits=BITS)
    with h5py.File(path, "r") as file, ko.threads(1):
        frames = file[dataset]
        for start in range(0, len(frames), TOGETHER):
            indices = range(start, min(start + TOGETHER, len(frames)))
            sums.add(*(np.asarray(develop(ko.Frame(frames[index], BITS, "RGGB"))) for index in indices))
    return results(sums)


def ours(path, dataset, workers, scheduler=None):
    from koimproc import series as ks

    frames = ks.open_series(path, dataset=dataset, bits=BITS, bayer="RGGB").map(Develop(path))
    sums, _ = ks.accumulate(frames, "mean", "var", "hist", scheduler=scheduler, workers=workers)
    return results(sums)


def processes(path, dataset, workers):
    return ours(path, dataset, workers, "processes")


def gains(path):
    """The dark frame, and what every sample is multiplied by."""
    dark, flat = read(path, "dark").astype(np.float32), read(path, "flat").astype(np.float32)
    bright = np.maximum(flat - dark, 1)
    factor = np.empty_like(bright)
    for row in (0, 1):
        for column in (0, 1):
            part = bright[row::2, column::2]
            factor[row::2, column::2] = part.mean() / part
    return dark, factor


def bilinear(mosaic):
    """Colours of an RGGB mosaic from the nearest samples."""
    rows, columns = mosaic.shape
    m = np.pad(mosaic, 1, mode="reflect")
    centre, sides = m[1:-1, 1:-1], m[1:-1, :-2] + m[1:-1, 2:]
    above, corners = m[:-2, 1:-1] + m[2:, 1:-1], m[:-2, :-2] + m[:-2, 2:] + m[2:, :-2] + m[2:, 2:]
    out = np.empty((rows, columns, 3), mosaic.dtype)
    cross = (sides + above) / 4
    for colour, other, (y, x) in ((0, 2, (0, 0)), (2, 0, (1, 1))):
        at, beside, below = (slice(y, None, 2), slice(x, None, 2)), (slice(y, None, 2), slice(1 - x, None, 2)), (
            slice(1 - y, None, 2), slice(x, None, 2))
        out[(*at, colour)], out[(*at, 1)], out[(*at, other)] = centre[at], cross[at], corners[at] / 4
        out[(*beside, colour)], out[(*beside, 1)] = sides[beside] / 2, centre[beside]
        out[(*below, colour)] = above[below] / 2
    return out


def with_dask(path, dataset, workers, develop):
    import dask
    import dask.array as da

    with h5py.File(path, "r") as file:
        frames = file[dataset]
        stack = da.from_array(frames, chunks=(1, *frames.shape[1:]))
        pictures = stack.map_blocks(lambda block: develop(block[0])[None], dtype=np.uint16, new_axis=3,
                                    chunks=(1, *frames.shape[1:], 3))
        counts = [da.bincount(pictures[..., colour].ravel(), minlength=TOP + 1) for colour in range(3)]
        found = dask.compute(pictures.mean(0), pictures.var(0), *counts, scheduler="threads", num_workers=workers)
    return found


def numpy_and_dask(path, dataset, workers):
    dark, factor = gains(path)

    def develop(frame):
        return np.clip(bilinear((frame - dark) * factor), 0, TOP).astype(np.uint16)

    return with_dask(path, dataset, workers, develop)


def cv2_and_dask(path, dataset, workers):
    import cv2

    cv2.setNumThreads(1)
    dark, factor = gains(path)

    def develop(frame):
        even = cv2.multiply(cv2.subtract(frame, dark, dtype=cv2.CV_32F), factor)
        mosaic = cv2.min(even, TOP).astype(np.uint16)
        return cv2.demosaicing(mosaic, cv2.COLOR_BayerRGGB2RGB)

    return with_dask(path, dataset, workers, develop)


if __name__ == "__main__":
    contender, count, frames_file, frames_name = globals()[sys.argv[1]], int(sys.argv[2]), sys.argv[3], sys.argv[4]
    begun = time.perf_counter()
    found = contender(frames_file, frames_name, count)
    print(json.dumps({"seconds": time.perf_counter() - begun, "digest": digest(*found)}))
