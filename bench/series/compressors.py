"""How small and how fast compressors make simulated mosaics: what Zarr arrays of results are written with."""
import statistics
import time

import numcodecs
from numcodecs import Blosc

ROUNDS = 3
SHUFFLES = {"none": Blosc.NOSHUFFLE, "bytes": Blosc.SHUFFLE, "bits": Blosc.BITSHUFFLE}


def candidates():
    for name, levels in (("lz4", (5,)), ("blosclz", (5,)), ("zstd", (1, 3)), ("zlib", (5,))):
        for level in levels:
            for shuffle, code in SHUFFLES.items():
                yield name, level, shuffle, Blosc(cname=name, clevel=level, shuffle=code)


def seconds_of(function):
    """Processor time, which other programs do not add to."""
    times = []
    for _ in range(ROUNDS):
        begun = time.process_time()
        function()
        times.append(time.process_time() - begun)
    return statistics.median(times)


def table(frame):
    """Lines of Markdown."""
    numcodecs.blosc.use_threads = False
    lines = ["| compressor of Blosc | level | shuffled | size | writing, MB/s | reading, MB/s |", "|---|---|---|---|---|---|"]
    for name, level, shuffle, codec in candidates():
        packed = codec.encode(frame)
        writing = frame.nbytes / seconds_of(lambda: codec.encode(frame)) / 1e6
        reading = frame.nbytes / seconds_of(lambda: codec.decode(packed)) / 1e6
        lines.append(f"| {name} | {level} | {shuffle} | {100 * len(packed) / frame.nbytes:.0f} % | {writing:.0f} | "
                     f"{reading:.0f} |")
    return lines
