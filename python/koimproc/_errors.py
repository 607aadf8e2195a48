"""What the package raises, and how a status of the library becomes an exception."""

import re
from collections.abc import Callable, Collection
from typing import Any, NoReturn

import numpy as np

from koimproc import native

# What the parameters of the library are called here; all others keep their name.
_NAMES = {
    "src": "image",
    "dst": "out",
    "background": "flat",
    "blackLevels": "black",
    "data": "buffer",
    "layout": "format",
    "pitch": "row_bytes",
    "bytes": "buffer",
    "input": "points",
    "a": "semi_major",
    "b": "semi_minor",
}
_WORDS = re.compile(r"\b(" + "|".join(name for name in _NAMES if len(name) > 1) + r")\b")


class ArgumentError(ValueError):
    """An argument has a value that the function cannot work with.

    Attributes
    ----------
    argument : str
        Name of the argument.
    code : ResultCode or None
        Status of the library; None where the argument was refused before the library was asked.

    Examples
    --------
    >>> import numpy as np
    >>> import koimproc as ko
    >>> try:
    ...     ko.median(np.zeros((4, 4), np.uint8), radius=-1)
    ... except ko.ArgumentError as error:
    ...     print(error.argument)
    radius
    """

    def __init__(self, argument: str, message: str, code: native.ResultCode | None = None) -> None:
        super().__init__(f"{argument}: {message}")
        self.argument = argument
        self.message = message
        self.code = code

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self), (self.argument, self.message, self.code)


class SampleTypeError(TypeError):
    """An argument is not an array of samples that the function works on.

    Attributes
    ----------
    argument : str
        Name of the argument.
    code : ResultCode or None
        Status of the library; None where the argument was refused before the library was asked.

    Examples
    --------
    >>> import koimproc as ko
    >>> try:
    ...     ko.median([[1, 2], [3, 4]])
    ... except ko.SampleTypeError as error:
    ...     print(error.argument)
    image
    """

    def __init__(self, argument: str, message: str, code: native.ResultCode | None = None) -> None:
        super().__init__(f"{argument}: {message}")
        self.argument = argument
        self.message = message
        self.code = code

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self), (self.argument, self.message, self.code)


def one_of(value: object, known: Collection[str], name: str) -> None:
    """Refuses what is none of some words, arrays among it, which compare with every word."""
    if not isinstance(value, str) or value not in known:
        raise ArgumentError(name, f"one of {', '.join(known)} is wanted, not {value!r}")


def _given(value: object) -> str:
    """What an argument was, in a few words."""
    if isinstance(value, native.SxImageBuf):
        value = value.array
    if isinstance(value, np.ndarray):
        return f"an array of {value.dtype} and shape {value.shape}"
    text = repr(value)
    return text if len(text) <= 60 else type(value).__name__


def fail(operation: Callable[..., Any], arguments: tuple[Any, ...], status: int) -> NoReturn:
    """Raises what a status other than success means.

    The table of the library's checks has the parameter that a status counts to and the reason; `_NAMES` has what the
    parameter is called here.
    """
    from koimproc._checks import CHECKS

    code = native.ResultCode(status)
    forms = [(parameters, reasons) for group, reasons in CHECKS[operation.__name__] for parameters in group]
    parameters, reasons = next(
        (form for form in forms if len(form[0]) == len(arguments)), max(forms, key=lambda form: len(form[0]))
    )
    reason = _WORDS.sub(lambda word: _NAMES[word[1]], reasons.get(code.name, native.toString(status)))
    number = native.argumentOf(status)
    if code == native.ResultFailed:
        raise MemoryError(f"{operation.__name__}: {reason}")
    if not 0 < number <= len(parameters):
        raise SampleTypeError("image", f"not supported by {operation.__name__}: {reason}", code)
    parameter = parameters[number - 1]
    given = f"; given {_given(arguments[number - 1])}" if number <= len(arguments) else ""
    raise ArgumentError(_NAMES.get(parameter, parameter), f"refused because of one of: {reason}{given}", code)
