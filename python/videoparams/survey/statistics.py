"""What the report shows, asked from the database. Nothing here needs more memory for more files."""

from __future__ import annotations

import bisect
import sqlite3
from typing import Any, NamedTuple, Sequence
from urllib.parse import quote

from .export import printable
from .store import from_sql, totals

MOST_BARS = 10
LINKED = ("http://", "https://")


class Bars(NamedTuple):
    """Numbers of files by a property, the most frequent first, or by ranges of a number, in their order."""

    title: str
    labels: list[str]
    counts: list[int]
    is_range: bool = False  # the labels are the limits of the ranges: one more than there are counts


class Table(NamedTuple):
    title: str
    columns: tuple[str, ...]
    rows: list[list[Any]]  # the first is a Link


class Link(NamedTuple):
    text: str
    address: str  # empty: none that a browser could open


def headline(connection: sqlite3.Connection) -> dict[str, Any]:
    counts = totals(connection)
    size, seconds, probe = connection.execute("SELECT total(size), total(seconds), total(probe_seconds) FROM files").fetchone()
    return {**counts, "files": counts["good"] + counts["damaged"] + counts["unreadable"], "gigabytes": size / 1e9, "hours": seconds / 3600,
            "probe_hours": probe / 3600}


def runs(connection: sqlite3.Connection) -> list[Any]:
    return connection.execute("SELECT datetime(started, 'unixepoch'), round(ended - started), tool, command FROM runs ORDER BY id DESC LIMIT 10").fetchall()


def all_bars(connection: sqlite3.Connection) -> list[Bars]:
    """Those that have anything to show."""
    bars = [
        _most(connection, "Codec", "codec"),
        _most(connection, "Picture size", "width || ' x ' || height"),
        _most(connection, "Frame rate, frames/s", "rtrim(rtrim(printf('%.3f', coalesce(frame_rate, container_frame_rate)), '0'), '.')",
              "coalesce(frame_rate, container_frame_rate) > 0"),
        _ranges(connection, "Bit rate, bit/s", "bit_rate", 4, 9),
        _ranges(connection, "Longest time without a key frame, s", "key_gap_seconds", -1, 4),
        _most(connection, "Why files could not be read", "reason"),
        _most(connection, "Findings by kind", "kind", table="findings"),
    ]
    return [one for one in bars if one.counts]


def _most(connection: sqlite3.Connection, title: str, value: str, condition: str = "TRUE", table: str = "files") -> Bars:
    query = f"SELECT {value} AS value, count(*) FROM {table} WHERE value IS NOT NULL AND {condition} GROUP BY value ORDER BY count(*) DESC"
    labels: list[str] = []
    counts: list[int] = []
    others = 0
    for label, count in connection.execute(query):
        if len(labels) < MOST_BARS:
            labels.append(str(label))
            counts.append(count)
        else:
            others += count
    if others:
        labels.append("others")
        counts.append(others)
    return Bars(title, labels, counts)


def _ranges(connection: sqlite3.Connection, title: str, column: str, lowest: int, highest: int) -> Bars:
    """Limits of 1, 2, 5, 10 and so on. The first and the last range also have what is beyond."""
    limits = [digit * 10.0 ** power for power in range(lowest, highest) for digit in (1, 2, 5)]

    def index(value: float) -> int:
        return max(0, min(len(limits) - 2, bisect.bisect_right(limits, value) - 1))

    connection.create_function("range_index", 1, index, deterministic=True)
    counts = [0] * (len(limits) - 1)
    found = connection.execute(f"SELECT range_index({column}), count(*) FROM files WHERE {column} IS NOT NULL GROUP BY 1").fetchall()
    for place, count in found:
        counts[place] = count
    if not found:
        return Bars(title, [], [])
    first, last = min(place for place, _ in found), max(place for place, _ in found)
    return Bars(title, [f"{limit:g}" for limit in limits[first:last + 2]], counts[first:last + 1], is_range=True)


def worst(connection: sqlite3.Connection, limit: int) -> list[Table]:
    """Those that have any rows."""
    tables = [
        _table(connection, "Damaged files, most findings first", ("file", "findings", "unreadable bytes", "first finding"),
               """SELECT path, finding_count, unreadable_bytes, (SELECT text FROM findings WHERE file = files.id ORDER BY number LIMIT 1)
               FROM files WHERE status = 'damaged' ORDER BY finding_count DESC, id LIMIT ?""", limit),
        _table(connection, "Files that could not be read", ("file", "reason", "message"),
               "SELECT path, reason, message FROM files WHERE status = 'unreadable' ORDER BY reason, id LIMIT ?", limit),
        *(_found(connection, title, kind, limit) for title, kind in (
            ("Files with a long time without a key frame", "key frames"),
            ("Files that change their picture size", "picture size"),
            ("Files that claim a frame rate that they do not have", "frame rate"))),
    ]
    return [table for table in tables if table.rows]


def _found(connection: sqlite3.Connection, title: str, kind: str, limit: int) -> Table:
    order = "key_gap_seconds DESC" if kind == "key frames" else "files.id"
    query = f"""SELECT path, text, access_unit FROM findings JOIN files ON files.id = findings.file
                WHERE kind = '{kind}' ORDER BY {order} LIMIT ?"""
    return _table(connection, title, ("file", "finding", "access unit"), query, limit)


def _table(connection: sqlite3.Connection, title: str, columns: Sequence[str], query: str, limit: int) -> Table:
    return Table(title, tuple(columns), [[_link(path), *rest] for path, *rest in connection.execute(query, (limit,))])


def _link(stored: Any) -> Link:
    path = from_sql(stored)
    if path.startswith("/"):
        return Link(printable(stored), "file://" + quote(path.encode(errors="surrogateescape")))
    return Link(printable(stored), path if path.startswith(LINKED) else "")
