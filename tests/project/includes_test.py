#!/usr/bin/env python3
"""The rooms of the source tree know each other only along the allowed edges.

usage: includes_test.py <root of the source tree>
"""
import re
import sys
import unittest
from pathlib import Path

ROOMS = ["core", "frame", "stats", "tone", "pixel", "convert", "filters", "demosaic", "snake"]

# Headers that stand on core and that nothing of the project includes.
INTEROP = "interop"

# Whose internal headers a room may include besides its own.
INTERNAL = {room: {"core", "frame"} for room in ROOMS} | {"core": set(), "frame": {"core"}, INTEROP: {"core"}}

# Whose operations a room may call, through their public headers alone.
CALLS = {"demosaic": {"filters", "pixel"}, "snake": {"stats", "pixel", "filters"},
         "convert": {"stats"}, "tone": {"stats"}}

# Internal headers that hold a rule shared with one other room: (including room, header).
SHARED_RULES = {("demosaic", "pixel/color_depth.h")}

OPENMP_HOME = "src/frame/rows.h"
UMBRELLAS = {"include/ko/koimproc.h"}

# OpenCV is a peer to measure against and a library to exchange images with, never one to build on.
OPENCV_HOMES = ("bench/", "include/ko/interop/opencv.h", "tests/interop/", "examples/opencv.cpp", "examples/CMakeLists.txt")
INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]', re.MULTILINE)
OPENMP = re.compile(r"^\s*#\s*pragma\s+omp\b", re.MULTILINE)
OPENCV = re.compile(r"find_package\(\s*OpenCV|pkg_check_modules\([^)]*opencv", re.IGNORECASE)


def room_of(path):
    """The room of a source or public header given relative to the root; None outside the libraries."""
    parts = Path(path).parts
    if parts[0] == "src" and len(parts) > 2:
        return parts[1]
    if parts[:2] == ("include", "ko"):
        return public_room("/".join(parts[1:]))
    return None


def public_room(header):
    """The room of a public header named as in ko/stats/means.h; headers without a room belong to core."""
    name = Path(header).parts[1].removesuffix(".h")
    return name if name in ROOMS + [INTEROP] else "core"


def may_include(path, header):
    """Whether one file of the libraries may include one header of the project."""
    room = room_of(path)
    first = Path(header).parts[0]
    if path in UMBRELLAS:
        return public_room(header) != INTEROP if first == "ko" else True
    if header == "ko/koimproc.h":
        return False
    if first == "ko":
        return public_room(header) in {room} | INTERNAL[room] | CALLS.get(room, set())
    if first in ROOMS and "/" in header:
        return first in {room} | INTERNAL[room] or (room, header) in SHARED_RULES
    return True


def violations(path, text):
    """What one file does against the rules, as sentences."""
    headers = INCLUDE.findall(text)
    in_library = path.startswith(("src/", "include/"))
    if in_library and room_of(path):
        for header in headers:
            if not may_include(path, header):
                yield f"{path} must not include {header}"
    if in_library:
        if any(header.startswith("hwy/") for header in headers) and not path.endswith("_kernels.cpp"):
            yield f"{path} includes Highway but is not a *_kernels.cpp"
        if path != OPENMP_HOME and ("omp.h" in headers or OPENMP.search(text)):
            yield f"{path} uses OpenMP, which only {OPENMP_HOME} may"
    if not path.startswith(OPENCV_HOMES):
        if any(header.startswith("opencv") for header in headers) or OPENCV.search(text):
            yield f"{path} uses OpenCV, which only {', '.join(OPENCV_HOMES)} may"


def source_files(root):
    for top in ("src", "include", "tests", "bench", "tools", "examples", "fuzz", "cmake"):
        for path in sorted((root / top).rglob("*")):
            if path.suffix in (".h", ".cpp", ".cmake") or path.name == "CMakeLists.txt":
                yield path
    yield root / "CMakeLists.txt"


class Tree(unittest.TestCase):
    root = Path()

    def test_keeps_the_rules(self):
        files = list(source_files(self.root))
        self.assertGreater(len(files), 50, "this is not the source tree")
        found = [sentence for path in files
                 for sentence in violations(path.relative_to(self.root).as_posix(), path.read_text())]
        self.assertEqual([], found)


class Rules(unittest.TestCase):
    def check(self, path, line, allowed):
        self.assertEqual(allowed, not list(violations(path, line + "\n")), f"{path}: {line}")

    def test_internal_headers(self):
        self.check("src/pixel/a.cpp", '#include "pixel/a.h"', True)
        self.check("src/pixel/a.cpp", '#include "frame/rows.h"', True)
        self.check("src/pixel/a.cpp", '#include "core/checks.h"', True)
        self.check("src/frame/a.cpp", '#include "pixel/a.h"', False)
        self.check("src/core/a.cpp", '#include "frame/rows.h"', False)
        self.check("src/snake/a.cpp", '#include "filters/sobel.h"', False)

    def test_public_headers(self):
        self.check("src/snake/a.cpp", "#include <ko/stats/extremes.h>", True)
        self.check("src/tone/a.cpp", "#include <ko/stats.h>", True)
        self.check("src/pixel/a.cpp", "#include <ko/image.h>", True)
        self.check("src/pixel/a.cpp", "#include <ko/stats.h>", False)
        self.check("src/core/a.cpp", "#include <ko/frame.h>", False)
        self.check("include/ko/image.h", "#include <ko/frame.h>", False)
        self.check("include/ko/stats/means.h", "#include <ko/tone.h>", False)
        self.check("src/frame/a.cpp", "#include <ko/koimproc.h>", False)
        self.check("include/ko/koimproc.h", "#include <ko/snake.h>", True)
        self.check("include/ko/interop/a.h", "#include <ko/image.h>", True)
        self.check("include/ko/interop/a.h", "#include <ko/frame.h>", False)
        self.check("include/ko/koimproc.h", "#include <ko/interop/qimage.h>", False)

    def test_homes_of_the_dependencies(self):
        self.check("src/pixel/a_kernels.cpp", "#include <hwy/highway.h>", True)
        self.check("src/pixel/a.cpp", "#include <hwy/highway.h>", False)
        self.check("src/core/a.h", "#include <hwy/base.h>", False)
        self.check("src/frame/rows.h", "#include <omp.h>", True)
        self.check("src/pixel/a.cpp", "#include <omp.h>", False)
        self.check("src/pixel/a.cpp", "#  pragma omp parallel", False)
        self.check("bench/pixel/a.cpp", "#include <opencv2/core.hpp>", True)
        self.check("tools/ko/a.cpp", "#include <opencv2/core.hpp>", False)
        self.check("CMakeLists.txt", "find_package(OpenCV REQUIRED)", False)
        self.check("tests/interop/CMakeLists.txt", "find_package(OpenCV REQUIRED)", True)
        self.check("include/ko/interop/opencv.h", "#include <opencv2/core.hpp>", True)
        self.check("include/ko/interop/qimage.h", "#include <opencv2/core.hpp>", False)
        self.check("src/pixel/a.cpp", "#include <ko/interop/opencv.h>", False)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    Tree.root = Path(sys.argv.pop())
    unittest.main()
