"""Runs a command in a process of its own, with limits, and never lets it do harm or outlive its worker."""

from __future__ import annotations

import os
import selectors
import signal
import subprocess
import time
from typing import NamedTuple, Optional

from .records import Settings

MESSAGE_BYTES = 4096  # that are kept of the standard error


class CannotStart(Exception):
    """The command is not on this machine. That is no property of a file."""


class Outcome(NamedTuple):
    """How a process ended. `limit` is "time", "output" or None."""

    status: int  # negative: the number of a signal
    limit: Optional[str]
    output: bytes
    message: str


def limited(command: list[str], settings: Settings, file_bytes: int = 0) -> list[str]:
    """The command behind two small programs that set limits and then become it, in one process.

    They are used because code of Python between fork and exec is unsafe in a process with threads, and slow. The process gets
    SIGKILL when its worker ends, so that a worker that is killed leaves nothing behind.
    """
    limits = [f"--as={settings.memory}", f"--cpu={int(settings.seconds) + 1}", "--core=0", f"--fsize={file_bytes}"]
    return ["prlimit", *limits, "setpriv", "--pdeathsig", "KILL", *command]


def run(command: list[str], settings: Settings, file_bytes: int = 0) -> Outcome:
    """`file_bytes`: the command may write files of this size."""
    try:
        process = subprocess.Popen(
            limited(command, settings, file_bytes),
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            start_new_session=True,  # so that all that it starts can be killed with it
        )
    except OSError as error:
        raise CannotStart(f"{error.filename}: {error.strerror}") from error
    with process:
        try:
            limit, output, message = _read(process, settings)
        finally:
            if process.returncode is None:  # a limit, or an exception
                os.killpg(process.pid, signal.SIGKILL)
        status = process.wait()
    return Outcome(status, limit, bytes(output), message.decode(errors="replace").strip())


def _read(process: subprocess.Popen[bytes], settings: Settings) -> tuple[Optional[str], bytearray, bytearray]:
    """Reads both outputs to their ends, or to a limit."""
    assert process.stdout and process.stderr
    output, message = bytearray(), bytearray()
    deadline = time.monotonic() + settings.seconds
    with selectors.DefaultSelector() as selector:
        selector.register(process.stdout, selectors.EVENT_READ, output)
        selector.register(process.stderr, selectors.EVENT_READ, message)
        while selector.get_map():
            events = selector.select(deadline - time.monotonic())
            if not events and time.monotonic() >= deadline:
                return "time", output, message
            for key, _ in events:
                piece = os.read(key.fd, 1 << 16)
                if not piece:
                    selector.unregister(key.fileobj)
                key.data.extend(piece)
            del message[MESSAGE_BYTES:]
            if len(output) > settings.output:
                return "output", output, message
    try:
        process.wait(max(0.0, deadline - time.monotonic()))
    except subprocess.TimeoutExpired:
        return "time", output, message
    return None, output, message
