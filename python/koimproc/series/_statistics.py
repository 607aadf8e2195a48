"""Statistics over series."""

from __future__ import annotations

import json
import os
import secrets
from collections.abc import Callable, Sequence
from contextlib import ExitStack
from functools import partial
from queue import LifoQueue
from threading import Lock
from typing import Any, Optional, TypedDict

import numpy as np
import numpy.typing as npt

from koimproc._errors import ArgumentError
from koimproc._frame import Frame
from koimproc._stats import minmax, moments
from koimproc._threads import threads
from koimproc.series._accumulator import Accumulator
from koimproc.series._engine import (
    TOGETHER,
    Part,
    Progress,
    Report,
    Team,
    bytes_of_frame,
    check_engine,
    even_lengths,
    fail,
    frames_of,
    need_camera_samples,
    part_length,
    parts_of,
    run_parts,
    shrinking_lengths,
    team,
    write_record,
)
from koimproc.series._files import PathLike, replacing, scratch_directory
from koimproc.series._prepared import Prepared, joined
from koimproc.series._series import Series

# Bytes of the frames that are added in one call, by the threads of this process together and by each of several processes.
# To add eight frames takes 1.7 times as long as to add two.
_SHARED_BYTES, _OWN_BYTES = 256 << 20, 64 << 20
# Threads that share an accumulator: adding takes a small part of their time, and accumulators are large.
_SHARING = 4
# Accumulators that one task merges.
_MERGED = 16
# Frames of the shortest parts that threads get, towards the end.
_LEAST = 4
# Values of the Laplacian whose squares are summed up in one go: the sum is exact in a double.
_BENDS = 1 << 16


class _Gathering:
    """Accumulators that threads share. Frames are added to them in groups, whichever thread has brought them."""

    def __init__(self, like: Accumulator, series: Series, accumulators: int, most: int) -> None:
        fit = max(1, min(TOGETHER, most // bytes_of_frame(series)))
        self._together = 1 << (fit.bit_length() - 1)  # what the library adds in one go
        self._like = like
        self._group: list[Prepared] = []
        self._grouping = Lock()
        self._free: LifoQueue[Accumulator] = LifoQueue()
        for _ in range(accumulators):
            self._free.put(like.empty())

    def add(self, frame: Any) -> None:
        """Adds a frame, at once or with the next ones. One that does not fit is refused at once."""
        prepared = self._like._prepared([frame])
        with self._grouping:
            self._group.append(prepared)
            if len(self._group) < self._together:
                return
            # Where all accumulators are in use, those who bring further frames wait too: so memory is bounded.
            sums = self._free.get()
            group, self._group = self._group, []
        try:
            sums._take(joined(group))
        finally:
            self._free.put(sums)

    def add_part(self, series: Series, part: Part, on_error: str) -> list[tuple[str, str]]:
        """Adds the frames of a part; those that fail are returned."""
        failed: list[tuple[str, str]] = []
        with threads(1):
            # Who counts levels finds samples beyond the depth on the way.
            for index, frame in frames_of(series, part, on_error, failed, any_depth="hist" in self._like.what):
                try:
                    self.add(frame)
                except ArgumentError:
                    error = series.beyond_depth(index, frame)
                    if error is None:
                        raise
                    fail(error, on_error, failed)
        return failed

    def accumulate_part(self, series: Series, part: Part, on_error: str) -> None:
        write_record(part, self.add_part(series, part, on_error), durable=False)

    def merged(self) -> Accumulator:
        """Everything that was added, when no thread adds any more."""
        total = self._free.get()
        if self._group:
            total._take(joined(self._group))
            self._group = []
        while not self._free.empty():
            total.merge(self._free.get())
        return total


def _accumulate_part(series: Series, part: Part, on_error: str, like: Accumulator, durable: bool) -> None:
    """An accumulator of a part's frames, in a file."""
    gathering = _Gathering(like, series, 1, _OWN_BYTES)
    failed = gathering.add_part(series, part, on_error)
    gathering.merged().save(_sums_of(part), durable=durable)
    write_record(part, failed, [_sums_of(part)], durable)


def _sums_of(part: Part) -> str:
    return part.record.removesuffix(".json") + ".sums"


def _sum_of_files(paths: Sequence[str]) -> Accumulator:
    total = Accumulator.load(paths[0])
    for path in paths[1:]:
        total.merge(Accumulator.load(path))
    return total


def _merge_files(paths: Sequence[str], merged: str) -> None:
    _sum_of_files(paths).save(merged, durable=False)


def _merged(engine: Team, paths: Sequence[str], directory: PathLike) -> list[str]:
    """Few accumulators that together hold what many did: the workers merge them, in a tree."""
    while len(paths) > _MERGED:
        groups = [paths[start : start + _MERGED] for start in range(0, len(paths), _MERGED)]
        names = [os.path.join(os.path.abspath(directory), f"{secrets.token_hex(8)}.sums") for _ in groups]
        engine.do([partial(_merge_files, group, name) for group, name in zip(groups, names)], lambda _: None)
        paths = names
    return list(paths)


def _lengths(
    series: Series, like: Accumulator, scheduler: Optional[str], workers: int, in_files: bool, durable: bool
) -> list[int]:
    """Lengths of parts. Where the accumulator of a part goes to a file, its frames have many times as many bytes."""
    ten_times = max(1, round(10 * like.sample_bytes(series.dtype) / series.dtype.itemsize))
    if not in_files:
        return shrinking_lengths(len(series), part_length(series), min(_LEAST, part_length(series)), workers)
    if scheduler == "processes" and not durable:
        # To write and to merge an accumulator takes as long as some ten frames. All processes get as many parts.
        rounds = -(-len(series) // (2 * ten_times * workers))
        return even_lengths(series, -(-len(series) // (rounds * workers)))
    # Those who resume may have other workers then, and are to have the same parts.
    return even_lengths(series, min(ten_times, -(-len(series) // 8)))


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
        Frames of a task. Unless given, as many as 256 MiB hold, at most 64, and fewer towards the end. Where parts go to
        files, as many as have ten times the bytes of the sums, but at most an eighth of all; with processes and without
        `work` twice as many, but all processes get equally many parts.
    on_error : {"raise", "skip"}
        What happens to a frame that cannot be read, or has samples beyond the depth: it raises `FrameError`, or is left
        out and named in the report.
    work : path, optional
        Directory for the results of the parts, which all workers must see. Without it threads keep them in memory, and
        others in a temporary directory.
    resume : bool
        Take the parts that are in `work` already, from the same frames.
    progress : callable, optional
        Called as progress(frames done, frames in all, seconds).
    """
    need_camera_samples(series)
    total = Accumulator(*what, bits=series.bits, level=level)
    if resume and work is None:
        raise ArgumentError("work", "the directory of an earlier run is wanted to resume it")
    check_engine(scheduler, workers, on_error)
    durable = work is not None
    with ExitStack() as stack:
        if work is None:
            work = stack.enter_context(scratch_directory())
        os.makedirs(work, exist_ok=True)
        with team(scheduler, workers) as engine:
            count = workers or os.cpu_count() or 1
            pool = None
            work_on_part: Callable[..., None] = _accumulate_part
            if engine.is_here and not durable:
                pool = _Gathering(total, series, -(-count // _SHARING), _SHARED_BYTES)
                work_on_part = pool.accumulate_part
            if frames_per_part is None:
                lengths = _lengths(series, total, scheduler, count, pool is None, durable)
            else:
                lengths = even_lengths(series, frames_per_part)
            parts = parts_of(series, lengths, work, ["accumulate", *sorted(what), str(level)])
            report = run_parts(
                engine,
                series,
                parts,
                work_on_part,
                (total, durable) if pool is None else (),
                resume=resume,
                on_error=on_error,
                progress=progress,
            )
            sums = []
            if pool is None:
                merging = stack.enter_context(scratch_directory(work))
                sums = _merged(engine, [_sums_of(part) for part in parts], merging)
        # Now that the processes are gone, and their memory.
        total = _sum_of_files(sums) if pool is None else pool.merged()
    return total, report


def master(series: Series, **engine: Any) -> npt.NDArray[Any]:
    """The mean of all frames in their own dtype, halves up: a master dark, bias or flat.

    `engine` are arguments as for `accumulate`.
    """
    sums, _ = accumulate(series, "mean", **engine)
    return mean_of(sums, series)


def mean_of(sums: Accumulator, series: Series) -> npt.NDArray[Any]:
    """The mean of frames in their own dtype, halves up."""
    if sums.frames == 0:
        raise ArgumentError("series", "no frame could be read")
    total, count = sums.planes["sum"], np.uint64(sums.frames)
    mean: npt.NDArray[Any] = ((2 * total + count) // (2 * count)).astype(series.dtype)
    return mean


def _focus(frame: npt.NDArray[Any], step: int) -> float:
    """The variance of the Laplacian, from exact sums, as the GStreamer element kostats has it: `step` leads to the nearest
    sample of the same colour, and of colour pictures green is taken."""
    plane = frame if frame.ndim == 2 else frame[..., min(1, frame.shape[2] - 1)]
    height, width = plane.shape[0] - 2 * step, plane.shape[1] - 2 * step
    if height <= 0 or width <= 0:
        return 0.0
    total, squares = 0, 0
    rows = max(1, _BENDS // width)
    for top in range(0, height, rows):
        block = plane[top : min(top + rows, height) + 2 * step].astype(np.float64)
        bends = 4 * block[step:-step, step:-step]
        bends -= block[step:-step, : -2 * step] + block[step:-step, 2 * step :]
        bends -= block[: -2 * step, step:-step] + block[2 * step :, step:-step]
        total += int(bends.sum())
        squares += int(np.dot(bends.ravel(), bends.ravel()))
    count = height * width
    return (count * squares - total * total) / count**2


# What `describe` says of a frame.
Description = TypedDict("Description", {
    "frame": int, "name": str, "mean": float, "deviation": float, "minimum": int, "maximum": int, "clipped": float,
    "focus": float,
})


def _describe_part(series: Series, part: Part, on_error: str) -> None:
    failed: list[tuple[str, str]] = []
    rows: list[Description] = []
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
                    "focus": _focus(frame, 2 if series.bayer else 1),
                }
            )
    with replacing(_rows_of(part), durable=False) as file:
        file.write(json.dumps(rows).encode())
    write_record(part, failed, [_rows_of(part)], durable=False)


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
) -> tuple[list[Description], Report]:
    """A row of statistics for every frame, over all its samples, and a report.

    A row has the keys frame, name, mean, deviation (population), minimum, maximum, clipped: the share of samples at the
    greatest level, and focus: the variance of the Laplacian, in levels squared, of samples of one colour in a mosaic and
    of green in colour pictures. Of several pictures of one scene in the same light, the sharpest one has the greatest
    focus (Pech-Pacheco et al., Diatom autofocusing in brightfield microscopy, ICPR 2000). The other arguments are those
    of `accumulate`.
    """
    need_camera_samples(series)
    check_engine(scheduler, workers, on_error)
    with scratch_directory() as work:
        parts = parts_of(series, even_lengths(series, frames_per_part), work, ["describe"])
        with team(scheduler, workers) as engine:
            report = run_parts(
                engine, series, parts, _describe_part, (), resume=False, on_error=on_error, progress=progress
            )
        rows: list[Description] = []
        for part in parts:
            with open(_rows_of(part), "rb") as file:
                rows += json.load(file)
    return rows, report
