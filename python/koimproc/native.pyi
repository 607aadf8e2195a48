"""Every export of the two libraries by its own name.

Records are objects over arrays and share their memory; statuses come back as they are, nothing is raised for them.
Where the C++ function writes through a pointer or a reference to a number, a list or a work buffer, the Python function
leaves that parameter out and returns a tuple: the status first, then the outputs in the order of C++. Parameters that
are left out still count in `ResultBadArg1`...`ResultBadArg7`.

Raised before the call, with nothing written: `TypeError` for objects that no overload takes, `ValueError` for objects
that cannot be used as asked (read-only memory as destination, fewer values than channels, numbers that do not fit),
`RuntimeError` for objects that another call is using. Images that share memory are the caller's responsibility, as in
C++: what pixels come out is not defined, and no other memory is touched.

Rectangles are `(x, y, width, height)`, points `(x, y)`, lists of points arrays or sequences of shape (n, 2).
The GIL is released during every operation.
The members of enumerations are names of the module too, as in C++: `native.BayerRGGB`.
"""

from collections.abc import Callable, Mapping, Sequence
from datetime import datetime
from enum import IntEnum
from types import TracebackType
from typing import Any, Literal, Self, final, overload

import numpy as np
import numpy.typing as npt
from _typeshed import ReadableBuffer, WriteableBuffer

_Rect = tuple[int, int, int, int]
_Point = tuple[int, int]
_Points = npt.NDArray[np.integer[Any]] | Sequence[_Point]
_Numbers = Sequence[float] | npt.NDArray[Any]
_Value = int | float
_Metadata = None | bool | int | float | str | bytes

__version__: str  # of the libraries

# ---------------------------------------------------------------- result.h

class ResultCode(IntEnum):
    ResultOk = 0x00000000
    ResultFailed = 0xA0000000
    ResultIncompatible = 0xA000000D
    ResultOutOfRange = 0xA0004309
    ResultUnsupportedType = 0xA000430C
    ResultBadArg1 = 0xA0004313
    ResultBadArg2 = 0xA0004314
    ResultBadArg3 = 0xA0004315
    ResultBadArg4 = 0xA0004316
    ResultBadArg5 = 0xA0004317
    ResultBadArg6 = 0xA0004318
    ResultBadArg7 = 0xA0004319
    # `Stretch` answers 1 on success: a ResultCode without a name, so test with `isFailure`.

ResultOk: Literal[ResultCode.ResultOk]
ResultFailed: Literal[ResultCode.ResultFailed]
ResultIncompatible: Literal[ResultCode.ResultIncompatible]
ResultOutOfRange: Literal[ResultCode.ResultOutOfRange]
ResultUnsupportedType: Literal[ResultCode.ResultUnsupportedType]
ResultBadArg1: Literal[ResultCode.ResultBadArg1]
ResultBadArg2: Literal[ResultCode.ResultBadArg2]
ResultBadArg3: Literal[ResultCode.ResultBadArg3]
ResultBadArg4: Literal[ResultCode.ResultBadArg4]
ResultBadArg5: Literal[ResultCode.ResultBadArg5]
ResultBadArg6: Literal[ResultCode.ResultBadArg6]
ResultBadArg7: Literal[ResultCode.ResultBadArg7]

def isFailure(code: int) -> bool: ...
def argumentOf(code: int) -> int: ...
def toString(code: int) -> str: ...

# ---------------------------------------------------------------- image.h

class ExImageDataType(IntEnum):
    Int8 = 1
    UInt8 = 2
    Int16 = 3
    UInt16 = 4
    Int32 = 5
    UInt32 = 6
    Float32 = 7
    Float64 = 8
    Sample128 = 9
    Int64 = 10
    UInt64 = 11

Int8: Literal[ExImageDataType.Int8]
UInt8: Literal[ExImageDataType.UInt8]
Int16: Literal[ExImageDataType.Int16]
UInt16: Literal[ExImageDataType.UInt16]
Int32: Literal[ExImageDataType.Int32]
UInt32: Literal[ExImageDataType.UInt32]
Float32: Literal[ExImageDataType.Float32]
Float64: Literal[ExImageDataType.Float64]
Sample128: Literal[ExImageDataType.Sample128]
Int64: Literal[ExImageDataType.Int64]
UInt64: Literal[ExImageDataType.UInt64]

class ExPixelPacking(IntEnum):
    Interleaved = 0
    Planar = 1

Interleaved: Literal[ExPixelPacking.Interleaved]
Planar: Literal[ExPixelPacking.Planar]

class ExBayerGrid(IntEnum):
    BayerBGGR = 0
    BayerRGGB = 1
    BayerGBRG = 2
    BayerGRBG = 3
    BayerNone = 4

BayerBGGR: Literal[ExBayerGrid.BayerBGGR]
BayerRGGB: Literal[ExBayerGrid.BayerRGGB]
BayerGBRG: Literal[ExBayerGrid.BayerGBRG]
BayerGRBG: Literal[ExBayerGrid.BayerGRBG]
BayerNone: Literal[ExBayerGrid.BayerNone]

class ExPixelCompression(IntEnum):
    CompressionNone = 0

CompressionNone: Literal[ExPixelCompression.CompressionNone]

class SxImageInfo:
    """Geometry and sample format of an image. Sizes and layout are fixed when it is made."""

    def __init__(
        self,
        width: int = 0,
        height: int = 0,
        channels: int = 0,
        dataType: ExImageDataType | int = 0,
        bitsPerSample: int = 0,
        packing: ExPixelPacking | int = ...,
        stride: int = 0,
        pixelFormat: int = 1,
        bayerGrid: ExBayerGrid | int = ...,
    ) -> None: ...
    @property
    def width(self) -> int: ...
    @property
    def height(self) -> int: ...
    @property
    def stride(self) -> int: ...
    @property
    def channels(self) -> int: ...
    @property
    def dataType(self) -> ExImageDataType: ...
    @property
    def packing(self) -> ExPixelPacking: ...
    bitsPerSample: int
    pixelFormat: int
    bayerGrid: int

@final
class SxImageBuf(SxImageInfo):
    """An image over the memory of an array, which it keeps alive; without an array an absent image.

    `array` is an ndarray or gives one by the buffer protocol or the array interface, never a list: (rows, columns), or
    (rows, columns, channels) with the packing `Interleaved`, or (channels, rows, columns) with `Planar`. Samples of a
    row lie one after another; rows may lie any number of bytes apart, at least a row. Planes lie a whole number of
    such rows apart, exactly `height` of them. Samples are 8 to 64 bits wide integers, float32, float64, or bool, which
    counts as `UInt8` and is read-only; V16 is `Sample128`. `TypeError` for another dtype or byte order, `ValueError`
    for another layout. `bits` None: all bits of the dtype.

    A read-only array makes a read-only image, which is no destination.
    """

    def __init__(
        self,
        array: object = None,
        bits: int | None = None,
        packing: ExPixelPacking | int = ...,
        bayerGrid: ExBayerGrid | int = ...,
        pixelFormat: int = 1,
    ) -> None: ...
    @property
    def array(self) -> npt.NDArray[Any] | None:
        """The pixels as an array that shares their memory and keeps it alive; None for an absent image."""
    @property
    def writable(self) -> bool: ...
    def __bool__(self) -> bool:
        """There is an image."""
    def __array__(self, dtype: npt.DTypeLike = None) -> npt.NDArray[Any]: ...

def bytesPerSample(dataType: int) -> int: ...
def imageByteSize(info: SxImageInfo) -> int: ...
@overload
def AllocBuffer(
    out: SxImageBuf,
    width: int,
    height: int,
    channels: int,
    dataType: ExImageDataType | int,
    stride: int,
    bitsPerSample: int,
    packing: ExPixelPacking | int,
    flag: bool,
    compression: ExPixelCompression | int,
) -> ResultCode: ...
@overload
def AllocBuffer(info: SxImageInfo, out: SxImageBuf, flag: bool) -> ResultCode: ...
def FreeBuffer(image: SxImageBuf) -> None:
    """Makes the image absent. Its memory goes with the last array that shares it."""

def CopyBuffer(src: SxImageBuf, srcRect: _Rect, dst: SxImageBuf, dstPos: _Point, flag: bool) -> ResultCode: ...
def MemCpy(dst: WriteableBuffer, src: ReadableBuffer, bytes: int, dstTag: int, srcTag: int) -> ResultCode: ...
def CopyChannel(src: SxImageBuf, srcChannel: int, dst: SxImageBuf, dstChannel: int) -> ResultCode: ...
def ChannelIndexLogicalToPhysical(channel: int, image: SxImageBuf) -> int: ...
def L2CacheSize() -> int: ...

# ---------------------------------------------------------------- threads.h

@final
class CallThreads:
    """`with CallThreads(4): ...` allows calls on this thread that many threads where they stay on one otherwise."""

    def __init__(self, threads: int) -> None: ...
    def __enter__(self) -> Self: ...
    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None: ...
    @staticmethod
    def current() -> int: ...

def get_num_threads() -> int:
    """Threads of the parallel operations that this thread calls."""

def set_num_threads(threads: int) -> None:
    """Sets them for this thread; 1 or more. Not an export: what OpenMP's omp_set_num_threads does."""

# ---------------------------------------------------------------- not of the libraries

@final
class _ResultMemory:
    """Memory of arrays that are gone; at most so many bytes of it are kept."""

    def __init__(self, most: int) -> None: ...
    @property
    def bytes(self) -> int:
        """What is kept now."""

    def lend(self, shape: tuple[int, ...], dtype: np.dtype[Any]) -> npt.NDArray[Any]:
        """An array of undefined contents, whose first byte begins a cache line."""

# ---------------------------------------------------------------- histogram_containers.h

@final
class CxImageHistogram:
    """Counters over the memory of an array, which it keeps alive, or of its own.

    The array is uint32, writable, C-contiguous, of shape (planes, levels + extraBins).
    """

    @overload
    def __init__(self) -> None: ...
    @overload
    def __init__(self, array: npt.NDArray[np.uint32], extraBins: int = 0) -> None: ...
    @overload
    def __init__(self, planes: int, levels: int, extraBins: int = 0) -> None: ...
    @property
    def bins(self) -> npt.NDArray[np.uint32] | None:
        """The counters, of shape (planes, levels + extraBins); None where there are none."""
    @property
    def planes(self) -> int: ...
    @property
    def levels(self) -> int: ...
    @property
    def extraBins(self) -> int: ...
    def resize(self, planeCount: int, levelCount: int, extraCount: int) -> None:
        """As in C++; new memory is of its own, and arrays over the old one keep it."""
    def clear(self) -> None: ...
    def release(self) -> None: ...

@final
class CxImageHistogram2D:
    """A dense square matrix of counters per plane."""

    def __init__(self, planes: int, levels: int) -> None: ...
    @property
    def planes(self) -> int: ...
    @property
    def levels(self) -> int: ...
    def __len__(self) -> int: ...
    def __getitem__(self, plane: int) -> npt.NDArray[np.int32]:
        """The counters of a plane, of shape (levels, levels), sharing their memory."""

@final
class CxImageHistogramSparse2D:
    """A sparse matrix of counters per plane."""

    def __init__(self, planes: int, levels: int) -> None: ...
    @property
    def planes(self) -> int: ...
    @property
    def levels(self) -> int: ...
    def __len__(self) -> int: ...
    def __getitem__(self, plane: int) -> npt.NDArray[np.int32]:
        """A copy of the counts of a plane, of shape (n, 3): row, column, count, by row and column."""
    def inc(self, plane: int, row: int, column: int) -> bool: ...

# ---------------------------------------------------------------- bayer.h

def ConvertRawToPlanarRaw(
    src: SxImageBuf, roi: _Rect, grid: ExBayerGrid | int, planar: SxImageBuf
) -> ResultCode: ...
def DemosaicSimple(src: SxImageBuf, rect: _Rect, dst: SxImageBuf, grid: ExBayerGrid | int) -> ResultCode: ...

# ---------------------------------------------------------------- raw.h

class ExPackedLayout(IntEnum):
    Mono10p = 0
    Mono12p = 1
    Mono14p = 2
    Mono10Packed = 3
    Mono12Packed = 4
    Csi2Raw10 = 5
    Csi2Raw12 = 6
    Csi2Raw14 = 7
    Mono16BigEndian = 8
    Mono16MsbAligned = 9

Mono10p: Literal[ExPackedLayout.Mono10p]
Mono12p: Literal[ExPackedLayout.Mono12p]
Mono14p: Literal[ExPackedLayout.Mono14p]
Mono10Packed: Literal[ExPackedLayout.Mono10Packed]
Mono12Packed: Literal[ExPackedLayout.Mono12Packed]
Csi2Raw10: Literal[ExPackedLayout.Csi2Raw10]
Csi2Raw12: Literal[ExPackedLayout.Csi2Raw12]
Csi2Raw14: Literal[ExPackedLayout.Csi2Raw14]
Mono16BigEndian: Literal[ExPackedLayout.Mono16BigEndian]
Mono16MsbAligned: Literal[ExPackedLayout.Mono16MsbAligned]

def packedBitsPerSample(layout: ExPackedLayout | int) -> int: ...
def packedRowBytes(layout: ExPackedLayout | int, width: int) -> int: ...
def UnpackSamples(
    data: ReadableBuffer | None, bytes: int, pitch: int, layout: ExPackedLayout | int, dst: SxImageBuf
) -> ResultCode:
    """`bytes` is at most the length of the memory, which is contiguous; likewise in `PackSamples`."""

def PackSamples(
    src: SxImageBuf, layout: ExPackedLayout | int, data: WriteableBuffer | None, bytes: int, pitch: int
) -> ResultCode: ...
def WhiteBalance(
    src: SxImageBuf, dst: SxImageBuf, gains: _Numbers | None, blackLevels: Sequence[int] | None
) -> ResultCode: ...

# ---------------------------------------------------------------- demosaic.h
# A work buffer serves one call at a time and holds no memory once it is closed.

class _WorkBuffer:
    def close(self) -> None: ...
    def __enter__(self) -> Self: ...
    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None: ...

@final
class DemosaicBuffer(_WorkBuffer): ...

@final
class DemosaicCentredBuffer(_WorkBuffer): ...

@final
class MedianBuffer(_WorkBuffer): ...

@overload
def Demosaic(src: SxImageBuf, roi: _Rect, dst: SxImageBuf, buffer: DemosaicBuffer | None) -> ResultCode: ...
@overload
def Demosaic(src: SxImageBuf, dst: SxImageBuf, buffer: DemosaicBuffer | None) -> ResultCode: ...
def DemosaicAllocBuffer(info: SxImageInfo, roi: _Rect = ...) -> DemosaicBuffer | None: ...
def DemosaicFreeBuffer(buffer: DemosaicBuffer | None) -> None: ...
@overload
def DemosaicMalvar(
    src: SxImageBuf, roi: _Rect, dst: SxImageBuf, buffer: DemosaicCentredBuffer | None
) -> ResultCode: ...
@overload
def DemosaicMalvar(src: SxImageBuf, dst: SxImageBuf, buffer: DemosaicCentredBuffer | None) -> ResultCode: ...
@overload
def DemosaicMenon(
    src: SxImageBuf, roi: _Rect, dst: SxImageBuf, buffer: DemosaicCentredBuffer | None
) -> ResultCode: ...
@overload
def DemosaicMenon(src: SxImageBuf, dst: SxImageBuf, buffer: DemosaicCentredBuffer | None) -> ResultCode: ...
def DemosaicCentredAllocBuffer(width: int) -> DemosaicCentredBuffer | None: ...
def DemosaicCentredFreeBuffer(buffer: DemosaicCentredBuffer | None) -> None: ...

# ---------------------------------------------------------------- masks.h
# Operations that fill an empty record give `out` or `dst` an image whose memory goes with its last user.

def Binarize(src: SxImageBuf, dst: SxImageBuf, value: int) -> ResultCode: ...
def AllocSafeBorderImage(
    info: SxImageInfo, dst: SxImageBuf, left: int, top: int, right: int, bottom: int
) -> ResultCode: ...
def InitSafeBorder(
    src: SxImageBuf, dst: SxImageBuf, left: int, top: int, right: int, bottom: int
) -> ResultCode: ...
@overload
def CreateImageWithMirroredBorder(
    src: SxImageBuf, dst: SxImageBuf, left: int, top: int, right: int, bottom: int
) -> ResultCode: ...
@overload
def CreateImageWithMirroredBorder(
    src: SxImageBuf, roi: _Rect, dst: SxImageBuf, left: int, top: int, right: int, bottom: int
) -> ResultCode: ...
def AllocAndCreateMirroredBorderImage(
    src: SxImageBuf, dst: SxImageBuf, left: int, top: int, right: int, bottom: int
) -> ResultCode: ...
def MaskImage(image: SxImageBuf, mask: SxImageBuf) -> ResultCode: ...
def SetValueMasked(image: SxImageBuf, mask: SxImageBuf, pos: _Point, value: _Value) -> ResultCode: ...
def BinaryMask(src: SxImageBuf, mask: SxImageBuf, value: int) -> ResultCode:
    """src has rows without padding: `ValueError` otherwise, because the operation reads on behind a row."""

def EllipseMaskMono(
    out: SxImageBuf, a: int, b: int, angle: float, background: int, foreground: int
) -> ResultCode: ...
def EllipseMaskRgb(
    out: SxImageBuf,
    a: int,
    b: int,
    angle: float,
    background: Sequence[int] | None,
    foreground: Sequence[int] | None,
) -> ResultCode: ...
def GetCircleMaskByte(size: int) -> tuple[bool, npt.NDArray[np.uint8] | None]:
    """The mask is read-only, of shape (size, size)."""

# ---------------------------------------------------------------- stats.h

@overload
def Histogram(src: SxImageBuf, hist: CxImageHistogram) -> ResultCode: ...
@overload
def Histogram(src: SxImageBuf, roi: _Rect, hist: CxImageHistogram) -> ResultCode: ...
@overload
def Histogram(src: SxImageBuf, channel: int, hist: CxImageHistogram, plane: int) -> ResultCode: ...
@overload
def Histogram(src: SxImageBuf, roi: _Rect, channel: int, hist: CxImageHistogram, plane: int) -> ResultCode: ...
@overload
def Histogram(src: SxImageBuf, origin: _Point, offsets: _Points, hist: CxImageHistogram) -> ResultCode: ...
@overload
def Histogram(
    src: SxImageBuf, origin: _Point, offsets: _Points, channel: int, hist: CxImageHistogram, plane: int
) -> ResultCode: ...
@overload
def Histogram(src: SxImageBuf, stencil: SxImageBuf, pos: _Point, hist: CxImageHistogram) -> ResultCode: ...
@overload
def Histogram(
    src: SxImageBuf, stencil: SxImageBuf, pos: _Point, channel: int, hist: CxImageHistogram, plane: int
) -> ResultCode: ...
@overload
def HistogramMasked(src: SxImageBuf, mask: SxImageBuf, hist: CxImageHistogram) -> ResultCode: ...
@overload
def HistogramMasked(src: SxImageBuf, mask: SxImageBuf, roi: _Rect, hist: CxImageHistogram) -> ResultCode: ...
@overload
def HistogramMasked(
    src: SxImageBuf, mask: SxImageBuf, channel: int, hist: CxImageHistogram, plane: int
) -> ResultCode: ...
@overload
def HistogramMasked(
    src: SxImageBuf, mask: SxImageBuf, roi: _Rect, channel: int, hist: CxImageHistogram, plane: int
) -> tuple[ResultCode, int]: ...
@overload
def HistogramMasked(
    src: SxImageBuf,
    mask: SxImageBuf,
    origin: _Point,
    offsets: _Points,
    channel: int,
    hist: CxImageHistogram,
    plane: int,
) -> tuple[ResultCode, int]: ...
@overload
def HistogramMasked(
    src: SxImageBuf, mask: SxImageBuf, stencil: SxImageBuf, pos: _Point, hist: CxImageHistogram
) -> tuple[ResultCode, int]: ...
@overload
def HistogramMasked(
    src: SxImageBuf,
    mask: SxImageBuf,
    stencil: SxImageBuf,
    pos: _Point,
    channel: int,
    hist: CxImageHistogram,
    plane: int,
) -> tuple[ResultCode, int]: ...
def HistogramEx(src: SxImageBuf, hist: CxImageHistogram) -> ResultCode: ...
def HistogramGrayFromRGB(src: SxImageBuf, hist: CxImageHistogram, plane: int) -> ResultCode: ...
def HistogramGrayFromRGBMasked(src: SxImageBuf, hist: CxImageHistogram, mask: SxImageBuf) -> ResultCode: ...
def HistogramRGBGrayFromRGB(src: SxImageBuf, hist: CxImageHistogram) -> ResultCode: ...
@overload
def HistogramRGBGrayFromRGBMasked(
    src: SxImageBuf, hist: CxImageHistogram, mask: SxImageBuf
) -> ResultCode: ...
@overload
def HistogramRGBGrayFromRGBMasked(
    src: SxImageBuf, mask: SxImageBuf, hist: CxImageHistogram
) -> ResultCode: ...
def HistogramRGBGrayFromRawPlanar(src: SxImageBuf, hist: CxImageHistogram) -> ResultCode: ...
def HistogramRGBGrayFromRawPlanarMasked(
    src: SxImageBuf, mask: SxImageBuf, hist: CxImageHistogram
) -> ResultCode: ...
def RowHistogram(src: SxImageBuf, row: int, hist: CxImageHistogram) -> ResultCode: ...
def ColHistogram(src: SxImageBuf, col: int, hist: CxImageHistogram) -> ResultCode: ...
def RowHistogramMasked(src: SxImageBuf, mask: SxImageBuf, row: int, hist: CxImageHistogram) -> ResultCode: ...
def ColHistogramMasked(src: SxImageBuf, mask: SxImageBuf, col: int, hist: CxImageHistogram) -> ResultCode: ...
@overload
def Histogram2D(src1: SxImageBuf, src2: SxImageBuf, h: CxImageHistogramSparse2D) -> ResultCode: ...
@overload
def Histogram2D(
    src1: SxImageBuf, ch1: int, src2: SxImageBuf, ch2: int, h: CxImageHistogramSparse2D
) -> ResultCode: ...
def RowHistogram2D(
    src1: SxImageBuf, ch1: int, src2: SxImageBuf, ch2: int, row: int, h: CxImageHistogramSparse2D
) -> ResultCode: ...
def ColHistogram2D(
    src1: SxImageBuf, ch1: int, src2: SxImageBuf, ch2: int, col: int, h: CxImageHistogramSparse2D
) -> ResultCode: ...
@overload
def HistogramMasked2D(
    src1: SxImageBuf, src2: SxImageBuf, mask: SxImageBuf, h: CxImageHistogram2D | CxImageHistogramSparse2D
) -> ResultCode:
    """mask has rows without padding: `ValueError` otherwise, because the operation reads on behind a row."""

@overload
def HistogramMasked2D(
    src1: SxImageBuf,
    ch1: int,
    src2: SxImageBuf,
    ch2: int,
    mask: SxImageBuf,
    h: CxImageHistogram2D | CxImageHistogramSparse2D,
) -> ResultCode: ...
def Mean(src: SxImageBuf, roi: _Rect) -> tuple[ResultCode, list[float]]:
    """One mean per averaged channel; here as below the lists are empty on failure.

    A planar src of several planes has rows without padding: `ValueError` otherwise.
    """

def MeanMasked(src: SxImageBuf, mask: SxImageBuf) -> tuple[ResultCode, list[float]]: ...
def MeanStdDevMasked(src: SxImageBuf, mask: SxImageBuf) -> tuple[ResultCode, float, float]: ...
def Moments(src: SxImageBuf) -> tuple[ResultCode, list[tuple[int, int, int]]]:
    """Number, sum and sum of squares of each channel."""

def MomentsMasked(src: SxImageBuf, mask: SxImageBuf) -> tuple[ResultCode, list[tuple[int, int, int]]]: ...

mostMomentPixels: int

def MinMax(src: SxImageBuf) -> tuple[ResultCode, list[_Value], list[_Value]]: ...
def MinMaxMasked(src: SxImageBuf, mask: SxImageBuf) -> tuple[ResultCode, list[_Value], list[_Value]]: ...
def MinMaxMosaic(
    src: SxImageBuf, cellWidth: int, cellHeight: int
) -> tuple[ResultCode, list[_Value], list[_Value], npt.NDArray[np.int32], npt.NDArray[np.int32]]:
    """Minima, maxima and where they occur first: arrays of shape (positions, 2)."""

def EntropyShannon(src: SxImageBuf, base: float) -> tuple[ResultCode, float]: ...
def EntropyRenyi(src: SxImageBuf, alpha: float, base: float) -> tuple[ResultCode, float]: ...
def ComputeOtsuThreshold(src: SxImageBuf) -> tuple[ResultCode, int]: ...
def ComputeOtsuThresholdMasked(src: SxImageBuf, mask: SxImageBuf) -> tuple[ResultCode, int]: ...

mostAccumulatedFrames: int

@final
class SxAccumulator:
    """Numbers of every pixel over a series of frames, in planes over the memory of arrays; an absent plane is not wanted.

    The planes are fixed when it is made. It serves one call at a time: another one meanwhile raises `RuntimeError`.
    """

    def __init__(
        self,
        sum: SxImageBuf = ...,
        squares: SxImageBuf = ...,
        minimum: SxImageBuf = ...,
        maximum: SxImageBuf = ...,
        above: SxImageBuf = ...,
        counts: SxImageBuf = ...,
        frames: int = 0,
        level: int = 0,
    ) -> None: ...
    @property
    def sum(self) -> SxImageBuf: ...
    @property
    def squares(self) -> SxImageBuf: ...
    @property
    def minimum(self) -> SxImageBuf: ...
    @property
    def maximum(self) -> SxImageBuf: ...
    @property
    def above(self) -> SxImageBuf: ...
    @property
    def counts(self) -> SxImageBuf: ...
    frames: int
    level: int

def ClearAccumulator(sums: SxAccumulator) -> ResultCode: ...
def AccumulateFrames(
    frames: Sequence[SxImageBuf], masks: Sequence[SxImageBuf], sums: SxAccumulator
) -> ResultCode: ...
def MergeAccumulators(from_: SxAccumulator, into: SxAccumulator) -> ResultCode: ...
def AccumulatedMean(sums: SxAccumulator, mean: SxImageBuf) -> ResultCode: ...
def AccumulatedVariance(sums: SxAccumulator, ddof: int, variance: SxImageBuf) -> ResultCode: ...

# ---------------------------------------------------------------- tone.h

def HistogramEqualize(src: SxImageBuf, dst: SxImageBuf) -> ResultCode: ...
def HistogramMatch(
    src: SxImageBuf, reference: SxImageBuf | CxImageHistogram, dst: SxImageBuf
) -> ResultCode: ...
@overload
def ThresholdAndStretchHistogram(image: SxImageBuf, channel: int, low: int, high: int) -> ResultCode: ...
@overload
def ThresholdAndStretchHistogram(
    src: SxImageBuf, srcChannel: int, dst: SxImageBuf, dstChannel: int, low: int, high: int
) -> ResultCode: ...
@overload
def ThresholdAndStretchHistogramMasked(
    image: SxImageBuf, mask: SxImageBuf, channel: int, low: int, high: int
) -> ResultCode: ...
@overload
def ThresholdAndStretchHistogramMasked(
    src: SxImageBuf, srcChannel: int, dst: SxImageBuf, dstChannel: int, mask: SxImageBuf, low: int, high: int
) -> ResultCode: ...
def ThresholdAndStretchHistogramGray(
    src: SxImageBuf, dst: SxImageBuf, low: int, high: int
) -> ResultCode: ...
def ThresholdAndStretchHistogramGrayMasked(
    src: SxImageBuf, mask: SxImageBuf, dst: SxImageBuf, low: int, high: int
) -> ResultCode: ...
def ThresholdAndStretchHistogramGrayRawPlanar(
    src: SxImageBuf, dst: SxImageBuf, low: int, high: int
) -> ResultCode: ...
def ThresholdAndStretchHistogramGrayRawPlanarMasked(
    src: SxImageBuf, mask: SxImageBuf, dst: SxImageBuf, low: int, high: int
) -> ResultCode: ...
def ThresholdAndStretchHistogramGreenRawPlanar(
    src: SxImageBuf, dst: SxImageBuf, dstChannel: int, low: int, high: int
) -> ResultCode: ...
def ThresholdAndStretchHistogramGreenRawPlanarMasked(
    src: SxImageBuf, dst: SxImageBuf, dstChannel: int, mask: SxImageBuf, low: int, high: int
) -> ResultCode: ...
@overload
def AverageImage(frames: Sequence[SxImageBuf], roi: _Rect, dst: SxImageBuf) -> ResultCode: ...
@overload
def AverageImage(frames: Sequence[SxImageBuf], dst: SxImageBuf) -> ResultCode: ...
def CorrectBackground(
    src: SxImageBuf,
    background: SxImageBuf,
    dst: SxImageBuf,
    referenceLevel: float,
    targetLevel: float,
    gains: _Numbers | None,
) -> ResultCode:
    """The gains are copied and stay the caller's."""

def BackgroundCorrection(
    background: SxImageBuf, image: SxImageBuf, channelCount: int, factors: _Numbers | None
) -> ResultCode: ...

# ---------------------------------------------------------------- pixel.h

@overload
def ThresholdBinary(image: SxImageBuf, threshold: _Value, low: _Value, high: _Value) -> ResultCode: ...
@overload
def ThresholdBinary(
    src: SxImageBuf,
    dst: SxImageBuf,
    thresholds: _Numbers | None,
    lows: _Numbers | None,
    highs: _Numbers | None,
) -> ResultCode: ...
def ThresholdBinaryMasked(
    src: SxImageBuf,
    mask: SxImageBuf,
    dst: SxImageBuf,
    thresholds: _Numbers | None,
    lows: _Numbers | None,
    highs: _Numbers | None,
) -> ResultCode: ...
def ThresholdBinaryGT(
    src: SxImageBuf,
    dst: SxImageBuf,
    thresholds: _Numbers | None,
    highs: Sequence[int] | None,
    fourChannelRule: bool,
) -> ResultCode: ...
def ThresholdGT(
    image: SxImageBuf, thresholds: _Numbers | None, values: _Numbers | None, fourChannelRule: bool
) -> ResultCode: ...
def And(src: SxImageBuf, dst: SxImageBuf, value: _Value | None) -> ResultCode: ...
def Or(src: SxImageBuf, dst: SxImageBuf, value: _Value | None) -> ResultCode: ...
def Xor(src: SxImageBuf, dst: SxImageBuf, value: _Value | None) -> ResultCode: ...
def ClampToColorDepth(image: SxImageBuf) -> ResultCode: ...

# ---------------------------------------------------------------- convert.h
# The conversions return the status and the measured minima and maxima: one of each per channel, four for a mosaic.
# dst has rows without padding where they clear it whole (`ConvertDoubleToU`, `ConvertFloatToU`, `ScaleDoubleFloatToU`):
# `ValueError` otherwise.

class NormalizationType(IntEnum):
    NormalizeSeparate = 0
    NormalizeJoint = 1

NormalizeSeparate: Literal[NormalizationType.NormalizeSeparate]
NormalizeJoint: Literal[NormalizationType.NormalizeJoint]

def ConvertDoubleToU(
    src: SxImageBuf, dst: SxImageBuf, normalization: NormalizationType | int, zeroBased: bool
) -> tuple[ResultCode, list[float], list[float]]: ...
def ConvertFloatToU(
    src: SxImageBuf, dst: SxImageBuf, normalization: NormalizationType | int, zeroBased: bool
) -> tuple[ResultCode, list[float], list[float]]: ...
@overload
def ConvertFloatToU8(
    src: SxImageBuf, dst: SxImageBuf, normalization: NormalizationType | int
) -> tuple[ResultCode, list[float], list[float]]: ...
@overload
def ConvertFloatToU8(
    src: SxImageBuf, mask: SxImageBuf, dst: SxImageBuf, normalization: NormalizationType | int
) -> tuple[ResultCode, list[float], list[float]]: ...
def ConvertDoubleToUMasked(
    src: SxImageBuf, mask: SxImageBuf, dst: SxImageBuf, normalization: NormalizationType | int
) -> tuple[ResultCode, list[float], list[float]]: ...
def ConvertI32ToU(
    src: SxImageBuf, dst: SxImageBuf, normalization: NormalizationType | int
) -> tuple[ResultCode, list[int], list[int]]: ...
def ScaleDoubleFloatToU(src: SxImageBuf, dst: SxImageBuf, min: float, max: float) -> ResultCode: ...

# ---------------------------------------------------------------- filters.h

class Interpolation(IntEnum):
    InterpolationNearest = 0
    InterpolationLinear = 1

InterpolationNearest: Literal[Interpolation.InterpolationNearest]
InterpolationLinear: Literal[Interpolation.InterpolationLinear]

class ExChamferMask(IntEnum):
    ChamferChessboard = 0
    Chamfer3x3 = 1
    Chamfer5x5 = 2
    Chamfer7x7 = 3
    Chamfer13x13 = 4

ChamferChessboard: Literal[ExChamferMask.ChamferChessboard]
Chamfer3x3: Literal[ExChamferMask.Chamfer3x3]
Chamfer5x5: Literal[ExChamferMask.Chamfer5x5]
Chamfer7x7: Literal[ExChamferMask.Chamfer7x7]
Chamfer13x13: Literal[ExChamferMask.Chamfer13x13]

def Stretch(src: SxImageBuf, dst: SxImageBuf, interpolation: Interpolation | int) -> ResultCode: ...
def Resize(src: SxImageBuf, dst: SxImageBuf) -> ResultCode: ...
def Sobel(src: SxImageBuf, dst: SxImageBuf) -> ResultCode: ...
def ChamferDistance(src: SxImageBuf, dst: SxImageBuf, mask: ExChamferMask | int) -> ResultCode: ...

# ---------------------------------------------------------------- median.h

def Median(src: SxImageBuf, dst: SxImageBuf, radius: int, buffer: MedianBuffer | None) -> ResultCode: ...
def MedianAllocBuffer(info: SxImageInfo, radius: int) -> tuple[ResultCode, MedianBuffer | None]: ...
def MedianFreeBuffer(buffer: MedianBuffer | None) -> None: ...

# ---------------------------------------------------------------- snake.h

@final
class SxSnakeParams:
    def __init__(
        self,
        edgeFraction: float = 0.2,
        weightContinuity: float = 0.5,
        weightCurvature: float = 0.5,
        weightDistance: float = 2.0,
        weightGradient: float = 1.0,
        refine: int = 1,
        refineInterval: int = 5,
        loopDistance: int = 2,
        pointSpacing: int = 5,
        maxIterations: int = 200,
    ) -> None: ...
    edgeFraction: float
    weightContinuity: float
    weightCurvature: float
    weightDistance: float
    weightGradient: float
    refine: int
    refineInterval: int
    loopDistance: int
    pointSpacing: int
    maxIterations: int

def SnakeImage(
    src: SxImageBuf, params: SxSnakeParams, input: _Points
) -> tuple[ResultCode, npt.NDArray[np.int32]]:
    """The contour has shape (n, 2): columns and rows. Empty on failure."""

# ---------------------------------------------------------------- pipeline.h
# Items keep what they are connected with alive. Python callbacks run on the item's worker, which holds the GIL for the
# call only. An exception in a callback counts the frame as failed and is reported by `sys.unraisablehook`.

class ExQueuePolicy(IntEnum):
    QueueBlocks = 0
    QueueDropsOldest = 1

QueueBlocks: Literal[ExQueuePolicy.QueueBlocks]
QueueDropsOldest: Literal[ExQueuePolicy.QueueDropsOldest]

@final
class SxPipeStatistics:
    @property
    def received(self) -> int: ...
    @property
    def processed(self) -> int: ...
    @property
    def failed(self) -> int: ...
    @property
    def dropped(self) -> int: ...
    @property
    def waiting(self) -> int: ...

@final
class CxImageData:
    """A frame: an image and what travels with it. Numbers and metadata are changed in place."""

    def __init__(
        self,
        image: SxImageBuf = ...,
        frameNo: int = 0,
        timestamp: int = 0,
        metadata: Mapping[str, _Metadata] = ...,
    ) -> None: ...
    @property
    def image(self) -> SxImageBuf: ...
    frameNo: int
    timestamp: int
    metadata: dict[str, Any]
    @property
    def dateTime(self) -> datetime | None: ...
    def clone(self) -> CxImageData: ...

class IxPipeItem:
    """What all items have in common. Made by its subclasses alone."""

    class ExState(IntEnum):
        StateStopped = 0
        StateStarted = 1

    def name(self) -> str: ...
    def title(self) -> str: ...
    def setName(self, name: str) -> bool: ...
    def flags(self) -> int: ...
    def queueCapacity(self) -> int: ...
    def queuePolicy(self) -> ExQueuePolicy: ...
    def setQueue(self, capacity: int, policy: ExQueuePolicy | int) -> bool: ...
    def statistics(self) -> SxPipeStatistics: ...
    def waitUntilIdle(self, milliseconds: int) -> bool: ...
    def calcFps(self) -> float: ...
    def isStarted(self) -> bool: ...
    def isStopped(self) -> bool: ...
    def isValid(self) -> bool: ...
    def saveSettings(self) -> dict[str, Any]: ...
    def loadSettings(self, settings: Mapping[str, _Metadata]) -> bool: ...
    def setState(self, state: IxPipeItem.ExState | int) -> bool: ...
    def addSuccessor(self, successor: IxPipeItem | None) -> bool: ...
    def removeSuccessor(self, successor: IxPipeItem | None) -> bool: ...
    def addPrecedessor(self, precedessor: IxPipeItem | None) -> bool: ...
    def removePrecedessor(self, precedessor: IxPipeItem | None) -> bool: ...
    def acceptsData(self, info: SxImageInfo) -> bool: ...
    def queryOutputDataInfo(self, input: SxImageInfo) -> SxImageInfo | None: ...
    def currentInputDataInfo(self) -> SxImageInfo | None: ...
    def currentOutputDataInfo(self) -> SxImageInfo | None: ...
    def onDataAvailable(self, data: CxImageData) -> bool:
        """Hands the frame over: the pipe has its image, and `data` is left without one."""

class IxDataProcessor(IxPipeItem):
    """Hands on what `process` makes of each frame (None: nothing); without it, every frame unchanged."""

    def __init__(self, process: Callable[[CxImageData], CxImageData | None] | None = None) -> None: ...

@final
class CxFrameSource(IxDataProcessor):
    def __init__(self) -> None: ...
    def push(self, frame: SxImageBuf | CxImageData) -> bool:
        """Sends an image or a frame, whose array is not copied: leave its pixels alone until they are out."""

@final
class CxFrameSink(IxDataProcessor):
    def __init__(self, callback: Callable[[CxImageData], object]) -> None: ...

@final
class CxDemosaicConvertor(IxDataProcessor):
    class ExDemosaicAlgorithm(IntEnum):
        AlgorithmSimple = 0

    class ExBayerGridSource(IntEnum):
        GridFromImage = 0
        GridFromSettings = 1

    def __init__(self) -> None: ...
    def algorithm(self) -> int: ...
    def bayerGrid(self) -> int: ...
    def bayerGridSource(self) -> int: ...
    def setAlgorithm(self, algorithm: int) -> bool: ...
    def setBayerGrid(self, bayerGrid: ExBayerGrid | int) -> bool: ...
    def setBayerGridSource(self, source: int) -> bool: ...

def StartPipe(first: IxPipeItem) -> bool: ...
def DrainPipe(first: IxPipeItem, milliseconds: int = -1) -> bool: ...
def StopPipe(first: IxPipeItem) -> bool: ...
