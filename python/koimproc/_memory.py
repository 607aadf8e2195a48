"""Memory of results that are gone, kept for the next ones of the same size.

Fresh memory costs a page fault for every 4096 bytes. That takes as long as many an operation does, and longer where
several threads ask for memory at once.
"""

from __future__ import annotations

import math
from typing import Any

import numpy as np

from koimproc._frame import Array

# Smaller arrays cost few page faults.
_LEAST = 1 << 18
# Bytes that are kept.
_MOST = 1 << 28

# Memory, and where it lies as the array interface says it: NumPy takes a microsecond to tell that.
_Block = tuple[Array, tuple[int, bool]]
# Blocks by their size; sizes without blocks are left out. Every step below is one step of the interpreter, so threads
# and `__del__` need no lock: a block that another thread puts into a list while that is left out is freed, no more.
_spare: dict[int, list[_Block]] = {}


def _keep(block: _Block, spare: dict[int, list[_Block]] = _spare) -> None:
    size = block[0].nbytes
    spare.setdefault(size, []).append(block)
    excess = sum(known * len(blocks) for known, blocks in list(spare.items())) - _MOST
    # Sizes that are no longer asked for go first.
    while excess > 0 and spare:
        other = next((known for known in list(spare) if known != size), size)
        if _taken(other, spare) is not None:
            excess -= other


def _taken(size: int, spare: dict[int, list[_Block]] = _spare) -> _Block | None:
    """A block of that size which is no longer kept; None where there is none."""
    blocks = spare.get(size)
    if blocks is None:
        return None
    try:
        return blocks.pop()
    except IndexError:
        return None
    finally:
        if not blocks:
            spare.pop(size, None)


class _Lease:
    """A block in use. It goes back when the last array over it is gone."""

    __slots__ = ("__array_interface__", "_block")

    def __init__(self, block: _Block, shape: tuple[int, ...], dtype: np.dtype[Any]) -> None:
        self._block = block
        self.__array_interface__ = {
            "version": 3,
            "shape": shape,
            "typestr": dtype.str,
            "data": block[1],
        }

    # The interpreter may have forgotten the names of this module when it ends.
    def __del__(self, keep: Any = _keep) -> None:
        keep(self._block)


def empty(shape: tuple[int, ...], dtype: np.dtype[Any]) -> Array:
    """An array of undefined contents, as of np.empty."""
    size = math.prod(shape) * dtype.itemsize
    if not _LEAST <= size <= _MOST:
        if size >= 2**63:
            raise MemoryError(f"an array of shape {shape} is larger than any memory")
        return np.empty(shape, dtype)
    block = _taken(size)
    if block is None:
        memory = np.empty(size, np.uint8)
        block = memory, memory.__array_interface__["data"]
    return np.asarray(_Lease(block, shape, dtype))
