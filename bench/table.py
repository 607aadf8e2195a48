#!/usr/bin/env python3
"""Merges Google Benchmark's JSON into the tables of docs/performance.md.

usage: table.py result.json performance.md [include/ko]

The page has one table for each processor. Rows that the run measured replace their former values in the table of this
processor; the other rows and the other tables stay. The summary is computed from all tables. Which operations may use
several threads is what the public headers say.
"""
import json
import math
import re
import sys
from pathlib import Path

from machine import SECTION, processor, section, sections

SUMMARY = re.compile(r"(<!-- summary: written by ./dev bench -->\n).*?(<!-- end of summary -->)", re.DOTALL)
TABLES_END = "<!-- end of processors -->"
COLUMNS = ["row", "threads", "ours ms", "peer", "peer ms", "peer/ours", "limit ms", "ours/limit"]
DECLARATION = re.compile(r"((?:^///.*\n)+)KO_EXPORT \w+ (\w+)\(", re.MULTILINE)

# A peer that takes this many times as long as the memory it must move computes; below, it waits for memory.
COMPUTES_FROM = 2.2
# A row this near to the limit is not behind, whatever its peer does.
AT_THE_LIMIT = 1.05


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


def former(table):
    """The rows of a table that an earlier run wrote."""
    rows = {}
    for line in table.splitlines():
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if len(cells) == len(COLUMNS) and cells[1].isdigit():
            rows[cells[0], int(cells[1])] = cells
    return rows


def natural(key):
    """Sorts 2048 behind 64."""
    row, threads = key
    return [(part.isdigit(), int(part) if part.isdigit() else 0, part)
            for part in re.split(r"(\d+)", row)] + [(True, threads, "")]


def markdown(columns, rows):
    lines = ["| " + " | ".join(columns) + " |",
             "|" + "|".join("---" if name in ("row", "peer", "processor") else "--:" for name in columns) + "|"]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows]) + "\n"


def render(name, context, rows):
    return section(name, f"### {name}\n\nLatest run: {context['date'][:10]}, {context['compiler']} "
                         f"(`{context['flags']}`), OpenCV {context['opencv']}.\n\n"
                         + markdown(COLUMNS, [rows[key] for key in sorted(rows, key=natural)]))


def geometric_mean(values):
    return f"{math.exp(sum(map(math.log, values)) / len(values)):.2f}" if values else ""


def parallel_operations(headers):
    """The operations whose declarations say that their work runs in parallel."""
    comments = {}  # of all forms of an operation
    for header in sorted(headers.rglob("*.h")):
        for comment, name in DECLARATION.findall(header.read_text()):
            comments[name] = comments.get(name, "") + comment

    def is_parallel(comment):
        if re.search(r"\bparallel\b", comment):
            return True
        model = re.search(r"\bas for\s+(?:///\s+)?`(\w+)`", comment)
        return bool(model) and is_parallel(comments.get(model[1], ""))

    return {name for name, comment in comments.items() if is_parallel(comment)}


def summary_of(name, table, parallel):
    """One row of the summary."""
    compute, memory, behind, scaling = [], [], 0, []
    rows = former(table)
    for (row, threads), cells in rows.items():
        ours, against_peer, limit, against_limit = (float(cells[i]) if cells[i] else None for i in (2, 5, 6, 7))
        if threads != 1:
            continue
        if against_peer and limit:
            if against_peer * against_limit >= COMPUTES_FROM:
                compute.append(against_peer)
            else:
                memory.append(against_limit)
            behind += against_peer < 1 and against_limit > AT_THE_LIMIT
        elif against_peer:
            behind += against_peer < 1
        if row.split("/")[0].split()[0] in parallel and (row, 2) in rows:
            scaling.append(ours / float(rows[row, 2][2]))
    date = re.search(r"Latest run: ([\d-]+)", table)
    return [name, date[1] if date else "", geometric_mean(compute), str(len(compute)), geometric_mean(memory),
            str(len(memory)), str(behind), geometric_mean(scaling)]


def summary(page, parallel):
    columns = ["processor", "run", "compute rows: peer/ours", "rows", "memory rows: ours/limit", "rows",
               "rows behind", "one thread / two threads"]
    return markdown(columns, [summary_of(name, table, parallel) for name, table in SECTION.findall(page)])


def updated(page, run, name, parallel):
    """The page with the rows of a run in the table of the named processor."""
    tables = sections(page)
    rows = former(tables.get(name, ""))
    rows.update(measured(benchmark) for benchmark in run["benchmarks"] if "error_message" not in benchmark)
    table = render(name, run["context"], rows)
    if name in tables:
        page = SECTION.sub(lambda match: table if match[1] == name else match[0], page)
    else:
        page = page.replace(TABLES_END, table + "\n" + TABLES_END)
    return SUMMARY.sub(lambda match: match[1] + summary(page, parallel) + match[2], page)


def main(result, page, headers="include/ko"):
    text = updated(Path(page).read_text(), json.loads(Path(result).read_text()), processor(),
                   parallel_operations(Path(headers)))
    Path(page).write_text(text)


if __name__ == "__main__":
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    main(*sys.argv[1:])
