#!/usr/bin/env python3
"""Every enumerator of the public headers says on its own line what it means: Doxygen does not miss them.

usage: enumerators_test.py <root of the source tree>
"""
import re
import sys
import unittest
from pathlib import Path

ENUMERATION = re.compile(r"^\s*enum\s[^;{]*\{(.*?)\}", re.MULTILINE | re.DOTALL)
ENUMERATOR = re.compile(r"^\s*(\w+)\s*(?:=[^,/]*)?,?\s*(///<\s*\S)?")


def enumerators(text):
    """Pairs of a name and whether it is documented."""
    for body in ENUMERATION.findall(text):
        for line in body.splitlines():
            found = ENUMERATOR.match(line)
            if found:
                yield found[1], bool(found[2])


class Headers(unittest.TestCase):
    root = Path()

    def test_document_every_enumerator(self):
        found = [(path.name, name, documented) for path in sorted((self.root / "include").rglob("*.h"))
                 for name, documented in enumerators(path.read_text())]
        self.assertGreater(len(found), 30, "these are not the public headers")
        self.assertEqual([], [f"{header}: {name}" for header, name, documented in found if not documented])


class Reading(unittest.TestCase):
    def test_tells_documented_from_bare(self):
        text = "/// E\nenum E : int {\n    A = 0,  ///< first\n    B,\n    C = 0x10\n};\nint x;  ///< no enumerator\n"
        self.assertEqual([("A", True), ("B", False), ("C", False)], list(enumerators(text)))

    def test_sees_enumerations_on_one_line(self):
        self.assertEqual([("A", False)], list(enumerators("enum E : int { A = 0 };")))


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    Headers.root = Path(sys.argv.pop())
    unittest.main()
