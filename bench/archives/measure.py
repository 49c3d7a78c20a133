"""Measures surveys of small files against the tool alone, and writes the costs from which simulate.py computes.

    measure.py TOOL FILES FOLDER    FOLDER gets the files, the databases and costs.json
"""

import contextlib
import json
import os
import pathlib
import shutil
import sqlite3
import subprocess
import sys
import time

SURVEY = [sys.executable, "-m", "videoparams.survey"]
STREAMS = pathlib.Path(__file__).parents[2] / "tests/streams"
BATCHES = (10, 100)  # files in a task: two sizes tell the cost of a task from that of a file


def make_archive(folder, count):
    streams = sorted(path for path in STREAMS.iterdir() if path.suffix in (".h264", ".h265"))
    for number in range(count):
        clip = folder / f"{number // 1000:04}" / f"{number:06}{streams[number % len(streams)].suffix}"
        clip.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(streams[number % len(streams)], clip)


def timed(function, *arguments):
    start = time.monotonic()
    result = function(*arguments)
    return time.monotonic() - start, result


def run_tool(tool, files, processes):
    """The tool alone: started by xargs, which costs next to nothing."""
    for command in ("info", "check"):
        xargs = ["xargs", "-0", "-n", "1", "-P", str(processes), tool, command, "--json"]
        subprocess.run(xargs, input=b"\0".join(os.fsencode(path) for path in files), stdout=subprocess.DEVNULL, check=False)


def run_survey(tool, archive, database, workers):
    process = subprocess.run([*SURVEY, str(archive), "-o", str(database), "--tool", tool, "--workers", str(workers)], stdout=subprocess.PIPE, text=True)
    if process.returncode != 0:
        sys.exit(f"the survey ended with status {process.returncode}: {process.stdout}")


def totals(database):
    with contextlib.closing(sqlite3.connect(database)) as connection:
        return connection.execute("SELECT count(*), count(DISTINCT path), sum(access_units), sum(key_frames), sum(finding_count) FROM files").fetchone()


def file_seconds(database):
    """Of a thousand files, evenly spread."""
    with contextlib.closing(sqlite3.connect(database)) as connection:
        times = [seconds for seconds, in connection.execute("SELECT probe_seconds FROM files ORDER BY probe_seconds")]
    return times[::max(1, len(times) // 1000)]


def load_costs():
    """Two equations with two unknowns, for client and scheduler."""
    costs = {}
    runs = []
    for batch in BATCHES:
        files = 2000 * batch
        output = subprocess.run([sys.executable, pathlib.Path(__file__).with_name("load.py"), str(files), str(batch)], stdout=subprocess.PIPE, check=True).stdout
        runs.append(json.loads(output))
    for part in ("client", "scheduler"):
        small, large = (run[part] / run["tasks"] for run in runs)
        costs[f"{part}_file"] = max(0.0, (large - small) / (BATCHES[1] - BATCHES[0]))
        costs[f"{part}_task"] = small - BATCHES[0] * costs[f"{part}_file"]
    return costs


def main():
    tool, count, folder = sys.argv[1], int(sys.argv[2]), pathlib.Path(sys.argv[3])
    archive = folder / "archive"
    make_archive(archive, count)
    files = sorted(path for path in archive.rglob("*") if path.is_file())
    run_tool(tool, files[:100], 1)  # so that all is in memory

    alone, _ = timed(run_tool, tool, files, 1)
    alone_two, _ = timed(run_tool, tool, files, 2)
    one, _ = timed(run_survey, tool, archive, folder / "one.db", 1)
    two, _ = timed(run_survey, tool, archive, folder / "two.db", 2)
    again, _ = timed(run_survey, tool, archive, folder / "two.db", 2)
    if totals(folder / "one.db") != totals(folder / "two.db") or totals(folder / "two.db")[:2] != (count, count):
        sys.exit("the totals of one and two workers differ")

    print(f"{count:,} files.\n\n| run | time | for a file | compared |\n|---|---|---|---|")
    for name, seconds, compared in (
            ("the tool alone, one process at a time", alone, ""),
            ("survey, one worker", one, f"{one / alone - 1:+.0%} of the tool alone"),
            ("the tool alone, two processes at a time", alone_two, f"{alone / alone_two:.2f} times as fast as one"),
            ("survey, two workers", two, f"**{one / two:.2f}** times as fast as one"),
            ("survey, all files done before", again, "")):
        print(f"| {name} | {seconds:.1f} s | {1000 * seconds / count:.2f} ms | {compared} |")

    costs = {**load_costs(), "file_seconds": file_seconds(folder / "one.db")}
    (folder / "costs.json").write_text(json.dumps(costs))
    print("\n| processor time | for a task | for a file |\n|---|---|---|")
    for part in ("client", "scheduler"):
        print(f"| {part} | {1000 * costs[f'{part}_task']:.2f} ms | {1e6 * costs[f'{part}_file']:.1f} µs |")


if __name__ == "__main__":
    main()
