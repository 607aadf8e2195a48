"""What the tables of the benches say of the machine. Their pages have a section for each processor."""
import platform
import re
from pathlib import Path

SECTION = re.compile(r"<!-- processor: (.+?) -->\n(.*?)<!-- end of processor -->\n", re.DOTALL)
INSTRUCTION_SETS = {"avx2": "AVX2", "avx512bw": "AVX-512", "avx512vbmi": "VBMI", "asimd": "NEON"}


def processor():
    """Model and instruction sets of the machine."""
    facts = {}
    for line in Path("/proc/cpuinfo").read_text().splitlines():
        name, _, value = line.partition(":")
        facts.setdefault(name.strip(), value.strip())
    flags = facts.get("flags", facts.get("Features", "")).split()
    model = facts.get("model name", platform.machine())
    if "cpu family" in facts:
        model += f" (family {facts['cpu family']}, model {facts.get('model')})"
    return ", ".join([model, *(name for flag, name in INSTRUCTION_SETS.items() if flag in flags)])


def sections(page):
    """What a page says of each processor."""
    return dict(SECTION.findall(page))


def section(name, text):
    """What a page says of one processor, with the marks to find it by."""
    return f"<!-- processor: {name} -->\n{text}<!-- end of processor -->\n"


def write_page(path, head, text, end=""):
    """Writes a page whose section for this processor is `text`. The sections for others stay."""
    parts = sections(path.read_text()) if path.exists() else {}
    parts[processor()] = text
    path.write_text("\n".join([head, *(section(name, part) for name, part in parts.items())]) + end)
