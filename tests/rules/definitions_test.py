#!/usr/bin/env python3
"""No function of the libraries is written twice: in namespace ko, one name with one list of parameter types
has one definition, whatever the file and whether or not its namespace has a name.

A second definition in an unnamed namespace is legal C++, and it is how one name comes to have two meanings. Types are
held to the same in the libraries and programs, but for those in unnamed namespaces.

usage: definitions_test.py <root of the source tree>
"""
import re
import sys
import unittest
from collections import defaultdict
from pathlib import Path

# What is compiled once for every processor target has a namespace for each of them, and kernels of different
# families may call their rows alike there.
PER_TARGET = "HWY_NAMESPACE"

NOISE = re.compile(r'//[^\n]*|/\*.*?\*/|R"\((?:.*?)\)"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])\'', re.DOTALL)
DIRECTIVE = re.compile(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", re.MULTILINE)
TOKEN = re.compile(r"\w+|::|&&|->|[^\w\s]")
WORD = re.compile(r"^[A-Za-z_]\w*$")
OPENING, CLOSING = "([{", ")]}"
ATTRIBUTES = frozenset("struct class enum alignas nodiscard KO_EXPORT".split())
TYPE_WORDS = frozenset("const volatile unsigned signed int char short long float double bool void auto "
                       "struct class typename".split())


def tokens_of(text):
    return TOKEN.findall(NOISE.sub(" ", DIRECTIVE.sub(" ", text)))


def end_of_group(tokens, begin, opening, closing):
    """Index of the token that closes the group opened at `begin`."""
    depth = 0
    for i in range(begin, len(tokens)):
        depth += (tokens[i] == opening) - (tokens[i] == closing)
        if depth == 0:
            return i
    return len(tokens)


def split_list(tokens):
    """The elements of a list: split at the commas that are in no bracket."""
    parts, depth = [[]], 0
    for token in tokens:
        depth += (token in OPENING or token == "<") - (token in CLOSING or token == ">")
        if token == "," and depth == 0:
            parts.append([])
        else:
            parts[-1].append(token)
    return [part for part in parts if part]


def without_template(head):
    """The declaration behind `template <...>`, with the parameters of that named by their places."""
    places = {}
    while head[:1] == ["template"]:
        end = end_of_group(head, 1, "<", ">")
        for parameter in split_list(head[2:end]):
            name = parameter[:parameter.index("=")] if "=" in parameter else parameter
            if WORD.match(name[-1]) and name[-1] not in ("class", "typename"):
                places[name[-1]] = f"${len(places)}"
        head = head[end + 1:]
    return [places.get(token, token) for token in head]


def type_of(parameter):
    """A parameter without its name and its default. A record of an image serves wherever its description does,
    so that the two are one type here."""
    if "=" in parameter:
        parameter = parameter[:parameter.index("=")]
    # In `T (&name)[3]` and `T name[3]` the name is inside.
    at = len(parameter) - 1
    if "(" in parameter:
        at = end_of_group(parameter, parameter.index("("), "(", ")") - 1
    elif "[" in parameter:
        at = parameter.index("[") - 1
    name, before = parameter[at], parameter[:at]
    has_type = any(WORD.match(token) and token not in ("const", "volatile") or token.startswith("$")
                   for token in before)
    if WORD.match(name) and name not in TYPE_WORDS and has_type and before[-1] != "::":
        parameter = before + parameter[at + 1:]
    return " ".join("SxImageInfo" if token == "SxImageBuf" else token for token in parameter)


def signature_of(head):
    """Name and parameter types of the function that the tokens before a body declare; None for anything else:
    members that are defined outside their class, specialisations of templates."""
    if head[:3] == ["template", "<", ">"]:
        return None
    head = without_template(head)
    if "(" not in head:
        return None
    if "operator" in head:
        begin = head.index("operator")
        opening = head.index("(", begin + 2)
        name, before = "".join(head[begin:opening]), head[begin - 1:begin]
    else:
        opening = head.index("(")
        if "=" in head[:opening] or not WORD.match(head[opening - 1]):
            return None
        name, before = head[opening - 1], head[opening - 2:opening - 1]
    if before == ["::"] or len(head[:opening]) < 2:
        return None
    closing = end_of_group(head, opening, "(", ")")
    return name, tuple(type_of(parameter) for parameter in split_list(head[opening + 1:closing]))


def type_in(head):
    """Name of the type that the tokens before a body declare; None for anything else and for specialisations."""
    if head[:3] == ["template", "<", ">"]:
        return None
    head = without_template(head)
    if head[:1] not in (["struct"], ["class"], ["enum"]) or "=" in head:
        return None
    names = [(at, token) for at, token in enumerate(head) if WORD.match(token) and token not in ATTRIBUTES]
    if not names or head[names[0][0] + 1:][:1] in (["<"], ["::"]):
        return None
    return names[0][1]


def definitions(text):
    """What a file defines in its namespaces: (namespace, name, parameter types) of functions, (namespace, name, None) of
    types that are not in an unnamed one."""
    tokens = tokens_of(text)
    spaces, head, i = [], [], 0
    while i < len(tokens):
        token = tokens[i]
        if token == ";":
            head = []
        elif token == "}":
            spaces, head = spaces[:-1], []
        elif token == "(":
            end = end_of_group(tokens, i, "(", ")")
            head += tokens[i:end + 1]
            i = end
        elif token == "{":
            if "namespace" in head:
                spaces = spaces + ["".join(head[head.index("namespace") + 1:])]
                head = []
            else:
                signature = signature_of(head)
                i = end_of_group(tokens, i, "{", "}")
                if signature is not None:
                    head = []
                    if PER_TARGET not in spaces:
                        yield ("::".join(space for space in spaces if space), *signature)
                elif (name := type_in(head)) is not None:
                    head = []
                    if PER_TARGET not in spaces and "" not in spaces:
                        yield "::".join(spaces), name, None
                elif "=" not in head:
                    head = []
        else:
            head.append(token)
        i += 1


def repeated(files):
    """Sentences about what several files define in namespace ko; `files`: (path, text)."""
    return among((path, definitions(text)) for path, text in files)


def among(defined):
    """The same of definitions: (path, definitions). Within one file they are alternatives for the preprocessor: a
    compiler refuses others."""
    places = defaultdict(set)
    for path, entries in defined:
        for space, name, types in entries:
            if space == "ko" or space.startswith("ko::"):
                places[space, name, types].add(path)
    for (space, name, types), paths in sorted(places.items(), key=str):
        if len(paths) > 1:
            parameters = "" if types is None else f"({', '.join(types)})"
            yield f"{space}::{name}{parameters} is defined in {', '.join(sorted(paths))}"


class Tree(unittest.TestCase):
    root = Path()
    maxDiff = None

    def sources(self, *tops):
        return [(path.relative_to(self.root).as_posix(), path.read_text())
                for top in tops for path in sorted((self.root / top).rglob("*")) if path.suffix in (".h", ".cpp")]

    def test_defines_no_function_twice(self):
        files = self.sources("src", "include", "camera", "gstreamer")
        found = sum(1 for _, text in files for _ in definitions(text))
        self.assertGreater(found, 500, "this is not the source tree, or its functions are not seen")
        self.assertEqual([], list(repeated(files)))

    def test_defines_no_type_twice(self):
        files = self.sources("src", "include", "tools/ko", "camera", "gstreamer")
        types = [(path, [entry for entry in definitions(text) if entry[2] is None]) for path, text in files]
        self.assertGreater(sum(len(entries) for _, entries in types), 200, "the types of the tree are not seen")
        self.assertEqual([], list(among(types)))


class Samples(unittest.TestCase):
    HEADER = """
        #pragma once
        #define KO_TWICE(x) \\
            do { x; x; } while (false)
        namespace ko {
        struct Band { int low; bool isMosaic(const Image& i) const { return i.channels == 1; } };
        bool isDeclared(const Image& image);  // and defined elsewhere {
        inline bool isMosaic(const Image& image) noexcept { return image.grid != 0; }
        template <class T, class Body>
        void loop(std::int64_t count, const Body& body, int step = 1) { for (;;) { body(count); } }
        constexpr int cells[] = {1, 2, 3};
        constexpr auto twice = [](int value) { return value + value; };
        }
        """

    def assert_repeated(self, expected, *texts):
        found = list(repeated((str(i), text) for i, text in enumerate(texts)))
        self.assertEqual(expected, len(found), found)

    def test_sees_definitions_in_namespaces(self):
        self.assertEqual([("ko", "Band", None),
                          ("ko", "isMosaic", ("const Image &",)),
                          ("ko", "loop", ("std :: int64_t", "const $1 &", "int"))],
                         list(definitions(self.HEADER)))

    def test_finds_a_second_definition(self):
        self.assert_repeated(1, self.HEADER, """
            namespace ko { namespace {
            bool isMosaic(const Image& info) { return info.channels == 1; }
            } }""")
        self.assert_repeated(1, self.HEADER, """
            namespace ko::detail { int helper() { return 1; } }
            namespace ko {
            template <typename A, typename Work>
            void loop(std::int64_t n, const Work& work, int by) { work(n); }
            }""")
        self.assert_repeated(1, "namespace ko { bool isSet(const int (&a)[3], T (*f)(int)) { return true; } }",
                             "namespace ko { bool isSet(const int (&b)[3], T (*g)(int)) { return g(1); } }")
        self.assert_repeated(1, "namespace ko { bool operator==(Band a, Band b) { return true; } }",
                             "namespace ko { bool operator==(Band l, Band r) { return true; } }")
        self.assert_repeated(1, "namespace ko { bool isDark(const SxImageBuf& image) { return true; } }",
                             "namespace ko { bool isDark(const SxImageInfo& info) { return false; } }")
        self.assert_repeated(1, "namespace ko { auto f(int a) -> std::vector<int> { return {a}; } }",
                             "namespace ko { static void f(int) {} }")

    def test_accepts_overloads_members_and_other_namespaces(self):
        self.assert_repeated(0, self.HEADER, """
            bool isMosaic(const Image& image) { return true; }
            namespace ko::detail { bool isMosaic(const Image& image) { return true; } }
            namespace ko {
            bool isMosaic(Image& image) { return true; }
            bool isMosaic(const Image& image, int grid) { return true; }
            bool isDeclared(const Image& image) { return isMosaic(image); }
            bool Pixels::isMosaic(const Image& image) { return true; }
            Pixels::Pixels(int a) : m_a{a} {}
            template <> void loop(std::int64_t count, const Body& body, int step) { body(count); }
            class Other { bool isDeclared(const Image& image) { return false; } };
            }""")

    def test_finds_a_second_type(self):
        self.assert_repeated(1, self.HEADER, "namespace ko { enum class Band : int { Low }; }")
        self.assert_repeated(1, self.HEADER, "namespace ko { template <class T> class KO_EXPORT Band final {}; }")
        self.assert_repeated(0, self.HEADER, """
            namespace ko::tool { struct Band {}; }
            namespace ko { class Band; template <> struct Band<int> {}; namespace { struct Band {}; } }""")

    def test_leaves_alternatives_of_the_preprocessor_alone(self):
        self.assert_repeated(0, """
            namespace ko {
            #if A
            int f() { return 1; }
            #else
            int f() { return 2; }
            #endif
            }""")

    def test_leaves_rows_of_each_target_alone(self):
        kernels = "namespace ko { namespace HWY_NAMESPACE { namespace { void Row(int n) { n++; } } } }"
        self.assert_repeated(0, kernels, kernels)
        self.assert_repeated(1, kernels + "namespace ko { void row(int n) {} }",
                             "namespace ko { void row(int k) {} }")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    Tree.root = Path(sys.argv.pop())
    unittest.main()
