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
COMMENT = re.compile(r"//.*")
FORK = re.compile(r"\b(?:if|for|while)\b|\?")
JOINT = re.compile(r"&&|\|\|")


def conditions(text):
    """How many conditions a line of source has, at most."""
    code = COMMENT.sub("", text)
    return max(1, len(FORK.findall(code))) + len(JOINT.findall(code))


def end_of_block(texts, start):
    """The line on which the braces close that line `start` opens."""
    depth = 0
    for number in range(start, len(texts) + 1):
        text = texts[number - 1]
        depth += text.count("{") - text.count("}")
        if depth <= 0 and "}" in text:
            return number
    return start


class Functions:
    """The functions of one source in one object file, to tell in how many a line is compiled."""

    def __init__(self, found, texts):
        self.copies = defaultdict(int)
        for function in found:
            start, end = function["start_line"], function["end_line"]
            # Of a lambda gcov knows no end.
            self.copies[start, end if end > start else end_of_block(texts, start)] += 1

    def around(self, line):
        """How many copies the innermost function around a line has; none of one that is inlined everywhere."""
        return max(((start, copies) for (start, end), copies in self.copies.items() if start <= line <= end),
                   default=(0, 0))[1]


def size_of_copy(branches, copies, text):
    """How many of a line's branches are those of one copy.

    Where the copies are not known, or the compiler has left out the line in some, two for each condition of the text.
    """
    by_text = 2 * conditions(text)
    if copies > 0 and branches % copies == 0:
        return branches // copies
    return by_text if branches % by_text == 0 else branches


def branches_of(counts, texts_of):
    """What gcov tells of one object file: for each source, a line and the counts of the branches of one copy.

    Lines of template instances bear the name of their function. Those of the instances of a lambda, of the targets of a
    kernel and of functions that are inlined everywhere come as one line without a name, with the branches of all copies
    one after the other.
    """
    for source in counts["files"]:
        texts = texts_of(source["file"])
        if texts is None:
            continue
        functions = Functions(source["functions"], texts)
        for line in source["lines"]:
            taken = [branch["count"] > 0 for branch in line["branches"] if not branch["throw"]]
            number = line["line_number"]
            copies = 1 if "function_name" in line else functions.around(number)
            size = size_of_copy(len(taken), copies, texts[number - 1])
            for first in range(0, len(taken), size or 1):
                yield source["file"], number, taken[first:first + size]


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


class Sources:
    """The lines of the sources below src."""

    def __init__(self, root):
        self.root = root
        self.known = {}

    def below(self, path):
        """The name from the root of what lies below src."""
        return path.relative_to(self.root).as_posix() if path.is_relative_to(self.root / "src") else None

    def texts(self, name):
        if name not in self.known:
            self.known[name] = (self.root / name).read_text().splitlines()
        return self.known[name]


def count(root, build):
    """The decisions of the sources below src, from the counts that runs have left in the build tree."""
    sources = Sources(root)
    decisions = Decisions(lambda name, line: sources.texts(name)[line - 1])
    with ThreadPoolExecutor() as pool:
        for counts in pool.map(gcov, sorted(build.rglob("*.gcda"))):
            folder = Path(counts["current_working_directory"])

            def name_of(source):
                return sources.below((folder / source).resolve())

            def texts_of(source):
                return sources.texts(name_of(source)) if name_of(source) else None

            for source, line, taken in branches_of(counts, texts_of):
                decisions.add(name_of(source), line, taken)
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
