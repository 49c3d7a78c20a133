"""Makes the row of a file, and its findings, of what the tool writes about it."""

from __future__ import annotations

from typing import Any, Iterator, Optional

from .location import Identity
from .records import FileRow, Finding, Result, Settings

Json = dict[str, Any]
RATE_TOLERANCE = 0.005  # 30 and 29.97 are one per mille apart, 24 and 25 are 4 %


def describe(path: str, identity: Identity, info: Json, check: Json, settings: Settings) -> Result:
    findings = [*_of_check(check), *_of_info(info, settings)]
    unreadable = info["unreadable"]["bytes"]
    is_damaged = check["findingCount"] > 0 or unreadable > 0
    row = _row(path, identity, info)._replace(
        status="damaged" if is_damaged else "good",
        finding_count=len(findings) - len(check["findings"]) + check["findingCount"],
    )
    # The survey's own findings are few, and come first: a file with thousands must not hide them.
    findings.sort(key=lambda finding: finding.kind == "check")
    kept = findings[:settings.findings]
    return Result(row, [finding._replace(number=number) for number, finding in enumerate(kept)])


def _row(path: str, identity: Identity, info: Json) -> FileRow:
    sequence: Json = info["sequences"][0] if info["sequences"] else {}
    container: Json = info.get("container", {})
    return FileRow(
        path, *identity, "good",
        format=info["format"],
        codec=info["codec"],
        profile=sequence.get("profile", {}).get("name"),
        level=sequence.get("level"),
        width=sequence.get("width"),
        height=sequence.get("height"),
        chroma=sequence.get("chromaFormat"),
        bit_depth=sequence.get("bitDepth", {}).get("luma"),
        scan=sequence.get("scan"),
        frame_rate=_rate(sequence.get("frameRate")),
        container_frame_rate=_rate(container.get("frameRate")),
        seconds=_seconds(info),
        bit_rate=_bit_rate(info),
        access_units=info["accessUnitCount"],
        key_frames=info["keyFrameCount"],
        key_gap_seconds=_key_gap(info),
        sequence_changes=info["sequenceChanges"],
        unreadable_bytes=info["unreadable"]["bytes"],
    )


def _rate(rate: Optional[Json]) -> Optional[float]:
    return rate["numerator"] / rate["denominator"] if rate and rate["denominator"] else None


def _seconds(info: Json) -> Optional[float]:
    """A container knows the time of each picture; a byte stream only has the rate that it claims."""
    recorded = info.get("container", {}).get("durationSeconds")
    claimed: Optional[float] = info["seconds"]
    return float(recorded) if recorded else claimed


def _bit_rate(info: Json) -> Optional[int]:
    seconds, size = _seconds(info), info["accessUnitSize"]
    return round(8 * size["mean"] * info["accessUnitCount"] / seconds) if seconds and size else None


def _key_gap(info: Json) -> Optional[float]:
    """The longest time without a key frame. The pictures before the first one and after the last one count as one gap."""
    count, seconds, distance = info["accessUnitCount"], _seconds(info), info["keyFrameDistance"]
    if not seconds or not count:
        return None
    if distance is None:
        return float(seconds)
    ends = count - distance["mean"] * (info["keyFrameCount"] - 1)
    return round(float(max(distance["largest"], ends) / count * seconds), 6)


def _of_check(check: Json) -> Iterator[Finding]:
    for number, found in enumerate(check["findings"]):
        yield Finding(number, "check", found["text"], found.get("unit"), found.get("accessUnit"), found.get("sample"),
                      found.get("seconds"), found.get("offset"))


def _of_info(info: Json, settings: Settings) -> Iterator[Finding]:
    unreadable = info["unreadable"]
    if unreadable["bytes"] > 0:
        yield Finding(0, "unreadable", f"{unreadable['bytes']} bytes: {unreadable['damagedUnits']} damaged units, "
                      f"{unreadable['lostSlices']} slices without parameter sets, {unreadable['bytesOutsideOfUnits']} bytes outside of units")
    gap = _key_gap(info)
    if gap is not None and gap > settings.key_gap:
        yield Finding(0, "key frames", f"{gap:.1f} s without a key frame")
    sizes = [(sequence["width"], sequence["height"]) for sequence in info["sequences"]]
    changed = next(((number, size) for number, size in enumerate(sizes) if size != sizes[0]), None)
    if changed:
        number, (width, height) = changed
        yield Finding(0, "picture size", f"{sizes[0][0]} x {sizes[0][1]} becomes {width} x {height}",
                      access_unit=info["sequences"][number]["firstAccessUnit"])
    yield from _of_rates(info)


def _of_rates(info: Json) -> Iterator[Finding]:
    """The rate that the stream claims, against the times that a container records."""
    seconds = info.get("container", {}).get("durationSeconds")
    claimed = _rate(info["sequences"][0]["frameRate"]) if info["sequences"] else None
    frames = info["accessUnitCount"] - info["fieldCount"] / 2
    if not seconds or not claimed or frames < 2:
        return
    # The duration may include the last picture or not, and is rounded to a tick.
    slowest, fastest = (frames - 1) / seconds, (frames + 1) / seconds
    if not slowest * (1 - RATE_TOLERANCE) <= claimed <= fastest * (1 + RATE_TOLERANCE):
        yield Finding(0, "frame rate", f"claims {claimed:.6g} frames/s, and has {frames / seconds:.6g}")
