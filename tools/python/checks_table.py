#!/usr/bin/env python3
"""Turns what the public headers say of refused arguments into the table of the Python package.

usage: checks_table.py INCLUDE PACKAGE          writes the table to the standard output

The table has, for every operation that the package calls, the parameters of its forms in the order of C++ and the
reasons for each status, in the words of the header. Forms that are refused for the same reasons stand together. A form
that names no statuses of its own takes those of another form, or of the operation that its text refers to.
"""
import pprint
import re
import sys
from pathlib import Path

DECLARATION = re.compile(r"((?:^///.*\n)+)KO_EXPORT ResultCode (\w+)\(([^;]*)\);", re.MULTILINE)
REASON = re.compile(r"^///   (Result\w+)((?:, \d)*)  +(.*)$")
CONTINUED = re.compile(r"^///    {4,}(\S.*)$")
NAME = re.compile(r"(\w+)$")

HEAD = '''"""Why the library refuses arguments. Made by tools/python/checks_table.py from the public headers: do not edit."""

CHECKS: dict[str, list[tuple[list[tuple[str, ...]], dict[str, str]]]] = '''


def reasons_of(comment):
    """Status to reason; several rows of one status are joined."""
    reasons = {}
    current = []
    for line in comment.splitlines():
        row = REASON.match(line)
        if row:
            current = [row[1]] + [f"ResultBadArg{number}" for number in re.findall(r"\d", row[2])]
            for status in current:
                reasons[status] = f"{reasons[status]}; or {row[3]}" if status in reasons else row[3]
        elif CONTINUED.match(line) and current:
            for status in current:
                reasons[status] += " " + CONTINUED.match(line)[1]
        else:
            current = []
    reasons.pop("ResultOk", None)
    return {status: reason.replace("`", "") for status, reason in reasons.items()}


def parameters_of(declaration):
    names = []
    depth = 0
    start = 0
    for position, letter in enumerate(declaration + ","):
        depth += (letter == "<") - (letter == ">")
        if letter == "," and depth == 0:
            names.append(NAME.search(declaration[start:position].strip())[1])
            start = position + 1
    return tuple(names)


def called_by(package):
    """Names of the native module that the package uses."""
    text = "".join(source.read_text() for source in Path(package).glob("_*.py"))
    return set(re.findall(r"\bnative\.(\w+)", text))


def table(include, called):
    """Operation to its forms: the parameters of those that have the same reasons, and the reasons."""
    forms = [(name, comment, parameters_of(declaration), reasons_of(comment))
             for header in sorted(Path(include, "ko").rglob("*.h"))
             for comment, name, declaration in DECLARATION.findall(header.read_text())]
    told = {}
    for name, _, _, reasons in forms:
        if reasons:
            told.setdefault(name, reasons)
    checks = {}
    for name, comment, parameters, reasons in forms:
        if name in called:
            others = (told[other] for other in [name, *re.findall(r"`(\w+)`", comment)] if other in told)
            told.setdefault(name, reasons or next(others, {}))
            reasons = reasons or told[name]
            groups = checks.setdefault(name, [])
            group = next((forms for forms, shared in groups if shared == reasons), None)
            if group is None:
                groups.append(([parameters], reasons))
            elif parameters not in group:
                group.append(parameters)
    return dict(sorted(checks.items()))


def text_of(checks):
    return HEAD + pprint.pformat(checks, width=120, sort_dicts=False).replace("{", "{\n ", 1) + "\n"


if __name__ == "__main__":
    sys.stdout.write(text_of(table(sys.argv[1], called_by(sys.argv[2]))))
