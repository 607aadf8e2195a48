#!/usr/bin/env python3
"""Runs the Python code of a page, block after block, as it stands there.

usage: tutorial.py PAGE DIRECTORY

The code runs in DIRECTORY, where its files are and its pictures go. What a block prints stands below it in the page,
indented, where the page shows it.
"""
import contextlib
import io
import os
import re
import sys
from pathlib import Path

BLOCK = re.compile(r"^```python\n(.*?)^```\n(?:\n((?:    [^\n]*\n)+))?", re.MULTILINE | re.DOTALL)


def run(page, directory):
    """Runs the blocks; the first that prints something else than the page shows is an error."""
    blocks = BLOCK.findall(Path(page).read_text())
    os.chdir(directory)
    names = {"__name__": "tutorial"}
    for code, shown in blocks:
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed):
            exec(compile(code, str(page), "exec"), names)
        wanted = "".join(line.removeprefix("    ") for line in shown.splitlines(keepends=True))
        if shown and printed.getvalue() != wanted:
            sys.exit(f"{page}: printed\n{printed.getvalue()}and not\n{wanted}")
    return len(blocks)


if __name__ == "__main__":
    os.environ.setdefault("MPLBACKEND", "agg")
    if run(Path(sys.argv[1]).resolve(), sys.argv[2]) == 0:
        sys.exit(f"{sys.argv[1]}: no code")
