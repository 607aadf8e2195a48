#!/usr/bin/env python3
"""Merges Google Benchmark's JSON into the table of docs/performance.md.

usage: table.py result.json performance.md

Rows that the run measured replace their former values, the others stay.
"""
import json
import re
import sys
from pathlib import Path

BEGIN = "<!-- rows: written by ./dev bench -->"
END = "<!-- end of rows -->"
COLUMNS = ["row", "threads", "ours ms", "peer", "peer ms", "peer/ours", "limit ms", "ours/limit"]


def processor():
    for line in Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return "unknown processor"


def number(counters, name):
    return f"{counters[name]:.3g}" if name in counters else ""


def measured(benchmark):
    """(row, threads) and the cells of one benchmark."""
    operation, sample, size, threads = benchmark["name"].split("/")[:4]
    row = f"{operation}/{sample}/{size}"
    cells = [row, threads, number(benchmark, "ours_ms"), benchmark.get("label", ""),
             number(benchmark, "peer_ms"), number(benchmark, "vs_peer"),
             number(benchmark, "limit_ms"), number(benchmark, "vs_limit")]
    return (row, int(threads)), cells


def former(section):
    """The rows of a table that an earlier run wrote."""
    rows = {}
    for line in section.splitlines():
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if len(cells) == len(COLUMNS) and cells[1].isdigit():
            rows[cells[0], int(cells[1])] = cells
    return rows


def natural(key):
    """Sorts 2048 behind 64."""
    row, threads = key
    return [(part.isdigit(), int(part) if part.isdigit() else 0, part)
            for part in re.split(r"(\d+)", row)] + [(True, threads, "")]


def render(context, rows):
    lines = [f"Latest run: {context['date'][:10]}, {processor()}, {context['compiler']} "
             f"(`{context['flags']}`), OpenCV {context['opencv']}.",
             "",
             "| " + " | ".join(COLUMNS) + " |",
             "|" + "|".join("---" if name in ("row", "peer") else "--:" for name in COLUMNS) + "|"]
    lines += ["| " + " | ".join(rows[key]) + " |" for key in sorted(rows, key=natural)]
    return "\n".join(lines)


def main(result, page):
    run = json.loads(Path(result).read_text())
    text = Path(page).read_text()
    head, rest = text.split(BEGIN)
    section, tail = rest.split(END)
    rows = former(section)
    rows.update(measured(benchmark) for benchmark in run["benchmarks"] if "error_message" not in benchmark)
    Path(page).write_text(f"{head}{BEGIN}\n{render(run['context'], rows)}\n{END}{tail}")


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])
