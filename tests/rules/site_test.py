#!/usr/bin/env python3
"""Links of the documentation site lead to headings, and its search finds text where it stands.

usage: site_test.py <root of the source tree>
"""
import os
import sys
import tempfile
import unittest
from pathlib import Path

os.chdir(sys.argv.pop(1))
sys.path.insert(0, str(Path("tools/site").resolve()))
from build import COMMAND_ROW, LINK, labelled, resolved  # noqa: E402
from search import names_of, sections_of  # noqa: E402

PAGE = """<html><head><title>koimproc: Statistics</title></head><body>
<div id="top"><div class="tabs" id="navrow1">Overview First steps</div></div>
<div class="title">Statistics</div>
<p>Counts of <code>samples</code>.</p>
<h2><a class="anchor" id="thresholds"></a>Thresholds</h2><table><tr><td>Otsu</td><td>splits</td></tr></table>
<h2 class="memtitle"><span class="permalink"><a href="#x">*</a></span>Mean()</h2><p>Adds &amp; divides.</p>
<script>hidden()</script></body></html>"""


class Headings(unittest.TestCase):
    def link(self, text, source="docs/tool.md"):
        return LINK.sub(lambda link: resolved(link, Path(source)), text)

    def test_get_labels_outside_of_code(self):
        text = "## The `ko` run\n```sh\n# comment\n```\n### More\n"
        self.assertEqual("## The ko run {#tool_the-ko-run}\n```sh\n# comment\n```\n### More {#tool_more}\n",
                         labelled(text, Path("docs/tool.md")))

    def test_of_a_room_begin_with_the_highest_level(self):
        self.assertEqual("# Elements {#gstreamer_elements}", labelled("## Elements", Path("docs/gstreamer.md")))

    def test_are_reached_from_their_page_and_others(self):
        self.assertEqual("[x](@ref tool_recipes)", self.link("[x](#recipes)"))
        self.assertEqual("[x](@ref tool_recipes)", self.link("[x](tool.md#recipes)", "docs/series.md"))
        self.assertEqual("[x](@ref tool)", self.link("[x](tool.md)", "docs/series.md"))

    def test_that_do_not_exist_stop_the_build(self):
        for link in ("[x](#nowhere)", "[x](series.md#nowhere)", "[x](nowhere.md)"):
            with self.assertRaises(SystemExit):
                self.link(link)


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

    def test_begins_a_section_with_every_command(self):
        page = '<div class="title">Tool</div><table><tr><td><span class="command" id="ko-crop"></span><b>--roi</b> <b>N</b></td></tr>'
        with tempfile.TemporaryDirectory() as directory:
            Path(directory, "tool.html").write_text(page, encoding="utf-8")
            section = list(sections_of(Path(directory)))[-1]
        self.assertEqual(("tool.html#ko-crop", "ko crop", "crop --roi"),
                         tuple(section[key] for key in ("address", "heading", "names")))
        rows = COMMAND_ROW.findall(Path("docs/tool.md").read_text())
        self.assertLess({"develop", "stretch-levels", "mask"}, set(rows))
        self.assertEqual(len(rows), len(set(rows)), "each has one section")

    def test_names_python_functions_without_their_package(self):
        self.assertEqual(["white_balance", "run", "", ""],
                         [names_of(page, heading, "") for page, heading in
                          [("ko.white_balance", ""), ("ks.run", ""), ("ks.run", "Parameters"), ("Statistics", "")]])

    def test_names_the_page(self):
        self.assertEqual({"Statistics"}, {s["page"] for s in self.sections()})

    def test_leaves_out_lists_of_what_stands_elsewhere(self):
        self.assertEqual([], self.sections("classko_1_1CxMetadata-members.html"))


if __name__ == "__main__":
    unittest.main()
