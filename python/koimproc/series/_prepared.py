"""Frames on their way into an accumulator."""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass
from typing import Any, Optional

import numpy as np
import numpy.typing as npt

from koimproc import native
from koimproc._errors import ArgumentError

Array = npt.NDArray[Any]


def check(rc: native.ResultCode, sentence: str) -> None:
    """Raises what the status of an operation on accumulators means."""
    if rc == native.ResultOutOfRange:
        raise OverflowError(f"an accumulator holds at most {native.mostAccumulatedFrames} frames")
    if rc == native.ResultFailed:
        raise MemoryError(sentence)
    if rc != native.ResultOk:
        raise ValueError(f"{sentence}: {native.toString(rc)}")


@dataclass(frozen=True)
class Prepared:
    """Frames that may be added: the first one, the records of all, their masks, and the histogram where it is wanted."""

    first: Array
    records: Sequence[native.SxImageBuf]
    masks: Sequence[native.SxImageBuf]
    counts: Optional[npt.NDArray[np.uint64]]


def joined(group: Sequence[Prepared]) -> Prepared:
    """Frames without masks as if they had been prepared in one call."""
    counts = [prepared.counts for prepared in group if prepared.counts is not None]
    records = [record for prepared in group for record in prepared.records]
    return Prepared(group[0].first, records, [], np.sum(counts, 0) if counts else None)


def counted(
    first: Array, records: Sequence[native.SxImageBuf], masks: Sequence[native.SxImageBuf], bits: Optional[int]
) -> npt.NDArray[np.uint64]:
    """How often each level occurs in some frames."""
    bits = bits or 8 * first.itemsize
    channels = 1 if first.ndim == 2 else first.shape[2]
    total = np.zeros((channels, 1 << bits), np.uint64)
    # Counters of 32 bits are enough for one frame; levels beyond the depth are looked for in all of them.
    counts = np.empty((channels, 1 << (8 * first.itemsize)), np.uint32)
    counters = native.CxImageHistogram(counts)
    for index, record in enumerate(records):
        counts.fill(0)
        if masks:
            check(native.HistogramMasked(record, masks[index], counters), "masks do not fit")
        else:
            check(native.Histogram(record, counters), "frames do not fit")
        if counts[:, 1 << bits :].any():
            raise ArgumentError("bits", f"there are samples of {1 << bits} and above, more than {bits} bits")
        total += counts[:, : 1 << bits]
    return total
