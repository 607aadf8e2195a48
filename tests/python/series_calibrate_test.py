"""Calibrating: maps of defective pixels, and flat fields with and without them."""
import os
import subprocess

import numpy as np
import pytest
from series_support import bytes_in, frames_of, stored

import koimproc as ko
from koimproc import series as ks


def test_calibrating_is_the_flat_field_of_the_tool(tmp_path):
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
    assert bytes_in(tmp_path / "out") == bytes_in(tmp_path / "tool")


SHAPE = (24, 30)
HOT, DEAD, BRIGHT, NOISY = (3, 4), (10, 11), (20, 7), (15, 28)


def darks_and_flats(tmp_path, bayer="GRBG"):
    """Frames of a sensor with noise, dark corners, unequal colours, and four pixels that are not right."""
    random = np.random.default_rng(5)
    level = np.fromfunction(lambda y, x: 3000 - 2 * ((y - 12) ** 2 + (x - 15) ** 2), SHAPE)
    level[::2, 1::2] /= 2
    darks = random.normal(100, 3, (20, *SHAPE))
    flats = random.normal(level, 10, (20, *SHAPE))
    darks[(slice(None), *HOT)] += 900
    darks[(slice(None), *NOISY)] += random.choice((-60, 60), 20)
    flats[(slice(None), *DEAD)] = 90
    flats[(slice(None), *BRIGHT)] *= 1.5
    opened = []
    for name, frames in (("darks", darks), ("flats", flats)):
        (tmp_path / name).mkdir()
        for index, frame in enumerate(frames):
            ks.write_frame(tmp_path / name / f"{index}.tif", np.clip(frame, 0, 4095).round().astype("u2"), 12, bayer)
        opened.append(ks.open_series(tmp_path / name / "*.tif"))
    return opened


def marked(defects):
    return sorted(map(tuple, np.argwhere(defects).tolist()))


def test_the_four_kinds_of_defects_are_found_and_nothing_else(tmp_path):
    darks, flats = darks_and_flats(tmp_path)
    assert marked(ks.find_defects(darks, flats, workers=1)) == sorted([HOT, DEAD, BRIGHT, NOISY])
    assert marked(ks.find_defects(darks, workers=1)) == sorted([HOT, NOISY])
    assert marked(ks.find_defects(flats=flats, workers=1)) == sorted([DEAD, BRIGHT])
    assert marked(ks.find_defects(darks, flats, hot=0.5, noisy=99, dead=0.6, workers=1)) == [DEAD]
    with pytest.raises(ValueError, match="darks or flats are wanted"):
        ks.find_defects()


def test_a_map_does_not_depend_on_parts_and_workers(tmp_path):
    darks, flats = darks_and_flats(tmp_path)
    maps = [ks.find_defects(darks, flats, workers=workers, frames_per_part=length).tobytes()
            for workers, length in ((1, 64), (2, 3), (4, 1))]
    assert len(set(maps)) == 1


def test_channels_share_a_map(tmp_path):
    frames = np.full((3, 9, 9, 3), 100, "u1")
    frames[:, 2, 3, 1] = 255
    assert marked(ks.find_defects(stored("hdf5", frames, tmp_path), workers=1)) == [(2, 3)]


def test_defects_are_corrected_before_the_flat_field(tmp_path):
    darks, flats = darks_and_flats(tmp_path)
    dark, flat = ks.master(darks, workers=1), ks.master(flats, workers=1)
    defects = ks.find_defects(darks, flats, workers=1)
    frames = [np.asarray(flats[index]) for index in range(3)]
    for directory, change in (("plain", lambda frame: frame), ("fixed", lambda frame: np.asarray(
            ko.correct_defects(ko.Frame(frame, 12, "GRBG"), defects)))):
        (tmp_path / directory).mkdir()
        for index, frame in enumerate(frames):
            ks.write_frame(tmp_path / directory / f"{index}.tif", change(frame), 12, "GRBG")
    fixed = ks.open_series(tmp_path / "fixed" / "*.tif")
    corrected = {name: np.asarray(ko.correct_defects(ko.Frame(frame, 12, "GRBG"), defects))
                 for name, frame in (("dark", dark), ("flat", flat))}
    ks.calibrate(fixed, tmp_path / "expected", workers=1, **corrected)
    plain = ks.open_series(tmp_path / "plain" / "*.tif")
    for workers, length in ((1, 64), (2, 1)):
        out = tmp_path / f"out{workers}"
        ks.calibrate(plain, out, dark=dark, flat=flat, defects=defects, workers=workers, frames_per_part=length)
        assert bytes_in(out) == bytes_in(tmp_path / "expected")
    again = ks.calibrate(plain, out, dark=dark, flat=flat, defects=defects, workers=2, frames_per_part=1, resume=True)
    assert again.resumed == 3
    defects[0, 0] = True
    again = ks.calibrate(plain, out, dark=dark, flat=flat, defects=defects, workers=2, frames_per_part=1, resume=True)
    assert again.resumed == 0, "another map"
    with pytest.raises(ValueError, match="defects"):
        ks.calibrate(plain, out, flat=flat, defects=defects[1:])


def test_a_frame_is_written_with_what_it_means(tmp_path):
    samples = frames_of(1, (6, 8))[0]
    path = tmp_path / "a.tif"
    for frame, options, bits, bayer in (
            (ko.Frame(samples, 12, "GRBG"), (), 12, "GRBG"), (ko.Frame(samples, 12, "GRBG"), (14, "RGGB"), 14, "RGGB"),
            (samples, (), 16, None), (samples.astype(">u2"), (12,), 12, None)):
        ks.write_frame(path, frame, *options)
        read = ko.imread(path)
        assert (read.bits, read.bayer) == (bits, bayer) and np.array_equal(read, samples)


@pytest.mark.parametrize("frame, options, argument", [
    (np.full((2, 2), 256, "u2"), (8,), "frame"), (np.zeros((2, 2), "u2"), (17,), "bits"), (np.zeros((2, 2), "u2"), (0,), "bits"),
    (np.zeros((2, 2), "u2"), (12, "RGB"), "bayer"), (np.zeros(2, "u2"), (), "frame"), ([[1]], (), "frame"),
    (np.zeros((2, 2), "f4"), (), "frame")])
def test_a_frame_that_no_file_holds_is_not_written(frame, options, argument, tmp_path):
    with pytest.raises((ko.ArgumentError, ko.SampleTypeError)) as raised:
        ks.write_frame(tmp_path / "a.tif", frame, *options)
    assert raised.value.argument == argument and not list(tmp_path.iterdir())


@pytest.mark.parametrize("call, argument", [
    (lambda series, out: ks.accumulate("darks/*.tif", "mean"), "series"),
    (lambda series, out: ks.run({"operations": []}, series.names, out), "series"),
    (lambda series, out: ks.find_defects(flats=series.names), "flats"),
    (lambda series, out: ks.find_defects(series, hot=float("nan")), "hot"),
    (lambda series, out: ks.find_defects(series, noisy=-1), "noisy"),
    (lambda series, out: ks.find_defects(series, dead="0.3"), "dead"),
    (lambda series, out: ks.calibrate(series, out, flat=[1]), "flat"),
    (lambda series, out: ks.calibrate(series, out, flat=series[0][:3]), "flat"),
    (lambda series, out: ks.calibrate("darks/*.tif", out, flat=series[0]), "series"),
    (lambda series, out: ks.accumulate(series, "mean", workers=1.5), "workers"),
    (lambda series, out: ks.accumulate(series, "mean", frames_per_part=0), "frames_per_part"),
    (lambda series, out: ks.run({"operations": [object()]}, series, out), "recipe"),
    (lambda series, out: ks.Accumulator("mean").merge(3), "other")])
def test_wrong_arguments_are_named(call, argument, tmp_path):
    series = stored("tiff files", frames_of(2, (6, 8)), tmp_path)
    with pytest.raises((ko.ArgumentError, ko.SampleTypeError)) as raised:
        call(series, tmp_path / "out")
    assert raised.value.argument == argument


def test_frames_divide_as_their_arrays_do(tmp_path):
    series = stored("tiff files", frames_of(2, (6, 8)), tmp_path)
    flat = np.full((6, 8), 2000, "u2")
    ks.calibrate(series, tmp_path / "a", flat=flat, workers=1)
    ks.calibrate(series, tmp_path / "b", flat=ko.Frame(flat, 12, "GRBG"), workers=1)
    assert bytes_in(tmp_path / "a") == bytes_in(tmp_path / "b")


def test_what_is_no_accumulator_is_named(tmp_path):
    (tmp_path / "sums").write_bytes(b"II*")
    with pytest.raises(ValueError, match="sums: no accumulator"):
        ks.Accumulator.load(tmp_path / "sums")
