"""The tutorial of docs/series.md, as it is written but with fewer frames, and once more on a cluster."""
import os
import re
import subprocess
import sys
from pathlib import Path

import distributed
import numpy as np
import tifffile
from series_support import bytes_in

from koimproc import series as ks

ROOT = Path(__file__).parents[2]
TUTORIAL = (ROOT / "docs/series.md").read_text().split("## Tutorial")[1].split("\n## ")[0]


def blocks(language):
    return re.findall(rf"```{language}\n(.*?)```", TUTORIAL, re.DOTALL)


def make_scenes(directory):
    """The three pictures that the tutorial begins with."""
    rows, columns = np.mgrid[:64, :64]
    photo = np.stack((4 * rows, 4 * columns, 255 - 2 * (rows + columns)), 2)
    for name, picture in (("photo", photo), ("gray", np.full_like(photo, 200)), ("black", np.full_like(photo, 20))):
        tifffile.imwrite(directory / f"{name}.tif", picture.astype(np.uint8), photometric="rgb")
    scenes = ks.open_series(directory / "*.tif")
    ks.run({"operations": [], "output": {"format": "png"}}, scenes, directory, workers=1)


def test_the_tutorial_runs_and_has_the_same_bytes_on_threads_processes_and_a_cluster(tmp_path):
    make_scenes(tmp_path)
    simulate, command = blocks("sh")
    program, = blocks("python")
    (tmp_path / "recipe.json").write_text(blocks("json")[0])
    (tmp_path / "program.py").write_text(program)
    path = os.pathsep.join([str(Path(os.environ["KO_TOOL"]).parent), str(ROOT / "packaging/python"), os.environ["PATH"]])
    environment = {**os.environ, "PATH": path}

    def call(*words):
        return subprocess.run(words, cwd=tmp_path, env=environment, check=True, capture_output=True, text=True).stdout

    call("bash", "-ec", simulate.replace("seq 20", "seq 5"))
    said = call(sys.executable, "program.py")
    assert "Series(5 frames of 64 x 64, uint16, bits=12, bayer='RGGB')" in said and '"done": 5' in said
    pictures = bytes_in(tmp_path / "pictures")
    assert sorted(pictures) == [f"shot{number}.png" for number in range(1, 6)]
    assert "5 there already" in call("bash", "-ec", command)

    calibrated = ks.open_series(tmp_path / "calibrated/*.tif")
    ks.run(tmp_path / "recipe.json", calibrated, tmp_path / "threads", workers=2)
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None,
                                  silence_logs="CRITICAL") as cluster:
        ks.run(tmp_path / "recipe.json", calibrated, tmp_path / "cluster", scheduler=cluster.scheduler_address)
    assert bytes_in(tmp_path / "threads") == bytes_in(tmp_path / "cluster") == pictures
