"""What a worker does: it runs the tool on each file of a batch."""

from __future__ import annotations

import functools
import json
import os
import re
import shutil
import signal
import socket
import sys
import tempfile
import time
from typing import Any

from . import process
from .describe import describe
from .location import Identity, NotAFile, identify, is_url
from .records import Answer, FileRow, Result, Settings

OUT_OF_MEMORY = re.compile("memory ran out|out of memory|memory exhausted|cannot allocate memory|failed to map segment|bad_alloc|MemoryError", re.I)
FETCH_SUFFIX = 64  # bytes of a name that a copy keeps at most
FETCH_REASONS = {3: "vanished", 4: "too large"}


class Unreadable(Exception):
    """Why a file has no description. `reason` is a word of the table `files`."""

    def __init__(self, reason: str, message: str) -> None:
        super().__init__(reason, message)
        self.reason, self.message = reason, message


def probe_batch(paths: list[str], seconds: float, settings: Settings) -> Answer:
    """Reads files until `seconds` have passed, and returns the names of the others."""
    deadline = time.monotonic() + seconds
    results: list[Result] = []
    for path in paths:
        if results and time.monotonic() >= deadline:
            break
        results.append(probe_file(path, settings))
    return Answer(results, paths[len(results):])


def probe_file(path: str, settings: Settings) -> Result:
    start = time.monotonic()
    identity = Identity()
    try:
        identity = _identify(path)
        result = _probe_url(path, identity, settings) if is_url(path) else _probe_local(path, path, identity, settings)
    except Unreadable as error:
        if error.reason == "vanished":
            identity = Identity()  # of what is there now, so that the next run has nothing to do
        result = Result(FileRow(path, *identity, "unreadable", error.reason, error.message), [])
    seconds = round(time.monotonic() - start, 6)
    return result._replace(row=result.row._replace(worker=socket.gethostname(), probe_seconds=seconds))


def _identify(path: str) -> Identity:
    try:
        return identify(path)
    except NotAFile as error:
        raise Unreadable("not a file", str(error)) from error
    except FileNotFoundError as error:
        raise Unreadable("vanished", "no such file") from error
    except OSError as error:
        raise Unreadable("not readable", str(error.strerror or error)) from error


def _probe_local(file: str, path: str, identity: Identity, settings: Settings) -> Result:
    info = _ask("info", file, settings)
    check = _ask("check", file, settings)
    return describe(path, identity, info, check, settings)


def _probe_url(url: str, identity: Identity, settings: Settings) -> Result:
    """Copies the file first: the tool reads it twice, and a container whose index is at the end cannot be read from a pipe."""
    with tempfile.TemporaryDirectory(prefix="videoparams-survey-") as folder:
        name = re.sub("[^A-Za-z0-9._-]", "_", url.split("::")[0].rsplit("/", 1)[-1])[-FETCH_SUFFIX:]
        copy = os.path.join(folder, f"copy-{name}")
        command = [sys.executable, "-m", "videoparams.survey.fetch", url, copy]
        outcome = process.run(command, settings, settings.download)
        if outcome.status != 0:
            reason = FETCH_REASONS.get(outcome.status, "not copied")
            raise Unreadable("time limit" if outcome.limit else reason, outcome.message or _ending(outcome.status))
        return _probe_local(copy, url, identity, settings)


@functools.lru_cache(maxsize=None)
def find_tool(tool: str) -> tuple[str, str]:
    """The path of the tool on this worker, and its version. Any other program would make every file unreadable."""
    advice = "Install the package videoparams there, or give --tool."
    found = shutil.which(tool)
    if not found:
        raise process.CannotStart(f"{tool}: not found on {socket.gethostname()}. {advice}")
    outcome = process.run([os.path.abspath(found), "--version"], Settings(tool, seconds=60))
    version = outcome.output.decode(errors="replace").strip()
    if outcome.status != 0 or not version.startswith("videoparams "):
        cause = outcome.message or _ending(outcome.status)
        raise process.CannotStart(f"{found} is not the command videoparams, or does not work on {socket.gethostname()} ({cause}). {advice}")
    return os.path.abspath(found), version


def tool_version(tool: str) -> str:
    """Of the tool of a worker."""
    return find_tool(tool)[1]


def _ask(command: str, file: str, settings: Settings) -> dict[str, Any]:
    """What the tool writes about a file. Status 1 is an answer too: there are findings."""
    outcome = process.run([find_tool(settings.tool)[0], command, "--json", file], settings)
    if outcome.limit == "time" or -outcome.status == signal.SIGXCPU:
        raise Unreadable("time limit", f"{command} was not ready after {settings.seconds:g} s")
    if outcome.limit == "output":
        raise Unreadable("output limit", f"{command} wrote more than {settings.output} bytes")
    answer: dict[str, Any] = {}
    try:
        answer = json.loads(outcome.output.decode(errors="replace"))
    except ValueError:
        pass
    if outcome.status in (0, 1) and answer.get("command") == command and "error" not in answer:
        return answer
    message = str(answer.get("error") or outcome.message or _ending(outcome.status)).removeprefix(f"{file}: ")[:process.MESSAGE_BYTES]
    if not os.path.exists(file):
        raise Unreadable("vanished", message)
    if OUT_OF_MEMORY.search(message):
        raise Unreadable("memory limit", message)
    raise Unreadable("not video" if answer and outcome.status == 2 else "crash", message)


def _ending(status: int) -> str:
    return f"ended by {signal.Signals(-status).name}" if status < 0 else f"ended with status {status} and no answer"
