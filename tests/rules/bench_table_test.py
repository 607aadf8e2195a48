#!/usr/bin/env python3
"""The pages of the benches: a run changes the section of its processor alone, and the summary follows.

usage: bench_table_test.py <root of the source tree>
"""
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

sys.path.insert(0, str(Path(sys.argv[1], "bench")))
import machine  # noqa: E402
import table  # noqa: E402

EMPTY = ("top\n<!-- summary: written by ./dev bench -->\n<!-- end of summary -->\n"
         "<!-- end of processors -->\nbottom\n")
CONTEXT = {"date": "2030-01-02T03:04", "compiler": "cc", "flags": "-O3", "opencv": "5"}


def run(**rows):
    """A run of rows: name -> (threads, ours, peer, limit)."""
    return {"context": CONTEXT,
            "benchmarks": [{"name": f"{name}/U8/2048/{threads}", "label": "peer", "ours_ms": ours, "peer_ms": peer,
                            "limit_ms": limit, "vs_peer": peer / ours, "vs_limit": ours / limit}
                           for name, times in rows.items() for threads, ours, peer, limit in times]}


class Tables(unittest.TestCase):
    def test_keeps_what_other_processors_and_rows_have(self):
        page = table.updated(EMPTY, run(Sobel=[(1, 2, 8, 1)], Mean=[(1, 1, 1, 1)]), "one", set())
        page = table.updated(page, run(Sobel=[(1, 3, 9, 1)]), "two", set())
        before = dict(machine.SECTION.findall(page))
        page = table.updated(page, run(Sobel=[(1, 1, 8, 1)]), "one", set())
        after = dict(machine.SECTION.findall(page))
        self.assertEqual(["one", "two"], list(after))
        self.assertEqual(before["two"], after["two"])
        self.assertIn("| Mean/U8/2048 | 1 | 1 |", after["one"])
        self.assertIn("| Sobel/U8/2048 | 1 | 1 | peer | 8 | 8 | 1 | 1 |", after["one"])
        self.assertTrue(page.startswith("top\n") and page.endswith("bottom\n"))

    def test_writes_pages_with_a_section_for_each_processor(self):
        with tempfile.TemporaryDirectory() as directory:
            path = Path(directory, "page.md")
            for name, text in (("one", "first\n"), ("two", "second\n"), ("one", "third\n")):
                with mock.patch("machine.processor", return_value=name):
                    machine.write_page(path, "head\n", text, "end\n")
            page = path.read_text()
            self.assertEqual({"one": "third\n", "two": "second\n"}, machine.sections(page))
            self.assertTrue(page.startswith("head\n") and page.endswith("end\n"))
            self.assertEqual(1, page.count("head"))

    def test_sums_up_each_processor(self):
        page = table.updated(EMPTY, run(Sobel=[(1, 2, 8, 1), (2, 1, 8, 1)],  # computes, 4 times faster, scales by 2
                                        Median=[(1, 1, 9, 1), (2, 1, 9, 1)],  # computes, 9 times faster
                                        And=[(1, 1.04, 1, 1)],  # behind, but at the limit
                                        Xor=[(1, 2, 1.5, 1)]), "one", {"Sobel"})
        self.assertIn("| one | 2030-01-02 | 6.00 | 2 | 1.44 | 2 | 1 | 2.00 |", page)

    def test_takes_from_the_headers_what_runs_in_parallel(self):
        with tempfile.TemporaryDirectory() as directory:
            Path(directory, "a.h").write_text("/// Rows run in parallel.\nKO_EXPORT ResultCode A(int a);\n\n"
                                              "/// On the calling thread.\nKO_EXPORT ResultCode B(int a);\n\n"
                                              "/// The rest is as for\n/// `A`.\nKO_EXPORT ResultCode C(int a);\n")
            self.assertEqual({"A", "C"}, table.parallel_operations(Path(directory)))


if __name__ == "__main__":
    del sys.argv[1]
    unittest.main()
