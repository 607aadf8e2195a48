"""Where the frames of series come from: one file for each. `_stacks` has files with many frames."""

from __future__ import annotations

import importlib
import os
import shutil
import subprocess
from collections.abc import Callable, Iterator, Sequence
from contextlib import contextmanager
from importlib.util import find_spec
from pathlib import Path
from typing import Any, Optional

import numpy as np
import numpy.typing as npt

from koimproc._io import DESCRIPTION, is_fits, is_raw, read_fits, read_picture
from koimproc.series._files import scratch_directory

Array = npt.NDArray[Any]
Read = Callable[[int], Array]

TIFF = (".tif", ".tiff")
# Numbers of the photometric interpretations whose samples are levels: gray, colours, mosaics, raw. Palettes and the like
# become pictures, as the tool reads them.
_LEVELS = (1, 2, 32803, 34892)


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


def meaning_of(page: Any) -> Meaning:
    """What a page of a TIFF file says of its samples."""
    description = DESCRIPTION.match(page.description)
    if description is not None:
        return int(description[1]), description[2]
    return (page.bitspersample if page.bitspersample in (10, 12, 14) else None), None


def page_of(page: Any, path: str, index: int) -> Array:
    """The samples of a page, in the low bits."""
    try:
        is_plain = page.photometric in _LEVELS and page.bitspersample >= 8
        samples = samples_of(page.asarray()) if is_plain else None
    except Exception as error:
        # What wants a library of codecs, which Debian does not have.
        if "imagecodecs" not in str(error):
            raise
        samples = None
    if samples is None:
        return np.asarray(read_picture(path, index))
    if page.axes == "SYX":
        samples = np.ascontiguousarray(np.moveaxis(samples, 0, -1))
    description = DESCRIPTION.match(page.description)
    if description is not None:
        samples >>= 8 * samples.dtype.itemsize - int(description[1])
    return samples


def read_tiff(path: str) -> tuple[Array, Meaning]:
    """The first page of a file."""
    with library("tifffile").TiffFile(path) as file:
        return page_of(file.pages[0], path, 0), meaning_of(file.pages[0])


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
        # The tool reads FITS files in gzip, but not those of fpack and bzip2.
        return None if any(path.lower().endswith((".fz", ".bz2")) for path in self._paths) else list(self._paths)

    def _described(self, path: str) -> tuple[Array, Meaning]:
        ending = Path(path).suffix.lower()
        if ending in TIFF:
            return read_tiff(path)
        if is_fits(path):
            samples, pattern = read_fits(path)
            return samples, (None, pattern)
        if find_spec("OpenImageIO") is not None and not is_raw(path):
            picture = read_picture(path)
            return np.asarray(picture), (picture.bits, picture.bayer)
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
