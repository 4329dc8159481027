# SPDX-License-Identifier: MIT
"""A chart of a table in a page: groups of horizontal bars over a logarithmic scale."""
import math
import re
from xml.sax.saxutils import escape

COLOURS = ("#2f6f9f", "#d98324", "#5b8c5a")
LABELS, BARS, LINE = 350, 420, 15


def _rows(text):
    """The first table of the text: its head and its rows, without the marks of code."""
    table = re.search(r"(?:^\|.*\n)+", text + "\n", re.MULTILINE)
    rows = [[cell.strip().replace("`", "") for cell in line.strip("| ").split("|")] for line in table[0].splitlines()]
    return rows[0], rows[2:]


def _number(cell):
    """The number of a cell; None for other units and for no number."""
    match = re.fullmatch(r"[≤ ]*([\d.,]+(?:e[+-]?\d+)?)(?: ns(?: a row)?)?", cell)
    return float(match[1].replace(",", "")) if match else None


def chart(what, text):
    """The SVG and its title. \\a what names columns of the first table in the text: bars, then those shown as marks:
    "ratio; goal". Rows without a number in the first are left out.
    """
    title, bars, *marks = (part.strip() for part in what.split(";"))
    head, rows = _rows(text)
    bars = [head.index(name.strip()) for name in bars.split(",")]
    marks = [head.index(name) for name in marks]
    rows = [row for row in rows if any(_number(row[bar]) is not None for bar in bars)]
    values = [_number(row[column]) for row in rows for column in bars + marks]
    low = math.floor(math.log10(min(value for value in values if value)))
    high = math.log10(max(value for value in values if value))

    def x(value):
        return LABELS + (math.log10(value) - low) / (high - low) * BARS

    group = len(bars) * LINE + 5
    top = 44 + 16 * (len(bars) + len(marks) > 1)
    bottom = top + group * len(rows)
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{LABELS + BARS + 70}" height="{bottom + 8}" '
           'font-family="sans-serif" font-size="12" fill="#222">', f"<title>{escape(title)}</title>",
           f'<text x="{LABELS}" y="13" font-weight="bold">{escape(title)}</text>']
    for power in range(low, math.floor(high) + 1):
        at = x(10.0**power)
        out += [f'<path d="M{at:.1f} {top - 4}V{bottom}" stroke="{"#888" if power == 0 else "#ddd"}"/>',
                f'<text x="{at:.1f}" y="{top - 8}" text-anchor="middle">{10.0**power:,g}</text>']
    if len(bars) + len(marks) > 1:
        at = LABELS
        for number, column in enumerate(bars + marks):
            colour = COLOURS[number] if column in bars else "#222"
            width = 10 if column in bars else 2
            out += [f'<rect x="{at}" y="22" width="{width}" height="10" fill="{colour}"/>',
                    f'<text x="{at + 14}" y="31">{escape(head[column])}</text>']
            at += 40 + 7 * len(head[column])
    for index, row in enumerate(rows):
        y = top + index * group
        out.append(f'<text x="{LABELS - 8}" y="{y + len(bars) * LINE / 2 + 4:g}" text-anchor="end">{escape(row[0])}</text>')
        for number, bar in enumerate(bars):
            value = _number(row[bar])
            if value is None:
                continue
            line = y + number * LINE
            out += [f'<rect x="{LABELS}" y="{line}" width="{max(x(value) - LABELS, 1):.1f}" height="{LINE - 2}" '
                    f'fill="{COLOURS[number]}"/>',
                    f'<text x="{LABELS + BARS + 12}" y="{line + 11}">{value:,g}</text>']
        for mark in marks:
            value = _number(row[mark])
            if value is not None:
                out.append(f'<path d="M{x(value):.1f} {y - 1}v{len(bars) * LINE + 1}" stroke="#222" stroke-width="2"/>')
    return "\n".join(out + ["</svg>", ""]), title
