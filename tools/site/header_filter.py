#!/usr/bin/env python3
"""Prints a public header the way Doxygen wants it: filter of docs/site/Doxyfile.

usage: header_filter.py HEADER

The headers are written for people who read them as they are. This adds what Doxygen needs and they do not:

- the comment at the top describes the file, and what it says of all operations their room or, where a room has
  several headers, their part of it; that of a component stays with the file, as its page says the same;
- everything declared belongs to the group of its room, named after the header's place;
- a line "// ---- title" and the comment below it begin a part of the room;
- the lines "///   ResultBadArg1  what is wrong" of @returns become a table.
"""
import re
import sys
from pathlib import Path

BUILD_LIST = Path(__file__).resolve().parents[2] / "cmake/rooms.cmake"


def operation_rooms():
    """The rooms with operations, from the one list of rooms; those of the core library last."""
    lists = re.findall(r"^set\(KO_(?:CORE|IMPROC)_ROOMS ([\w\s]+)\)", BUILD_LIST.read_text(), re.MULTILINE)
    return [room for names in reversed(lists) for room in names.split()]


# Libraries beside the two, each with one header.
COMPONENTS = ["camera", "gstreamer"]
# Those with a page of their own besides core's.
ROOMS = [room for room in operation_rooms() if room != "core"] + ["cpp", "interop"] + COMPONENTS
PARTS = ("stats", "pipeline", "cpp")  # rooms of several headers
STATUS = re.compile(r"^/// {3}(Result\w+|1)  +(\S.*)$")
CONTINUED = re.compile(r"^/// {8,}(\S.*)$")
SECTION = re.compile(r"^// -{10,} (.+)$")


def room_of(path):
    """The group of a header; what is not of a room is core."""
    name = path.parent.name if path.parent.name != "ko" else path.stem
    return name if name in ROOMS else "core"


def comment(lines):
    return ["/// " + line if line else "///" for line in lines]


def strip_slashes(lines):
    return [line[2:].removeprefix(" ") for line in lines]


def take_comment(lines, start):
    """The // lines from start on; they end at the first other line."""
    end = start
    while end < len(lines) and lines[end].startswith("//") and not lines[end].startswith("///"):
        end += 1
    return strip_slashes(lines[start:end]), end


def part(title, text):
    return comment([f"@name {title}", "", *text, "@{"])


def headline(text):
    """First sentence without its full stop, and the rest."""
    joined = "\n".join(text)
    sentence, _, rest = joined.partition(".")
    return sentence.replace("\n", " "), rest.removeprefix("\n").split("\n")


def tabulate_statuses(lines):
    """Turns the lines of @returns into a table, ended by an empty line."""
    out = []
    in_table = False
    for line in lines:
        status = STATUS.match(line)
        more = CONTINUED.match(line) if in_table else None
        if status:
            if not in_table:
                out.append('/// <table class="statuses">')
            out.append(f"/// <tr><td><code>{status[1]}</code></td><td>{status[2]}</td></tr>")
        elif more:
            out[-1] = out[-1].removesuffix("</td></tr>") + f" {more[1]}</td></tr>"
        else:
            if in_table:
                out += ["/// </table>"] + ["///"] * line.startswith("///")
            out.append(line)
        in_table = bool(status or more)
    return out


def filtered(path, lines):
    room = room_of(path)
    head, at = take_comment(lines, 0)
    out = comment(["@file", *head]) + [""]
    opened = False
    while at < len(lines):
        line = lines[at]
        section = SECTION.match(line)
        if line == "namespace ko {":
            title, rest = headline(head)
            common = rest if path.stem == room and room not in COMPONENTS else []
            out += [line, "", *comment([f"@addtogroup {room}", "", *common, "@{"])]
            if room in PARTS and path.parent.name == room:
                out += ["", *part(title, rest)]
                opened = True
        elif line == "}  // namespace ko":
            out += (["/// @}"] if opened else []) + ["/// @}", line]
        elif section:
            text, end = take_comment(lines, at + 1)
            out += (["/// @}"] if opened else []) + ["", *part(section[1].capitalize(), text)]
            opened = True
            at = end
            continue
        else:
            out.append(re.sub(r"(@param [\w.]+(?:, \w+)+)", lambda names: names[0].replace(", ", ","), line))
        at += 1
    return tabulate_statuses(out)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    header = Path(sys.argv[1])
    print("\n".join(filtered(header, header.read_text().splitlines())))
