"""Memory of results that are gone, kept for the next ones of the same size.

Fresh memory costs a page fault for every 4096 bytes. That takes as long as many an operation does, and longer where
several threads ask for memory at once.
"""

from __future__ import annotations

import math
from typing import Any

import numpy as np

from koimproc import native
from koimproc._frame import Array

# Smaller arrays cost few page faults.
_LEAST = 1 << 18
# Bytes that are kept.
_MOST = 1 << 28

_spare = native._ResultMemory(_MOST)


def empty(shape: tuple[int, ...], dtype: np.dtype[Any]) -> Array:
    """An array of undefined contents, as of np.empty."""
    size = math.prod(shape) * dtype.itemsize
    if _LEAST <= size <= _MOST:
        return _spare.lend(shape, dtype)
    if size >= 2**63:
        raise MemoryError(f"an array of shape {shape} is larger than any memory")
    return np.empty(shape, dtype)
