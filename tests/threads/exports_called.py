#!/usr/bin/env python3
"""Every exported function is called by the tests that run all exports.

usage: exports_called.py <exported_symbols.txt> <object file>...
"""
import re
import subprocess
import sys

FUNCTION = re.compile(r"ko::[A-Za-z0-9]+\(")


def functions(lines):
    return {line.strip() for line in lines if FUNCTION.match(line.strip())}


def main(symbols, *objects):
    with open(symbols, encoding="utf-8") as file:
        exported = functions(line.partition(": ")[2] for line in file)
    listing = subprocess.run(["nm", "-C", "--undefined-only", *objects], capture_output=True, text=True,
                             check=True).stdout
    called = functions(line.split(maxsplit=1)[1] for line in listing.splitlines() if " " in line.strip())
    missing = sorted(exported - called)
    if not exported or missing:
        sys.exit("never called: " + "; ".join(missing or ["the list of exports is empty"]))


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])
