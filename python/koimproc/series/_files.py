"""Files that appear under their names when they are complete."""

from __future__ import annotations

import os
import secrets
from collections.abc import Iterator
from contextlib import contextmanager
from typing import IO, Union

PathLike = Union[str, "os.PathLike[str]"]


@contextmanager
def naming(path: PathLike) -> Iterator[None]:
    """Gives a name to what the system says of a full disk and the like, which does not name what was written."""
    try:
        yield
    except OSError as error:
        if error.errno is not None and error.filename is None:
            error.filename = os.fspath(path)
        raise


@contextmanager
def replacing(path: PathLike, durable: bool = True) -> Iterator[IO[bytes]]:
    """A new file beside `path`, which takes its place when it is complete, and if it is to be `durable` on the disk. A
    failure leaves `path` alone."""
    directory, name = os.path.split(os.path.abspath(path))
    temporary = os.path.join(directory, f".{name}.{secrets.token_hex(8)}")
    try:
        with naming(path), open(temporary, "xb") as file:
            yield file
            file.flush()
            if durable:
                os.fsync(file.fileno())
        os.replace(temporary, path)
    except BaseException:
        if os.path.exists(temporary):
            os.unlink(temporary)
        raise
