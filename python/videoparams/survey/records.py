"""What workers and the client exchange. The fields of FileRow are the columns of the table `files`."""

from __future__ import annotations

from dataclasses import dataclass
from typing import NamedTuple, Optional


@dataclass(frozen=True)
class Settings:
    """What holds for all files of a run."""

    tool: str = "videoparams"
    seconds: float = 600.0  # for each process that reads a file
    memory: int = 2048 << 20  # bytes of address space for each such process
    output: int = 16 << 20  # bytes that such a process may write
    download: int = 4096 << 20  # bytes of a file that must be copied from elsewhere
    findings: int = 100  # that are stored for a file; all are counted
    key_gap: float = 10.0  # a longer time without a key frame is a finding


class Finding(NamedTuple):
    """Something that a user may want to know about a file. `number` counts from 0 in its file."""

    number: int
    kind: str
    text: str
    unit: Optional[int] = None
    access_unit: Optional[int] = None
    sample: Optional[int] = None
    seconds: Optional[float] = None
    offset: Optional[int] = None


class FileRow(NamedTuple):
    """What is known of a file. None: not known, or the file does not have it."""

    path: str
    size: Optional[int]
    mtime_ns: Optional[int]
    status: str  # "good", "damaged" or "unreadable"
    reason: Optional[str] = None  # of an unreadable file, one of a few words
    message: Optional[str] = None  # of an unreadable file, for people
    worker: Optional[str] = None
    probe_seconds: Optional[float] = None
    format: Optional[str] = None
    codec: Optional[str] = None
    profile: Optional[str] = None
    level: Optional[str] = None
    width: Optional[int] = None
    height: Optional[int] = None
    chroma: Optional[str] = None
    bit_depth: Optional[int] = None
    scan: Optional[str] = None
    frame_rate: Optional[float] = None
    container_frame_rate: Optional[float] = None
    seconds: Optional[float] = None
    bit_rate: Optional[int] = None
    access_units: Optional[int] = None
    key_frames: Optional[int] = None
    key_gap_seconds: Optional[float] = None
    sequence_changes: Optional[int] = None
    unreadable_bytes: Optional[int] = None
    finding_count: int = 0


class Result(NamedTuple):
    row: FileRow
    findings: list[Finding]


class Answer(NamedTuple):
    """What a worker returns for a batch. `left` are the files for which its time was not enough."""

    results: list[Result]
    left: list[str]
