#!/usr/bin/env python3
"""Compares what the tool writes with records, and its JSON with the schema.

    records.py TOOL            prints a short difference for each record that does not match
    records.py TOOL --renew    writes the records anew; read `git diff` before you commit them

There is a record for each stream, one for inputs that are damaged, and one for several inputs in a call. Long outputs are
recorded by their first and last lines and a digest of all.
"""

import difflib
import hashlib
import json
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
from collections.abc import Iterator

import jsonschema

TESTS = pathlib.Path(__file__).resolve().parents[1]
RECORDS = TESTS / "tool" / "records"
SCHEMA = json.loads((TESTS.parent / "docs" / "videoparams.schema.json").read_text())

MOST_LINES, FIRST_LINES, LAST_LINES, MOST_CHARACTERS = 28, 12, 4, 1600
MOST_SVG_LINES = 80
MOST_ITEMS_CHECKED = 100


def stream(name: str) -> bytes:
    return (TESTS / "streams" / name).read_bytes()


def units(name: str) -> list[bytes]:
    return re.split(rb"(?=\0\0\0\x01|(?<!\0)\0\0\x01)", stream(name))[1:]


def long_stream() -> bytes:
    """More than two minutes with more than 1 Mbit/s, by repetition and longer filler units."""
    closed = stream("avc-filler.h264").rpartition(b"\0\0\0\x01\x67")[0]  # without its last IDR picture
    filler = re.compile(rb"(\0\0\x01\x0c)(\xff+)\x80")
    return filler.sub(lambda unit: unit[1] + unit[2] * 30 + b"\x80", closed) * 130


def damaged_inputs() -> dict[str, bytes]:
    frames, delimited, late = units("avc-bframes.h264"), units("avc-aud.h264"), units("avc-headers-once.h264")
    pictures = units("hevc-bframes.h265")
    pictures[7] = pictures[7][:4] + bytes([pictures[7][4] | 0x80]) + pictures[7][5:]
    return {
        "cut-short.h264": stream("avc-bframes.h264")[:-700],
        "reference-missing.h264": b"".join(frames[:3] + frames[4:]),
        "delimiter-late.h264": b"".join(delimited[1:2] + delimited[:1] + delimited[2:]),
        "sets-late.h264": b"".join(late[2:9] + late),
        "sets-missing.h264": b"".join(late[2:]),
        "sets-only.h264": b"".join(late[:2]),
        "forbidden-bit.h265": b"".join(pictures),
        "bytes-before.h265": b"\7" * 9 + stream("hevc-bframes.h265"),
        "text.h264": b"This is no video.\n" * 20,
        "empty.h264": b"",
    }


WHOLE = [
    "info FILE",
    "info --json FILE",
    "info --units FILE",
    "info --units --json FILE",
    "info --plot OUT.svg FILE",
    "units FILE",
    "units --json FILE",
    "params FILE",
    "params --json FILE",
    "params -o OUT FILE",
    "check FILE",
    "check --json FILE",
    "userdata get FILE",
    "userdata get --json FILE",
    "userdata get -o OUT FILE",
    "userdata list FILE",
    "userdata list --json FILE",
    "userdata add --text 'take 7' --where key -o OUT FILE",
    "userdata remove -o OUT FILE",
    "userdata remove --all --json -o OUT FILE",
]
DAMAGED = [
    "info FILE",
    "info --json FILE",
    "units --json FILE",
    "check FILE",
    "check --json FILE",
    "userdata add --text x --where all -o OUT FILE",
    "userdata add --text x --json -o OUT FILE",
]

SEVERAL = [
    "info cut-short.h264 text.h264 sets-missing.h264",
    "info --json cut-short.h264 text.h264 sets-missing.h264",
    "check reference-missing.h264 cut-short.h264",
    "info --plot OUT.svg cut-short.h264 text.h264",
]


LONG_NAME = "R&D <take 7>, a name too long for the title of a plot, with an \u00e4 and a \u96fb and more words.h265"


def cases() -> Iterator[tuple[str, dict[str, bytes], list[str]]]:
    """Record, inputs, commands."""
    for name in ("avc-paff.h264", "avc-size-change.h264", "avc-user-data.h264", "hevc-hdr10.h265",
                 "hevc-temporal-layers.h265", "hevc-user-data.h265"):
        yield name, {name: stream(name)}, WHOLE
    yield "long.h264", {"long.h264": long_stream()}, WHOLE
    yield "many.h265", {"many.h265": stream("hevc-no-timing.h265") * 900}, WHOLE
    yield "damaged", damaged_inputs(), DAMAGED
    yield "long-name", {LONG_NAME: stream("hevc-hdr10.h265")}, ["info --plot OUT.svg FILE", "params --json FILE"]
    yield "several", damaged_inputs(), SEVERAL


def digest(content: bytes) -> str:
    return f"sha256 {hashlib.sha256(content).hexdigest()[:16]}"


def in_short(content: bytes, most_lines: int = MOST_LINES) -> list[str]:
    lines = content.decode(errors="backslashreplace").splitlines()
    if len(lines) > most_lines:
        cut = len(lines) - FIRST_LINES - LAST_LINES
        shown = lines[:FIRST_LINES] + [f"[{cut} lines]"] + lines[-LAST_LINES:]
    else:
        shown = lines
    shown = [line if len(line) <= MOST_CHARACTERS else f"{line[:200]}[{len(line) - 200} characters]" for line in shown]
    return shown if shown == lines else shown + [f"[{digest(content)}]"]


def numbers_are_round(text: str) -> float:
    if len(text.partition(".")[2]) > 6:
        raise ValueError(f"{text} has digits that mean nothing")
    return float(text)


def check_json(text: bytes) -> None:
    result = json.loads(text, parse_float=numbers_are_round)
    for each in result if isinstance(result, list) else [result]:
        for member in each.values():
            if isinstance(member, list):
                del member[MOST_ITEMS_CHECKED:]
    jsonschema.Draft202012Validator(SCHEMA).validate(result)


def run(tool: str, folder: pathlib.Path, command: str) -> list[str]:
    """The section of a record."""
    done = subprocess.run([tool, *shlex.split(command)], cwd=folder, capture_output=True, stdin=subprocess.DEVNULL)
    section = [f"$ videoparams {command}"] + in_short(done.stdout)
    if done.stderr:
        section += ["[standard error]"] + in_short(done.stderr)
    for output in sorted(folder.glob("OUT*")):
        content = output.read_bytes()
        output.unlink()
        section.append(f"[{output.name}]")
        section += (in_short(content, MOST_SVG_LINES) if output.suffix == ".svg" else
                    [f"{len(content)} bytes, {digest(content)}"])
    if done.returncode != 0:
        section.append(f"[status {done.returncode}]")
    if "--json" in command:
        try:
            check_json(done.stdout or done.stderr)
        except (ValueError, jsonschema.ValidationError) as error:
            section.append(f"[not as the schema says: {str(error).splitlines()[0]}]")
    return section


def difference(record: pathlib.Path, found: list[str]) -> list[str]:
    known = record.read_text().splitlines() if record.exists() else []
    lines = list(difflib.unified_diff(known, found, str(record.name), "now", lineterm="", n=1))
    return [line[:160] for line in lines[:20]] + (["..."] if len(lines) > 20 else [])


def main() -> int:
    tool, renews = str(pathlib.Path(sys.argv[1]).resolve()), "--renew" in sys.argv
    status = 0
    for name, inputs, commands in cases():
        found: list[str] = []
        with tempfile.TemporaryDirectory(prefix="video params ") as folder:
            for file, content in inputs.items():
                (pathlib.Path(folder) / file).write_bytes(content)
            for command in dict.fromkeys(c.replace("FILE", shlex.quote(file)) for file in inputs for c in commands):
                found += run(tool, pathlib.Path(folder), command) + [""]
        record = RECORDS / f"{name}.txt"
        if renews:
            record.write_text("\n".join(found) + "\n")
        elif lines := difference(record, found):
            print("\n".join(lines))
            status = 1
    return status


if __name__ == "__main__":
    sys.exit(main())
