#!/usr/bin/env python3
"""tools/coverage/decisions.py counts a decision once, however often the compiler has copied it.

usage: coverage_test.py <root of the source tree>
"""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SAMPLE = """
template <class T> int sign(T value)
{
    if (value < 0)
        return -1;
    return value > 0;
}
int main(int count, char**)
{
    if (count == 7)
        return 7;
    return sign(count) + sign(-1.5 * count);
}
"""


INLINED = """
inline __attribute__((always_inline)) int sign(int value)
{
    if (value < 0)
        return -1;
    return value > 9 && value % 2 == 1;
}
int main(int count, char**)
{
    return sign(count) + sign(-count) + sign(10 * count) == 7;
}
"""


class Sample(unittest.TestCase):
    root = Path()

    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.dir = Path(holder.name).resolve()
        (self.dir / "src").mkdir()
        (self.dir / "build").mkdir()

    def call(self, *command, where="."):
        run = subprocess.run([str(word) for word in command], cwd=self.dir / where, text=True, capture_output=True)
        self.assertEqual((run.returncode, run.stderr), (0, ""), command)
        return run.stdout

    def decisions(self, *programs):
        for name in programs:
            self.call("g++", "--coverage", "-O0", f"../src/{name}.cpp", "-o", name, where="build")
            self.call(f"./{name}", where="build")
        told = self.call(sys.executable, "-B", self.root / "tools/coverage/decisions.py", ".", "build", "report.txt")
        return told, (self.dir / "report.txt").read_text()

    def test_a_branch_is_taken_where_any_copy_takes_it(self):
        (self.dir / "src/a.cpp").write_text(SAMPLE)
        told, report = self.decisions("a")
        # Integers are above 0 and floats below, so that both ways of the comparisons are taken. There is one main().
        self.assertRegex(report, r"^src/a\.cpp:10: branch \d of 2, copies: 1\n$")
        self.assertRegex(told, r"^decisions: \d+\.\d% \(\d+ out of \d+\)$")

    def test_copies_of_a_function_that_is_inlined_everywhere_are_one(self):
        (self.dir / "src/a.cpp").write_text(INLINED)
        report = self.decisions("a")[1]
        # 1 is not above 9, 10 is not odd. The compiler counts the first condition of each copy where it is inlined.
        self.assertRegex(report, r"(?m)^src/a\.cpp:6: branch \d of 4, copies: 3$")

    def test_programs_and_headers_are_put_together(self):
        (self.dir / "src/h.h").write_text("inline int half(int n)\n{\n    return n > 4 ? n / 2 : n;\n}\n")
        for name, number in (("a", 3), ("b", 9)):
            (self.dir / f"src/{name}.cpp").write_text(f'#include "h.h"\nint main() {{ return half({number}) == 0; }}\n')
        told, report = self.decisions("a")
        self.assertIn("src/h.h:3: branch ", report)
        self.assertIn("(1 out of 2)", told)
        told, report = self.decisions("b")
        self.assertEqual(("decisions: 100.0% (2 out of 2)\n", ""), (told, report))


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    Sample.root = Path(sys.argv.pop()).resolve()
    unittest.main()
