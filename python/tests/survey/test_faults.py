"""Whole surveys, in which workers, scheduler and client are killed, the disk is full, and files do harm.

After each, every file has one row, and the totals are those of a program that reads one file after the other.
VIDEOPARAMS_SURVEY_FILES and VIDEOPARAMS_SURVEY_KILLS make the tests larger; scripts/bench-archives.sh does so.
"""

import contextlib
import os
import pathlib
import signal
import socket
import sqlite3
import subprocess
import sys
import tempfile
import time
import unittest

from archive import FILES, LIMITS, REASONS, add_hostile, fill, make_stub, reasons, serial, surveyed

KILLS = int(os.environ.get("VIDEOPARAMS_SURVEY_KILLS", 2))
SECONDS = 120 + FILES  # for one survey
SURVEY = [sys.executable, "-m", "videoparams.survey"]


class FaultTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name).resolve()
        cls.clips = cls.folder / "clips"
        fill(cls.clips, FILES, is_slow=True)
        cls.expected = serial(cls.clips)
        cls.stub = make_stub(cls.folder)

    def setUp(self):
        self.database = self.folder / f"{self.id().rsplit('.', 1)[-1]}.db"

    def start(self, *arguments, **options):
        command = [*SURVEY, str(self.clips), "-o", str(self.database), "--tool", str(self.stub), "--quiet", *LIMITS, *arguments]
        process = subprocess.Popen(command, stderr=subprocess.PIPE, text=True, **options)
        self.addCleanup(lambda: (process.kill(), process.communicate()))
        return process

    def end(self, process, status):
        message = process.communicate(timeout=SECONDS)[1]
        self.assertEqual(process.returncode, status, message)
        return message

    def finish(self, *arguments):
        """One more run, that has nothing else to do than what is left."""
        self.end(self.start("--workers", "2", *arguments), 1)
        self.assertEqual(surveyed(self.database, self.clips), self.expected)

    def rows(self):
        with contextlib.suppress(sqlite3.OperationalError), contextlib.closing(sqlite3.connect(f"file:{self.database}?mode=ro", uri=True)) as connection:
            return connection.execute("SELECT count(*) FROM files").fetchone()[0]
        return 0

    def await_rows(self, process, count):
        """Until so many files are committed. A survey that ends before is too fast for the test."""
        deadline = time.monotonic() + SECONDS
        while self.rows() < count:
            self.assertTrue(process.poll() is None and time.monotonic() < deadline, "the survey ended before it could be disturbed")
            time.sleep(0.02)

    def test_workers_that_are_killed_lose_nothing(self):
        process = self.start("--workers", "2")
        killed = set()
        deadline = time.monotonic() + SECONDS
        while len(killed) < KILLS and process.poll() is None and time.monotonic() < deadline:
            for worker in workers_of(process.pid, busy=True)[:1]:
                os.kill(worker, signal.SIGKILL)
                killed.add(worker)
            time.sleep(0.2)
        self.end(process, 1)
        self.assertEqual(len(killed), KILLS)
        self.assertEqual(surveyed(self.database, self.clips), self.expected)
        self.assertEqual(processes_with(str(self.stub)), [])

    def test_a_client_that_is_killed_continues_after_its_last_commit(self):
        done = 0
        for _ in range(2):
            process = self.start("--workers", "2")
            self.await_rows(process, done + 1)
            os.kill(process.pid, signal.SIGKILL)
            self.end(process, -signal.SIGKILL)
            done = self.rows()
        self.assertLess(done, FILES)
        deadline = time.monotonic() + 10  # its workers end with it
        while processes_with(str(self.stub)) and time.monotonic() < deadline:
            time.sleep(0.1)
        self.assertEqual(processes_with(str(self.stub)), [])
        self.finish()
        with contextlib.closing(sqlite3.connect(self.database)) as connection:
            self.assertEqual(connection.execute("SELECT count(*) FROM files WHERE run < 3").fetchone()[0], done)

    def test_a_stopped_survey_ends_in_order_and_continues(self):
        terminate = lambda process: process.send_signal(signal.SIGTERM)
        press_ctrl_c = lambda process: os.killpg(process.pid, signal.SIGINT)
        for stop in terminate, press_ctrl_c:
            process = self.start("--workers", "2", start_new_session=True, preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))
            self.await_rows(process, self.rows() + 1)
            stop(process)
            self.assertRegex(self.end(process, 3), r"\Avideoparams-survey: stopped\..* Run the same command again to continue\.\n\Z")
        self.finish()

    def test_a_scheduler_that_is_killed_ends_the_survey_and_a_new_one_continues(self):
        port = free_port()
        cluster = self.start_cluster(port)
        arguments = ("--scheduler", f"tcp://127.0.0.1:{port}", "--wait", "3")
        process = self.start(*arguments)
        self.await_rows(process, 1)
        os.kill(cluster.pid, signal.SIGKILL)
        self.assertIn("the connection to the scheduler is lost", self.end(process, 3))
        self.assertGreater(FILES, self.rows())
        self.start_cluster(port)
        self.finish("--scheduler", f"tcp://127.0.0.1:{port}")

    def start_cluster(self, port):
        """A scheduler and two workers, which end when it does."""
        def start(*words):
            log = open(self.folder / "cluster.log", "a", encoding="utf-8")
            self.addCleanup(log.close)
            process = subprocess.Popen([sys.executable, "-m", *words], stdout=log, stderr=log, cwd=self.folder)
            self.addCleanup(lambda: (process.terminate(), process.wait()))
            return process

        scheduler = start("distributed.cli.dask_scheduler", "--host", "127.0.0.1", "--port", str(port), "--no-dashboard", "--no-show")
        start("distributed.cli.dask_worker", f"tcp://127.0.0.1:{port}", "--nworkers", "2", "--nthreads", "1", "--no-dashboard")
        return scheduler

    def test_a_full_disk_ends_the_survey_and_it_continues_when_there_is_room(self):
        if subprocess.run(["unshare", "-rm", "mount", "-t", "tmpfs", "none", "/mnt"], capture_output=True).returncode != 0:
            self.skipTest("this machine lets no test mount a file system")
        disk = self.folder / "disk"
        disk.mkdir()
        self.database = disk / "survey.db"
        # Room for the tables, and not for the rows. The write-ahead log and its index need 32 KB and more.
        script = f"""mount -t tmpfs -o size=128k none {disk} && "$@"; echo "status $?" >&2
            mount -o remount,size=100m {disk} && "$@" && exit; status=$?; cp {disk}/survey.db {self.folder}/full.db; exit $status"""
        command = [*SURVEY, str(self.clips), "-o", str(self.database), "--tool", str(self.stub), "--quiet", "--workers", "2"]
        process = subprocess.run(["unshare", "-rm", "sh", "-c", script, "sh", *command], capture_output=True, text=True, timeout=SECONDS)
        self.assertEqual(process.returncode, 1, process.stderr)
        self.assertIn("database or disk is full", process.stderr)
        self.assertIn("status 3", process.stderr)
        self.assertEqual(surveyed(self.folder / "full.db", self.clips), self.expected)

    def test_files_that_do_harm_harm_no_other(self):
        listed = add_hostile(self.folder / "hostile")
        self.end(self.start(f"@{listed}", str(self.folder / "hostile"), "--workers", "2"), 2)
        self.assertEqual(surveyed(self.database, self.clips), self.expected)
        self.assertEqual(reasons(self.database), REASONS)
        self.end(self.start(f"@{listed}", "--workers", "2"), 2)  # nothing is done again
        with contextlib.closing(sqlite3.connect(self.database)) as connection:
            self.assertEqual(connection.execute("SELECT count(*), max(run) FROM files").fetchone(), (FILES + len(REASONS), 1))


def workers_of(client, busy):
    """Processes of a client that run a tool, that is, have a child themselves."""
    children = {}
    for process in filter(str.isdigit, os.listdir("/proc")):
        with contextlib.suppress(OSError):
            parent = int(pathlib.Path(f"/proc/{process}/stat").read_text().rsplit(")", 1)[1].split()[1])
            children.setdefault(parent, []).append(int(process))
    return [child for child in children.get(client, []) if child in children or not busy]


def processes_with(word):
    found = []
    for process in filter(str.isdigit, os.listdir("/proc")):
        with contextlib.suppress(OSError):
            if word.encode() in pathlib.Path(f"/proc/{process}/cmdline").read_bytes():
                found.append(process)
    return found


def free_port():
    with socket.socket() as server:
        server.bind(("127.0.0.1", 0))
        return server.getsockname()[1]


if __name__ == "__main__":
    unittest.main()
