#!/usr/bin/env python3
"""Relative links of the Markdown files lead somewhere, the site shows only pictures that it makes, and code that is
quoted from a source stands there.

usage: markdown_test.py <root of the source tree>
"""
import re
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(sys.argv[1], "tools/site")))
from headings import FENCED, places  # noqa: E402
from pictures import DRAWN, STEPS  # noqa: E402

LINK = re.compile(r"\[[^\]]*\]\(([^)\s]+)\)")
STEP = re.compile(r"^## [^\n]*`([^`\n]+)`\n(.*?)(?=^## |\Z)", re.MULTILINE | re.DOTALL)
QUOTED = re.compile(r"^```cpp\n(.*?)^```", re.MULTILINE | re.DOTALL)
GENERATED = "pictures/"  # made by tools/site/pictures.py, so not in the tree


def markdown_files(root):
    for path in sorted(root.rglob("*.md")):
        if path.relative_to(root).parts[0] not in ("build", ".git"):
            yield path


def links(text):
    return LINK.findall(FENCED.sub("", text))


def broken(path, root, pictures):
    for link in links(path.read_text()):
        if re.match(r"[a-z]+:", link):
            continue
        target, _, place = link.partition("#")
        if target.startswith(GENERATED) and path.is_relative_to(root / "docs/site"):
            if target.removeprefix(GENERATED) not in pictures:
                yield f"{path}: nothing makes {target}"
            continue
        file = path.parent / target if target else path
        if not file.exists():
            yield f"{path}: {link} does not exist"
        elif place and place not in places(file.read_text()):
            yield f"{path}: {link} has no such heading"


def quotations(text):
    """The code below headings that name a file, with that file."""
    return [(file.replace("{h,cpp}", "cpp"), code) for file, step in STEP.findall(text) for code in QUOTED.findall(step)]


class Markdown(unittest.TestCase):
    root = Path()

    def test_has_no_broken_links(self):
        files = list(markdown_files(self.root))
        self.assertGreater(len(files), 15, "this is not the source tree")
        self.assertEqual([], [sentence for path in files for sentence in broken(path, self.root, [*STEPS, *DRAWN])])

    def test_quotes_code_as_it_is(self):
        quoted = quotations((self.root / "docs/adding-an-operation.md").read_text())
        self.assertEqual(3, len(quoted))
        for file, code in quoted:
            self.assertIn(code, (self.root / file).read_text())


class Rules(unittest.TestCase):
    def test_links_are_found_and_code_is_not_searched(self):
        self.assertEqual(["a.md", "b.png"], links("[x](a.md) ![](b.png)\n```cpp\n[](int i)\n```\n"))

    def test_headings_become_places(self):
        self.assertEqual({"a-first-program", "the-tool-ko"}, places("# A first program\n## The tool `ko`\n"))


if __name__ == "__main__":
    Markdown.root = Path(sys.argv.pop()).resolve()
    unittest.main()
