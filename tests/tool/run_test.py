"""ko run: recipes, series of files, reports."""

import json
import os
import signal
import subprocess

import ko_files
from ko_files import ToolTest, png, random_samples, read_tiff, tiff


class RunTest(ToolTest):
    def recipe(self, *operations, **others):
        return self.write("r.json", json.dumps({"operations": operations, **others}).encode())

    def report(self):
        return json.loads(self.read("report.json"))


class Results(RunTest):
    def test_operations_follow_each_other_like_the_commands(self):
        self.write("a.tif", tiff(20, 10, [v << 4 for v in random_samples(200, 4095, 1)], description="koimproc bits=12"))
        self.recipe({"op": "median", "radius": 2}, {"op": "threshold", "otsu": True, "marks": True},
                    {"op": "crop", "roi": [1, 2, 10, 5]})
        self.succeed("run", "r.json", "a.tif", "-o", "out")
        self.succeed("median", "a.tif", "--radius", "2", "-o", "1.tif")
        self.succeed("threshold", "1.tif", "--otsu", "--marks", "-o", "2.tif")
        self.succeed("crop", "2.tif", "--roi", "1,2,10,5", "-o", "3.tif")
        self.assertEqual(read_tiff(self.read("out/a.tif")), read_tiff(self.read("3.tif")))

    def test_what_lies_between_operations_is_not_cut_to_a_file_format(self):
        self.write("a.png", png(4, 1, [0, 0, 0, 9]))
        self.recipe({"op": "distance", "mask": "chessboard"}, {"op": "convert", "to": "u8", "range": [0, 4]},
                    output={"format": "png"})
        self.succeed("run", "r.json", "a.png", "-o", "out/")
        self.succeed("unpack", "out/a.png", "-o", "b.tif")
        self.assertEqual(read_tiff(self.read("b.tif"))[3], [192, 128, 64, 0])

    def test_a_recipe_without_operations_copies(self):
        self.write("a.png", png(2, 1, [3, 4]))
        self.succeed("run", self.recipe(), "a.png", "-o", "{}-copy.tif")
        self.assertEqual(read_tiff(self.read("a-copy.tif"))[3], [3, 4])

    def test_files_of_a_recipe_lie_beside_it(self):
        os.mkdir(self.path("kit"))
        self.write("kit/m.png", png(2, 1, [0, 1]))
        self.write("kit/r.json", b'{"operations": [{"op": "apply-mask", "mask": "m.png"}]}')
        self.write("a.png", png(2, 1, [3, 4]))
        self.succeed("run", "kit/r.json", "a.png", "-o", "out")
        self.assertEqual(read_tiff(self.read("out/a.tif"))[3], [0, 4])

    def test_the_number_of_jobs_does_not_change_results(self):
        names = [self.write(f"{i}.png", png(40, 30, random_samples(1200, 255, i + 1))) for i in range(12)]
        self.recipe({"op": "median", "radius": 3}, {"op": "equalize"})
        results = []
        for jobs in ("1", "3", "64"):
            self.succeed("run", "r.json", *names, "-o", "out" + jobs, "--jobs", jobs)
            self.assertEqual(sorted(os.listdir(self.path("out" + jobs))), sorted(f"{i}.tif" for i in range(12)))
            results.append([read_tiff(self.read(f"out{jobs}/{i}.tif")) for i in range(12)])
        self.assertEqual(results[0], results[1])
        self.assertEqual(results[0], results[2])

    def test_frames_of_several_formats_share_no_work_buffer(self):
        names = [self.write(f"{i}.tif", tiff(8 + 2 * (i % 3), 8, [7 * i] * 8 * (8 + 2 * (i % 3)),
                                             description="koimproc bits=16 grid=RGGB")) for i in range(1, 13)]
        self.succeed("run", self.recipe({"op": "demosaic"}, {"op": "median"}), *names, "-o", "out", "--jobs", "4")
        for i in range(1, 13):
            width, height, channels, samples, _ = read_tiff(self.read(f"out/{i}.tif"))
            self.assertEqual((width, height, channels, set(samples)), (8 + 2 * (i % 3), 8, 3, {7 * i}))


class Series(RunTest):
    def test_a_failure_does_not_stop_the_others(self):
        for name in ("a.png", "d.png"):
            self.write(name, png(3, 3, range(9)))
        self.write("b.png", b"nothing")
        self.write("small.png", png(2, 2, range(4)))
        self.recipe({"op": "border", "left": 0}, {"op": "median", "radius": 1})
        run = self.ko("run", "r.json", "a.png", "b.png", "c.png", "small.png", "d.png", "-o", "out", "--report", "report.json")
        self.assertEqual(run.returncode, 1)
        self.assertEqual(len(run.stderr.splitlines()), 3, run.stderr)
        self.assertIn("ko: c.png: no such file\n", run.stderr)
        self.assertIn("ko: small.png: operations[1] (median): smaller than the neighbourhood\n", run.stderr)
        self.assertRegex(run.stdout, r"^2 of 5 pictures, 0 skipped, 3 failed, in [\d.]+ s\n$")
        self.assertEqual(sorted(os.listdir(self.path("out"))), ["a.tif", "d.tif"])
        report = self.report()
        self.assertEqual((report["recipe"], report["done"], report["skipped"], report["failed"]), ("r.json", 2, 0, 3))
        self.assertEqual([f["input"] for f in report["files"]], ["a.png", "b.png", "c.png", "small.png", "d.png"])
        self.assertEqual([f["status"] for f in report["files"]], ["done", "failed", "failed", "failed", "done"])
        self.assertEqual((report["files"][0]["output"], report["files"][0]["message"]), ("out/a.tif", ""))
        self.assertEqual(report["files"][2]["message"], "c.png: no such file")
        for file in report["files"]:
            self.assertEqual(set(file), {"input", "output", "status", "message", "milliseconds"})
            self.assertGreaterEqual(file["milliseconds"], 0)

    def test_resume_leaves_out_what_is_finished(self):
        names = [self.write(f"{c}.png", png(2, 1, [1, 2])) for c in "abc"]
        self.recipe({"op": "threshold", "above": 1})
        for name in (*names, "r.json"):
            os.utime(self.path(name), (1000, 1000))
        self.succeed("run", "r.json", "a.png", "b.png", "-o", "out")
        for name in ("a", "b"):
            self.write(f"out/{name}.tif", b"kept")
        os.utime(self.path("b.png"))  # changed since
        os.utime(self.path("out/b.tif"), (2000, 2000))
        self.succeed("run", "r.json", *names, "-o", "out", "--resume", "--report", "report.json")
        self.assertEqual([f["status"] for f in self.report()["files"]], ["skipped", "done", "done"])
        self.assertEqual(self.read("out/a.tif"), b"kept")
        self.assertEqual(read_tiff(self.read("out/b.tif"))[3], [0, 255])
        os.utime(self.path("r.json"))  # another recipe
        os.utime(self.path("out/a.tif"), (2000, 2000))
        self.succeed("run", "r.json", "a.png", "-o", "out", "--resume", "--report", "report.json")
        self.assertEqual(self.report()["done"], 1)
        self.succeed("run", "r.json", *names, "-o", "out", "--report", "report.json")
        self.assertEqual(self.report()["done"], 3)

    def test_an_interrupted_series_leaves_report_and_summary(self):
        size = 1500  # seconds of work, as this process may have to wait for a processor
        self.write("a.png", png(size, size, size * random_samples(size, 255, 1)))
        for i in range(200):
            os.symlink("a.png", self.path(f"{i}.png"))
        self.recipe({"op": "median", "radius": 9})
        names = [f"{i}.png" for i in range(200)]
        for asked in (signal.SIGINT, signal.SIGTERM):
            run = subprocess.Popen([ko_files.TOOL, "run", "r.json", *names, "-o", asked.name, "--jobs", "2", "--report",
                                    "report.json"], cwd=self.dir, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
            while not os.path.isdir(self.path(asked.name)) or not os.listdir(self.path(asked.name)):
                self.assertIsNone(run.poll())
            run.send_signal(asked)
            out, err = run.communicate()
            self.assertEqual(run.returncode, -asked, err)
            self.assertEqual(err, "ko: interrupted: the files begun are finished first; a second signal ends at once\n")
            report = self.report()
            done = len(os.listdir(self.path(asked.name)))
            self.assertEqual((report["done"], report["interrupted"]), (done, 200 - done))
            self.assertGreater(report["interrupted"], 0)
            self.assertEqual([f["status"] for f in report["files"]].count("interrupted"), 200 - done)
            self.assertRegex(out, rf"^{done} of 200 pictures, 0 skipped, 0 failed, {200 - done} not begun, in [\d.]+ s\n$")

    def test_the_second_signal_ends_at_once(self):
        size = 1500
        self.write("a.png", png(size, size, random_samples(size * size, 255, 1)))
        self.recipe(*[{"op": "median", "radius": 90}] * 200)
        run = subprocess.Popen([ko_files.TOOL, "run", "r.json", "a.png", "-o", "out"], cwd=self.dir,
                               stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        while not os.path.isdir(self.path("out")):
            self.assertIsNone(run.poll())
        run.send_signal(signal.SIGINT)
        self.assertIn("interrupted", run.stderr.readline())
        run.send_signal(signal.SIGINT)
        self.assertEqual(run.wait(), -signal.SIGINT)
        run.stderr.close()
        self.assertEqual(os.listdir(self.path("out")), [])

    def test_a_reference_that_cannot_be_read_stops_everything(self):
        self.write("a.png", png(2, 1, [1, 2]))
        self.recipe({"op": "apply-mask", "mask": "none.png"})
        os.mkdir(self.path("out"))
        self.refuse("run", "r.json", "a.png", "-o", "out", names="none.png: ", says="no such file")

    def test_many_faulty_files_give_one_line_each(self):
        whole = png(64, 64, random_samples(64 * 64, 255, 1))
        names = [self.write(f"{i}.png", whole[:len(whole) // 2]) for i in range(20)]
        run = self.ko("run", self.recipe(), *names, "-o", "out", "--jobs", "8")
        self.assertEqual(run.returncode, 1)
        self.assertEqual(sorted(line.split(": ")[1] for line in run.stderr.splitlines()), sorted(names))


class Refusals(RunTest):
    def refuse_recipe(self, content, says):
        """Refused before anything else is looked at: neither input nor output exist."""
        self.write("r.json", content if isinstance(content, bytes) else json.dumps(content).encode())
        self.refuse("run", "r.json", "none.png", "-o", "none/out", names="r.json: ", says=says, code=2)

    def refuse_step(self, says, **settings):
        self.refuse_recipe({"operations": [{"op": "sobel"}, settings]}, "r.json: operations[1]" + says)

    def test_what_is_no_recipe(self):
        self.refuse_recipe(b'{"operations": [\n {"op" "sobel"}]}', "is no JSON: ")
        self.refuse_recipe(b'{"operations": [\n {"op" "sobel"}]}', "line 2, column ")
        self.refuse_recipe(b"", "is no JSON: ")
        self.refuse_recipe([], "a recipe must be an object")
        self.refuse_recipe({}, "operations: must be a list")
        self.refuse_recipe({"operations": {}}, "operations: must be a list")
        self.refuse_recipe({"operations": [], "outputs": 1}, "outputs: is unknown; known are operations, output")
        self.refuse_recipe({"operations": [], "output": "png"}, "output: must be an object")
        self.refuse_recipe({"operations": [], "output": {"ending": "png"}}, "output.ending: is unknown; known are format, quality")
        for ending in (".png", "", 5, "a/b", None):
            self.refuse_recipe({"operations": [], "output": {"format": ending}}, "output.format: must be the ending")
        for quality in (0, 101, 90.5, "90", None):
            self.refuse_recipe({"operations": [], "output": {"quality": quality}}, "output.quality: must be a whole number")
        self.refuse("run", "no.json", "a.png", "-o", "out", names="no.json: ", says="no such file")

    def test_keys_that_stand_twice(self):
        # Qt 5 loses the memory of a first value that is a filled list, which LeakSanitizer tells.
        for content, key, place in (
                (b'{"operations": [], "operations": []}', "operations", "line 1, column 20"),
                (b'{"operations": [{"op": "develop",\n  "wb": "none",\n  "wb" : "camera"}]}', "wb", "line 3, column 3"),
                (b'{"operations": [\n{"op": "sobel", "\\u006fp": "median"}]}', "op", "line 2, column 17"),
                (b'{"operations": [], "output": {"format": "png",\n"format":"png"}}', "format", "line 2, column 1")):
            self.refuse_recipe(content, f"r.json: the key {key} stands twice in one object, {place}\n")
        # The same words elsewhere are no keys, or keys of another object.
        self.write("a.png", png(3, 3, [1] * 9))
        self.write("r.json", b'{"operations": [{"op": "median", "radius": 1}, {"radius": 1, "op": "median"}],'
                             b' "output": {"format": "png"}}')
        self.succeed("run", "r.json", "a.png", "-o", "out")
        self.refuse_recipe(b'{"operations": [{"op": "{\\"op\\":", "x": "op"}]}', "operations[0].op: must be one of ")

    def test_what_is_no_operation(self):
        self.refuse_recipe({"operations": [5]}, "operations[0]: must be an object")
        self.refuse_recipe({"operations": [{"op": "sobel"}, {"op": "blur"}]}, "operations[1].op: must be one of crop, ")
        self.refuse_recipe({"operations": [{"radius": 2}]}, "operations[0].op: must be one of ")
        self.refuse_recipe({"operations": [{"op": "hist"}]}, "operations[0].op: must be one of ")

    def test_settings_of_wrong_types(self):
        whole = ".radius: must be a whole number 0...32767"
        for value in (-1, 32768, 1.5, "2", True, [2], {"value": 2}, None, 1e300):
            self.refuse_step(whole, op="median", radius=value)
        for value in (1, "true", None, [True]):
            self.refuse_step(".otsu: must be true or false", op="threshold", otsu=value)
        for value in ("6x6", 5, "", None):
            self.refuse_step(".mask: must be one of chessboard, 3x3", op="distance", mask=value)
        for value in (5, "", None, ["m.png"]):
            self.refuse_step(".mask: must be the name of a file", op="apply-mask", mask=value)
        for value in ([1, 2, 3], [1, 2, 3, 0], [1, 2, 3, 4.5], [1, 2, 3, "4"], "1,2,3,4", [-1, 0, 1, 1], [0, 0, 1e12, 1], 5):
            self.refuse_step(".roi: must be four whole numbers", op="crop", roi=value)
        for value in ([], [1, 2, 3, 4], [1, -1], "1", 1):
            self.refuse_step(".factors: must be one to 3 numbers", op="flatfield", background="b.png", factors=value)

    def test_settings_that_are_unknown_or_missing(self):
        self.refuse_step(".radios: is unknown; known to median are radius", op="median", radios=2)
        self.refuse_step(".radius: is unknown; known to sobel are none", op="sobel", radius=2)
        self.refuse_step(".mask: is missing, must be the name of a file", op="apply-mask")

    def test_settings_that_do_not_go_together(self):
        self.refuse_step(": either above or otsu is wanted", op="threshold")
        self.refuse_step(": low must be below high", op="compress-levels", low=5, high=5)

    def test_jobs_are_limited(self):
        self.recipe()
        for jobs in ("0", "65", "x"):
            run = self.ko("run", "r.json", "a.png", "-o", "out", "--jobs", jobs)
            self.assertEqual((run.returncode, "a whole number 1...64" in run.stderr), (2, True))


if __name__ == "__main__":
    ko_files.main()
