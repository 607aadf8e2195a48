"""Frames that are read when they are needed."""

from __future__ import annotations

import hashlib
import os
from collections.abc import Callable, Iterable, Iterator
from contextlib import contextmanager
from functools import partial
from typing import Any, Optional, SupportsIndex, Union, overload

import numpy as np
import numpy.typing as npt

from koimproc._frame import Frame
from koimproc.series._files import PathLike
from koimproc.series._mapped import Chosen, Mapped
from koimproc.series._opening import source_of
from koimproc.series._sources import FrameError, Read, Source, library, reason

Array = npt.NDArray[Any]


class Series:
    """Frames of one shape and dtype, each read when it is asked for. Made by `open_series`.

    Examples
    --------
    >>> from koimproc.series import open_series
    >>> try:
    ...     darks = open_series("darks/*.tif")
    ... except FileNotFoundError as error:
    ...     print(error)
    darks/*.tif: no such files
    """

    def __init__(self, source: Source, bits: Optional[int], bayer: Optional[str]) -> None:
        self._source = source
        self._names = tuple(source.names())
        if not self._names:
            raise ValueError("a series has at least one frame")
        first = self._read(source.read, 0)
        self._shape, self._dtype = first.shape, first.dtype
        self._stored_bits = source.bits or 8 * first.dtype.itemsize
        if bits is not None or bayer is not None:
            Frame(first, bits, bayer)  # refuses what frames of this kind cannot have
        self._bits = self._stored_bits if bits is None else bits
        self._bayer = source.bayer if bayer is None else bayer

    def __len__(self) -> int:
        return len(self._names)

    @property
    def names(self) -> tuple[str, ...]:
        """The frames' names, as failures and reports have them."""
        return self._names

    @property
    def shape(self) -> tuple[int, ...]:
        """Of one frame: (rows, columns) or (rows, columns, channels)."""
        return self._shape

    @property
    def dtype(self) -> np.dtype[Any]:
        """Of the samples."""
        return self._dtype

    @property
    def bits(self) -> int:
        """Depth of the samples."""
        return self._bits

    @property
    def bayer(self) -> Optional[str]:
        """Colours of a mosaic's first two rows; None for other frames."""
        return self._bayer

    def _read(self, read: Read, index: int) -> Array:
        try:
            return read(index)
        except ImportError:
            raise
        except Exception as error:  # Each of the libraries has exceptions of its own for damaged files.
            raise FrameError(self._names[index], reason(error)) from error

    @overload
    def __getitem__(self, index: SupportsIndex) -> Array: ...
    @overload
    def __getitem__(self, index: slice) -> Series: ...
    def __getitem__(self, index: Union[SupportsIndex, slice]) -> Union[Array, Series]:
        """Read one frame. `FrameError` where it cannot be read, differs from the first one in shape, dtype, depth or
        pattern, or has samples beyond the depth. ``series[start:stop:step]`` is a series of these frames."""
        if not isinstance(index, slice):
            return self._checked(self._source.read, False, index)
        bits = None if self._bits == self._stored_bits else self._bits
        return Series(Chosen(self._source, range(len(self))[index]), bits, self._bayer)

    def _checked(self, read: Read, any_depth: bool, place: SupportsIndex) -> Array:
        index = range(len(self))[place]
        frame = self._read(read, index)
        if frame.shape != self._shape or frame.dtype != self._dtype:
            raise FrameError(
                self._names[index], f"{self._dtype} of shape {self._shape} is wanted, not {frame.dtype} of {frame.shape}"
            )
        error = None if any_depth else self.beyond_depth(index, frame)
        if error is not None:
            raise error
        return frame

    def beyond_depth(self, index: int, frame: Array) -> Optional[FrameError]:
        """What is wrong with a frame that has samples beyond the depth; None with others."""
        if frame.dtype.kind != "u" or self._bits >= 8 * frame.dtype.itemsize or frame.size == 0:
            return None
        highest = int(frame.max())
        if highest >> self._bits == 0:
            return None
        return FrameError(self._names[index], f"has a sample of {highest}, more than its {self._bits} bits")

    @contextmanager
    def reader(self, any_depth: bool = False) -> Iterator[Read]:
        """A function that reads frames as ``series[index]`` does. It keeps the file of several frames open meanwhile, which
        takes less time; one thread may call it. With `any_depth` it leaves samples beyond the depth to the caller."""
        with self._source.reader() as read:
            yield partial(self._checked, read, any_depth)

    def __iter__(self) -> Iterator[Array]:
        with self.reader() as read:
            for index in range(len(self)):
                yield read(index)

    @property
    def nbytes(self) -> int:
        """Bytes of all samples."""
        return len(self) * int(np.prod(self._shape)) * self._dtype.itemsize

    def inputs(self) -> Optional[list[str]]:
        """The frames as files that the tool ko reads; None where a frame is a part of a file, or where the series was
        given another depth or pattern than its files say."""
        as_stored = (self._bits, self._bayer) == (self._stored_bits, self._source.bayer)
        return self._source.inputs() if as_stored else None

    def files(self, start: int, stop: int) -> list[str]:
        """The files that hold the frames start...stop - 1."""
        return self._source.files(start, stop)

    def key(self) -> str:
        """A hash of the functions that `map` was given."""
        return self._source.key()

    def map(self, function: Callable[[Frame], Union[Frame, Array]]) -> Series:
        """A series of what a function makes of each frame, when it is asked for.

        The function is called with a `Frame` of the series' depth and pattern, by any thread or process. The depth of
        the results is that of the frames that it returns, or all bits of its arrays. Runs that are resumed take parts
        that were made by the same function; where it calls others, do not resume after a change of those.
        """
        return Series(Mapped(self, function), None, None)

    def identity(self, start: int, stop: int) -> str:
        """A hash of the names, sizes and times of change of the files that hold the frames start...stop - 1: another one
        after any of them has changed."""
        digest = hashlib.sha256(repr((self._shape, str(self._dtype), self._bits, self._bayer)).encode())
        for path in self.files(start, stop):
            try:
                status = os.stat(path)
                facts = (os.path.abspath(path), status.st_size, status.st_mtime_ns)
            except OSError:
                facts = (os.path.abspath(path), -1, -1)
            digest.update(repr(facts).encode())
        return digest.hexdigest()

    def dask(self, frames_per_chunk: int = 1) -> Any:
        """All frames as one dask array of shape (frames, rows, columns[, channels]), in chunks of whole frames."""
        dask, arrays = library("dask"), library("dask.array")
        parts = []
        for start in range(0, len(self), frames_per_chunk):
            stop = min(start + frames_per_chunk, len(self))
            block = dask.delayed(read_frames, pure=True)(self, start, stop)
            parts.append(arrays.from_delayed(block, (stop - start, *self._shape), self._dtype))
        return arrays.concatenate(parts)

    def __repr__(self) -> str:
        size = " x ".join(str(length) for length in self._shape)
        bayer = "" if self._bayer is None else f", bayer={self._bayer!r}"
        return f"Series({len(self)} frames of {size}, {self._dtype}, bits={self._bits}{bayer})"


def read_frames(series: Series, start: int, stop: int) -> Array:
    with series.reader() as read:
        return np.stack([read(index) for index in range(start, stop)])


def open_series(
    frames: Union[PathLike, Iterable[PathLike]],
    *,
    dataset: Union[str, int, None] = None,
    bits: Optional[int] = None,
    bayer: Optional[str] = None,
) -> Series:
    """Open a series; only the first frame is read.

    Parameters
    ----------
    frames : path, pattern, or sequence of paths
        A pattern such as ``"darks/*.tif"`` (numbers in names count as numbers, so frame9 comes before frame10) or a list
        of files: TIFF, FITS, raw files of cameras. Or one file with all frames: a TIFF of several pages, a FITS cube, a
        Zarr directory, an HDF5 file.
    dataset : str or int, optional
        Name of the dataset in an HDF5 file or a Zarr group; number of a cube's part in a FITS file.
    bits, bayer : optional
        Depth and pattern of the samples, where the files do not say them. Files that the tool `ko` has written do.

    Raises
    ------
    FileNotFoundError
        For a file that is missing, and a pattern that no file matches.
    FrameError
        For a first frame that cannot be read.
    """
    source = source_of(frames, dataset)
    return Series(source, bits, bayer)
