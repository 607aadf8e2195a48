#!/usr/bin/env python3
"""Every example program ends well and prints what it is there to show.

usage: examples_test.py <root of the source tree> <directory of the example programs>
"""
import re
import subprocess
import sys
import unittest
from pathlib import Path

EXPECTED = {
    "first": r"red 1000, green 1000, blue 1000\n",
    "measure": r"(position \d: 15360 of 76800 pixels are white\n){4}mean of a region: 1596\.0\n"
               r"a region that leaves the image is refused\nunder the mask: 2552\.0, deviation 481\.5\n",
    "pipeline": r"(?s)camera +200 processed.*\ngreen of the last frame: 199\n",
    "qimage": r"red at the bad pixel: 255 before, 120 after\n",
    "opencv": r"red (999|1000), green (999|1000), blue (999|1000)\n153600 pixels set\n",
}
ELSEWHERE = {"live_view"}  # run by the tests of cameras, which have one
SHOWN = {"first": "README.md", "measure": "docs/site/first-steps.md"}


class Examples(unittest.TestCase):
    root = Path()
    programs = Path()

    def test_each_prints_what_it_is_there_to_show(self):
        for name, expected in EXPECTED.items():
            with self.subTest(name):
                done = subprocess.run([self.programs / f"ko_example_{name}"], text=True, capture_output=True)
                self.assertEqual(0, done.returncode, done.stderr)
                self.assertTrue(re.fullmatch(expected, done.stdout), done.stdout)

    def test_every_source_is_known_here(self):
        sources = {path.stem for path in (self.root / "examples").glob("*.cpp")}
        self.assertEqual(set(EXPECTED) | ELSEWHERE, sources)

    def test_programs_in_the_documentation_are_those_that_run(self):
        for name, document in SHOWN.items():
            program = (self.root / f"examples/{name}.cpp").read_text()
            self.assertIn(f"```cpp\n{program}```\n", (self.root / document).read_text())


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    Examples.programs = Path(sys.argv.pop())
    Examples.root = Path(sys.argv.pop())
    unittest.main()
