"""koimproc-series: a recipe of `ko run` over a series, with parts, resuming and clusters."""

from __future__ import annotations

import argparse
import os
import signal
import sys
from collections.abc import Sequence
from typing import NoReturn, Optional

from koimproc import __version__
from koimproc._errors import SampleTypeError
from koimproc.series._engine import Report
from koimproc.series._files import replacing
from koimproc.series._recipe import run
from koimproc.series._series import open_series
from koimproc.series._sources import FrameError, library, reason


class _Line:
    """Says how far the work is: in one line on a terminal, now and then in a line of its own elsewhere."""

    def __init__(self, report: Report) -> None:
        self._report = report
        self._on_terminal = sys.stderr.isatty()
        self._next = 0.0

    def __call__(self, done: int, frames: int, seconds: float) -> None:
        # What an earlier run has done took none of this time.
        rate = (done - self._report.resumed) / seconds if seconds > 0 else 0.0
        rest = (frames - done) / rate if rate > 0 else 0.0
        text = f"{done} of {frames} frames, {rate:.1f} frames/s, {rest:.0f} s remaining"
        if self._on_terminal:
            print("\r" + text, end="\n" if done == frames else "\x1b[K", file=sys.stderr, flush=True)
        elif seconds >= self._next or done == frames:
            print(text, file=sys.stderr, flush=True)
            self._next = seconds + 10


class _Terminated(KeyboardInterrupt):
    """Batch systems and services end a program by SIGTERM, which ends it here as Ctrl-C does."""


def _terminate(*_: object) -> NoReturn:
    raise _Terminated


def _bytes(text: str) -> int:
    try:
        return int(library("dask.utils").parse_bytes(text))
    except (ValueError, OverflowError):
        raise argparse.ArgumentTypeError(f"bytes such as 2GiB are wanted, not {text!r}") from None
    except ImportError as error:
        raise argparse.ArgumentTypeError(str(error)) from None


def arguments() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="koimproc-series", description="Apply a recipe of ko run to a series of frames."
    )
    parser.add_argument("--version", action="version", version=f"koimproc-series {__version__}")
    parser.add_argument("recipe", metavar="RECIPE", help="JSON file as for ko run")
    parser.add_argument("inputs", metavar="INPUT", nargs="+", help="files of one frame, or one file of all")
    parser.add_argument("-o", "--output", metavar="OUT", required=True, help="directory of the results; a Zarr array if it ends in .zarr")
    parser.add_argument("--dataset", help="name of the dataset in an HDF5 or Zarr file")
    parser.add_argument("--bits", type=int, help="depth of the samples, where the file does not say it")
    parser.add_argument("--bayer", help="pattern of the mosaic, where the file does not say it")
    parser.add_argument("--scheduler", metavar="A", help="processes, or a Dask cluster's address; threads otherwise")
    parser.add_argument("--workers", type=int, metavar="N", help="threads or processes; one per processor otherwise")
    parser.add_argument("--memory", type=_bytes, metavar="M", help="bytes for all workers together, such as 2GiB")
    parser.add_argument("--frames-per-part", type=int, metavar="N", help="frames of a task")
    parser.add_argument("--resume", action="store_true", help="leave out parts that an earlier run has finished")
    parser.add_argument("--on-error", choices=("raise", "skip"), default="raise", help="what a bad frame does")
    parser.add_argument("--report", metavar="R.json", help="where to write what became of the frames")
    parser.add_argument("--quiet", action="store_true", help="no progress and no summary")
    return parser


def _sentence(error: Exception) -> str:
    """What an error says, without Python's number for it."""
    if isinstance(error, OSError) and error.filename is not None:
        return f"{os.fsdecode(error.filename)}: {reason(error)}"
    return reason(error)


def _work(options: argparse.Namespace, report: Report) -> None:
    inputs = options.inputs[0] if len(options.inputs) == 1 else options.inputs
    series = open_series(inputs, dataset=options.dataset, bits=options.bits, bayer=options.bayer)
    report.frames = len(series)
    run(
        options.recipe,
        series,
        options.output,
        scheduler=options.scheduler,
        workers=options.workers,
        memory=options.memory,
        frames_per_part=options.frames_per_part,
        on_error=options.on_error,
        resume=options.resume,
        progress=None if options.quiet else _Line(report),
        report=report,
    )


def _worked(options: argparse.Namespace, report: Report) -> int:
    """The exit status of the work; the report has what ended it."""
    try:
        _work(options, report)
    except KeyboardInterrupt as end:
        report.error = "interrupted; --resume goes on from here"
        return 128 + (signal.SIGTERM if isinstance(end, _Terminated) else signal.SIGINT)
    except (OSError, ImportError, MemoryError, RuntimeError) as error:
        report.error = _sentence(error)
        if isinstance(error, FrameError):
            report.failed.append((error.name, error.message))
        return 1
    except (ValueError, SampleTypeError) as error:
        report.error = str(error)
        return 2
    return 1 if report.failed else 0


def main(given: Optional[Sequence[str]] = None) -> int:
    """The program; returns its exit status: 0, 1 for failures, 2 for wrong arguments, 130 after Ctrl-C, 143 after SIGTERM."""
    parser = arguments()
    options = parser.parse_args(given)
    if options.report and not os.path.isdir(os.path.dirname(os.path.abspath(options.report))):
        parser.error(f"argument --report: no such directory: {os.path.dirname(options.report)}")
    report = Report(0)
    signal.signal(signal.SIGTERM, _terminate)
    status = _worked(options, report)
    if report.error is None:
        for name, message in sorted(report.failed):
            print(f"koimproc-series: {name}: {message}", file=sys.stderr)
    else:
        # Below the line of the progress, and what the terminal shows of Ctrl-C.
        below = "\n" if status == 130 and sys.stderr.isatty() else ""
        print(f"{below}koimproc-series: {report.error}", file=sys.stderr)
    if options.report:
        try:
            with replacing(options.report) as file:
                file.write(report.json().encode())
        except OSError as error:
            print(f"koimproc-series: {_sentence(error)}", file=sys.stderr)
            return status or 1
    if report.error is None and not options.quiet:
        print(f"{report.done} of {report.frames} frames in {report.seconds:.3f} s, {report.resumed} there already")
    return status


if __name__ == "__main__":
    sys.exit(main())
