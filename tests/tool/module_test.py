"""The module that knows picture files: loaded with the first of them, and found wherever the tool is moved."""

import os
import shutil
import subprocess

import ko_files
from ko_files import ToolTest, fits, png

HEAVY = ("OpenImageIO", "libraw", "rsvg", "opencv", "aravis", "gstreamer", "httplib", "turbojpeg")


class Loading(ToolTest):
    def loaded(self, *arguments):
        """What the dynamic linker says of the libraries that it loads."""
        run = self.ko(*arguments, env={**os.environ, "LD_DEBUG": "files"})
        self.assertEqual(run.returncode, 0, arguments)
        self.assertIn("libkoimproc", run.stderr)
        return run.stderr

    def test_the_libraries_come_with_the_first_picture(self):
        self.write("a.png", png(2, 1, [0, 1]))
        self.write("a.fits", fits(2, 1, [7, 8]))
        for arguments in (["--version"], ["--help"], ["help", "median"], ["live", "--help"], ["completion", "bash"],
                          ["info", "--machine"],
                          ["info", "a.fits"]):
            text = self.loaded(*arguments)
            for library in HEAVY:
                self.assertNotIn(library, text, arguments)
        text = self.loaded("info", "a.png")
        for library in HEAVY[:3]:
            self.assertIn(library, text)


class Place(ToolTest):
    def setUp(self):
        super().setUp()
        if ko_files.is_emulated():
            self.skipTest("a script that starts the tool in an emulator cannot be moved in its place")
        os.mkdir(self.path("bin"))
        self.moved = shutil.copy(ko_files.TOOL, self.path("bin"))
        self.write("a.png", png(2, 1, [0, 1]))

    def run_moved(self, *arguments):
        return subprocess.run([self.moved, *arguments], cwd=self.dir, capture_output=True, text=True)

    def test_a_missing_module_is_told_in_one_line(self):
        self.assertEqual(self.run_moved("--version").returncode, 0)
        for arguments in (["info", "a.png"], ["median", "a.png", "-o", "b.png"]):
            run = self.run_moved(*arguments)
            self.assertEqual((run.returncode, run.stderr.count("\n")), (1, 1), run.stderr)
            self.assertRegex(run.stderr, "^ko: a.png: the part of ko that knows picture files cannot be loaded: "
                                         f"{os.path.realpath(self.dir)}/.*ko_pictures.so: ")

    def test_a_moved_tool_finds_its_module(self):
        missing = self.run_moved("info", "a.png").stderr.split(": ")[3]
        place = os.path.relpath(missing, os.path.realpath(self.path("bin")))
        os.makedirs(os.path.dirname(missing))
        shutil.copy(os.path.join(os.path.dirname(ko_files.TOOL), place), missing)
        run = self.run_moved("binarize", "a.png", "-o", "b.png")
        self.assertEqual((run.returncode, run.stderr), (0, ""))


if __name__ == "__main__":
    ko_files.main()
