"""The pages of the Python functions, from their documentation in the sources: nothing is imported."""
import ast
import copy
import functools
import re
from pathlib import Path

# Each package by the name that its users give it.
PACKAGES = {"ko": Path("python/koimproc"), "ks": Path("python/koimproc/series")}
MARKS = {"ko": "<!-- the Python functions -->", "ks": "<!-- the functions for series -->"}
IDENTIFIERS = {"ko": "python", "ks": "python-series"}

# In the order in which a reader meets them.
GROUPS = {
    "Frames and files": ("Frame", "imread", "raw_info", "RawInfo", "unpack", "pack"),
    "From mosaics to colours": ("demosaic", "develop", "white_balance"),
    "Statistics": ("histogram", "joint_histogram", "moments", "Moments", "minmax", "threshold_otsu", "entropy"),
    "Levels": ("equalize_hist", "match_histograms", "rescale_intensity", "clip_to_depth"),
    "Series and flat fields": ("average", "flat_field", "correct_defects", "Accumulator"),
    "Thresholds": ("threshold", "threshold_to_zero", "greater", "binarize"),
    "Masks and borders": ("apply_mask", "logical_and", "logical_or", "logical_xor", "ellipse_mask", "disk_mask", "pad"),
    "Filters": ("median", "sobel", "distance", "resize"),
    "Contours": ("active_contour",),
    "Threads and errors": ("threads", "ArgumentError", "SampleTypeError"),
}

SECTION = re.compile(r"^(\w+)\n-+\n", re.MULTILINE)
ENTRY = re.compile(r"^(\S[^\n]*?)(?: : ([^\n]+))?\n((?:    [^\n]*\n|\n)*)", re.MULTILINE)
FORMULA = re.compile(r"([\d.]*2\*\*bits(?: - 1)?|[^\s`]*\*\*[\w)]*)")


def public_names(package):
    tree = ast.parse((PACKAGES[package] / "__init__.py").read_text())
    shown = next(node.value for node in tree.body if isinstance(node, ast.Assign) and node.targets[0].id == "__all__")
    return [name for name in ast.literal_eval(shown) if name != "__version__"]


def definitions(package):
    """Name to the function or class that is meant: of overloads the last."""
    found = {}
    for source in sorted(PACKAGES[package].rglob("_*.py")):
        for node in ast.parse(source.read_text()).body:
            if isinstance(node, (ast.FunctionDef, ast.ClassDef)):
                found[node.name] = node
    return found


def signature(node, package):
    """As it is called, without types."""
    function, skipped = node, 0
    if isinstance(node, ast.ClassDef):
        makers = [item for item in node.body if isinstance(item, ast.FunctionDef) and item.name == "__init__"]
        if not makers:
            return None
        function, skipped = makers[0], 1
    arguments = copy.deepcopy(function.args)
    for argument in filter(None, [*arguments.args, *arguments.kwonlyargs, arguments.vararg, arguments.kwarg]):
        argument.annotation = None
    arguments.args = arguments.args[skipped:]
    return f"{package}.{node.name}({ast.unparse(arguments)})"


def prose(text):
    """Text without what Markdown would take for its own."""
    parts = re.sub(r"``([^`]+)``", r"`\1`", text).split("`")
    parts[::2] = [FORMULA.sub(r"`\1`", part).replace("<", "&lt;") for part in parts[::2]]
    return "`".join(parts)


def entries(text):
    lines = []
    for name, kind, meaning in ENTRY.findall(text + "\n"):
        said = prose(" ".join(meaning.split()))
        names = ", ".join(f"`{one}`" for one in name.split(", "))
        lines.append(f"- {names}" + (f" ({prose(kind)})" if kind else "") + (f": {said}" if said else ""))
    return "\n".join(lines)


def methods(node):
    """Those of a class that say what they do, its properties, and what an index gives."""
    members = {"[index]" if item.name == "__getitem__" else item.name: ast.get_docstring(item) for item in node.body
               if isinstance(item, ast.FunctionDef)}
    return "\n".join(f"- `{name}`: {prose(' '.join(text.split()))}" for name, text in members.items()
                     if text and not name.startswith("_"))


def page_of(package, node):
    """Identifier, title and text of a page."""
    identifier = f"{IDENTIFIERS[package]}-{node.name}"
    text = ast.get_docstring(node)
    parts = SECTION.split(text + "\n")
    called = signature(node, package)
    lines = [] if called is None else ["```py", called, "```", ""]
    lines.append(prose(parts[0].strip()))
    for heading, body in zip(parts[1::2], parts[2::2]):
        lines += ["", f"## {heading} {{#{identifier}-{heading.lower()}}}", ""]
        if heading == "Examples":
            lines += ["```py", body.strip(), "```"]
        elif heading == "Notes":
            lines.append(prose(body.strip()))
        else:
            lines.append(entries(body))
    if isinstance(node, ast.ClassDef) and methods(node):
        lines += ["", f"## Methods and properties {{#{identifier}-methods}}", "", methods(node)]
    return identifier, f"{package}.{node.name}", "\n".join(lines) + "\n"


def pages():
    """Identifier, title and text of every page."""
    return [page_of(package, found[name]) for package in PACKAGES for found in [definitions(package)]
            for name in public_names(package)]


def table(package, names, found):
    lines = ["| | |", "|---|---|"]
    for name in names:
        first = prose(ast.get_docstring(found[name]).partition("\n")[0].rstrip("."))
        lines.append(f"| [{name}](@ref {IDENTIFIERS[package]}-{name}) | {first} |")
    return "\n".join(lines) + "\n"


@functools.cache
def overview():
    """Tables of all functions by the marks that they replace: those of koimproc by group."""
    grouped = [name for names in GROUPS.values() for name in names]
    if sorted(grouped) != sorted(public_names("ko")):
        raise SystemExit(f"groups of Python functions: {set(grouped) ^ set(public_names('ko'))}")
    found = definitions("ko")
    groups = [f"## {group}\n\n{table('ko', names, found)}" for group, names in GROUPS.items()]
    return {MARKS["ko"]: "\n".join(groups), MARKS["ks"]: table("ks", public_names("ks"), definitions("ks"))}
