"""An archive for tests, a tool with faults, and what a program that reads file by file finds in it."""

import collections
import contextlib
import json
import os
import pathlib
import shutil
import sqlite3
import subprocess

STREAMS = sorted(path for path in (pathlib.Path(__file__).parents[3] / "tests/streams").iterdir() if path.suffix in (".h264", ".h265"))
REAL_TOOL = os.environ["VIDEOPARAMS_TOOL"]
FILES = int(os.environ.get("VIDEOPARAMS_SURVEY_FILES", 40))
PAUSE = 12 / FILES  # seconds, so that a survey of slow files lasts long enough to be disturbed, on a fast machine too

# The tool, with faults for files of some names. It becomes what it starts, so that one signal ends it.
STUB = f"""#!/bin/sh
case "$3" in
*slow*) sleep {PAUSE:.4f} ;;
*crash*) kill -SEGV $$ ;;
*hang*) exec sleep 1000 ;;
*memory*) exec dd if=/dev/zero of=/dev/null bs=4G count=1 ;;
*flood*) exec yes ;;
*nonsense*) exec echo '{{"command": 1' ;;
*vanish*) rm -f "$3" ;;
esac
exec {REAL_TOOL} "$@"
"""
REASONS = {"pipe.h264": "not a file", "crash.h264": "crash", "hang.h264": "time limit", "memory.h264": "memory limit", "flood.h264": "output limit",
           "nonsense.h264": "crash", "vanish.h264": "vanished", "text.h264": "not video", "empty.h264": "not video", "missing.h264": "vanished"}
LIMITS = ("--time-limit", "8", "--memory-limit", "400")


def make_stub(folder):
    stub = folder / "stub-tool"
    stub.write_text(STUB)
    stub.chmod(0o755)
    return stub


def fill(folder, count, is_slow=False):
    """Clips in folders of 1000; of every seven, one lacks bytes in its middle."""
    for number in range(count):
        stream = STREAMS[number % len(STREAMS)]
        clip = folder / f"{number // 1000:04}" / f"{'slow-' if is_slow else ''}{number:06}{stream.suffix}"
        clip.parent.mkdir(parents=True, exist_ok=True)
        data = stream.read_bytes()
        clip.write_bytes(data[:len(data) // 4] + data[len(data) // 2:] if number % 7 == 0 else data)


def add_hostile(folder):
    """Files that do harm in all ways. Returns a list that also has a name without a file."""
    folder.mkdir()
    for name in REASONS:
        if name == "pipe.h264":
            os.mkfifo(folder / name)
        elif name not in ("missing.h264", "empty.h264"):
            shutil.copy(STREAMS[0], folder / name)
    (folder / "text.h264").write_text("no video\n" * 100)
    (folder / "empty.h264").touch()
    listed = folder / "list.txt"
    listed.write_text("".join(f"{folder / name}\n" for name in REASONS))
    return listed


def serial(folder):
    """What one process after the other says of all files of a folder: number of files by status and findings, and all access units."""
    statuses, access_units = collections.Counter(), 0
    for path in sorted(path for path in folder.rglob("*.h26?")):
        outputs = [subprocess.run([REAL_TOOL, command, "--json", path], capture_output=True) for command in ("info", "check")]
        info, check = (json.loads(output.stdout) for output in outputs)
        is_damaged = any(output.returncode for output in outputs)
        statuses["damaged" if is_damaged else "good", check["findingCount"]] += 1
        access_units += info["accessUnitCount"]
    return statuses, access_units


def surveyed(database, folder):
    """The same from a database. Findings that the survey adds are not of the tool, so they are not counted."""
    with contextlib.closing(sqlite3.connect(database)) as connection:
        files = connection.execute(
            """SELECT status, finding_count - (SELECT count(*) FROM findings WHERE file = id AND kind <> 'check'), access_units
            FROM files WHERE path LIKE ?""", (f"{folder}/%",)).fetchall()
        orphans = connection.execute("SELECT count(*) FROM findings WHERE file NOT IN (SELECT id FROM files)").fetchone()[0]
    assert orphans == 0
    statuses = collections.Counter((status, findings) for status, findings, _ in files)
    return statuses, sum(units for _, _, units in files)


def reasons(database):
    with contextlib.closing(sqlite3.connect(database)) as connection:
        return {os.path.basename(path): reason for path, reason in connection.execute("SELECT path, reason FROM files WHERE status = 'unreadable'")}
