#!/usr/bin/env python3
"""Finds links of a directory of HTML pages that lead nowhere: to files or places in them that do not exist.

usage: links.py DIRECTORY
"""
import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit


class Page(HTMLParser):
    """The links of a page and the places that links can lead to."""

    def __init__(self, path):
        super().__init__()
        self.links = []
        self.places = set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name in ("href", "src") and value:
                self.links.append(value)
            elif name == "id" or (tag == "a" and name == "name"):
                self.places.add(value)


def broken_links(directory):
    """One sentence per broken link."""
    pages = {path.resolve(): Page(path) for path in sorted(directory.rglob("*.html"))}
    for path, page in pages.items():
        for link in page.links:
            parts = urlsplit(link)
            if parts.scheme or parts.netloc:
                continue
            target = (path.parent / unquote(parts.path)).resolve() if parts.path else path
            if not target.exists():
                yield f"{path.name}: {link} does not exist"
            elif parts.fragment and target in pages and unquote(parts.fragment) not in pages[target].places:
                yield f"{path.name}: {link} has no such place"


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    sys.exit("\n".join(broken_links(Path(sys.argv[1]))) or 0)
