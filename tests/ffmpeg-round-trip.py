#!/usr/bin/env python3
"""Gives every picture of the test streams user data of its own, and decodes the result with ffmpeg.

The decoded pictures must be the same, and every message must come out with the picture that it was given to.
Exits with 77 if ffmpeg or ffprobe is not installed.

    ffmpeg-round-trip.py LIBRARY
"""

import bisect
import itertools
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(HERE.parent / "python"))

SKIPPED = 77
IDENTIFIER = "99aed31b-b894-4b97-ad39-fb4ed5902ba1"
SHOWN_FRAME = re.compile(r"\] n: *\d+ ")
SHOWN_USER_DATA = re.compile(r"UUID=([0-9a-f-]+)\n.*User Data=([0-9a-f]*)\n")


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True, stdin=subprocess.DEVNULL)


def decode(path):
    """The hash of every picture, and the user_data_unregistered messages that came with it: (identifier, bytes)."""
    pictures = "-fps_mode", "passthrough", "-vf", "showinfo", "-f", "framehash", "-hash", "md5", "-"
    decoded = run("ffmpeg", "-hide_banner", "-nostats", "-threads", "1", "-i", str(path), *pictures)
    hashes = [line.split(",")[-1].strip() for line in decoded.stdout.splitlines() if not line.startswith("#")]
    shown = SHOWN_FRAME.split(decoded.stderr)[1:]
    return hashes, [[(uuid, bytes.fromhex(text)) for uuid, text in SHOWN_USER_DATA.findall(frame)] for frame in shown]


def probe(path):
    """Of every picture: where its bytes begin, and how many user_data_unregistered messages ffprobe shows."""
    frames = json.loads(run("ffprobe", "-v", "error", "-threads", "1", "-show_frames", "-of", "json", str(path)).stdout)
    for frame in frames["frames"]:
        kinds = [data["side_data_type"] for data in frame.get("side_data_list", [])]
        yield int(frame["pkt_pos"]), sum("User Data Unregistered" in kind for kind in kinds)


def message(number):
    return b"picture %d\0\0\1\0\0\0\3\xff" % number


def pictures_of(structures):
    """For every access unit, the ones that code its picture: itself, or the two fields of a pair."""
    pictures = []
    while len(pictures) < len(structures):
        i = len(pictures)
        pictures += [[i]] if structures[i] == "F" else [[i, i + 1]] * 2
    return pictures


def check_placement(path, edited, structures, copy):
    """`copy` is the file of the edited access units."""
    starts = list(itertools.accumulate(map(len, edited), initial=0))
    hashes, _ = decode(path)
    edited_hashes, shown = decode(copy)
    probed = list(probe(copy))
    if not hashes or edited_hashes != hashes:
        yield "the pictures changed"
    if not len(shown) == len(probed) == len(hashes):
        yield f"of {len(hashes)} pictures {len(shown)} and {len(probed)} were shown"
    # Where a picture's bytes begin: a zero before a start code is counted with them or with the previous bytes.
    numbers = [bisect.bisect_right(starts, position + 1) - 1 for position, _ in probed]
    given = [[message(unit) for unit in pictures_of(structures)[i]] for i in numbers]
    # The messages of pictures that the decoder leaves out come with the next one.
    taken = set(itertools.chain.from_iterable(given))
    for i, expected, messages, (_, count) in zip(numbers, given, shown, probed):
        own = [text for uuid, text in messages if uuid == IDENTIFIER and text in taken]
        if own != expected:
            yield f"access unit {i} should have {expected} and has {messages}"
        if count != len(messages):
            yield f"of {len(messages)} messages of access unit {i} ffprobe shows {count}"


def access_units(path, library, codec):
    """The access units as the library reports them, and for each whether it is a frame or a field: F or -."""
    units = [unit.data for unit in library.access_units(path, codec=codec)]
    if codec is library.Codec.HEVC:
        return units, "F" * len(units)
    with library.Parser(codec) as parser:
        return units, "".join("F" if parser.test_sample(unit).is_frame else "-" for unit in units)


def check(path, library, work):
    codec = library.Codec.AVC if path.suffix == ".h264" else library.Codec.HEVC
    units, structures = access_units(path, library, codec)
    copy = work / path.name
    with library.UserData(codec) as editor:
        edited = [editor.add(unit, message(i)) for i, unit in enumerate(units)]
        copy.write_bytes(b"".join(edited))
        yield from check_placement(path, edited, structures, copy)


def main():
    for program in "ffmpeg", "ffprobe":
        if not shutil.which(program):
            print(f"skipped: {program} is not installed")
            return SKIPPED
    os.environ["VIDEOPARAMS_LIBRARY"] = sys.argv[1]
    import videoparams

    wrong = []
    streams = sorted(path for path in (HERE / "streams").iterdir() if path.suffix in (".h264", ".h265"))
    with tempfile.TemporaryDirectory() as work, ThreadPoolExecutor(os.cpu_count()) as pool:
        checks = pool.map(lambda path: list(check(path, videoparams, Path(work))), streams)
        for path, findings in zip(streams, checks):
            wrong += [f"{path.name}: {finding}" for finding in findings]
    print(*wrong, f"{len(streams)} streams checked", sep="\n")
    return 1 if wrong or not streams else 0


sys.exit(main())
