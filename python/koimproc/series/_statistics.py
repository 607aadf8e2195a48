"""Statistics over series."""

from __future__ import annotations

import json
import os
import tempfile
from contextlib import ExitStack
from typing import Any, Optional, Union

import numpy as np
import numpy.typing as npt

from koimproc._frame import Frame
from koimproc._stats import minmax, moments
from koimproc._threads import threads
from koimproc.series._accumulator import Accumulator
from koimproc.series._engine import Part, Progress, Report, frames_of, parts_of, run_parts, write_record
from koimproc.series._files import PathLike, replacing
from koimproc.series._series import Series

# Frames that are added in one call, which reads them together.
_TOGETHER = 8


def _accumulate_part(
    series: Series, part: Part, on_error: str, what: tuple[str, ...], bits: Optional[int], level: Optional[int]
) -> None:
    sums = Accumulator(*what, bits=bits, level=level)
    failed: list[tuple[str, str]] = []
    group: list[Any] = []
    with threads(1):
        for _, frame in frames_of(series, part, on_error, failed):
            group.append(frame)
            if len(group) == _TOGETHER:
                sums.add(*group)
                group.clear()
        sums.add(*group)
    sums.save(_sums_of(part))
    write_record(part, failed, [_sums_of(part)])


def _sums_of(part: Part) -> str:
    return part.record.removesuffix(".json") + ".npz"


def accumulate(
    series: Series,
    *what: str,
    level: Optional[int] = None,
    scheduler: Optional[str] = None,
    workers: Optional[int] = None,
    frames_per_part: Optional[int] = None,
    on_error: str = "raise",
    work: Optional[PathLike] = None,
    resume: bool = False,
    progress: Optional[Progress] = None,
) -> tuple[Accumulator, Report]:
    """Statistics of every pixel over a series, as an `Accumulator` of `what`, and a report.

    The result does not depend on parts, workers or the order in which they finish, bit for bit.

    Parameters
    ----------
    series : Series
    *what, level
        As for `Accumulator`; the depth is that of the series.
    scheduler : str, optional
        None for threads of this process, "processes", or the address of a Dask cluster, such as "tcp://host:8786".
    workers : int, optional
        How many threads or processes; as many as there are processors unless given. A cluster has its own.
    frames_per_part : int, optional
        Frames of a task. Unless given, as many as 128 MiB hold, at most 64.
    on_error : {"raise", "skip"}
        What a frame does that cannot be read: raise `FrameError`, or be left out and named in the report.
    work : path, optional
        Directory for the results of the parts, which all workers see. Without it a temporary one.
    resume : bool
        Take the parts that are in `work` already, from the same frames.
    progress : callable, optional
        Called as progress(frames done, frames in all, seconds).
    """
    Accumulator(*what, bits=series.bits, level=level)  # refuses wrong arguments before anything is read
    if resume and work is None:
        raise ValueError("work: the directory of an earlier run is wanted to resume it")
    with ExitStack() as stack:
        if work is None:
            work = stack.enter_context(tempfile.TemporaryDirectory(prefix="koimproc-"))
        os.makedirs(work, exist_ok=True)
        facts = ["accumulate", *sorted(what), str(level)]
        parts = parts_of(series, frames_per_part, work, facts)
        report = run_parts(
            series,
            parts,
            _accumulate_part,
            (what, series.bits, level),
            scheduler=scheduler,
            workers=workers,
            resume=resume,
            on_error=on_error,
            progress=progress,
        )
        total = Accumulator(*what, bits=series.bits, level=level)
        for part in parts:
            total.merge(Accumulator.load(_sums_of(part)))
    return total, report


def master(series: Series, **engine: Any) -> npt.NDArray[Any]:
    """The mean of all frames in their own dtype, halves up: a master dark, bias or flat.

    `engine` are arguments as for `accumulate`.
    """
    sums, _ = accumulate(series, "mean", **engine)
    if sums.frames == 0:
        raise ValueError("series: no frame could be read")
    total, count = sums.planes["sum"], np.uint64(sums.frames)
    mean: npt.NDArray[Any] = ((2 * total + count) // (2 * count)).astype(series.dtype)
    return mean


def _describe_part(series: Series, part: Part, on_error: str) -> None:
    failed: list[tuple[str, str]] = []
    rows = []
    top = (1 << series.bits) - 1
    with threads(1):
        for index, frame in frames_of(series, part, on_error, failed):
            samples = Frame(frame.reshape(frame.shape[0], -1), series.bits)
            known = moments(samples)
            low, high = minmax(samples)
            rows.append(
                {
                    "frame": index,
                    "name": series.names[index],
                    "mean": float(known.mean),
                    "deviation": float(known.std),
                    "minimum": int(low),
                    "maximum": int(high),
                    "clipped": float(np.count_nonzero(frame >= top) / max(1, frame.size)),
                }
            )
    with replacing(_rows_of(part)) as file:
        file.write(json.dumps(rows).encode())
    write_record(part, failed, [_rows_of(part)])


def _rows_of(part: Part) -> str:
    return part.record.removesuffix(".json") + ".rows"


def describe(
    series: Series,
    *,
    scheduler: Optional[str] = None,
    workers: Optional[int] = None,
    frames_per_part: Optional[int] = None,
    on_error: str = "raise",
    progress: Optional[Progress] = None,
) -> tuple[list[dict[str, Union[int, float, str]]], Report]:
    """A row of statistics for every frame, over all its samples, and a report.

    A row has the keys frame, name, mean, deviation (population), minimum, maximum, and clipped: the share of samples at
    the greatest level. The other arguments are those of `accumulate`.
    """
    with tempfile.TemporaryDirectory(prefix="koimproc-") as work:
        parts = parts_of(series, frames_per_part, work, ["describe"])
        report = run_parts(
            series,
            parts,
            _describe_part,
            (),
            scheduler=scheduler,
            workers=workers,
            resume=False,
            on_error=on_error,
            progress=progress,
        )
        rows: list[dict[str, Union[int, float, str]]] = []
        for part in parts:
            with open(_rows_of(part), "rb") as file:
                rows += json.load(file)
    return rows, report
