"""python3 -m videoparams.survey. See docs/archives.md."""

from __future__ import annotations

import argparse
import contextlib
import shlex
import signal
import sqlite3
import sys
import tempfile
from typing import NoReturn, Optional

from .export import export
from .options import PROGRAM, report_parser, settings_of, survey_parser
from .paths import NothingThere, Source, kept
from .store import Locked, NotASurvey, Store, connect, totals

GOOD, DAMAGED, UNREADABLE, NOT_ENDED = range(4)


def main(arguments: Optional[list[str]] = None) -> int:
    words = sys.argv[1:] if arguments is None else arguments
    try:
        return _report(words[1:]) if words[:1] == ["report"] else _survey(words)
    except ImportError as error:
        return _complain(f"{error}. On Debian: apt-get install python3-distributed python3-fsspec python3-jinja2 python3-matplotlib python3-tqdm", UNREADABLE)
    except KeyboardInterrupt:
        return _complain("stopped. Run the same command again to continue.", NOT_ENDED)
    except (NothingThere, NotASurvey) as error:
        return _complain(str(error), UNREADABLE)
    except sqlite3.Error as error:
        return _complain(f"the database cannot be read: {error}", UNREADABLE)
    except OSError as error:  # of a report or an export
        return _complain(f"{(error.filename or 'output').removesuffix('.part')}: {error.strerror}", UNREADABLE)


def _report(words: list[str]) -> int:
    from .report import write_report

    parsed = report_parser().parse_args(words)
    write_report(parsed.database, parsed.output, parsed.files)
    return GOOD


def _survey(words: list[str]) -> int:
    parser = survey_parser()
    parsed = parser.parse_intermixed_args(words)
    if parsed.paths or parsed.list:
        status = _run(parsed, shlex.join(words))
    elif parsed.export:
        status = _status(parsed.output)
    else:
        parser.error("name files, folders, patterns, URLs or lists")
    if parsed.export and status != NOT_ENDED:
        for name in export(parsed.output, parsed.export):
            print(name)
    return status


def _run(parsed: argparse.Namespace, command: str) -> int:
    from . import cluster
    from .probe import tool_version
    from .process import CannotStart
    from .progress import Progress
    from .survey import Survey, WorkerFailed

    signal.signal(signal.SIGTERM, _interrupt)
    settings = settings_of(parsed)
    progress: Optional[Progress] = None
    problem = ""
    with contextlib.ExitStack() as stack:
        try:
            copy = stack.enter_context(tempfile.NamedTemporaryFile(prefix="videoparams-survey-"))
            lists = [kept(sys.stdin.buffer, copy) if name == "-" else name for name in parsed.list]
            source = Source(parsed.paths, lists, parsed.every_file)
            store = stack.enter_context(Store(parsed.output, command))
            client = stack.enter_context(cluster.connect(parsed.scheduler, parsed.workers, parsed.wait))
            store.set_tool(client.submit(tool_version, settings.tool, pure=False).result())
            progress = Progress(None if parsed.quiet else source)
            Survey(client, store, settings, progress, parsed.retry).run(iter(source))
        except KeyboardInterrupt:
            problem = "stopped"
        except (Locked, cluster.NoScheduler, WorkerFailed, CannotStart) as error:
            problem = str(error)
        except (sqlite3.Error, OSError) as error:
            problem = f"{parsed.output}: {error}"
        finally:
            if progress is not None:
                progress.close()
    if problem:
        return _complain(f"{problem.rstrip('.')}. What {parsed.output} contains stays. Run the same command again to continue.", NOT_ENDED)
    assert progress is not None
    if not parsed.quiet:
        print(progress.summary(_totals(parsed.output), parsed.output))
    return _status(parsed.output)


def _interrupt(number: int, frame: object) -> NoReturn:
    raise KeyboardInterrupt


def _totals(database: str) -> dict[str, int]:
    with contextlib.closing(connect(database)) as connection:
        return totals(connection)


def _status(database: str) -> int:
    found = _totals(database)
    return UNREADABLE if found["unreadable"] else DAMAGED if found["damaged"] else GOOD


def _complain(message: str, status: int) -> int:
    print(f"{PROGRAM}: {message}", file=sys.stderr)
    return status


if __name__ == "__main__":
    sys.exit(main())
