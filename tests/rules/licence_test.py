#!/usr/bin/env python3
"""The file LICENCE is the one place that says under which licence koimproc is; everything else takes it from there.

usage: licence_test.py <root of the source tree>
"""
import re
import sys
import unittest
from pathlib import Path

IDENTIFIER = re.compile(r"^SPDX-License-Identifier: (.+)$", re.MULTILINE)
UNDECIDED = "LicenseRef-undecided"

# What takes the licence, and how.
TAKERS = {
    "cmake/KoLicence.cmake": 'file(STRINGS "${PROJECT_SOURCE_DIR}/LICENCE" KO_LICENCE',
    "cmake/koimproc.pc.in": "License: @KO_LICENCE@",
    "cmake/KoPackage.cmake": "${PROJECT_SOURCE_DIR}/LICENCE",
    "setup.py": 'only(r"^SPDX-License-Identifier: (.+)$", "LICENCE")',
    "docs/site/index.md": "<!-- the licence -->",
    "tools/site/build.py": 'Path("LICENCE").read_text()',
}
METADATA_FILES = ("*.toml", "setup.py", "packaging/*", "packaging/python/*", "cmake/*.*")
METADATA = re.compile(r"^\s*(?:license|License|licence)\s*[:=](.*)$", re.MULTILINE)


class Licence(unittest.TestCase):
    root = Path()

    def read(self, name):
        return (self.root / name).read_text()

    def test_is_named_once(self):
        self.assertEqual(1, len(IDENTIFIER.findall(self.read("LICENCE"))))

    def test_is_taken_from_its_file(self):
        for name, taking in TAKERS.items():
            self.assertIn(taking, self.read(name), name)

    def test_stands_nowhere_else(self):
        for pattern in METADATA_FILES:
            for path in filter(Path.is_file, self.root.glob(pattern)):
                for value in METADATA.findall(path.read_text()):
                    self.assertRegex(value, r"@KO_LICENCE@|LICENCE", path)

    def test_is_what_the_readme_says(self):
        says_none = "No licence has been chosen yet" in self.read("README.md")
        self.assertEqual(IDENTIFIER.search(self.read("LICENCE"))[1] == UNDECIDED, says_none)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    Licence.root = Path(sys.argv.pop())
    unittest.main()
