"""ko info, ko unpack, the help and the exit codes."""

import os
import subprocess

import ko_files
from ko_files import ToolTest, fits, png, read_tiff, tiff


class Info(ToolTest):
    def test_each_file_is_one_line_of_facts(self):
        self.write("raw.tif", tiff(4, 2, range(8), description="koimproc bits=12 grid=GBRG"))
        self.write("rgb.tif", tiff(2, 1, range(6), bits=8, channels=3))
        self.write("float.tif", tiff(3, 1, [0.5, 1, 2], bits=32, sample_format=3))
        self.write("gray.png", png(3, 5, [0] * 15, 16))
        self.write("sky.fits", fits(2, 2, [0, 1, 2, 3], ("BAYERPAT", "'RGGB    '")))
        self.assertEqual(self.succeed("info", "raw.tif", "rgb.tif", "float.tif", "gray.png", "sky.fits").splitlines(), [
            "raw.tif: 4 x 2, 1 channel, UInt16, 12 bits, mosaic GBRG, tiff",
            "rgb.tif: 2 x 1, 3 channels, UInt8, 8 bits, tiff",
            "float.tif: 3 x 1, 1 channel, Float32, 32 bits, tiff",
            "gray.png: 3 x 5, 1 channel, UInt16, 16 bits, png",
            "sky.fits: 2 x 2, 1 channel, UInt16, 16 bits, mosaic RGGB, fits",
        ])

    def test_descriptions_of_others_say_nothing(self):
        for description in ("bits=12 grid=RGGB", "koimproc bits=17 grid=XYZW", "koimproc bits=0", "koimproc bits="):
            self.write("a.tif", tiff(2, 2, range(4), description=description))
            self.assertEqual(self.succeed("info", "a.tif"), "a.tif: 2 x 2, 1 channel, UInt16, 16 bits, tiff\n")

    def test_a_bad_file_does_not_hide_the_others(self):
        self.write("a.tif", tiff(2, 2, range(4)))
        run = self.refuse("info", "none.tif", "a.tif", names="none.tif: ", says="no such file")
        self.assertTrue(run.stdout.startswith("a.tif: 2 x 2"))

    def test_results_that_nobody_can_read_are_a_failure(self):
        self.write("a.tif", tiff(2, 2, range(4)))
        for arguments in (["info", self.path("a.tif")], ["--help"], ["median", "--help"], ["--version"]):
            with open("/dev/full", "w") as full:
                run = subprocess.run([ko_files.TOOL, *arguments], stdout=full, stderr=subprocess.PIPE)
            self.assertEqual((run.returncode, run.stderr), (1, b"ko: standard output: cannot be written\n"), arguments)

    def without(self, stream, *arguments):
        """A run with a standard stream closed."""
        return subprocess.run(["sh", "-c", f'exec "$0" "$@" {stream}&-', ko_files.TOOL, *arguments], cwd=self.dir,
                              stdin=subprocess.DEVNULL, capture_output=True, text=True)

    def test_a_standard_output_that_is_closed_is_as_one_that_is_full(self):
        self.write("a.tif", tiff(2, 2, range(4)))
        self.succeed("unpack", "a.tif", "-o", "plain.tif")
        for arguments in (["info", "a.tif"], ["--help"], ["help", "median"], ["--version"], ["stats", "a.tif"], ["cameras"],
                          ["hist", "a.tif"], ["unpack", "a.tif", "-o", "verbose.tif", "--verbose"]):
            run = self.without(">", *arguments)
            self.assertEqual((run.returncode, run.stdout, run.stderr), (1, "", "ko: standard output: cannot be written\n"),
                             arguments)
        self.assertEqual(self.read("verbose.tif"), self.read("plain.tif"))
        run = self.without(">", "unpack", "a.tif", "-o", "-", "--format", "tif")
        self.assertEqual((run.returncode, run.stderr),
                         (1, "ko: standard output: cannot be written: Bad file descriptor\n"))
        run = self.without(">", "unpack", "a.tif", "-o", "quiet.tif", "--quiet")
        self.assertEqual((run.returncode, run.stderr, self.read("quiet.tif")), (0, "", self.read("plain.tif")))

    def test_other_streams_that_are_closed_are_no_files(self):
        self.write("a.tif", tiff(2, 2, range(4)))
        self.succeed("unpack", "a.tif", "-o", "plain.tif")
        run = self.without("2>", "unpack", "a.tif", "none.tif", "-o", "{}.png")
        self.assertEqual((run.returncode, run.stderr), (1, ""))
        self.succeed("unpack", "a.png", "-o", "again.tif")
        self.assertEqual(self.read("again.tif"), self.read("plain.tif"))
        run = self.without("<", "info", "-")
        self.assertEqual((run.returncode, run.stdout, run.stderr.count("\n")), (1, "", 1), run.stderr)
        self.assertTrue(run.stderr.startswith("ko: standard input: "), run.stderr)


class Unpack(ToolTest):
    def test_samples_depth_and_pattern_survive_every_lossless_format(self):
        samples = [s << 4 for s in (0, 1, 2047, 4095, 16, 17, 18, 19)]
        description = "koimproc bits=12 grid=BGGR"
        self.write("a.tif", tiff(4, 2, samples, description=description))
        for ending in ("png", "fits", "dpx"):
            self.succeed("unpack", "a.tif", "-o", "b." + ending)
            self.succeed("unpack", "b." + ending, "-o", "c.tif")
            self.assertEqual(read_tiff(self.read("c.tif")), (4, 2, 1, samples, description), ending)

    def test_exr_gets_bytes_as_floats(self):
        self.write("a.png", png(3, 1, [0, 77, 255]))
        self.succeed("unpack", "a.png", "-o", "b.exr")
        self.assertIn("Float32", self.succeed("info", "b.exr"))
        ratio = self.succeed("compare", "a.png", "b.exr").split()[-2]
        self.assertGreater(float(ratio), 130)

    def test_exr_gets_sixteen_bits_as_floats(self):
        self.write("a.tif", tiff(2, 1, [1, 65535]))
        self.succeed("unpack", "a.tif", "-o", "b.exr")
        self.assertIn("Float32", self.succeed("info", "b.exr"))
        ratio = self.succeed("compare", "a.tif", "b.exr").split()[-2]
        self.assertGreater(float(ratio), 130)

    def test_colour_channels_stay_in_order_through_fits(self):
        samples = list(range(0, 65536, 65536 // 18))[:18]
        self.write("a.tif", tiff(3, 2, samples, channels=3))
        self.succeed("unpack", "a.tif", "-o", "b.fits")
        self.succeed("unpack", "b.fits", "-o", "c.tif")
        self.assertEqual(read_tiff(self.read("c.tif"))[:4], (3, 2, 3, samples))

    def test_a_link_stays_and_its_file_is_replaced(self):
        self.write("a.tif", tiff(2, 2, range(4)))
        self.write("old.tif", b"old")
        os.symlink("old.tif", self.path("link.tif"))
        self.succeed("unpack", "a.tif", "-o", "link.tif")
        self.assertTrue(os.path.islink(self.path("link.tif")))
        self.assertEqual(read_tiff(self.read("old.tif"))[3], [0, 1, 2, 3])


class CommandLine(ToolTest):
    def test_the_help_groups_the_commands(self):
        text = self.succeed("--help")
        self.assertLess(text.index("Files:"), text.index("\n  info "))
        self.assertLess(text.index("Demosaicing:"), text.index("\n  simulate "))
        self.assertRegex(self.succeed("--version"), r"^ko \d+\.\d+\.\d+\n$")

    def test_command_lines_that_make_no_sense_exit_with_2(self):
        self.write("a.tif", tiff(2, 2, range(4)))
        self.write("b.tif", tiff(2, 2, range(4)))
        for arguments in ([], ["nonsense"], ["info"], ["info", "--nonsense", "a.tif"], ["demosaic", "a.tif"],
                          ["demosaic", "a.tif", "-o", "c.tif", "--grid", "rgbg"],
                          ["demosaic", "a.tif", "-o", "c.tif", "--bits", "17"],
                          ["demosaic", "a.tif", "-o", "c.tif", "--roi", "0,0,2"],
                          ["demosaic", "a.tif", "-o", "c.tif", "--roi", "0,0,0,2"],
                          ["demosaic", "a.tif", "-o", "c.tif", "--roi", "0,0,99999999999,2"]):
            run = self.ko(*arguments)
            self.assertEqual(run.returncode, 2, (arguments, run.stderr))
            self.assertNotEqual(run.stderr, "")

    def test_series_without_a_place_for_each_result_exit_with_2(self):
        self.write("a.tif", tiff(2, 2, range(4)))
        self.write("b.tif", tiff(2, 2, range(4)))
        os.mkdir(self.path("d"))
        self.write("d/a.tif", tiff(2, 2, range(4)))
        self.refuse("unpack", "a.tif", "b.tif", "-o", "c.tif", names="c.tif: ", says="need a directory", code=2)
        self.refuse("unpack", "a.tif", "d/a.tif", "-o", "x{}.png", names="xa.png: ", says="result of both", code=2)
        self.refuse("unpack", "a.tif", "b.tif", "-o", ".", names="a.tif: ", says="replace this input", code=2)
        self.refuse("unpack", "a.tif", "-o", "./d/../a.tif", names="a.tif: ", says="replace this input", code=2)

    def test_the_machine_is_named_for_reports_of_faults(self):
        self.assertRegex(self.succeed("info", "--machine"), r"^ko [\d.]+, \d+ processors, second-level cache of \d+ KiB\n$")
        self.refuse("info", names="", says="a file or --machine is wanted", code=2)


if __name__ == "__main__":
    ko_files.main()
