"""Exact and fast operations on camera images, for NumPy."""

from koimproc.native import __version__

__all__ = ["__version__"]
