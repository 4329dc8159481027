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

    def is_list(self):
        """Whether it is a list of pages, whose headings are not worth an entry in the navigation."""
        return self.path.endswith("README.md") or (self.root / self.path.removesuffix(".md")).is_dir()

    def for_doxygen(self, site):
        """The text for Doxygen, line by line as it was."""
        unlisted = {path for path, parent in site.parents.items() if parent == self.path}
        charts = 0

        def replacement(match):
            nonlocal charts
            if match["comment"]:
                words = match["comment"].split(None, 1)
                if words[:1] != ["chart:"]:
                    return match[0]
                charts += 1
                name = f"{self.label}-{charts}.svg"
                return f'<img src="{name}" alt="{site.chart(name, words[1], match.string[match.end():])}"/>'
            if match["ticks"]:
                in_heading = match.string[match.string.rfind("\n", 0, match.start()) + 1] == "#"
                text = match[0].strip("`")
                name = site.classes.get(text)
                return f'<code>@ref {name} "{text}"</code>' if name and not in_heading else match[0]
            if not match["target"]:
                return match[0]
            text = match["text"].replace("`", "")
            where, anchor = self.resolve(match["target"])
            if match["picture"]:
                return f'<img src="{os.path.basename(where)}" alt="{text}"/>'
            if where is None:
                return match[0]
            if where in site.pages:
                page = site.pages[where]
                if where in unlisted and not anchor:
                    unlisted.remove(where)
                    return "@subpage {} \"{}\"".format(page.label, " ".join(text.split()))
                return f"[{text}](@ref {page.label}{'-' + anchor if anchor else ''})"
            if where.startswith("docs/images/"):
                return f'<a href="{os.path.basename(where)}">{text}</a>'
            if re.match(r"(src|database|hostkit|sources)/(?!.*_p\.h$).*\.h$", where):
                return f"[{text}](@ref {os.path.basename(where)})"
            if (self.root / where).is_file():
                return f'<a href="{site.copy(where)}">{text}</a>'
            return match["text"]  # a folder of the tree, which the site does not have

        text = self.source
        for offset, level, heading, anchor in reversed(list(self.headings())):
            end = offset + level + 1 + len(heading)
            if level == 1:
                label = self.label if self.label != "index" else ""
            else:
                label = f"{self.label}-{anchor}"
                if self.is_list() and (self.path, anchor) not in site.linked:
                    label = ""
            if label:
                text = f"{text[:end]} {{#{label}}}{text[end:]}"
            elif level > 1:
                text = text[:offset] + text[offset + 1:]  # without a label it would be smaller
        return _PARTS.sub(replacement, text)
