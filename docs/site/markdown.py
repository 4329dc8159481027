# SPDX-License-Identifier: MIT
"""A page in Markdown, as a host of repositories shows it and as Doxygen takes it."""
import os
import re
from pathlib import Path

# A block of code, code in a line, a comment; then a picture or link. The first three are left as they are.
_PARTS = re.compile(
    r"^```.*?^```[ ]*$|(?P<ticks>`+)(?!`).+?(?<!`)(?P=ticks)(?!`)|<!--(?P<comment>.*?)-->"
    r"|(?P<picture>!?)\[(?P<text>(?:[^\[\]`]|`[^`]*`)*)\]\((?P<target>[^()\s]+)\)",
    re.MULTILINE | re.DOTALL)
_HEADING = re.compile(r"^(#{1,6}) +(.*?) *$", re.MULTILINE)
_FENCE = re.compile(r"^```.*?^```[ ]*$", re.MULTILINE | re.DOTALL)


def slug(heading):
    """The anchor of a heading, as hosts of repositories make it."""
    text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).lower()
    return re.sub(r"[^\w\- ]", "", text).replace(" ", "-")


class Page:
    def __init__(self, root, path):
        self.root = Path(root)
        self.path = path
        self.source = (self.root / path).read_text()
        name = path.removesuffix(".md").removesuffix("/README").removeprefix("docs/").lower().replace("/", "-")
        self.label = "index" if path == "README.md" else "page-" + name

    def resolve(self, target):
        """The path in the tree and the anchor of a link; no path for one that leads outside."""
        if re.match(r"[a-z]+:", target):
            return None, ""
        file, _, anchor = target.partition("#")
        where = os.path.normpath(os.path.join(os.path.dirname(self.path), file)) if file else self.path
        return where, anchor

    def links(self):
        """What the links and pictures lead to, in their order."""
        return [self.resolve(target)[0] for _, target in self.targets()]

    def targets(self):
        """The line and the target of every link and picture."""
        for match in _PARTS.finditer(self.source):
            if match["target"]:
                yield self.source.count("\n", 0, match.start()) + 1, match["target"]

    def headings(self):
        """The offset, the level, the text and the anchor of every heading."""
        blank = _FENCE.sub(lambda match: re.sub(r"[^\n]", " ", match[0]), self.source)
        seen = {}
        for match in _HEADING.finditer(blank):
            anchor = slug(match[2])
            number = seen[anchor] = seen.get(anchor, -1) + 1
            yield match.start(), len(match[1]), match[2], anchor + (f"-{number}" if number else "")

    def anchors(self):
        return {anchor for _, _, _, anchor in self.headings()}

    def for_doxygen(self, pages, parents, write, chart):
        """The text for Doxygen, line by line as it was. Hands the charts to write(name, svg)."""
        unlisted = {path for path, parent in parents.items() if parent == self.path}
        charts = 0

        def replacement(match):
            nonlocal charts
            if match["comment"]:
                words = match["comment"].split(None, 1)
                if words[:1] != ["chart:"]:
                    return match[0]
                charts += 1
                name = f"{self.label}-{charts}.svg"
                svg, title = chart(words[1], match.string[match.end():])
                write(name, svg)
                return f'<img class="chart" src="{name}" alt="{title}"/>'
            if not match["target"]:
                return match[0]
            text = match["text"]
            where, anchor = self.resolve(match["target"])
            if match["picture"]:
                return f'<img src="{os.path.basename(where)}" alt="{text}"/>'
            if where is None:
                return match[0]
            if where in pages:
                if where in unlisted and not anchor:
                    unlisted.remove(where)
                    return "@subpage {} \"{}\"".format(pages[where].label, " ".join(text.split()))
                return "[{}](@ref {})".format(text, pages[where].label + (f"-{anchor}" if anchor else ""))
            if where.startswith("docs/images/"):
                return f'<a href="{os.path.basename(where)}">{text}</a>'
            return text  # a file or folder of the tree, which the site does not have

        text = self.source
        for offset, level, heading, anchor in reversed(list(self.headings())):
            end = offset + level + 1 + len(heading)
            if level > 1:
                text = f"{text[:end]} {{#{self.label}-{anchor}}}{text[end:]}"
            elif self.label != "index":
                text = f"{text[:end]} {{#{self.label}}}{text[end:]}"
        return _PARTS.sub(replacement, text)
