"""What the tables of the benches say of the machine."""
import platform
from pathlib import Path


def processor():
    for line in Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.partition(":")[2].strip()
    return platform.machine()
