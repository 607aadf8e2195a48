"""How many threads the operations may use."""

from __future__ import annotations

from collections.abc import Callable
from threading import local
from types import TracebackType
from typing import Any

import numpy as np

from koimproc import native
from koimproc._errors import ArgumentError, fail
from koimproc._frame import Whole


class _Entered(local):
    """The contexts that a thread is in: for each the number of threads outside it, and the permission of the library."""

    def __init__(self) -> None:
        self.contexts: list[tuple[int, native.CallThreads]] = []


_entered = _Entered()


class threads:
    """Limits the threads that operations use, as a context.

    Without it, most operations use all processors, and those that gain little from several threads use one, because
    programs often work on several frames at once. Within it, every operation called on this thread may use up to `n`
    threads. The results are the same, byte for byte. Contexts nest, and several threads may enter the same one.

    The environment variable OMP_NUM_THREADS and threadpoolctl limit the former operations too.

    Parameters
    ----------
    n : int
        How many threads, 1 or more.

    Raises
    ------
    ArgumentError
        For anything else.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> with ko.threads(1):
    ...     o = ko.median(np.zeros((8, 8), np.uint8))
    """

    __slots__ = ("_n",)

    def __init__(self, n: Whole) -> None:
        if isinstance(n, bool) or not isinstance(n, (int, np.integer)) or not 1 <= n < 2**31:
            raise ArgumentError("threads", f"a whole number of 1 or more is wanted, not {n!r}")
        self._n = int(n)

    def __enter__(self) -> threads:
        calls = native.CallThreads(self._n)
        calls.__enter__()
        _entered.contexts.append((native.get_num_threads(), calls))
        native.set_num_threads(self._n)
        return self

    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None:
        outer, calls = _entered.contexts.pop()
        native.set_num_threads(outer)
        calls.__exit__(kind, error, trace)


class _AsOutside:
    """No limit of its own."""

    __slots__ = ()

    def __enter__(self) -> None:
        pass

    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None:
        pass


_AS_OUTSIDE = _AsOutside()


def limit(count: Whole | None) -> threads | _AsOutside:
    """The context of a function's argument `threads`."""
    return _AS_OUTSIDE if count is None else threads(count)


def run(count: Whole | None, operation: Callable[..., Any], *arguments: Any) -> None:
    """Calls an operation that returns its status alone, with the argument `threads` of the function around."""
    if count is None:
        status = operation(*arguments)
    else:
        with threads(count):
            status = operation(*arguments)
    if status:
        fail(operation, arguments, status)
