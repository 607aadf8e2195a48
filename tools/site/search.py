"""Full-text search for the site: what every page says, as a script that the browser can load from a file as well."""
import json
import re
import shutil
from html.parser import HTMLParser
from pathlib import Path

# Of Debian's package libjs-lunr: builds the index in the browser and answers queries.
LUNR = Path("/usr/share/javascript/lunr/lunr.min.js")
SCRIPT = Path("docs/site/search.js")

SILENT = {"script", "style", "title"}
FRAME = {"top", "navrow1", "permalink", "ingroups", "summary", "footer"}  # by id or class: what is around the text
INLINE = {"a", "b", "code", "em", "i", "small", "span", "strong", "sub", "sup", "tt"}
LISTING = re.compile(r"-members\.html$|^dir_|^functions|^globals")  # repeats what other pages say
TITLE_END = re.compile(r"\s*(Class|Struct|File|Namespace) Reference.*$", re.DOTALL)
VOID = {"area", "base", "br", "col", "embed", "hr", "img", "input", "link", "meta", "source", "track", "wbr"}
OPTION = re.compile(r"--[a-z][a-z-]*")
HEADINGS = {"h1", "h2", "h3", "h4"}


class Sections(HTMLParser):
    """The sections of a page: where each starts, its heading, its words."""

    def __init__(self, text):
        super().__init__()
        self.title = ""
        self.sections = [{"place": "", "heading": "", "words": []}]
        self.open = []
        self.place = ""
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        names = dict(attributes)
        classes = (names.get("class") or "").split()
        if tag == "a" and names.get("id"):
            self.place = names["id"]
            if any(starts for _, _, _, starts in self.open):
                self.sections[-1]["place"] = self.place
        starts = tag in HEADINGS and "groupheader" not in classes or "memtitle" in classes
        if starts:
            self.sections.append({"place": names.get("id") or self.place, "heading": "", "words": []})
        if "command" in classes:  # a row of the table of commands
            self.sections.append({"place": names["id"], "heading": names["id"].replace("-", " ", 1), "words": []})
        if tag not in VOID:
            hidden = tag in SILENT or not FRAME.isdisjoint([names.get("id"), *classes])
            self.open.append((tag, hidden, "title" in classes, starts))
            if tag not in INLINE:
                self.sections[-1]["words"].append(" ")

    def handle_endtag(self, tag):
        while self.open:
            if self.open.pop()[0] == tag:
                break

    def handle_data(self, data):
        if any(hidden for _, hidden, _, _ in self.open):
            return
        if any(title for _, _, title, _ in self.open):
            self.title += data
        elif any(starts for _, _, _, starts in self.open):
            self.sections[-1]["heading"] += data
        else:
            self.sections[-1]["words"].append(data)


def names_of(page, heading, text):
    """What a section tells of besides its heading: a Python function without its package, a command with its options."""
    if not heading:
        return re.sub(r"^k[os]\.", "", page) if re.match(r"k[os]\.", page) else ""
    command = re.fullmatch(r"ko ([a-z0-9-]+)", heading)
    return " ".join([command[1], *OPTION.findall(text)]) if command else ""


def sections_of(directory):
    """What can be found: address, page, heading and text of every section that says something."""
    for page in sorted(directory.glob("*.html")):
        if LISTING.search(page.name):
            continue
        parsed = Sections(page.read_text(encoding="utf-8"))
        for section in parsed.sections:
            text = re.sub(r"\s+", " ", "".join(section["words"])).strip()
            heading = re.sub(r"\s+", " ", section["heading"]).strip(" ◆")
            if text or heading:
                title = TITLE_END.sub("", parsed.title.strip()) or page.stem
                yield {"address": page.name + (f"#{section['place']}" if section["place"] else ""), "page": title,
                       "heading": heading, "names": names_of(title, heading, text), "text": text}


def write_search(directory):
    sections = list(sections_of(directory))
    (directory / "search-data.js").write_text(f"const searchSections = {json.dumps(sections, ensure_ascii=False)};\n",
                                              encoding="utf-8")
    shutil.copyfile(LUNR, directory / "lunr.js")
    shutil.copyfile(SCRIPT, directory / "search.js")
