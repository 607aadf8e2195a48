"""From a raw mosaic to a colour picture."""

from __future__ import annotations

from typing import Any, Union

import numpy as np

from koimproc import native
from koimproc._arrays import UINT8, Output, Source, Target, whole
from koimproc._correct import Numbers, black_levels, per_colour
from koimproc._errors import ArgumentError, SampleTypeError, one_of
from koimproc._frame import Array, Frame, Whole, frame_over
from koimproc._memory import empty
from koimproc._stats import POSITIONS, moments, position_views
from koimproc._threads import limit, run
from koimproc._tone import look_up

_CENTRED = {"menon": native.DemosaicMenon, "malvar": native.DemosaicMalvar}
_METHODS = (*_CENTRED, "linear", "half")

Balance = Union[str, Numbers]


def _mosaic(frame: Frame) -> Source:
    if not isinstance(frame, Frame):
        given = type(frame).__name__
        raise SampleTypeError("frame", f'a frame is wanted, such as ko.Frame(a, bayer="RGGB"), not {given}')
    if frame.bayer is None:
        raise ArgumentError("frame", 'no mosaic; say what it is: ko.Frame(a, bayer="RGGB")')
    return Source(frame, name="frame", mosaic=True)


def _result_of(source: Source, method: str, out: Output | None, dtype: Any, bits: int, read: Array) -> Target:
    one_of(method, _METHODS, "method")
    rows, columns = source.shape
    if method == "half":
        rows, columns = rows // 2, columns // 2
    return Target(out, (rows, columns, 3), dtype, bits, reads=(read,))


def _interpolate(mosaic: Array, bayer: str, out: Array) -> None:
    """Means of the nearest samples of each colour, rounded to the nearest (halves up)."""
    rows, columns = mosaic.shape
    padded = np.pad(mosaic, 1, mode="reflect").astype(np.uint32)

    def around(row: int, column: int, down: int, right: int) -> Array:
        return padded[1 + row + down : 1 + rows + down : 2, 1 + column + right : 1 + columns + right : 2]

    for (row, column), colour, beside in zip(POSITIONS, bayer, bayer[1] + bayer[0] + bayer[3] + bayer[2]):
        pixels = out[row::2, column::2]
        left, right = around(row, column, 0, -1), around(row, column, 0, 1)
        above, below = around(row, column, -1, 0), around(row, column, 1, 0)
        pixels[..., "RGB".index(colour)] = mosaic[row::2, column::2]
        if colour == "G":
            pixels[..., "RGB".index(beside)] = (left + right + 1) >> 1
            pixels[..., "BGR".index(beside)] = (above + below + 1) >> 1
        else:
            corners = (
                around(row, column, -1, -1) + around(row, column, -1, 1)
                + around(row, column, 1, -1) + around(row, column, 1, 1)
            )
            pixels[..., 1] = (left + right + above + below + 2) >> 2
            pixels[..., "BGR".index(colour)] = (corners + 2) >> 2


def _demosaic(pixels: Array, frame: Frame, bits: int, method: str, target: Array) -> None:
    record = native.SxImageBuf(pixels, bits, 0, frame._grid)
    result = native.SxImageBuf(target, bits)
    rows, columns = pixels.shape
    if target.size == 0:
        return
    if method == "linear":
        _interpolate(pixels, frame._bayer or "", target)
    elif method == "half":
        run(None, native.DemosaicSimple, record, (0, 0, columns // 2 * 2, rows // 2 * 2), result, frame._grid)
    else:
        run(None, _CENTRED[method], record, result, None)


def demosaic(
    frame: Frame, method: str = "menon", *, out: Output | None = None, threads: Whole | None = None
) -> Frame:
    """Turn a raw mosaic into a colour picture. Colours lie where the sensor saw them.

    Parameters
    ----------
    frame : Frame
        A mosaic: uint8 or uint16 with `bayer`, of shape (rows, columns).
    method : {"menon", "malvar", "linear", "half"}
        "menon" interpolates along edges, the sharpest; "malvar" is a linear filter of 5 x 5, three to six times as
        fast and nearly as good; "linear" takes means of the nearest samples, computed by NumPy, for comparison; "half"
        makes one pixel of every 2 x 2 cell without interpolation, at half the size (odd last rows and columns are left
        out).
    out : array or Frame, optional
        Where the result goes: of the dtype of `frame` and shape (rows, columns, 3).
    threads : int, optional
        How many threads may work, see `threads`.

    Returns
    -------
    Frame
        Red, green and blue, of the depth of `frame`; over `out` if given.

    Raises
    ------
    ArgumentError
        For a frame that is not a mosaic, an unknown method, and an `out` that cannot be written.
    SampleTypeError
        For anything but a frame.

    Notes
    -----
    D. Menon, S. Andriani, G. Calvagno, "Demosaicing with directional filtering and a posteriori decision", IEEE
    Transactions on Image Processing 16 (1), 2007. H. S. Malvar, L. He, R. Cutler, "High-quality linear interpolation
    for demosaicing of Bayer-patterned color images", ICASSP 2004.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> f = ko.Frame(np.full((4, 6), 1000, np.uint16), bits=12, bayer="RGGB")
    >>> ko.demosaic(f)
    Frame(4 x 6 x 3, uint16, bits=12)
    """
    source = _mosaic(frame)
    target = _result_of(source, method, out, source.dtype, source.bits, source.array)
    with limit(threads):
        _demosaic(source.array, frame, source.bits, method, target.array)
    return out if isinstance(out, Frame) else frame_over(target.array, source.bits)


def _means(frame: Frame, source: Source, white: int) -> list[float]:
    """Those of the positions of a cell, without the cells that have lost their colour as a sample reaches white, unless
    all have."""
    highest = int(source.array.max())
    if white <= highest <= source.top:
        rows, columns = (side // 2 for side in source.shape)
        parts = [part[:rows, :columns] for part, _ in position_views(source.array, None)]
        cells = (parts[0] < white) & (parts[1] < white) & (parts[2] < white) & (parts[3] < white)
        if cells.any():
            return [moments(part, cells).mean for part in parts]
    return [float(mean) for mean in moments(frame).mean]


def _gains(frame: Frame, source: Source, white_balance: Balance, black: list[int], white: int) -> list[float]:
    if not isinstance(white_balance, str):
        return per_colour(white_balance, source, "white_balance")
    if white_balance == "none":
        return [1.0] * 4
    if white_balance != "gray-world":
        raise ArgumentError("white_balance", f'"gray-world", "none" or gains are wanted, not {white_balance!r}')
    if min(source.shape) < 2:
        raise ArgumentError("frame", "too small for a mean of every colour")
    levels = [mean - level for mean, level in zip(_means(frame, source, white), black)]
    greens = [position for position in range(4) if (frame._bayer or "")[position] == "G"]
    # The greens of a sensor differ by a few percent, which shows as a grid. More than that comes from the scene.
    fewer, more = sorted(levels[position] for position in greens)
    if more > 1.1 * fewer:
        for position in greens:
            levels[position] = (fewer + more) / 2
    if min(levels) <= 0:
        raise ArgumentError("frame", "a colour is not brighter than its black level, so there is no balance")
    # A gain below 1 would tint what clips: all colours are at the top there.
    return [max(levels) / level for level in levels]


def _srgb(levels: int) -> Array:
    """The curve of sRGB, from levels to bytes."""
    linear = np.arange(levels) / (levels - 1)
    curve = np.where(linear <= 0.0031308, 12.92 * linear, 1.055 * linear ** (1 / 2.4) - 0.055)
    table: Array = np.floor(255 * curve + 0.5).astype(np.uint8)
    return table


def develop(
    frame: Frame,
    white_balance: Balance = "gray-world",
    *,
    black: Numbers = 0,
    white: Whole | None = None,
    method: str = "menon",
    out: Output | None = None,
    threads: Whole | None = None,
) -> Frame:
    """Turn a raw mosaic into a picture to look at: black level, white balance, colours, and the curve of sRGB.

    The colours are those of the sensor, without the matrix of the camera, and corrections that a DNG file asks for are
    not applied. The tool's `ko develop` applies the matrix and the corrections that `ko info` names.

    Parameters
    ----------
    frame : Frame
        A mosaic: uint8 or uint16 with `bayer`, of shape (rows, columns).
    white_balance : "gray-world", "none", or sequence of float
        Gains that give all colours the mean of the brightest, where no sample of a cell reaches white; none; or these,
        for red, green and blue, or one per position of the cell. Gains below 1 tint what is too bright for the sensor.
    black : float or sequence of float
        Level of black: one for all, or as for `white_balance`; rounded to whole levels.
    white : int, optional
        Level that becomes white, above the levels of black; 2**bits - 1 unless given. For a camera's raw file it is what
        `raw_info` says: many sensors clip below the top of their depth.
    method : {"menon", "malvar", "linear", "half"}
        See `demosaic`.
    out : array or Frame, optional
        Where the result goes: uint8, of shape (rows, columns, 3).
    threads : int, optional
        How many threads may work, see `threads`.

    Returns
    -------
    Frame
        uint8, red, green and blue, by the curve of sRGB; over `out` if given.

    Raises
    ------
    ArgumentError
        For a frame that is not a mosaic, unknown or unsuitable levels, gains and methods, and an `out` that cannot be
        written.
    SampleTypeError
        For anything but a frame.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> f = ko.Frame(np.full((4, 4), 1023, np.uint16), bits=12, bayer="RGGB")
    >>> np.asarray(ko.develop(f, "none"))[0, 0]
    array([137, 137, 137], dtype=uint8)
    """
    source = _mosaic(frame)
    levels = black_levels(black, source)
    highest = source.top if white is None else whole(white, "white", 1, 65535)
    if max(levels) >= highest:
        raise ArgumentError("black", f"levels below white, {highest}, are wanted, not {black!r}")
    gains = _gains(frame, source, white_balance, levels, highest)
    gains = [gain * source.top / (highest - level) for gain, level in zip(gains, levels)]
    if not all(0 <= gain <= 65535 for gain in gains):
        raise ArgumentError("white_balance", "gains of 0...65535 of the range from black to white are wanted")
    target = _result_of(source, method, out, UINT8, 8, source.array)
    with limit(threads):
        balanced = empty(source.shape, source.dtype)
        record = native.SxImageBuf(balanced, source.bits, 0, frame._grid)
        run(None, native.WhiteBalance, source.record, record, gains, levels)
        colours = empty(target.array.shape, source.dtype)
        _demosaic(balanced, frame, source.bits, method, colours)
        look_up(_srgb(source.top + 1), colours, target.array)
    return out if isinstance(out, Frame) else frame_over(target.array, 8)
