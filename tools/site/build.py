#!/usr/bin/env python3
"""Builds the documentation site with Doxygen, in the root of the source tree.

usage: build.py PICTURES

Pages are the Markdown files named in PAGES, written so that they can be read in the repository too. On the way to
Doxygen, links between them become references, links to other files of the repository plain names, lines of pictures
rows of figures, and names of operations in `backticks` links; headings get labels for links to them. The text of a
room opens the page on which its declarations follow. The result is build/docs/html; a link that leads nowhere is an error.
"""
import html
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree as xml
from pathlib import Path

from header_filter import COMPONENTS, ROOMS, filtered, room_of
from headings import FENCED, HEADING, place_of, places
from links import broken_links
from python_api import overview, pages
from search import write_search

OUT = Path("build/docs")
SITE = Path("docs/site")
KEPT = Path("docs/pictures")  # pictures in the repository
HEADERS = [Path(folder, "include/ko") for folder in ("", *COMPONENTS)]

# Pages besides the rooms: source, identifier, title in the bar at the top.
PAGES = [
    (SITE / "index.md", "index", "Overview"),
    (SITE / "first-steps.md", "first-steps", "First steps"),
    (SITE / "concepts.md", "concepts", "Concepts"),
    (Path("docs/tool.md"), "tool", "The tool"),
    (SITE / "developing.md", "developing", "Developing"),
    (SITE / "live.md", "live", "Live cameras"),
    (Path("docs/performance.md"), "performance", "Performance"),
    (SITE / "python.md", "python", "Python"),
    (SITE / "python-api.md", "python-api", None),
    (SITE / "python-from.md", "python-from", None),
    (SITE / "faq.md", "faq", "FAQ"),
    (Path("ARCHITECTURE.md"), "architecture", None),
    (Path("CONTRIBUTING.md"), "contributing", None),
    (Path("CHANGELOG.md"), "changelog", None),
    (Path("bench/README.md"), "benches", None),
]
ROOM_PAGES = {SITE / "rooms" / f"{room}.md": room for room in ["core", *ROOMS] if room not in COMPONENTS}
ROOM_PAGES |= {SITE / "camera.md": "camera", Path("docs/gstreamer.md"): "gstreamer"}
PAGES += [(path, path.stem, None) for path in sorted(Path("docs").glob("*.md"))
          if path not in ROOM_PAGES and path not in [page[0] for page in PAGES]]
IDENTIFIERS = {path.resolve(): identifier for path, identifier, _ in PAGES}
IDENTIFIERS |= {path.resolve(): room for path, room in ROOM_PAGES.items()}

EXPORTED = re.compile(r"^KO_EXPORT [\w:*&<> ]+?[ *&](\w+)\(|^inline [\w:]+ (viewOf|viewAs\w+)\(|^class KO_EXPORT (\w+)",
                      re.MULTILINE)
RECORD = re.compile(r"^(?:struct|enum) ((?:Sx|Ex)\w+)", re.MULTILINE)
TITLE = re.compile(r"\A# (.+)\n")
LINK = re.compile(r"(?<!!)\[([^\]]+)\]\(([^)\s]+)\)")
PICTURE = re.compile(r"!\[([^\]]*)\]\((?:\.\./)?(pictures/[^)]+)\)")  # with .. those in the repository
PICTURE_LINE = re.compile(r"^(?:!\[[^\]]*\]\((?:\.\./)?pictures/[^)]+\) *)+$", re.MULTILINE)
CODE_SPAN = re.compile(r"`([^`\n]+)`")
# With options, a bar of a table, Doxygen's own, or quotes, which would end it there.
COMMAND = re.compile(r"\\\||--|@|^[\w-].* '")
CODE = re.compile(r"`([A-Za-z]\w+)`")
COMMAND_ROW = re.compile(r"^\| (?=`ko ([\w-]+) )", re.MULTILINE)  # with its arguments, in the table of commands
COMMENT = re.compile(r"<!--.*?-->\n?", re.DOTALL)
HEAD_END = "</head>"
PROJECT_ROW_END = " </tr>\n  <!--BEGIN SEARCHENGINE-->"
SCRIPTS = ("lunr.js", "search-data.js", "search.js")
SEARCH_BOX = """  <td id="search">
   <input id="search-box" type="search" placeholder="Search" aria-label="Search the documentation" autocomplete="off"/>
   <div id="search-results" hidden="hidden"></div>
  </td>
"""
PREAMBLE = "<!-- what holds for every operation -->"
LICENCE = "<!-- the licence -->"


def exported_names():
    """Every operation and class with its room. Records and enumerations have none: no page has to tell of them."""
    names = {}
    for header in sorted(header for folder in HEADERS for header in folder.rglob("*.h")):
        names.update(dict.fromkeys(RECORD.findall(header.read_text())))
        for match in EXPORTED.finditer(header.read_text()):
            names[match[1] or match[2] or match[3]] = room_of(header)
    return names


def resolved(link, source):
    """What a link of a page becomes."""
    text, target = link[1], link[2]
    if target.startswith(("http:", "https:")):
        return link[0]
    path, _, place = target.partition("#")
    file = (source.parent / path if path else source).resolve()
    if not file.exists():
        sys.exit(f"{source}: {target} does not exist")
    if place and place not in places(file.read_text()):
        sys.exit(f"{source}: {target} has no such heading")
    if file in IDENTIFIERS:
        return f"[{text}](@ref {IDENTIFIERS[file]}{'_' * bool(place)}{place})"
    return text if text.startswith("`") else f"`{text}`"


def labelled(text, source):
    """The text with a label on every heading, from which Doxygen would show the tags of code."""
    above = source in ROOM_PAGES  # Doxygen wants a group to begin with the highest level

    def label(heading):
        return f"{heading[0][above:].replace('`', '')} {{#{IDENTIFIERS[source.resolve()]}_{place_of(heading[1])}}}"

    code = [*FENCED.findall(text), ""]
    return "".join(HEADING.sub(label, prose) + block for prose, block in zip(FENCED.split(text), code))


def figures(line):
    shown = "".join(f'<figure><a href="{path}"><img src="{path}" alt=""/></a>'
                    f"<figcaption>{html.escape(caption).replace('`', '')}</figcaption></figure>"
                    for caption, path in PICTURE.findall(line[0]))
    return f'@htmlonly[block]\n<div class="pictures">{shown}</div>\n@endhtmlonly'


def command_code(code):
    """Code as HTML whose words are not broken at hyphens, in which Doxygen makes no dashes and follows no orders."""
    words = html.escape(code[1], quote=False).replace("--", "\\--").replace("@", "\\@").split(" ")
    return "<code>" + " ".join(f'<span class="word">{word}</span>' for word in words) + "</code>"


def translated(source, names):
    """Title and text of a page, for Doxygen."""
    text = source.read_text()
    title = TITLE.match(text)
    text = text[title.end():]
    if PREAMBLE in text:
        head = filtered(Path("include/ko/koimproc.h"), (HEADERS[0] / "koimproc.h").read_text().splitlines())
        rules = [line.removeprefix("///").removeprefix(" ") for line in head if line.startswith("///")]
        text = text.replace(PREAMBLE, "\n".join(rules[rules.index("") + 3:]))
    text = text.replace(LICENCE, Path("LICENCE").read_text().partition("\n\n")[2])
    for mark, tables in overview().items():
        text = text.replace(mark, tables)
    text = COMMENT.sub("", text)
    text = labelled(text, source)
    text = COMMAND_ROW.sub(r'| <span class="command" id="ko-\1"></span>', text)
    text = LINK.sub(lambda link: resolved(link, source), text)
    text = PICTURE_LINE.sub(figures, text)
    text = CODE_SPAN.sub(lambda code: command_code(code) if COMMAND.search(code[1]) else code[0], text)
    text = CODE.sub(lambda code: f"[{code[1]}](@ref ko::{code[1]})" if code[1] in names else code[0], text)
    return title[1].replace("`", ""), text


def write_pages(names):
    directory = OUT / "pages"
    shutil.rmtree(directory, ignore_errors=True)
    directory.mkdir(parents=True)
    for source, identifier, _ in PAGES:
        title, text = translated(source, names)
        label = "mainpage" if identifier == "index" else identifier
        (directory / f"{identifier}.md").write_text(f"# {title} {{#{label}}}\n{text}")
    for identifier, title, text in pages():
        (directory / f"{identifier}.md").write_text(f"# {title} {{#{identifier}}}\n\n{text}")
    for number, (source, room) in enumerate(ROOM_PAGES.items()):
        title, text = translated(source, names)
        missing = [name for name, home in names.items() if home == room and f"`{name}`" not in source.read_text()]
        if missing:
            sys.exit(f"{source} does not tell of {', '.join(missing)}")
        (directory / f"room{number:02}.dox").write_text(f"/** @defgroup {room} {title}\n\n{text}\n*/\n")
    (directory / "namespace.dox").write_text("/** @namespace ko\n *  Everything that the libraries export.\n */\n")


def write_layout():
    """Doxygen's own layout with our pages in the bar and the text of a room at its top."""
    path = OUT / "layout.xml"
    subprocess.run(["doxygen", "-l", path], check=True)
    tree = xml.parse(path)
    group = tree.getroot().find("group")
    text = group.find("detaileddescription")
    group.remove(text)
    group.insert(1, text)
    group.find("briefdescription").set("visible", "no")
    bar = tree.getroot().find("navindex")
    for tab in list(bar):
        bar.remove(tab)
    for _, identifier, title in PAGES:
        if identifier == "index":
            xml.SubElement(bar, "tab", type="mainpage", visible="yes", title=title)
        elif title:
            xml.SubElement(bar, "tab", type="user", url=f"@ref {identifier}", title=title)
        if identifier == "concepts":
            xml.SubElement(bar, "tab", type="modules", visible="yes", title="Operations", intro="")
    xml.SubElement(bar, "tab", type="classlist", visible="yes", title="Classes", intro="")
    xml.SubElement(bar, "tab", type="filelist", visible="yes", title="Headers", intro="")
    tree.write(path, encoding="unicode")


def write_header():
    """Doxygen's own head of a page, with the search box and what it needs."""
    path = OUT / "header.html"
    subprocess.run(["doxygen", "-w", "html", path, OUT / "footer.html", OUT / "unused.css"], check=True)
    text = path.read_text(encoding="utf-8")
    scripts = "".join(f'<script src="$relpath^{name}" defer="defer"></script>\n' for name in SCRIPTS)
    for place, addition in ((HEAD_END, '<meta name="color-scheme" content="light dark"/>\n' + scripts),
                            (PROJECT_ROW_END, SEARCH_BOX)):
        if text.count(place) != 1:
            sys.exit(f"Doxygen's head of a page has changed: {place} stands in it {text.count(place)} times")
        text = text.replace(place, addition + place)
    path.write_text(text, encoding="utf-8")


def main():
    pictures = Path(sys.argv[1])
    write_pages(exported_names())
    write_layout()
    write_header()
    shutil.rmtree(OUT / "html", ignore_errors=True)
    if subprocess.run(["doxygen", SITE / "Doxyfile"]).returncode != 0:
        sys.exit("Doxygen warned")
    write_search(OUT / "html")
    shutil.copytree(KEPT, OUT / "html/pictures")
    shutil.copytree(pictures, OUT / "html/pictures", ignore=shutil.ignore_patterns("*.tif"), dirs_exist_ok=True)
    broken = list(broken_links(OUT / "html"))
    if broken:
        sys.exit("\n".join(broken))
    print(f"{OUT}/html/index.html")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main()
