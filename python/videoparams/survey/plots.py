"""Draws bars with Matplotlib, as SVG for a page that may be light or dark."""

from __future__ import annotations

import io
import re
from typing import Any

import matplotlib
from matplotlib.axes import Axes
from matplotlib.figure import Figure

from .statistics import Bars

# Matplotlib knows no CSS. These colours are replaced by variables of the page.
VARIABLES = {"#010203": "var(--ink)", "#040506": "var(--faint)", "#070809": "var(--bar)"}
INK, FAINT, BAR = VARIABLES
STYLE: dict[str, Any] = {
    "svg.fonttype": "none", "font.size": 10, "font.family": "sans-serif", "text.color": INK, "axes.labelcolor": INK, "axes.edgecolor": FAINT,
    "xtick.color": FAINT, "ytick.color": FAINT, "xtick.labelcolor": INK, "ytick.labelcolor": INK, "grid.color": FAINT, "axes.spines.top": False,
    "axes.spines.right": False,
}
WIDTH = 4.6  # inches: then the letters have a good size on a telephone too
BAR_HEIGHT = 0.27
RANGE_HEIGHT = 2.6
LONGEST_LABEL = 28


def draw(bars: Bars) -> str:
    """An element svg."""
    height = RANGE_HEIGHT if bars.is_range else 0.55 + BAR_HEIGHT * len(bars.counts)
    with matplotlib.rc_context({**STYLE, "svg.hashsalt": bars.title}):
        figure = Figure(figsize=(WIDTH, height), layout="constrained")
        axes = figure.subplots()
        (_draw_ranges if bars.is_range else _draw_names)(axes, bars)
        file = io.StringIO()
        figure.savefig(file, format="svg", transparent=True, metadata={"Date": None, "Creator": None, "Format": None, "Type": None})
    return _for_page(file.getvalue(), bars.title)


def _draw_names(axes: Axes, bars: Bars) -> None:
    places = range(len(bars.counts))
    drawn = axes.barh(places, bars.counts, color=BAR, height=0.7)
    axes.set_yticks(places, [_shortened(label) for label in bars.labels])
    axes.tick_params(axis="y", length=0)
    axes.invert_yaxis()
    axes.bar_label(drawn, [f"{count:,}" for count in bars.counts], padding=3)
    axes.margins(x=0.18, y=0.01)
    axes.get_xaxis().set_visible(False)
    axes.spines["bottom"].set_visible(False)


def _draw_ranges(axes: Axes, bars: Bars) -> None:
    axes.bar(range(len(bars.counts)), bars.counts, color=BAR, width=0.92, align="edge")
    step = max(1, round(len(bars.labels) / 8))
    places = range(0, len(bars.labels), step)
    axes.set_xticks(places, [_short_number(float(bars.labels[place])) for place in places])
    axes.grid(axis="y", alpha=0.4)
    axes.set_axisbelow(True)
    axes.yaxis.set_major_locator(matplotlib.ticker.MaxNLocator(4, integer=True))
    axes.yaxis.set_major_formatter(matplotlib.ticker.FuncFormatter(lambda value, _: f"{value:,.0f}"))


def _short_number(value: float) -> str:
    for size, letter in ((1e9, "G"), (1e6, "M"), (1e3, "k")):
        if value >= size:
            return f"{value / size:g}{letter}"
    return f"{value:g}"


def _shortened(label: str) -> str:
    # A dollar sign would begin a formula.
    label = label if len(label) <= LONGEST_LABEL else label[:LONGEST_LABEL - 1] + "…"
    return label.replace("$", r"\$")


def _for_page(svg: str, title: str) -> str:
    svg = svg[svg.index("<svg"):]
    for colour, variable in VARIABLES.items():
        svg = svg.replace(colour, variable)
    used = set(re.findall(r'(?:url\(#|href="#)([^")]+)', svg))
    svg = re.sub(r' id="([^"]+)"', lambda found: found[0] if found[1] in used else "", svg)  # a page has several pictures
    head, body = svg.split(">", 1)
    head = re.sub(' (width|height)="[^"]*"', "", head)  # as wide as its place
    return f'{head} role="img" aria-label="{title}">{body}'
