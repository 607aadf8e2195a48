"""Memory does not grow with a series."""
import json
import os
import subprocess
import sys

import h5py
import pytest

NIGHTLY = bool(os.environ.get("KO_NIGHTLY"))
FEW, MANY = 50, 2000 if NIGHTLY else 400
# Frames that were kept would take half a megabyte each.
SIDE, MARGIN = 512, 48 << 20

WORK = """
import json, re, resource, sys
import koimproc as ko
from koimproc import series as ks

def peak():
    # What getrusage says of a process is at least what the program took that has started it.
    return 1024 * int(re.search(r"VmHWM:\\s+(\\d+) kB", open("/proc/self/status").read())[1])

series = ks.open_series(sys.argv[1], dataset="frames", bits=12, bayer="RGGB")
if sys.argv[2] == "statistics":
    ks.accumulate(series, "mean", "var", "hist", workers=2)
    ks.accumulate(series.map(ko.demosaic), "max", workers=2, work=sys.argv[3] + "/work")
    ks.describe(series, workers=2)
else:
    ks.run({"operations": [{"op": "demosaic"}]}, series, sys.argv[3] + "/out.zarr", workers=2)
print(json.dumps([peak(), 1024 * resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss]))
"""


def peaks(tmp_path, count, work):
    """Most memory of a process that works on frames, and of those that it starts."""
    path = tmp_path / f"{count}.h5"
    with h5py.File(path, "w") as file:
        file.create_dataset("frames", (count, SIDE, SIDE), "u2", chunks=(1, SIDE, SIDE), fillvalue=300)
    out = tmp_path / f"{work}-{count}"
    out.mkdir()
    done = subprocess.run([sys.executable, "-c", WORK, path, work, out], check=True, stdout=subprocess.PIPE, text=True)
    return json.loads(done.stdout)


@pytest.mark.parametrize("work", ["statistics", "recipe"])
def test_it_stays_flat(work, tmp_path):
    if work == "recipe" and not NIGHTLY:
        pytest.skip("long; KO_NIGHTLY=1 runs it")
    few, many = peaks(tmp_path, FEW, work), peaks(tmp_path, MANY, work)
    print(few, many)
    assert MARGIN < (MANY - FEW) * 2 * SIDE**2 / 2, "frames that were kept would be seen"
    for of_few, of_many in zip(few, many):
        assert of_many < of_few + MARGIN
