"""What the package shows: its names, its documentation, its types, its weight."""
import doctest
import importlib
import inspect
import os
import pkgutil
import re
import subprocess
import sys
from pathlib import Path

import pytest

import koimproc as ko

MODULES = [module.name for module in pkgutil.iter_modules(ko.__path__) if module.name.startswith("_")]
SHOWN = [name for name in ko.__all__ if name != "__version__"]
STUBS = Path(ko.__file__).parent


@pytest.mark.parametrize("module", MODULES)
def test_examples_run_as_written(module):
    failed, _ = doctest.testmod(importlib.import_module(f"koimproc.{module}"))
    assert failed == 0


@pytest.mark.parametrize("name", SHOWN)
def test_everything_is_documented(name):
    text = inspect.getdoc(getattr(ko, name))
    assert text and ">>> " in text
    if inspect.isfunction(getattr(ko, name)) and "is as for" not in text:
        sections = re.findall(r"^(\w+)\n-+$", text, re.MULTILINE)
        order = ["Parameters", "Returns", "Raises", "Notes", "Examples"]
        assert sections == [section for section in order if section in sections]
        assert {"Parameters", "Returns", "Raises"} <= set(sections)
        told = text.split("Parameters\n")[1].split("Returns\n")[0]
        for parameter in inspect.signature(getattr(ko, name)).parameters:
            assert re.search(rf"^(\w+, )*{parameter}(, \w+)* : ", told, re.MULTILINE), parameter


def test_import_takes_little():
    code = "import sys, koimproc; print({'scipy', 'skimage', 'cv2', 'OpenImageIO', 'PIL', 'koimproc.series', 'dask'} & set(sys.modules))"
    done = subprocess.run([sys.executable, "-c", code], check=True, capture_output=True, text=True)
    assert done.stdout.strip() == "set()"


def test_series_are_there_when_they_are_asked_for():
    code = "import koimproc as ko; print(ko.series.Accumulator is ko.Accumulator, hasattr(ko, 'no_such_name'))"
    done = subprocess.run([sys.executable, "-c", code], check=True, capture_output=True, text=True)
    assert done.stdout.strip() == "True False"


def test_completion_offers_what_is_loaded_later():
    code = "import koimproc as ko; print({*ko.__all__, 'series'} <= set(dir(ko)), 'TYPE_CHECKING' in dir(ko))"
    done = subprocess.run([sys.executable, "-c", code], check=True, capture_output=True, text=True)
    assert done.stdout.strip() == "True False"


def test_stubs_are_those_of_the_extension():
    allowed = Path(__file__).with_name("stubtest_allowlist.txt")
    done = subprocess.run([sys.executable, "-m", "mypy.stubtest", "koimproc.native", "--concise", "--allowlist", allowed],
                          capture_output=True, text=True, cwd=STUBS.parent, env={**os.environ, "MYPYPATH": "."})
    assert done.returncode == 0, done.stdout + done.stderr


def test_types_are_strict(tmp_path):
    (tmp_path / "wrong.py").write_text("import koimproc as ko\nko.median([[1]], radius='2')\n")
    mypy = [sys.executable, "-m", "mypy", "--strict", "--cache-dir", str(tmp_path / "cache")]
    for checked, status in ((["-p", "koimproc"], 0), ([Path(__file__).with_name("typed_use.py")], 0), ([tmp_path / "wrong.py"], 1)):
        done = subprocess.run([*mypy, *checked], capture_output=True, text=True, cwd=STUBS.parent)
        assert done.returncode == status, done.stdout + done.stderr
