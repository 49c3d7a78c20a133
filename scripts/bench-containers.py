#!/usr/bin/env python3
"""Measures the tool on an MP4 file of 1 GB, and prints a table in Markdown. The file is made in FOLDER and stays there.

    bench-containers.py TOOL READER FOLDER [ROUNDS] [MEGABYTES]

READER is videoparams_read_packets. The programs take turns; figures are medians of ROUNDS rounds (7), ratios are of
processor time within one round. A ratio that misses its target is bold.
"""

import os
import statistics
import subprocess
import sys
import time
from pathlib import Path

PART_SECONDS = 60
PART_BITS_PER_SECOND = 2_000_000
ENCODER = ["-c:v", "libx264", "-preset", "ultrafast", "-g", "50", "-bf", "2", "-b:v", str(PART_BITS_PER_SECOND), "-c:a", "aac"]


def ffmpeg(*arguments):
    subprocess.run(["ffmpeg", "-v", "error", "-y", *map(str, arguments)], check=True, stdin=subprocess.DEVNULL)


def make_film(folder, megabytes):
    """A film of an hour, 1280 x 720 with sound: a part that is encoded once, repeated."""
    film = folder / f"film-{megabytes}.mp4"
    if film.exists():
        return film
    part = folder / "part.mp4"
    picture = f"testsrc2=s=1280x720:r=25:d={PART_SECONDS},noise=alls=12:allf=t"
    ffmpeg("-f", "lavfi", "-i", picture, "-f", "lavfi", "-i", f"sine=d={PART_SECONDS}", *ENCODER, part)
    repeats = megabytes * 1_000_000 // part.stat().st_size
    unfinished = folder / "unfinished.mp4"
    ffmpeg("-stream_loop", repeats, "-i", part, "-map", "0", "-c", "copy", unfinished)
    unfinished.rename(film)
    return film


def measure(command):
    """Seconds, seconds of processor time, and megabytes of memory."""
    start = time.monotonic()
    process = subprocess.Popen(list(map(str, command)), stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise subprocess.CalledProcessError(process.returncode, command)
    return time.monotonic() - start, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def programs(tool, reader, film, folder):
    """Title, command, the title of what it is compared with, and whether the ratio meets its target."""
    edited, copied = folder / "edited.mp4", folder / "copied.mp4"
    info, read, copy = "`videoparams info`", "libavformat alone", "`ffmpeg -c copy`"
    return (
        (read, [reader, film], None, None, None),
        (info, [tool, "info", film], read, "at most 1.3", lambda ratio: ratio <= 1.3),
        ("`ffprobe -show_packets`", ["ffprobe", "-v", "error", "-show_packets", film], info, "at least 3", lambda ratio: ratio >= 3),
        ("`mediainfo`", ["mediainfo", film], info, None, None),
        ("`mediainfo --ParseSpeed=1`", ["mediainfo", "--ParseSpeed=1", film], info, None, None),
        ("`videoparams check`", [tool, "check", film], read, None, None),
        (copy, ["ffmpeg", "-v", "error", "-y", "-i", film, "-map", "0", "-c", "copy", copied], None, None, None),
        ("`videoparams userdata add --where all`", [tool, "userdata", "add", film, "--text", "take 7", "--where", "all", "--force", "-o", edited], copy, "at most 1.3", lambda ratio: ratio <= 1.3),
    )


def main():
    tool, reader, folder = sys.argv[1], sys.argv[2], Path(sys.argv[3])
    rounds = int(sys.argv[4]) if len(sys.argv) > 4 else 7
    megabytes = int(sys.argv[5]) if len(sys.argv) > 5 else 1000
    folder.mkdir(parents=True, exist_ok=True)
    film = make_film(folder, megabytes)
    entries = programs(tool, reader, film, folder)
    results = {title: [] for title, *_ in entries}
    for number in range(rounds + 1):
        for title, command, *_ in entries:
            figures = measure(command)
            if number > 0:  # the first round brings the file into memory
                results[title].append(figures)
    print(f"### Containers: a film of {film.stat().st_size / 1e6:.0f} MB\n")
    print("| program | seconds | processor time, s | memory, MB | ratio | to | target |\n|---|---|---|---|---|---|---|")
    for title, _, base, target, is_met in entries:
        seconds, processor, memory = (statistics.median(figures) for figures in zip(*results[title]))
        ratio = statistics.median(ours[1] / theirs[1] for ours, theirs in zip(results[title], results[base])) if base else None
        shown = "" if ratio is None else f"{ratio:.2f}" if is_met is None or is_met(ratio) else f"**{ratio:.2f}**"
        print(f"| {title} | {seconds:.2f} | {processor:.2f} | {memory:.0f} | {shown} | {base or ''} | {target or ''} |")
    print()
    for name in ("edited.mp4", "copied.mp4"):
        (folder / name).unlink(missing_ok=True)


if __name__ == "__main__":
    main()
