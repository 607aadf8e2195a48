"""Recipes over series: the bytes of the tool, in files and in Zarr arrays, from Python and from the shell."""
import json
import os
import pty
import re
import signal
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest
import zarr
from series_support import bytes_in, frames_of, stored

from koimproc import series as ks
from koimproc.series.__main__ import _Line, arguments
from koimproc.series._recipe import workers_within

# A tool that works on all frames but this one.
SLOW_TOOL = """#!/bin/sh
case "$*" in
    *dark11.tif*) exec sleep 1000;;
esac
exec "$REAL_TOOL" "$@"
"""
SCRIPT = Path(__file__).parents[2] / "packaging/python/koimproc-series"


def wait_for_a_part(program):
    while "remaining" not in program.stderr.readline():
        assert program.poll() is None


class TestRun:
    RECIPE = {"operations": [{"op": "demosaic"}, {"op": "median", "radius": 1}], "output": {"format": "png"}}

    @pytest.fixture
    def recipe(self, tmp_path):
        path = tmp_path / "recipe.json"
        path.write_text(json.dumps(self.RECIPE))
        return path

    def test_results_are_those_of_the_tool(self, recipe, tmp_path):
        series = stored("tiff files", frames_of(9, (16, 20)), tmp_path)
        subprocess.run([os.environ["KO_TOOL"], "run", recipe, *series.names, "-o", f"{tmp_path}/tool/"],
                       check=True)
        expected = bytes_in(tmp_path / "tool")
        for index, (workers, length) in enumerate(((1, 64), (2, 1), (4, 7))):
            out = tmp_path / f"out{index}"
            report = ks.run(recipe, series, out, workers=workers, frames_per_part=length)
            assert report.done == 9
            assert bytes_in(out) == expected

    def test_frames_inside_one_file_get_the_same_bytes(self, recipe, tmp_path):
        frames = frames_of(3, (16, 20))
        files = stored("tiff files", frames, tmp_path)
        stored("hdf5", frames, tmp_path)
        stack = ks.open_series(tmp_path / "stack.h5", dataset="scan/frames", bits=12, bayer="GRBG")
        ks.run(recipe, files, tmp_path / "a", workers=1)
        ks.run(recipe, stack, tmp_path / "b", workers=1)
        assert list(bytes_in(tmp_path / "a").values()) == list(bytes_in(tmp_path / "b").values())

    def test_a_run_goes_on_after_it_was_killed(self, recipe, tmp_path):
        series = stored("tiff files", frames_of(60, (64, 64)), tmp_path)
        ks.run(recipe, series, tmp_path / "whole", workers=1)
        out = tmp_path / "out"
        command = [sys.executable, "-m", "koimproc.series", str(recipe), *series.names, "-o", str(out), "--resume",
                   "--frames-per-part", "4", "--workers", "2", "--report", str(tmp_path / "report.json")]
        killed = subprocess.Popen(command, stderr=subprocess.PIPE, text=True)
        wait_for_a_part(killed)
        killed.kill()
        killed.communicate()
        subprocess.run(command, check=True, capture_output=True, timeout=300)
        report = json.loads((tmp_path / "report.json").read_text())
        assert report["resumed"] + report["done"] == 60 and report["resumed"] >= 4
        assert bytes_in(out) == bytes_in(tmp_path / "whole")

    def test_failures_are_named_and_the_rest_goes_on(self, recipe, tmp_path):
        series = stored("tiff files", frames_of(6, (16, 20)), tmp_path)
        (tmp_path / "dark3.tif").write_bytes(b"II*\0")
        report = ks.run(recipe, series, tmp_path / "out", workers=2, frames_per_part=2, on_error="skip")
        assert (report.done, [Path(name).name for name, _ in report.failed]) == (5, ["dark3.tif"])
        assert len(bytes_in(tmp_path / "out")) == 5
        with pytest.raises(ks.FrameError, match="dark3.tif"):
            ks.run(recipe, series, tmp_path / "out", workers=1)

    def test_a_wrong_recipe_is_refused_in_the_words_of_the_tool(self, recipe, tmp_path):
        recipe.write_text('{"operations": [{"op": "demosaik"}]}')
        done = subprocess.run([sys.executable, "-m", "koimproc.series", str(recipe),
                               *stored("tiff files", frames_of(1), tmp_path).names, "-o", str(tmp_path / "out")],
                              capture_output=True, text=True)
        assert done.returncode == 2
        assert "operations[0].op" in done.stderr

    def test_a_recipe_may_be_a_dictionary(self, recipe, tmp_path):
        series = stored("tiff files", frames_of(2, (16, 20)), tmp_path)
        ks.run(recipe, series, tmp_path / "a", workers=1)
        ks.run(self.RECIPE, series, tmp_path / "b", workers=1)
        assert bytes_in(tmp_path / "a") == bytes_in(tmp_path / "b")
        assert ks.run(self.RECIPE, series, tmp_path / "b", workers=1, resume=True).resumed == 2
        assert ks.run({"operations": []}, series, tmp_path / "b", workers=1, resume=True).done == 2
        with pytest.raises(ValueError, match=r"operations\[0\].op"):
            ks.run({"operations": [{"op": "demosaik"}]}, series, tmp_path / "b", workers=1)

    def test_results_may_be_fits(self, tmp_path):
        frames = frames_of(2, (6, 8))
        series = stored("tiff files", frames, tmp_path)
        ks.run({"operations": [], "output": {"format": "fits"}}, series, tmp_path / "out", workers=1)
        found = ks.open_series(tmp_path / "out" / "*.fits")
        np.testing.assert_array_equal([frame >> 4 for frame in found], frames)
        assert found.bayer == "GRBG"

    def test_memory_limits_how_many_work_at_once(self, recipe, tmp_path):
        series = stored("tiff files", frames_of(1, (1000, 2000)), tmp_path)
        one = workers_within(1, None, series)
        assert one == 1
        assert [workers_within(gigabytes << 30, 64, series) for gigabytes in (1, 2, 64)] == [4, 9, 64]
        assert ks.run({"operations": []}, series, tmp_path / "out", memory=1).done == 1
        with pytest.raises(ValueError, match="memory"):
            ks.run(recipe, series, tmp_path / "out", memory=1 << 30, scheduler="tcp://127.0.0.1:1")


class TestZarr:
    RECIPE = {"operations": [{"op": "demosaic"}]}

    def stacked(self, series, out, **options):
        report = ks.run(self.RECIPE, series, out, **{"workers": 1, **options})
        return report, ks.open_series(out)

    def test_frames_are_those_of_the_tool(self, tmp_path):
        series = stored("tiff files", frames_of(9, (16, 20)), tmp_path)
        ks.run(self.RECIPE, series, tmp_path / "files", workers=1)
        expected = ks.open_series(tmp_path / "files" / "*.tif")
        for number, (scheduler, workers, length) in enumerate(((None, 1, 64), (None, 4, 2), ("processes", 2, 3))):
            report, found = self.stacked(series, tmp_path / f"{number}.zarr", scheduler=scheduler, workers=workers,
                                         frames_per_part=length)
            assert (report.done, found.bits, found.bayer, found.shape) == (9, 12, None, (16, 20, 3))
            np.testing.assert_array_equal(list(found), list(expected))
            assert bytes_in(tmp_path / f"{number}.zarr") == bytes_in(tmp_path / "0.zarr")
        assert zarr.open(str(tmp_path / "0.zarr")).chunks == (1, 16, 20, 3)
        assert len(found.files(2, 5)) == 3 and all(map(os.path.exists, found.files(0, 9)))

    def test_a_run_goes_on_and_makes_again_what_is_gone(self, tmp_path):
        series = stored("tiff files", frames_of(8, (16, 20)), tmp_path)
        out = tmp_path / "out.zarr"
        self.stacked(series, out, frames_per_part=2)
        whole = bytes_in(out)
        report, _ = self.stacked(series, out, frames_per_part=2, resume=True)
        assert (report.resumed, report.done) == (8, 0)
        (out / "3.0.0.0").unlink()
        report, _ = self.stacked(series, out, frames_per_part=2, resume=True)
        assert (report.resumed, report.done) == (6, 2) and bytes_in(out) == whole

    def test_a_frame_that_fails_leaves_nothing_of_an_earlier_run(self, tmp_path):
        series = stored("tiff files", frames_of(4, (16, 20)), tmp_path)
        out = tmp_path / "out.zarr"
        self.stacked(series, out)
        for number in (0, 2):
            (tmp_path / f"dark{number}.tif").write_bytes(b"II*\0")
            report, found = self.stacked(series, out, on_error="skip")
            assert f"dark{number}.tif" in {Path(name).name for name, _ in report.failed}
            assert not found[number].any() and found[3].any()

    def test_an_array_of_another_kind_is_left_alone(self, tmp_path):
        series = stored("tiff files", frames_of(2, (16, 20)), tmp_path)
        out = tmp_path / "out.zarr"
        self.stacked(series, out)
        before = bytes_in(out)
        with pytest.raises(ValueError, match="another kind"):
            ks.run({"operations": []}, series, out, workers=1)
        assert bytes_in(out) == before


class TestCommand:
    """koimproc-series, here by the name of its module."""

    def call(self, tmp_path, *arguments, **options):
        (tmp_path / "recipe.json").write_text(json.dumps(TestRun.RECIPE))
        command = [sys.executable, "-m", "koimproc.series", str(tmp_path / "recipe.json"), *arguments]
        return subprocess.run([str(part) for part in command], capture_output=True, text=True, timeout=300, **options)

    def test_it_does_what_run_does_and_reports(self, tmp_path):
        series = stored("tiff files", frames_of(4, (16, 20)), tmp_path)
        ks.run(TestRun.RECIPE, series, tmp_path / "a", workers=1)
        done = self.call(tmp_path, *series.names, "-o", tmp_path / "b", "--memory", "2GiB", "--frames-per-part", 2,
                         "--report", tmp_path / "report.json")
        assert done.returncode == 0, done.stderr
        assert bytes_in(tmp_path / "b") == bytes_in(tmp_path / "a")
        assert json.loads((tmp_path / "report.json").read_text())["done"] == 4
        lines = done.stderr.splitlines()
        assert re.fullmatch(r"2 of 4 frames, [\d.]+ frames/s, \d+ s remaining", lines[0]), lines
        assert lines[-1].startswith("4 of 4 frames") and "\r" not in done.stderr
        assert "4 of 4 frames in" in done.stdout

    def test_on_a_terminal_one_line_is_written_again_and_again(self, tmp_path):
        series = stored("tiff files", frames_of(3, (16, 20)), tmp_path)
        leader, follower = pty.openpty()
        done = subprocess.run([sys.executable, "-m", "koimproc.series", self.recipe(tmp_path), *series.names, "-o",
                               str(tmp_path / "out"), "--frames-per-part", "1", "--workers", "1"],
                              stdout=subprocess.DEVNULL, stderr=follower, timeout=300)
        os.close(follower)
        said = os.read(leader, 10000).decode()
        os.close(leader)
        assert done.returncode == 0 and said.count("\r") >= 3 and said.count("\n") == 1
        assert "s remaining" in said

    @staticmethod
    def recipe(tmp_path):
        (tmp_path / "recipe.json").write_text(json.dumps(TestRun.RECIPE))
        return str(tmp_path / "recipe.json")

    @pytest.mark.parametrize("arguments, status, said", [
        (("-o", "out", "--memory", "much"), 2, "2GiB"), (("-o", "out", "--memory", "1e999GB"), 2, "2GiB"), (("-o", "out", "--scheduler", "cluster"), 2, "tcp://"),
        ((), 2, "--output"), (("-o", "out", "--workers", "0"), 2, "workers"),
        (("-o", "out", "--report", "missing/report.json"), 2, "missing"),
    ])
    def test_wrong_arguments_are_named(self, arguments, status, said, tmp_path):
        names = stored("tiff files", frames_of(1, (16, 20)), tmp_path).names
        done = self.call(tmp_path, *names, *arguments, cwd=tmp_path)
        assert done.returncode == status and said in done.stderr

    def test_memory_without_dask_is_refused_in_one_line(self, tmp_path):
        (tmp_path / "dask.py").write_text("raise ImportError")
        done = self.call(tmp_path, "a.tif", "-o", "out", "--memory", "2GiB",
                         env={**os.environ, "PYTHONPATH": f"{tmp_path}:{os.environ['PYTHONPATH']}"})
        assert done.returncode == 2 and "python3-dask" in done.stderr and "Traceback" not in done.stderr

    def test_the_rate_is_that_of_this_run(self, capsys):
        _Line(ks.Report(100, done=5, resumed=90))(95, 100, 1.0)
        assert capsys.readouterr().err == "95 of 100 frames, 5.0 frames/s, 1 s remaining\n"

    @pytest.mark.parametrize("recipe", ["", "no JSON", "[]", "5", "{}", '{"operations": 5}', '{"operations": [5]}',
                                        '{"operations": [], "output": 7}'])
    def test_a_bad_recipe_is_named(self, recipe, tmp_path):
        names = stored("tiff files", frames_of(1, (16, 20)), tmp_path).names
        (tmp_path / "bad.json").write_text(recipe)
        command = [sys.executable, "-m", "koimproc.series", str(tmp_path / "bad.json"), *names, "-o", "out"]
        done = subprocess.run(command, capture_output=True, text=True, timeout=300, cwd=tmp_path)
        assert done.returncode == 2 and "bad.json" in done.stderr and "Traceback" not in done.stderr

    def test_a_file_that_cannot_be_written_is_named(self, tmp_path):
        names = stored("tiff files", frames_of(1, (16, 20)), tmp_path).names
        done = self.call(tmp_path, *names, "-o", "/proc/out")
        assert done.returncode == 1 and done.stderr == "koimproc-series: /proc/out: No such file or directory\n"

    def test_an_output_that_is_a_file_is_named(self, tmp_path):
        names = stored("tiff files", frames_of(1, (16, 20)), tmp_path).names
        done = self.call(tmp_path, *names, "-o", names[0])
        assert done.returncode == 1 and done.stderr == f"koimproc-series: {names[0]}: File exists\n"

    def test_samples_of_another_type_are_wrong_arguments(self, tmp_path):
        stored("hdf5", frames_of(1, (16, 20)).astype("f4"), tmp_path)
        done = self.call(tmp_path, tmp_path / "stack.h5", "--dataset", "scan/frames", "-o", tmp_path / "out")
        assert done.returncode == 2 and "float32" in done.stderr and "Traceback" not in done.stderr

    def test_frames_that_are_missing_are_named(self, tmp_path):
        done = self.call(tmp_path, tmp_path / "no.tif", "-o", tmp_path / "out")
        assert done.returncode == 1 and "no.tif" in done.stderr

    @pytest.mark.parametrize("scheduler", [(), ("--scheduler", "processes")])
    @pytest.mark.parametrize("number, status", [(signal.SIGINT, 130), (signal.SIGTERM, 143)])
    def test_ctrl_c_says_how_to_go_on(self, scheduler, number, status, tmp_path):
        series = stored("tiff files", frames_of(12, (64, 64)), tmp_path)
        tool = tmp_path / "slow-ko"
        tool.write_text(SLOW_TOOL)
        tool.chmod(0o755)
        command = [sys.executable, SCRIPT, self.recipe(tmp_path), *series.names, "-o", str(tmp_path / "out"),
                   "--frames-per-part", "1", "--workers", "1", "--report", str(tmp_path / "report.json"), *scheduler]
        running = subprocess.Popen(command, stderr=subprocess.PIPE, stdout=subprocess.PIPE, text=True, start_new_session=True,
                                   env={**os.environ, "KO_TOOL": str(tool), "REAL_TOOL": os.environ["KO_TOOL"]})
        wait_for_a_part(running)
        os.killpg(running.pid, number)  # as a terminal does, or a batch system
        _, said = running.communicate(timeout=300)
        assert running.returncode == status and "Traceback" not in said, said
        assert said.splitlines()[-1] == "koimproc-series: interrupted; --resume goes on from here"
        report = json.loads((tmp_path / "report.json").read_text())
        assert report["done"] >= 1 and report["frames"] == 12 and report["error"].startswith("interrupted")
        again = subprocess.run([*command, "--resume"], capture_output=True, text=True, timeout=300)
        assert again.returncode == 0 and len(bytes_in(tmp_path / "out")) == 12
        report = json.loads((tmp_path / "report.json").read_text())
        assert report["resumed"] >= 1 and report["resumed"] + report["done"] == 12 and report["error"] is None

    def test_ctrl_c_is_heard_while_the_program_is_loaded(self, tmp_path):
        (tmp_path / "koimproc").mkdir()
        (tmp_path / "koimproc/__init__.py").write_text("import os, signal, time\n"
                                                       "os.kill(os.getpid(), signal.SIGINT)\ntime.sleep(1000)\n")
        done = subprocess.run([sys.executable, SCRIPT], capture_output=True, text=True, timeout=300,
                              env={**os.environ, "PYTHONPATH": str(tmp_path)})
        assert (done.returncode, done.stderr) == (130, "koimproc-series: interrupted\n")

    def test_the_report_of_a_run_that_fails_says_why(self, tmp_path):
        series = stored("tiff files", frames_of(4, (16, 20)), tmp_path)
        (tmp_path / "dark2.tif").write_bytes(b"II*\0")
        report = tmp_path / "report.json"
        options = ("-o", tmp_path / "out", "--workers", 1, "--frames-per-part", 1, "--report", report)
        done = self.call(tmp_path, *series.names, *options)
        said = json.loads(report.read_text())
        assert done.returncode == 1 and done.stderr.endswith(f"koimproc-series: {said['error']}\n")
        assert (said["frames"], said["done"], [Path(bad["frame"]).name for bad in said["failed"]]) == (4, 2, ["dark2.tif"])
        assert said["error"].startswith(series.names[2])
        self.call(tmp_path, tmp_path / "no*.tif", *options)
        said = json.loads(report.read_text())
        assert (said["frames"], said["done"]) == (0, 0) and "no such files" in said["error"]
        self.call(tmp_path, *series.names, *options, "--on-error", "skip")
        said = json.loads(report.read_text())
        assert (said["done"], len(said["failed"]), said["error"]) == (3, 1, None)

    def test_a_report_that_cannot_be_written_fails(self, tmp_path):
        names = stored("tiff files", frames_of(1, (16, 20)), tmp_path).names
        done = self.call(tmp_path, *names, "-o", tmp_path / "out", "--report", "/proc/report.json")
        assert done.returncode == 1 and done.stderr.endswith("koimproc-series: /proc/report.json: No such file or directory\n")

    def test_the_manual_page_names_every_option(self):
        page = (Path(__file__).parents[2] / "packaging/python/koimproc-series.1").read_text().replace("\\-", "-")
        for action in arguments()._actions:
            for option in action.option_strings:
                assert re.search(rf"(?<![\w-]){option}(?![\w-])", page), option
