"""Where the results of a recipe go: files of one frame, or one Zarr array."""

from __future__ import annotations

import os
from dataclasses import dataclass
from typing import Any, Optional

import numpy.typing as npt

from koimproc._arrays import Image, Source
from koimproc._errors import ArgumentError
from koimproc._frame import Frame
from koimproc.series._files import PathLike, naming, replacing
from koimproc.series._sources import library, read_tiff

Array = npt.NDArray[Any]


def write_frame(path: PathLike, frame: Image, bits: Optional[int] = None, bayer: Optional[str] = None) -> None:
    """Write a frame as the TIFF file that the tool ko reads with the same depth and pattern.

    Parameters
    ----------
    path : path
        Name of the file.
    frame : array or Frame
        uint8 or uint16, of shape (rows, columns) or (rows, columns, channels).
    bits, bayer : optional
        Depth and pattern; those of a `Frame`, or all bits of the dtype and no pattern, unless given.

    Raises
    ------
    ArgumentError
        For samples beyond the depth, and for shapes, depths and patterns that no frame has.
    SampleTypeError
        For anything but an array, and for another dtype.
    """
    source = Source(frame, name="frame", mosaic=True)
    meant = Frame(source.array, source.bits if bits is None else bits, source.bayer if bayer is None else bayer)
    samples = source.array
    if samples.size and samples.max() >> meant.bits:
        raise ArgumentError("frame", f"has a sample of {samples.max()}, more than its {meant.bits} bits")
    shifted = samples << (8 * samples.itemsize - meant.bits)
    description = f"koimproc bits={meant.bits}" + (f" grid={meant.bayer}" if meant.bayer else "")
    photometric = "rgb" if samples.ndim == 3 and samples.shape[2] in (3, 4) else "minisblack"
    with replacing(path) as file:
        library("tifffile").imwrite(
            file, shifted, photometric=photometric, description=description, metadata=None, software=False
        )


@dataclass(frozen=True)
class Files:
    """One file per frame, as the tool writes them."""

    directory: str
    names: tuple[str, ...]
    ending: str

    def path(self, index: int) -> str:
        return os.path.join(self.directory, f"{self.names[index]}.{self.ending}")


@dataclass(frozen=True)
class Stack:
    """A Zarr array with a chunk for every frame, in which a frame is written at once."""

    directory: str
    names: tuple[str, ...]

    def path(self, index: int) -> str:
        """The file of a frame's chunk."""
        array = self._opened()
        separator = array._dimension_separator or "."
        return os.path.join(self.directory, separator.join([str(index)] + ["0"] * (array.ndim - 1)))

    def _opened(self) -> Any:
        return library("zarr").open_array(self.directory, mode="r+")

    def create(self, result: str) -> None:
        """An array for results like that in a file, or the one that is there already."""
        frame, (bits, bayer) = read_tiff(result)
        codecs = library("numcodecs")
        array = library("zarr").open_array(
            self.directory,
            mode="a",
            shape=(len(self.names), *frame.shape),
            chunks=(1, *frame.shape),
            dtype=frame.dtype,
            compressor=codecs.Blosc(cname="lz4", clevel=5, shuffle=codecs.Blosc.BITSHUFFLE),
            fill_value=0,
        )
        facts = {"bits": bits, "bayer": bayer}
        given = (array.shape, array.chunks, array.dtype, array.attrs.get("koimproc", facts))
        if given != ((len(self.names), *frame.shape), (1, *frame.shape), frame.dtype, facts):
            raise ValueError(f"{self.directory}: there is an array of another kind")
        array.attrs["koimproc"] = facts

    def write(self, index: int, result: str) -> None:
        """Put what the tool has written into its place."""
        array = self._opened()
        frame, (bits, bayer) = read_tiff(result)
        kind = (frame.dtype, frame.shape, {"bits": bits, "bayer": bayer})
        first = (array.dtype, array.shape[1:], array.attrs["koimproc"])
        if kind != first:
            raise ValueError(f"the result is {kind}, where the first one is {first}")
        with naming(self.directory):
            array[index] = frame

    def remove(self, index: int) -> None:
        """A frame that an earlier run has left must not be taken for one of this run."""
        if os.path.exists(self.path(index)):
            os.unlink(self.path(index))
