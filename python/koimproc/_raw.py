"""Packed samples, as cameras send them."""

from __future__ import annotations

import difflib
from typing import NamedTuple, Union

import numpy as np
import numpy.typing as npt

from koimproc import native
from koimproc._arrays import UINT8, UINT16, DType, Image, Output, Size, Source, Target, size_of, whole
from koimproc._errors import ArgumentError, SampleTypeError, one_of
from koimproc._frame import GRIDS, NO_GRID, Array, Frame, Whole
from koimproc._threads import run

Buffer = Union[bytes, bytearray, memoryview, Array]


class _Format(NamedTuple):
    """What a name says of packed samples."""

    layout: native.ExPackedLayout | None  # none: as in memory, bytes or words with the lower byte first
    bits: int
    bayer: str | None = None
    any_depth: bool = False

    @property
    def dtype(self) -> DType:
        """Of the samples, unpacked."""
        if self.layout is None and self.bits == 8:
            return UINT8
        return UINT16

    def row_bytes(self, columns: int) -> int:
        if self.layout is None:
            return columns * self.dtype.itemsize
        return native.packedRowBytes(self.layout, columns)

    def in_memory(self, data: Array | memoryview, shape: tuple[int, ...], row_bytes: int) -> Array:
        """The samples of a format without a layout, where they lie."""
        words = self.dtype.newbyteorder("<")
        return np.ndarray(shape, words, data, strides=(row_bytes, words.itemsize))


def _formats() -> dict[str, _Format]:
    """Names of formats, those of the tool `ko` among them."""
    layouts = native.ExPackedLayout
    endings: dict[str, tuple[native.ExPackedLayout | None, int]] = {
        "10p": (layouts.Mono10p, 10),
        "12p": (layouts.Mono12p, 12),
        "14p": (layouts.Mono14p, 14),
        "10Packed": (layouts.Mono10Packed, 10),
        "12Packed": (layouts.Mono12Packed, 12),
        "8": (None, 8),
    }
    for bits in (10, 12, 14, 16):
        endings[f"{bits}"] = (None, bits)
        endings[f"{bits}be"] = (layouts.Mono16BigEndian, bits)
        if bits < 16:
            endings[f"{bits}msb"] = (layouts.Mono16MsbAligned, bits)
    beginnings = {"Mono": None, "BayerRG": "RGGB", "BayerGR": "GRBG", "BayerGB": "GBRG", "BayerBG": "BGGR"}
    formats = {
        beginning + ending: _Format(*meaning, bayer)
        for beginning, bayer in beginnings.items()
        for ending, meaning in endings.items()
    }
    for bits, letters in ((10, "AA"), (12, "CC"), (14, "EE")):
        csi2 = layouts[f"Csi2Raw{bits}"]
        formats[f"Csi2Raw{bits}"] = formats[f"Y{bits}P"] = _Format(csi2, bits)
        for letter, bayer in (("R", "RGGB"), ("g", "GRBG"), ("G", "GBRG"), ("B", "BGGR")):
            formats[f"p{letter}{letters}"] = _Format(csi2, bits, bayer)
    for words in (layouts.Mono16BigEndian, layouts.Mono16MsbAligned):
        formats[words.name] = _Format(words, 16, any_depth=True)
    return formats


_FORMATS = _formats()


def _format_of(name: str) -> _Format:
    if isinstance(name, str):
        if name in _FORMATS:
            return _FORMATS[name]
        near = [known for known in _FORMATS if known.lower() == name.lower()]
        near = near or difflib.get_close_matches(name, _FORMATS, 1)
        if near:
            raise ArgumentError("format", f"unknown: {name!r}; did you mean {near[0]!r}?")
    raise ArgumentError(
        "format", f"a name of GenICam (Mono12p, BayerRG12p ...) or V4L2 (pRAA, Y10P ...) is wanted, not {name!r}"
    )


def _meaning(name: str, bits: Whole | None, bayer: str | None) -> _Format:
    """The format of a name, with the depth and the pattern that it leaves open."""
    format = _format_of(name)
    if bayer is not None:
        one_of(bayer, GRIDS, "bayer")
    if format.bayer is not None and bayer not in (None, format.bayer):
        raise ArgumentError("bayer", f"{name} has the pattern {format.bayer}, not {bayer!r}")
    depth = format.bits if bits is None else whole(bits, "bits", 1, 16)
    if not format.any_depth and depth != format.bits:
        raise ArgumentError("bits", f"{name} has {format.bits} bits, not {bits!r}")
    return format._replace(bits=depth, bayer=format.bayer or bayer)


def _bytes_of(buffer: object, name: str, *, writable: bool = False) -> memoryview:
    try:
        view = memoryview(buffer)  # type: ignore[arg-type]
    except (TypeError, ValueError, BufferError):
        raise _no_bytes(buffer, name) from None
    if "O" in view.format:
        raise _no_bytes(buffer, name)
    if not view.c_contiguous:
        raise ArgumentError(name, "memory without gaps is wanted")
    if writable and view.readonly:
        raise ArgumentError(name, "the memory is read-only")
    return view.cast("B") if view.nbytes else memoryview(b"")


def _no_bytes(buffer: object, name: str) -> SampleTypeError:
    return SampleTypeError(
        name, f"bytes are wanted: bytes, bytearray, memoryview or a contiguous array, not {type(buffer).__name__}"
    )


def _extent(format: _Format, rows: int, columns: int, row_bytes: Whole) -> tuple[int, int]:
    """Bytes from a row to the next, and those of all."""
    needed = format.row_bytes(columns)
    step = whole(row_bytes, "row_bytes", 0, 2**62) or needed
    if step < needed:
        raise ArgumentError("row_bytes", f"a row takes {needed} bytes, not {step}")
    return step, (rows - 1) * step + needed if rows else 0


def unpack(
    buffer: Buffer,
    format: str,
    shape: Size,
    *,
    bits: Whole | None = None,
    bayer: str | None = None,
    row_bytes: Whole = 0,
    out: Output | None = None,
    threads: Whole | None = None,
) -> Frame:
    """Turn the packed samples of a camera into a frame.

    Parameters
    ----------
    buffer : bytes, bytearray, memoryview or array
        The packed samples, without gaps; longer than needed is fine.
    format : str
        Mono, BayerRG, BayerGR, BayerGB or BayerBG, followed by 10p, 12p, 14p (GenICam), 10Packed, 12Packed (GigE
        Vision), 8 (bytes), 10, 12, 14, 16 (words, lower byte first), 10be, 12be, 14be, 16be (upper byte first), 10msb,
        12msb, 14msb (upper bits of words); the names of CSI-2 at V4L2, pRAA, pgAA, pGAA, pBAA, Y10P and likewise
        pRCC ..., Y12P, pREE ..., Y14P; or Csi2Raw10, Csi2Raw12, Csi2Raw14, Mono16BigEndian, Mono16MsbAligned.
    shape : (int, int)
        Rows and columns.
    bits : int, optional
        Depth for Mono16BigEndian and Mono16MsbAligned, 16 unless given; the others say it themselves.
    bayer : {"RGGB", "BGGR", "GBRG", "GRBG"}, optional
        Pattern, where the format does not say it.
    row_bytes : int
        Bytes from a row to the next; 0 where the rows follow each other.
    out : array or Frame, optional
        Where the result goes: of that dtype and shape.
    threads : int, optional
        How many threads may work, see `threads`.

    Returns
    -------
    Frame
        uint16, or uint8 for formats of bytes, with the depth and the pattern of the format; over `out` if given.
        Samples of whole words are not limited to the depth; `clip_to_depth` does that.

    Raises
    ------
    ArgumentError
        For an unknown format, a shape, depth or pattern that does not go with it, a buffer that is too short, and an
        `out` that cannot be written.
    SampleTypeError
        For anything but a buffer of bytes.

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
    meaning = _meaning(format, bits, bayer)
    rows, columns = size_of(shape)
    data = _bytes_of(buffer, "buffer")
    step, total = _extent(meaning, rows, columns, row_bytes)
    if data.nbytes < total:
        raise ArgumentError("buffer", f"{total} bytes are wanted for {rows} x {columns} samples, not {data.nbytes}")
    grid = NO_GRID if meaning.bayer is None else GRIDS[meaning.bayer]
    reads = (np.frombuffer(data, UINT8),)
    target = Target(out, (rows, columns), meaning.dtype, meaning.bits, meaning.bayer, grid, reads)
    if target.array.size and meaning.layout is None:
        np.copyto(target.array, meaning.in_memory(data, (rows, columns), step))
    elif target.array.size:
        run(threads, native.UnpackSamples, data, data.nbytes, step, meaning.layout, target.record)
    return target.out if isinstance(target.out, Frame) else Frame(target.array, meaning.bits, meaning.bayer)


def pack(
    image: Image,
    format: str,
    *,
    row_bytes: Whole = 0,
    out: Buffer | None = None,
    threads: Whole | None = None,
) -> npt.NDArray[np.uint8]:
    """Pack samples as cameras send them: what `unpack` reads.

    Samples beyond the depth become its largest value, and bits that fill up a row are 0.

    Parameters
    ----------
    image : array or Frame
        uint16, or uint8 for formats of bytes, of shape (rows, columns). A frame has the depth of the format, and its
        pattern where that has one.
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
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> packed = ko.pack(np.array([[0x321, 0x654]], np.uint16), "Mono12p")
    >>> packed.tobytes().hex()
    '214365'
    """
    meaning = _meaning(format, None, None)
    source = Source(image, (meaning.dtype,), mosaic=True)
    if source.array.ndim != 2:
        raise ArgumentError("image", f"the shape (rows, columns) is wanted, not {source.shape}")
    if source.frame is not None:
        if not meaning.any_depth and source.bits != meaning.bits:
            raise ArgumentError("format", f"{format} has {meaning.bits} bits, the frame {source.bits}")
        if meaning.bayer not in (None, source.bayer):
            raise ArgumentError("format", f"{format} has the pattern {meaning.bayer}, the frame {source.bayer}")
        meaning = meaning._replace(bits=source.bits)
    rows, columns = source.shape
    step, total = _extent(meaning, rows, columns, row_bytes)
    if out is None:
        result = np.zeros(total, UINT8)
    else:
        data = _bytes_of(out, "out", writable=True)
        if data.nbytes < total:
            raise ArgumentError("out", f"{total} bytes are wanted for {rows} x {columns} samples, not {data.nbytes}")
        result = np.frombuffer(data, UINT8)
        if np.may_share_memory(result, source.array) and np.shares_memory(result, source.array):
            raise ArgumentError("out", "shares memory with the image")
    if source.array.size and meaning.layout is None:
        top = source.dtype.type((1 << meaning.bits) - 1)
        np.minimum(source.array, top, out=meaning.in_memory(result, source.shape, step))
    elif source.array.size:
        record = native.SxImageBuf(source.array, meaning.bits)
        run(threads, native.PackSamples, record, meaning.layout, result, total, step)
    return result
