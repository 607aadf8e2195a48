"""Which command calls which operation: the table in docs/tool.md against headers, sources and the tool."""

import re
from pathlib import Path

import ko_files
from ko_files import ToolTest

ROOT = Path(__file__).resolve().parents[2]

# What no command calls, and why.
UNREACHED = {"ComputeOtsuThreshold": "gives 0 whatever the picture holds",
             "ComputeOtsuThresholdMasked": "its sums of 32 bits overflow for larger pictures",
             "packedBitsPerSample": "names of formats say how many bits count, also those of words"}


def exported_operations():
    """Names of the exported functions; the pipeline, which is made of classes, apart."""
    names = set()
    for header in (ROOT / "include/ko").rglob("*.h"):
        if "pipeline" not in header.relative_to(ROOT).parts:
            names |= set(re.findall(r"^KO_EXPORT [\w:*& ]+?[ *](\w+)\(", header.read_text(), re.MULTILINE))
    return names


def documented():
    """The operations of every command in the table."""
    text = (ROOT / "docs/tool.md").read_text().split("## Which command calls what")[1].split("\n## ")[0]
    rows = re.findall(r"^\| `ko ([\w-]+)` \| (.*) \|$", text, re.MULTILINE)
    return {command: set(re.findall(r"`(\w+)`", operations)) for command, operations in rows}


def commands_in_help(text):
    return set(re.findall(r"^  ([a-z][\w-]*)  ", text, re.MULTILINE))


class Reach(ToolTest):
    def test_headers_are_read(self):
        names = exported_operations()
        self.assertGreater(len(names), 80)
        self.assertLessEqual({"Histogram", "AllocBuffer", "DemosaicAllocBuffer", "GetCircleMaskByte", "L2CacheSize",
                              "imageByteSize"}, names)

    def test_the_table_names_operations_that_there_are(self):
        # A new operation needs no command, so not every export is in the table.
        listed = set().union(*documented().values())
        self.assertEqual(listed & set(UNREACHED), set())
        self.assertEqual((listed | set(UNREACHED)) - exported_operations(), set())

    def test_the_tool_calls_what_the_table_says(self):
        # The pictures of the tool are images of the C++ layer, which asks for their memory.
        paths = [*(ROOT / "tools/ko").rglob("*.[ch]*"), ROOT / "include/ko/cpp/image.h"]
        sources = "".join(re.sub(r"//.*|\"[^\"]*\"", "", path.read_text()) for path in paths)
        called = set(re.findall(r"\b(\w+)\(", sources)) | set(re.findall(r"\{(And|Or|Xor), ", sources)) | set(
            re.findall(r"m_\w*[bB]uffers\{(\w+)\}", sources))
        self.assertEqual(set().union(*documented().values()) - called, set())
        self.assertEqual(set(UNREACHED) & called, set())

    def test_the_table_has_every_command(self):
        self.assertEqual(commands_in_help(self.succeed("--help")) - set(documented()), set())
        for command in documented():
            self.assertIn("--help", self.succeed(command, "--help"))

    def test_the_help_groups_the_commands_by_room(self):
        text = self.succeed("--help")
        rooms = re.findall(r"^([A-Z][\w ]+):$", text, re.MULTILINE)
        self.assertEqual(rooms[1:], ["Files", "Masks and borders", "Statistics", "Tone", "Pixels", "Conversion", "Filters",
                                     "Demosaicing", "Live cameras", "Active contour", "Series", "Tool"])


if __name__ == "__main__":
    ko_files.main()
