#!/usr/bin/env python3
"""Measures the Python package beside scikit-image, SciPy, NumPy and OpenCV, and writes the table of the documentation.

usage: bench.py TABLE [FILTER [THREADS...]]

All functions of a row do the same work on the same picture, one after the other in rounds, so that what else the
machine does meets all of them. A figure is the ratio of medians: how many times as long the other library takes, in
processor time for one thread and by the clock for several.
"""
import datetime
import math
import platform
import re
import statistics
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import cv2
import numpy as np
import rows

import koimproc as ko

sys.path.insert(0, str(Path(__file__).parents[1]))
from machine import processor, write_page  # noqa: E402

ROUNDS = 9
SECONDS_PER_ROW = 4.0
SETTLED = 0.005  # seconds
LIBRARIES = ("OpenCV", "scikit-image", "SciPy", "NumPy")
CALLS = 20
SHORT_ROUNDS = 500

HEAD = """# Performance in Python

This page shows how many times as long other libraries take as the functions of `koimproc`, for the same work on the
same pictures of 2048 x 2048 samples. Above 1, koimproc is faster. `./dev bench python` writes the section of the
processor that it runs on. The figures are medians of {rounds} interleaved rounds, fewer where a row takes long; in processor
time for one thread, by the clock for several.

NumPy, SciPy and scikit-image use one thread whatever is allowed. Where a cell is empty, the library has no such
function for these samples. What each row calls stands in `bench/python/rows.py`; results that are rounded or treated at
the edges in another way are compared as the nearest that a library offers. `equalize_hist` takes about twice as long
where the number of samples is no power of two: exact results then need exact sums.

**Cost of a call**: the time of a function on 64 x 64 samples, less that of the same operation of `koimproc.native` on
records that are ready, in microseconds; the least of many rounds. One thread.

**Threads of Python**: two threads that each call a function on a frame of their own for a tenth of a second, with one
thread inside it. The figure is how many times as much they get done as one thread does, by the clock. 2 is the most on
two processors.
"""

SECTION = """## {processor}

Latest run: {date}, {threads} threads in all; Python {python}, NumPy {numpy}, OpenCV {opencv}, scikit-image {skimage}, SciPy
{scipy}.
"""

NOTES = """
## Where OpenCV is ahead

- **Menon's demosaicing of 8 bits** works in floats, as for 12 bits. OpenCV compares four neighbours in bytes, and its
  pictures are 5 dB worse; see [demosaicing](demosaicing.md).
- **Spots of 8 bits**: the flat field is the part that is behind. Its quotients are exact; OpenCV divides in single precision.
  Otsu's threshold and the comparison are ahead.
- **Thresholds** run at the speed of memory, as OpenCV's do, and differ only by the cost of the call. On small pictures
  a call takes 2 to 4 microseconds more than its operation. On large ones, whose samples drive the interpreter out of the
  caches, it takes 10 to 20, where OpenCV's takes 6: a twentieth of the time of a threshold.
"""


def seconds_of(function, clock, number=1):
    start = clock()
    for _ in range(number):
        function()
    return (clock() - start) / number


def medians(functions, clock):
    """Median time of each of several functions, measured in turns.

    As many calls as take a few milliseconds are timed together, with as many before them: after a function that goes
    through much memory, short calls need several until they run as fast as they do in a row. The order is turned round
    from round to round, so that nobody always follows the same one.
    """
    numbers = {name: max(1, round(SETTLED / seconds_of(function, time.perf_counter)))
               for name, function in functions.items()}
    times = {name: [] for name in functions}
    names = list(functions)
    start = clock()
    for _ in range(ROUNDS):
        for name in names:
            seconds_of(functions[name], clock, numbers[name])
            times[name].append(seconds_of(functions[name], clock, numbers[name]))
        names.reverse()
        if clock() - start > SECONDS_PER_ROW:
            break
    return {name: statistics.median(values) for name, values in times.items()}


def least(functions, number):
    """Least time of each of several functions: what else the machine does can only add to it."""
    return {name: min(seconds_of(function, time.perf_counter, number) for _ in range(SHORT_ROUNDS))
            for name, function in functions.items()}


def checked(functions):
    """Those that take these samples at all; the call also warms up."""
    taken = {}
    for library, function in functions.items():
        try:
            function()
        except (cv2.error, ValueError, TypeError, AttributeError):
            if library == "koimproc":
                raise
        else:
            taken[library] = function
    return taken


def geometric_mean(values):
    return math.exp(statistics.fmean(map(math.log, values))) if values else float("nan")


def ratio_text(ratio):
    return f"{ratio:.2f}" if ratio < 10 else f"{ratio:.0f}"


def large_table(wanted, numbers):
    lines = ["", "| function | bits | threads | " + " | ".join(LIBRARIES) + " |",
             "|---|---|---|" + "---|" * len(LIBRARIES)]
    ratios = {}
    for threads in numbers:
        cv2.setNumThreads(threads)
        # Processor time does not count what other programs take; of several threads it is the sum.
        clock = time.process_time if threads == 1 else time.perf_counter
        for bits in (8, 12):
            for name, functions in rows.large(bits).items():
                if not re.search(wanted, name):
                    continue
                with ko.threads(threads):
                    times = medians(checked(functions), clock)
                cells = []
                for library in LIBRARIES:
                    if library in times:
                        ratio = times[library] / times["koimproc"]
                        ratios.setdefault((library, threads), []).append(ratio)
                        cells.append(ratio_text(ratio))
                    else:
                        cells.append("")
                lines.append(f"| {name} | {bits} | {threads} | " + " | ".join(cells) + " |")
                print(lines[-1], file=sys.stderr, flush=True)
    lines += ["", "Geometric means of these ratios:", "",
              "| threads | " + " | ".join(LIBRARIES) + " | scikit-image and SciPy |",
              "|---|" + "---|" * (len(LIBRARIES) + 1)]
    for threads in numbers:
        both = ratios.get(("scikit-image", threads), []) + ratios.get(("SciPy", threads), [])
        means = [geometric_mean(ratios.get((library, threads), [])) for library in LIBRARIES] + [geometric_mean(both)]
        lines.append(f"| {threads} | " + " | ".join(map(ratio_text, means)) + " |")
    return lines


def small_table(wanted):
    lines = ["", "| cost of a call | microseconds beside the work |", "|---|---|"]
    with ko.threads(1):
        for name, (function, operation) in rows.small().items():
            if re.search(wanted, name):
                times = least({"function": function, "operation": operation}, CALLS)
                lines.append(f"| {name} | {1e6 * (times['function'] - times['operation']):.1f} |")
                print(lines[-1], file=sys.stderr, flush=True)
    return lines


def repeated(function, calls):
    def run():
        for _ in range(calls):
            function()
    return run


def scaling_table():
    """What two threads of Python get done, beside one: the interpreter is free while an operation runs."""
    lines = ["", "| threads of Python | two threads beside one |", "|---|---|"]
    for name, functions in rows.independent().items():
        # The system needs milliseconds to give each thread a processor, as long as some of these calls take.
        calls = math.ceil(0.1 / least({name: functions[0]}, 1)[name])
        first, second = (repeated(function, calls) for function in functions)
        both, alone = [], []
        with ThreadPoolExecutor(2) as pool:
            for _ in range(ROUNDS):
                start = time.perf_counter()
                list(pool.map(lambda function: function(), (first, second)))
                both.append(time.perf_counter() - start)
                start = time.perf_counter()
                first()
                second()
                alone.append(time.perf_counter() - start)
        lines.append(f"| {name} | {statistics.median(alone) / statistics.median(both):.2f} |")
        print(lines[-1], file=sys.stderr, flush=True)
    return lines


def main():
    import os

    import scipy
    import skimage

    table, wanted = Path(sys.argv[1]), sys.argv[2] if len(sys.argv) > 2 else "."
    head = SECTION.format(date=datetime.date.today(), processor=processor(), threads=os.cpu_count(),
                          python=platform.python_version(), numpy=np.__version__, opencv=cv2.__version__,
                          skimage=skimage.__version__, scipy=scipy.__version__)
    numbers = [int(number) for number in sys.argv[3:]] or [1, 2]
    lines = head.splitlines() + large_table(wanted, numbers) + small_table(wanted) + scaling_table()
    write_page(table, HEAD.format(rounds=ROUNDS), "\n".join(lines) + "\n", NOTES)


if __name__ == "__main__":
    main()
