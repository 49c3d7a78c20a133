"""Where a file is: a path of this machine, or a URL that fsspec knows."""

from __future__ import annotations

import os
import re
import stat
from datetime import datetime
from typing import Any, NamedTuple, Optional

URL = re.compile(r"[A-Za-z][A-Za-z0-9+.-]+(::|://)")
LOCAL = re.compile(r"(file|local)://(?=/)")


class Identity(NamedTuple):
    """What identifies the contents of a file, as far as a directory knows. Both None: no file, or none that can be read."""

    size: Optional[int] = None
    mtime_ns: Optional[int] = None


class NotAFile(Exception):
    """There is something else at this place: a pipe, a device, a folder. Opening it may never end."""


def is_url(path: str) -> bool:
    return URL.match(path) is not None


def normal(path: str) -> str:
    """One name for one place: an absolute path, or a URL as it is."""
    path = LOCAL.sub("", path)
    return path if is_url(path) else os.path.abspath(path)


def identify(path: str) -> Identity:
    """Raises OSError if there is nothing, and NotAFile."""
    if is_url(path):
        return _identify_url(path)
    status = os.stat(path)
    if not stat.S_ISREG(status.st_mode):
        raise NotAFile(f"{_kind(status.st_mode)}, not a file")
    return Identity(status.st_size, status.st_mtime_ns)


def _kind(mode: int) -> str:
    kinds = {stat.S_IFIFO: "a pipe", stat.S_IFSOCK: "a socket", stat.S_IFCHR: "a device", stat.S_IFBLK: "a device", stat.S_IFDIR: "a folder"}
    return kinds.get(stat.S_IFMT(mode), "something else")


def _identify_url(url: str) -> Identity:
    import fsspec

    system, path = fsspec.core.url_to_fs(url)
    try:
        details: dict[str, Any] = system.info(path)
    except OSError:
        raise
    except Exception as error:  # each file system has its own kinds
        raise OSError(f"{type(error).__name__}: {error}") from error
    if details.get("type") == "directory":
        raise NotAFile("a folder, not a file")
    times = (details.get(name) for name in ("mtime", "LastModified", "last_modified", "updated", "modified"))
    return Identity(details.get("size"), next((_nanoseconds(time) for time in times if time is not None), None))


def _nanoseconds(time: Any) -> Optional[int]:
    if isinstance(time, (int, float)):
        return int(time * 1_000_000_000)
    if isinstance(time, str):
        try:
            time = datetime.fromisoformat(time.replace("Z", "+00:00"))
        except ValueError:
            return None
    return int(time.timestamp() * 1_000_000_000) if isinstance(time, datetime) else None
