"""From the arguments of a function to the records of the library, and back."""

from __future__ import annotations

import math
from collections.abc import Collection, Sequence
from typing import Any, Union

import numpy as np

from koimproc import native
from koimproc._errors import ArgumentError, SampleTypeError
from koimproc._frame import DEPTHS, NO_GRID, Array, Frame, Pixels, Whole, array_of, check_shape, frame_over, wrong_samples
from koimproc._memory import empty

Image = Union[Pixels, Frame]
Output = Union[Array, Frame]
# Rows and columns, such as a part of an array's shape.
Size = Union[Sequence[Whole], Array]
DType = np.dtype[Any]

UINT8 = np.dtype(np.uint8)
UINT16 = np.dtype(np.uint16)
INT32 = np.dtype(np.int32)
FLOAT64 = np.dtype(np.float64)
BOOL = np.dtype(np.bool_)
CAMERA_SAMPLES: frozenset[DType] = frozenset((UINT8, UINT16))
ALL_SAMPLES: frozenset[DType] = frozenset(DEPTHS)
BITS_OF_MASK: frozenset[DType] = frozenset((UINT8, BOOL))

# How hard to look whether two arrays share memory, before it is taken for granted.
_OVERLAP_WORK = 100_000


class Source:
    """An image that a function reads: its record, its pixels as the record has them, and what they mean.

    `types` are the samples that it may have. `bits` is the depth of an array, all bits of its dtype unless given.
    """

    __slots__ = ("record", "array", "shape", "dtype", "channels", "bits", "frame")

    record: native.SxImageBuf
    array: Array
    shape: tuple[int, ...]
    dtype: DType
    channels: int
    bits: int
    frame: Frame | None

    def __init__(
        self,
        image: Image,
        types: Collection[DType] = CAMERA_SAMPLES,
        name: str = "image",
        *,
        mosaic: bool = False,
        bits: int | None = None,
    ) -> None:
        frame = image if isinstance(image, Frame) else None
        array = array_of(image, name) if frame is None else frame._array
        if array.dtype not in types:
            array = in_native_order(array, types, name)
        shape = array.shape
        if 0 in shape:
            check_shape(array, name)
        if frame is None:
            bits = DEPTHS[array.dtype] if bits is None else bits
            grid = NO_GRID
        else:
            bits = frame._bits
            grid = frame._grid
            if grid != NO_GRID and not mosaic:
                raise ArgumentError(
                    name, "a mosaic, whose neighbours differ in colour; demosaic it, or pass np.asarray(frame)"
                )
        try:
            self.record = native.SxImageBuf(array, bits, 0, grid)
        except ValueError:
            check_shape(array, name)
            array = np.array(array, order="C")
            self.record = native.SxImageBuf(array, bits, 0, grid)
        self.array = array
        self.shape = shape
        self.dtype = array.dtype
        self.channels = shape[2] if len(shape) == 3 else 1
        self.bits = bits
        self.frame = frame

    @property
    def bayer(self) -> str | None:
        return None if self.frame is None else self.frame._bayer

    @property
    def top(self) -> int:
        """The largest sample of the depth."""
        return (1 << self.bits) - 1


def in_native_order(array: Array, types: Collection[DType], name: str) -> Array:
    """A copy in this machine's byte order of what has samples of another one; refuses all other samples."""
    native_order = array.dtype.newbyteorder("=")
    if native_order in types:
        return array.astype(native_order)
    raise wrong_samples(name, native_order, types)


def mask_of(mask: Image | None, shape: tuple[int, ...], name: str = "mask") -> Array | None:
    """A mask as an array of uint8, of the size of the image of that shape."""
    if mask is None:
        return None
    array = array_of(mask, name)
    if array.dtype not in BITS_OF_MASK:
        raise SampleTypeError(name, f"a mask has samples of bool or uint8, not {array.dtype}")
    if array.shape != shape[:2]:
        raise ArgumentError(name, f"the shape of the image, {shape[:2]}, is wanted, not {array.shape}")
    return array.view(UINT8)


def record_of(array: Array) -> native.SxImageBuf:
    """The record of an input of any layout."""
    try:
        return native.SxImageBuf(array)
    except ValueError:
        return native.SxImageBuf(np.array(array, order="C"))


class Target:
    """An image that a function writes: made for it, or the caller's `out`."""

    __slots__ = ("record", "array", "out", "bits", "bayer")

    def __init__(
        self,
        out: Output | None,
        shape: tuple[int, ...],
        dtype: DType,
        bits: int | None = None,
        bayer: str | None = None,
        grid: int = NO_GRID,
        reads: tuple[Array, ...] = (),
        in_place: bool = False,
    ) -> None:
        self.out = out
        self.bits = bits
        self.bayer = bayer
        if out is None:
            self.array = empty(shape, dtype)
        else:
            self.array = _checked(out, shape, dtype, bits, bayer, reads, in_place)
        pixels = self.array if dtype is not BOOL else self.array.view(UINT8)
        try:
            self.record = native.SxImageBuf(pixels, bits, 0, grid)
        except ValueError:
            check_shape(pixels, "out")
            raise ArgumentError(
                "out", "the samples of a row must lie one after another and the rows one behind the other: "
                f"strides {pixels.strides} are not supported"
            ) from None

    def result(self, frame: Frame | None) -> Frame | Array:
        """What the function returns: a frame where it was given one, otherwise an array."""
        if frame is None:
            return self.array
        if isinstance(self.out, Frame):
            return self.out
        return frame_over(self.array, self.bits or DEPTHS[self.array.dtype], self.bayer)


def _checked(
    out: Output,
    shape: tuple[int, ...],
    dtype: DType,
    bits: int | None,
    bayer: str | None,
    reads: tuple[Array, ...],
    in_place: bool,
) -> Array:
    """The array of `out`, if a result can be written there."""
    if isinstance(out, Frame):
        if bits is not None and out._bits != bits:
            raise ArgumentError("out", f"a frame of {bits} bits is wanted, not of {out._bits}")
        if out._bayer != bayer:
            raise ArgumentError("out", f"a frame with bayer={bayer!r} is wanted, not {out._bayer!r}")
        array = out._array
    elif isinstance(out, np.ndarray):
        array = array_of(out, "out")  # what subclasses make of arithmetic is not wanted
    else:
        raise SampleTypeError("out", f"an array or a frame is wanted, not {type(out).__name__}")
    if array.dtype != dtype:
        raise SampleTypeError("out", f"samples of {dtype} are wanted, not {array.dtype}")
    if array.shape != shape:
        raise ArgumentError("out", f"the shape {shape} is wanted, not {array.shape}")
    if not array.flags.writeable:
        raise ArgumentError("out", "the array is read-only")
    for other in reads:
        if np.may_share_memory(array, other) and _overlap(array, other, in_place):
            raise ArgumentError("out", "shares memory with an input, which it would overwrite before it is read")
    return array


def is_same_memory(array: Array, other: Array) -> bool:
    """Whether two arrays are the very same samples."""
    same: bool = (
        array.shape == other.shape
        and array.strides == other.strides
        and array.itemsize == other.itemsize
        and array.__array_interface__["data"][0] == other.__array_interface__["data"][0]
    )
    return same


def _overlap(array: Array, other: Array, in_place: bool) -> bool:
    """Whether writing one array spoils the other. In place, the very same samples may be written."""
    if in_place and is_same_memory(array, other):
        return False
    try:
        return np.shares_memory(array, other, max_work=_OVERLAP_WORK)
    except np.TooHardError:
        return True


def like(source: Source, out: Output | None, in_place: bool = False, extra: tuple[Array, ...] = ()) -> Target:
    """A target of the format of a source."""
    frame = source.frame
    reads = (source.array, *extra)
    if frame is None:
        return Target(out, source.shape, source.dtype, reads=reads, in_place=in_place)
    return Target(out, source.shape, source.dtype, frame._bits, frame._bayer, frame._grid, reads, in_place)


def copied(source: Source, out: Output | None, extra: tuple[Array, ...] = ()) -> Target:
    """A target that holds the samples of a source, for operations that change an image."""
    target = like(source, out, in_place=True, extra=extra)
    fill(target, source)
    return target


def fill(target: Target, source: Source) -> None:
    if target.array is not source.array:
        np.copyto(target.array, source.array)


def apart(mask: Array | None, target: Target) -> Array | None:
    """A mask that stays when the target is written."""
    if mask is None or not is_same_memory(mask, target.array):
        return mask
    return mask.copy()


def need_colours(source: Source) -> None:
    """Refuses numbers of channels that operations on colours do not take."""
    if source.channels not in (1, 3, 4):
        raise ArgumentError("image", f"1, 3 or 4 channels are wanted, not {source.channels}")


def flat(array: Array) -> Array:
    """An interleaved image as one with a column for every sample, over the same memory."""
    if array.ndim == 2:
        return array
    rows, columns, channels = array.shape
    view = array.view()
    view.shape = (rows, columns * channels)
    return view


def size_of(shape: object) -> tuple[int, int]:
    """Rows and columns of an argument `shape`."""
    if isinstance(shape, np.ndarray) and shape.shape == (2,):
        shape = shape.tolist()
    if not isinstance(shape, (tuple, list)) or len(shape) != 2:
        raise ArgumentError("shape", f"(rows, columns) is wanted, not {shape!r}")
    return whole(shape[0], "shape", 0), whole(shape[1], "shape", 0)


def number(value: object, name: str) -> float:
    """A finite number."""
    if isinstance(value, bool) or not isinstance(value, (int, float, np.integer, np.floating)):
        raise ArgumentError(name, f"a number is wanted, not {value!r}")
    try:
        finite = float(value)
    except OverflowError:
        finite = math.inf
    if not math.isfinite(finite):
        raise ArgumentError(name, f"a finite number is wanted, not {value!r}")
    return finite


def numbers_of(values: object, kinds: str, name: str, wanted: str) -> Array:
    """An argument of one number or several, of certain kinds of dtype."""
    try:
        given = np.asarray(values)
    except ValueError:
        given = np.empty(0, object)  # a sequence of sequences of different lengths
    if given.dtype.kind not in kinds:
        raise ArgumentError(name, f"{wanted}, not {values!r}")
    return given


def whole(value: object, name: str, lowest: int, highest: int = 2**31 - 1) -> int:
    """An integer argument within its limits."""
    if isinstance(value, bool) or not isinstance(value, (int, np.integer)):
        raise ArgumentError(name, f"a whole number is wanted, not {value!r}")
    if not lowest <= value <= highest:
        raise ArgumentError(name, f"{lowest}...{highest} is wanted, not {value}")
    return int(value)
