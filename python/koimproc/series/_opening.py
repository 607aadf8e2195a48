"""Which kind of source a name stands for."""

from __future__ import annotations

import glob
import os
import re
from collections.abc import Callable, Iterable, Sequence
from pathlib import Path
from typing import Any, Union

from koimproc._errors import ArgumentError
from koimproc._io import is_fits
from koimproc.series._files import PathLike
from koimproc.series._sources import TIFF, FilesSource, FrameError, Source, library, reason
from koimproc.series._stacks import CubeSource, Hdf5Source, PagesSource, VirtualStackSource, ZarrSource

_HDF5 = (".h5", ".hdf5", ".hdf", ".nxs")
# Datasets that are named where one has to be chosen.
_MOST_TOLD = 5


def _numbered(path: str) -> list[tuple[int, Union[int, str]]]:
    """Sorts frame9 before frame10."""
    return [(0, int(part)) if part.isdigit() else (1, part) for part in re.split(r"(\d+)", path)]


def source_of(frames: Union[PathLike, Iterable[PathLike]], dataset: Union[str, int, None]) -> Source:
    if not isinstance(frames, (str, os.PathLike)):
        try:
            paths = [os.fspath(path) for path in frames]
        except TypeError:
            wanted = "a path, a pattern or a list of paths is wanted"
            raise ArgumentError("frames", f"{wanted}, not {type(frames).__name__}") from None
        if not paths:
            raise ArgumentError("frames", "a series has at least one frame")
        return _opened(paths[0], lambda: FilesSource(paths))
    name = os.fspath(frames)
    if not os.path.exists(name):
        found = sorted(glob.glob(name), key=_numbered)
        if not found:
            raise _missing(name)
        return _opened(found[0], lambda: FilesSource(found))
    return _opened(name, lambda: _one_file(name, dataset))


def _one_file(name: str, dataset: Union[str, int, None]) -> Source:
    """What a file or a directory that exists holds."""
    ending = Path(name).suffix.lower()
    if os.path.isdir(name):
        if ending != ".zarr" and not any(os.path.exists(os.path.join(name, kind)) for kind in (".zarray", ".zgroup")):
            raise IsADirectoryError(f"{name}: a directory; a pattern such as {os.path.join(name, '*.tif')} is wanted")
        return ZarrSource(name, dataset)
    if ending in _HDF5:
        if dataset is None:
            raise ArgumentError("dataset", f"the name of a dataset of the HDF5 file is wanted{_stacks_in(name)}")
        return Hdf5Source(name, dataset)
    if ending in TIFF:
        if VirtualStackSource.is_one(name):
            return VirtualStackSource(name, None)
        pages = PagesSource(name, None)
        return pages if len(pages.names()) > 1 else FilesSource([name])
    if is_fits(name):
        with library("astropy.io.fits").open(name) as file:
            first = next((number for number, part in enumerate(file) if part.is_image and part.shape), None)
            if first is None:
                raise ValueError("no image in the file")
            is_cube = len(file[first].shape) >= 3
        return CubeSource(name, first if dataset is None else dataset) if is_cube or dataset is not None else FilesSource([name])
    return FilesSource([name])


def _stacks_in(name: str) -> str:
    """The datasets of an HDF5 file that may be series."""
    found: list[str] = []

    def look(path: str, part: Any) -> None:
        if len(getattr(part, "shape", None) or ()) in (3, 4):
            found.append(path)

    with library("h5py").File(name, "r") as file:
        file.visititems(look)
    more = " ..." if len(found) > _MOST_TOLD else ""
    return f", such as {', '.join(found[:_MOST_TOLD])}{more}" if found else ""


def _missing(name: str) -> OSError:
    """Why there are no such files."""
    folder = os.path.dirname(name) or "."
    looks: Sequence[tuple[Callable[[str], Any], str]] = ((os.stat, name), (os.listdir, folder))
    for look, path in looks:
        try:
            look(path)
        except PermissionError as error:
            return error
        except OSError:
            continue
    return FileNotFoundError(f"{name}: no such files")


def _opened(name: str, make: Callable[[], Source]) -> Source:
    """A source, or a `FrameError` that names what could not be opened."""
    try:
        return make()
    except (ArgumentError, FrameError, ImportError, IsADirectoryError):
        raise
    except Exception as error:
        raise FrameError(name, reason(error)) from error
