"""Measures what a survey costs its client and its scheduler, with workers that answer at once.

    load.py FILES FILES_PER_TASK    prints JSON: processor seconds of each for a file and for a task

The client, the database and the scheduler are the real ones; only the work is not done. The scheduler is a process of its own.
"""

import json
import os
import pathlib
import resource
import socket
import subprocess
import sys
import tempfile
import time

from distributed import Client

from videoparams.survey import survey
from videoparams.survey.progress import Progress
from videoparams.survey.records import Answer, FileRow, Result, Settings
from videoparams.survey.store import Store

TICKS = os.sysconf("SC_CLK_TCK")


def answer_at_once(paths, seconds, settings):
    """In place of probe_batch. As long a row as of a real file."""
    row = FileRow("", 100_000_000, 1_700_000_000_000_000_000, "good", None, None, "machine", 0.05, "mov,mp4,m4a", "H.264/AVC", "High", "4.1", 1920, 1080, "4:2:0",
                  8, "progressive", 25.0, 25.0, 60.0, 8_000_000, 1500, 30, 2.0, 0, 0)
    return Answer([Result(row._replace(path=path), []) for path in paths], [])


def processor_seconds(process):
    fields = pathlib.Path(f"/proc/{process}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / TICKS


def own_seconds():
    usage = resource.getrusage(resource.RUSAGE_SELF)
    return usage.ru_utime + usage.ru_stime


def start(*words):
    return subprocess.Popen([sys.executable, "-m", *words], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def main():
    files, batch = map(int, sys.argv[1:])
    survey.probe_batch = answer_at_once
    with socket.socket() as server:
        server.bind(("127.0.0.1", 0))
        address = f"tcp://127.0.0.1:{server.getsockname()[1]}"
    scheduler = start("distributed.cli.dask_scheduler", "--host", "127.0.0.1", "--port", address.rsplit(":", 1)[1], "--no-dashboard", "--no-show")
    worker = start("distributed.cli.dask_worker", address, "--nworkers", "1", "--nthreads", "4", "--no-dashboard", "--no-nanny")
    try:
        with tempfile.TemporaryDirectory() as folder, Client(address, set_as_default=False) as client, Store(f"{folder}/survey.db", "load") as store:
            client.wait_for_workers(1)
            run = survey.Survey(client, store, Settings(), Progress(None))
            run._sizes.files = lambda threads: batch
            before, own_before, start_time = processor_seconds(scheduler.pid), own_seconds(), time.monotonic()
            run.run(f"/archive/volume-{number // 1000:05}/clip-{number:08}.mp4" for number in range(files))
            print(json.dumps({
                "files": files, "tasks": -(-files // batch), "seconds": time.monotonic() - start_time,
                "client": own_seconds() - own_before, "scheduler": processor_seconds(scheduler.pid) - before, "stored": store.totals()["good"]}))
    finally:
        for process in (worker, scheduler):
            process.terminate()
            process.wait()


if __name__ == "__main__":
    main()
