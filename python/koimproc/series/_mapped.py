"""Series of what functions make of frames."""

from __future__ import annotations

import hashlib
from collections.abc import Callable
from typing import Any

import numpy as np

from koimproc._frame import Frame
from koimproc.series._sources import Array, Source, check_meaning, library, samples_of


class Mapped(Source):
    """What a function makes of the frames of a series."""

    def __init__(self, series: Any, function: Callable[[Frame], Any]) -> None:
        self._series = series
        self._function = function
        first = self._made(0)
        if isinstance(first, Frame):
            self.bits, self.bayer = first.bits, first.bayer

    def _made(self, index: int) -> Any:
        return self._function(Frame(self._series[index], self._series.bits, self._series.bayer))

    def names(self) -> list[str]:
        return list(self._series.names)

    def files(self, start: int, stop: int) -> list[str]:
        files: list[str] = self._series.files(start, stop)
        return files

    def key(self) -> str:
        return str(self._series.key()) + hashlib.sha256(library("cloudpickle").dumps(self._function)).hexdigest()

    def read(self, index: int) -> Array:
        made = self._made(index)
        if isinstance(made, Frame):
            check_meaning((made.bits, made.bayer), self)
        return samples_of(np.asarray(made))
