"""Parts of a series on threads, processes or a cluster. Beyond this process the scheduling is Dask's."""

from __future__ import annotations

import hashlib
import json
import os
import pickle
import signal
import time
from collections.abc import Callable, Iterator, Sequence
from concurrent.futures import CancelledError, ThreadPoolExecutor, as_completed
from contextlib import contextmanager
from dataclasses import dataclass, field
from functools import lru_cache, partial
from typing import Any, Optional

import numpy as np

from koimproc._arrays import CAMERA_SAMPLES, whole
from koimproc._errors import ArgumentError, SampleTypeError
from koimproc.series._files import PathLike, replacing
from koimproc.series._series import Series
from koimproc.series._sources import FrameError, library

# Bytes of frames in a part, unless the caller says how many frames.
_PART_BYTES = 256 << 20
# Frames that accumulators add at once: a part is some times as many where it is more.
TOGETHER = 8

# Where Dask keeps the environment that its processes start with.
_AT_START = "distributed.nanny.pre-spawn-environ"

Progress = Callable[[int, int, float], None]


@dataclass
class Report:
    """What became of the frames of a series."""

    frames: int
    done: int = 0
    resumed: int = 0
    failed: list[tuple[str, str]] = field(default_factory=list)
    seconds: float = 0.0
    error: Optional[str] = None

    def json(self) -> str:
        """The report as JSON."""
        failed = [{"frame": name, "message": message} for name, message in sorted(self.failed)]
        facts = {"frames": self.frames, "done": self.done, "resumed": self.resumed, "failed": failed}
        return json.dumps({**facts, "seconds": round(self.seconds, 3), "error": self.error}, indent=4)


@dataclass(frozen=True)
class Part:
    """Frames start...stop - 1, and the file that says that they are done."""

    start: int
    stop: int
    record: str


def bytes_of_frame(series: Series) -> int:
    return max(1, int(np.prod(series.shape)) * series.dtype.itemsize)


def need_series(series: object, name: str = "series") -> None:
    """Refuses what is no series, such as the pattern that `open_series` takes."""
    if not isinstance(series, Series):
        raise SampleTypeError(name, f"a series is wanted, such as open_series gives, not {type(series).__name__}")


def need_camera_samples(series: Series) -> None:
    """Refuses series of samples that the operations do not take."""
    need_series(series)
    if series.dtype not in CAMERA_SAMPLES:
        raise SampleTypeError("series", f"samples of uint8 or uint16 are wanted, not {series.dtype}; see Series.map")


def shrinking_lengths(frames: int, longest: int, shortest: int, workers: int) -> list[int]:
    """Lengths of parts that get shorter towards the end, so that all workers end at nearly the same time."""
    lengths = []
    while frames > 0:
        length = min(longest, max(shortest, frames // (2 * workers)))
        if frames - length < shortest:
            length = min(frames, longest)
        lengths.append(length)
        frames -= length
    return lengths


def part_length(series: Series) -> int:
    """Frames of a part, unless the caller says how many."""
    length = min(64, max(1, _PART_BYTES // bytes_of_frame(series)))
    return length if length <= TOGETHER else length - length % TOGETHER


def even_lengths(series: Series, frames_per_part: Optional[int]) -> list[int]:
    """Lengths of parts of so many frames, the last one of what is left."""
    if frames_per_part is None:
        frames_per_part = part_length(series)
    whole(frames_per_part, "frames_per_part", 1)
    return [min(frames_per_part, len(series) - start) for start in range(0, len(series), frames_per_part)]


def parts_of(series: Series, lengths: Sequence[int], directory: PathLike, facts: Sequence[str]) -> list[Part]:
    """Parts of these lengths. Their records have names that follow from the series and from the facts of what is done with
    it."""
    parts = []
    common = [series.key(), *facts]
    start = 0
    for length in lengths:
        stop = start + length
        key = hashlib.sha256(repr((series.identity(start, stop), common, start, stop)).encode()).hexdigest()[:32]
        parts.append(Part(start, stop, os.path.join(os.path.abspath(directory), key + ".json")))
        start = stop
    return parts


def write_record(
    part: Part, failed: Sequence[tuple[str, str]], outputs: Sequence[str] = (), durable: bool = True
) -> None:
    """Say that a part is done. Everything that it has made must be in its place before. What nobody can resume need not be
    `durable`: to wait for the disk takes longer than many a part."""
    with replacing(part.record, durable) as file:
        file.write(json.dumps({"failed": list(failed), "outputs": list(outputs)}).encode())


def read_record(part: Part) -> Optional[list[tuple[str, str]]]:
    """The frames of a part that failed; None where it is not done, or what it made is no longer there."""
    try:
        with open(part.record, "rb") as file:
            record = json.load(file)
    except FileNotFoundError:
        return None
    if not all(os.path.exists(output) for output in record["outputs"]):
        return None
    return [(name, message) for name, message in record["failed"]]


Task = Callable[[], None]
Finished = Callable[[int], None]


@dataclass(frozen=True)
class Team:
    """Does tasks, in any order, and tells the numbers of those that are done."""

    do: Callable[[Sequence[Task], Finished], None]
    # Whether the tasks run in this process, and share its memory.
    is_here: bool


def _on_threads(workers: int, tasks: Sequence[Task], finished: Finished) -> None:
    """All tasks on threads of this process; `finished` hears of each on the calling thread."""
    pool = ThreadPoolExecutor(workers)
    try:
        futures = {pool.submit(task): index for index, task in enumerate(tasks)}
        for future in as_completed(futures):
            future.result()
            finished(futures[future])
    finally:
        # After a failure those that have begun must not work on in a directory that is being removed.
        pool.shutdown(cancel_futures=True)


def _on_cluster(client: Any, tasks: Sequence[Task], finished: Finished) -> None:
    """All tasks on processes, of this machine or of a cluster. What a worker has not finished when it dies, another one
    does again."""
    distributed = library("distributed")
    futures = {client.submit(task, pure=False): index for index, task in enumerate(tasks)}
    for future in distributed.as_completed(futures, loop=client.loop):
        try:
            future.result()
        except CancelledError:
            raise ConnectionError("the scheduler is gone; start it and resume") from None
        except distributed.KilledWorker as error:
            raise RuntimeError(str(error)) from None
        finished(futures.pop(future))


class _Undisturbed:
    """Dask's plugin for worker processes. A terminal sends Ctrl-C, and a batch system SIGTERM, to workers too: they wait
    for what the program does about it. Programs that they start still hear of both."""

    def setup(self, worker: Any) -> None:
        for number in (signal.SIGINT, signal.SIGTERM):
            signal.signal(number, lambda *_: None)


@contextmanager
def team(scheduler: Optional[str], workers: Optional[int]) -> Iterator[Team]:
    """Threads, processes or a cluster, for as long as the context lasts."""
    count = workers or os.cpu_count() or 1
    if scheduler is None:
        yield Team(partial(_on_threads, count), True)
    elif scheduler == "processes":
        dask, distributed = library("dask"), library("distributed")
        # Where Dask has freed memory handed back to the system at once, every frame is worked on in fresh memory. A hundred
        # times a second it looks what its workers do, for a web page that nobody sees.
        at_start = {**dask.config.get(_AT_START)}
        at_start.pop("MALLOC_TRIM_THRESHOLD_", None)
        settings = {_AT_START: at_start, "distributed.worker.profile.enabled": False}
        # Spelled out because a LocalCluster lets every host reach the ports of its web pages, also where it shows none.
        options: dict[str, Any] = {"host": "127.0.0.1", "dashboard": False, "dashboard_address": "127.0.0.1:0"}
        of_worker = {**options, "nthreads": 1, "memory_limit": None, "silence_logs": "CRITICAL"}
        with dask.config.set(settings), distributed.SpecCluster(
            scheduler={"cls": distributed.Scheduler, "options": {**options, "port": 0}},
            workers=dict.fromkeys(range(count), {"cls": distributed.Nanny, "options": of_worker}),
            silence_logs="CRITICAL",
        ) as cluster, distributed.Client(cluster, set_as_default=False) as client:
            client.register_worker_plugin(_Undisturbed())
            yield Team(partial(_on_cluster, client), False)
    else:
        with library("distributed").Client(scheduler, set_as_default=False) as client:
            yield Team(partial(_on_cluster, client), False)


def check_engine(scheduler: Optional[str], workers: Optional[int], on_error: str) -> None:
    """Refuses wrong arguments before anything is read."""
    if on_error not in ("raise", "skip"):
        raise ArgumentError("on_error", f"'raise' or 'skip' is wanted, not {on_error!r}")
    if scheduler not in (None, "processes") and "://" not in str(scheduler):
        raise ArgumentError("scheduler", f"None, 'processes' or an address such as tcp://host:8786, not {scheduler!r}")
    if workers is not None:
        whole(workers, "workers", 1)


@lru_cache(maxsize=1)
def _job(path: str) -> tuple[Callable[..., None], Series, str, tuple[Any, ...]]:
    with open(path, "rb") as file:
        job: tuple[Callable[..., None], Series, str, tuple[Any, ...]] = pickle.load(file)
    return job


def _do_part(path: str, part: Part) -> None:
    work, series, on_error, arguments = _job(path)
    work(series, part, on_error, *arguments)


def _job_file(directory: PathLike, *job: Any) -> str:
    """What all parts have in common, in a file: a series of a million names would travel with every task otherwise."""
    try:
        contents = library("cloudpickle").dumps(job)
    except (pickle.PicklingError, AttributeError, TypeError) as error:
        raise ArgumentError("series", f"cannot be sent to workers: {error}") from None
    path = os.path.join(os.path.abspath(directory), f"job-{hashlib.sha256(contents).hexdigest()[:32]}")
    with replacing(path) as file:
        file.write(contents)
    return path


def run_parts(
    workers: Team,
    series: Series,
    parts: Sequence[Part],
    work: Callable[..., None],
    arguments: tuple[Any, ...],
    *,
    resume: bool,
    on_error: str,
    progress: Optional[Progress],
    report: Optional[Report] = None,
) -> Report:
    """Call `work(series, part, on_error, *arguments)` for every part that has no record yet.

    A part that was on a worker that died is done again elsewhere. With on_error "raise" the first failure ends it all;
    the parts that are done keep their records. A `report` that is given is up to date then too.
    """
    begun = time.monotonic()
    said = Report(len(series)) if report is None else report
    open_parts = []
    for part in parts:
        failed = read_record(part) if resume else None
        if failed is None or (failed and on_error == "raise"):
            if os.path.exists(part.record):
                os.unlink(part.record)
            open_parts.append(part)
        else:
            said.resumed += part.stop - part.start - len(failed)
            said.failed += failed

    def finished(index: int) -> None:
        part = open_parts[index]
        failed = read_record(part)
        if failed is None:
            raise RuntimeError(f"{part.record} is missing: do all workers see this directory?")
        said.failed += failed
        said.done += part.stop - part.start - len(failed)
        said.seconds = time.monotonic() - begun
        if progress is not None:
            seen = said.done + said.resumed + len(said.failed)
            progress(seen, len(series), said.seconds)

    if workers.is_here:
        workers.do([partial(work, series, part, on_error, *arguments) for part in open_parts], finished)
    elif open_parts:
        job = _job_file(os.path.dirname(open_parts[0].record), work, series, on_error, arguments)
        try:
            workers.do([partial(_do_part, job, part) for part in open_parts], finished)
        finally:
            os.unlink(job)
    said.seconds = time.monotonic() - begun
    return said


def fail(error: FrameError, on_error: str, failed: list[tuple[str, str]]) -> None:
    """Raises the failure of a frame, or notes it."""
    if on_error == "raise":
        raise error
    failed.append((error.name, error.message))


def frames_of(
    series: Series, part: Part, on_error: str, failed: list[tuple[str, str]], any_depth: bool = False
) -> Iterator[tuple[int, Any]]:
    """The frames of a part with their numbers; what cannot be read goes to `failed`, or raises. With `any_depth` samples
    beyond the depth are left to the caller."""
    with series.reader(any_depth) as read:
        for index in range(part.start, part.stop):
            try:
                frame = read(index)
            except FrameError as error:
                fail(error, on_error, failed)
            else:
                yield index, frame
