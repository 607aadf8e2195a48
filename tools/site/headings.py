"""The headings of Markdown and the places by which links name them."""
import re

# Code in fences, in which no line is a heading.
FENCED = re.compile(r"^```.*?^```", re.MULTILINE | re.DOTALL)
HEADING = re.compile(r"^#+ (.+)$", re.MULTILINE)


def place_of(title):
    """What stands behind the # of a link to a heading, as code hosts form it."""
    return re.sub(r"[^\w\- ]", "", title).strip().lower().replace(" ", "-")


def places(text):
    return {place_of(title) for title in HEADING.findall(FENCED.sub("", text))}
