"""Files that cannot be read, mosaics that are none, results that cannot be written."""

import os
import resource
import signal
import subprocess
import zlib

import ko_files
from ko_files import ToolTest, fits, png, random_samples, tiff


class BadInput(ToolTest):
    def demosaic_fails(self, name, says, *options):
        self.refuse("demosaic", name, "-o", "out.tif", *options, names=name + ": ", says=says)

    def test_files_that_cannot_be_opened(self):
        os.mkdir(self.path("folder.png"))
        os.symlink("nowhere", self.path("link.png"))
        self.demosaic_fails("none.png", "no such file")
        self.demosaic_fails("link.png", "no such file")
        self.demosaic_fails("none.dng", "no such file")
        self.demosaic_fails("folder.png", "is a directory")

    def test_files_that_are_no_pictures(self):
        for ending in ("png", "tif", "jpg", "exr", "fits", "dng", "nef", "txt", "gif", "webp"):
            for content in (b"", b"hello, this is no picture at all\n" * 3):
                name = self.write("text." + ending, content)
                run = self.refuse("demosaic", name, "-o", "out.tif", names=name + ": ", says=": ")
                self.assertRegex(run.stderr, "cannot be read as a (picture|camera raw): [^ :]")

    def test_files_that_end_early(self):
        samples = random_samples(64 * 64, 65535, 1)
        self.write("a.tif", tiff(64, 64, samples, description="koimproc bits=16 grid=RGGB"))
        self.succeed("unpack", "a.tif", "-o", "a.exr")
        self.succeed("unpack", "a.tif", "-o", "a.jpg")
        whole = {"png": png(64, 64, samples, 16), "fits": fits(64, 64, samples, ("BAYERPAT", "'RGGB    '")),
                 "exr": self.read("a.exr"), "jpg": self.read("a.jpg")}
        for ending, content in whole.items():
            name = self.write("cut." + ending, content[:len(content) // 2])
            self.demosaic_fails(name, "is damaged or cut short", "--grid", "rggb")
        # A TIFF file that has its directory but not all of its samples: they start half way to the end.
        self.write("cut.tif", tiff(64, 64, samples, extra=[(273, 4, (8 + 64 * 64,))]))
        self.demosaic_fails("cut.tif", "is damaged or cut short", "--grid", "rggb")
        self.write("cut.tif", self.read("a.tif")[:-200])
        self.demosaic_fails("cut.tif", "cannot be read as a picture", "--grid", "rggb")

    def test_tiles_larger_than_any_memory(self):
        tags = {256: (4, (9,)), 257: (4, (7,)), 258: (3, (8,)), 259: (3, (8,)), 262: (3, (1,)), 277: (3, (1,)),
                322: (4, (2**31 + 16,)), 323: (4, (16,)), 324: (4, (8,)), 325: (4, (100,))}
        self.write("tiles.tif", ko_files.tiff_of(zlib.compress(bytes(256)).ljust(100, b"\0"), tags))
        self.refuse("unpack", "tiles.tif", "-o", "out.tif", names="tiles.tif: ",
                    says="is damaged or cut short: its header claims tiles larger than any memory")

    def test_mosaics_of_odd_size(self):
        self.write("odd.tif", tiff(3, 2, range(6)))
        self.demosaic_fails("odd.tif", "odd size, 3 x 2", "--grid", "rggb")
        self.demosaic_fails("odd.tif", "odd size, 3 x 2", "--grid", "rggb", "--half")
        self.demosaic_fails("odd.tif", "odd size, 2 x 1", "--grid", "rggb", "--roi", "0,0,2,1")
        self.succeed("demosaic", "odd.tif", "-o", "out.tif", "--grid", "rggb", "--roi", "1,0,2,2")

    def test_pictures_that_are_no_mosaics(self):
        self.write("plain.tif", tiff(2, 2, range(4)))
        self.write("colour.tif", tiff(2, 2, range(12), channels=3))
        self.write("float.tif", tiff(2, 2, range(4), bits=32, sample_format=3))
        self.write("byte.tif", tiff(2, 2, range(4), bits=8))
        self.demosaic_fails("plain.tif", "names no mosaic pattern")
        self.demosaic_fails("colour.tif", "3 channels", "--grid", "rggb")
        self.demosaic_fails("float.tif", "unsigned of 8 or 16 bits", "--grid", "rggb")
        self.demosaic_fails("byte.tif", "fewer than 12 bits", "--grid", "rggb", "--bits", "12")

    def test_regions_outside_the_picture(self):
        self.write("a.tif", tiff(4, 4, range(16)))
        for roi in ("0,0,6,4", "2,2,4,2", "1073741824,0,2,2", "0,0,1073741824,1073741824"):
            self.demosaic_fails("a.tif", "does not lie inside", "--grid", "rggb", "--roi", roi)

    def test_fits_files_of_other_kinds(self):
        content = fits(2, 2, range(4))
        self.write("odd.fits", content.replace(b"BITPIX  =                   16", b"BITPIX  =                   17"))
        self.write("cube.fits", content.replace(b"NAXIS   =                    2", b"NAXIS   =                    4"))
        self.write("flat.fits", content.replace(b"NAXIS1  =                    2", b"NAXIS1  =                   -2"))
        self.write("endless.fits", content.replace(b"END", b"ENX"))
        self.demosaic_fails("odd.fits", "BITPIX")
        self.demosaic_fails("cube.fits", "no flat picture")
        self.demosaic_fails("flat.fits", "no flat picture")
        self.demosaic_fails("endless.fits", "not a FITS file")

    def test_a_claimed_size_that_no_memory_holds(self):
        huge = fits(2, 2, range(4)).replace(b"=                    2", b"=           2000000000")
        self.write("huge.fits", huge.replace(b"NAXIS   =           2000000000", b"NAXIS   =                    2"))
        run = self.ko("demosaic", "huge.fits", "--grid", "rggb", "-o", "out.tif")
        self.assertEqual(run.returncode, 1)
        self.assertRegex(run.stderr, "^ko: huge.fits: is damaged or cut short: shorter than its header claims: ")

    def test_a_bad_frame_does_not_stop_the_series(self):
        for name in ("a.tif", "d.tif"):
            self.write(name, tiff(2, 2, range(4), description="koimproc bits=16 grid=RGGB"))
        self.write("b.tif", b"nothing")
        run = self.ko("demosaic", "a.tif", "b.tif", "c.tif", "d.tif", "-o", "out/")
        self.assertEqual(run.returncode, 1)
        first, second = run.stderr.splitlines()
        self.assertTrue(first.startswith("ko: b.tif: cannot be read as a picture"), first)
        self.assertEqual(second, "ko: c.tif: no such file")
        self.assertIn("2 of 4 frames", run.stdout)
        self.assertEqual(sorted(os.listdir(self.path("out"))), ["a.tif", "d.tif"])

    def test_names_with_line_breaks_still_give_one_line(self):
        self.write("a\nb.tif", b"nothing")
        self.refuse("info", "a\nb.tif", names="a b.tif: ", says="cannot be read")


class BadOutput(ToolTest):
    def setUp(self):
        super().setUp()
        samples = random_samples(64 * 64, 65535, 2)
        self.write("a.tif", tiff(64, 64, samples, description="koimproc bits=16 grid=RGGB"))

    def test_places_that_cannot_be_written(self):
        os.mkdir(self.path("folder.tif"))
        self.write("file", b"")
        os.mkfifo(self.path("pipe.tif"))
        for output, says in (("none/out.tif", "No such file or directory"), ("file/out.tif", "Not a directory"),
                             ("pipe.tif", "not a regular file"), ("x" * 300 + ".tif", "File name too long"),
                             ("out.xyz", "no picture format"), ("out", "the name lacks an ending for the format"),
                             ("out.dng", "no picture format"), ("out.null", ""), ("out.term", "")):
            self.refuse("demosaic", "a.tif", "-o", output, names=output + ": ", says="cannot be written: " + says)
        self.refuse("demosaic", "a.tif", "-o", "file/", names="file/: ", says="cannot be made: ")

    def test_samples_that_the_format_cannot_hold(self):
        self.write("f.tif", tiff(2, 2, [0.5] * 4, bits=32, sample_format=3))
        self.write("s.tif", tiff(2, 2, range(4), sample_format=2))
        for name in ("f.tif", "s.tif"):
            for output in ("out.png", "out.jpg"):
                self.refuse("unpack", name, "-o", output, names=output + ": ", says="cannot hold such samples")

    def test_a_disk_that_is_full_keeps_the_old_file(self):
        self.write("large.tif", tiff(64, 64, random_samples(64 * 64, 65535, 1), description="koimproc bits=16 grid=RGGB"))
        limit = 2000  # LLVM's OpenMP takes 1,024 bytes before the tool begins
        for ending in ("tif", "png", "jpg", "exr", "fits"):
            output = self.write("out." + ending, b"the old result")
            self.refuse("demosaic", "large.tif", "-o", output, names=output + ": ",
                        says="cannot be written: File too large",
                        preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
            self.assertEqual(self.read(output), b"the old result")

    def test_a_signal_leaves_nothing_behind(self):
        size = 3000
        self.write("big.tif", tiff(size, size, [7] * size * size))
        kept = self.write("out.tif", b"the old result")
        before = sorted(os.listdir(self.dir))
        for _ in range(50):
            run = subprocess.Popen([ko_files.TOOL, "unpack", "big.tif", "-o", kept], cwd=self.dir,
                                   stdout=subprocess.DEVNULL)
            while run.poll() is None and sorted(os.listdir(self.dir)) == before:
                pass
            run.terminate()
            interrupted = run.wait() == -signal.SIGTERM
            self.assertEqual(sorted(os.listdir(self.dir)), before)
            if interrupted:
                break
        self.assertTrue(interrupted)
        self.assertTrue(self.read(kept) == b"the old result" or len(self.read(kept)) > 2 * size * size)

    def test_a_series_says_how_far_it_has_come_before_a_signal_ends_it(self):
        # Seconds of work, as this process may have to wait for a processor before it asks the other one to stop.
        self.write("a.tif", tiff(1000, 1000, [7] * 1000 * 1000))
        for i in range(200):
            os.symlink("a.tif", self.path(f"{i}.tif"))
        for asked, options in ((signal.SIGINT, ()), (signal.SIGTERM, ()), (signal.SIGHUP, ("--quiet",))):
            run = subprocess.Popen([ko_files.TOOL, "median", *(f"{i}.tif" for i in range(200)), "-o", asked.name + "/",
                                    "--radius", "9", *options], cwd=self.dir, stderr=subprocess.PIPE, text=True,
                                   stdout=subprocess.DEVNULL)
            while not os.path.isdir(self.path(asked.name)) or len(os.listdir(self.path(asked.name))) < 2:
                self.assertIsNone(run.poll())
            run.send_signal(asked)
            said = run.communicate()[1]
            self.assertEqual(run.returncode, -asked)
            done = len(os.listdir(self.path(asked.name)))
            # A file may be complete that is not counted yet.
            said_so = [f"ko: interrupted: {count} of 200 files are done\n" for count in (done - 1, done)]
            self.assertIn(said, [""] if options else said_so)


if __name__ == "__main__":
    ko_files.main()
