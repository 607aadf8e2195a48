#!/usr/bin/env python3
"""Writes everything that a new operation needs and enters it wherever operations are listed.

usage: new_operation.py ROOM NAME

NAME is the name of the function, as in MaskImage. What is written copies samples, builds, and passes every test; then
the operation itself is written in its place. Run it on a tree without changes, so that git shows and undoes what it did.
"""
import re
import subprocess
import sys
from pathlib import Path

TEMPLATES = Path(__file__).parent / "templates"


def rooms(root):
    found = re.search(r"^set\(KO_IMPROC_ROOMS ([\w\s]+)\)", (root / "cmake/rooms.cmake").read_text(), re.MULTILINE)
    return found[1].split()


class Operation:
    def __init__(self, root, room, name):
        self.root, self.room, self.name = root, room, name
        self.lower = name[0].lower() + name[1:]
        self.file = re.sub(r"(?<=[a-z0-9])(?=[A-Z])|(?<=[A-Z])(?=[A-Z][a-z])", "_", name).lower()
        # A room of several headers gets one more.
        self.has_headers = (root / "include/ko" / room).is_dir() and room != "demosaic"
        self.header = f"{room}/{self.file}.h" if self.has_headers else f"{room}.h"
        self.changed = []

    def read(self, path):
        return (self.root / path).read_text()

    def write(self, path, text):
        (self.root / path).write_text(text)
        self.changed.append(path)

    def filled(self, template):
        words = {"Name": self.name, "name": self.lower, "file": self.file, "room": self.room, "header": self.header}
        return re.sub(r"@(\w+)@", lambda word: words[word[1]], (TEMPLATES / template).read_text())

    def create(self, path, template):
        if (self.root / path).exists():
            sys.exit(f"{path} is there already")
        self.write(path, self.filled(template))

    def edit(self, path, pattern, replacement):
        """Replaces the first match; there has to be one."""
        text, count = re.subn(pattern, lambda match: match.expand(replacement), self.read(path), count=1,
                              flags=re.MULTILINE)
        if count == 0:
            sys.exit(f"{path} is not as expected: nothing matches {pattern}")
        self.write(path, text)

    def add_source(self, path, call, *sources):
        """At the end of the sources that a call in a CMakeLists.txt lists."""
        self.edit(path, rf"({call}\([^)]*?)\s*\)", r"\1 " + " ".join(sources) + ")")

    def declare(self):
        declaration = self.filled("declaration.h.in")
        if not self.has_headers:
            self.edit(f"include/ko/{self.header}", r"^}  // namespace ko$",
                      declaration.replace("\\", r"\\") + r"\n\g<0>")
            return
        self.write(f"include/ko/{self.header}", f"// {self.name}.\n#pragma once\n\n#include <ko/image.h>\n"
                   f"#include <ko/result.h>\n\nnamespace ko {{\n\n{declaration}\n}}  // namespace ko\n")
        umbrella = f"include/ko/{self.room}.h"
        self.edit(umbrella, r"\Z", f"#include <ko/{self.header}>\n")

    def implement(self):
        for suffix, template in ((".cpp", "operation.cpp.in"), ("_kernels.h", "kernels.h.in"),
                                 ("_kernels.cpp", "kernels.cpp.in")):
            self.create(f"src/{self.room}/{self.file}{suffix}", template)
        self.add_source(f"src/{self.room}/CMakeLists.txt", "target_sources", f"{self.file}.cpp",
                        f"{self.file}_kernels.cpp")

    def test(self):
        self.create(f"tests/oracle/{self.file}.h", "oracle.h.in")
        self.create(f"tests/rooms/{self.room}/{self.file}_test.cpp", "test.cpp.in")
        self.add_source(f"tests/rooms/{self.room}/CMakeLists.txt", "ko_add_room_test", f"{self.file}_test.cpp")
        self.edit(f"tests/package/client/api/{self.room}_test.cpp", r"^\s*}\);$",
                  f'{{"{self.name}", exported<ResultCode(const SxImageBuf&, SxImageBuf&)>(&{self.name})}},\n'
                  r"\g<0>")
        symbols = self.read("tests/rules/exported_symbols.txt").splitlines()
        symbols.append(f"libkoimproc: ko::{self.name}(ko::SxImageBuf const&, ko::SxImageBuf&)")
        self.write("tests/rules/exported_symbols.txt", "".join(f"{line}\n" for line in sorted(symbols)))
        self.call_from_threads()

    def call_from_threads(self):
        call = (f'{{"{self.name}", [](Call& c) {{ const TestImage& from = c.image(UInt16); '
                f"c.status({self.name}(from, c.image(UInt16))); }}}},\n")
        self.edit(f"tests/threads/{self.room}_operations.cpp",
                  rf"(^Operations {self.room}Operations\(\)\n(?:.*\n)*?)(    }};\n}})", rf"\1{call}\2")

    def measure(self):
        self.create(f"bench/{self.room}/{self.file}_bench.cpp", "bench.cpp.in")
        self.add_source(f"bench/{self.room}/CMakeLists.txt", "ko_add_bench_rows", f"{self.file}_bench.cpp")

    def fuzz(self):
        folder = f"fuzz/{self.room}"
        self.create(f"{folder}/{self.file}_fuzz.cpp", "fuzz.cpp.in")
        self.add_source(f"{folder}/CMakeLists.txt", "ko_add_fuzzer", f"{self.file}_fuzz.cpp")
        entry = next(path.relative_to(self.root) for path in sorted((self.root / folder).glob("*_fuzz.cpp"))
                     if "KO_FUZZ_ROOM(" in path.read_text())
        families = f"{folder}/families.h"
        if not (self.root / families).exists():
            self.write(families, "// The families of operations that share the room's fuzzer.\n#pragma once\n\n"
                       '#include "fuzz/support/run.h"\n\nnamespace ko::fuzz {\n\n}  // namespace ko::fuzz\n')
            self.edit(entry, r'^#include "', f'#include "{families}"\n' r"\g<0>")
        self.edit(families, r"\n}  // namespace ko::fuzz$", f"Cases {self.lower}Cases();\n" r"\g<0>")
        self.edit(entry, r"KO_FUZZ_ROOM\(", rf"\g<0>ko::fuzz::{self.lower}Cases(), ")

    def bind(self):
        """For Python."""
        self.edit(f"python/native/{self.room}.cpp", r"^}\n\n}  // namespace ko::python$",
                  f'define(module, "{self.name}", &{self.name}, {{"src", "dst"}});\n' r"\g<0>")
        self.edit("python/koimproc/native.pyi", rf"^# -+ .*\b{self.room}\.h\b.*$",
                  rf"\g<0>\n\ndef {self.name}(src: SxImageBuf, dst: SxImageBuf) -> ResultCode: ...")

    def tell(self):
        self.edit("README.md", rf"^(\| `ko/{self.room}\.h` \|.*) \|$", rf"\1, `{self.name}` |")
        page = f"docs/site/rooms/{self.room}.md"
        columns = re.search(r"^\| operation \|.*$", self.read(page), re.MULTILINE)
        if not columns:
            sys.exit(f"{page} has no table of operations")
        between = " |" * (columns[0].count("|") - 3)
        self.edit(page, r"^(\| operation \|.*\n(?:\|.*\n)+)",
                  rf"\1| `{self.name}` |{between} copies samples; say here what it does |" r"\n")

    def write_all(self):
        self.declare()
        self.implement()
        self.test()
        self.measure()
        self.fuzz()
        self.bind()
        self.tell()
        sources = [path for path in dict.fromkeys(map(str, self.changed)) if path.endswith((".h", ".cpp"))]
        subprocess.run(["clang-format-14", "-i", *sources], check=True, cwd=self.root)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    root, room, name = Path.cwd(), sys.argv[1], sys.argv[2]
    if room not in rooms(root):
        sys.exit(f"{room} is none of the rooms {' '.join(rooms(root))}")
    if not re.fullmatch(r"(?:[A-Z][a-z0-9]*)+", name):
        sys.exit(f"{name} is no name of an operation, as MaskImage is")
    if re.search(rf"^KO_EXPORT.*\b{name}\(", "".join(path.read_text() for path in (root / "include").rglob("*.h")),
                 re.MULTILINE):
        sys.exit(f"{name} is declared already")
    operation = Operation(root, room, name)
    operation.write_all()
    print(f"{name} copies samples and passes its tests. Now write, in this order:\n"
          f"  include/ko/{operation.header}, tests/oracle/{operation.file}.h, tests/rooms/{room}/{operation.file}_test.cpp,\n"
          f"  src/{room}/{operation.file}.cpp and its kernels; docs/adding-an-operation.md tells how.")


if __name__ == "__main__":
    main()
