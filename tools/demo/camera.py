#!/usr/bin/env python3
"""Makes a page that leads from a camera's dark-cornered, noisy frames to an evenly lit picture: average, flat field,
demosaicing, equalisation.

usage: camera.py KO DIRECTORY PHOTO

KO is the tool. The camera is simulated from the photograph. Everything goes into DIRECTORY; the page is its
camera.html.
"""
import shutil
import sys
from pathlib import Path

from gallery import Gallery, figure

FRAMES = 16
SENSOR = ["--bits", 12, "--vignette", 0.7, "--noise", 350]
GRAY = 200

TEXT = f"""
<p>A sensor of 12 bits looks through a lens that loses 70 % of the light in the corners, and adds noise with a
deviation of 350 of its 4096 levels, other noise to every frame. {FRAMES} frames of the scene and {FRAMES} of an
evenly gray card are simulated. The mean of the frames is divided by the mean of the cards, and only then demosaiced
and equalised. Below each picture is a part of it at six times its size.</p>
"""


class Camera(Gallery):
    """The pictures of one page, each made by one command from earlier ones."""

    def __init__(self, ko, directory, photo):
        super().__init__(ko, directory)
        self.photo = self.at("original", photo.suffix)
        shutil.copyfile(photo, self.photo)

    def at(self, name, suffix=".png"):
        return self.place("camera", name + suffix)

    def make(self, name, command, *arguments):
        picture = self.at(name)
        self.ko(command, *arguments, "-o", picture)
        return picture

    def mean(self, name, scene, first_seed):
        """Mean of the frames of one scene, of which the first one stays at name-1."""
        frames = [self.make(f"{name}-{number + 1}", "simulate", scene, *SENSOR, "--seed", first_seed + number)
                  for number in range(FRAMES)]
        return self.make(f"{name}-mean", "average", *frames)

    def row(self, *captioned):
        pictures = "".join(figure(self.directory, picture, caption, self.width(picture))
                           for caption, picture in captioned)
        return f'<div class="row">{pictures}</div><br>'


def main():
    ko, directory, photo = sys.argv[1:]
    camera = Camera(ko, Path(directory), Path(photo))
    # No sample is above white, so all become gray.
    card = camera.make("card", "threshold", camera.photo, "--above", 255, "--low", GRAY)
    scene = camera.mean("scene", camera.photo, 1)
    background = camera.mean("card", card, 1 + FRAMES)
    frame = camera.at("scene-1")
    even = camera.make("even", "flatfield", scene, "--background", background)
    colour = camera.make("colour", "demosaic", even)
    camera.write(TEXT, [
        camera.row(("Photograph", camera.photo),
                   ("One frame", frame),
                   ("One frame, demosaiced", camera.make("frame-colour", "demosaic", frame))),
        camera.row((f"Mean of {FRAMES} frames", scene),
                   (f"Mean of {FRAMES} frames of the gray card", background),
                   ("The first divided by the second", even)),
        camera.row(("Demosaiced", colour),
                   ("Equalised", camera.make("equalised", "equalize", colour)),
                   ("For comparison: the photograph, equalised",
                    camera.make("original-equalised", "equalize", camera.photo))),
    ], "camera.html")


if __name__ == "__main__":
    main()
