#!/usr/bin/env python3
"""Counts the decisions of the sources, each once, however often the compiler has copied it.

usage: decisions.py ROOT BUILD REPORT

gcov counts the branches of every copy of a line apart: of each instance of a template, of each processor target of a
kernel, of each file that includes a header. A check with one line of source so has a branch that is not taken in each
operation whose tests leave it to those of another. Here the copies of a line that have the same number of branches
are one, and a branch of it is taken where it is in any copy. Branches that only an exception takes do not count, nor do
those of lines without a word, where objects end.

Writes the branches that no copy takes to REPORT and the sum to the standard output.
"""
import json
import re
import subprocess
import sys
from collections import defaultdict
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

WORD = re.compile(r"\w")


def branches_of(counts):
    """What gcov tells of one object file: for each source, a line and the counts of the branches of one copy."""
    for source in counts["files"]:
        for line in source["lines"]:
            taken = [branch["count"] > 0 for branch in line["branches"] if not branch["throw"]]
            if taken:
                yield source["file"], line["line_number"], taken


class Decisions:
    """Branches by source, line, the number of branches in a copy of the line, and their place among them."""

    def __init__(self, text_of):
        self.text_of = text_of
        self.copies = defaultdict(list)

    def add(self, source, line, taken):
        self.copies[source, line, len(taken)].append(taken)

    def merged(self):
        """The line of every decision, in how many copies it is, and which of its branches any of them takes."""
        for (source, line, _), copies in sorted(self.copies.items()):
            if WORD.search(self.text_of(source, line)):
                yield source, line, len(copies), [any(branch) for branch in zip(*copies)]

    def report(self):
        """The branches that no copy takes, and how many are taken of how many."""
        lines, reached, every = [], 0, 0
        for source, line, copies, taken in self.merged():
            reached += sum(taken)
            every += len(taken)
            if not all(taken):
                places = ", ".join(str(place + 1) for place, done in enumerate(taken) if not done)
                lines.append(f"{source}:{line}: branch {places} of {len(taken)}, copies: {copies}\n")
        return lines, reached, every


def gcov(data):
    """What gcov says of the counts of one object file."""
    run = subprocess.run(["gcov", "--json-format", "--branch-probabilities", "--stdout", data.name], cwd=data.parent,
                         check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return json.loads(run.stdout)


def count(root, build):
    """The decisions of the sources below src, from the counts that runs have left in the build tree."""
    lines = {}

    def text_of(source, line):
        if source not in lines:
            lines[source] = (root / source).read_text().splitlines()
        return lines[source][line - 1]

    decisions = Decisions(text_of)
    with ThreadPoolExecutor() as pool:
        for counts in pool.map(gcov, sorted(build.rglob("*.gcda"))):
            folder = Path(counts["current_working_directory"])
            for source, line, taken in branches_of(counts):
                path = (folder / source).resolve()
                if path.is_relative_to(root / "src"):
                    decisions.add(path.relative_to(root).as_posix(), line, taken)
    return decisions


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    lines, reached, every = count(Path(sys.argv[1]).resolve(), Path(sys.argv[2])).report()
    if every == 0:
        sys.exit("no branches have been counted")
    Path(sys.argv[3]).write_text("".join(lines))
    print(f"decisions: {reached / every:.1%} ({reached} out of {every})")


if __name__ == "__main__":
    main()
