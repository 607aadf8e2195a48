"""The wheel of the Python package. The libraries and the extension are built with CMake and lie in the package.

Needs the Debian packages cmake, ninja-build, g++, qtbase5-dev, libhwy-dev, pybind11-dev, python3-dev,
python3-setuptools and python3-wheel. The environment variable CMAKE_ARGS adds options for CMake.
"""
import os
import re
import shlex
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent


def only(pattern, name):
    """The one match in a file of the source tree."""
    return re.search(pattern, (ROOT / name).read_text(), re.MULTILINE)[1]


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        package = Path(self.get_ext_fullpath(ext.name)).resolve().parent
        build = Path(self.build_temp).resolve()
        options = ["-DCMAKE_BUILD_TYPE=Release", f"-DPython3_EXECUTABLE={sys.executable}", "-DKO_WITH_PYTHON=ON",
                   "-DKO_BUILD_TESTS=OFF", "-DKO_BUILD_TOOL=OFF", "-DKO_BUILD_EXAMPLES=OFF",
                   # All lies in one folder and finds itself there.
                   "-DKO_PYTHON_DIR=.", f"-DCMAKE_INSTALL_LIBDIR={package.name}", "-DCMAKE_INSTALL_RPATH=$ORIGIN"]
        options += shlex.split(os.environ.get("CMAKE_ARGS", ""))
        subprocess.run(["cmake", "-G", "Ninja", "-S", ROOT, "-B", build, *options], check=True)
        subprocess.run(["cmake", "--build", build, "--target", "koimproc", "ko_python"], check=True)
        for component in ("runtime", "python"):
            subprocess.run(["cmake", "--install", build, "--component", component, "--prefix", package.parent],
                           check=True)
        # A wheel has no symbolic links: each library stays under the name that it is loaded by.
        for link in package.glob("*.so.*"):
            if link.is_symlink():
                link.resolve().replace(link)


# What is made goes into the folder for it.
(ROOT / "build/pip").mkdir(parents=True, exist_ok=True)
setup(
    name="koimproc",
    version=only(r"^project\(koimproc VERSION (\S+)", "CMakeLists.txt"),
    description=only(r"^project\(koimproc .*DESCRIPTION \"([^\"]+)\"", "CMakeLists.txt"),
    license=only(r"^SPDX-License-Identifier: (.+)$", "LICENCE"),
    license_files=["LICENCE"],
    python_requires=">=3.11",
    install_requires=["numpy>=1.24"],
    packages=["koimproc"],
    package_dir={"": "python"},
    package_data={"koimproc": ["*.pyi", "py.typed"]},
    ext_modules=[Extension("koimproc.native", [])],
    # An entry point would import the package before it could hear of Ctrl-C.
    scripts=["packaging/python/koimproc-series"],
    cmdclass={"build_ext": CMakeBuild},
    options={"build": {"build_base": "build/pip"}, "egg_info": {"egg_base": "build/pip"}},
)
