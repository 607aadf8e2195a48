"""The tutorial of the documentation runs as it is written, on frames that the tool simulates."""
import os
import re
import subprocess
import sys
from pathlib import Path

import PIL.Image
import skimage

ROOT = Path(__file__).parents[2]
sys.path.insert(0, str(ROOT / "tools/site"))
from pictures import DRAWN, FRAMES, TUTORIAL, Maker, draw  # noqa: E402


def test_the_tutorial_runs_as_written(tmp_path):
    maker = Maker(os.environ["KO_TOOL"], Path(skimage.data_dir), tmp_path)
    for number in range(FRAMES):
        maker.make(f"frame-{number}.tif")
        maker.make(f"card-{number}.tif")
    draw(tmp_path, Path(os.environ["PYTHONPATH"]))
    for name in DRAWN:
        assert min(PIL.Image.open(tmp_path / name).size) > 200


def test_every_picture_is_shown():
    assert re.findall(r"pictures/([^)]+)", TUTORIAL.read_text()) == DRAWN


def test_a_page_that_prints_something_else_is_an_error(tmp_path):
    page = tmp_path / "page.md"
    for shown, status in (("    2\n", 0), ("    3\n", 1), ("", 0)):
        page.write_text(f"# Page\n\n```python\nprint(1 + 1)\n```\n\n{shown}")
        command = [sys.executable, "-B", ROOT / "tools/site/tutorial.py", page, tmp_path]
        done = subprocess.run(command, capture_output=True)
        assert done.returncode == status
