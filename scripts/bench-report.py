#!/usr/bin/env python3
"""Makes the tables of docs/performance.md (Markdown) and the chart of the README from the benchmark's JSON files.

    bench-report.py FOLDER [--chart OUT.svg]

Figures are medians of repetitions in random order. Ratios are within one run. A ratio that misses its target is bold.
"""

import argparse
import json
import math
import pathlib

CODECS = (("H264", "H.264"), ("H265", "H.265"))
SIZES = ("small", "medium", "large")
RESIDENCES = ("cache", "memory")
STREAMS = [(size, residence) for size in SIZES for residence in RESIDENCES]

# Operation, baseline, and the limit: so many times the baseline, in the cache and from memory.
OPERATIONS = (
    ("GetNalFromFrame", "memchr", (3.0, 1.25)),
    ("SetVideoData + GetNalUnit", "memchr", (3.5, 1.35)),
    ("GetUserData", "memchr", (3.5, 1.35)),
    ("GetParameterSetData", "memchr", None),
    ("ParseVideoParams", "memcpy", (2.0, 1.4)),
    ("AddUserData", "memcpy", (2.3, 1.5)),
    ("RemoveUserData", "memcpy", (2.3, 1.5)),
    ("QueryType", "memchr", None),
    ("VideoSampleTest", "memchr", None),
)
# Operation, what a program would use instead, and the target: at least so many times as long, in the cache and from memory.
PEERS = (
    ("ParseVideoParams", "libavcodec parser", (5, 3)),
    ("ParseVideoParams", "libavcodec parser, 64 KB at a time", None),
    ("VideoSampleTest", "libavcodec parser, complete frames", None),
    ("GetNalFromFrame", "byte by byte", None),
    ("GetNalFromFrame", "GStreamer identify", (4, 1.9)),
    ("SetVideoData + GetNalUnit", "GStreamer identify and parse", None),
    ("ParseVideoParams", "GStreamer identify and parse", None),
    ("AddUserData", "GStreamer insert SEI", (10, 2)),
    ("AddUserData", "GStreamer insert SEI, in one piece", (10, 2)),
    ("AddUserData", "libavcodec h264_metadata", (30, 15)),
    ("AddUserData", "libavcodec hevc_metadata", None),
    ("RemoveUserData", "libavcodec filter_units", None),
)


class Medians:
    def __init__(self, folder):
        self.entries = {}
        self.context = {}
        for path in sorted(folder.glob("*.json")):
            content = json.loads(path.read_text())
            self.context = self.context or content["context"]
            for entry in content["benchmarks"]:
                if entry.get("aggregate_name") == "median":
                    self.entries[entry["run_name"]] = entry

    def get(self, *parts):
        return self.entries.get("/".join(parts))

    def ratio(self, stream, above, below):
        above, below = self.get(*stream, above), self.get(*stream, below)
        return above["cpu_time"] / below["cpu_time"] if above and below else None

    def groups(self, first):
        """The second parts of the names that begin with `first`, sorted; sizes are sorted by value."""
        names = {name.split("/")[1] for name in self.entries if name.startswith(first + "/")}
        return sorted(names, key=lambda name: (int(name[:-3]) if name.endswith(" MB") else 0, name))


def number(value, digits=3):
    """Three significant digits, without an exponent."""
    if value is None:
        return "–"
    if value == 0:
        return "0"
    return f"{value:.{max(0, min(digits, digits - 1 - math.floor(math.log10(abs(value)))))}f}"


def table(*rows):
    for index, cells in enumerate(rows):
        print("| " + " | ".join(cells) + " |")
        if index == 0:
            print("|" + "---|" * len(cells))
    print()


def stream_headings():
    return [f"{size}, {residence}" for size, residence in STREAMS]


def mark(value, misses):
    return f"**{number(value)}**" if value is not None and misses else number(value)


def memory_table(medians):
    rows = [["speed in GB/s", *stream_headings()]]
    for codec, title in CODECS:
        for baseline in ("memcpy", "memcpy by unit", "memchr"):
            cells = []
            for stream in STREAMS:
                entry = medians.get(codec, *stream, baseline)
                cells.append(number(entry["bytes"] / entry["cpu_time"]) if entry else "–")
            rows.append([f"{title}, `{baseline}`", *cells])
    table(*rows)


def operations_table(medians, codec):
    rows = [["operation, relative to", *stream_headings(), "target"]]
    for operation, baseline, targets in OPERATIONS:
        baselines = [baseline] + (["memcpy by unit"] if baseline == "memcpy" else [])
        for against in baselines:
            cells = []
            for size, residence in STREAMS:
                value = medians.ratio((codec, size, residence), operation, against)
                # Small access units have a limit for the time per call instead, see calls_table.
                limit = targets[RESIDENCES.index(residence)] if targets and size != "small" else math.inf
                cells.append(mark(value, value is not None and against == baseline and value > limit))
            if any(cell != "–" for cell in cells):
                target = f"{targets[0]} / {targets[1]}" if targets and against == baseline else ""
                rows.append([f"`{operation}`, {against}", *cells, target])
    table(*rows)


def calls_table(medians):
    rows = [["operation", *(f"{title}, {residence}" for _, title in CODECS for residence in RESIDENCES),
             "allocations per call"]]
    for operation, baseline, _ in OPERATIONS:
        cells = []
        allocations = []
        for codec, _ in CODECS:
            for residence in RESIDENCES:
                entry = medians.get(codec, "small", residence, operation)
                base = medians.get(codec, "small", residence, baseline)
                over = (entry["cpu_time"] - base["cpu_time"]) / entry["calls"] / 1000 if entry and base else None
                cells.append(mark(over, over is not None and over > 0.25))
            allocations += [medians.get(codec, *stream, operation)["allocations"] for stream in STREAMS
                            if medians.get(codec, *stream, operation)]
        rows.append([f"`{operation}`", *cells, number(max(allocations, default=None))])
    setting = medians.get("H264", "small", "cache", "SetParameterSetData")
    if setting:
        rows.append(["`SetParameterSetData`", number(setting["cpu_time"] / 1000), "–", "–", "–",
                     number(setting["allocations"])])
    table(*rows)


def peers_table(medians, codec):
    rows = [["operation", "instead of it", *stream_headings(), "target"]]
    for ours, peer, targets in PEERS:
        cells = []
        for size, residence in STREAMS:
            value = medians.ratio((codec, size, residence), peer, ours)
            limit = targets[RESIDENCES.index(residence)] if targets else 0
            cells.append(mark(value, value is not None and value < limit))
        if any(cell != "–" for cell in cells):
            rows.append([f"`{ours}`", peer, *cells, f"{targets[0]} / {targets[1]}" if targets else ""])
    table(*rows)


def hostile_table(medians):
    operations = ("GetNalFromFrame", "SetVideoData + GetNalUnit", "ParseVideoParams", "QueryType", "VideoSampleTest",
                  "GetParameterSetData", "AddUserData", "GetUserData", "RemoveUserData")
    rows = [["stream", *(f"`{operation}`" for operation in operations)]]
    for shape in medians.groups("hostile"):
        cells = []
        for operation in operations:
            entry = medians.get("hostile", shape, operation)
            cells.append(f"{entry['cpu_time'] / entry['bytes']:.2f}" if entry else "–")
        rows.append([shape, *cells])
    table(*rows)


def scale_table(medians):
    operations = ("memcpy by unit", "ParseVideoParams", "ParseVideoParams, one call", "GetNalFromFrame, one call")
    rows = [["stream", *(f"{operation}, ns per KB" for operation in operations), "`ParseVideoParams` / memcpy by unit",
             "memory of the handle"]]
    for stream in medians.groups("scale"):
        cells = []
        for operation in operations:
            entry = medians.get("scale", stream, operation)
            cells.append(number(entry["cpu_time"] / entry["bytes"] * 1000) if entry else "–")
        cells.append(number(medians.ratio(("scale", stream), "ParseVideoParams", "memcpy by unit")))
        cells.append(f"{medians.get('scale', stream, 'ParseVideoParams')['handle'] / 1000:.0f} KB")
        rows.append([stream, *cells])
    table(*rows)
    one, two = (medians.get("threads", "in cache", "real_time", f"threads:{count}") for count in (1, 2))
    if one and two:
        print("In the cache, two handles on two threads process "
              f"{two['bytes_per_second'] / one['bytes_per_second']:.2f} times as much as one handle on one thread.\n")


# The rows of the chart: name, kind.
CHART = (
    ("searching", (("memchr", "base"), ("GetNalFromFrame", "ours"), ("SetVideoData + GetNalUnit", "ours"),
                   ("GetUserData", "ours"), ("GStreamer identify", "peer"))),
    ("analysing", (("memcpy", "base"), ("ParseVideoParams", "ours"), ("GStreamer identify and parse", "peer"),
                   ("libavcodec parser", "peer"))),
    ("inserting", (("memcpy", "base"), ("AddUserData", "ours"), ("GStreamer insert SEI", "peer"),
                   ("libavcodec h264_metadata", "peer"))),
    ("removing", (("memcpy", "base"), ("RemoveUserData", "ours"), ("libavcodec filter_units", "peer"))),
)


def chart(medians, path):
    """Dots on a logarithmic scale: the time for the same access units, in the cache and from memory."""
    width, left, right, step, gap, top = 800, 300, 30, 22, 14, 84
    count = sum(len(rows) for _, rows in CHART)
    height = top + count * step + len(CHART) * gap + 34
    low, high = 0.4, 100.0

    def x(value):
        return left + (width - left - right) * math.log(value / low) / math.log(high / low)

    colours = {"base": "#808080", "ours": "#2f7fd0", "peer": "#d9822b"}

    def dot(cx, cy, kind, residence, title=""):
        colour = colours[kind]
        fill = colour if residence == "cache" else "none"
        return (f'<circle cx="{cx:.1f}" cy="{cy}" r="5" fill="{fill}" stroke="{colour}" stroke-width="2">'
                f"<title>{title}</title></circle>")

    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" font-family="sans-serif" '
        'font-size="13">',
        f'<rect width="{width}" height="{height}" fill="#fff"/>',
        "<style>text{fill:#222}@media (prefers-color-scheme:dark){text{fill:#d6dae0}rect{fill:#14171c}}</style>",
        '<text x="10" y="22" font-size="16" font-weight="bold">Time for the same access units, memcpy = 1</text>',
        '<text x="10" y="42">H.264, 60 KB each, one thread; left is faster; logarithmic</text>',
        dot(16, 60, "ours", "cache"), '<text x="28" y="64">in the cache</text>',
        dot(126, 60, "ours", "memory"), '<text x="138" y="64">from memory</text>',
    ]
    for tick in (0.5, 1, 2, 5, 10, 20, 50, 100):
        parts.append(f'<line x1="{x(tick):.1f}" y1="{top - 6}" x2="{x(tick):.1f}" y2="{height - 28}" stroke="#999" '
                     f'stroke-opacity="{0.9 if tick == 1 else 0.35}"/>')
        parts.append(f'<text x="{x(tick):.1f}" y="{height - 10}" text-anchor="middle">{tick:g}</text>')
    y = top
    for group, rows in CHART:
        y += gap
        parts.append(f'<text x="10" y="{y + 4}" font-weight="bold">{group}</text>')
        for name, kind in rows:
            weight = ' font-weight="bold"' if kind == "ours" else ""
            parts.append(f'<text x="{left - 12}" y="{y + 4}" text-anchor="end"{weight}>{name}</text>')
            for residence in reversed(RESIDENCES):
                value = medians.ratio(("H264", "medium", residence), name, "memcpy")
                if value is not None:
                    parts.append(dot(x(value), y, kind, residence, number(value)))
            y += step
    parts.append("</svg>")
    path.write_text("\n".join(parts) + "\n")


def main():
    arguments = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    arguments.add_argument("folder", type=pathlib.Path)
    arguments.add_argument("--chart", type=pathlib.Path)
    given = arguments.parse_args()
    medians = Medians(given.folder)
    print(f"{medians.context['date'][:10]}, {medians.context['num_cpus']} processors, "
          f"load {', '.join(f'{load:.1f}' for load in medians.context['load_avg'])}\n")
    print("### Memory\n")
    memory_table(medians)
    for codec, title in CODECS:
        print(f"### {title}: time relative to the baseline\n")
        operations_table(medians, codec)
    print("### Small access units: µs per call in addition to the baseline\n")
    calls_table(medians)
    for codec, title in CODECS:
        print(f"### {title}: time of other libraries relative to this one\n")
        peers_table(medians, codec)
    print("### Hostile streams: ns per byte\n")
    hostile_table(medians)
    print("### Scale\n")
    scale_table(medians)
    if given.chart:
        chart(medians, given.chart)


if __name__ == "__main__":
    main()
