"""Where the frames of series come from: files, and files with many frames."""

from __future__ import annotations

import importlib
import itertools
import json
import os
import re
import shutil
import subprocess
from collections.abc import Callable, Iterator, Sequence
from contextlib import AbstractContextManager, ExitStack, contextmanager
from functools import lru_cache
from pathlib import Path
from typing import Any, Optional, Union

import numpy as np
import numpy.typing as npt

from koimproc._io import read_fits
from koimproc._memory import empty
from koimproc.series._files import scratch_directory

Array = npt.NDArray[Any]
Read = Callable[[int], Array]

# What the tool ko writes into the description of a file; the samples stand in the high bits there.
DESCRIPTION = re.compile(r"koimproc bits=(\d+)(?: grid=([RGB]{4}))?")
FITS = (".fits", ".fit", ".fts")
TIFF = (".tif", ".tiff")


class FrameError(OSError):
    """A frame cannot be read, or is not like the others.

    Attributes
    ----------
    name : str
        Name of the frame.
    """

    def __init__(self, name: str, message: str) -> None:
        super().__init__(f"{name}: {message}")
        self.name = name
        self.message = message

    def __reduce__(self) -> tuple[Any, ...]:
        return FrameError, (self.name, self.message)


def library(name: str) -> Any:
    """A module that a reader needs."""
    try:
        return importlib.import_module(name)
    except ImportError:
        package = "python3-" + name.partition(".")[0]
        raise ImportError(f"this series needs {name}: Debian's package {package}") from None


def reason(error: Exception) -> str:
    """What an error says, without Python's number for it and without the name of its file."""
    if isinstance(error, OSError) and error.strerror:
        return error.strerror
    if isinstance(error, KeyError) and error.args:
        return str(error.args[0])
    return str(error) or type(error).__name__


def tool() -> str:
    """The program ko: that which the variable KO_TOOL names, or the one on the search path."""
    found = os.environ.get("KO_TOOL") or shutil.which("ko")
    if found is None:
        raise OSError("the tool ko is missing: Debian's package koimproc-tools")
    return found


class Source:
    """Where frames come from. It opens files when it is asked for a frame, so it can be sent to other processes."""

    bits: Optional[int] = None
    bayer: Optional[str] = None

    def names(self) -> list[str]:
        raise NotImplementedError

    def read(self, index: int) -> Array:
        raise NotImplementedError

    @contextmanager
    def reader(self) -> Iterator[Read]:
        """What reads frames as `read` does, on one thread, and keeps the file of several frames open meanwhile."""
        yield self.read

    def inputs(self) -> Optional[list[str]]:
        """The frames as files that the tool ko reads; None where a frame is a part of a file."""
        return None

    def files(self, start: int, stop: int) -> list[str]:
        """The files that hold the frames start...stop - 1."""
        raise NotImplementedError

    def key(self) -> str:
        """What else the frames follow from."""
        return ""


# Depth and pattern, where a file says them.
Meaning = tuple[Optional[int], Optional[str]]


def _meaning_of(page: Any) -> Meaning:
    """What the description of a page of a TIFF file says of its samples."""
    description = DESCRIPTION.match(page.description)
    return (None, None) if description is None else (int(description[1]), description[2])


def _page(page: Any) -> Array:
    """The samples of a page, in the low bits."""
    bits, _ = _meaning_of(page)
    samples = samples_of(page.asarray())
    if bits is not None:
        samples >>= 8 * samples.dtype.itemsize - bits
    return samples


def read_tiff(path: str) -> tuple[Array, Meaning]:
    """The first page of a file."""
    with library("tifffile").TiffFile(path) as file:
        return _page(file.pages[0]), _meaning_of(file.pages[0])


def check_meaning(meaning: Meaning, source: Source) -> None:
    if meaning != (source.bits, source.bayer):
        raise ValueError(f"bits and pattern {meaning}, where the first frame has {(source.bits, source.bayer)}")


def samples_of(data: Any) -> Array:
    """In this machine's byte order, one row after another."""
    array = np.asarray(data)
    return np.ascontiguousarray(array, array.dtype.newbyteorder("="))


class FilesSource(Source):
    """One file per frame."""

    def __init__(self, paths: Sequence[str]) -> None:
        self._paths = list(paths)
        _, (self.bits, self.bayer) = self._described(self._paths[0])

    def names(self) -> list[str]:
        return list(self._paths)

    def files(self, start: int, stop: int) -> list[str]:
        return self._paths[start:stop]

    def inputs(self) -> Optional[list[str]]:
        return list(self._paths)

    def _described(self, path: str) -> tuple[Array, Meaning]:
        ending = Path(path).suffix.lower()
        if ending in TIFF:
            return read_tiff(path)
        if ending in FITS:
            samples, pattern = read_fits(path)
            return samples, (None, pattern)
        with scratch_directory() as directory:
            mosaic = os.path.join(directory, "mosaic.tif")
            command = [tool(), "unpack", path, "-o", mosaic, "--quiet"]
            done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True)
            if done.returncode != 0:
                raise ValueError(done.stderr.strip() or "cannot be read")
            return read_tiff(mosaic)

    def read(self, index: int) -> Array:
        frame, meaning = self._described(self._paths[index])
        check_meaning(meaning, self)
        return frame


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
            self.bits, self.bayer = _meaning_of(pages[0])
            return len(pages)

    @contextmanager
    def _opened(self) -> Iterator[Any]:
        with library("tifffile").TiffFile(self._path) as file:
            yield file.pages

    def _frame(self, frames: Any, index: int) -> Array:
        page = frames[index]
        check_meaning(_meaning_of(page), self)
        return _page(page)


class CubeSource(_Stack):
    """A FITS cube: the last axis of the file counts frames."""

    @contextmanager
    def _opened(self) -> Iterator[Any]:
        with library("astropy.io.fits").open(self._path) as file:
            yield file[self._dataset or 0]

    def _frame(self, frames: Any, index: int) -> Array:
        # Images that are compressed have no sections: all frames are read, once as long as the file is open.
        return samples_of((frames.section if hasattr(frames, "section") else frames.data)[index])


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
        if self._dataset is not None and self._dataset not in opened:
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
