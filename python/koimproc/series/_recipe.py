"""Recipes of the tool `ko run` over series."""

from __future__ import annotations

import hashlib
import json
import os
import subprocess
from collections.abc import Mapping, Sequence
from pathlib import Path
from typing import Any, Optional, Union

import numpy as np
import numpy.typing as npt

from koimproc._defects import Correction
from koimproc._errors import ArgumentError
from koimproc.series._engine import (
    Part,
    Progress,
    Report,
    bytes_of_frame,
    check_engine,
    even_lengths,
    fail,
    frames_of,
    need_camera_samples,
    need_series,
    parts_of,
    run_parts,
    team,
    write_record,
)
from koimproc.series._files import PathLike, replacing, scratch_directory
from koimproc.series._results import Files, Stack, write_frame
from koimproc.series._series import Series
from koimproc.series._sources import FrameError, tool

# Where a directory of results keeps what it knows of the parts.
_RECORDS = ".koimproc-series"
# What the tool takes beside frames, and how many times the bytes of a frame: pictures of three channels and the scratch
# memory of an operation. Measured with demosaicing and a median of mosaics of 2 to 32 MiB: 162 to 546 MiB.
_WORKER_BYTES = 160 << 20
_FRAMES_AT_ONCE = 16

Recipe = Union[PathLike, Mapping[str, Any]]
Results = Union[Files, Stack]
Outcome = dict[str, Any]


def records_in(out: PathLike) -> str:
    """The directory of records, made where it is missing."""
    os.makedirs(out, exist_ok=True)  # names `out` itself where that is a file
    records = os.path.join(os.path.abspath(out), _RECORDS)
    os.makedirs(records, exist_ok=True)
    return records


def result_names(series: Series) -> tuple[str, ...]:
    """Names of the results, without endings: those of the files, or numbers."""
    inputs = series.inputs()
    if inputs is None:
        return tuple(f"frame-{index:06d}" for index in range(len(series)))
    names = tuple(Path(path).stem for path in inputs)
    if len(set(names)) != len(names):
        raise ArgumentError("series", "files of the same name in several directories would have one result")
    return names


def _tool_run(recipe: str, inputs: Sequence[str], results: Results, scratch: str) -> list[Outcome]:
    """Runs the tool on files: what became of each."""
    out = results.directory + os.sep
    if isinstance(results, Stack):
        os.mkdir(os.path.join(scratch, "made"))
        out = os.path.join(scratch, "made", "{}.tif")
    report = os.path.join(scratch, "report.json")
    command = [tool(), "run", recipe, *inputs, "-o", out, "--jobs", "1", "--quiet"]
    environment = {**os.environ, "OMP_NUM_THREADS": "1", "OMP_WAIT_POLICY": "passive"}
    done = subprocess.run(
        [*command, "--report", report], stdin=subprocess.DEVNULL, capture_output=True, text=True, env=environment
    )
    try:
        outcomes: list[Outcome] = json.loads(Path(report).read_text())["files"]
    except FileNotFoundError:
        raise ValueError(done.stderr.strip() or f"ko run ended with {done.returncode}") from None
    return outcomes


def correction_of(defects: npt.NDArray[np.bool_], series: Series) -> Correction:
    if defects.shape != series.shape[:2] or defects.dtype != np.bool_:
        raise ArgumentError("defects", f"bool of shape {series.shape[:2]} is wanted, not {defects.dtype} of {defects.shape}")
    return Correction(defects, 2 if series.bayer else 1)


def _inputs_of(
    series: Series, part: Part, on_error: str, names: Sequence[str], defects: Optional[str], scratch: str,
    failed: list[tuple[str, str]],
) -> dict[str, int]:
    """The frames of a part as files for the tool, with their numbers."""
    given = series.inputs()
    if given is not None and defects is None:
        return {given[index]: index for index in range(part.start, part.stop)}
    correction = None if defects is None else correction_of(np.load(defects), series)
    inputs = {}
    for index, frame in frames_of(series, part, on_error, failed):
        if correction is not None:
            correction.apply(frame)
        path = os.path.join(scratch, names[index] + ".tif")
        write_frame(path, frame, series.bits, series.bayer)
        inputs[path] = index
    return inputs


def _run_part(
    series: Series, part: Part, on_error: str, recipe: str, results: Results, defects: Optional[str]
) -> None:
    failed: list[tuple[str, str]] = []

    made = []
    with scratch_directory() as scratch:
        inputs = _inputs_of(series, part, on_error, results.names, defects, scratch, failed)
        outcomes = _tool_run(recipe, list(inputs), results, scratch) if inputs else []
        for outcome in outcomes:
            index = inputs[outcome["input"]]
            if outcome["status"] != "done":
                message = outcome["message"].removeprefix(outcome["input"] + ": ") or outcome["status"]
                fail(FrameError(series.names[index], message), on_error, failed)
                continue
            if isinstance(results, Stack):
                try:
                    results.write(index, outcome["output"])
                except ValueError as error:
                    fail(FrameError(series.names[index], str(error)), on_error, failed)
                    continue
            made.append(index)
    if isinstance(results, Stack):
        for index in set(range(part.start, part.stop)) - set(made):
            results.remove(index)
    write_record(part, failed, [results.path(index) for index in made])


def _facts_of(recipe: str) -> tuple[list[str], str]:
    """What the results follow from: the recipe, and the files that it names; and the ending of the results."""
    text = Path(recipe).read_text()
    facts = ["run", text]
    try:
        contents = json.loads(text)
    except ValueError as error:
        raise ArgumentError("recipe", f"{recipe} is no JSON: {error}") from None
    # The tool tells what else is wrong with it.
    steps, output = (contents.get(name) if isinstance(contents, dict) else None for name in ("operations", "output"))
    for step in steps if isinstance(steps, list) else ():
        for value in step.values() if isinstance(step, dict) else ():
            path = os.path.join(os.path.dirname(recipe), value) if isinstance(value, str) else ""
            if os.path.isfile(path):
                status = os.stat(path)
                facts.append(repr((path, status.st_size, status.st_mtime_ns)))
    return facts, str(output.get("format", "tif")) if isinstance(output, dict) else "tif"


def _create(stack: Stack, recipe: str, series: Series, on_error: str, defects: Optional[str]) -> None:
    """Makes the array for the results: the first frame that can be worked on tells of what kind they are."""
    for index in range(len(series)):
        with scratch_directory() as scratch:
            part, failed = Part(index, index + 1, ""), list[tuple[str, str]]()
            inputs = _inputs_of(series, part, on_error, stack.names, defects, scratch, failed)
            outcomes = _tool_run(recipe, list(inputs), stack, scratch) if inputs else []
            if outcomes and outcomes[0]["status"] == "done":
                stack.create(outcomes[0]["output"])
                return
            if on_error == "raise":
                raise FrameError(series.names[index], outcomes[0]["message"])
    raise ArgumentError("series", "no frame could be worked on")


def workers_within(memory: int, workers: Optional[int], series: Series) -> int:
    """How many workers may run at once."""
    fit = memory // (_WORKER_BYTES + _FRAMES_AT_ONCE * bytes_of_frame(series))
    return max(1, min(fit, workers or os.cpu_count() or 1))


def run(
    recipe: Recipe,
    series: Series,
    out: PathLike,
    *,
    scheduler: Optional[str] = None,
    workers: Optional[int] = None,
    memory: Optional[int] = None,
    frames_per_part: Optional[int] = None,
    on_error: str = "raise",
    resume: bool = False,
    progress: Optional[Progress] = None,
    defects: Optional[npt.NDArray[np.bool_]] = None,
    report: Optional[Report] = None,
) -> Report:
    """Apply a recipe of `ko run` to every frame. The results are the files that `ko run` writes, byte for byte.

    Results have the names of the frames' files, or frame-000000 and so on where a file holds several frames. Each
    appears under its name when it is complete.

    Parameters
    ----------
    recipe : path or dict
        A JSON file as for `ko run`, in which names of files are relative to it; or its contents, with absolute names.
    series : Series
        Files of one frame are given to `ko run` as they are; other frames as TIFF files of their depth and pattern.
    out : path
        Directory of the results, made where it is missing. One that ends in .zarr becomes a Zarr array of shape
        (frames, rows, columns[, channels]), which `open_series` reads; a frame that failed has no chunk and reads as 0.
        All workers must see this directory, the frames and the recipe.
    scheduler, workers, frames_per_part, on_error, progress
        As for `accumulate`.
    memory : int, optional
        Bytes that the workers of this machine may take together: fewer work at once where these would not be enough,
        but always one.
    resume : bool
        Leave out parts whose results are in `out` already, from the same frames, the same recipe and the same parts.
    defects : array of bool, optional
        Of shape (rows, columns), such as `find_defects` makes: pixels that `correct_defects` replaces before.
    report : Report, optional
        Filled while the work goes on and returned: ``Report(len(series))`` of the caller says how far a run came that
        raises.

    Raises
    ------
    FrameError
        For a frame that fails, unless `on_error` is "skip".
    ValueError
        For a recipe that `ko run` refuses, and for a Zarr array of another kind in `out`.
    """
    need_series(series)
    check_engine(scheduler, workers, on_error)
    if memory is not None:
        if memory < 1 or scheduler not in (None, "processes"):
            raise ArgumentError("memory", "bytes for the workers of this machine are wanted; those of a cluster have limits "
                             "of their own")
        workers = workers_within(memory, workers, series)
    if series.inputs() is None or defects is not None:
        need_camera_samples(series)
    out = os.path.abspath(out)
    records = records_in(out)
    path = _recipe_file(recipe, records)
    facts, ending = _facts_of(path)
    map_file = None if defects is None else _map_file(defects, series, records, facts)
    names = result_names(series)
    results: Results = Files(out, names, ending)
    if out.endswith(".zarr"):
        results = Stack(out, names)
        _create(results, path, series, on_error, map_file)
    with team(scheduler, workers) as engine:
        return run_parts(
            engine,
            series,
            parts_of(series, even_lengths(series, frames_per_part), records, facts),
            _run_part,
            (path, results, map_file),
            resume=resume,
            on_error=on_error,
            progress=progress,
            report=report,
        )


def _map_file(defects: npt.NDArray[np.bool_], series: Series, records: str, facts: list[str]) -> str:
    """The file of a map of defects, which is one of the facts."""
    correction_of(defects, series)  # refuses wrong maps before anything is read
    path = os.path.join(records, "defects.npy")
    with replacing(path) as file:
        np.save(file, defects)
    facts.append(hashlib.sha256(defects.tobytes()).hexdigest())
    return path


def _recipe_file(recipe: Recipe, records: str) -> str:
    """The file that the tool reads."""
    if not isinstance(recipe, Mapping):
        return os.path.abspath(recipe)
    path = os.path.join(records, "recipe.json")
    try:
        contents = json.dumps(recipe)
    except (TypeError, ValueError) as error:
        raise ArgumentError("recipe", f"cannot be written as JSON: {error}") from None
    with replacing(path) as file:
        file.write(contents.encode())
    return path
