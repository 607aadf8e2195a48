"""Frames from files."""

from __future__ import annotations

import importlib
import json
import os
import re
import shutil
import subprocess
import tempfile
from pathlib import Path
from typing import Any, NamedTuple

import numpy as np

from koimproc._arrays import CAMERA_SAMPLES
from koimproc._errors import ArgumentError
from koimproc._frame import DEPTHS, GRIDS, Array, Frame, grid_at

# What the tool ko writes into the description of a file; the samples stand in the high bits there.
DESCRIPTION = re.compile(r"koimproc bits=(\d+)(?: grid=([RGB]{4}))?")
# The head of a PGM or PPM file, of text or of bytes: kind, columns, rows, maximum.
_NETPBM = re.compile(rb"P([2356])" + 3 * rb"(?:\s|#[^\n]*\n)+(\d+)" + rb"\s")
_COMMENT = re.compile(rb"#[^\n]*")
# Endings of FITS files; those of fpack and of gzip and bzip2 come behind.
_FITS = re.compile(r".+\.(fits|fit|fts)(\.(fz|gz|bz2))?", re.IGNORECASE | re.DOTALL)


def is_fits(name: str) -> bool:
    return _FITS.fullmatch(name) is not None


def _openimageio() -> Any:
    try:
        return importlib.import_module("OpenImageIO")
    except ImportError:
        raise ImportError("imread needs OpenImageIO for Python: Debian's package python3-openimageio") from None


def is_raw(name: str) -> bool:
    """Whether a file has the ending of a raw one. OpenImageIO takes those that LibRaw cannot decode for TIFF files, whose
    samples are then wrong."""
    for entry in _openimageio().get_string_attribute("extension_list").split(";"):
        kind, _, endings = entry.partition(":")
        if kind == "raw":
            return Path(name).suffix[1:].lower() in endings.split(",")
    return False


def _require_file(name: str) -> None:
    """What does not exist, or is a folder, has an exception of its own."""
    open(name, "rb").close()


def pattern_of(header: Any) -> str | None:
    """The pattern of a mosaic, where the header of a FITS file says it. That of a part of the sensor begins elsewhere."""
    pattern = header.get("BAYERPAT")
    if pattern not in GRIDS:
        return None
    return grid_at(pattern, int(header.get("YBAYROFF", 0)), int(header.get("XBAYROFF", 0)))


def read_fits(path: str) -> tuple[Array, str | None]:
    """The first image of a FITS file, its first row as row 0 and the planes of a cube as channels, and its pattern."""
    try:
        fits = importlib.import_module("astropy.io.fits")
    except ImportError:
        raise ImportError("FITS files need astropy: Debian's package python3-astropy") from None
    with fits.open(path, memmap=False) as file:
        image = next((part for part in file if part.is_image and part.data is not None and part.data.ndim >= 2), None)
        if image is None:
            raise OSError("no image in the file")
        samples = np.moveaxis(image.data, 0, -1) if image.data.ndim == 3 else image.data
        native_order = samples.dtype.newbyteorder("=")
        return np.ascontiguousarray(samples, native_order), pattern_of(image.header) if samples.ndim == 2 else None


def imread(path: str | os.PathLike[str]) -> Frame:
    """Read a picture, or the mosaic of a camera's raw file.

    Pictures are read by OpenImageIO (PNG, TIFF, JPEG, EXR and others) as they lie in the file, FITS files by astropy.
    Files that the tool `ko` has written say their depth and pattern, which the frame takes over. TIFF files of 10, 12
    and 14 bits say their depth, and so do PGM and PPM files by a greatest level such as 4095. Of a file with several
    pages the first one is read; `koimproc.series.open_series` has all. A camera's raw file is read by the tool `ko`,
    which subtracts the black levels and changes nothing else; `raw_info` tells where its samples clip.

    Parameters
    ----------
    path : str or path
        Name of the file.

    Returns
    -------
    Frame
        Of shape (rows, columns) or (rows, columns, channels), in the dtype of the file; halves become float32.

    Raises
    ------
    ImportError
        Without the package python3-openimageio; for FITS files without python3-astropy.
    OSError
        For a file that cannot be read, `FileNotFoundError` for one that does not exist, and for a raw file without the
        tool `ko`.
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
    name = os.fsdecode(path)
    if is_fits(name):
        try:
            samples, pattern = read_fits(name)
        except FileNotFoundError:
            raise
        except OSError as error:
            raise OSError(f"{name}: {error}") from None
        return _frame(samples, 1, name, bayer=pattern)
    if is_raw(name):
        _require_file(name)
        return _read_raw(name)
    return read_picture(name)


def read_picture(name: str, page: int = 0) -> Frame:
    """A page of a file that OpenImageIO reads."""
    oiio = _openimageio()
    as_stored = oiio.ImageSpec()
    as_stored.attribute("oiio:UnassociatedAlpha", 1)
    opened = oiio.ImageInput.open(name, as_stored)
    if opened is None:
        _require_file(name)
        raise OSError(f"{name}: {oiio.geterror().strip() or 'cannot be read'}")
    kind = opened.format_name()
    if kind == "raw":
        opened.close()
        return _read_raw(name)
    if kind == "pnm":
        found = _NETPBM.match(Path(name).read_bytes())
        if found is not None:
            opened.close()
            return _read_netpbm(found, name)
    try:
        if not opened.seek_subimage(page, 0):
            raise OSError(f"{name}: {opened.geterror()}")
        spec = opened.spec()
        pixels = opened.read_image(page, 0, 0, spec.nchannels, spec.format)
        if pixels is None:
            raise OSError(f"{name}: {opened.geterror()}")
    finally:
        opened.close()
    description = DESCRIPTION.match(spec.get_string_attribute("ImageDescription"))
    bits, bayer = None, None
    if description is not None:
        bits, bayer = int(description[1]), description[2]
    elif kind == "tiff" and pixels.dtype == np.uint16:
        # Those of 10, 12 and 14 bits are spread over all 16, so that the upper ones are the level.
        bits = spec.get_int_attribute("oiio:BitsPerSample", 16)
    return _frame(np.asarray(pixels), spec.nchannels, name, bits, bayer)


def _read_netpbm(head: re.Match[bytes], name: str) -> Frame:
    """As the tool reads it; OpenImageIO moves half of the levels of 16 bits by one."""
    # Numbers of ten digits are too large, whatever follows; Python refuses to read thousands of them.
    kind, columns, rows, maximum = (int(number[:10]) for number in head.groups())
    channels = 3 if kind in (3, 6) else 1
    count = rows * columns * channels
    dtype: np.dtype[Any] = np.dtype(">u2") if maximum > 255 else np.dtype(np.uint8)
    samples = head.string[head.end() :]
    found: list[int] | Array
    if kind <= 3:
        words = _COMMENT.sub(b"", samples).split()[:count]
        found = [min(int(word), maximum) for word in words if word.isdigit() and len(word) < 10]
    else:
        found = np.frombuffer(samples, dtype, min(count, len(samples) // dtype.itemsize))
    if not 1 <= maximum <= 65535 or len(found) < count:
        raise OSError(f"{name}: is damaged or cut short")
    levels = np.array(found, np.uint32).clip(max=maximum)
    depth = maximum.bit_length() if maximum > 255 and maximum & (maximum + 1) == 0 else DEPTHS[dtype.newbyteorder("=")]
    levels = (levels * (2**depth - 1) + maximum // 2) // maximum
    shape = (rows, columns) if channels == 1 else (rows, columns, channels)
    return Frame(levels.astype(dtype.newbyteorder("=")).reshape(shape), depth)


def _frame(pixels: Array, channels: int, name: str, bits: int | None = None, bayer: str | None = None) -> Frame:
    """A frame of what a file holds; of samples of fewer bits than their dtype has, these are the upper ones."""
    if pixels.ndim == 3 and channels == 1 == pixels.shape[2]:
        pixels = pixels[:, :, 0]
    if pixels.dtype == np.float16:
        pixels = pixels.astype(np.float32)
    if pixels.dtype not in DEPTHS or pixels.ndim not in (2, 3):
        raise ArgumentError("path", f"{name}: no frame has samples of {pixels.dtype} and shape {pixels.shape}")
    if bits is None or pixels.dtype not in CAMERA_SAMPLES:
        return Frame(np.ascontiguousarray(pixels), bayer=bayer)
    bits = min(bits, DEPTHS[pixels.dtype])
    return Frame(pixels >> (DEPTHS[pixels.dtype] - bits), bits, bayer)


class RawInfo(NamedTuple):
    """What a camera's raw file says about its samples.

    Attributes
    ----------
    white : int
        Level at which the sensor clips, of samples whose black is subtracted.
    gains : tuple of float or None
        White balance of the camera: one gain for each position of the cell in raster order, or for each channel, the
        least being 1. None where the file has none.

    Examples
    --------
    >>> import koimproc as ko
    >>> ko.RawInfo(3840, (1, 1.39, 1.73, 1)).white  # as raw_info gives it
    3840
    """

    white: int
    gains: tuple[float, ...] | None


def raw_info(path: str | os.PathLike[str]) -> RawInfo:
    """Read where a camera's raw file clips, and its white balance: what `develop` needs for the mosaic of `imread`.

    The tool `ko` reads the file for that, as it does for `imread`. For the colours that the camera shows, which take its
    matrix too, let `ko develop` make the picture.

    Parameters
    ----------
    path : str or path
        Name of the file.

    Returns
    -------
    RawInfo
        `white`, where the sensor clips, and `gains`, the white balance.

    Raises
    ------
    OSError
        For a file that cannot be read, `FileNotFoundError` for one that does not exist, and without the tool `ko`.
    ArgumentError
        For a file that is not a raw file of a camera.

    Examples
    --------
    >>> import koimproc as ko
    >>> try:
    ...     f, info = ko.imread("frame.dng"), ko.raw_info("frame.dng")
    ...     picture = ko.develop(f, info.gains or "gray-world", white=info.white)
    ... except (OSError, ImportError):
    ...     print("no file")
    no file
    """
    name = os.fsdecode(path)
    _require_file(name)
    report = json.loads(_output_of_tool(name, "info", "--json", "--", name))
    if "white" not in report:
        raise ArgumentError("path", f"{name}: no raw file of a camera")
    gains = report["gains"]
    return RawInfo(report["white"], None if gains is None else tuple(gains))


def _output_of_tool(name: str, *arguments: str) -> str:
    """What the tool prints about a raw file."""
    tool = shutil.which("ko")
    if tool is None:
        raise OSError(f"{name}: raw files of cameras are read by the tool ko, Debian's package koimproc-tools")
    done = subprocess.run([tool, *arguments], stdin=subprocess.DEVNULL, capture_output=True, text=True)
    if done.returncode != 0:
        raise OSError(f"{name}: {done.stderr.strip().removeprefix('ko: ').removeprefix(f'{name}: ')}")
    return done.stdout


def _read_raw(name: str) -> Frame:
    """The bare mosaic of a raw file, by the tool."""
    with tempfile.TemporaryDirectory() as directory:
        mosaic = os.path.join(directory, "mosaic.tif")
        _output_of_tool(name, "unpack", "-o", mosaic, "--quiet", "--", name)
        return imread(mosaic)
