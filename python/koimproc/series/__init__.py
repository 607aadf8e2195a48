"""Series of frames: read lazily, joined exactly, worked on by threads, processes or a Dask cluster.

Processes, clusters, `Series.dask` and `Series.map` need Dask with its distributed scheduler (Debian's python3-dask and
python3-distributed), and each kind of file needs its library: python3-tifffile, python3-astropy (FITS), python3-h5py,
python3-zarr.
"""

from koimproc.series._accumulator import Accumulator
from koimproc.series._calibrate import calibrate, find_defects
from koimproc.series._engine import Report
from koimproc.series._recipe import run
from koimproc.series._results import write_frame
from koimproc.series._series import Series, open_series
from koimproc.series._sources import FrameError
from koimproc.series._statistics import accumulate, describe, master

__all__ = [
    "Accumulator",
    "FrameError",
    "Report",
    "Series",
    "accumulate",
    "calibrate",
    "describe",
    "find_defects",
    "master",
    "open_series",
    "run",
    "write_frame",
]
