"""Frames with samples beyond the depth of their series fail like damaged files."""
import h5py
import numpy as np
import pytest
from series_support import EVERYTHING, accumulator, bytes_in, digest, frames_of

import koimproc as ko
from koimproc import series as ks

BAD = (4, 7)
NAMES = [f"[{index}]" for index in BAD]


@pytest.fixture
def stack(tmp_path):
    """A series of 12 bits, of which two frames are not; and its good frames."""
    frames = frames_of(11, (16, 20))
    frames[4, 3, 5] = 4096
    frames[7] |= 0x8000
    with h5py.File(tmp_path / "stack.h5", "w") as file:
        file["frames"] = frames
    return ks.open_series(tmp_path / "stack.h5", dataset="frames", bits=12, bayer="RGGB"), np.delete(frames, BAD, 0)


def failed(report):
    assert all("more than its 12 bits" in message for _, message in report.failed)
    return sorted(name[-3:] for name, _ in report.failed)


def test_they_are_named_where_they_are_read(stack):
    series, _ = stack
    with pytest.raises(ks.FrameError, match=r"stack.h5\[4\]: has a sample of 4096, more than its 12 bits"):
        series[4]
    with series.reader() as read, pytest.raises(ks.FrameError, match=r"\[7\]"):
        read(-4)
    assert series[3].max() < 4096


@pytest.mark.parametrize("what, scheduler, work", [
    *(((name,), None, work) for name in EVERYTHING for work in (False, True)), (EVERYTHING, None, True),
    (EVERYTHING, "processes", False)])
def test_every_accumulator_leaves_them_out(what, scheduler, work, stack, tmp_path):
    series, good = stack
    options = {"level": 2000 if "above" in what else None, "scheduler": scheduler, "workers": 2}
    if work:
        options["work"] = tmp_path / "work"
    for length in (3,) if scheduler else (1, 64, 3):
        if not scheduler:
            with pytest.raises(ks.FrameError, match=r"\[[47]\]: has a sample"):
                ks.accumulate(series, *what, frames_per_part=length, **options)
        sums, report = ks.accumulate(series, *what, on_error="skip", frames_per_part=length, **options)
        assert (failed(report), report.done) == (NAMES, 9)
        assert digest(sums) == digest(accumulator(good, what, bits=12))
    if work:
        again, report = ks.accumulate(series, *what, on_error="skip", frames_per_part=3, resume=True, **options)
        assert (failed(report), report.resumed, digest(again)) == (NAMES, 9, digest(sums))


@pytest.mark.parametrize("what", ["hist", "mean"])
def test_results_of_functions_count_as_frames(what, stack):
    series, good = stack
    shifted = series.map(lambda frame: ko.Frame(np.asarray(frame) + (4096 if np.asarray(frame)[0, 0] == good[2, 0, 0] else 0),
                                                12, "RGGB"))
    sums, report = ks.accumulate(shifted, what, on_error="skip", workers=1)
    assert failed(report) == ["[2]", *NAMES] and digest(sums) == digest(accumulator(np.delete(good, 2, 0), (what,), bits=12))


def test_describing_leaves_them_out(stack):
    series, good = stack
    rows, report = ks.describe(series, on_error="skip", workers=2, frames_per_part=3)
    assert [row["maximum"] for row in rows] == [frame.max() for frame in good] and failed(report) == NAMES
    with pytest.raises(ks.FrameError, match=r"\[4\]"):
        ks.describe(series, workers=1)


@pytest.mark.parametrize("scheduler, out", [(None, "out"), (None, "out.zarr"), ("processes", "out.zarr")])
def test_recipes_and_calibration_leave_them_out(scheduler, out, stack, tmp_path):
    series, good = stack
    flat = np.full((16, 20), 2000, "u2")
    for name, work in (("run", lambda *where, **options: ks.run({"operations": [{"op": "demosaic"}]}, *where, **options)),
                       ("calibrate", lambda *where, **options: ks.calibrate(*where, flat=flat, **options))):
        options = {"scheduler": scheduler, "workers": 2, "frames_per_part": 3}
        place = tmp_path / name / out
        report = work(series, place, on_error="skip", **options)
        assert (failed(report), report.done) == (NAMES, 9)
        again = work(series, place, on_error="skip", resume=True, **options)
        assert (failed(again), again.resumed) == (NAMES, 9)
        assert len([file for file in bytes_in(place) if not file.startswith(".z")]) == 9
        with pytest.raises(ks.FrameError, match=r"\[4\]: has a sample of 4096"):
            work(series, place, **{**options, "scheduler": None, "workers": 1})


def test_samples_of_all_bits_are_never_beyond(tmp_path):
    with h5py.File(tmp_path / "stack.h5", "w") as file:
        file["wide"] = np.full((2, 3, 4), 65535, "u2")
        file["narrow"] = np.full((2, 3, 4), 255, "u1")
    for dataset in ("wide", "narrow"):
        series = ks.open_series(tmp_path / "stack.h5", dataset=dataset)
        assert ks.accumulate(series, "mean", "hist", workers=1)[0].frames == 2
