#!/usr/bin/env python3
"""What `./dev new-operation` writes keeps to the rules of the tree and, with --build, builds and passes its tests.

usage: new_operation_test.py <root of the source tree> [--build]
"""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

RULES = ("definitions", "enumerators", "exports_told", "includes", "markdown", "site", "sources")
TRIALS = {"masks": "TrialSoftMask", "stats": "TrialCount"}  # of one room with one header, of one with several


def copy_of(root, place):
    shutil.copytree(root, place, symlinks=True, ignore=lambda folder, names: {
        name for name in names if name == ".git" or (name == "build" and Path(folder) == root)})
    return place


def generate(tree, room, name):
    return subprocess.run([sys.executable, "-B", tree / "tools/new_operation/new_operation.py", room, name], cwd=tree,
                          text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)


class NewOperation(unittest.TestCase):
    root = Path()

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.tree = copy_of(self.root, Path(scratch.name) / "tree")

    def test_keeps_to_the_rules_in_every_room(self):
        sys.path.insert(0, str(self.root / "tools/new_operation"))
        from new_operation import rooms
        for room in rooms(self.root):
            run = generate(self.tree, room, f"Trial{room.capitalize()}")
            self.assertEqual(0, run.returncode, run.stdout)
        for rule in RULES:
            run = subprocess.run([sys.executable, "-B", f"tests/rules/{rule}_test.py", "."], cwd=self.tree, text=True,
                                 stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            self.assertEqual(0, run.returncode, f"{rule}: {run.stdout}")
        sources = [path for folder in ("src", "include", "tests", "bench", "fuzz")
                   for path in (self.tree / folder).rglob("trial_*") if path.suffix in (".h", ".cpp")]
        subprocess.run(["clang-format-14", "--dry-run", "-Werror", *sources], check=True)

    def test_refuses_what_it_cannot_write(self):
        for room, name, says in (("attic", "TrialMask", "none of the rooms"), ("masks", "trial_mask", "no name"),
                                 ("masks", "MaskImage", "declared already")):
            run = generate(self.tree, room, name)
            self.assertEqual(1, run.returncode)
            self.assertIn(says, run.stdout)


def build(root):
    """Two operations in a copy of the tree: whatever enters them in a list takes part."""
    tree = root / "build/new_operation"
    shutil.rmtree(tree, ignore_errors=True)
    copy_of(root, tree)
    for room, name in TRIALS.items():
        run = generate(tree, room, name)
        if run.returncode != 0:
            sys.exit(run.stdout)
    targets = ["koimproc", "ko_client_test", "ko_threads_test", "ko_stacks_test", "ko_fuzzers", "ko_bench",
               *(f"ko_{room}_test" for room in TRIALS)]
    tests = r"^(client\.tests$|(threads|fuzz|rules|" + "|".join(TRIALS) + r")\.)"
    for command in (["cmake", "--preset", "release", "-DKO_BUILD_BENCH=ON", "-DKO_BUILD_TOOL=OFF"],
                    ["cmake", "--build", "--preset", "release", "--target", *targets],
                    ["ctest", "--preset", "release", "--no-tests=error", f"-j{os.cpu_count()}", "-R", tests]):
        subprocess.run(command, check=True, cwd=tree)


if __name__ == "__main__":
    if len(sys.argv) == 3 and sys.argv[2] == "--build":
        build(Path(sys.argv[1]).resolve())
    elif len(sys.argv) == 2:
        NewOperation.root = Path(sys.argv.pop()).resolve()
        unittest.main()
    else:
        sys.exit(__doc__)
