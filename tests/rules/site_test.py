#!/usr/bin/env python3
"""The search of the documentation site finds text where it stands.

usage: site_test.py <root of the source tree>
"""
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(sys.argv[1], "tools/site")))
from search import sections_of  # noqa: E402

PAGE = """<html><head><title>koimproc: Statistics</title></head><body>
<div id="top"><div class="tabs" id="navrow1">Overview First steps</div></div>
<div class="title">Statistics</div>
<p>Counts of <code>samples</code>.</p>
<h2><a class="anchor" id="thresholds"></a>Thresholds</h2><table><tr><td>Otsu</td><td>splits</td></tr></table>
<h2 class="memtitle"><span class="permalink"><a href="#x">*</a></span>Mean()</h2><p>Adds &amp; divides.</p>
<script>hidden()</script></body></html>"""


class Search(unittest.TestCase):
    def sections(self, name="group__stats.html"):
        with tempfile.TemporaryDirectory() as directory:
            Path(directory, name).write_text(PAGE, encoding="utf-8")
            return list(sections_of(Path(directory)))

    def test_splits_a_page_at_its_headings(self):
        self.assertEqual([("group__stats.html", "", "Counts of samples."),
                          ("group__stats.html#thresholds", "Thresholds", "Otsu splits"),
                          ("group__stats.html#thresholds", "Mean()", "Adds & divides.")],
                         [(s["address"], s["heading"], s["text"]) for s in self.sections()])

    def test_names_the_page(self):
        self.assertEqual({"Statistics"}, {s["page"] for s in self.sections()})

    def test_leaves_out_lists_of_what_stands_elsewhere(self):
        self.assertEqual([], self.sections("classko_1_1CxMetadata-members.html"))


if __name__ == "__main__":
    del sys.argv[1]
    unittest.main()
