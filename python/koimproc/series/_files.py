"""Files that appear under their names when they are complete, and directories that do not outlive their programs."""

from __future__ import annotations

import fcntl
import os
import secrets
import shutil
import tempfile
from collections.abc import Iterator
from contextlib import contextmanager
from typing import IO, Optional, Union

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
    except BaseException as error:
        if isinstance(error, OSError) and error.filename == temporary:
            error.filename = os.fspath(path)
        if os.path.exists(temporary):
            os.unlink(temporary)
        raise


# Every directory whose name begins so and that no program has locked was left by one that was killed: the system takes
# locks back. Other machines may have their own in the same place.
_SCRATCH = f"koimproc-{os.uname().nodename}-"


@contextmanager
def scratch_directory(directory: Optional[PathLike] = None) -> Iterator[str]:
    """A directory of this program, in `directory` or in that for temporary files, for as long as the context lasts. Those
    that killed programs have left there are removed."""
    place = tempfile.gettempdir() if directory is None else os.path.abspath(directory)
    _remove_left(place)
    path, lock = _locked(place)
    try:
        yield path
    finally:
        shutil.rmtree(path)
        os.close(lock)


def _locked(place: str) -> tuple[str, int]:
    """A new directory, and what keeps it locked."""
    while True:
        path = tempfile.mkdtemp(prefix=_SCRATCH, dir=place)
        try:
            lock = os.open(path, os.O_RDONLY | os.O_DIRECTORY)
        except FileNotFoundError:
            continue  # taken for one that was left, before it was locked
        try:
            fcntl.flock(lock, fcntl.LOCK_EX)
        except OSError:
            # Such as NFS, which does not lock directories: under another name nobody takes it for one that was left.
            other = os.path.join(place, f"koimproc-{secrets.token_hex(8)}")
            os.rename(path, other)
            return other, lock
        if os.path.exists(path):
            return path, lock
        os.close(lock)


def _remove_left(place: str) -> None:
    try:
        left = [os.path.join(place, name) for name in os.listdir(place) if name.startswith(_SCRATCH)]
    except OSError:
        return  # one may make directories in places that one may not list
    for path in left:
        try:
            lock = os.open(path, os.O_RDONLY | os.O_DIRECTORY | os.O_NOFOLLOW)
        except OSError:
            continue
        try:
            if os.fstat(lock).st_uid == os.geteuid():
                fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
                shutil.rmtree(path, ignore_errors=True)
        except OSError:
            pass  # in use
        finally:
            os.close(lock)
