"""Makes the report: one page that needs no other file."""

from __future__ import annotations

import contextlib
import os

import jinja2

from .export import Replacement
from .plots import draw
from .statistics import all_bars, headline, runs, worst
from .store import connect


def write_report(database: str, output: str, limit: int) -> None:
    with contextlib.closing(connect(database)) as connection:
        connection.execute("BEGIN")  # one state of the database, also while a survey writes
        values = {
            "database": os.path.basename(database),
            "head": headline(connection),
            "runs": runs(connection),
            "plots": [{"title": bars.title, "svg": draw(bars)} for bars in all_bars(connection)],
            "tables": worst(connection, limit),
            "limit": limit,
        }
    # Names of files come from anywhere, so all that is not marked as safe is escaped.
    environment = jinja2.Environment(loader=jinja2.PackageLoader("videoparams.survey", "."), autoescape=True)
    page = environment.get_template("report.html").render(values)
    with Replacement(output, database) as file:
        file.write(page)
