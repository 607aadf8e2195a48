#!/usr/bin/env python3
"""Picks the few inputs of a working corpus that together reach nearly every edge that all of them reach.

usage: keep.py FUZZER KEPT [FOUND]

KEPT, the directory in the repository, is replaced by what is picked from KEPT and FOUND together.
"""
import hashlib
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

MOST_BYTES = 256
MOST_FILES = 100


def edges_by_file(fuzzer, directories):
    """The edges that each file reaches, from the notes that libFuzzer takes while it merges."""
    with tempfile.TemporaryDirectory() as scratch:
        control, merged = Path(scratch, "control"), Path(scratch, "merged")
        merged.mkdir()
        subprocess.run([fuzzer, "-set_cover_merge=1", f"-merge_control_file={control}", merged, *directories], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                       env=os.environ | {"OMP_WAIT_POLICY": "passive",
                                         "ASAN_OPTIONS": "allocator_may_return_null=1"})
        lines = control.read_text().splitlines()
    count = int(lines[0])
    files = [Path(name) for name in lines[2:2 + count]]
    edges = {}
    for line in lines[2 + count:]:
        if match := re.match(r"FT (\d+)(.*)", line):
            # Eight features per edge: how often it was taken, in powers of two.
            edges[files[int(match[1])]] = {int(feature) // 8 for feature in match[2].split()}
    return edges


def cover(edges):
    """The file that adds most edges, then the next one, until nothing is added; and the share that is reached."""
    every = set().union(*edges.values())
    missing, picked = set(every), []
    while missing and len(picked) < MOST_FILES:
        best = max(edges, key=lambda name: (len(edges[name] & missing), -name.stat().st_size, name.name))
        missing -= edges[best]
        picked.append(best)
    return picked, 1 - len(missing) / len(every)


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    fuzzer, kept, found = sys.argv[1], Path(sys.argv[2]), sys.argv[3:]
    kept.mkdir(parents=True, exist_ok=True)
    edges = {name: reached for name, reached in edges_by_file(fuzzer, [kept, *found]).items()
             if name.stat().st_size <= MOST_BYTES}
    picked, share = cover(edges)
    contents = [name.read_bytes() for name in picked]
    shutil.rmtree(kept)
    kept.mkdir()
    for data in contents:
        (kept / hashlib.sha1(data).hexdigest()[:12]).write_bytes(data)
    print(f"{len(picked)} of {len(edges)} inputs kept, which reach {share:.1%} of the edges")


if __name__ == "__main__":
    main()
