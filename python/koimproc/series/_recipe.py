"""Recipes of the tool `ko run` over series."""

from __future__ import annotations

import json
import os
import subprocess
import tempfile
from pathlib import Path
from typing import Any, Optional

import numpy as np
import numpy.typing as npt

from koimproc.series._engine import Part, Progress, Report, frames_of, parts_of, run_parts, write_record
from koimproc.series._files import PathLike, replacing
from koimproc.series._series import Series
from koimproc.series._sources import FrameError, library, tool

# Where a directory of results keeps what it knows of the parts.
RECORDS = ".koimproc-series"


def _result_names(series: Series) -> list[str]:
    """Names of the results, without endings: those of the files, or numbers."""
    inputs = series.inputs()
    if inputs is None:
        return [f"frame-{index:06d}" for index in range(len(series))]
    names = [Path(path).stem for path in inputs]
    if len(set(names)) != len(names):
        raise ValueError("series: files of the same name in several directories would have one result")
    return names


def write_frame(path: PathLike, frame: npt.NDArray[Any], bits: int, bayer: Optional[str] = None) -> None:
    """Write a frame as the TIFF file that the tool ko reads with the same depth and pattern."""
    shifted = frame << (8 * frame.dtype.itemsize - bits)
    description = f"koimproc bits={bits}" + (f" grid={bayer}" if bayer else "")
    photometric = "rgb" if frame.ndim == 3 and frame.shape[2] in (3, 4) else "minisblack"
    with replacing(path) as file:
        library("tifffile").imwrite(
            file, shifted, photometric=photometric, description=description, metadata=None, software=False
        )


def _run_part(
    series: Series, part: Part, on_error: str, recipe: str, out: str, ending: str, names: list[str]
) -> None:
    failed: list[tuple[str, str]] = []
    with tempfile.TemporaryDirectory(prefix="koimproc-") as scratch:
        given = series.inputs()
        inputs = {}
        if given is not None:
            inputs = {given[index]: index for index in range(part.start, part.stop)}
        else:
            for index, frame in frames_of(series, part, on_error, failed):
                path = os.path.join(scratch, names[index] + ".tif")
                write_frame(path, frame, series.bits, series.bayer)
                inputs[path] = index
        report = os.path.join(scratch, "report.json")
        command = [tool(), "run", recipe, *inputs, "-o", out + os.sep, "--jobs", "1", "--quiet", "--report", report]
        environment = {**os.environ, "OMP_NUM_THREADS": "1", "OMP_WAIT_POLICY": "passive"}
        outcomes = []
        if inputs:
            done = subprocess.run(
                command, stdin=subprocess.DEVNULL, capture_output=True, text=True, env=environment
            )
            try:
                outcomes = json.loads(Path(report).read_text())["files"]
            except FileNotFoundError:
                raise ValueError(done.stderr.strip() or f"ko run ended with {done.returncode}") from None
    for outcome in outcomes:
        if outcome["status"] != "done":
            name = series.names[inputs[outcome["input"]]]
            message = outcome["message"].removeprefix(outcome["input"] + ": ") or outcome["status"]
            if on_error == "raise":
                raise FrameError(name, message)
            failed.append((name, message))
    missing = {name for name, _ in failed}
    made = [names[index] for index in range(part.start, part.stop) if series.names[index] not in missing]
    write_record(part, failed, [os.path.join(out, f"{name}.{ending}") for name in made])


def _facts_of(recipe: str) -> tuple[list[str], str]:
    """What the results follow from: the recipe, and the files that it names; and the ending of the results."""
    text = Path(recipe).read_text()
    facts = ["run", text]
    contents = json.loads(text)
    for operation in contents.get("operations", []):
        for value in operation.values():
            path = os.path.join(os.path.dirname(recipe), value) if isinstance(value, str) else ""
            if os.path.isfile(path):
                status = os.stat(path)
                facts.append(repr((path, status.st_size, status.st_mtime_ns)))
    return facts, contents.get("output", {}).get("format", "tif")


def run(
    recipe: PathLike,
    series: Series,
    out: PathLike,
    *,
    scheduler: Optional[str] = None,
    workers: Optional[int] = None,
    frames_per_part: Optional[int] = None,
    on_error: str = "raise",
    resume: bool = False,
    progress: Optional[Progress] = None,
) -> Report:
    """Apply a recipe of `ko run` to every frame. The results are the files that `ko run` writes, byte for byte.

    Results have the names of the frames' files, or frame-000000 and so on where a file holds several frames. Each
    appears under its name when it is complete.

    Parameters
    ----------
    recipe : path
        A JSON file as for `ko run`; names of files in it are relative to it.
    series : Series
        Files of one frame are given to `ko run` as they are; other frames as TIFF files of their depth and pattern.
    out : path
        Directory of the results, made where it is missing. All workers see it, and the frames and the recipe.
    scheduler, workers, frames_per_part, on_error, progress
        As for `accumulate`.
    resume : bool
        Leave out parts whose results are in `out` already, from the same frames, the same recipe and the same parts.

    Raises
    ------
    FrameError
        For a frame that fails, unless `on_error` is "skip".
    ValueError
        For a recipe that `ko run` refuses.
    """
    recipe, out = os.path.abspath(recipe), os.path.abspath(out)
    facts, ending = _facts_of(recipe)
    names = _result_names(series)
    records = os.path.join(out, RECORDS)
    os.makedirs(records, exist_ok=True)
    return run_parts(
        series,
        parts_of(series, frames_per_part, records, facts),
        _run_part,
        (recipe, out, ending, names),
        scheduler=scheduler,
        workers=workers,
        resume=resume,
        on_error=on_error,
        progress=progress,
    )


def calibrate(
    series: Series,
    out: PathLike,
    *,
    flat: npt.NDArray[Any],
    dark: Optional[npt.NDArray[Any]] = None,
    **engine: Any,
) -> Report:
    """Divide a flat field out of every frame, less a dark frame where given: the recipe of `ko flatfield`.

    `flat` and `dark` are frames like those of the series, such as `master` makes. `engine` as for `run`.
    """
    records = os.path.join(os.path.abspath(out), RECORDS)
    os.makedirs(records, exist_ok=True)
    operation = {"op": "flatfield"}
    for option, frame in (("background", flat), ("dark", dark)):
        if frame is None:
            continue
        if frame.shape != series.shape or frame.dtype != series.dtype:
            raise ValueError(f"{option}: a frame like those of the series is wanted")
        path = os.path.join(records, option + ".tif")
        _write_if_changed(path, frame, series)
        operation[option] = option + ".tif"
    recipe = os.path.join(records, "calibrate.json")
    with replacing(recipe) as file:
        file.write(json.dumps({"operations": [operation]}).encode())
    return run(recipe, series, out, **engine)


def _write_if_changed(path: str, frame: npt.NDArray[Any], series: Series) -> None:
    """A file that is the same keeps its time, so that a run that goes on knows it."""
    if os.path.exists(path):
        with library("tifffile").TiffFile(path) as file:
            stored = file.pages[0].asarray()
        shifted = frame << (8 * frame.dtype.itemsize - series.bits)
        if stored.shape == frame.shape and np.array_equal(stored, shifted):
            return
    write_frame(path, frame, series.bits, series.bayer)
