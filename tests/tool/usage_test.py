"""What the tool says to command lines that make no sense, and how much it says of those that do."""

import json
import os
import pty
import re
import subprocess

import ko_files
from ko_files import ToolTest, png, random_samples, tiff


class Usage(ToolTest):
    def says(self, *arguments):
        return self.refuse(*arguments, names="", says="", code=2).stderr[len("ko: "):].rstrip("\n")

    def test_misspelt_commands_and_options_are_answered_with_the_nearest(self):
        for arguments, says in (
                (("medain", "x"), "unknown command medain; did you mean median? (ko --help says more)"),
                (("flat-field", "x"), "unknown command flat-field; did you mean flatfield? (ko --help says more)"),
                (("mask", "elipse", "2", "1"), "unknown command elipse; did you mean ellipse? (ko mask --help says more)"),
                (("xyzzy",), "unknown command xyzzy (ko --help says more)"),
                (("--versoin",), "unknown option --versoin; did you mean --version? (ko --help says more)"),
                (("median", "a.png", "--radus", "3", "-o", "x.png"),
                 "unknown option --radus; did you mean --radius? (ko median --help says more)"),
                (("median", "a.png", "--outptu=x.png"),
                 "unknown option --outptu; did you mean --output? (ko median --help says more)"),
                (("help", "medain"), "unknown command medain; did you mean median?")):
            self.assertEqual(self.says(*arguments), says)

    def test_options_behind_the_dashes_are_found(self):
        self.write("-a.png", png(2, 2, [1, 2, 3, 4]))
        self.succeed("unpack", "-o", "x.png", "--", "-a.png")
        for command in (("unpack", "--", "-a.png", "-o", "y.png"), ("simulate", "--", "-a.png", "-o", "y.png"),
                        ("unpack", "--", "-a.png", "--output=y.png")):
            word = command[3].split()[0]
            self.refuse(*command, names=f"{word} stands behind --, where every word is a file; options go before it "
                                        f"(ko {command[0]} --help says more)", says="", code=2)

    def test_the_standard_output_has_one_name(self):
        self.write("a.png", png(2, 2, [1, 2, 3, 4]))
        for name in ("/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"):
            for command in (("median", "a.png"), ("pack", "a.png", "--packed", "Mono8"), ("median", "none.png")):
                self.refuse(*command, "-o", name, names=f"-o {name}: the standard output has the name -, as in -o -\n", says="",
                            code=2)

    def test_what_is_missing_is_named(self):
        for arguments, says in (
                ((), "a command is wanted (ko --help says more)"),
                (("mask",), "a command is wanted (ko mask --help says more)"),
                (("median", "a.png"), "--output is required (ko median --help says more)"),
                (("median", "a.png", "-o"), "--output needs a value (ko median --help says more)")):
            self.assertEqual(self.says(*arguments), says)

    def test_rules_name_options_with_their_dashes(self):
        self.assertEqual(self.says("threshold", "a.png", "-o", "x.png"), "either --above or --otsu is wanted")
        self.assertEqual(self.says("hist", "a.png", "--gray", "--row", "1"), "--gray goes without --row and --column")

    def test_help_is_also_a_command(self):
        self.assertEqual(self.succeed("help"), self.succeed("--help"))
        self.assertEqual(self.succeed("help", "median"), self.succeed("median", "--help"))
        self.assertEqual(self.succeed("help", "mask", "ellipse"), self.succeed("mask", "ellipse", "--help"))


class Reports(ToolTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", png(2, 1, [1, 3]))
        self.write("b.tif", tiff(2, 2, [1 << 4] * 4, description="koimproc bits=12 grid=RGGB"))

    def test_info_as_json(self):
        self.assertEqual(json.loads(self.succeed("info", "b.tif", "--json")),
                         {"file": "b.tif", "width": 2, "height": 2, "channels": 1, "type": "UInt16", "bits": 12,
                          "mosaic": "RGGB", "kind": "tiff"})
        both = json.loads(self.succeed("info", "a.png", "b.tif", "--json"))
        self.assertEqual([(f["file"], f["mosaic"]) for f in both], [("a.png", None), ("b.tif", "RGGB")])

    def test_several_files_have_statistics(self):
        self.assertEqual(self.succeed("stats", "a.png", "b.tif"), self.succeed("stats", "a.png") + self.succeed("stats", "b.tif"))
        both = json.loads(self.succeed("stats", "a.png", "b.tif", "--json"))
        self.assertEqual([f["channels"][0]["mean"] for f in both], [2, 1])

    def test_several_files_have_histograms(self):
        self.assertEqual(self.succeed("hist", "a.png", "b.tif"), self.succeed("hist", "a.png") + self.succeed("hist", "b.tif"))
        self.succeed("hist", "a.png", "b.tif", "-o", "{}.csv")
        self.assertTrue(self.read("a.csv").startswith(b"level,gray\n0,0\n1,1\n"))
        self.assertTrue(self.read("b.csv").startswith(b"level,red,"))
        self.refuse("hist", "a.png", "b.tif", "-o", "c.csv", names="c.csv: ", says="several inputs", code=2)

    def test_a_bad_file_does_not_keep_the_others_from_their_turn(self):
        for command in ("info", "stats", "hist"):
            run = self.ko(command, "none.png", "a.png")
            self.assertEqual((run.returncode, run.stderr), (1, "ko: none.png: no such file\n"))
            self.assertIn("a.png: ", run.stdout)
        run = self.ko("stats", "none.png", "a.png", "--json")
        self.assertEqual((run.returncode, [f["file"] for f in json.loads(run.stdout)]), (1, ["a.png"]))


class Verbosity(ToolTest):
    def setUp(self):
        super().setUp()
        self.write("a.png", png(2, 2, [1, 2, 3, 4]))
        self.write("b.png", png(2, 2, [1, 2, 3, 4]))
        self.write("r.json", b'{"operations": []}')

    def test_quiet_says_nothing_but_failures(self):
        for arguments in (("unpack", "a.png", "b.png", "-o", "out/"), ("sobel", "a.png", "-o", "s.tif"),
                          ("run", "r.json", "a.png", "b.png", "-o", "out"), ("average", "a.png", "b.png", "-o", "m.tif")):
            self.assertEqual(self.succeed(*arguments, "--quiet"), "")
            self.assertNotEqual(self.succeed(*arguments), "")
        self.refuse("unpack", "none.png", "-o", "x.tif", "-q", names="none.png: ", says="no such file")

    def test_verbose_tells_of_every_file(self):
        for arguments in (("unpack", "a.png", "b.png", "-o", "out/"), ("run", "r.json", "a.png", "b.png", "-o", "out")):
            lines = sorted(self.succeed(*arguments, "--verbose").splitlines())
            self.assertRegex(lines[1], r"^a\.png -> out/a\.tif: done in [\d.]+ s$")
            self.assertRegex(lines[2], r"^b\.png -> out/b\.tif: done in [\d.]+ s$")
        self.assertIn("a.png -> out/a.tif: skipped in ", self.succeed("run", "r.json", "a.png", "-o", "out", "--resume", "-v"))

    def test_both_at_once_make_no_sense(self):
        self.assertEqual(self.ko("unpack", "a.png", "-o", "x.tif", "-q", "-v").returncode, 2)

    def test_the_progress_bar_tells_the_remaining_time(self):
        ours, theirs = pty.openpty()
        run = subprocess.Popen([ko_files.TOOL, "unpack", "a.png", "b.png", "-o", "out/"], cwd=self.dir,
                               stdout=subprocess.DEVNULL, stderr=theirs)
        os.close(theirs)
        shown = b""
        try:
            while chunk := os.read(ours, 4096):
                shown += chunk
        except OSError:  # how a terminal tells that nobody writes to it any more
            pass
        os.close(ours)
        self.assertEqual(run.wait(), 0)
        self.assertTrue(re.search(rb"1/2, \d+:\d\d left", shown), shown)


class Quality(ToolTest):
    def test_of_jpeg_files(self):
        self.write("a.png", png(64, 64, [(x * x + 31 * x) % 256 for x in range(4096)]))
        sizes = []
        for quality in ("5", "50", "95"):
            self.succeed("unpack", "a.png", "-o", "a.jpg", "--quality", quality)
            sizes.append(len(self.read("a.jpg")))
        self.assertEqual(sizes, sorted(set(sizes)))
        for quality in ("0", "101", "best"):
            self.refuse("unpack", "a.png", "-o", "b.jpg", "--quality", quality, names="--quality: ", says="", code=2)

    def test_every_command_that_writes_pictures_has_it(self):
        self.write("a.png", png(64, 64, [(x * x + 31 * x) % 256 for x in range(4096)]))
        self.write("c.png", png(64, 64, random_samples(3 * 4096, 255, 1), channels=3))
        for arguments in (["mask", "ellipse", "60", "30", "--angle", "33"], ["simulate", "c.png", "--bits", "8"],
                          ["snake", "a.png", "--circle", "32,32,20"], ["median", "a.png"], ["average", "a.png", "a.png"]):
            sizes = []
            for quality in ("5", "95"):
                self.succeed(*arguments, "-o", "a.jpg", "--quality", quality)
                sizes.append(len(self.read("a.jpg")))
            self.assertLess(*sizes, arguments)

    def test_recipes_have_it_and_the_command_line_comes_first(self):
        self.write("a.png", png(64, 64, random_samples(4096, 255, 1)))
        self.write("r.json", b'{"operations": [], "output": {"format": "jpg", "quality": 30}}')
        for recipe, command in ((["run", "r.json"], ["unpack", "--quality", "30"]),
                                (["run", "r.json", "--quality", "80"], ["unpack", "--quality", "80"])):
            self.succeed(*recipe, "a.png", "-o", "out")
            self.succeed(*command, "a.png", "-o", "a.jpg")
            self.assertEqual(self.read("out/a.jpg"), self.read("a.jpg"))


if __name__ == "__main__":
    ko_files.main()
