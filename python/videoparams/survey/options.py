"""The command line."""

from __future__ import annotations

import argparse
import os

from .export import FORMATS
from .records import Settings

MEBIBYTE = 1 << 20
PROGRAM = "videoparams-survey"
STATUSES = "Status: 0: all files are good. 1: some are damaged. 2: some could not be read. 3: the survey has not ended; run it again to continue."


def survey_parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog=PROGRAM, epilog=f"{STATUSES} To make a page of the results: {PROGRAM} report survey.db -o report.html",
        description="Describes and checks every video file of an archive, and writes the results to a database. Files that it knows are skipped.")
    defaults = Settings()
    parser.add_argument("paths", metavar="PATH", nargs="*", help="a file, a folder, a pattern, a URL that fsspec knows, or @LIST: a file with a name a line")
    parser.add_argument("-o", "--output", metavar="survey.db", required=True, help="the database (SQLite), new or of an earlier run")
    parser.add_argument("--list", metavar="LIST", action="append", default=[], help="like @LIST; - is the standard input")
    parser.add_argument("--every-file", action="store_true", help="take all files of folders, not only those with the suffixes of video")
    parser.add_argument("--retry", action="store_true", help="read files again that could not be read")
    parser.add_argument("--export", choices=FORMATS, help="also write the results beside the database, in this format")
    parser.add_argument("--quiet", action="store_true", help="no progress bar and no summary")
    workers = parser.add_argument_group("workers")
    workers.add_argument("--workers", type=_positive, default=os.cpu_count() or 1, metavar="N", help="processes of this machine (default: %(default)s)")
    workers.add_argument("--scheduler", type=_address, metavar="tcp://HOST:8786", help="use the workers of this Dask scheduler instead")
    workers.add_argument("--wait", type=_seconds, default=60.0, metavar="SECONDS", help="for a scheduler that does not answer (default: %(default)g)")
    workers.add_argument("--tool", default=defaults.tool, help="the command videoparams, on the workers (default: %(default)s)")
    limits = parser.add_argument_group("limits of a file")
    limits.add_argument("--time-limit", type=_seconds, default=defaults.seconds, metavar="SECONDS", help="for each of its processes (default: %(default)g)")
    limits.add_argument("--memory-limit", type=_positive, default=defaults.memory // MEBIBYTE, metavar="MIB", help="likewise (default: %(default)s)")
    limits.add_argument("--download-limit", type=_positive, default=defaults.download // MEBIBYTE, metavar="MIB", help="for its copy if it is a URL (default: %(default)s)")
    limits.add_argument("--findings", type=_positive, default=defaults.findings, metavar="N", help="that are stored; all are counted (default: %(default)s)")
    limits.add_argument("--key-gap", type=_seconds, default=defaults.key_gap, metavar="SECONDS", help="a longer time without a key frame is a finding (default: %(default)g)")
    return parser


def report_parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(prog=f"{PROGRAM} report", description="Makes one page of the results of a survey.")
    parser.add_argument("database", metavar="survey.db")
    parser.add_argument("-o", "--output", metavar="report.html", required=True)
    parser.add_argument("--files", type=_positive, default=50, metavar="N", help="that are listed in each table (default: %(default)s)")
    return parser


def settings_of(arguments: argparse.Namespace) -> Settings:
    tool = arguments.tool
    return Settings(
        tool=os.path.abspath(tool) if os.sep in tool else tool,
        seconds=arguments.time_limit,
        memory=arguments.memory_limit * MEBIBYTE,
        download=arguments.download_limit * MEBIBYTE,
        findings=arguments.findings,
        key_gap=arguments.key_gap,
    )


def _positive(text: str) -> int:
    if not text.isdecimal() or int(text) < 1:
        raise argparse.ArgumentTypeError(f"a whole number from 1 on, not {text!r}")
    return int(text)


def _address(text: str) -> str:
    if "://" in text and text.split("://")[0] not in ("tcp", "tls", "ucx", "ws", "wss"):
        raise argparse.ArgumentTypeError(f"an address such as tcp://host:8786, not {text!r}")
    return text


def _seconds(text: str) -> float:
    try:
        value = float(text)
    except ValueError:
        value = 0
    if not 0 < value < 1e9:
        raise argparse.ArgumentTypeError(f"a number of seconds above 0, not {text!r}")
    return value
