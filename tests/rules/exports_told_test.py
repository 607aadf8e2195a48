#!/usr/bin/env python3
"""Every exported function has its exact signature in a test, its name on the page of its room, and its name or that of
its family (`RowHistogram*`) in the README's table of operations.

usage: exports_told_test.py <root of the source tree>
"""
import re
import sys
import unittest
from collections import Counter
from fnmatch import fnmatchcase
from pathlib import Path

DECLARED = re.compile(r"^KO_EXPORT [\w:*& ]+?[ *&](\w+)\(", re.MULTILINE)
SYMBOL = re.compile(r"^\w+: ko::(\w+)\(", re.MULTILINE)
SIGNATURE = re.compile(r"\bexported<[^;{}]*?>\(\s*&(\w+)\)")
TABLE_ROW = re.compile(r"^\| `ko/[\w/]+\.h` \|(.*)\|$", re.MULTILINE)
NAME = re.compile(r"`(\w+\*?)`")


def exports_by_room(root):
    """The functions that the public headers declare; headers without a room belong to core."""
    rooms = {page.stem for page in (root / "docs/site/rooms").glob("*.md")}
    found = {}
    for header in sorted((root / "include/ko").rglob("*.h")):
        room = header.relative_to(root / "include/ko").parts[0].removesuffix(".h")
        found.setdefault(room if room in rooms else "core", set()).update(DECLARED.findall(header.read_text()))
    return found


class Exports(unittest.TestCase):
    root = Path()

    def setUp(self):
        self.exports = exports_by_room(self.root)
        self.assertGreater(sum(map(len, self.exports.values())), 80, "these are not the public headers")

    def test_are_tested_with_their_exact_signatures(self):
        symbols = Counter(SYMBOL.findall((self.root / "tests/rules/exported_symbols.txt").read_text()))
        tested = Counter(name for test in (self.root / "tests/package/client/api").glob("*_test.cpp")
                         for name in SIGNATURE.findall(test.read_text()))
        self.assertEqual(Counter(), symbols - tested, "overloads that no test in tests/package/client/api has")

    def test_are_in_the_list_of_symbols(self):
        symbols = set(SYMBOL.findall((self.root / "tests/rules/exported_symbols.txt").read_text()))
        self.assertEqual(set(), set().union(*self.exports.values()) - symbols)

    def test_are_in_the_table_of_the_readme(self):
        table = "".join(TABLE_ROW.findall((self.root / "README.md").read_text()))
        told = NAME.findall(table)
        self.assertEqual([], [name for name in sorted(set().union(*self.exports.values()))
                              if not any(fnmatchcase(name, pattern) for pattern in told)])

    def test_are_on_the_page_of_their_room(self):
        for room, names in self.exports.items():
            page = (self.root / f"docs/site/rooms/{room}.md").read_text()
            self.assertEqual(set(), names - set(NAME.findall(page)), f"docs/site/rooms/{room}.md")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    Exports.root = Path(sys.argv.pop())
    unittest.main()
