"""Series of what functions make of frames."""

from __future__ import annotations

import hashlib
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from typing import Any

import numpy as np

from koimproc._frame import Frame
from koimproc.series._sources import Array, Read, Source, check_meaning, library, samples_of


class Mapped(Source):
    """What a function makes of the frames of a series."""

    def __init__(self, series: Any, function: Callable[[Frame], Any]) -> None:
        self._series = series
        self._function = function
        self._is_first = True

    def names(self) -> list[str]:
        return list(self._series.names)

    def files(self, start: int, stop: int) -> list[str]:
        files: list[str] = self._series.files(start, stop)
        return files

    def key(self) -> str:
        return str(self._series.key()) + hashlib.sha256(library("cloudpickle").dumps(self._function)).hexdigest()

    def read(self, index: int) -> Array:
        return self._made(self._series[index])

    @contextmanager
    def reader(self) -> Iterator[Read]:
        with self._series.reader() as read:
            yield lambda index: self._made(read(index))

    def _made(self, frame: Array) -> Array:
        made = self._function(Frame(frame, self._series.bits, self._series.bayer))
        meaning = (made.bits, made.bayer) if isinstance(made, Frame) else (None, None)
        if self._is_first:
            self.bits, self.bayer = meaning
            self._is_first = False
        check_meaning(meaning, self)
        return samples_of(np.asarray(made))
