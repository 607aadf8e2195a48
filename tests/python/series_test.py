"""koimproc.series: accumulators, readers, and runs whose bytes do not depend on parts and workers."""
import hashlib
import json
import os
import pickle
import resource
import signal
import subprocess
import sys
from pathlib import Path

import distributed
import h5py
import numpy as np
import pytest
import tifffile
import zarr
from astropy.io import fits

import koimproc as ko
from koimproc import series as ks

EVERYTHING = ("mean", "var", "min", "max", "above", "hist")


def frames_of(count=13, shape=(12, 17), dtype="u2", top=4096):
    return np.random.default_rng(3).integers(0, top, (count, *shape), dtype)


def accumulator(frames, what=EVERYTHING, **options):
    sums = ks.Accumulator(*what, level=2000 if "above" in what else None, **options)
    sums.add(*frames)
    return sums


def digest(sums):
    """Of all integers and all results."""
    known = hashlib.sha256(repr((sums.frames, sums.what)).encode())
    for part in (sums.planes, sums.result(), sums.result(ddof=1)):
        for name in sorted(part):
            known.update(name.encode() + np.ascontiguousarray(part[name]).tobytes())
    return known.hexdigest()


class TestAccumulator:
    def test_it_has_a_place_among_the_functions(self):
        assert ko.Accumulator is ks.Accumulator

    def test_results_are_those_of_numpy(self):
        frames = frames_of()
        found = accumulator(frames, bits=12).result()
        np.testing.assert_array_equal(found["mean"], frames.astype("f8").sum(0) / len(frames))
        np.testing.assert_allclose(found["var"], frames.var(0, dtype="f8"), rtol=1e-12)
        np.testing.assert_array_equal(found["min"], frames.min(0))
        np.testing.assert_array_equal(found["max"], frames.max(0))
        np.testing.assert_array_equal(found["above"], (frames > 2000).sum(0))
        np.testing.assert_array_equal(found["hist"], np.bincount(frames.ravel(), minlength=4096))

    def test_a_variance_of_small_steps_on_a_high_level_keeps_its_digits(self):
        frames = np.full((1000, 1, 1), 65534, "u2")
        frames[0] += 1
        assert ks.Accumulator("var").merge(accumulator(frames, ("var",))).result()["var"][0, 0] == 999 / 1000**2

    @pytest.mark.parametrize("shape", [(5, 6), (5, 6, 3)])
    def test_masks_leave_pixels_out(self, shape):
        frames = frames_of(6, shape, "u1", 256)
        masks = np.random.default_rng(1).integers(0, 2, (6, 5, 6)).astype(bool)
        sums = ks.Accumulator("mean", "max", "hist")
        sums.add(*frames, masks=list(masks))
        wide = masks if len(shape) == 2 else np.repeat(masks[..., None], 3, 3)
        with np.errstate(invalid="ignore"):
            mean = np.where(wide, frames, 0).sum(0) / wide.sum(0)
        np.testing.assert_array_equal(sums.result()["mean"], mean)
        assert sums.result()["hist"].sum() == wide.sum()
        assert sums.planes["counts"].max() <= 6

    def test_any_parts_in_any_order_give_the_same_bytes(self):
        frames = frames_of(30)
        whole = digest(accumulator(frames))
        random = np.random.default_rng(0)
        for _ in range(5):
            cuts = np.sort(random.integers(0, 31, 4))
            parts = [accumulator(part) for part in np.split(random.permutation(frames), cuts) if len(part)]
            random.shuffle(parts)
            total = ks.Accumulator(*EVERYTHING, level=2000)
            for part in parts:
                total.merge(pickle.loads(pickle.dumps(part)))
            assert digest(total) == whole

    def test_merging_leaves_the_other_one_alone(self):
        part = accumulator(frames_of(3))
        before = digest(part)
        total = ks.Accumulator(*EVERYTHING, level=2000).merge(part)
        total.add(*frames_of(2))
        assert (total.frames, digest(part)) == (5, before)

    def test_files_hold_everything(self, tmp_path):
        sums = accumulator(frames_of(), bits=12)
        sums.save(tmp_path / "sums")
        loaded = ks.Accumulator.load(tmp_path / "sums")
        assert digest(loaded) == digest(sums)
        loaded.add(*frames_of(1))
        assert loaded.frames == sums.frames + 1
        assert os.listdir(tmp_path) == ["sums"]
        empty = ks.Accumulator("mean")
        empty.save(tmp_path / "empty")
        assert ks.Accumulator.load(tmp_path / "empty").merge(accumulator(frames_of(), ("mean",))).frames == 13

    def test_more_frames_than_fit_are_refused(self):
        for what in ("mean", "hist"):
            sums = accumulator(frames_of(1), (what,))
            state = sums.__getstate__()
            sums.__setstate__({**state, "frames": 2**32 - 1})
            with pytest.raises(OverflowError):
                sums.add(frames_of(1)[0])
            with pytest.raises(OverflowError):
                sums.merge(accumulator(frames_of(1), (what,)))
            assert sums.frames == 2**32 - 1

    def test_wrong_arguments_are_named(self):
        for wrong in (lambda: ks.Accumulator(), lambda: ks.Accumulator("median"), lambda: ks.Accumulator("above"),
                      lambda: ks.Accumulator("mean", level=3), lambda: ks.Accumulator("mean").result(),
                      lambda: ks.Accumulator("mean").add(np.zeros((2, 2))),
                      lambda: accumulator(frames_of(1, (2, 2)), ("mean",)).add(np.zeros((2, 3), "u2")),
                      lambda: accumulator(frames_of(1, (2, 2)), ("hist",), bits=8),
                      lambda: accumulator(frames_of(1), ("mean",)).merge(accumulator(frames_of(1), ("var",)))):
            with pytest.raises(ValueError):
                wrong()


def stored(kind, frames, directory):
    """The frames in files of a kind, opened."""
    if kind == "tiff files":
        for index, frame in enumerate(frames):
            ks.write_frame(directory / f"dark{index}.tif", frame, 12, "GRBG")
        return ks.open_series(directory / "dark*.tif")
    if kind == "fits files":
        for index, frame in enumerate(frames):
            fits.PrimaryHDU(frame).writeto(directory / f"dark{index}.fits")
        return ks.open_series(directory / "dark*.fits")
    if kind == "tiff pages":
        tifffile.imwrite(directory / "stack.tif", frames, photometric="minisblack")
        return ks.open_series(directory / "stack.tif")
    if kind == "fits cube":
        fits.PrimaryHDU(frames).writeto(directory / "cube.fits")
        return ks.open_series(directory / "cube.fits")
    if kind == "hdf5":
        with h5py.File(directory / "stack.h5", "w") as file:
            file.create_dataset("scan/frames", data=frames)
        return ks.open_series(directory / "stack.h5", dataset="scan/frames")
    zarr.save(str(directory / "stack.zarr"), frames)
    return ks.open_series(directory / "stack.zarr")


KINDS = ("tiff files", "fits files", "tiff pages", "fits cube", "hdf5", "zarr")


class TestReaders:
    @pytest.mark.parametrize("kind", KINDS)
    def test_frames_are_those_that_were_stored(self, kind, tmp_path):
        frames = frames_of(11, (5, 8))
        series = stored(kind, frames, tmp_path)
        assert (len(series), series.shape, series.dtype) == (11, (5, 8), np.dtype("u2"))
        np.testing.assert_array_equal(list(series), frames)
        np.testing.assert_array_equal(pickle.loads(pickle.dumps(series))[10], frames[10])
        lazy = series.dask(4)
        assert lazy.chunks[0] == (4, 4, 3)
        np.testing.assert_array_equal(lazy.compute(scheduler="synchronous"), frames)

    def test_depth_and_pattern_come_from_files_and_arguments(self, tmp_path):
        series = stored("tiff files", frames_of(1), tmp_path)
        assert (series.bits, series.bayer) == (12, "GRBG")
        other = ks.open_series(tmp_path / "dark0.tif", bits=14, bayer="RGGB")
        assert (other.bits, other.bayer) == (14, "RGGB")

    def test_numbers_in_names_count_as_numbers(self, tmp_path):
        series = stored("tiff files", frames_of(12, (2, 2)), tmp_path)
        assert [Path(name).stem for name in series.names][1:3] == ["dark1", "dark2"]

    def test_a_bad_frame_is_named(self, tmp_path):
        series = stored("tiff files", frames_of(4), tmp_path)
        (tmp_path / "dark2.tif").write_bytes(b"II*\0 no tiff")
        ks.write_frame(tmp_path / "dark3.tif", np.zeros((3, 3), "u2"), 12)
        ks.write_frame(tmp_path / "dark1.tif", frames_of(1)[0], 14, "GRBG")
        for index in (1, 2, 3):
            with pytest.raises(ks.FrameError, match=f"dark{index}.tif"):
                series[index]
        with pytest.raises(FileNotFoundError):
            ks.open_series(tmp_path / "flat*.tif")
        with pytest.raises(ks.FrameError, match="dark2.tif"):
            ks.open_series(tmp_path / "dark2.tif")


class TestAccumulate:
    def test_bytes_do_not_depend_on_parts_workers_and_schedulers(self, tmp_path):
        frames = frames_of(70, (9, 14))
        series = stored("hdf5", frames, tmp_path)
        expected = digest(accumulator(frames, bits=16))
        for scheduler, all_workers in ((None, (1, 2, 4)), ("processes", (1, 2))):
            for workers in all_workers:
                for length in (1, 7, 64):
                    if scheduler == "processes" and length == 1:
                        continue
                    sums, report = ks.accumulate(series, *EVERYTHING, level=2000, scheduler=scheduler, workers=workers,
                                                 frames_per_part=length)
                    assert digest(sums) == expected, (scheduler, workers, length)
                    assert (report.done, report.failed) == (70, [])

    def test_bad_frames_are_left_out_and_named_or_end_it(self, tmp_path):
        frames = frames_of(9)
        series = stored("tiff files", frames, tmp_path)
        os.unlink(tmp_path / "dark4.tif")
        sums, report = ks.accumulate(series, "mean", on_error="skip", frames_per_part=2, workers=2)
        assert digest(sums) == digest(accumulator(np.delete(frames, 4, 0), ("mean",), bits=12))
        assert (report.done, [name for name, _ in report.failed]) == (8, [str(tmp_path / "dark4.tif")])
        assert json.loads(report.json())["failed"][0]["frame"].endswith("dark4.tif")
        with pytest.raises(ks.FrameError, match="dark4.tif"):
            ks.accumulate(series, "mean", workers=1)

    def test_a_run_goes_on_from_the_parts_that_are_whole(self, tmp_path):
        frames = frames_of(20)
        series = stored("tiff files", frames, tmp_path)
        work = tmp_path / "work"
        options = {"work": work, "frames_per_part": 4, "workers": 1}
        os.rename(tmp_path / "dark17.tif", tmp_path / "hidden")
        with pytest.raises(ks.FrameError):
            ks.accumulate(series, "mean", **options)
        os.rename(tmp_path / "hidden", tmp_path / "dark17.tif")
        records = list(work.glob("*.json"))
        assert 0 < len(records) < 5
        sums, report = ks.accumulate(series, "mean", resume=True, **options)
        assert (report.resumed, report.done) == (4 * len(records), 20 - 4 * len(records))
        assert digest(sums) == digest(accumulator(frames, ("mean",), bits=12))
        ks.write_frame(tmp_path / "dark0.tif", np.zeros_like(frames[0]), 12, "GRBG")
        again, report = ks.accumulate(series, "mean", resume=True, **options)
        assert (report.resumed, report.done) == (16, 4), "one file has changed"
        assert digest(again) == digest(accumulator([np.zeros_like(frames[0]), *frames[1:]], ("mean",), bits=12))

    def test_a_full_disk_leaves_no_half_of_a_part(self, tmp_path):
        frames = frames_of(12, (64, 64))
        series = stored("hdf5", frames, tmp_path)
        options = {"work": tmp_path / "work", "frames_per_part": 3, "workers": 1}
        before = resource.getrlimit(resource.RLIMIT_FSIZE)
        resource.setrlimit(resource.RLIMIT_FSIZE, (20000, before[1]))
        try:
            with pytest.raises(OSError):
                ks.accumulate(series, "mean", **options)
        finally:
            resource.setrlimit(resource.RLIMIT_FSIZE, before)
        assert list((tmp_path / "work").iterdir()) == []
        assert digest(ks.accumulate(series, "mean", resume=True, **options)[0]) == digest(accumulator(frames, ("mean",)))

    def test_a_killed_worker_loses_nothing(self, tmp_path):
        frames = frames_of(120, (40, 50))
        series = stored("hdf5", frames, tmp_path)
        with distributed.LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None,
                                      silence_logs="CRITICAL") as cluster:
            victims = [worker.pid for worker in cluster.workers.values()]

            def kill(*_):
                if victims:
                    os.kill(victims.pop(), signal.SIGKILL)
                    victims.clear()

            sums, report = ks.accumulate(series, *EVERYTHING, level=2000, scheduler=cluster.scheduler_address,
                                         frames_per_part=2, work=tmp_path / "work", progress=kill)
        assert victims == [] and report.done == 120
        assert digest(sums) == digest(accumulator(frames, bits=16))

    def test_a_master_is_the_rounded_mean(self, tmp_path):
        series = stored("zarr", np.array([[[1, 4]], [[2, 4]]], "u2"), tmp_path)
        assert ks.master(series, workers=1).tolist() == [[2, 4]]

    def test_every_frame_is_described(self, tmp_path):
        frames = frames_of(5, (4, 6, 3), "u1", 256)
        rows, report = ks.describe(stored("hdf5", frames, tmp_path), workers=2, frames_per_part=2)
        assert [row["frame"] for row in rows] == list(range(5))
        for row, frame in zip(rows, frames):
            assert (row["minimum"], row["maximum"]) == (frame.min(), frame.max())
            assert row["mean"] == pytest.approx(frame.mean()) and row["deviation"] == pytest.approx(frame.std())
            assert row["clipped"] == (frame == 255).mean()


class TestRun:
    RECIPE = {"operations": [{"op": "demosaic"}, {"op": "median", "radius": 1}], "output": {"format": "png"}}

    @staticmethod
    def bytes_in(directory):
        return {path.name: path.read_bytes() for path in sorted(directory.iterdir()) if path.is_file()}

    @pytest.fixture
    def recipe(self, tmp_path):
        path = tmp_path / "recipe.json"
        path.write_text(json.dumps(self.RECIPE))
        return path

    def test_results_are_those_of_the_tool(self, recipe, tmp_path):
        series = stored("tiff files", frames_of(9, (16, 20)), tmp_path)
        subprocess.run([os.environ["KO_TOOL"], "run", recipe, *series.names, "-o", f"{tmp_path}/tool/"],
                       check=True)
        expected = self.bytes_in(tmp_path / "tool")
        for index, (workers, length) in enumerate(((1, 64), (2, 1), (4, 7))):
            out = tmp_path / f"out{index}"
            report = ks.run(recipe, series, out, workers=workers, frames_per_part=length)
            assert report.done == 9
            assert self.bytes_in(out) == expected

    def test_frames_inside_one_file_get_the_same_bytes(self, recipe, tmp_path):
        frames = frames_of(3, (16, 20))
        files = stored("tiff files", frames, tmp_path)
        stored("hdf5", frames, tmp_path)
        stack = ks.open_series(tmp_path / "stack.h5", dataset="scan/frames", bits=12, bayer="GRBG")
        ks.run(recipe, files, tmp_path / "a", workers=1)
        ks.run(recipe, stack, tmp_path / "b", workers=1)
        assert list(self.bytes_in(tmp_path / "a").values()) == list(self.bytes_in(tmp_path / "b").values())

    def test_a_run_goes_on_after_it_was_killed(self, recipe, tmp_path):
        series = stored("tiff files", frames_of(60, (64, 64)), tmp_path)
        ks.run(recipe, series, tmp_path / "whole", workers=1)
        out = tmp_path / "out"
        command = [sys.executable, "-m", "koimproc.series", str(recipe), *series.names, "-o", str(out), "--resume",
                   "--frames-per-part", "4", "--workers", "2", "--report", str(tmp_path / "report.json")]
        killed = subprocess.Popen(command, stderr=subprocess.PIPE, text=True)
        killed.stderr.readline()  # the first part is done
        killed.kill()
        killed.communicate()
        subprocess.run(command, check=True, capture_output=True, timeout=300)
        report = json.loads((tmp_path / "report.json").read_text())
        assert report["resumed"] + report["done"] == 60 and report["resumed"] >= 4
        assert self.bytes_in(out) == self.bytes_in(tmp_path / "whole")

    def test_failures_are_named_and_the_rest_goes_on(self, recipe, tmp_path):
        series = stored("tiff files", frames_of(6, (16, 20)), tmp_path)
        (tmp_path / "dark3.tif").write_bytes(b"II*\0")
        report = ks.run(recipe, series, tmp_path / "out", workers=2, frames_per_part=2, on_error="skip")
        assert (report.done, [Path(name).name for name, _ in report.failed]) == (5, ["dark3.tif"])
        assert len(self.bytes_in(tmp_path / "out")) == 5
        with pytest.raises(ks.FrameError, match="dark3.tif"):
            ks.run(recipe, series, tmp_path / "out", workers=1)

    def test_a_wrong_recipe_is_refused_in_the_words_of_the_tool(self, recipe, tmp_path):
        recipe.write_text('{"operations": [{"op": "demosaik"}]}')
        done = subprocess.run([sys.executable, "-m", "koimproc.series", str(recipe),
                               *stored("tiff files", frames_of(1), tmp_path).names, "-o", str(tmp_path / "out")],
                              capture_output=True, text=True)
        assert done.returncode == 2
        assert "operations[0].op" in done.stderr

    def test_calibrating_is_the_flat_field_of_the_tool(self, tmp_path):
        frames = frames_of(5, (16, 20))
        series = stored("tiff files", frames, tmp_path)
        flat, dark = np.full((16, 20), 3000, "u2"), np.full((16, 20), 64, "u2")
        flat[:, 10:] = 1500
        ks.calibrate(series, tmp_path / "out", flat=flat, dark=dark, workers=1)
        again = ks.calibrate(series, tmp_path / "out", flat=flat, dark=dark, workers=1, resume=True)
        assert again.resumed == 5
        ks.write_frame(tmp_path / "flat.tif", flat, 12, "GRBG")
        ks.write_frame(tmp_path / "black.tif", dark, 12, "GRBG")
        subprocess.run([os.environ["KO_TOOL"], "flatfield", *series.names, "--background", tmp_path / "flat.tif", "--dark",
                        tmp_path / "black.tif", "-o", f"{tmp_path}/tool/"], check=True)
        assert self.bytes_in(tmp_path / "out") == self.bytes_in(tmp_path / "tool")
