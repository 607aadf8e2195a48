"""ko stream: the pipeline gives what ko demosaic --half gives, frame by frame, and accounts for every frame."""

import array
import os
import pty
import random
import re
import subprocess

import ko_files
from ko_files import ToolTest, png, random_samples, read_tiff, tiff


class Stream(ToolTest):
    def photographs(self, count):
        names = [f"photo{n}.png" for n in range(count)]
        for n, name in enumerate(names):
            self.write(name, png(20, 12, random_samples(20 * 12 * 3, 255, n + 1), channels=3))
        return names

    def mosaics(self, count, *options):
        """Names of simulated raw frames."""
        names = [f"raw{n}.tif" for n in range(count)]
        for photograph, name in zip(self.photographs(count), names):
            self.succeed("simulate", photograph, "-o", name, *options)
        return names

    def expect_same(self, names):
        for name in names:
            self.assertEqual(read_tiff(self.read("streamed/" + name)), read_tiff(self.read("expected/" + name)), name)

    def counts(self, summary):
        """(written, inputs, read, dropped before conversion, converted, dropped before writing)"""
        lines = summary.splitlines()
        self.assertEqual(len(lines), 4, summary)
        written, inputs = re.match(r"(\d+) of (\d+) frames?", lines[0]).groups()
        (read,) = re.match(r"read: (\d+) frames?", lines[1]).groups()
        converted, lost_early = re.match(r"convert: (\d+) frames?, (\d+) dropped before", lines[2]).groups()
        last, lost_late = re.match(r"write: (\d+) frames?, (\d+) dropped before", lines[3]).groups()
        self.assertEqual(last, written)
        return tuple(map(int, (written, inputs, read, lost_early, converted, lost_late)))

    def test_every_frame_is_what_demosaic_makes_of_it(self):
        for grid, bits in (("rggb", 12), ("bggr", 8), ("gbrg", 16), ("grbg", 10)):
            raws = self.mosaics(7, "--grid", grid, "--bits", str(bits))
            for queue in ("1", "2", "1000"):
                summary = self.succeed("stream", *raws, "-o", "streamed", "--block", "--queue", queue)
                self.assertEqual(self.counts(summary), (7, 7, 7, 0, 7, 0))
                self.succeed("demosaic", *raws, "-o", "expected/", "--half")
                self.assertEqual(sorted(os.listdir(self.path("streamed"))), sorted(raws))
                self.expect_same(raws)

    def test_frames_of_changing_formats_keep_theirs(self):
        self.write("a.tif", tiff(6, 4, random_samples(24, 65535, 1), description="koimproc bits=16 grid=RGGB"))
        self.write("b.tif", tiff(2, 2, random_samples(4, 255, 2), bits=8, description="koimproc bits=8 grid=GBRG"))
        self.write("c.png", png(4, 6, random_samples(24, 65535, 3), 16))
        for arguments in (("a.tif", "b.tif"), ("c.png", "--grid", "bggr", "--bits", "12")):
            self.succeed("stream", *arguments, "-o", "streamed")
            self.succeed("demosaic", *arguments, "--half", "-o", "expected/")
        self.expect_same(("a.tif", "b.tif", "c.tif"))
        self.assertEqual(read_tiff(self.read("streamed/a.tif"))[:3], (3, 2, 3))

    def test_rates_are_told_for_every_stage(self):
        summary = self.succeed("stream", *self.mosaics(3), "-o", "out")
        self.assertRegex(summary.splitlines()[0], r"3 of 3 frames, 0.000 megapixels in .* s: .* frames/s")
        for line, stage in zip(summary.splitlines()[1:], ("read", "convert", "write")):
            self.assertRegex(line, rf"^{stage}: 3 frames,.* \d+\.\d frames/s$")

    def test_dropped_frames_are_counted_and_what_is_written_is_whole(self):
        # Packing noise as PNG takes many times as long as reading it.
        size, frames = 1000, 24
        names = [f"frame{n:02}.tif" for n in range(frames)]
        noise = array.array("H", random.Random(1).randbytes(2 * size * size))
        self.write(names[0], tiff(size, size, noise, description="koimproc bits=16 grid=RGGB"))
        for name in names[1:]:
            os.link(self.path(names[0]), self.path(name))
        os.mkdir(self.path("out"))
        summary = self.succeed("stream", *names, "-o", "out/{}.png", "--drop", "--queue", "1")
        written, inputs, read, lost_early, converted, lost_late = self.counts(summary)
        self.assertEqual((inputs, read), (frames, frames))
        self.assertEqual(converted + lost_early, frames)
        self.assertEqual(written + lost_late, converted)
        self.assertGreater(lost_early + lost_late, 0)
        results = sorted(os.listdir(self.path("out")))
        self.assertEqual(len(results), written)
        self.assertIn(f"frame{frames - 1}.png", results, "the newest frame is never the one that is dropped")
        self.succeed("demosaic", names[0], "--half", "-o", "expected.png")
        for result in results:
            self.assertEqual(self.read("out/" + result), self.read("expected.png"), result)

    def test_frames_that_fail_have_a_line_each_and_the_others_are_finished(self):
        raws = self.mosaics(4)
        self.write("torn.tif", self.read(raws[0])[:60])
        self.write("odd.tif", tiff(3, 2, range(6), description="koimproc bits=16 grid=RGGB"))
        self.write("plain.tif", tiff(2, 2, range(4)))
        names = [raws[0], "torn.tif", raws[1], "none.tif", raws[2], "odd.tif", "plain.tif", raws[3]]
        run = self.ko("stream", *names, "-o", "out", "--queue", "1")
        self.assertEqual(run.returncode, 1)
        says = {"torn.tif": "cannot be read as a picture", "none.tif": "no such file", "odd.tif": "odd size, 3 x 2",
                "plain.tif": "names no mosaic pattern"}
        self.assertEqual(len(run.stderr.splitlines()), len(says), run.stderr)
        for line, (name, cause) in zip(run.stderr.splitlines(), says.items()):
            self.assertTrue(line.startswith(f"ko: {name}: "), line)
            self.assertIn(cause, line)
        self.assertEqual(self.counts(run.stdout), (4, 8, 4, 0, 4, 0))
        self.assertEqual(sorted(os.listdir(self.path("out"))), sorted(raws))

    def test_results_that_cannot_be_written_have_a_line_each(self):
        raws = self.mosaics(3)
        os.makedirs(self.path("out/" + raws[1]))
        run = self.ko("stream", *raws, "-o", "out")
        self.assertEqual(run.returncode, 1)
        self.assertEqual(run.stderr.count("\n"), 1, run.stderr)
        self.assertTrue(run.stderr.startswith(f"ko: out/{raws[1]}: cannot be written: "), run.stderr)
        self.assertEqual(self.counts(run.stdout), (2, 3, 3, 0, 3, 0))

    def test_nothing_at_all_can_be_read(self):
        run = self.ko("stream", "a.tif", "b.tif", "-o", "out")
        self.assertEqual((run.returncode, run.stderr), (1, "ko: a.tif: no such file\nko: b.tif: no such file\n"))
        self.assertEqual(self.counts(run.stdout), (0, 2, 0, 0, 0, 0))

    def test_command_lines_that_make_no_sense_start_nothing(self):
        raws = self.mosaics(2)
        before = sorted(os.listdir(self.dir))
        for options in (("--queue", "0"), ("--queue", "-1"), ("--queue", "1001"), ("--queue", "many"),
                        ("--drop", "--block"), ("--bits", "7")):
            run = self.ko("stream", *raws, "-o", "out", *options)
            self.assertEqual(run.returncode, 2, options)
            self.assertNotEqual(run.stderr, "")
        self.assertEqual(self.ko("stream", "-o", "out").returncode, 2)
        self.assertEqual(self.ko("stream", *raws).returncode, 2)
        self.refuse("stream", raws[0], raws[0], "-o", "{}.png", names="raw0.png: ", says="result of both", code=2)
        self.refuse("stream", *raws, "-o", ".", names=raws[0], says="would replace this input", code=2)
        self.write("file", b"")
        self.refuse("stream", *raws, "-o", "file", names="file/: ", says="cannot be made: ")
        self.assertEqual(sorted(os.listdir(self.dir)), sorted([*before, "file"]))

    def test_the_progress_bar_is_for_terminals(self):
        raws = self.mosaics(3)
        ours, theirs = pty.openpty()
        subprocess.run([ko_files.TOOL, "stream", raws[0], "none.tif", *raws[1:], "-o", "out"], cwd=self.dir,
                       stdout=subprocess.DEVNULL, stderr=theirs, check=False)
        os.close(theirs)
        shown = os.read(ours, 10000).decode()
        os.close(ours)
        self.assertIn("] 0/4", shown)
        self.assertIn("] 4/4", shown)
        self.assertIn("ko: none.tif: no such file", shown)


if __name__ == "__main__":
    ko_files.main()
