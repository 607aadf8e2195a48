"""An array together with what its samples mean."""

from __future__ import annotations

import ctypes
from collections.abc import Collection
from typing import Any, Protocol, Union

import numpy as np
import numpy.typing as npt

from koimproc import native
from koimproc._errors import ArgumentError, SampleTypeError, one_of

Array = npt.NDArray[Any]
Mask = npt.NDArray[np.bool_]
# Numbers of Python and of NumPy.
Whole = Union[int, "np.integer[Any]"]
Number = Union[float, "np.floating[Any]", "np.integer[Any]"]

# Bits of a sample of every type that an image may have.
DEPTHS: dict[np.dtype[Any], int] = {
    np.dtype(kind): 8 * np.dtype(kind).itemsize
    for kind in ("u1", "u2", "u4", "u8", "i1", "i2", "i4", "i8", "f4", "f8")
}
GRIDS = {"BGGR": 0, "RGGB": 1, "GBRG": 2, "GRBG": 3}
NO_GRID = 4


class HasArrayInterface(Protocol):
    """Anything that shows its memory by NumPy's array interface, such as a PIL image."""

    @property
    def __array_interface__(self) -> dict[str, Any]: ...


class HasDLPack(Protocol):
    """Anything that hands its memory over by DLPack, such as a tensor on the CPU."""

    def __dlpack__(self) -> Any: ...

    def __dlpack_device__(self) -> tuple[int, int]: ...


Pixels = Union[Array, HasArrayInterface, HasDLPack, memoryview, "ctypes.Array[Any]"]


def array_of(pixels: object, name: str) -> Array:
    """The array behind an argument, without a copy wherever its memory can be seen."""
    if type(pixels) is np.ndarray:
        return pixels
    if isinstance(pixels, Frame):
        return pixels._array
    if isinstance(pixels, np.ma.MaskedArray):
        raise SampleTypeError(name, "a masked array, whose mask would be lost; pass its data and mask=")
    if isinstance(pixels, np.ndarray):
        return np.asarray(pixels)
    if isinstance(pixels, memoryview):
        try:
            return np.asarray(pixels) if pixels.nbytes >= 0 else np.empty(0)
        except ValueError as error:
            raise ArgumentError(name, f"memory that cannot be read: {error}") from None
    if hasattr(pixels, "__array_interface__") or hasattr(pixels, "__array__"):
        return np.asarray(pixels)
    if hasattr(pixels, "__dlpack__"):
        try:
            return np.from_dlpack(pixels)
        except (BufferError, RuntimeError) as error:  # of a type that DLPack does not have, on another device ...
            raise ArgumentError(name, f"memory that cannot be read: {error}") from None
    try:
        view = memoryview(pixels)  # type: ignore[arg-type]
    except TypeError:
        hint = "give it a dtype with np.asarray(..., dtype=)"
    else:
        if view.ndim > 1:
            return array_of(view, name)
        hint = "np.frombuffer(..., dtype=).reshape(rows, columns) makes one of bytes"
    raise SampleTypeError(name, f"an array is wanted, not {type(pixels).__name__}; {hint}")


def wrong_samples(name: str, given: np.dtype[Any], types: Collection[np.dtype[Any]]) -> SampleTypeError:
    """What is to be raised for an array of a dtype that is none of those wanted."""
    names = [dtype.name for dtype in DEPTHS if dtype in types]
    wanted = " or ".join(filter(None, (", ".join(names[:-1]), names[-1])))
    hint = ""
    if given == np.bool_:
        hint = "; array.view(np.uint8) has them as 0 and 1"
    elif given in DEPTHS and np.dtype(np.uint8) in types:
        hint = "; rescale_intensity brings others to these"
    return SampleTypeError(
        name, f"samples of {wanted} are wanted, not {given}{hint}", native.ResultCode.ResultUnsupportedType
    )


def check_shape(array: Array, name: str) -> None:
    if array.ndim not in (2, 3) or (array.ndim == 3 and array.shape[2] == 0):
        raise ArgumentError(
            name, f"the shape (rows, columns) or (rows, columns, channels) is wanted, not {array.shape}"
        )
    if max(array.shape) >= 2**31:
        raise ArgumentError(name, f"at most {2**31 - 1} rows and columns are wanted, not {array.shape}")


def grid_at(bayer: str, top: int, left: int) -> str:
    """The pattern of the part of a mosaic that begins at this row and column."""
    if top % 2:
        bayer = bayer[2:] + bayer[:2]
    return bayer[1] + bayer[0] + bayer[3] + bayer[2] if left % 2 else bayer


class Frame:
    """A view of an array with what its samples mean.

    Functions that are given a frame return frames, which carry the depth on; given an array they return arrays and
    take all bits of its dtype as the depth. The depth is never guessed from the samples.

    Parameters
    ----------
    array : array
        The samples, of shape (rows, columns) or (rows, columns, channels), 8 to 64 bits wide integers, float32 or
        float64. It is not copied.
    bits : int, optional
        Depth of integer samples: they lie in 0...2**bits - 1. All bits of the dtype unless given.
    bayer : {"RGGB", "BGGR", "GBRG", "GRBG"}, optional
        For the raw frame of a colour sensor, the colours of the first two rows: "RGGB" has red at (0, 0), green at
        (0, 1) and (1, 0), blue at (1, 1). uint8 or uint16, of shape (rows, columns).

    Attributes
    ----------
    bits, bayer, shape, ndim, size, dtype
        What the samples mean; the others are those of the array. ``frame[top:bottom, left:right]`` is a frame of a
        part of it, which keeps the colours of a mosaic. ``frame > 100``, ``frame == other`` and the like compare sample
        by sample, as arrays do, and give an array of bool. ``np.asarray(frame)`` is the array itself, for arithmetic
        and all else that NumPy does; a frame alone does no arithmetic, because the result would have another depth.

    Raises
    ------
    ArgumentError
        For another shape, for bits that the dtype does not have, for an unknown pattern.
    SampleTypeError
        For anything but an array, and for another dtype.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> a = np.zeros((4, 6), np.uint16)
    >>> f = ko.Frame(a, bits=12, bayer="RGGB")
    >>> f
    Frame(4 x 6, uint16, bits=12, bayer='RGGB')
    >>> np.shares_memory(np.asarray(f), a)
    True
    >>> f[1:, :].bayer
    'GBRG'
    >>> bool((f == 0).all())
    True
    """

    __slots__ = ("_array", "_bits", "_bayer", "_grid", "__weakref__")

    _array: Array
    _bits: int
    _bayer: str | None
    _grid: int

    def __init__(
        self, array: Pixels | Frame, bits: Whole | None = None, bayer: str | None = None
    ) -> None:
        samples = array_of(array, "array")
        if isinstance(array, Frame):
            bits = array._bits if bits is None else bits
            bayer = array._bayer if bayer is None else bayer
        check_shape(samples, "array")
        native_order = samples.dtype.newbyteorder("=")
        if native_order not in DEPTHS:
            raise wrong_samples("array", samples.dtype, DEPTHS)
        depth = DEPTHS[native_order]
        if bits is None:
            bits = depth
        elif isinstance(bits, bool) or not isinstance(bits, (int, np.integer)):
            raise ArgumentError("bits", f"a whole number is wanted, not {bits!r}")
        elif not 1 <= bits <= depth or (samples.dtype.kind == "f" and bits != depth):
            lowest = depth if samples.dtype.kind == "f" else 1
            raise ArgumentError("bits", f"{samples.dtype} samples have {lowest}...{depth} bits, not {bits}")
        if bayer is not None:
            one_of(bayer, GRIDS, "bayer")
            if samples.ndim != 2:
                raise ArgumentError("bayer", f"a mosaic has the shape (rows, columns), not {samples.shape}")
            if native_order not in (np.uint8, np.uint16):
                raise SampleTypeError("array", f"the samples of a mosaic are uint8 or uint16, not {samples.dtype}")
        self._array = samples
        self._bits = int(bits)
        self._bayer = bayer
        self._grid = NO_GRID if bayer is None else GRIDS[bayer]

    @property
    def bits(self) -> int:
        """Depth of the samples."""
        return self._bits

    @property
    def bayer(self) -> str | None:
        """Colours of a mosaic's first two rows; None for all other frames."""
        return self._bayer

    @property
    def shape(self) -> tuple[int, ...]:
        """(rows, columns) or (rows, columns, channels)."""
        return self._array.shape

    @property
    def ndim(self) -> int:
        """2, or 3 with channels."""
        return self._array.ndim

    @property
    def size(self) -> int:
        """Number of samples."""
        return self._array.size

    @property
    def dtype(self) -> np.dtype[Any]:
        """Type of the samples."""
        return self._array.dtype

    def __array__(self, dtype: npt.DTypeLike = None, copy: bool | None = None) -> Array:
        if dtype is not None and np.dtype(dtype) != self._array.dtype:
            if copy is False:
                raise ValueError(f"{self._array.dtype} cannot become {np.dtype(dtype)} without a copy")
            return self._array.astype(dtype)
        return self._array.copy() if copy else self._array

    # As arrays do it, so that nobody takes frames for equal because they are one object, or for unequal because they
    # are two. That leaves no hash and no truth either.
    def __eq__(self, other: object) -> Mask:  # type: ignore[override]
        return _compared(np.equal, self, other)

    def __ne__(self, other: object) -> Mask:  # type: ignore[override]
        return _compared(np.not_equal, self, other)

    def __lt__(self, other: object) -> Mask:
        return _compared(np.less, self, other)

    def __le__(self, other: object) -> Mask:
        return _compared(np.less_equal, self, other)

    def __gt__(self, other: object) -> Mask:
        return _compared(np.greater, self, other)

    def __ge__(self, other: object) -> Mask:
        return _compared(np.greater_equal, self, other)

    __hash__ = None  # type: ignore[assignment]

    def __bool__(self) -> bool:
        raise ValueError("a frame is neither true nor false; np.any(frame) and np.all(frame) are, and so is frame.size")

    def __len__(self) -> int:
        return len(self._array)

    def __getitem__(self, part: tuple[slice, slice]) -> Frame:
        """A part of the frame, over the same memory; that of a mosaic keeps its colours."""
        if not (
            isinstance(part, tuple) and len(part) == 2 and all(isinstance(axis, slice) and axis.step in (None, 1)
                                                               for axis in part)
        ):
            raise ArgumentError("part", "frame[top:bottom, left:right] is wanted; np.asarray(frame) takes all others")
        bayer = self._bayer
        if bayer is not None:
            top, left = (axis.indices(length)[0] for axis, length in zip(part, self._array.shape))
            bayer = grid_at(bayer, top, left)
        return frame_over(self._array[part], self._bits, bayer)

    def __reduce__(self) -> tuple[Any, ...]:
        return Frame, (self._array, self._bits, self._bayer)

    def __repr__(self) -> str:
        size = " x ".join(str(length) for length in self._array.shape)
        bayer = "" if self._bayer is None else f", bayer={self._bayer!r}"
        return f"Frame({size}, {self._array.dtype}, bits={self._bits}{bayer})"


def _compared(operation: np.ufunc, frame: Frame, other: object) -> Mask:
    result: Mask = operation(frame._array, other._array if isinstance(other, Frame) else other)
    return result


def frame_over(array: Array, bits: int, bayer: str | None = None) -> Frame:
    """A frame of what is known to be right."""
    frame = object.__new__(Frame)
    frame._array = array
    frame._bits = bits
    frame._bayer = bayer
    frame._grid = NO_GRID if bayer is None else GRIDS[bayer]
    return frame
