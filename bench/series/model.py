#!/usr/bin/env python3
"""Predicts how long a series takes on a cluster: the model of docs/series-clusters.md.

usage: model.py FRAMES WORKERS [--frame-bytes N] [--result-bytes N] [--seconds S] [--store BYTES_PER_SECOND]
"""
import argparse
from dataclasses import dataclass

# Measured on two processors of an AMD EPYC: processor time of client and scheduler for each of 20,000 tasks that do
# nothing.
SECONDS_PER_TASK = 0.006
# Of `koimproc.series`: frames of 8.4 MB in a part, accumulators that a task merges.
FRAMES_PER_PART = 32
MERGED = 16


@dataclass(frozen=True)
class Prediction:
    parts: int
    merges: int
    levels: int
    working: float
    reading: float
    scheduling: float
    merging: float

    @property
    def seconds(self):
        """Whatever is slowest sets the pace; the sums are merged afterwards."""
        return max(self.working, self.reading, self.scheduling) + self.merging


def merge_tasks(parts):
    """Tasks and levels of the tree that leaves at most MERGED accumulators."""
    tasks = levels = 0
    while parts > MERGED:
        parts = -(-parts // MERGED)
        tasks, levels = tasks + parts, levels + 1
    return tasks, levels


def predict(frames, workers, *, frame_bytes, result_bytes, seconds, store, sums_bytes=0, frames_per_part=FRAMES_PER_PART,
            per_task=SECONDS_PER_TASK):
    """`seconds` of one processor for a frame, `result_bytes` that a frame leaves behind, `sums_bytes` of an accumulator,
    `store`: bytes per second of the shared store for all workers together, `per_task`: seconds of client and scheduler."""
    parts = -(-frames // frames_per_part)
    merges, levels = merge_tasks(parts) if sums_bytes else (0, 0)
    traffic = frames * (frame_bytes + result_bytes) + parts * sums_bytes
    merged = (parts + 2 * merges + min(parts, MERGED)) * sums_bytes
    return Prediction(
        parts=parts,
        merges=merges,
        levels=levels,
        working=frames * seconds / workers,
        reading=traffic / store,
        scheduling=(parts + merges) * per_task,
        merging=merged / store,
    )


def duration(seconds):
    return f"{seconds:.0f} s" if seconds < 300 else f"{seconds / 60:.0f} min" if seconds < 7200 else f"{seconds / 3600:.1f} h"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("frames", type=int)
    parser.add_argument("workers", type=int)
    parser.add_argument("--frame-bytes", type=float, default=2 * 2048**2)
    parser.add_argument("--result-bytes", type=float, default=0)
    parser.add_argument("--sums-bytes", type=float, default=0)
    parser.add_argument("--seconds", type=float, default=0.03)
    parser.add_argument("--store", type=float, default=2e9)
    parser.add_argument("--frames-per-part", type=int, default=FRAMES_PER_PART)
    options = vars(parser.parse_args())
    found = predict(options.pop("frames"), options.pop("workers"), **options)
    print(f"{found.parts} parts, {found.merges} tasks that merge on {found.levels} levels")
    for name in ("working", "reading", "scheduling", "merging", "seconds"):
        print(f"{name}: {duration(getattr(found, name))}")


if __name__ == "__main__":
    main()
