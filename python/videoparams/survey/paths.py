"""Finds the files that a user names, one after the other. No list of them is ever in memory."""

from __future__ import annotations

import glob
import os
import sys
from typing import IO, Iterable, Iterator, NamedTuple, Optional, Union

from .location import is_url, normal

SUFFIXES = frozenset(
    ".264 .265 .26l .3gp .asf .avc .avi .f4v .flv .h264 .h265 .hevc .jsv .m2t .m2ts .m4v .mj2 .mkv .mov .mp4 .mpg .mts .mxf .nut .ts .wmv"
    .split())


class Unlisted(NamedTuple):
    """A folder whose files cannot be listed."""

    path: str
    message: str


Entry = Union[str, Unlisted]


class NothingThere(Exception):
    """The user named something that does not exist."""


class Source:
    """What the user named. It can be listed several times."""

    def __init__(self, paths: Iterable[str], lists: Iterable[str] = (), every_file: bool = False) -> None:
        self._paths = [normal(path) for path in paths if not path.startswith("@")]
        self._lists = [*lists, *(path[1:] for path in paths if path.startswith("@"))]
        self._every_file = every_file
        for path in self._paths:
            if not is_url(path) and not os.path.lexists(path) and next(_matches(path), None) is None:
                raise NothingThere(f"{path}: no such file or folder, and no file matches")
        for path in self._lists:
            if not os.path.isfile(path):
                raise NothingThere(f"{path}: no such list")

    def __iter__(self) -> Iterator[Entry]:
        for path in self._paths:
            yield from self._find(path)
        for path in self._lists:
            with open(path, "rb") as file:
                for name in _names(file):
                    yield from self._expand(os.fsdecode(name))

    def _find(self, path: str) -> Iterator[Entry]:
        """A path may be a pattern, unless there is a file of this name."""
        if is_url(path):
            yield from self._find_url(path)
        elif os.path.lexists(path):
            yield from self._expand(path)
        else:
            for match in _matches(path):
                yield from [match] if isinstance(match, Unlisted) else self._expand(match)

    def _expand(self, path: str) -> Iterator[Entry]:
        if is_url(path := normal(path)):
            yield path
        elif os.path.isdir(path):
            yield from self._walk(path)
        else:
            yield path

    def _wanted(self, name: str) -> bool:
        return self._every_file or os.path.splitext(name)[1].lower() in SUFFIXES

    def _walk(self, folder: str) -> Iterator[Entry]:
        """Follows links to files, and none to folders: they may lead in circles."""
        folders = [folder]
        while folders:
            folder = folders.pop()
            try:
                with os.scandir(folder) as entries:
                    for entry in entries:
                        if entry.is_dir(follow_symlinks=False):
                            folders.append(entry.path)
                        # entry.is_dir() raises an exception for a link to itself.
                        elif self._wanted(entry.name) and not os.path.isdir(entry.path):
                            yield entry.path
            except OSError as error:
                yield Unlisted(folder, error.strerror or str(error))

    def _find_url(self, url: str) -> Iterator[Entry]:
        import fsspec

        try:
            system, path = fsspec.core.url_to_fs(url)
            if glob.has_magic(url):
                places = system.glob(path, detail=True)
                found: Optional[Iterable[str]] = [place for place, details in places.items() if details.get("type") != "directory"]
                if not found:
                    yield Unlisted(url, "no file matches")
            elif system.isdir(path):
                found = (f"{folder.rstrip('/')}/{name}" for folder, _, names in system.walk(path) for name in names if self._wanted(name))
            else:
                found = None
            if found is None:
                yield url
                return
            for place in found:
                yield _url_of(url, system.unstrip_protocol(place))
        except Exception as error:  # each file system has its own kinds
            yield Unlisted(url, f"{type(error).__name__}: {error}")


def _matches(pattern: str) -> Iterator[Entry]:
    """What glob finds, but ** follows no links to folders: they may lead in circles."""
    before, recursive, after = pattern.removesuffix("/**").partition("/**/")
    if not recursive:
        yield from glob.iglob(before)
        return
    for base in glob.iglob(f"{before}/"):
        errors: list[OSError] = []
        for folder, below, _ in os.walk(base, onerror=errors.append):
            below[:] = [name for name in below if not name.startswith(".")]
            yield from _matches(os.path.join(glob.escape(folder), after))
        yield from (Unlisted(error.filename, error.strerror) for error in errors)


def _url_of(given: str, found: str) -> str:
    """The URL of what was found in a chain such as zip://*.mp4::s3://bucket/clips.zip."""
    _, *rest = given.split("::")
    return "::".join([found, *rest])


def _names(file: IO[bytes]) -> Iterator[bytes]:
    """The names in a list: one a line, or each with a zero byte at its end, such as find -print0 writes."""
    separator = b"\0" if b"\0" in file.read(1 << 16) else b"\n"
    file.seek(0)
    rest = b""
    while piece := file.read(1 << 16):
        *names, rest = (rest + piece).split(separator)
        yield from filter(None, names)
    if rest:
        yield rest


def kept(standard_input: IO[bytes], copy: IO[bytes]) -> str:
    """Copies a list from the standard input to a file, because a source is listed twice."""
    while piece := standard_input.read(1 << 20):
        copy.write(piece)
    copy.flush()
    return str(copy.name)
