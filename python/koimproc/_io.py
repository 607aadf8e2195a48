"""Frames from files."""

from __future__ import annotations

import importlib
import os
import re
import shutil
import subprocess
import tempfile
from pathlib import Path
from typing import Any

import numpy as np

from koimproc._arrays import CAMERA_SAMPLES
from koimproc._errors import ArgumentError
from koimproc._frame import DEPTHS, Array, Frame

# What the tool ko writes into the description of a file; the samples stand in the high bits there.
_DESCRIPTION = re.compile(r"koimproc bits=(\d+)(?: grid=([RGB]{4}))?")


def _openimageio() -> Any:
    try:
        return importlib.import_module("OpenImageIO")
    except ImportError:
        raise ImportError("imread needs OpenImageIO for Python: Debian's package python3-openimageio") from None


def imread(path: str | os.PathLike[str]) -> Frame:
    """Read a picture, or the mosaic of a camera's raw file.

    Pictures are read by OpenImageIO (PNG, TIFF, JPEG, EXR, FITS and others) as they lie in the file. Files that the
    tool `ko` has written say their depth and pattern, which the frame takes over. A camera's raw file is read by the
    tool `ko`, which subtracts the black levels and changes nothing else.

    Parameters
    ----------
    path : str or path
        Name of the file.

    Returns
    -------
    Frame
        Of shape (rows, columns) or (rows, columns, channels), in the dtype of the file.

    Raises
    ------
    ImportError
        Without the package python3-openimageio.
    OSError
        For a file that cannot be read, and for a raw file without the tool `ko`.
    ArgumentError
        For a file whose samples no frame has.

    Examples
    --------
    >>> import koimproc as ko
    >>> try:
    ...     f = ko.imread("missing.png")
    ... except (OSError, ImportError):
    ...     print("no file")
    no file
    """
    oiio = _openimageio()
    name = os.fspath(path)
    as_stored = oiio.ImageSpec()
    as_stored.attribute("oiio:UnassociatedAlpha", 1)
    opened = oiio.ImageInput.open(name, as_stored)
    if opened is None:
        raise OSError(f"{name}: {oiio.geterror().strip() or 'cannot be read'}")
    if opened.format_name() == "raw":
        opened.close()
        return _read_raw(name)
    try:
        spec = opened.spec()
        pixels = opened.read_image(0, 0, 0, spec.nchannels, spec.format)
        if pixels is None:
            raise OSError(f"{name}: {opened.geterror()}")
        description = _DESCRIPTION.match(spec.get_string_attribute("ImageDescription"))
    finally:
        opened.close()
    return _frame(np.asarray(pixels), spec.nchannels, description, name)


def _frame(pixels: Array, channels: int, description: re.Match[str] | None, name: str) -> Frame:
    if pixels.ndim == 3 and channels == 1:
        pixels = pixels[:, :, 0]
    if pixels.dtype not in DEPTHS or pixels.ndim not in (2, 3):
        raise ArgumentError("path", f"{name}: no frame has samples of {pixels.dtype} and shape {pixels.shape}")
    if description is None or pixels.dtype not in CAMERA_SAMPLES:
        return Frame(np.ascontiguousarray(pixels))
    bits = min(int(description[1]), DEPTHS[pixels.dtype])
    return Frame(pixels >> (DEPTHS[pixels.dtype] - bits), bits, description[2])


def _read_raw(name: str) -> Frame:
    """The bare mosaic of a raw file, by the tool."""
    tool = shutil.which("ko")
    if tool is None:
        raise OSError(f"{name}: raw files of cameras are read by the tool ko, Debian's package koimproc-tools")
    with tempfile.TemporaryDirectory() as directory:
        mosaic = Path(directory, "mosaic.tif")
        done = subprocess.run(
            [tool, "unpack", name, "-o", mosaic, "--quiet"], stdin=subprocess.DEVNULL, capture_output=True, text=True
        )
        if done.returncode != 0:
            raise OSError(f"{name}: {done.stderr.strip()}")
        return imread(mosaic)
