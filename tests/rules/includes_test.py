#!/usr/bin/env python3
"""The rooms of the source tree know each other only along the edges of the table in ARCHITECTURE.md.

usage: includes_test.py <root of the source tree>
"""
import re
import sys
import unittest
from pathlib import Path

# Headers that stand on core and that nothing of the project includes.
INTEROP = "interop"

OPENMP_HOME = "src/base/rows.h"
UMBRELLA = "include/ko/koimproc.h"

# OpenCV is a peer to measure against and a library to exchange images with, never one to build on.
OPENCV_HOMES = ("bench/", "include/ko/interop/opencv.h", "tests/package/interop/", "examples/opencv.cpp",
                "examples/CMakeLists.txt")

INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]', re.MULTILINE)
OPENMP = re.compile(r"^\s*#\s*pragma\s+omp\b", re.MULTILINE)
OPENCV = re.compile(r"find_package\(\s*OpenCV|pkg_check_modules\([^)]*opencv", re.IGNORECASE)
TABLE_ROW = re.compile(r"^\| `(?:src/|include/ko/)(\w+)` \|[^|]*\|([^|]*)\|$", re.MULTILINE)


def edges_of(architecture):
    """The table: for each room what it may include, rooms ("base") and single headers ("stats/tally.h")."""
    return {room: re.findall(r"`([^`]+)`", allowed) for room, allowed in TABLE_ROW.findall(architecture)}


class Rules:
    def __init__(self, edges):
        self.edges = edges
        self.used = set()

    def room_of(self, path):
        """The room of a source or public header given relative to the root; None outside the libraries."""
        parts = Path(path).parts
        if parts[0] == "src" and len(parts) > 2:
            return parts[1]
        if parts[:2] == ("include", "ko"):
            return self.public_room("/".join(parts[1:]))
        return None

    def public_room(self, header):
        """The room of a public header named as in ko/stats/means.h; headers without a room belong to core."""
        name = Path(header).parts[1].removesuffix(".h")
        return name if name in self.edges else "core"

    def target_room(self, header):
        """The room that an include leads to; None for headers of other projects."""
        first = Path(header).parts[0]
        if first == "ko":
            return self.public_room(header)
        return first if first in self.edges and "/" in header else None

    def may_include(self, path, header):
        """Whether one file of the libraries may include one header."""
        if path == UMBRELLA:
            return self.target_room(header) != INTEROP
        if header == "ko/koimproc.h":
            return False
        room, target = self.room_of(path), self.target_room(header)
        if target is None or target == room:
            return True
        for edge in (target, header):
            if edge in self.edges[room]:
                self.used.add((room, edge))
                return True
        return False

    def violations(self, path, text):
        """What one file does against the rules, as sentences."""
        headers = INCLUDE.findall(text)
        if path.startswith(("src/", "include/")) and path.endswith((".h", ".cpp")):
            if room := self.room_of(path):
                if room not in self.edges:
                    yield f"{path} lies in a room that the table does not have"
                    return
                for header in headers:
                    if not self.may_include(path, header):
                        yield f"{path} must not include {header}"
            if any(header.startswith("hwy/") for header in headers) and not path.endswith("_kernels.cpp"):
                yield f"{path} includes Highway but is not a *_kernels.cpp"
            if path != OPENMP_HOME and ("omp.h" in headers or OPENMP.search(text)):
                yield f"{path} uses OpenMP, which only {OPENMP_HOME} may"
        if not path.startswith(OPENCV_HOMES):
            if any(header.startswith("opencv") for header in headers) or OPENCV.search(text):
                yield f"{path} uses OpenCV, which only {', '.join(OPENCV_HOMES)} may"

    def unused(self):
        """Edges of the table that no include has needed so far."""
        return sorted((room, edge) for room, allowed in self.edges.items() for edge in allowed
                      if (room, edge) not in self.used)


def source_files(root):
    for top in ("src", "include", "tests", "bench", "tools", "examples", "fuzz", "cmake"):
        for path in sorted((root / top).rglob("*")):
            if path.suffix in (".h", ".cpp", ".cmake") or path.name == "CMakeLists.txt":
                yield path
    yield root / "CMakeLists.txt"


class Tree(unittest.TestCase):
    root = Path()

    def test_keeps_to_the_table_and_needs_all_of_it(self):
        rules = Rules(edges_of((self.root / "ARCHITECTURE.md").read_text()))
        files = list(source_files(self.root))
        self.assertGreater(len(files), 50, "this is not the source tree")
        found = [sentence for path in files
                 for sentence in rules.violations(path.relative_to(self.root).as_posix(), path.read_text())]
        self.assertEqual([], found)
        self.assertEqual([], rules.unused(), "the table has edges that the code does not use")


class RulesOnSamples(unittest.TestCase):
    TABLE = """
| room | holds | may include |
|---|---|---|
| `src/base` | rules | `ko/image.h` |
| `src/core` | records | `base` |
| `src/stats` | counts | `base`, `core` |
| `src/tone` | levels | `base`, `core`, `stats/tally.h` |
| `src/snake` | contours | `base`, `core`, `ko/stats.h` |
| `include/ko/interop` | views | `core` |
"""

    def setUp(self):
        self.rules = Rules(edges_of(self.TABLE))

    def check(self, path, line, allowed):
        self.assertEqual(allowed, not list(self.rules.violations(path, line + "\n")), f"{path}: {line}")

    def test_internal_headers(self):
        self.check("src/tone/a.cpp", '#include "tone/a.h"', True)
        self.check("src/tone/a.cpp", '#include "base/rows.h"', True)
        self.check("src/tone/a.cpp", '#include "stats/tally.h"', True)
        self.check("src/tone/a.cpp", '#include "stats/counting.h"', False)
        self.check("src/base/a.h", '#include "core/memory.h"', False)
        self.check("src/core/a.cpp", '#include "stats/tally.h"', False)
        self.check("src/attic/a.cpp", "int a;", False)

    def test_public_headers(self):
        self.check("src/snake/a.cpp", "#include <ko/stats.h>", True)
        self.check("src/snake/a.cpp", "#include <ko/stats/means.h>", False)
        self.check("src/snake/a.cpp", "#include <ko/histogram_containers.h>", True)
        self.check("src/base/a.h", "#include <ko/image.h>", True)
        self.check("src/base/a.h", "#include <ko/histogram_containers.h>", False)
        self.check("include/ko/image.h", "#include <ko/snake.h>", False)
        self.check("include/ko/stats/means.h", "#include <ko/stats/entropy.h>", True)
        self.check("src/tone/a.cpp", "#include <ko/koimproc.h>", False)
        self.check("include/ko/koimproc.h", "#include <ko/snake.h>", True)
        self.check("include/ko/koimproc.h", "#include <ko/interop/qimage.h>", False)
        self.check("include/ko/interop/a.h", "#include <ko/image.h>", True)
        self.check("include/ko/interop/a.h", "#include <ko/tone.h>", False)
        self.check("src/tone/a.cpp", "#include <ko/interop/opencv.h>", False)

    def test_homes_of_the_dependencies(self):
        self.check("src/tone/a_kernels.cpp", "#include <hwy/highway.h>", True)
        self.check("src/tone/a.cpp", "#include <hwy/highway.h>", False)
        self.check("src/core/a.h", "#include <hwy/base.h>", False)
        self.check("src/base/rows.h", "#include <omp.h>", True)
        self.check("src/tone/a.cpp", "#include <omp.h>", False)
        self.check("src/tone/a.cpp", "#  pragma omp parallel", False)
        self.check("bench/tone/a.cpp", "#include <opencv2/core.hpp>", True)
        self.check("tools/ko/a.cpp", "#include <opencv2/core.hpp>", False)
        self.check("CMakeLists.txt", "find_package(OpenCV REQUIRED)", False)
        self.check("tests/package/interop/CMakeLists.txt", "find_package(OpenCV REQUIRED)", True)
        self.check("include/ko/interop/opencv.h", "#include <opencv2/core.hpp>", True)
        self.check("include/ko/interop/qimage.h", "#include <opencv2/core.hpp>", False)

    def test_tells_edges_that_nothing_needs(self):
        self.check("src/tone/a.cpp", '#include "stats/tally.h"', True)
        self.assertIn(("tone", "core"), self.rules.unused())
        self.assertNotIn(("tone", "stats/tally.h"), self.rules.unused())


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    Tree.root = Path(sys.argv.pop())
    unittest.main()
