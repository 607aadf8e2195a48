"""Files with many frames."""

from __future__ import annotations

import itertools
import json
import os
from collections.abc import Iterator
from contextlib import AbstractContextManager, ExitStack, contextmanager
from functools import lru_cache
from pathlib import Path
from typing import Any, Union

import numpy as np

from koimproc._io import pattern_of
from koimproc._memory import empty
from koimproc.series._sources import Array, Read, Source, check_meaning, library, meaning_of, page_of, samples_of


class _Stack(Source):
    """Frames along the first axis of one file."""

    def __init__(self, path: str, dataset: Union[str, int, None]) -> None:
        self._path = path
        self._dataset = dataset
        self._length = self._count()

    def names(self) -> list[str]:
        return [f"{self._path}[{index}]" for index in range(self._length)]

    def files(self, start: int, stop: int) -> list[str]:
        return [self._path]

    def _count(self) -> int:
        with self._opened() as frames:
            shape = getattr(frames, "shape", None)
            if shape is None or len(shape) not in (3, 4):
                found = "a group" if shape is None else f"the shape {tuple(shape)}"
                name = "" if self._dataset is None else f"dataset {self._dataset!r}: "
                raise ValueError(f"{name}an array (frames, rows, columns[, channels]) is wanted, not {found}")
            return int(shape[0])

    def _opened(self) -> AbstractContextManager[Any]:
        """What holds the frames, while their file is open."""
        raise NotImplementedError

    def _frame(self, frames: Any, index: int) -> Array:
        return samples_of(frames[index])

    def read(self, index: int) -> Array:
        with self._opened() as frames:
            return self._frame(frames, index)

    @contextmanager
    def reader(self) -> Iterator[Read]:
        with ExitStack() as stack:
            # Opened for the first frame, and again after a failure, so that it is a frame that fails.
            @lru_cache(maxsize=1)
            def frames() -> Any:
                return stack.enter_context(self._opened())

            yield lambda index: self._frame(frames(), index)


class PagesSource(_Stack):
    """A TIFF file with one frame per page."""

    def _count(self) -> int:
        with self._opened() as pages:
            self.bits, self.bayer = meaning_of(pages[0])
            return len(pages)

    @contextmanager
    def _opened(self) -> Iterator[Any]:
        with library("tifffile").TiffFile(self._path) as file:
            yield file.pages

    def _frame(self, frames: Any, index: int) -> Array:
        page = frames[index]
        check_meaning(meaning_of(page), self)
        return page_of(page, self._path, index)


class VirtualStackSource(_Stack):
    """A TIFF file of ImageJ and others whose only page says that more frames follow it without pages of their own."""

    @staticmethod
    def is_one(path: str) -> bool:
        with library("tifffile").TiffFile(path) as file:
            return len(file.pages) == 1 and file.series[0].size > file.pages[0].size

    @contextmanager
    def _opened(self) -> Iterator[Any]:
        tifffile = library("tifffile")
        with tifffile.TiffFile(self._path) as file:
            shape = file.pages[0].shape
        yield tifffile.memmap(self._path, mode="r").reshape(-1, *shape)

    def _frame(self, frames: Any, index: int) -> Array:
        # The map says where the samples lie. To look at them there would end the program where the file has become shorter.
        count = frames[index].size
        frame = np.fromfile(self._path, frames.dtype, count, offset=frames.offset + index * count * frames.itemsize)
        if frame.size < count:
            raise ValueError("the file is not complete")
        return samples_of(frame.reshape(frames.shape[1:]))


class CubeSource(_Stack):
    """A FITS cube: the last axis of the file counts frames, and the third one of four their channels."""

    def _count(self) -> int:
        with self._opened() as cube:
            self.bayer = pattern_of(cube.header) if len(cube.shape) == 3 else None
        return super()._count()

    @contextmanager
    def _opened(self) -> Iterator[Any]:
        with library("astropy.io.fits").open(self._path, memmap=False) as file:
            yield file[self._dataset or 0]

    def _frame(self, frames: Any, index: int) -> Array:
        # Images that are compressed have no sections: all frames are read, once as long as the file is open.
        frame = (frames.section if hasattr(frames, "section") else frames.data)[index]
        return samples_of(frame if frame.ndim == 2 else np.moveaxis(frame, 0, -1))


class Hdf5Source(_Stack):
    """A dataset of an HDF5 file, with shape (frames, rows, columns[, channels])."""

    @contextmanager
    def _opened(self) -> Iterator[Any]:
        with library("h5py").File(self._path, "r") as file:
            yield file[self._dataset]

    def _frame(self, frames: Any, index: int) -> Array:
        if not frames.dtype.isnative:
            return samples_of(frames[index])
        frame = empty(frames.shape[1:], frames.dtype)
        frames.read_direct(frame, index)
        return frame


class ZarrSource(_Stack):
    """A Zarr array of the same shape."""

    @contextmanager
    def _opened(self) -> Iterator[Any]:
        opened = library("zarr").open(self._path, mode="r")
        if self._dataset is not None and (hasattr(opened, "shape") or self._dataset not in opened):
            raise ValueError(f"there is no array {self._dataset!r}")
        yield opened if self._dataset is None else opened[self._dataset]

    def _count(self) -> int:
        with self._opened() as array:
            meaning = array.attrs.get("koimproc", {})
            self.bits, self.bayer = meaning.get("bits"), meaning.get("bayer")
        return super()._count()

    def files(self, start: int, stop: int) -> list[str]:
        folder = os.path.join(self._path, str(self._dataset or ""))
        try:
            kind = json.loads(Path(folder, ".zarray").read_text())
        except FileNotFoundError:
            return [str(path) for path in sorted(Path(folder).rglob("*")) if path.is_file()]
        counts = [-(-length // chunk) for length, chunk in zip(kind["shape"], kind["chunks"])]
        frames = kind["chunks"][0]
        grid = itertools.product(range(start // frames, (stop - 1) // frames + 1), *map(range, counts[1:]))
        separator = kind.get("dimension_separator", ".")
        return [os.path.join(folder, separator.join(map(str, place))) for place in grid]
