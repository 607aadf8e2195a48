#!/usr/bin/env python3
"""Every source is named by a CMakeLists.txt, as one that is forgotten would neither be built nor run; none is too long.

usage: sources_test.py <root of the source tree>
"""
import re
import sys
import tempfile
import unittest
from pathlib import Path

FOLDERS = ("src", "tests", "bench", "fuzz", "examples", "camera", "gstreamer", "tools/ko", "python")
LONGEST = {"tests": 600, "include": 450}  # lines; public headers are mostly documentation
LONGEST_ELSEWHERE = 350
COMMENT = re.compile(r"#.*")
SOURCE = re.compile(r"[^\s\"()]+\.cpp\b")
EXAMPLE = re.compile(r"\bko_add_example\((\w+)")
LOOP = re.compile(r"\bforeach\(\w+ ([\w\s]+)\)")


def named_by(build_file, root):
    """The C++ sources that one build file names, and the topics for which it adds a Python test."""
    folder = build_file.parent
    text = COMMENT.sub("", build_file.read_text())
    sources = set()
    for name in SOURCE.findall(text) + [f"{example}.cpp" for example in EXAMPLE.findall(text)]:
        name = name.replace("${PROJECT_SOURCE_DIR}", str(root)).replace("${CMAKE_CURRENT_SOURCE_DIR}", str(folder))
        sources.add((folder / name).resolve())
    topics = {topic for loop in LOOP.findall(text) for topic in loop.split()}
    tests = {(folder / f"{topic}_test.py").resolve() for topic in topics}
    tests |= {(folder / name).resolve() for name in re.findall(r"\w+_test\.py", text)}
    return sources | tests


def unnamed(root):
    """The C++ sources and Python tests that no build file names."""
    files, named = [], set()
    for folder in FOLDERS:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix == ".cpp" or path.name.endswith("_test.py"):
                files.append(path)
            elif path.name == "CMakeLists.txt":
                named |= named_by(path, root)
    return [path for path in files if path.resolve() not in named]


def too_long(root):
    """The C++ and Python sources with more lines than their folder allows, and how many they have."""
    lengths = {}
    for folder in sorted(path for path in root.iterdir() if path.is_dir() and path.name not in ("build", ".git")):
        for path in sorted(folder.rglob("*")):
            if path.suffix in (".h", ".cpp", ".py"):
                lines = path.read_text(errors="replace").count("\n")
                if lines > LONGEST.get(folder.name, LONGEST_ELSEWHERE):
                    lengths[path.relative_to(root).as_posix()] = lines
    return lengths


class Tree(unittest.TestCase):
    root = Path()

    def test_has_no_source_that_is_too_long(self):
        self.assertEqual({}, too_long(self.root))

    def test_builds_every_source(self):
        self.assertEqual([], [path.relative_to(self.root).as_posix() for path in unnamed(self.root)])


class Reading(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = Path(scratch.name)

    def write(self, name, text=""):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    def test_finds_what_is_forgotten(self):
        self.write("src/a/CMakeLists.txt", "target_sources(x PRIVATE one.cpp # two.cpp\n)\n")
        for name in ("src/a/one.cpp", "src/a/two.cpp", "bench/a/row_bench.cpp", "tests/tool/new_test.py"):
            self.write(name)
        self.assertEqual(["src/a/two.cpp", "tests/tool/new_test.py", "bench/a/row_bench.cpp"],
                         [path.relative_to(self.root).as_posix() for path in unnamed(self.root)])

    def test_finds_what_is_too_long(self):
        for name, lines in (("src/a/long.cpp", 351), ("src/a/fits.cpp", 350), ("tests/a_test.py", 600),
                            ("include/ko/a.h", 451), ("build/made.cpp", 9999)):
            self.write(name, "\n" * lines)
        self.assertEqual({"src/a/long.cpp": 351, "include/ko/a.h": 451}, too_long(self.root))

    def test_knows_every_way_to_name_a_source(self):
        self.write("tests/CMakeLists.txt", 'add_x("${CMAKE_CURRENT_SOURCE_DIR}/support/s.cpp" rooms/r.cpp)\n')
        self.write("fuzz/CMakeLists.txt", 'add_x("${PROJECT_SOURCE_DIR}/tests/support/t.cpp")\n')
        self.write("examples/CMakeLists.txt", "ko_add_example(first)\n")
        self.write("tests/tool/CMakeLists.txt", "foreach(topic info stats)\nadd_test(NAME x COMMAND y z_test.py)\n")
        for name in ("tests/support/s.cpp", "tests/rooms/r.cpp", "tests/support/t.cpp", "examples/first.cpp",
                     "tests/tool/info_test.py", "tests/tool/stats_test.py", "tests/tool/z_test.py"):
            self.write(name)
        self.assertEqual([], unnamed(self.root))


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    Tree.root = Path(sys.argv.pop()).resolve()
    unittest.main()
