"""What kills, fills and damages leaves nothing half-done behind: nothing is lost and nothing counts twice."""
import os
import random
import signal
import subprocess
import sys
import time
from functools import partial
from pathlib import Path

import distributed
import numpy as np
import psutil
import pytest
from series_support import EVERYTHING, accumulator, bytes_in, digest, frames_of, stored

from koimproc import series as ks
from koimproc.series._engine import team

NIGHTLY = bool(os.environ.get("KO_NIGHTLY"))
nightly = pytest.mark.skipif(not NIGHTLY, reason="long; KO_NIGHTLY=1 runs it")
sys.path.insert(0, str(Path(__file__).parents[2] / "bench/series"))

# Takes its time after each part, so that a kill finds it at work.
ACCUMULATE = """
import sys, time
from koimproc import series as ks

def tell(*how_far):
    print(*how_far, flush=True)
    time.sleep(0.1)

if __name__ == "__main__":
    frames, scheduler, work, out = sys.argv[1:]
    sums, report = ks.accumulate(ks.open_series(frames, dataset="scan/frames"), *%r, level=2000, work=work, resume=True,
                                 scheduler=scheduler or None, workers=2, frames_per_part=4,
                                 progress=tell)
    assert report.done + report.resumed == len(ks.open_series(frames, dataset="scan/frames")) and not report.failed
    sums.save(out)
""" % (EVERYTHING,)

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
    frames = frames_of(60 if NIGHTLY else 24, (40, 50))
    stored("hdf5", frames, tmp_path)
    out = tmp_path / "sums"
    command = [sys.executable, "-c", ACCUMULATE, tmp_path / "stack.h5", scheduler, tmp_path / "work", out]
    if scheduler:
        (tmp_path / "program.py").write_text(ACCUMULATE)
        command[1:3] = [tmp_path / "program.py"]
    killed = 0
    while not out.exists():
        running = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
        if running.stdout.readline() and killed < (12 if NIGHTLY else 3):
            time.sleep(random.Random(killed).random() / 20)
            running.kill()
            killed += 1
        running.communicate()
        assert running.returncode in (0, -signal.SIGKILL)
    assert killed >= 3
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
    damaged = tmp_path / "dark9.tif"
    whole = damaged.read_bytes()

    def damage(done, *_):
        damaged.write_bytes(whole[:len(whole) // 2])

    options = {"work": tmp_path / "work", "workers": 1, "frames_per_part": 2}
    with pytest.raises(ks.FrameError, match="dark9.tif"):
        ks.accumulate(series, *EVERYTHING, level=2000, progress=damage, **options)
    _, report = ks.accumulate(series, *EVERYTHING, level=2000, on_error="skip", resume=True, **options)
    assert [Path(name).name for name, _ in report.failed] == ["dark9.tif"]
    damaged.write_bytes(whole)
    sums, report = ks.accumulate(series, *EVERYTHING, level=2000, resume=True, **options)
    assert report.resumed >= 8 and digest(sums) == digest(accumulator(frames, bits=12))


def test_a_failure_waits_for_the_other_threads_and_is_told_as_it_is(tmp_path):
    frames = np.zeros((8, 4, 4), "u2")
    frames[0, 0, 0] = 1
    is_open, late = [], []

    def slow(frame):
        if np.asarray(frame)[0, 0] == 0:
            time.sleep(0.3)
            late.append(True)
        elif is_open:
            raise ValueError("one")
        return np.asarray(frame)

    series = stored("hdf5", frames, tmp_path).map(slow)
    is_open.append(True)
    with pytest.raises(ks.FrameError, match=r"\[0\]: one"):
        ks.accumulate(series, "mean", workers=2, frames_per_part=1)
    assert late, "nobody works on afterwards"


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
    from model import SECONDS_PER_TASK, predict

    count = 20000
    with team("processes", 2) as engine:
        engine.do([partial(nothing, number) for number in range(200)], nothing)
        begun = time.process_time()
        engine.do([partial(nothing, number) for number in range(count)], nothing)
        spent = time.process_time() - begun
    predicted = predict(count, 2, frame_bytes=0, result_bytes=0, seconds=0, store=1, frames_per_part=1).scheduling
    assert predicted == count * SECONDS_PER_TASK
    print(f"{1000 * spent / count:.2f} ms of processor time per task")
    assert spent < 2 * predicted, "processor time: what else the machine does adds little"
