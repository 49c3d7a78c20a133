"""The database of a survey. docs/archives.md describes its tables."""

from __future__ import annotations

import fcntl
import os
import sqlite3
import time
from types import TracebackType
from typing import Iterable, NamedTuple, Optional, Union

from .location import Identity
from .records import FileRow, Finding, Result

SCHEMA_VERSION = 1
TYPES = {"int": "INTEGER", "float": "REAL", "str": "TEXT"}
# Reasons that are not of the file but of the machines. A new run tries again.
TRANSIENT = ("worker lost", "not copied")

class Known(NamedTuple):
    """What the database has of a file."""

    identity: Identity
    status: str
    reason: Optional[str]
    run: int


Value = Union[None, int, float, str, bytes]


class Locked(Exception):
    """Another survey writes this database."""


class NotASurvey(Exception):
    """The file is something else, or cannot be opened."""


def _columns() -> str:
    types = {name: str(kind) for name, kind in FileRow.__annotations__.items()}
    plain = {name: next(sql for word, sql in TYPES.items() if word in kind) for name, kind in types.items()}
    return ", ".join(f"{name} {kind}" for name, kind in plain.items() if name != "path")


SCHEMA = f"""
PRAGMA user_version = {SCHEMA_VERSION};
CREATE TABLE runs (id INTEGER PRIMARY KEY, started REAL NOT NULL, ended REAL, command TEXT NOT NULL, tool TEXT);
CREATE TABLE files (id INTEGER PRIMARY KEY, path TEXT NOT NULL UNIQUE, run INTEGER NOT NULL REFERENCES runs, {_columns()});
CREATE TABLE findings (file INTEGER NOT NULL REFERENCES files, {", ".join(Finding._fields)}, PRIMARY KEY (file, number)) WITHOUT ROWID;
CREATE INDEX files_by_status ON files (status);
CREATE INDEX findings_by_kind ON findings (kind);
"""


def _list(names: Iterable[str]) -> str:
    return ", ".join(names)


_names = ("run", *FileRow._fields)
PUT_FILE = f"""INSERT INTO files ({_list(_names)}) VALUES ({_list("?" * len(_names))})
ON CONFLICT (path) DO UPDATE SET {_list(f"{name} = excluded.{name}" for name in _names if name != "path")}"""
DROP_FINDINGS = "DELETE FROM findings WHERE file = (SELECT id FROM files WHERE path = ?)"
PUT_FINDING = f"INSERT INTO findings SELECT id, {_list('?' * len(Finding._fields))} FROM files WHERE path = ?"


def to_sql(path: str) -> Value:
    """Text, or bytes if the name is not UTF-8, as names of files may be."""
    try:
        path.encode()
    except UnicodeEncodeError:
        return os.fsencode(path)
    return path


def from_sql(value: Union[str, bytes]) -> str:
    return os.fsdecode(value) if isinstance(value, bytes) else value


def connect(path: str) -> sqlite3.Connection:
    """For reading, also while a survey is writing."""
    if not os.path.exists(path):
        raise NotASurvey(f"{path}: no such file")
    connection = sqlite3.connect(path, timeout=60)
    try:
        version = connection.execute("PRAGMA user_version").fetchone()[0]
    except sqlite3.OperationalError as error:
        raise NotASurvey(f"{path}: {error}. SQLite must be able to write in the folder of a database, also to read it.") from error
    except sqlite3.DatabaseError as error:
        raise NotASurvey(f"{path}: {error}") from error
    if version != SCHEMA_VERSION:
        raise NotASurvey(f"{path}: not the database of a survey, or of another version")
    return connection


class Store:
    """Writes results. What was committed stays, whatever ends the program; all else is as if it had never been."""

    def __init__(self, path: str, command: str) -> None:
        # Locked as long as this descriptor is open. SQLite's own locks are of another kind, so the two do not meet.
        try:
            self._lock = os.open(path, os.O_RDWR | os.O_CREAT | os.O_CLOEXEC, 0o644)
        except OSError as error:
            raise NotASurvey(f"{path}: the database cannot be opened: {error.strerror}") from error
        try:
            fcntl.flock(self._lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError as error:
            os.close(self._lock)
            raise Locked(f"{path}: another survey is writing it") from error
        if os.fstat(self._lock).st_size > 0:
            self._connection = connect(path)
        else:
            self._connection = sqlite3.connect(path, timeout=60)
        self._connection.execute("PRAGMA journal_mode = WAL")  # a report can be made while the survey runs
        if self._connection.execute("PRAGMA user_version").fetchone()[0] == 0:
            self._connection.executescript(f"BEGIN; {SCHEMA} COMMIT;")
        with self._connection:
            # Each run lists all folders again.
            self._connection.execute("DELETE FROM files WHERE reason = 'no listing'")
            cursor = self._connection.execute("INSERT INTO runs (started, command) VALUES (?, ?)", (time.time(), command))
        self.run = int(cursor.lastrowid or 0)

    def __enter__(self) -> Store:
        return self

    def __exit__(self, kind: Optional[type[BaseException]], error: Optional[BaseException], traceback: Optional[TracebackType]) -> None:
        self._connection.close()
        os.close(self._lock)

    def put(self, results: Iterable[Result]) -> None:
        """In one transaction. A file has one row and the findings of its last result, however often it is put."""
        rows: list[tuple[Value, ...]] = []
        findings: list[tuple[Value, ...]] = []
        for row, found in {result.row.path: result for result in results}.values():
            path = to_sql(row.path)
            rows.append((self.run, path, *row[1:]))
            findings.extend((*finding, path) for finding in found)
        with self._connection:
            self._connection.executemany(PUT_FILE, rows)
            self._connection.executemany(DROP_FINDINGS, [(row[1],) for row in rows])
            self._connection.executemany(PUT_FINDING, findings)

    def known(self, path: str) -> Optional[Known]:
        found = self._connection.execute(
            "SELECT size, mtime_ns, status, reason, run FROM files WHERE path = ?", (to_sql(path),)).fetchone()
        return None if found is None else Known(Identity(*found[:2]), *found[2:])

    def totals(self) -> dict[str, int]:
        return totals(self._connection)

    def set_tool(self, version: str) -> None:
        self._set("tool", version)

    def finish(self) -> None:
        self._set("ended", time.time())

    def _set(self, column: str, value: Value) -> None:
        with self._connection:
            self._connection.execute(f"UPDATE runs SET {column} = ? WHERE id = ?", (value, self.run))


def totals(connection: sqlite3.Connection) -> dict[str, int]:
    counts = dict.fromkeys(("good", "damaged", "unreadable"), 0)
    counts.update(connection.execute("SELECT status, count(*) FROM files GROUP BY status"))
    counts["findings"] = connection.execute("SELECT coalesce(sum(finding_count), 0) FROM files").fetchone()[0]
    return counts
