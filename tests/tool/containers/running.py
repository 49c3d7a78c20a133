"""Runs the tool. Whatever it writes as JSON must fit the schema."""

import json
import os
import subprocess
from pathlib import Path

import jsonschema

TOOL = os.environ["VIDEOPARAMS_TOOL"]
SCHEMA = json.loads((Path(__file__).parents[3] / "docs/videoparams.schema.json").read_text())


def tool(*arguments, status=0, **options):
    """The standard output, if the tool ends with the status."""
    done = subprocess.run([TOOL, *map(str, arguments)], stdin=subprocess.DEVNULL, capture_output=True, **options)
    assert done.returncode == status, f"{arguments}: status {done.returncode}: {done.stderr.decode()[:500]}"
    if "--json" in arguments:
        check_json(done.stdout)
    return done.stdout


def check_json(text):
    result = json.loads(text)
    jsonschema.Draft202012Validator(SCHEMA).validate(result)
    return result
