"""Statistics of every pixel over a series, as integers that merge in any order."""

from __future__ import annotations

import copy
from collections.abc import Sequence
from threading import RLock
from typing import Any, Optional

import numpy as np
import numpy.typing as npt

from koimproc import native
from koimproc._arrays import CAMERA_SAMPLES, Image, in_native_order, mask_of, record_of, whole
from koimproc._errors import ArgumentError
from koimproc._frame import array_of, check_shape
from koimproc._memory import empty
from koimproc.series._files import PathLike
from koimproc.series._prepared import Prepared, check, counted
from koimproc.series._sums_file import read_sums, write_sums

Array = npt.NDArray[Any]

# The planes that a result is made of, and the type of their numbers; None is that of the frames. Counts are wanted where
# frames have masks: without them all samples have seen every frame.
_PLANES = {
    "mean": ("sum",),
    "var": ("sum", "squares"),
    "min": ("minimum",),
    "max": ("maximum",),
    "above": ("above",),
    "hist": (),
}
_TYPES = {"sum": "u8", "squares": "u8", "minimum": None, "maximum": None, "above": "u4", "counts": "u4"}


def _check_alike(frame: Array, dtype: Optional[np.dtype[Any]], shape: tuple[int, ...]) -> None:
    if frame.dtype != dtype or frame.shape != shape:
        raise ArgumentError("frames", f"{dtype} of shape {shape} is wanted, not {frame.dtype} of {frame.shape}")


class Accumulator:
    """Statistics of every pixel over any number of frames.

    It holds only integers, and merging adds them. So the parts of a series may be accumulated anywhere and merged in
    any order: the results are the same bit for bit. Several threads may add to one accumulator; one adds at a time.

    Parameters
    ----------
    *what : {"mean", "var", "min", "max", "above", "hist"}
        What `result` gives: images, and for "hist" how often each level occurs in all frames together.
    bits : int, optional
        Depth of the frames, for "hist"; all bits of their dtype unless given.
    level : int, optional
        For "above": samples above it are counted, which finds hot pixels in dark frames.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> a = ko.Accumulator("mean", "var", "max")
    >>> a.add(np.full((1, 2), 4, np.uint16), np.full((1, 2), 8, np.uint16))
    >>> a.result()["mean"], a.result()["var"]
    (array([[6., 6.]]), array([[4., 4.]]))
    """

    def __init__(self, *what: str, bits: Optional[int] = None, level: Optional[int] = None) -> None:
        if not what or not all(isinstance(name, str) and name in _PLANES for name in what):
            raise ArgumentError("what", f"some of {', '.join(_PLANES)} are wanted, not {what!r}")
        if ("above" in what) != (level is not None):
            raise ArgumentError("level", "a level is wanted for 'above', and for nothing else")
        self._what = tuple(name for name in _PLANES if name in what)
        self._bits = None if bits is None else whole(bits, "bits", 1, 16)
        self._level = None if level is None else whole(level, "level", 0, 65535)
        self._planes: dict[str, Array] = {}
        self._histogram: Optional[npt.NDArray[np.uint64]] = None
        self._dtype: Optional[np.dtype[Any]] = None
        self._shape: tuple[int, ...] = ()
        self._sums = native.SxAccumulator()
        self._frames = 0
        self._lock = RLock()

    def empty(self) -> Accumulator:
        """An accumulator of the same results without any frame."""
        return Accumulator(*self._what, bits=self._bits, level=self._level)

    def sample_bytes(self, dtype: np.dtype[Any]) -> int:
        """Bytes that are held for every sample of frames of that dtype."""
        return sum(np.dtype(kind or dtype).itemsize for kind in self._plane_types().values())

    def _plane_types(self) -> dict[str, Optional[str]]:
        names = {plane for name in self._what for plane in _PLANES[name]}
        return {name: kind for name, kind in _TYPES.items() if name in names}

    @property
    def what(self) -> tuple[str, ...]:
        """Names of the results."""
        return self._what

    @property
    def frames(self) -> int:
        """How many frames have been added."""
        return self._frames

    @property
    def planes(self) -> dict[str, Array]:
        """The integers themselves, by name; empty before the first frame. They are not copied. "counts" is among them where
        a frame had a mask."""
        return dict(self._planes)

    def add(self, *frames: Image, masks: Optional[Sequence[Image]] = None) -> None:
        """Add frames: uint8 or uint16 arrays of one shape, (rows, columns) or (rows, columns, channels).

        Several frames in one call take less time than one call for each. A mask has one uint8 or bool per pixel; pixels
        that its mask does not select (0) are not counted in that frame.
        """
        if frames:
            self._take(self._prepared(frames, masks))

    def _prepared(self, frames: Sequence[Image], masks: Optional[Sequence[Image]] = None) -> Prepared:
        """Frames and masks that fit each other and this accumulator, and how often their levels occur. It changes nothing, so
        one thread may prepare frames while another one adds its own."""
        arrays = [array_of(frame, "frames") for frame in frames]
        arrays = [
            array if array.dtype in CAMERA_SAMPLES else in_native_order(array, CAMERA_SAMPLES, "frames") for array in arrays
        ]
        if self._dtype is None:
            self._check_kind(arrays[0])
        dtype, shape = (arrays[0].dtype, arrays[0].shape) if self._dtype is None else (self._dtype, self._shape)
        for array in arrays:
            _check_alike(array, dtype, shape)
        chosen = [] if masks is None else list(masks)
        if masks is not None and len(chosen) != len(frames):
            raise ArgumentError("masks", f"as many as frames are wanted, {len(frames)}, not {len(chosen)}")
        selecting = [mask_of(array_of(mask, "masks"), shape, "masks") for mask in chosen]
        records = [native.SxImageBuf(np.ascontiguousarray(array)) for array in arrays]
        selected = [record_of(mask) for mask in selecting if mask is not None]
        counts = counted(arrays[0], records, selected, self._bits) if "hist" in self._what else None
        return Prepared(arrays[0], records, selected, counts)

    def _take(self, new: Prepared) -> None:
        """Adds what an accumulator of the same results has prepared, all or nothing."""
        with self._lock:
            is_first = self._dtype is None
            if is_first:
                self._begin(new.first)
            _check_alike(new.first, self._dtype, self._shape)
            try:
                if new.masks and self._planes and "counts" not in self._planes:
                    self._planes["counts"] = self._counts()
                    self._bind()
                self._add(new)
            except BaseException:
                if is_first and self._frames == 0:
                    self._become(self.empty().__getstate__())
                raise

    def _add(self, new: Prepared) -> None:
        frames = self._frames + len(new.records)
        if not self._planes and frames > native.mostAccumulatedFrames:
            check(native.ResultOutOfRange, "")
        try:
            if self._planes:
                check(native.AccumulateFrames(new.records, new.masks, self._sums), "frames or masks do not fit")
        finally:
            # After Ctrl-C the call has done its work or not begun.
            if not self._planes or self._sums.frames == frames:
                self._frames = frames
                if new.counts is not None:
                    self._histogram = new.counts if self._histogram is None else self._histogram + new.counts

    def merge(self, other: Accumulator) -> Accumulator:
        """Add what another accumulator holds, which stays as it is; returns this one."""
        if not isinstance(other, Accumulator):
            raise ArgumentError("other", f"an accumulator is wanted, not {type(other).__name__}")
        if (self._what, self._bits, self._level) != (other._what, other._bits, other._level):
            raise ArgumentError("other", "an accumulator of the same results, bits and level is wanted")
        # In one order everywhere, so that no two threads wait for each other.
        first, second = sorted((self, other), key=id)
        with first._lock, second._lock:
            if other._dtype is None:
                return self
            if self._dtype is None:
                self._become(copy.deepcopy(other.__getstate__()))
                return self
            if (self._dtype, self._shape) != (other._dtype, other._shape):
                raise ArgumentError("other", f"one of {self._dtype} frames of shape {self._shape} is wanted")
            if self is other:
                raise ArgumentError("other", "an accumulator is not merged with itself")
            if self._planes:
                check(self._add_planes(other), "the accumulators do not fit")
            elif self._frames + other._frames > native.mostAccumulatedFrames:
                check(native.ResultOutOfRange, "")
            if self._histogram is not None and other._histogram is not None:
                self._histogram = self._histogram + other._histogram
            self._frames += other._frames
            return self

    def _add_planes(self, other: Accumulator) -> native.ResultCode:
        """Merges planes, with counts of samples if either has them."""
        counted = [sums for sums in (self, other) if "counts" in sums._planes]
        if counted == [other]:
            self._planes["counts"] = self._counts()
            self._bind()
        theirs = other._record({"counts": other._counts(), **other._planes}) if counted == [self] else other._sums
        return native.MergeAccumulators(theirs, self._sums)

    def result(self, ddof: int = 0) -> dict[str, Array]:
        """The results by name.

        "mean" and "var" are float64: the numbers nearest to the exact quotients. The variance is divided by n - `ddof`,
        0 or 1, where n is the number of frames that count the pixel; it is NaN where that is not above 0. "min" of a
        pixel that is never counted is the largest number of the dtype. "hist" has the shape (levels,), or
        (channels, levels).
        """
        if ddof not in (0, 1):
            raise ArgumentError("ddof", f"0 or 1 is wanted, not {ddof}")
        with self._lock:
            if self._dtype is None:
                raise ValueError("no frame has been added")
            return {name: self._result(name, ddof) for name in self._what}

    def save(self, path: PathLike, *, durable: bool = True) -> None:
        """Write everything to a file, which appears under its name when it is complete, and if it is to be `durable` when
        the disk has it."""
        with self._lock:
            write_sums(path, self.__getstate__(), durable)

    @classmethod
    def load(cls, path: PathLike) -> Accumulator:
        """Read what `save` has written."""
        accumulator = cls.__new__(cls)
        accumulator.__setstate__(read_sums(path))
        return accumulator

    def __repr__(self) -> str:
        what = ", ".join(map(repr, self._what))
        facts = "".join(f", {name}={value}" for name, value in (("bits", self._bits), ("level", self._level)) if value is not None)
        return f"<Accumulator({what}{facts}) of {self._frames} frames>"

    def __copy__(self) -> Accumulator:
        """A copy of its own: to add to the integers of two would spoil both."""
        return copy.deepcopy(self)

    def __getstate__(self) -> dict[str, Any]:
        return {
            "what": self._what,
            "bits": self._bits,
            "level": self._level,
            "dtype": self._dtype,
            "shape": self._shape,
            "frames": self._frames,
            "planes": self._planes,
            "histogram": self._histogram,
        }

    def __setstate__(self, state: dict[str, Any]) -> None:
        self._lock = RLock()
        self._become(state)

    def _become(self, state: dict[str, Any]) -> None:
        self._what = state["what"]
        self._bits = state["bits"]
        self._level = state["level"]
        self._dtype = state["dtype"]
        self._shape = state["shape"]
        self._frames = state["frames"]
        self._planes = state["planes"]
        self._histogram = state["histogram"]
        self._bind()

    def _check_kind(self, frame: Array) -> None:
        """Refuses frames that no accumulator takes."""
        check_shape(frame, "frames")
        if self._bits is not None and self._bits > 8 * frame.dtype.itemsize:
            raise ArgumentError("bits", f"samples of {frame.dtype} do not have {self._bits}")

    def _begin(self, frame: Array) -> None:
        self._dtype = frame.dtype
        self._shape = frame.shape
        types = self._plane_types()
        self._planes = {name: np.empty(frame.shape, kind or frame.dtype) for name, kind in types.items()}
        self._bind()
        if self._planes:
            check(native.ClearAccumulator(self._sums), "planes of this shape")

    def _bind(self) -> None:
        """Lay the library's record over the planes."""
        self._sums = self._record(self._planes)

    def _record(self, planes: dict[str, Array]) -> native.SxAccumulator:
        records = {name: native.SxImageBuf(plane) for name, plane in planes.items()}
        return native.SxAccumulator(**records, frames=self._frames, level=self._level or 0)

    def _counts(self) -> Array:
        """How many frames each sample has seen, where no frame had a mask."""
        return np.full(self._shape, self._frames, _TYPES["counts"])

    def _result(self, name: str, ddof: int) -> Array:
        if name == "hist":
            assert self._histogram is not None
            counts: Array = self._histogram[0] if len(self._shape) == 2 else self._histogram
            return counts.copy()
        if name in ("mean", "var"):
            out = empty(self._shape, np.dtype(np.float64))
            image = native.SxImageBuf(out)
            if name == "mean":
                check(native.AccumulatedMean(self._sums, image), "planes")
            else:
                check(native.AccumulatedVariance(self._sums, ddof, image), "planes")
            return out
        plane: Array = self._planes[_PLANES[name][0]].copy()
        return plane
