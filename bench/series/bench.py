#!/usr/bin/env python3
"""Measures series of frames beside a plain loop and beside other libraries on Dask, and writes the table.

usage: bench.py TABLE SCRATCH [FRAMES]

SCRATCH keeps the frames that the tool ko simulates (KO_TOOL names it), for the next run.
"""
import datetime
import json
import os
import platform
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
from machine import processor  # noqa: E402

SIDE, BITS = 2048, 12
# Mosaics that differ. The others are the same again, which no contender knows, so that the file stays in memory.
DIFFERENT = 16

# What the table calls a contender, its function, its workers.
ROWS = (
    ("plain loop in one process", "plain", 1),
    ("koimproc.series, threads", "ours", 1),
    ("koimproc.series, threads", "ours", 2),
    ("koimproc.series, processes", "processes", 1),
    ("koimproc.series, processes", "processes", 2),
    ("NumPy and Dask", "numpy_and_dask", 1),
    ("NumPy and Dask", "numpy_and_dask", 2),
    ("OpenCV and Dask", "cv2_and_dask", 1),
    ("OpenCV and Dask", "cv2_and_dask", 2),
)

HEAD = """# Performance of series

{frames} simulated mosaics of {side} x {side} samples and 12 bits are corrected by a dark frame and a flat field and get
their colours back; then the histogram of each colour, and mean and variance of every sample over all frames are formed.
Written by `./dev bench series` on {date} on {processor}, {cpus} processors, load {load:.1f} when it began; Python {python},
NumPy {numpy}, OpenCV {opencv}, Dask {dask}. One run of each, one after the other. The frames are in an HDF5 file without
compression, {different} different ones again and again, so that they are read from memory and not from a disk.

koimproc demosaics by Malvar, He and Cutler, the others bilinearly, which is less work. What each contender calls stands in
`bench/series/contenders.py`. Memory is the largest sum of resident memory of all processes of a contender.

| contender | workers | seconds | frames/s | times the time of koimproc.series with as many threads | peak memory, MiB |
|---|---|---|---|---|---|
"""


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
        frames = h5py.VirtualLayout((count, SIDE, SIDE), "u2")
        for start in range(0, count, len(different)):
            stop = min(start + len(different), count)
            frames[start:stop] = h5py.VirtualSource(stored)[:stop - start]
        file.create_virtual_dataset("frames", frames)
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


def measure(name, workers, path):
    """Seconds, digest and peak memory."""
    environment = {**os.environ, "OMP_NUM_THREADS": "1", "OMP_WAIT_POLICY": "passive"}
    command = [sys.executable, "-B", Path(__file__).with_name("contenders.py"), name, str(workers), path]
    running = subprocess.Popen(command, stdout=subprocess.PIPE, env=environment, text=True)
    peak, ended = 0, threading.Event()

    def watch():
        nonlocal peak
        process = psutil.Process(running.pid)
        while not ended.wait(0.02):
            try:
                peak = max(peak, resident(process))
            except psutil.NoSuchProcess:
                return

    watcher = threading.Thread(target=watch)
    watcher.start()
    said, _ = running.communicate()
    ended.set()
    watcher.join()
    if running.returncode != 0:
        sys.exit(f"{name} failed")
    return {**json.loads(said), "peak": peak}


def main():
    table, scratch = Path(sys.argv[1]), Path(sys.argv[2])
    count = int(sys.argv[3] if len(sys.argv) > 3 else os.environ.get("KO_FRAMES", 512))
    load = os.getloadavg()[0]
    scratch.mkdir(parents=True, exist_ok=True)
    path = scratch / f"mosaics-{count}.h5"
    if not path.exists():
        make_frames(path, count)
    found = {}
    for label, name, workers in ROWS:
        found[name, workers] = measure(name, workers, path)
        print(label, workers, found[name, workers], file=sys.stderr, flush=True)
    if len({found[name, workers]["digest"] for _, name, workers in ROWS[:5]}) != 1:
        sys.exit("the results of koimproc differ")
    text = HEAD.format(frames=count, side=SIDE, date=datetime.date.today(), processor=processor(), cpus=os.cpu_count(),
                       load=load, python=platform.python_version(), numpy=np.__version__, opencv=cv2.__version__,
                       dask=dask.__version__, different=min(count, DIFFERENT))
    for label, name, workers in ROWS:
        row, ours = found[name, workers], found["ours", workers]
        text += (f"| {label} | {workers} | {row['seconds']:.1f} | {count / row['seconds']:.1f} | "
                 f"{row['seconds'] / ours['seconds']:.2f} | {row['peak'] / 2**20:.0f} |\n")
    overhead = found["ours", 1]["seconds"] / found["plain", 1]["seconds"] - 1
    text += (f"\nThe engine adds {100 * overhead:.1f} % to the plain loop. Two threads are "
             f"{found['ours', 1]['seconds'] / found['ours', 2]['seconds']:.2f} times as fast as one, two processes "
             f"{found['processes', 1]['seconds'] / found['processes', 2]['seconds']:.2f} times. The results of the first "
             "five rows are the same, bit for bit.\n")
    text += ("\n## Compressors\n\nOne of these frames, by what Zarr can compress with; processor time of one thread. Sizes are in "
             "percent of 16 bits per\nsample. koimproc.series writes Zarr arrays with lz4, bits shuffled.\n\n")
    with h5py.File(path, "r") as file:
        text += "\n".join(compressors.table(file["frames"][0])) + "\n"
    table.write_text(text)


if __name__ == "__main__":
    main()
