"""How the tool has the threads of OpenMP wait."""

import os
import re

import ko_files
from ko_files import ToolTest, tiff


class Waiting(ToolTest):
    def policies(self, *inputs, **environment):
        """What OpenMP says each time that it is loaded."""
        kept = {name: value for name, value in os.environ.items() if name not in ("OMP_WAIT_POLICY", "GOMP_SPINCOUNT")}
        run = self.ko("median", *inputs, "-o", "out/", "--radius", "1",
                      env={**kept, "OMP_DISPLAY_ENV": "true", **environment})
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual(sorted(os.listdir(self.path("out"))), sorted(inputs))
        return re.findall(r"OMP_WAIT_POLICY = '(\w+)'", run.stderr)

    def setUp(self):
        super().setUp()
        for name in ("a.tif", "b.tif"):
            self.write(name, tiff(4, 4, range(16)))

    def test_threads_sleep_between_the_pictures_of_a_series(self):
        self.assertEqual(self.policies("a.tif", "b.tif")[-1], "PASSIVE")

    def test_a_single_picture_is_not_worth_another_start(self):
        self.assertEqual(len(self.policies("a.tif")), 1)

    def test_what_the_user_has_chosen_is_kept(self):
        self.assertEqual(self.policies("a.tif", "b.tif", OMP_WAIT_POLICY="active"), ["ACTIVE"])
        self.assertEqual(len(self.policies("a.tif", "b.tif", GOMP_SPINCOUNT="5")), 1)


if __name__ == "__main__":
    ko_files.main()
