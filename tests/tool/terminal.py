#!/usr/bin/env python3
"""Tests what the tool does at a terminal: the progress bar, binary output and signals.    terminal.py TOOL"""

import fcntl
import os
import pathlib
import pty
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest
from typing import Any

import records

TOOL = str(pathlib.Path(sys.argv.pop(1)).resolve())
LONGER_THAN_UNDRAWN = 0.6  # seconds; the bar waits 0.4


class Terminal:
    """A pseudo-terminal, `columns` wide."""

    def __init__(self, columns: int = 80) -> None:
        self.screen, self.end = pty.openpty()
        self.resize(columns)

    def resize(self, columns: int) -> None:
        fcntl.ioctl(self.end, termios.TIOCSWINSZ, struct.pack("4H", 24, columns, 0, 0))

    def text(self) -> str:
        """What has been written. Nothing can be written after it."""
        os.write(self.end, b"<end>")
        shown = b""
        while not shown.endswith(b"<end>"):
            shown += os.read(self.screen, 65536)
        os.close(self.end)
        os.close(self.screen)
        return shown[:-5].decode(errors="replace")


class TerminalTest(unittest.TestCase):
    def setUp(self) -> None:
        holder = tempfile.TemporaryDirectory(prefix="video params ")
        self.addCleanup(holder.cleanup)
        self.folder = pathlib.Path(holder.name)
        (self.folder / "long.h264").write_bytes(records.long_stream())
        (self.folder / "small.h264").write_bytes(b"".join(records.units("avc-headers-once.h264")[:3]))

    def start(self, command: str, **streams: Any) -> "subprocess.Popen[bytes]":
        return subprocess.Popen([TOOL, *command.split()], cwd=self.folder, **streams)

    def list_slowly(self, columns: int, file: str = "long.h264", later_columns: int = 0, **streams: Any) -> str:
        """The tool waits for the reader of its list, so that there is time for a bar."""
        terminal = Terminal(columns)
        tool = self.start(f"units {file}", stdout=subprocess.PIPE, **{"stderr": terminal.end, **streams})
        assert tool.stdout
        tool.stdout.read(1)  # from now on it waits for the reader
        time.sleep(LONGER_THAN_UNDRAWN)
        if later_columns:
            terminal.resize(later_columns)
        tool.communicate()
        self.assertEqual(tool.returncode, 0)
        return terminal.text()

    def test_bar_fits_the_terminal(self) -> None:
        for columns, later in ((80, 0), (40, 0), (12, 0), (1, 0), (80, 30)):
            drawn = self.list_slowly(columns, later_columns=later).split("\r")
            self.assertGreater(len(drawn), 2)
            self.assertEqual(drawn[-1], "\x1b[K")  # it does not stay
            for line in drawn[1:-1]:
                self.assertRegex(line, r"^(\[=* *\] )?[ 0-9.%kMGB/s]*\x1b\[K$")
                self.assertLess(len(line) - 3, later or columns)
                self.assertEqual("[=" in line, (later or columns) >= 30, line)

    def test_bytes_are_shown_for_a_pipe(self) -> None:
        with subprocess.Popen(["cat", "long.h264"], cwd=self.folder, stdout=subprocess.PIPE) as cat:
            self.assertRegex(self.list_slowly(80, "-", stdin=cat.stdout), r"\r[0-9.]+ MB  [0-9.]+ [kM]B/s\x1b\[K")

    def test_no_bar_in_a_file(self) -> None:
        with open(self.folder / "errors", "wb") as errors:
            self.list_slowly(80, stderr=errors)
        self.assertEqual((self.folder / "errors").read_bytes(), b"")

    def test_bytes_go_to_a_terminal_only_when_forced(self) -> None:
        for command in ("userdata remove -o -", "userdata add --text x -o -", "params -o -"):
            for forced in ("", " --force"):
                terminal = Terminal()
                tool = self.start(f"{command}{forced} small.h264", stdout=terminal.end, stderr=subprocess.PIPE)
                _, errors = tool.communicate()
                self.assertEqual(tool.returncode, 0 if forced else 2, errors)
                self.assertEqual(len(terminal.text()) > 0, bool(forced))


if __name__ == "__main__":
    unittest.main()
