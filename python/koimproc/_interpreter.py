"""Refuses the interpreters of a process other than its first.

The extension is bound to the lock of the first interpreter. Loaded by another one, it would wait for that for ever.
"""

import ctypes


def _state(function: str) -> object:
    return ctypes.PYFUNCTYPE(ctypes.c_void_p)((function, ctypes.pythonapi))()


if _state("PyInterpreterState_Get") != _state("PyInterpreterState_Main"):
    raise ImportError("koimproc works in the main interpreter of a process alone, not in a subinterpreter; "
                      "use threads or processes")
