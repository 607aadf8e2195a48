"""What kills, fills and damages leaves nothing half-done behind: nothing is lost and nothing counts twice."""
import os
import random
import signal
import subprocess
import sys
import tempfile
import threading
import time
from functools import partial
from pathlib import Path

import dask
import distributed
import h5py
import numpy as np
import psutil
import pytest
from series_support import EVERYTHING, accumulator, bytes_in, digest, frames_of, stored

from koimproc import series as ks
from koimproc.series._engine import shrinking_lengths, team
from koimproc.series._files import scratch_directory
from koimproc.series._statistics import _lengths

NIGHTLY = bool(os.environ.get("KO_NIGHTLY"))
nightly = pytest.mark.skipif(not NIGHTLY, reason="long; KO_NIGHTLY=1 runs it")
sys.path.insert(0, str(Path(__file__).parents[2] / "bench/series"))

# Every process works on so many frames and on no other, so that a kill finds it at work.
ACCUMULATE = """
import os, sys, time
import numpy as np
from koimproc import series as ks

def some(frame, seen=[]):
    seen.append(frame)
    while len(seen) > int(os.environ.get("KO_SOME", sys.maxsize)):
        time.sleep(1)
    return np.asarray(frame)

def tell(*how_far):
    print(*how_far, flush=True)

if __name__ == "__main__":
    frames, scheduler, work, out = sys.argv[1:]
    series = ks.open_series(frames, dataset="scan/frames").map(some)
    sums, report = ks.accumulate(series, *%r, level=2000, work=work, resume=True, scheduler=scheduler or None, workers=2,
                                 frames_per_part=4, progress=tell)
    assert report.done + report.resumed == len(series) and not report.failed
    sums.save(out)
""" % (EVERYTHING,)
# Parts of four frames that two processes finish at most when each works on ten frames.
PARTS_OF_A_RUN = 4

# Runs a recipe; the third argument limits the size of files, as a disk does that is full.
RUN = """
import resource, sys
from koimproc import series as ks

resource.setrlimit(resource.RLIMIT_FSIZE, (int(sys.argv[3]), int(sys.argv[3])))
series = ks.open_series(sys.argv[1] + "/dark*.tif")
ks.run({"operations": [{"op": "demosaic"}]}, series, sys.argv[2], workers=2, frames_per_part=2, resume=True)
"""


def nothing(number):
    return None


def test_no_other_host_reaches_local_processes():
    with team("processes", 2) as engine:
        engine.do([partial(nothing, number) for number in range(4)], nothing)
        program = psutil.Process()
        ports = [port for process in (program, *program.children(recursive=True))
                 for port in process.connections("inet") if port.status == psutil.CONN_LISTEN]
    assert len(ports) >= 3 and {port.laddr.ip for port in ports} == {"127.0.0.1"}


@pytest.mark.parametrize("scheduler", ["", pytest.param("processes", marks=nightly)])
def test_a_program_that_is_killed_again_and_again_gets_there(scheduler, tmp_path):
    kills = 12 if NIGHTLY else 3
    frames = frames_of(4 * (kills * PARTS_OF_A_RUN + 3), (40, 50))
    stored("hdf5", frames, tmp_path)
    out = tmp_path / "sums"
    (tmp_path / "program.py").write_text(ACCUMULATE)  # processes start by importing it
    command = [sys.executable, tmp_path / "program.py", tmp_path / "stack.h5", scheduler, tmp_path / "work", out]
    for killed in range(kills):
        running = subprocess.Popen(command, stdout=subprocess.PIPE, text=True, env={**os.environ, "KO_SOME": "10"})
        assert running.stdout.readline(), "a part is done"
        time.sleep(random.Random(killed).random() / 20)
        running.kill()
        running.communicate()
        assert running.returncode == -signal.SIGKILL and not out.exists()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    assert digest(ks.Accumulator.load(out)) == digest(accumulator(frames, bits=16))


@nightly
@pytest.mark.parametrize("length", [1, 7, 64])
@pytest.mark.parametrize("workers", [2, 4])
def test_bytes_do_not_depend_on_a_worker_that_dies(length, workers, tmp_path):
    frames = frames_of(200, (40, 50))
    series = stored("hdf5", frames, tmp_path)
    with distributed.LocalCluster(n_workers=workers, threads_per_worker=1, dashboard_address=None,
                                  silence_logs="CRITICAL") as cluster:
        victims = [worker.pid for worker in cluster.workers.values()][:workers - 1]

        def kill(*_):
            if victims:
                os.kill(victims.pop(), signal.SIGKILL)

        sums, report = ks.accumulate(series, *EVERYTHING, level=2000, scheduler=cluster.scheduler_address,
                                     frames_per_part=length, work=tmp_path / "work", progress=kill)
    assert report.done == 200 and digest(sums) == digest(accumulator(frames, bits=16))


def die(frame):
    os._exit(1)


def test_clusters_that_end_and_workers_that_always_die_are_named(tmp_path):
    frames = frames_of(8)
    holding = tmp_path / "holding"

    def held(frame):
        while holding.exists() and np.asarray(frame)[0, 0] != frames[0, 0, 0]:
            time.sleep(0.1)
        return np.asarray(frame)

    series = stored("hdf5", frames, tmp_path).map(held)
    holding.touch()
    options = {"frames_per_part": 1, "work": tmp_path / "work"}
    with distributed.LocalCluster(n_workers=1, threads_per_worker=1, dashboard_address=None,
                                  silence_logs="CRITICAL") as cluster:
        with pytest.raises(ConnectionError, match="the scheduler is gone"):
            ks.accumulate(series, "mean", scheduler=cluster.scheduler_address, progress=lambda *_: cluster.close(), **options)
    holding.unlink()
    _, report = ks.accumulate(series, "mean", workers=1, resume=True, **options)
    assert report.resumed >= 1 and report.resumed + report.done == 8
    with pytest.raises(RuntimeError, match="workers died"), team("processes", 1) as engine:
        engine.do([partial(die, None)], nothing)


@pytest.mark.parametrize("out", ["out", "out.zarr"])
def test_a_full_disk_leaves_whole_results_alone(out, tmp_path):
    random_frames = np.random.default_rng(1).integers(0, 4096, (6, 64, 64), "u2")
    even = np.full((3, 64, 64), 7, "u2")  # these become small files, which fit
    series = stored("tiff files", np.concatenate((even, random_frames)), tmp_path)
    ks.run({"operations": [{"op": "demosaic"}]}, series, tmp_path / f"whole-{out}", workers=1)
    whole = bytes_in(tmp_path / f"whole-{out}")
    command = [sys.executable, "-c", RUN, tmp_path, tmp_path / out]
    full = subprocess.run([*command, "9000"], capture_output=True, text=True)
    assert full.returncode != 0
    left = bytes_in(tmp_path / out)
    assert len(left) < len(whole) and all(whole[name] == contents for name, contents in left.items())
    subprocess.run([*command, "-1"], check=True)
    assert bytes_in(tmp_path / out) == whole


def test_a_frame_that_is_damaged_on_the_way_is_named_and_done_when_it_is_whole_again(tmp_path):
    frames = frames_of(12)
    series = stored("tiff files", frames, tmp_path)
    damaged, damaging = tmp_path / "dark9.tif", tmp_path / "damaging"
    whole = damaged.read_bytes()

    def damage(frame):
        if damaging.exists():
            damaged.write_bytes(whole[:len(whole) // 2])
        return frame

    series = series.map(damage)
    damaging.touch()
    options = {"work": tmp_path / "work", "workers": 1, "frames_per_part": 2}
    with pytest.raises(ks.FrameError, match="dark9.tif"):
        ks.accumulate(series, *EVERYTHING, level=2000, **options)
    _, report = ks.accumulate(series, *EVERYTHING, level=2000, on_error="skip", resume=True, **options)
    assert [Path(name).name for name, _ in report.failed] == ["dark9.tif"]
    damaging.unlink()
    damaged.write_bytes(whole)
    sums, report = ks.accumulate(series, *EVERYTHING, level=2000, resume=True, **options)
    assert report.resumed >= 8 and digest(sums) == digest(accumulator(frames, bits=12))


WORKING, LATE = threading.Event(), []


def fails_while_others_work(frame):
    """Of frame 0, when another thread works on another frame."""
    if np.asarray(frame)[0, 0] == 0:
        WORKING.set()
        time.sleep(0.3)
        LATE.append(True)
    elif WORKING.wait(300):
        raise ValueError("one")
    return np.asarray(frame)


def test_a_failure_waits_for_the_other_threads_and_is_told_as_it_is(tmp_path):
    frames = np.zeros((8, 4, 4), "u2")
    stored("hdf5", frames, tmp_path)
    series = ks.open_series(tmp_path / "stack.h5", dataset="scan/frames").map(fails_while_others_work)
    with h5py.File(tmp_path / "stack.h5", "r+") as file:
        file["scan/frames"][0] = 1
    WORKING.clear()
    LATE.clear()
    with pytest.raises(ks.FrameError, match=r"\[0\]: one"):
        ks.accumulate(series, "mean", workers=2, frames_per_part=1)
    assert LATE, "nobody works on afterwards"


SCRATCH = """
import sys, time
from koimproc.series._files import scratch_directory

with scratch_directory() as directory:
    print(directory, flush=True)
    sys.stdin.read()
"""


def test_what_killed_programs_leave_goes_and_what_others_use_stays(tmp_path, monkeypatch):
    monkeypatch.setattr(tempfile, "tempdir", str(tmp_path))
    (tmp_path / "koimproc-another").mkdir()
    programs = [subprocess.Popen([sys.executable, "-c", SCRATCH], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                                 env={**os.environ, "TMPDIR": str(tmp_path)}) for _ in range(2)]
    left, used = (Path(program.stdout.readline().strip()) for program in programs)
    (left / "frames").mkdir()
    (left / "frames/0").touch()
    with scratch_directory():
        assert left.exists() and used.exists()
    programs[0].kill()
    programs[0].communicate()
    assert left.exists()
    with scratch_directory() as own:
        assert set(tmp_path.iterdir()) == {tmp_path / "koimproc-another", used, Path(own)}
    programs[1].communicate()
    assert programs[1].returncode == 0 and list(tmp_path.iterdir()) == [tmp_path / "koimproc-another"]


def write_settings(path):
    settings = (os.environ.get("MALLOC_TRIM_THRESHOLD_"), dask.config.get("distributed.worker.profile.enabled"))
    Path(path).write_text(repr(settings))


def test_processes_keep_memory_that_they_have_freed_and_are_not_watched(tmp_path, monkeypatch):
    monkeypatch.delenv("MALLOC_TRIM_THRESHOLD_", raising=False)  # other clusters of this program set it
    with team("processes", 1) as engine:
        engine.do([partial(write_settings, tmp_path / "found")], nothing)
    assert (tmp_path / "found").read_text() == "(None, False)" and "MALLOC_TRIM_THRESHOLD_" not in os.environ


@pytest.mark.parametrize("frames, workers", [(512, 2), (70, 2), (5, 2), (1, 4), (1000, 1), (200, 64)])
def test_threads_get_shorter_parts_towards_the_end(frames, workers):
    lengths = shrinking_lengths(frames, 32, 4, workers)
    assert sum(lengths) == frames and min(lengths) >= 1 and max(lengths) <= 32
    assert lengths[-1] <= max(7, frames // (2 * workers))
    assert shrinking_lengths(frames, 1, 1, workers) == [1] * frames


def test_processes_get_as_many_parts_each(tmp_path):
    stored("hdf5", frames_of(5, (4, 4)), tmp_path)
    series = ks.open_series(tmp_path / "stack.h5", dataset="scan/frames")
    like = ks.Accumulator("mean", "var")
    assert _lengths(series, like, "processes", 2, True, False) == [3, 2]
    assert _lengths(series, like, "processes", 2, True, True) == [1] * 5

    class Long:
        dtype = series.dtype

        def __len__(self):
            return 512

    assert _lengths(Long(), like, "processes", 2, True, False) == [128] * 4
    assert _lengths(Long(), like, "processes", 1, True, False) == [128] * 4
    assert _lengths(Long(), like, "tcp://host:1", 2, True, False) == [64] * 8


def test_the_model_knows_how_many_tasks_merge(tmp_path):
    from model import merge_tasks

    from koimproc.series._statistics import _merged

    class Count:
        tasks = 0

        def do(self, tasks, finished):
            self.tasks += len(tasks)

    for parts in (1, 16, 17, 300, 10000):
        count = Count()
        _merged(count, [str(part) for part in range(parts)], tmp_path)
        assert count.tasks == merge_tasks(parts)[0]


@nightly
def test_twenty_thousand_tasks_cost_what_the_model_says():
    from model import predict

    def spent(count):
        begun = time.process_time()
        engine.do([partial(nothing, number) for number in range(count)], nothing)
        return time.process_time() - begun

    def predicted(count, per_task):
        return predict(count, 2, frame_bytes=0, result_bytes=0, seconds=0, store=1, frames_per_part=1, per_task=per_task).scheduling

    with team("processes", 2) as engine:
        spent(200)
        per_task = spent(2000) / 2000
        found = spent(20000)
    print(f"{1000 * found / 20000:.2f} ms of processor time per task")
    assert found < 2 * predicted(20000, per_task), "what a task costs here does not depend on their number"
