"""Packed samples, as cameras send them."""

from __future__ import annotations

import re
from typing import Any, Union

import numpy as np

from koimproc import native
from koimproc._arrays import UINT8, UINT16, Output, Source, Target, size_of, whole
from koimproc._errors import ArgumentError, SampleTypeError
from koimproc._frame import GRIDS, NO_GRID, Array, Frame
from koimproc._threads import run

Buffer = Union[bytes, bytearray, memoryview, Array]

_GENICAM = re.compile(r"(Mono|BayerRG|BayerGR|BayerGB|BayerBG)(10p|12p|14p|10Packed|12Packed)")
_V4L2 = {
    "AA": "Csi2Raw10",
    "CC": "Csi2Raw12",
    "EE": "Csi2Raw14",
}
_V4L2_GRIDS = {"B": "BGGR", "G": "GBRG", "g": "GRBG", "R": "RGGB"}
_GENICAM_GRIDS = {"Mono": None, "BayerRG": "RGGB", "BayerGR": "GRBG", "BayerGB": "GBRG", "BayerBG": "BGGR"}


def _layout_of(name: str) -> tuple[native.ExPackedLayout, str | None]:
    """Layout and pattern that a format's name stands for."""
    if isinstance(name, str):
        genicam = _GENICAM.fullmatch(name)
        if genicam:
            return native.ExPackedLayout["Mono" + genicam[2]], _GENICAM_GRIDS[genicam[1]]
        if len(name) == 4 and name[0] == "p" and name[1] in _V4L2_GRIDS and name[2:] in _V4L2:
            return native.ExPackedLayout[_V4L2[name[2:]]], _V4L2_GRIDS[name[1]]
        if name in native.ExPackedLayout.__members__:
            return native.ExPackedLayout[name], None
    raise ArgumentError(
        "format",
        "a name of GenICam (Mono12p, BayerRG12p, Mono12Packed ...), of V4L2 (pRAA, pBCC ...), Csi2Raw10, Csi2Raw12, "
        f"Csi2Raw14, Mono16BigEndian or Mono16MsbAligned is wanted, not {name!r}",
    )


def _meaning(format: str, bits: int | None, bayer: str | None) -> tuple[native.ExPackedLayout, int, str | None]:
    """Layout, depth and pattern of packed samples."""
    layout, named = _layout_of(format)
    if bayer is not None and (not isinstance(bayer, str) or bayer not in GRIDS):
        raise ArgumentError("bayer", f"one of {', '.join(GRIDS)} is wanted, not {bayer!r}")
    if named is not None and bayer is not None and bayer != named:
        raise ArgumentError("bayer", f"{format} has the pattern {named}, not {bayer!r}")
    depth = native.packedBitsPerSample(layout)
    if depth < 16 and bits not in (None, depth):
        raise ArgumentError("bits", f"{format} has {depth} bits, not {bits!r}")
    return layout, depth if bits is None else whole(bits, "bits", 1, 16), named or bayer


def _bytes_of(buffer: object, name: str, *, writable: bool = False) -> memoryview:
    try:
        view = memoryview(buffer)  # type: ignore[arg-type]
    except (TypeError, ValueError, BufferError):
        raise SampleTypeError(
            name, f"bytes are wanted: bytes, bytearray, memoryview or a contiguous array, not {type(buffer).__name__}"
        ) from None
    if not view.c_contiguous:
        raise ArgumentError(name, "memory without gaps is wanted")
    if writable and view.readonly:
        raise ArgumentError(name, "the memory is read-only")
    return view.cast("B") if view.nbytes else memoryview(b"")


def unpack(
    buffer: Buffer,
    format: str,
    shape: tuple[int, int],
    *,
    bits: int | None = None,
    bayer: str | None = None,
    row_bytes: int = 0,
    out: Output | None = None,
    threads: int | None = None,
) -> Frame:
    """Turn the packed samples of a camera into a frame.

    Parameters
    ----------
    buffer : bytes, bytearray, memoryview or array
        The packed samples, without gaps; longer than needed is fine.
    format : str
        The name of the format at GenICam (Mono10p, Mono12p, Mono14p, Mono10Packed, Mono12Packed, and likewise BayerRG,
        BayerGR, BayerGB, BayerBG) or V4L2 (pRAA, pgCC, pBEE ...), or one of Csi2Raw10, Csi2Raw12, Csi2Raw14,
        Mono16BigEndian and Mono16MsbAligned.
    shape : (int, int)
        Rows and columns.
    bits : int, optional
        Depth for Mono16BigEndian and Mono16MsbAligned, 16 unless given; the others say it themselves.
    bayer : {"RGGB", "BGGR", "GBRG", "GRBG"}, optional
        Pattern, where the format does not say it.
    row_bytes : int
        Bytes from a row to the next; 0 where the rows follow each other.
    out : array or Frame, optional
        Where the result goes: uint16, of that shape.
    threads : int, optional
        How many threads may work, see `threads`.

    Returns
    -------
    Frame
        uint16, with the depth and the pattern of the format; over `out` if given.

    Raises
    ------
    ArgumentError
        For an unknown format, a shape, depth or pattern that does not go with it, a buffer that is too short, and an
        `out` that cannot be written.
    SampleTypeError
        For what is no buffer of bytes.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> f = ko.unpack(bytes([0x21, 0x43, 0x65]), "BayerRG12p", (1, 2))
    >>> f
    Frame(1 x 2, uint16, bits=12, bayer='RGGB')
    >>> [hex(v) for v in np.asarray(f)[0]]
    ['0x321', '0x654']
    """
    layout, depth, pattern = _meaning(format, bits, bayer)
    rows, columns = size_of(shape)
    data = _bytes_of(buffer, "buffer")
    step = whole(row_bytes, "row_bytes", 0, 2**62)
    needed = native.packedRowBytes(layout, columns)
    if step and step < needed:
        raise ArgumentError("row_bytes", f"a row takes {needed} bytes, not {step}")
    total = (rows - 1) * (step or needed) + needed if rows else 0
    if data.nbytes < total:
        raise ArgumentError("buffer", f"{total} bytes are wanted for {rows} x {columns} samples, not {data.nbytes}")
    grid = NO_GRID if pattern is None else GRIDS[pattern]
    reads = (np.frombuffer(data, np.uint8),)
    target = Target(out, (rows, columns), UINT16, depth, pattern, grid, reads)
    if target.array.size:
        run(threads, native.UnpackSamples, data, data.nbytes, step, layout, target.record)
    return target.out if isinstance(target.out, Frame) else Frame(target.array, depth, pattern)


def pack(
    image: Frame | Array,
    format: str,
    *,
    row_bytes: int = 0,
    out: Any = None,
    threads: int | None = None,
) -> Array:
    """Pack samples as cameras send them: what `unpack` reads.

    Samples beyond the depth become its largest value, and bits that fill up a row are 0.

    Parameters
    ----------
    image : array or Frame
        uint16, of shape (rows, columns). A frame has the depth of the format, and its pattern where that has one.
    format : str
        As for `unpack`.
    row_bytes : int
        Bytes from a row to the next; 0 where the rows follow each other.
    out : bytearray, memoryview or array, optional
        Where the result goes; bytes between the end of a row and the next are not touched.
    threads : int, optional
        How many threads may work, see `threads`.

    Returns
    -------
    ndarray of uint8
        Of one dimension; over `out` if given. Bytes between the end of a row and the next are 0 without `out`.

    Raises
    ------
    ArgumentError
        For an unknown format, a depth or pattern that does not go with it, and an `out` that is too short or cannot be
        written.
    SampleTypeError
        For what is no array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> packed = ko.pack(np.array([[0x321, 0x654]], np.uint16), "Mono12p")
    >>> packed.tobytes().hex()
    '214365'
    """
    source = Source(image, (UINT16,), mosaic=True)
    if source.array.ndim != 2:
        raise ArgumentError("image", f"the shape (rows, columns) is wanted, not {source.shape}")
    layout, depth, pattern = _meaning(format, None, None)
    if source.frame is not None:
        if depth < 16 and source.bits != depth:
            raise ArgumentError("format", f"{format} has {depth} bits, the frame {source.bits}")
        if pattern not in (None, source.bayer):
            raise ArgumentError("format", f"{format} has the pattern {pattern}, the frame {source.bayer}")
        depth = source.bits
    rows, columns = source.shape
    needed = native.packedRowBytes(layout, columns)
    step = whole(row_bytes, "row_bytes", 0, 2**62)
    if step and step < needed:
        raise ArgumentError("row_bytes", f"a row takes {needed} bytes, not {step}")
    total = (rows - 1) * (step or needed) + needed if rows else 0
    if out is None:
        result = np.zeros(total, UINT8)
    else:
        data = _bytes_of(out, "out", writable=True)
        if data.nbytes < total:
            raise ArgumentError("out", f"{total} bytes are wanted for {rows} x {columns} samples, not {data.nbytes}")
        result = np.frombuffer(data, UINT8)
        if np.may_share_memory(result, source.array) and np.shares_memory(result, source.array):
            raise ArgumentError("out", "shares memory with the image")
    if source.array.size:
        record = native.SxImageBuf(source.array, depth)
        run(threads, native.PackSamples, record, layout, result, total, step)
    return result
