#!/usr/bin/env python3
"""Makes the pictures of the documentation site from real photographs with the tool, nothing else, and those of the page
on Python by the code on that page.

usage: pictures.py KO PHOTOGRAPHS DIRECTORY [PYTHON]

Each picture is one command. In its arguments {name} stands for another picture made here, {photo:file} for a
photograph. PYTHON is where the package is; without it that page has no pictures.
"""
import os
import re
import subprocess
import sys
from pathlib import Path

SENSOR = "--bits 12 --vignette 0.7 --noise 250"
FRAMES = 8
DETAIL = "200,80,64,48"

# Those that only lead to others keep the sample type of their step in a TIFF.
STEPS = {
    "mosaic.png": "simulate {photo:astronaut.png}",
    "demosaiced.png": "demosaic {mosaic.png}",
    "demosaiced-menon.png": "demosaic {mosaic.png} --method menon",
    "halved.png": "demosaic {mosaic.png} --half",
    "raw.png": "simulate {photo:astronaut.png} --linear --bits 14",
    "develop-bare.png": "develop {raw.png} --wb 1,1,1 --curve linear --bits 8",
    "develop-balanced.png": "develop {raw.png} --wb 2,1,1.5 --curve linear --bits 8",
    "developed.png": "develop {raw.png} --wb 2,1,1.5",
    "develop-gray-world.png": "develop {raw.png} --wb gray-world",
    "develop-darker.png": "develop {raw.png} --wb 2,1,1.5 --exposure -1",
    "develop-auto.png": "develop {raw.png} --wb 2,1,1.5 --auto 5",
    "photo.png": "border {photo:astronaut.png}",
    "coins.png": "border {photo:coins.png}",
    "moon.png": "border {photo:moon.png}",
    "page.png": "border {photo:page.png}",
    "camera.png": "border {photo:camera.png}",
    "border.png": "border {photo:coins.png} --left 90 --right 90 --top 70 --bottom 70",
    "ellipse.png": "mask ellipse 150 80 --angle 30",
    "histogram.png": "hist {photo:astronaut.png}",
    "histogram-moon.png": "hist {photo:moon.png}",
    "histogram-equalized.png": "hist {equalized.png}",
    "joint.png": "hist2d {moon.png} {equalized.png}",
    "equalized.png": "equalize {photo:moon.png}",
    "stretched.png": "stretch-levels {photo:moon.png} --auto 1",
    "matched.png": "match {photo:camera.png} --reference {photo:moon.png}",
    "card.png": "threshold {photo:astronaut.png} --above 255 --low 200",
    "cards.tif": "average " + " ".join(f"{{card-{n}.tif}}" for n in range(FRAMES)),
    "frames.tif": "average " + " ".join(f"{{frame-{n}.tif}}" for n in range(FRAMES)),
    "flat.tif": "flatfield {frames.tif} --background {cards.tif}",
    "frame.png": "demosaic {frame-0.tif}",
    "averaged.png": "demosaic {frames.tif}",
    "corrected.png": "demosaic {flat.tif}",
    "otsu.png": "threshold {photo:coins.png} --otsu",
    "median.png": "median {frame.png} --radius 2",
    "smooth.png": "median {photo:coins.png} --radius 2",
    "sobel.png": "sobel {smooth.png}",
    "edges.png": "threshold {sobel.png} --otsu",
    "distance.tif": "distance {edges.png}",
    "distance.png": "convert {distance.tif} --to u8",
    "snake.png": "snake {smooth.png} --circle 44,124,27 --circle 103,126,25 --circle 155,127,25"
                 " --circle 206,125,26 --circle 271,120,30 --circle 336,125,25",
}
# Enlarged parts of what each method makes of a mosaic.
STEPS["detail-photo.tif"] = f"crop {{photo:astronaut.png}} --roi {DETAIL}"
for method in ("menon", "malvar", "linear"):
    STEPS[f"{method}.tif"] = f"develop {{raw.png}} --wb 2,1,1.5 --method {method}"
    STEPS[f"detail-{method}.tif"] = f"crop {{{method}.tif}} --roi {DETAIL}"
for name in ("photo", "menon", "malvar", "linear"):
    STEPS[f"detail-{name}.png"] = f"resize {{detail-{name}.tif}} --scale 6 --filter box"
for n in range(FRAMES):
    STEPS[f"card-{n}.tif"] = f"simulate {{card.png}} {SENSOR} --seed {n + 1}"
    STEPS[f"frame-{n}.tif"] = f"simulate {{photo:astronaut.png}} {SENSOR} --seed {n + 1 + FRAMES}"

# By the code of the page, from the frames and cards.
TUTORIAL = Path(__file__).resolve().parents[2] / "docs/site/python.md"
DRAWN = re.findall(r'savefig\("([^"]+)"\)', TUTORIAL.read_text())

NAME = re.compile(r"\{(?!photo:)([^}]+)\}")
PHOTO = re.compile(r"\{photo:([^}]+)\}")


class Maker:
    def __init__(self, ko, photographs, directory):
        self.ko = ko
        self.photographs = photographs
        self.directory = directory
        self.made = set()

    def make(self, name):
        """Makes a picture, and first those that it is made of."""
        if name in self.made:
            return
        self.made.add(name)
        step = STEPS[name]
        for source in NAME.findall(step):
            self.make(source)
        step = NAME.sub(lambda match: str(self.directory / match[1]), step)
        step = PHOTO.sub(lambda match: str(self.photographs / match[1]), step)
        subprocess.run([self.ko, *step.split(), "-o", self.directory / name], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)


def draw(directory, python):
    """Runs the code of the page on Python where the frames and cards are."""
    environment = {**os.environ, "PYTHONPATH": str(Path(python).resolve()), "MPLBACKEND": "agg"}
    subprocess.run(["/usr/bin/python3", "-B", TUTORIAL.parents[2] / "tools/site/tutorial.py", TUTORIAL, directory],
                   env=environment, check=True, stderr=subprocess.PIPE)


def main():
    ko, photographs, directory, *python = sys.argv[1:]
    Path(directory).mkdir(parents=True, exist_ok=True)
    maker = Maker(ko, Path(photographs), Path(directory))
    try:
        for name in STEPS:
            maker.make(name)
        if python:
            draw(directory, python[0])
    except subprocess.CalledProcessError as failure:
        sys.exit(failure.stderr.decode())


if __name__ == "__main__":
    main()
