"""The backend of `pip install .`: setuptools as Debian packages it.

pip builds in an environment that hides the system's packages and would fetch its own from the network. Nothing has to
be fetched here, so that a machine without network can install the package too.
"""
import sys
from importlib.util import find_spec

if find_spec("setuptools") is None:
    sys.path.append("/usr/lib/python3/dist-packages")

from setuptools.build_meta import build_sdist, build_wheel, prepare_metadata_for_build_wheel

__all__ = ["build_sdist", "build_wheel", "get_requires_for_build_wheel", "prepare_metadata_for_build_wheel"]


def get_requires_for_build_wheel(config_settings=None):
    """Nothing to fetch: wheel lies beside setuptools."""
    return []
