"""Files of accumulators: arrays as of np.save one behind the other, first what they are, as JSON."""

from __future__ import annotations

import json
import os
from typing import IO, Any

import numpy as np
import numpy.typing as npt

from koimproc._memory import empty
from koimproc.series._files import PathLike, replacing

Array = npt.NDArray[Any]


def write_sums(path: PathLike, state: dict[str, Any], durable: bool) -> None:
    """Write the state of an accumulator."""
    arrays = dict(state["planes"])
    if state["histogram"] is not None:
        arrays["histogram"] = state["histogram"]
    facts = {name: value for name, value in state.items() if name not in ("planes", "histogram")}
    facts |= {"dtype": None if state["dtype"] is None else state["dtype"].str, "arrays": list(arrays)}
    layout: Any = np.lib.format
    with replacing(path, durable) as file:
        for array in (np.array(json.dumps(facts)), *arrays.values()):
            # np.save does not say why the disk took only a part.
            layout.write_array_header_1_0(file, layout.header_data_from_array_1_0(array))
            file.write(np.ascontiguousarray(array).data)


def read_sums(path: PathLike) -> dict[str, Any]:
    """The state that `write_sums` has written."""
    with open(path, "rb") as file:
        try:
            facts: dict[str, Any] = json.loads(str(np.load(file)))
            planes = {name: _read_array(file) for name in facts.pop("arrays")}
        except (ValueError, EOFError, KeyError, TypeError, AttributeError) as error:
            raise ValueError(f"{os.fspath(path)}: no accumulator, or a damaged one: {error}") from None
    facts["what"], facts["shape"] = tuple(facts["what"]), tuple(facts["shape"])
    facts["dtype"] = None if facts["dtype"] is None else np.dtype(facts["dtype"])
    return {**facts, "histogram": planes.pop("histogram", None), "planes": planes}


def _read_array(file: IO[bytes]) -> Array:
    """As np.load, but into memory of arrays that are gone: sums of many parts are read one after another."""
    layout: Any = np.lib.format
    if layout.read_magic(file) != (1, 0):
        raise ValueError("written by another program")
    shape, _, dtype = layout.read_array_header_1_0(file)
    array = empty(shape, dtype)
    if file.readinto(array.reshape(-1).view(np.uint8)) != array.nbytes:  # type: ignore[attr-defined]
        raise ValueError("the file is not complete")
    return array
