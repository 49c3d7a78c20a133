"""Tests of the parts of a survey, without a cluster."""

import contextlib
import io
import os
import pathlib
import sqlite3
import sys
import tempfile
import threading
import time
import unittest
import unittest.mock
import zipfile
from concurrent.futures import CancelledError

from distributed import KilledWorker

from archive import REAL_TOOL, REASONS, STREAMS, add_hostile, make_stub

from videoparams.survey.__main__ import main
from videoparams.survey.batches import BatchSizes
from videoparams.survey.describe import describe
from videoparams.survey.export import export
from videoparams.survey.location import Identity
from videoparams.survey.paths import NothingThere, Source, Unlisted
from videoparams.survey.probe import probe_batch, probe_file
from videoparams.survey.process import CannotStart, run
from videoparams.survey.progress import Progress
from videoparams.survey.records import Answer, FileRow, Finding, Result, Settings
from videoparams.survey.store import Locked, NotASurvey, Store, connect, totals
from videoparams.survey.survey import Survey

SETTINGS = Settings(tool=REAL_TOOL, memory=400 << 20)


class InFolder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.database = str(self.folder / "survey.db")


class PathsTest(InFolder):
    def find(self, *paths, **options):
        return sorted(os.path.relpath(path, self.folder) for path in Source([str(path) for path in paths], **options))

    def test_finds_what_folders_patterns_lists_and_addresses_name(self):
        for name in ("a/1.mp4", "a/b/2.H264", "a/b/notes.txt", "c/[x].mov", "c/3.mkv"):
            (self.folder / name).parent.mkdir(parents=True, exist_ok=True)
            (self.folder / name).touch()
        (self.folder / "a/circle").symlink_to(self.folder)
        (self.folder / "a/link.ts").symlink_to(self.folder / "c/3.mkv")
        (self.folder / "a/itself.ts").symlink_to("itself.ts")
        (self.folder / "lines").write_bytes(os.fsencode(f"{self.folder}/c/3.mkv\n\n{self.folder}/a/b"))
        (self.folder / "zeros").write_bytes(os.fsencode(f"{self.folder}/new\nline.mp4\0{self.folder}/c/3.mkv\0"))

        self.assertEqual(self.find(self.folder / "a"), ["a/1.mp4", "a/b/2.H264", "a/itself.ts", "a/link.ts"])
        self.assertEqual(self.find(self.folder / "a/b", every_file=True), ["a/b/2.H264", "a/b/notes.txt"])
        self.assertEqual(self.find(self.folder / "*/*.m*", self.folder / "c/[x].mov"), ["a/1.mp4", "c/3.mkv", "c/[x].mov", "c/[x].mov"])
        self.assertEqual(self.find(self.folder / "**/*.mp4"), ["a/1.mp4"])
        self.assertEqual(self.find(self.folder / "**/b/*"), ["a/b/2.H264", "a/b/notes.txt"])
        self.assertEqual(self.find(f"@{self.folder}/lines"), ["a/b/2.H264", "c/3.mkv"])
        self.assertEqual(self.find(lists=[str(self.folder / "zeros")]), ["c/3.mkv", "new\nline.mp4"])
        self.assertEqual(self.find(f"file://{self.folder}/c/3.mkv"), ["c/3.mkv"])
        for wrong in ("none.mp4", "*.none", "@none"):
            self.assertRaises(NothingThere, Source, [wrong])

    def test_a_folder_that_cannot_be_listed_is_an_entry(self):
        source = Source([str(self.folder)])
        self.folder.joinpath("a").mkdir()
        entries = iter(source)
        with unittest.mock.patch("os.scandir", side_effect=PermissionError(13, "Permission denied")):
            self.assertEqual(next(entries), Unlisted(str(self.folder), "Permission denied"))


class ProbeTest(InFolder):
    def test_every_file_gets_its_reason_whatever_it_does(self):
        listed = add_hostile(self.folder / "hostile")
        stub = str(make_stub(self.folder))
        settings = Settings(tool=stub, seconds=8, memory=400 << 20)
        answer = probe_batch(listed.read_text().splitlines(), 600, settings)
        self.assertEqual({os.path.basename(result.row.path): result.row.reason for result in answer.results}, REASONS)

    def test_a_process_is_killed_with_all_that_it_started(self):
        outcome = run(["sh", "-c", "sleep 1000 & echo $! >&2; wait"], Settings(seconds=0.3))
        self.assertEqual(outcome.limit, "time")
        deadline = time.monotonic() + 5
        while os.path.exists(f"/proc/{outcome.message}/exe") and time.monotonic() < deadline:
            time.sleep(0.01)
        self.assertFalse(os.path.exists(f"/proc/{outcome.message}/exe"))

    def test_a_process_ends_with_its_worker(self):
        parent, child = os.pipe()
        worker = os.fork()
        if worker == 0:
            os.dup2(child, 2)
            threading.Thread(target=run, args=(["sh", "-c", f"echo $$ >/proc/{os.getpid()}/fd/2; exec sleep 1000"], Settings(), 1 << 20)).start()
            time.sleep(1000)
        process = int(os.read(parent, 100))
        os.kill(worker, 9)
        os.waitpid(worker, 0)
        deadline = time.monotonic() + 5
        while os.path.exists(f"/proc/{process}") and time.monotonic() < deadline:
            time.sleep(0.01)
        self.assertFalse(os.path.exists(f"/proc/{process}/exe"))

    def test_a_missing_tool_is_no_property_of_a_file(self):
        for tool in "/none", "/bin/true", "/bin/false":
            self.assertRaises(CannotStart, probe_file, str(STREAMS[0]), Settings(tool=tool))

    def test_a_batch_ends_in_time_and_returns_the_rest(self):
        answer = probe_batch([str(path) for path in STREAMS[:3]], 0, SETTINGS)
        self.assertEqual((len(answer.results), answer.left), (1, [str(path) for path in STREAMS[1:3]]))

    def test_files_of_other_file_systems_are_copied_within_a_limit(self):
        with zipfile.ZipFile(self.folder / "clips.zip", "w") as clips:
            for path in STREAMS[:2]:
                clips.write(path, f"tape/{path.name}")
            clips.writestr("tape/folder.h264/", b"")
        found = list(Source([f"zip://**/*.h264::{self.folder}/clips.zip"]))
        self.assertEqual(found, [f"zip://tape/{path.name}::{self.folder}/clips.zip" for path in STREAMS[:2]])
        remote, local = probe_file(found[0], SETTINGS).row, probe_file(str(STREAMS[0]), SETTINGS).row
        self.assertEqual(remote[8:], local[8:])
        self.assertEqual(probe_file(found[0], Settings(tool=REAL_TOOL, download=100)).row.reason, "too large")
        self.assertEqual(probe_file(found[0].replace("tape", "none"), SETTINGS).row.reason, "vanished")


class DescribeTest(unittest.TestCase):
    def info(self, **changes):
        sequence = {"firstAccessUnit": 0, "width": 64, "height": 48, "frameRate": {"numerator": 50, "denominator": 2}}
        return {"format": "mp4", "codec": "H.264/AVC", "sequences": [sequence], "sequenceChanges": 0, "accessUnitCount": 1000, "fieldCount": 0,
                "keyFrameCount": 5, "keyFrameDistance": {"smallest": 100, "mean": 200, "largest": 240}, "seconds": 40.0, "bitsPerSecond": 1,
                "accessUnitSize": {"mean": 500}, "unreadable": {"bytes": 0, "damagedUnits": 0, "lostSlices": 0, "bytesOutsideOfUnits": 0}, **changes}

    def describe(self, check=(), **changes):
        checked = {"findings": [{"text": text} for text in check], "findingCount": len(check)}
        return describe("x", Identity(), self.info(**changes), checked, Settings(findings=3))

    def test_the_longest_time_without_a_key_frame_includes_the_ends_of_the_stream(self):
        self.assertEqual(self.describe().row.key_gap_seconds, 9.6)  # 240 pictures; after the last key frame are 200
        tail = {"smallest": 10, "mean": 10, "largest": 10}
        self.assertEqual(self.describe(keyFrameDistance=tail).row.key_gap_seconds, 38.4)  # the last key frame is number 40
        self.assertEqual(self.describe(keyFrameDistance=None, keyFrameCount=0).row.key_gap_seconds, 40.0)
        self.assertEqual(self.describe(keyFrameDistance=tail).findings[0].text, "38.4 s without a key frame")

    def test_a_rate_is_compared_with_the_times_of_the_container(self):
        for seconds, fields, is_wrong in ((40.0, 0, False), (39.97, 0, False), (33.36, 0, True), (20.0, 1000, False), (40.0, 1000, True)):
            found = self.describe(container={"durationSeconds": seconds}, fieldCount=fields).findings
            self.assertEqual(["frame rate" in finding.kind for finding in found], [True] if is_wrong else [], (seconds, fields))

    def test_damage_is_what_the_tool_finds_and_its_findings_do_not_hide_others(self):
        unreadable = {"bytes": 7, "damagedUnits": 1, "lostSlices": 0, "bytesOutsideOfUnits": 0}
        other = {"firstAccessUnit": 9, "width": 32, "height": 48, "frameRate": None}
        row, findings = self.describe(["a", "b", "c", "d"], unreadable=unreadable, sequences=[self.info()["sequences"][0], other])
        self.assertEqual((row.status, row.finding_count, [finding.kind for finding in findings]), ("damaged", 6, ["unreadable", "picture size", "check"]))
        self.assertEqual(self.describe(sequences=[self.info()["sequences"][0], other]).row.status, "good")


class StoreTest(InFolder):
    def result(self, path, status="good", count=0):
        return Result(FileRow(path, 1, 2, status, finding_count=count), [Finding(number, "check", "text") for number in range(count)])

    def test_a_file_has_one_row_however_often_it_is_put(self):
        with Store(self.database, "command") as store:
            store.put([self.result("a", "damaged", 3), self.result("b"), self.result("b", "damaged", 1)])
            store.put([self.result("a", "damaged", 2), self.result("\udcff")])
            self.assertEqual(store.totals(), {"good": 1, "damaged": 2, "unreadable": 0, "findings": 3})
            self.assertEqual(store.known("\udcff").identity, Identity(1, 2))
            with contextlib.closing(connect(self.database)) as reader:  # also while the other writes
                self.assertEqual(reader.execute("SELECT count(*) FROM findings").fetchone()[0], 3)
        export(self.database, "jsonl")
        self.assertIn(r'"path": "\\xff"', pathlib.Path(self.database).with_suffix(".jsonl").read_text())

    def test_a_transaction_that_fails_leaves_nothing(self):
        with Store(self.database, "command") as store:
            store.put([self.result("a")])
            broken = Result(FileRow("c", 1, 2, None), [])
            with self.assertRaises(sqlite3.Error):
                store.put([self.result("b"), broken._replace(findings=[Finding(0, object(), "text")])])
            self.assertEqual(store.totals()["good"], 1)

    def test_two_surveys_do_not_write_one_database_and_no_other_file_is_touched(self):
        with Store(self.database, "command"):
            self.assertRaises(Locked, Store, self.database, "command")
        other = self.folder / "film.mp4"
        other.write_bytes(b"video" * 1000)
        self.assertRaises(NotASurvey, Store, str(other), "command")
        self.assertEqual(other.read_bytes(), b"video" * 1000)
        table = self.folder / "survey.csv"
        os.rename(self.database, table)
        self.assertRaisesRegex(NotASurvey, "this is the database", export, str(table), "csv")
        with contextlib.closing(connect(str(table))):  # still there
            pass


class BatchTest(unittest.TestCase):
    def test_tasks_stay_below_200_a_second_for_any_file_and_cluster(self):
        for threads in (1, 2, 100, 1000, 10000):
            for seconds in (0.02, 0.3, 60.0):
                sizes = BatchSizes()
                for _ in range(50):
                    sizes.note(Answer([Result(FileRow("x", 1, 1, "good", probe_seconds=seconds), [])], []))
                self.assertLess(threads / (sizes.files(threads) * seconds), 200, (threads, seconds))


class FakeCluster:
    """Client and futures at once. A task with the poisoned file ends with its worker; each other task is cancelled once, and then leaves a file."""

    status = "running"
    loop = None

    def __init__(self, poison):
        self.poison, self.cancelled, self.ready, self.tasks = poison, set(), [], 0

    def scheduler_info(self):
        return {"workers": {"one": {"nthreads": 2}}}

    def submit(self, function, batch, seconds, settings, pure):
        self.tasks += 1
        future = unittest.mock.Mock(status="finished")
        if self.poison in batch:
            answer = (KilledWorker, KilledWorker("task", None, 3), None)
        elif tuple(batch) not in self.cancelled:
            self.cancelled.add(tuple(batch))
            future.status, answer = "cancelled", CancelledError()
        else:
            answer = Answer([Result(FileRow(path, None, None, "good", probe_seconds=1), []) for path in batch[:2]], batch[2:])
        self.ready.append((future, answer))
        return future

    def add(self, future):
        pass

    def has_ready(self):
        return bool(self.ready)

    def next_batch(self, block):
        ready, self.ready = self.ready, []
        return ready


class SurveyTest(InFolder):
    def survey(self, poison):
        cluster = FakeCluster(poison)
        with unittest.mock.patch("videoparams.survey.survey.as_completed", lambda *arguments, **options: cluster), Store(self.database, "x") as store:
            Survey(cluster, store, Settings(), Progress(None)).run(f"/none/{number}" for number in range(40))
            return store.totals(), store.known("/none/17").reason, cluster.tasks

    def test_a_file_that_ends_its_workers_is_found_given_up_and_read_again_by_the_next_run(self):
        totals, reason, tasks = self.survey("/none/17")
        self.assertEqual((totals["good"], totals["unreadable"], reason), (39, 1, "worker lost"))
        self.assertLess(tasks, 120)
        totals, reason, tasks = self.survey(None)
        self.assertEqual((totals["good"], reason, tasks), (40, None, 2))  # cancelled once


class ReportTest(InFolder):
    def test_names_of_files_cannot_put_anything_into_the_page(self):
        with Store(self.database, "<b>command") as store:
            row = FileRow("/a/<script>alert(1)</script>.mp4", 1, 2, "damaged", codec="$x_1$ <i>", finding_count=1, bit_rate=1000, key_gap_seconds=3e5)
            store.put([Result(row, [Finding(0, "check", "<u>text")]), Result(FileRow("javascript://x", None, None, "unreadable", "vanished"), [])])
        page = self.folder / "report.html"
        self.assertEqual(main(["report", self.database, "-o", str(page)]), 0)
        text = page.read_text()
        self.assertEqual(text.count("<svg"), 5)
        for forbidden in ("<script", "<b>command", "<u>", "<i>", 'href="javascript', "http://www.w3.org/1999/xhtml"):
            self.assertNotIn(forbidden, text)
        self.assertIn("file:///a/%3Cscript%3Ealert%281%29%3C/script%3E.mp4", text)

    def test_what_is_wrong_with_the_command_is_said_in_one_line(self):
        self.folder.joinpath("broken.db").write_bytes(b"SQLite format 3\0" + bytes(200))
        for words in (["report", "none.db", "-o", "x"], ["none.mp4", "-o", self.database], ["report", f"{self.folder}/broken.db", "-o", "x"],
                      [str(STREAMS[0]), "-o", str(self.folder / "none/survey.db")]):
            with contextlib.redirect_stderr(io.StringIO()) as said:
                self.assertEqual(main(words), 2)
            self.assertEqual(said.getvalue().count("\n"), 1)


if __name__ == "__main__":
    sys.exit(unittest.main())
