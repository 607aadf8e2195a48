"""koimproc.series: accumulators, readers, and runs whose bytes do not depend on parts and workers."""
import copy
import json
import os
import pickle
import resource
import signal
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import distributed
import numpy as np
import pytest
from series_support import EVERYTHING, accumulator, digest, frames_of, stored

import koimproc as ko
from koimproc import native
from koimproc import series as ks


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

    def test_counts_are_held_where_frames_have_masks(self):
        frames = frames_of(5)
        masks = list(np.random.default_rng(2).integers(0, 2, frames.shape, "u1"))
        masks[2:] = [np.ones_like(mask) for mask in masks[2:]]
        whole, masked, plain = (ks.Accumulator(*EVERYTHING, level=2000) for _ in range(3))
        whole.add(*frames, masks=masks)
        masked.add(*frames[:2], masks=masks[:2])
        plain.add(*frames[2:])
        assert "counts" in masked.planes and "counts" not in plain.planes
        added = pickle.loads(pickle.dumps(plain))
        added.add(*frames[:2], masks=masks[:2])
        before = digest(masked), digest(plain)
        for first, second in ((masked, plain), (plain, masked)):
            assert digest(ks.Accumulator(*EVERYTHING, level=2000).merge(first).merge(second)) == digest(whole)
        assert digest(added) == digest(whole) and (digest(masked), digest(plain)) == before

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

    @pytest.mark.parametrize("what", [("mean", "var", "max"), ("hist",)])
    def test_several_threads_may_add_to_one(self, what):
        frames = frames_of(24, (600, 500))
        sums = ks.Accumulator(*what)
        with ThreadPoolExecutor(4) as pool:
            list(pool.map(sums.add, frames))
        assert digest(sums) == digest(accumulator(frames, what))

    def test_threads_that_begin_with_other_frames_are_told_apart(self):
        sums = ks.Accumulator("hist")
        first, other = (sums._prepared([np.zeros(shape, "u1")]) for shape in ((2, 3), (2, 4)))
        sums._take(first)
        with pytest.raises(ko.ArgumentError, match=r"shape \(2, 3\) is wanted"):
            sums._take(other)
        assert sums.frames == 1

    def test_what_ctrl_c_comes_behind_has_counted_or_not_begun(self, monkeypatch):
        frames = frames_of(3)
        sums = accumulator(frames[:1])
        add = native.AccumulateFrames

        def interrupted(*arguments):
            add(*arguments)
            raise KeyboardInterrupt

        monkeypatch.setattr(native, "AccumulateFrames", interrupted)
        with pytest.raises(KeyboardInterrupt):
            sums.add(frames[1])
        monkeypatch.setattr(native, "AccumulateFrames", add)
        sums.add(frames[2])
        assert digest(pickle.loads(pickle.dumps(sums))) == digest(accumulator(frames))

    @pytest.mark.parametrize("copied", [copy.copy, copy.deepcopy])
    def test_a_copy_is_another_one(self, copied):
        frames = frames_of(3)
        sums = accumulator(frames[:2])
        other = copied(sums)
        other.add(frames[2])
        assert (digest(sums), digest(other)) == (digest(accumulator(frames[:2])), digest(accumulator(frames)))

    def test_frames_of_the_other_byte_order_are_taken(self):
        frames = frames_of(3)
        assert digest(accumulator(frames.astype(">u2"))) == digest(accumulator(frames))
        with pytest.raises(ko.SampleTypeError, match="frames"):
            ks.Accumulator("mean").add(frames[0].astype(float))

    def test_it_says_what_it_is(self):
        assert repr(accumulator(frames_of(2), ("mean", "above"))) == "<Accumulator('mean', 'above', level=2000) of 2 frames>"

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
                      lambda: accumulator(frames_of(1, (2, 2)), ("mean",)).add(np.zeros((2, 3), "u2")),
                      lambda: accumulator(frames_of(1, (2, 2)), ("hist",), bits=8),
                      lambda: accumulator(frames_of(1), ("mean",)).merge(accumulator(frames_of(1), ("var",)))):
            with pytest.raises(ValueError):
                wrong()


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

    @pytest.mark.parametrize("kind", KINDS)
    def test_a_file_may_be_kept_open(self, kind, tmp_path):
        frames = frames_of(5, (5, 8))
        series = stored(kind, frames, tmp_path).map(half)
        with series.reader() as read:
            for index in (4, 0, -2):
                np.testing.assert_array_equal(read(index), frames[index] // 2)
            with pytest.raises(IndexError):
                read(5)

    @pytest.mark.parametrize("kind", ("tiff pages", "fits cube", "hdf5"))
    def test_all_frames_of_a_file_that_is_gone_are_named(self, kind, tmp_path):
        series = stored(kind, frames_of(3), tmp_path)
        os.unlink(series.files(0, 3)[0])
        _, report = ks.accumulate(series, "mean", on_error="skip", workers=1)
        assert [name for name, _ in report.failed] == list(series.names)

    @pytest.mark.parametrize("kind", KINDS)
    def test_some_of_the_frames_are_a_series_too(self, kind, tmp_path):
        frames = frames_of(11, (5, 8))
        series = stored(kind, frames, tmp_path)
        for part in (slice(2, 9), slice(None, None, 3), slice(-3, None), slice(None, None, -1)):
            some = series[part]
            assert (some.bits, some.bayer, some.names) == (series.bits, series.bayer, series.names[part])
            np.testing.assert_array_equal(list(some), frames[part])
            np.testing.assert_array_equal(pickle.loads(pickle.dumps(some))[1], frames[part][1])
            assert digest(ks.accumulate(some, "mean", workers=2, frames_per_part=2)[0]) == digest(
                accumulator(frames[part], ("mean",), bits=series.bits))
        assert series[3:5][1:].names == series.names[4:5]
        with pytest.raises(ValueError, match="at least one frame"):
            series[5:5]

    def test_parts_of_other_frames_are_not_resumed(self, tmp_path):
        series = stored("hdf5", frames_of(6), tmp_path)
        options = {"work": tmp_path / "work", "resume": True, "workers": 1}
        for part, resumed in ((slice(3), 0), (slice(3, 6), 0), (slice(3), 3)):
            sums, report = ks.accumulate(series[part], "mean", **options)
            assert report.resumed == resumed and digest(sums) == digest(accumulator(frames_of(6)[part], ("mean",)))

    def test_depth_and_pattern_come_from_files_and_arguments(self, tmp_path):
        series = stored("tiff files", frames_of(1), tmp_path)
        assert (series.bits, series.bayer) == (12, "GRBG")
        other = ks.open_series(tmp_path / "dark0.tif", bits=14, bayer="RGGB")
        assert (other.bits, other.bayer) == (14, "RGGB")
        for wrong in ({"bits": 17}, {"bits": 0}, {"bits": -1}, {"bayer": "XYZW"}):
            with pytest.raises(ValueError, match=next(iter(wrong))):
                ks.open_series(tmp_path / "dark0.tif", **wrong)

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


def half(frame):
    return ko.Frame(np.asarray(frame) // 2, frame.bits - 1, frame.bayer)


class TestMap:
    def test_frames_are_what_the_function_makes(self, tmp_path):
        frames = frames_of(5)
        series = stored("tiff files", frames, tmp_path).map(half)
        assert (len(series), series.bits, series.bayer) == (5, 11, "GRBG")
        np.testing.assert_array_equal(list(series), frames // 2)
        for scheduler in (None, "processes"):
            sums, _ = ks.accumulate(series, "mean", scheduler=scheduler, workers=2, frames_per_part=2)
            assert digest(sums) == digest(accumulator(frames // 2, ("mean",), bits=11))
        assert series.map(lambda frame: np.asarray(frame)[:2]).shape == (2, 17)

    def test_another_function_makes_other_parts(self, tmp_path):
        series = stored("hdf5", frames_of(6), tmp_path)
        options = {"work": tmp_path / "work", "resume": True, "workers": 1}
        for level, resumed in ((1, 0), (2, 0), (1, 6)):
            mapped = series.map(lambda frame, level=level: np.asarray(frame) // level)
            assert ks.accumulate(mapped, "mean", **options)[1].resumed == resumed

    def test_a_function_that_fails_names_the_frame(self, tmp_path):
        def refuse(frame):
            if np.asarray(frame)[0, 0] == 7:
                raise ValueError("seven")
            return frame
        frames = np.zeros((4, 2, 2), "u2")
        frames[2] = 7
        series = stored("hdf5", frames, tmp_path).map(refuse)
        _, report = ks.accumulate(series, "mean", on_error="skip", workers=1)
        assert [(name[-3:], message) for name, message in report.failed] == [("[2]", "seven")]


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

    def test_many_parts_are_merged_in_a_tree(self, tmp_path):
        frames = frames_of(40, (4, 5))
        series = stored("hdf5", frames, tmp_path)
        for scheduler in (None, "processes"):
            sums, _ = ks.accumulate(series, *EVERYTHING, level=2000, scheduler=scheduler, workers=2, frames_per_part=1,
                                    work=tmp_path / "work")
            assert digest(sums) == digest(accumulator(frames, bits=16))
        assert len(list((tmp_path / "work").iterdir())) == 80, "a record and its sums per part, and nothing else"

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
            green = frame[..., 1].astype(float)
            bends = 4 * green[1:-1, 1:-1] - green[:-2, 1:-1] - green[2:, 1:-1] - green[1:-1, :-2] - green[1:-1, 2:]
            assert row["focus"] == pytest.approx(bends.var())

    def test_the_focus_figure_falls_with_blur(self, tmp_path):
        sharp = frames_of(1, (400, 300))[0]
        frames = [sharp] + [ko.resize(ko.resize(sharp, (400 // less, 300 // less)), (400, 300)) for less in (2, 4, 8)]
        rows, _ = ks.describe(stored("hdf5", np.array(frames), tmp_path), workers=1)
        figures = [row["focus"] for row in rows]
        assert figures == sorted(figures, reverse=True) and figures[0] > 4 * figures[1]

    def test_the_focus_figure_does_not_see_the_colours_of_a_mosaic(self, tmp_path):
        mosaic = np.tile(np.array([[100, 900], [500, 3000]], "u2"), (20, 20))
        stored("hdf5", np.array([mosaic, mosaic]), tmp_path)
        for bayer, flat in (("RGGB", True), (None, False)):
            series = ks.open_series(tmp_path / "stack.h5", dataset="scan/frames", bayer=bayer)
            assert [row["focus"] == 0 for row in ks.describe(series, workers=1)[0]] == [flat, flat]
        small = stored("fits cube", np.ones((2, 2, 5), "u2"), tmp_path)
        assert ks.describe(small, workers=1)[0][0]["focus"] == 0
