#!/usr/bin/env python3
"""Compares the exported symbols of the libraries with the list of those that are meant."""
import argparse
import difflib
import re
import subprocess
import sys
from pathlib import Path

ADVICE = """
Remove KO_EXPORT where an export was not meant. Where the change is meant, update the list and commit it:
    cmake --build --preset release --target update-exported-symbols"""


def exported(library):
    """Lines "<library>: <symbol>"; what templates of other libraries leave behind is not ours."""
    name = library.name.split(".")[0]
    listing = subprocess.run(["nm", "-DC", "--defined-only", library], check=True, text=True,
                             stdout=subprocess.PIPE).stdout
    for line in listing.splitlines():
        _, kind, symbol = line.split(" ", 2)
        is_strong = kind in "TDBR"
        is_own = re.match(r"(?:[a-z\- ]+ (?:for|to) )?ko::", symbol)
        if is_strong or is_own:
            yield f"{name}: {symbol}"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("list", type=Path)
    parser.add_argument("libraries", type=Path, nargs="+")
    parser.add_argument("--update", action="store_true", help="write the list anew")
    args = parser.parse_args()

    actual = sorted({line for library in args.libraries for line in exported(library)})
    if args.update:
        args.list.write_text("".join(f"{line}\n" for line in actual))
        return
    listed = args.list.read_text().splitlines()
    if actual != listed:
        difference = difflib.unified_diff(listed, actual, "listed", "exported", n=0, lineterm="")
        sys.exit("\n".join([*difference, ADVICE]))


if __name__ == "__main__":
    main()
