#!/usr/bin/env python3
"""Makes the tables of docs/performance.md, in Markdown, from the benchmark's JSON files, and the chart of the README.

    bench-report.py FOLDER [--chart OUT.svg]

Figures are medians of interleaved repetitions; ratios are within one run.
"""

import argparse
import json
import pathlib

SIZES = ("small", "medium", "large")
RESIDENCES = ("cache", "memory")
# Operation, baseline, target in the cache and from memory.
OPERATIONS = (
    ("GetNalFromFrame", "memchr", 3.0, 1.25),
    ("SetVideoData + GetNalUnit", "memchr", 3.5, 1.35),
    ("GetUserData", "memchr", 3.5, 1.35),
    ("QueryType", "memchr", None, None),
    ("VideoSampleTest", "memchr", None, None),
    ("GetParameterSetData", "memchr", None, None),
    ("ParseVideoParams", "memcpy", 2.0, 1.4),
    ("AddUserData", "memcpy", 2.3, 1.5),
    ("RemoveUserData", "memcpy", 2.3, 1.5),
)
# Peer, what it is compared with.
PEERS = (
    ("libavcodec parser", "ParseVideoParams"),
    ("libavcodec parser, complete frames", "ParseVideoParams"),
    ("GStreamer identify", "GetNalFromFrame"),
    ("GStreamer identify and parse", "SetVideoData + GetNalUnit"),
    ("GStreamer insert SEI", "AddUserData"),
    ("libavcodec h264_metadata", "AddUserData"),
    ("libavcodec filter_units", "RemoveUserData"),
    ("byte by byte", "GetNalFromFrame"),
)


def read(folder):
    medians = {}
    for path in sorted(folder.glob("*.json")):
        for entry in json.loads(path.read_text())["benchmarks"]:
            if entry.get("aggregate_name") == "median":
                medians[entry["run_name"]] = entry
    return medians


def time(medians, *parts):
    entry = medians.get("/".join(parts))
    return entry["cpu_time"] if entry else None


def ratio(medians, stream, operation, baseline):
    above, below = time(medians, *stream, operation), time(medians, *stream, baseline)
    return above / below if above and below else None


def cell(value, target=None):
    if value is None:
        return "–"
    text = f"{value:.2f}" if value < 100 else f"{value:.0f}"
    return f"**{text}**" if target is not None and value > target else text


def row(*cells):
    print("| " + " | ".join(cells) + " |")


def operations_table(medians, codec):
    row("operation", "relative to", *(f"{size}, {where}" for size in SIZES for where in RESIDENCES), "target",
        "allocations a call")
    row(*["---"] * 10)
    for operation, baseline, in_cache, from_memory in OPERATIONS:
        cells = []
        for size in SIZES:
            for where, target in zip(RESIDENCES, (in_cache, from_memory)):
                counts = size != "small"  # small access units are held to the time of a call
                cells.append(cell(ratio(medians, (codec, size, where), operation, baseline), target if counts else None))
        if all(each == "–" for each in cells):
            continue
        allocations = max(entry.get("allocations", 0) for name, entry in medians.items()
                          if name.startswith(codec) and name.endswith("/" + operation))
        row(operation, baseline, *cells, f"{in_cache} / {from_memory}" if in_cache else "", f"{allocations:.3g}")


def calls_table(medians):
    """What a call on a small access unit costs beyond the memory that it cannot avoid to touch."""
    row("operation", "H.264", "H.265")
    row(*["---"] * 3)
    for operation, baseline, *_ in OPERATIONS:
        cells = []
        for codec in ("H264", "H265"):
            entry = medians.get(f"{codec}/small/cache/{operation}")
            base = medians.get(f"{codec}/small/cache/{baseline}")
            cells.append(f"{(entry['cpu_time'] - base['cpu_time']) / entry['calls'] / 1000:.3f}" if entry and base else "–")
        row(operation, *cells)


def peers_table(medians, codec):
    row("instead of", "a host would take", *(f"{size}, {where}" for size in SIZES for where in RESIDENCES))
    row(*["---"] * 8)
    for peer, ours in PEERS:
        name = peer.replace("h264_", "hevc_") if codec == "H265" else peer
        cells = [cell(ratio(medians, (codec, size, where), name, ours)) for size in SIZES for where in RESIDENCES]
        if any(each != "–" for each in cells):
            row(ours, name, *cells)


def hostile_table(medians):
    shapes = sorted({name.split("/")[1] for name in medians if name.startswith("hostile/")})
    calls = ("GetNalFromFrame", "ParseVideoParams", "AddUserData", "GetUserData", "RemoveUserData")
    row("stream", *calls)
    row(*["---"] * 6)
    for shape in shapes:
        cells = []
        for call in calls:
            entry = medians.get(f"hostile/{shape}/{call}")
            cells.append(f"{entry['cpu_time'] / entry['bytes']:.2f}" if entry else "–")
        row(shape, *cells)


def scale_table(medians):
    row("run", "GB/s")
    row("---", "---")
    for name, entry in medians.items():
        if name.startswith("scale/"):
            row(name.removeprefix("scale/").replace("/real_time", "").replace("/", ", "),
                f"{entry['bytes_per_second'] / 1e9:.2f}")


def chart(medians, path):
    """Bars of the ratios for H.264 access units of 60 KB, in the cache and from memory."""
    bars = [(operation, baseline) for operation, baseline, *_ in OPERATIONS[:3] + OPERATIONS[6:]]
    bars = [(each, baseline) for each, baseline in bars if ratio(medians, ("H264", "medium", "cache"), each, baseline)]
    width, left, step, top = 760, 210, 46, 66
    height = top + step * len(bars) + 40
    scale = (width - left - 70) / 3.0
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" font-family="sans-serif" font-size="13">',
        "<style>text{fill:#222}.c{fill:#4a86c8}.m{fill:#9bbbe0}.g{stroke:#888;stroke-opacity:.4}"
        "@media(prefers-color-scheme:dark){text{fill:#ddd}}</style>",
        f'<text x="8" y="20" font-size="15" font-weight="bold">Time relative to the memory traffic that cannot be avoided</text>',
        '<rect class="c" x="8" y="32" width="12" height="12"/><text x="26" y="43">in cache</text>',
        '<rect class="m" x="110" y="32" width="12" height="12"/><text x="128" y="43">from memory</text>',
        f'<text x="230" y="43">H.264, access units of 60 KB; searching: memchr = 1, copying: memcpy = 1</text>',
    ]
    for tick in (0, 1, 2, 3):
        x = left + tick * scale
        parts.append(f'<line class="g" x1="{x:.0f}" y1="{top - 8}" x2="{x:.0f}" y2="{height - 30}"/>')
        parts.append(f'<text x="{x:.0f}" y="{height - 12}" text-anchor="middle">{tick}</text>')
    for index, (operation, baseline) in enumerate(bars):
        y = top + index * step
        parts.append(f'<text x="{left - 10}" y="{y + 14}" text-anchor="end">{operation}</text>')
        parts.append(f'<text x="{left - 10}" y="{y + 29}" text-anchor="end" font-size="11">against {baseline}</text>')
        for offset, (where, style) in enumerate((("cache", "c"), ("memory", "m"))):
            value = ratio(medians, ("H264", "medium", where), operation, baseline)
            if value is None:
                continue
            parts.append(f'<rect class="{style}" x="{left}" y="{y + 17 * offset}" width="{value * scale:.0f}" height="14"/>')
            parts.append(f'<text x="{left + value * scale + 6:.0f}" y="{y + 17 * offset + 12}" font-size="11">{value:.2f}</text>')
    parts.append("</svg>")
    path.write_text("\n".join(parts) + "\n")


def main():
    arguments = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    arguments.add_argument("folder", type=pathlib.Path)
    arguments.add_argument("--chart", type=pathlib.Path)
    given = arguments.parse_args()
    medians = read(given.folder)
    for codec, name in (("H264", "H.264"), ("H265", "H.265")):
        print(f"\n### {name}: time relative to the baseline\n")
        operations_table(medians, codec)
        print(f"\n### {name}: how many times as long others take\n")
        peers_table(medians, codec)
    print("\n### Small access units: µs a call over the baseline, in the cache\n")
    calls_table(medians)
    print("\n### Hostile streams: ns a byte\n")
    hostile_table(medians)
    print("\n### Scale: ParseVideoParams, access units of 60 KB\n")
    scale_table(medians)
    if given.chart:
        chart(medians, given.chart)


if __name__ == "__main__":
    main()
