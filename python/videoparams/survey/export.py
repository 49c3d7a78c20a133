"""Writes the results as CSV (two files) or as JSON lines (one)."""

from __future__ import annotations

import csv
import json
import os
import sqlite3
from pathlib import Path
from typing import IO, Any, Iterator, Sequence

from .records import FileRow, Finding
from .store import NotASurvey, connect, from_sql

FORMATS = ("csv", "jsonl")
FILE_COLUMNS = FileRow._fields
FINDING_COLUMNS = Finding._fields


def export(database: str, form: str) -> list[str]:
    """Writes beside the database, and returns the names of the files."""
    base = Path(database).with_suffix("")
    connection = connect(database)
    try:
        connection.execute("BEGIN")  # one state of the database for all files, also while a survey writes
        if form == "csv":
            return [_write(f"{base}.csv", FILE_COLUMNS, _files(connection), database),
                    _write(f"{base}-findings.csv", ("path", *FINDING_COLUMNS), _findings(connection), database)]
        return [_write_lines(f"{base}.jsonl", connection, database)]
    finally:
        connection.close()


def _files(connection: sqlite3.Connection) -> Iterator[Sequence[Any]]:
    for path, *rest in connection.execute(f"SELECT {', '.join(FILE_COLUMNS)} FROM files ORDER BY id"):
        yield [printable(path), *rest]


def _findings(connection: sqlite3.Connection) -> Iterator[Sequence[Any]]:
    columns = ", ".join(f"findings.{name}" for name in FINDING_COLUMNS)
    query = f"SELECT path, {columns} FROM findings JOIN files ON files.id = findings.file ORDER BY findings.file, findings.number"
    for path, *rest in connection.execute(query):
        yield [printable(path), *rest]


def printable(path: Any) -> str:
    """A name that is not UTF-8 has \\x.. for each byte that is not."""
    return os.fsencode(from_sql(path)).decode(errors="backslashreplace")


def _write(name: str, header: Sequence[str], rows: Iterator[Sequence[Any]], database: str) -> str:
    with Replacement(name, database) as file:
        writer = csv.writer(file)
        writer.writerow(header)
        writer.writerows(rows)
    return name


def _write_lines(name: str, connection: sqlite3.Connection, database: str) -> str:
    found = _findings_by_file(connection)
    following = next(found, None)
    with Replacement(name, database) as file:
        for path, *rest in _files(connection):
            record: dict[str, Any] = dict(zip(FILE_COLUMNS, (path, *rest)))
            record["findings"] = []
            while following is not None and following[0] == path:
                record["findings"].append(following[1])
                following = next(found, None)
            file.write(json.dumps(record, ensure_ascii=False) + "\n")
    return name


def _findings_by_file(connection: sqlite3.Connection) -> Iterator[tuple[str, dict[str, Any]]]:
    """In the order of the files."""
    for path, *rest in _findings(connection):
        yield path, {name: value for name, value in zip(FINDING_COLUMNS, rest) if value is not None}


class Replacement:
    """A file that appears when it is complete."""

    def __init__(self, name: str, database: str) -> None:
        if os.path.realpath(name) == os.path.realpath(database):
            raise NotASurvey(f"{name}: this is the database; give the database or the output another name")
        self._name = name
        self._file: IO[str] = open(f"{name}.part", "w", encoding="utf-8", newline="")

    def __enter__(self) -> IO[str]:
        return self._file

    def __exit__(self, kind: object, *rest: object) -> None:
        self._file.close()
        if kind is None:
            os.replace(f"{self._name}.part", self._name)
        else:
            os.unlink(f"{self._name}.part")
