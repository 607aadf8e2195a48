#!/usr/bin/env python3
"""Measures what the page of ko live costs: processor time of its threads at 1920 x 1080 pixels, 30 frames per second.

usage: page_cost.py KO [ROUNDS [SECONDS]]

A scene with noise moves past a simulated sensor, an 8-bit mosaic from GStreamer. Nobody, one and ten viewers look by
turns, ROUNDS times (3) for SECONDS (10) each. A viewer takes the pictures and asks for the figures five times a second,
as the page does. The cost is the processor time of all threads of ko but those of the source while they look, less that
while nobody does, in percent of one processor. The tables have medians of the rounds.
"""
import http.client
import statistics
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path
from urllib.parse import urlsplit

import numpy

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tests/tool"))
from live_run import Pictures, status_of  # noqa: E402

WIDTH, HEIGHT, RATE, FRAMES, STEP = 1920, 1080, 30, 30, 4
STATUS_INTERVAL = 0.2
VIEWERS = (0, 1, 10)
SOURCE = "multifilesrc0:s"  # its thread


def scene(width, height, random):
    """Levels in proportion to light whose contrast falls with their frequency, as that of photographs does."""
    rows, columns = numpy.fft.fftfreq(height)[:, None], numpy.fft.rfftfreq(width)[None, :]
    frequency = numpy.hypot(rows, columns)
    frequency[0, 0] = numpy.inf
    levels = numpy.fft.irfft2(numpy.fft.rfft2(random.standard_normal((height, width))) / frequency, (height, width))
    return numpy.clip(0.18 * numpy.exp(0.6 * levels / levels.std()), 0, 1)


def write_frames(directory):
    """Frames of a mosaic past which the scene moves, with the noise of a sensor of 40000 electrons."""
    random = numpy.random.default_rng(1)
    light = scene(WIDTH + STEP * FRAMES, HEIGHT, random)
    colours = numpy.ones((HEIGHT, WIDTH))
    colours[::2, ::2], colours[1::2, 1::2] = 0.6, 0.7
    for number in range(FRAMES):
        electrons = random.poisson(40000 * colours * light[:, STEP * number:STEP * number + WIDTH])
        numpy.clip(numpy.rint(electrons * 255 / 40000), 0, 255).astype(numpy.uint8).tofile(directory / f"{number:02}.raw")


class Viewer:
    """Looks at the page until it is left."""

    def __init__(self, url):
        self.pictures = self.bytes = 0
        self.has_left = threading.Event()
        self.threads = [threading.Thread(target=self.look, args=(url,)), threading.Thread(target=self.ask, args=(url,))]
        for thread in self.threads:
            thread.start()

    def look(self, url):
        pictures = Pictures(url)
        while not self.has_left.is_set():
            self.bytes += len(pictures.next())
            self.pictures += 1
        pictures.close()

    def ask(self, url):
        parts = urlsplit(url)
        connection = http.client.HTTPConnection(parts.hostname, parts.port)
        while not self.has_left.wait(STATUS_INTERVAL):
            connection.request("GET", parts.path + "status")
            connection.getresponse().read()
        connection.close()

    def leave(self):
        self.has_left.set()
        for thread in self.threads:
            thread.join()


def thread_times(process):
    """{(name, id): seconds of the processor} of the threads of a process."""
    times = {}
    for task in Path(f"/proc/{process}/task").iterdir():
        try:
            nanoseconds = int((task / "schedstat").read_text().split()[0])
            times[(task / "comm").read_text().strip(), task.name] = nanoseconds * 1e-9
        except FileNotFoundError:  # it has just ended
            pass
    return times


def measure(run, url, count, seconds):
    """({thread name: percent of a processor}, pictures per second and viewer, bytes of a picture) with so many viewers."""
    viewers = [Viewer(url) for _ in range(count)]
    time.sleep(1.5)  # until all have pictures
    before, seen, start = thread_times(run.pid), sum(viewer.pictures for viewer in viewers), time.monotonic()
    time.sleep(seconds)
    after, seconds = thread_times(run.pid), time.monotonic() - start
    pictures = sum(viewer.pictures for viewer in viewers) - seen
    for viewer in viewers:
        viewer.leave()
    shares = {}
    for (name, number), now in after.items():
        shares[name] = shares.get(name, 0) + 100 * (now - before.get((name, number), 0)) / seconds
    size = sum(viewer.bytes for viewer in viewers) / max(1, sum(viewer.pictures for viewer in viewers))
    time.sleep(3.5)  # until nobody is taken to want figures any more
    return shares, pictures / seconds / max(1, count), size


def main():
    tool, *numbers = sys.argv[1:]
    rounds, seconds = (list(map(int, numbers)) + [3, 10][len(numbers):])
    with tempfile.TemporaryDirectory() as name:
        write_frames(Path(name))
        source = (f"multifilesrc location={name}/%02d.raw loop=true stop-index={FRAMES - 1} ! rawvideoparse format=gray8 "
                  f"width={WIDTH} height={HEIGHT} framerate={RATE}/1 ! clocksync ! capssetter join=false replace=true "
                  f"caps=video/x-bayer,format=rggb,width={WIDTH},height={HEIGHT},framerate={RATE}/1")
        run = subprocess.Popen([tool, "live", source, "--http", "0"], stdout=subprocess.PIPE, text=True)
        try:
            url = run.stdout.readline().strip()
            results = {count: [] for count in VIEWERS}
            for _ in range(rounds):
                for count in VIEWERS:
                    results[count].append(measure(run, url, count, seconds))
            dropped = status_of(url)["dropped"]
        finally:
            run.terminate()
            run.wait()
    report(results, dropped)


def report(results, dropped):
    def total(count):
        return statistics.median(sum(share for name, share in shares.items() if name != SOURCE)
                                 for shares, _, _ in results[count])

    print("| viewers | page, % of a processor | pictures per second and viewer | bytes of a picture |\n|--:|--:|--:|--:|")
    for count in VIEWERS[1:]:
        rate = statistics.median(rate for _, rate, _ in results[count])
        size = statistics.median(size for _, _, size in results[count])
        print(f"| {count} | {total(count) - total(0):.1f} | {rate:.1f} | {size:.0f} |")
    print(f"\n{dropped} frames dropped\n")
    print("| thread | " + " | ".join(f"{count} viewers, %" for count in VIEWERS) + " |\n|---" + "|--:" * len(VIEWERS) + "|")
    for name in sorted({name for all_rounds in results.values() for shares, _, _ in all_rounds for name in shares}):
        shares = [statistics.median(shares.get(name, 0) for shares, _, _ in results[count]) for count in VIEWERS]
        if max(shares) >= 0.05:
            print(f"| {name} | " + " | ".join(f"{share:.2f}" for share in shares) + " |")


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3, 4):
        sys.exit(__doc__)
    main()
