#!/usr/bin/env python3
"""Makes a page that shows what developing makes of photographs or of a camera's raw files.

usage: gallery.py KO DIRECTORY photos|raws FILE...

KO is the tool. Photographs become simulated raws first, one of the four patterns after the other, so that the results
can be held against the original. Everything goes into DIRECTORY; the page is its index.html.
"""
import html
import re
import shutil
import subprocess
import sys
from pathlib import Path
from urllib.parse import quote

GRIDS = ["rggb", "bggr", "gbrg", "grbg"]
SENSOR = ["--linear", "--bits", 14]
BALANCE = ["--wb", "2,1,1.5"]

TRIALS = 3  # of which the fastest counts

# The best one first.
METHODS = ["menon", "malvar", "linear"]

# The linear method moves its picture by a pixel to the right and down.
SHIFT = "1,1"

# Where to look closely: an eye, a rocket's nose, a spoon.
MIDDLE = "50% 40%"
PLACES = {"astronaut.png": "43% 19%", "coffee.png": "63% 71%", "chelsea.png": "36% 37%", "rocket.jpg": "50% 34%"}

# The pages of the demonstration.
PAGES = {"index.html": "Developing", "coins.html": "Outlines of coins", "camera.html": "From noisy frames to a picture"}

STYLE = """
body { margin: 0 auto; max-width: 80rem; padding: 2rem; font: 1rem/1.5 system-ui, sans-serif; color: #ddd;
       background: #1b1c1f; }
h1 { font-weight: 300; } h2 { margin: 3rem 0 .5rem; font-size: 1.2rem; }
p { max-width: 50rem; } a { color: inherit; }
nav { display: flex; flex-wrap: wrap; gap: 1.5rem; } nav b { color: #fff; }
.best { margin: 1rem 0; } .best img { max-height: 80vh; width: auto; max-width: 100%; }
.row { display: flex; flex-wrap: wrap; gap: 1rem; }
figure { flex: 1 1 16rem; min-width: 0; margin: 0; } figcaption { color: #999; font-size: .9rem; }
img { display: block; width: 100%; border-radius: .3rem; }
.zoom { height: 16rem; margin-top: .5rem; border-radius: .3rem; image-rendering: pixelated;
        background-repeat: no-repeat; }
td, th { padding: .1rem 1rem .1rem 0; text-align: right; } td:first-child, th:first-child { text-align: left; }
table { margin: .5rem 0; }
"""

PHOTO_TEXT = """
<p>Each photograph was turned into what a sensor of 14 bits would have delivered of it, without noise: one colour in
each place, dark and greenish. <code>ko develop</code> makes a picture of that again, here with each of the methods that
interpolate the missing colours. The details are six times their size, and the signal-to-noise ratios compare the
results with the photograph: more is better. Times are those of developing one picture, files not
counted.</p>
"""

RAW_TEXT = """
<p>Developed with the white balance and the colours of the camera, where the file has them, and as bright as half a
percent of the pixels in white allow: <code>ko develop --auto 0.5</code>. Beside each picture stands what the sensor
delivered, and below it a part at six times its size.</p>
"""


def linked(directory, picture):
    return quote(str(picture.relative_to(directory)))


def detail(directory, picture, width, place=MIDDLE):
    return (f'<div class="zoom" style="background-image: url({linked(directory, picture)}); '
            f'background-size: {6 * width}px; background-position: {place}"></div>')


def framed(inside, caption):
    return f"<figure>{inside}<figcaption>{html.escape(caption)}</figcaption></figure>"


def shown(directory, picture):
    link = linked(directory, picture)
    return f'<a href="{link}"><img src="{link}" alt=""></a>'


def row(*figures):
    return f'<div class="row">{"".join(figures)}</div>'


def best(directory, picture):
    return f'<div class="best">{shown(directory, picture)}</div>'


def figure(directory, picture, caption, width, place=MIDDLE):
    return framed(shown(directory, picture) + detail(directory, picture, width, place), caption)


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

    def develop(self, raw, result, *options):
        """Develops a raw and answers with the milliseconds that it took."""
        summary = self.ko("develop", raw, "-o", result, *options)
        return 1000 / float(re.search(r"without files (\S+) frames/s", summary)[1])

    def ratios(self, original, result):
        """Of red, green, blue and all: for the picture as it is, and moved back by a pixel."""
        return [re.search(r"PSNR (\S+) (\S+) (\S+) all (\S+) dB", line).groups()
                for line in self.ko("compare", original, result, "--shift", SHIFT).splitlines()]

    def photo(self, photo, grid):
        original = self.place("originals", photo.name)
        shutil.copyfile(photo, original)
        raw = self.place("mosaics", photo.stem + ".png")
        self.ko("simulate", original, "-o", raw, "--grid", grid, *SENSOR)
        close = self.width(raw), PLACES.get(photo.name, MIDDLE)
        details = [framed(detail(self.directory, original, *close), "Photograph")]
        rows = []
        for method in METHODS:
            result = self.place("results", f"{photo.stem}-{method}.png")
            milliseconds = min(self.develop(raw, result, *BALANCE, "--method", method) for _ in range(TRIALS))
            details.append(framed(detail(self.directory, result, *close), method))
            as_it_is, moved_back = self.ratios(original, result)
            rows.append((method, f"{milliseconds:.0f} ms", as_it_is))
            if method == "linear":
                rows.append(("linear, moved back by one pixel", "", moved_back))
        table = "".join(f"<tr><td>{name}</td>" + "".join(f"<td>{ratio} dB</td>" for ratio in ratios) +
                        f"<td>{time}</td></tr>" for name, time, ratios in rows)
        developed = self.place("results", f"{photo.stem}-{METHODS[0]}.png")
        return (f"<h2>{html.escape(photo.name)}</h2>" +
                row(framed(shown(self.directory, developed), f"Developed, {METHODS[0]}"),
                    framed(shown(self.directory, raw), f"What the sensor delivered, {grid.upper()}"),
                    framed(shown(self.directory, original), "Photograph")) + row(*details) +
                "<table><tr><th>method</th><th>red</th><th>green</th><th>blue</th><th>all</th><th>time</th></tr>"
                f"{table}</table>", developed)

    def raw(self, raw, number):
        mosaic = self.place("mosaics", f"{number}-{raw.stem}.jpg")
        result = self.place("results", f"{number}-{raw.stem}.jpg")
        facts = self.ko("info", raw)[len(str(raw)) + 2:].strip()
        self.ko("unpack", raw, "-o", mosaic)
        self.develop(raw, result, "--auto", 0.5, "--quality", 95)
        return (f"<h2>{html.escape(raw.name)}</h2>" + f"<p>{html.escape(facts)}</p>" +
                row(figure(self.directory, result, "Developed", self.width(result)),
                    figure(self.directory, mosaic, "What the sensor delivered", self.width(mosaic))), result)

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
    sections, pictures = [], []
    for number, file in enumerate(map(Path, files)):
        try:
            if kind == "photos":
                section, picture = gallery.photo(file, GRIDS[number % len(GRIDS)])
            else:
                section, picture = gallery.raw(file, number + 1)
            sections.append(section)
            pictures.append(picture)
        except subprocess.CalledProcessError:
            continue
    leading = [best(gallery.directory, picture) for picture in pictures[:1]]
    if kind == "photos":
        gallery.write(PHOTO_TEXT, [*leading, *sections])
    else:
        gallery.write(RAW_TEXT, [*leading, *sections], pages={"index.html": PAGES["index.html"]})
    return 0 if len(sections) == len(files) else 1


if __name__ == "__main__":
    sys.exit(main())
