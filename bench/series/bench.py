#!/usr/bin/env python3
"""Measures series of frames beside a plain loop and beside other libraries on Dask, and writes the table.

usage: bench.py TABLE SCRATCH [FRAMES]

SCRATCH keeps the frames that the tool ko simulates (KO_TOOL names it), for the next run.
"""
import datetime
import json
import os
import platform
import statistics
import subprocess
import sys
import threading
from pathlib import Path

import compressors
import cv2
import dask
import h5py
import numpy as np
import psutil
import tifffile

sys.path.insert(0, str(Path(__file__).parents[1]))
from machine import processor, write_page  # noqa: E402

SIDE, BITS = 2048, 12
# Mosaics that differ. The others are the same again, which no contender knows, so that the file stays in memory.
DIFFERENT = 16

# Frames that the slow contenders get: their time and memory grow with every frame.
FEW = 64
# Runs of each of the others, in turns, every second time backwards.
ROUNDS = 5

# What the table calls a contender, its function, its workers.
OURS = (
    ("two plain loops at once, half of the frames each", "plain", 2),
    ("plain loop in one process", "plain", 1),
    ("koimproc.series, threads", "ours", 1),
    ("koimproc.series, threads", "ours", 2),
    ("koimproc.series, processes", "processes", 1),
    ("koimproc.series, processes", "processes", 2),
)
HALVES = "plain", 2
OTHERS = (
    ("NumPy and Dask", "numpy_and_dask", 1),
    ("NumPy and Dask", "numpy_and_dask", 2),
    ("OpenCV and Dask", "cv2_and_dask", 1),
    ("OpenCV and Dask", "cv2_and_dask", 2),
)

HEAD = """# Performance of series

Simulated mosaics of {side} x {side} samples and 12 bits are corrected by a dark frame and a flat field and get
their colours back; then the histogram of each colour, and mean and variance of every sample over all frames are formed.
`./dev bench series` writes the section of the processor that it runs on. The figures are medians of {rounds} runs in turns
for the first {ours} rows, one run for the others; ratios and how many times as fast something is are medians over the
rounds, whose runs follow each other. The frames are in an HDF5 file without compression, {different} different
ones again and again, so that they are read from memory and not from a disk. The others get at most {few} frames: they are
slow, and need more memory with every frame. What they take at the start is a small part of that.

koimproc demosaics by Malvar, He and Cutler, the others bilinearly, which is less work. What each contender calls stands in
`bench/series/contenders.py`. Memory is the largest sum of resident memory of all processes of a contender, looked at ten
times a second.

Python, NumPy and h5py have been loaded when the clock starts. What else a contender imports, the start of its processes,
and mean and variance at the end count. So the plain loop and koimproc.series do the same: import koimproc, read dark frame, flat and
frames from the same file in memory, work on every frame with one thread, and divide the sums with as many
threads as they have workers. Two plain loops at once show what this machine gives to a second worker: they share
nothing, and nobody joins their results.

The second table of a section is about one of these frames and what Zarr can compress with; processor time of one thread.
Sizes are in percent of 16 bits per sample. koimproc.series writes Zarr arrays with lz4, bits shuffled.
"""

SECTION = """## {processor}

Latest run: {date}, {cpus} processors, load {load:.1f} when it began; Python {python}, NumPy {numpy}, OpenCV {opencv}, Dask
{dask}.

| contender | workers | frames | seconds | frames/s | times the time of koimproc.series with as many threads, per frame | peak memory, MiB |
|---|---|---|---|---|---|---|
"""


def ratio_text(ratio):
    return f"{ratio:.2f}" if ratio < 10 else f"{ratio:.0f}"


def simulate(colour, out, *arguments):
    scene = out.with_suffix(".scene.tif")
    tifffile.imwrite(scene, colour, photometric="rgb")
    subprocess.run([os.environ["KO_TOOL"], "simulate", scene, "-o", out, "--bits", str(BITS), *arguments],
                   check=True, stdout=subprocess.DEVNULL)
    scene.unlink()
    samples = tifffile.imread(out) >> (16 - BITS)
    out.unlink()
    return samples


def make_frames(path, count):
    """Frames, dark frame and flat in one file."""
    random = np.random.default_rng(1)
    coarse = random.random((SIDE // 32, SIDE // 32, 3), np.float32)
    scene = (np.clip(cv2.resize(coarse, (SIDE, SIDE), interpolation=cv2.INTER_CUBIC), 0, 1) * 65535).astype(np.uint16)
    picture = path.with_suffix(".tif")
    light = ("--noise", "20", "--vignette", "0.5")
    different = [simulate(scene, picture, *light, "--seed", str(seed)) for seed in range(min(count, DIFFERENT))]
    unfinished = path.with_suffix(".part")
    with h5py.File(unfinished, "w") as file:
        file["dark"] = simulate(np.full_like(scene, 1500), picture, "--noise", "4")
        file["flat"] = simulate(np.full_like(scene, 50000), picture, "--noise", "4", "--vignette", "0.5")
        stored = file.create_dataset("different", (len(different), SIDE, SIDE), "u2", chunks=(1, SIDE, SIDE))
        for index, frame in enumerate(different):
            stored[index] = frame
        for name, length in (("frames", count), ("half", count // 2), ("few", min(count, FEW))):
            frames = h5py.VirtualLayout((length, SIDE, SIDE), "u2")
            for start in range(0, length, len(different)):
                stop = min(start + len(different), length)
                frames[start:stop] = h5py.VirtualSource(stored)[:stop - start]
            file.create_virtual_dataset(name, frames)
    unfinished.rename(path)


def resident(process):
    """Bytes of a process and of those that it started."""
    total = 0
    for one in [process, *process.children(recursive=True)]:
        try:
            total += one.memory_info().rss
        except psutil.NoSuchProcess:
            pass
    return total


def measure(name, workers, path, dataset):
    """Seconds, digests and peak memory."""
    loops = workers if name == "plain" else 1
    environment = {**os.environ, "OMP_NUM_THREADS": str(workers // loops), "OMP_WAIT_POLICY": "passive"}
    dataset = "half" if loops == 2 else dataset
    command = [sys.executable, "-B", Path(__file__).with_name("contenders.py"), name, str(workers), path, dataset]
    running = [subprocess.Popen(command, stdout=subprocess.PIPE, env=environment, text=True) for _ in range(loops)]
    peak, ended = 0, threading.Event()

    def watch():
        nonlocal peak
        processes = [psutil.Process(process.pid) for process in running]
        # To look takes more than a millisecond, on processors that are all in use.
        while not ended.wait(0.1):
            try:
                peak = max(peak, sum(map(resident, processes)))
            except psutil.NoSuchProcess:
                return

    watcher = threading.Thread(target=watch)
    watcher.start()
    said = [json.loads(process.communicate()[0] or "{}") for process in running]
    ended.set()
    watcher.join()
    if any(process.returncode != 0 for process in running):
        sys.exit(f"{name} failed")
    return {"seconds": max(one["seconds"] for one in said), "digest": said[0]["digest"], "peak": peak}


def measure_all(path, count):
    """The runs of every row of the table."""
    few = min(count, FEW)
    runs = {}
    turns = [row for turn in range(ROUNDS) for row in OURS[::-1 if turn % 2 else 1]]
    rows = [(*row, "frames", count) for row in turns] + [(*row, "few", few) for row in OTHERS]
    for label, name, workers, dataset, frames in rows:
        run = measure(name, workers, path, dataset)
        runs.setdefault((label, name, workers, frames), []).append(run)
        print(label, workers, run, file=sys.stderr, flush=True)
    if len({run["digest"] for key, found in runs.items() for run in found if key[:3] in OURS and key[1:3] != HALVES}) != 1:
        sys.exit("the results of koimproc differ")
    return runs


def section_head(load):
    return SECTION.format(date=datetime.date.today(), processor=processor(), cpus=os.cpu_count(), load=load,
                          python=platform.python_version(), numpy=np.__version__, opencv=cv2.__version__,
                          dask=dask.__version__)


def times(runs, one, other):
    """How many times the time of the other one takes: the median over the rounds, whose runs follow each other."""
    seconds = {key[1:3]: [run["seconds"] for run in found] for key, found in runs.items()}
    return statistics.median(first / second for first, second in zip(seconds[one], seconds[other]))


def table_of(runs, count):
    """The rows and what follows from them."""
    seconds = {key[1:3]: statistics.median(run["seconds"] for run in found) for key, found in runs.items()}
    text = ""
    for (label, name, workers, frames), found in runs.items():
        taken, peak = seconds[name, workers], max(run["peak"] for run in found)
        in_turns = len(found) == ROUNDS
        ratio = times(runs, (name, workers), ("ours", workers)) if in_turns else taken / seconds["ours", workers]
        ratio *= count / frames
        text += (f"| {label} | {workers} | {frames} | {taken:.1f} | {frames / taken:.1f} | {ratio_text(ratio)} | "
                 f"{peak / 2**20:.0f} |\n")
    overhead = times(runs, ("ours", 1), ("plain", 1)) - 1
    text += (f"\nkoimproc.series takes {abs(100 * overhead):.1f} % {'more' if overhead > 0 else 'less'} time than the plain "
             "loop.\n")
    text += (f"Two threads are {times(runs, ('ours', 1), ('ours', 2)):.2f} times as fast as one, two processes "
             f"{times(runs, ('processes', 1), ('processes', 2)):.2f} times, two plain loops\n"
             f"{times(runs, ('plain', 1), HALVES):.2f} times. The results of the other rows of koimproc are the same, bit for "
             "bit.\n")
    return text


def main():
    table, scratch = Path(sys.argv[1]), Path(sys.argv[2])
    count = int(sys.argv[3] if len(sys.argv) > 3 else os.environ.get("KO_FRAMES", 512))
    load = os.getloadavg()[0]
    scratch.mkdir(parents=True, exist_ok=True)
    path = scratch / f"halves-{count}.h5"
    if not path.exists():
        make_frames(path, count)
    text = section_head(load) + table_of(measure_all(path, count), count) + "\n"
    with h5py.File(path, "r") as file:
        text += "\n".join(compressors.table(file["frames"][0])) + "\n"
    write_page(table, HEAD.format(side=SIDE, rounds=ROUNDS, ours=len(OURS), different=DIFFERENT, few=FEW), text)


if __name__ == "__main__":
    main()
