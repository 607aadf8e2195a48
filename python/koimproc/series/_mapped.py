"""Series of some frames of another one, and of what functions make of frames."""

from __future__ import annotations

import hashlib
import itertools
from collections.abc import Callable, Iterator, Sequence
from contextlib import contextmanager
from typing import Any, Optional

from koimproc._frame import Frame, array_of, check_shape
from koimproc.series._sources import Array, Read, Source, check_meaning, library, samples_of


class Chosen(Source):
    """Some frames of a source."""

    _source: Source
    _indices: range

    def __init__(self, source: Source, indices: range) -> None:
        if isinstance(source, Chosen):
            # So a series that is cut again and again does not get deeper.
            start, step = source._indices.start, source._indices.step
            indices = range(start + step * indices.start, start + step * indices.stop, step * indices.step)
            source = source._source
        self._source = source
        self._indices = indices
        self.bits, self.bayer = source.bits, source.bayer

    def _of_each(self, all_frames: Sequence[str]) -> list[str]:
        return [all_frames[index] for index in self._indices]

    def names(self) -> list[str]:
        return self._of_each(self._source.names())

    def inputs(self) -> Optional[list[str]]:
        inputs = self._source.inputs()
        return None if inputs is None else self._of_each(inputs)

    def files(self, start: int, stop: int) -> list[str]:
        files = [self._source.files(index, index + 1) for index in self._indices[start:stop]]
        return list(dict.fromkeys(itertools.chain.from_iterable(files)))

    def key(self) -> str:
        return f"{self._source.key()}{self._indices}"

    def read(self, index: int) -> Array:
        return self._source.read(self._indices[index])

    @contextmanager
    def reader(self) -> Iterator[Read]:
        with self._source.reader() as read:
            yield lambda index: read(self._indices[index])


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
        array = array_of(made, "function")
        check_shape(array, "function")
        return samples_of(array)
