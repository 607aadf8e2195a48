#!/usr/bin/env python3
"""Makes a page that shows what demosaicing does to photographs or to a camera's raw files.

usage: gallery.py KO DIRECTORY photos|raws FILE...

KO is the tool. Photographs become simulated mosaics first, one of the four patterns after the other, so that the
result can be held against the original. Everything goes into DIRECTORY; the page is its index.html.
"""
import html
import re
import shutil
import subprocess
import sys
from pathlib import Path
from urllib.parse import quote

GRIDS = ["rggb", "bggr", "gbrg", "grbg"]
BITS = 12

# The enlarged planes lie half a cell, which is one pixel, to the right and below of where the sensor saw them.
SHIFT = "1,1"

# Where to look closely: an eye, a rocket's nose, a spoon.
MIDDLE = "50% 40%"
PLACES = {"astronaut.png": "43% 19%", "coffee.png": "63% 71%", "chelsea.png": "36% 37%", "rocket.jpg": "50% 34%"}

# The pages of the demonstration.
PAGES = {"index.html": "Demosaicing", "coins.html": "Outlines of coins", "camera.html": "From noisy frames to a picture"}

STYLE = """
body { margin: 0 auto; max-width: 80rem; padding: 2rem; font: 1rem/1.5 system-ui, sans-serif; color: #ddd;
       background: #1b1c1f; }
h1 { font-weight: 300; } h2 { margin: 3rem 0 .5rem; font-size: 1.2rem; }
p { max-width: 50rem; } a { color: inherit; }
nav { display: flex; flex-wrap: wrap; gap: 1.5rem; } nav b { color: #fff; }
.row { display: flex; flex-wrap: wrap; gap: 1rem; }
figure { flex: 1 1 16rem; min-width: 0; margin: 0; } figcaption { color: #999; font-size: .9rem; }
img { display: block; width: 100%; border-radius: .3rem; }
.zoom { height: 16rem; margin-top: .5rem; border-radius: .3rem; image-rendering: pixelated;
        background-repeat: no-repeat; }
td, th { padding: .1rem 1rem .1rem 0; text-align: right; } td:first-child, th:first-child { text-align: left; }
"""

PHOTO_TEXT = f"""
<p>Each photograph was turned into the {BITS}-bit mosaic that a sensor would have delivered, without noise, and
demosaiced again. Below each picture is a part of it at six times its size.</p>
<p>The signal-to-noise ratios compare the result with the original. The method places its picture half a cell, one
pixel, to the right and below of the original and leaves red and blue half a pixel to either side of that: the first
line measures the result as it is, the second one after moving it back by a whole pixel. Nothing is done about the
half pixels, and nothing is resampled for the comparison.</p>
"""

RAW_TEXT = """
<p>The mosaics are the active area of the sensor with black subtracted. Nothing else has been done to the samples:
they are linear, neither white balanced nor turned upright, hence dark and greenish. Below each picture is a part of
it at six times its size.</p>
"""


def figure(directory, picture, caption, width, place=MIDDLE):
    link = quote(str(picture.relative_to(directory)))
    return (f'<figure><a href="{link}"><img src="{link}" alt=""></a>'
            f'<div class="zoom" style="background-image: url({link}); background-size: {6 * width}px; '
            f'background-position: {place}"></div>'
            f"<figcaption>{html.escape(caption)}</figcaption></figure>")


class Gallery:
    def __init__(self, ko, directory):
        self.ko_path = ko
        self.directory = directory

    def ko(self, *arguments):
        """Runs the tool; a failure has been told by it and ends in CalledProcessError."""
        return subprocess.run([self.ko_path, *map(str, arguments)], stdout=subprocess.PIPE, text=True,
                              check=True).stdout

    def width(self, picture):
        return int(re.search(r": (\d+) x \d+,", self.ko("info", picture))[1])

    def place(self, folder, name):
        (self.directory / folder).mkdir(parents=True, exist_ok=True)
        return self.directory / folder / name

    def ratios(self, original, result):
        rows = ""
        for line, label in zip(self.ko("compare", original, result, "--shift", SHIFT).splitlines(),
                               ("as it is", "moved back by one pixel")):
            numbers = re.search(r"PSNR (\S+) (\S+) (\S+) all (\S+) dB", line).groups()
            rows += f"<tr><td>{label}</td>" + "".join(f"<td>{n} dB</td>" for n in numbers) + "</tr>"
        return f"<table><tr><th>PSNR</th><th>red</th><th>green</th><th>blue</th><th>all</th></tr>{rows}</table>"

    def photo(self, photo, grid):
        original = self.place("originals", photo.name)
        shutil.copyfile(photo, original)
        mosaic = self.place("mosaics", photo.stem + ".png")
        result = self.place("results", photo.stem + ".png")
        self.ko("simulate", original, "-o", mosaic, "--grid", grid, "--bits", BITS)
        summary = self.ko("demosaic", mosaic, "-o", result)
        close = self.width(mosaic), PLACES.get(photo.name, MIDDLE)
        return (f"<h2>{html.escape(photo.name)}</h2>" + '<div class="row">' +
                figure(self.directory, original, "Original", *close) +
                figure(self.directory, mosaic, f"Mosaic {grid.upper()}, {BITS} bits", *close) +
                figure(self.directory, result, "Result: " + summary.strip(), *close) + "</div>" +
                self.ratios(original, result))

    def raw(self, raw, number):
        mosaic = self.place("mosaics", f"{number}-{raw.stem}.jpg")
        result = self.place("results", f"{number}-{raw.stem}.jpg")
        facts = self.ko("info", raw)[len(str(raw)) + 2:].strip()
        self.ko("unpack", raw, "-o", mosaic)
        summary = self.ko("demosaic", raw, "-o", result)
        width = self.width(mosaic)
        return (f"<h2>{html.escape(raw.name)}</h2>" + f"<p>{html.escape(facts)}</p>" + '<div class="row">' +
                figure(self.directory, mosaic, "Mosaic", width) +
                figure(self.directory, result, "Result: " + summary.strip(), width) + "</div>")

    def write(self, text, sections, file="index.html", pages=PAGES):
        """Writes one of `pages`, which it links to each other."""
        title = f"{pages[file]} with koimproc"
        links = "".join(f"<b>{name}</b>" if place == file else f'<a href="{place}">{name}</a>'
                        for place, name in pages.items())
        page = self.place(".", file)
        page.write_text('<!DOCTYPE html><html lang="en"><head><meta charset="utf-8">'
                        '<meta name="viewport" content="width=device-width, initial-scale=1">'
                        f"<title>{title}</title><style>{STYLE}</style></head><body><nav>{links}</nav>"
                        f"<h1>{title}</h1>{text}{''.join(sections)}</body></html>\n", encoding="utf-8")
        print(f"The pictures are in {page.resolve()}")


def main():
    ko, directory, kind, *files = sys.argv[1:]
    gallery = Gallery(ko, Path(directory))
    sections = []
    for number, file in enumerate(map(Path, files)):
        try:
            if kind == "photos":
                sections.append(gallery.photo(file, GRIDS[number % len(GRIDS)]))
            else:
                sections.append(gallery.raw(file, number + 1))
        except subprocess.CalledProcessError:
            continue
    if kind == "photos":
        gallery.write(PHOTO_TEXT, sections)
    else:
        gallery.write(RAW_TEXT, sections, pages={"index.html": PAGES["index.html"]})
    return 0 if len(sections) == len(files) else 1


if __name__ == "__main__":
    sys.exit(main())
