"""How the tool has the threads of OpenMP wait."""

import os
import re

import ko_files
from ko_files import ToolTest, tiff


class Waiting(ToolTest):
    def spins(self, *inputs, **environment):
        """How often a waiting thread looks before it sleeps, from each time that OpenMP is loaded."""
        kept = {name: value for name, value in os.environ.items() if name not in ("OMP_WAIT_POLICY", "GOMP_SPINCOUNT")}
        run = self.ko("median", *inputs, "-o", "out/", "--radius", "1",
                      env={**kept, "OMP_DISPLAY_ENV": "verbose", **environment})
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual(sorted(os.listdir(self.path("out"))), sorted(inputs))
        # A library that the tool needs may load GNU's runtime beside LLVM's, whose variables begin with KMP.
        if "GOMP_SPINCOUNT" not in run.stderr or "KMP_" in run.stderr:
            self.skipTest("the tool has another OpenMP runtime, which does not tell")
        return [int(count) for count in re.findall(r"GOMP_SPINCOUNT = '(\d+)'", run.stderr)]

    def setUp(self):
        super().setUp()
        for name in ("a.tif", "b.tif"):
            self.write(name, tiff(4, 4, range(16)))

    def test_threads_sleep_between_the_pictures_of_a_series(self):
        if ko_files.is_emulated():
            self.skipTest("the tool cannot start itself again in an emulator")
        first, second = self.spins("a.tif", "b.tif")
        self.assertGreater(first, 0)
        self.assertEqual(second, 0)

    def test_a_single_picture_is_not_worth_another_start(self):
        self.assertEqual(len(self.spins("a.tif")), 1)

    def test_what_the_user_has_chosen_is_kept(self):
        (active,) = self.spins("a.tif", "b.tif", OMP_WAIT_POLICY="active")
        self.assertGreater(active, 0)
        self.assertEqual(self.spins("a.tif", "b.tif", GOMP_SPINCOUNT="5"), [5])


if __name__ == "__main__":
    ko_files.main()
