#!/usr/bin/env python3
"""Makes a page that leads from a photograph of coins to the outlines of each: median, gradient, edges, distance,
active contours.

usage: coins.py KO DIRECTORY PHOTO

KO is the tool. Everything goes into DIRECTORY; the page is its coins.html.
"""
import csv
import shutil
import sys
from collections import Counter
from pathlib import Path

from gallery import Gallery, figure

# Where to start: circles around the coins, clear of their neighbours.
CIRCLES = """
44,54,28 100,56,25 155,51,28 215,51,28 276,53,26 335,44,34
45,124,27 103,126,25 155,127,25 206,125,26 271,120,30 336,125,25
44,197,24 102,196,27 155,198,25 212,193,28 274,195,27 347,187,37
46,260,31 114,265,24 172,262,32 244,263,26 301,263,27 358,268,25
""".split()

TEXT = """
<p>The median takes the noise and the relief out of the photograph and keeps the rims. The gradient, cut at the
threshold that separates its levels best, leaves the edges; the distance to the nearest edge is the slope down which
a contour slides. From the blue circles the contours come to rest on the yellow lines.</p>
"""


def step(gallery, picture, caption, *arguments):
    """Runs one command and shows its result."""
    gallery.ko(*arguments, "-o", picture)
    return figure(gallery.directory, picture, caption, gallery.width(picture))


def main():
    ko, directory, photo = sys.argv[1:]
    gallery = Gallery(ko, Path(directory))
    at = {name: gallery.place("coins", name + ".png")
          for name in ("original", "median", "gradient", "edges", "distance", "contours")}
    shutil.copyfile(photo, at["original"])
    points = gallery.place("coins", "points.csv")
    circles = [argument for circle in CIRCLES for argument in ("--circle", circle)]
    figures = [
        figure(gallery.directory, at["original"], "Original", gallery.width(at["original"])),
        step(gallery, at["median"], "Median, radius 2", "median", at["original"], "--radius", 2),
        step(gallery, at["gradient"], "Gradient (Sobel)", "sobel", at["median"]),
        step(gallery, at["edges"], "Edges", "threshold", at["gradient"], "--otsu"),
        step(gallery, at["distance"], "Distance to the edges", "distance", at["edges"], "--scaled"),
        step(gallery, at["contours"], "Contours", "snake", at["median"], *circles, "--points", points),
    ]
    with open(points, encoding="utf-8") as table:
        sizes = Counter(row["contour"] for row in csv.DictReader(table))
    rows = [f'<div class="row">{"".join(figures[i:i + 2])}</div><br>' for i in range(0, len(figures), 2)]
    summary = f"<p>{len(sizes)} contours of {min(sizes.values())} to {max(sizes.values())} points.</p>"
    gallery.write(TEXT, [*rows, summary], "coins.html")


if __name__ == "__main__":
    main()
