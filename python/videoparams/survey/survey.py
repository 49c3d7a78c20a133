"""The survey itself: hands out batches of files, and writes what comes back."""

from __future__ import annotations

import time
from collections import deque
from typing import Iterator

from distributed import Client, Future, KilledWorker, as_completed

from .batches import QUEUED, BatchSizes
from .cluster import NoScheduler, threads
from .location import Identity, NotAFile, identify
from .paths import Entry, Unlisted
from .probe import probe_batch
from .progress import Progress
from .records import Answer, FileRow, Result, Settings
from .store import TRANSIENT, Store

POLL = 0.05  # seconds between two looks at what is ready
COMMIT_SECONDS = 2.0
COMMIT_FILES = 2000
LOST_WORKERS = 3  # a file is given up after it was alone in a task that so often ended with its workers


class WorkerFailed(Exception):
    """A worker cannot do its work at all, for example because the tool is missing there."""


class Survey:
    def __init__(self, client: Client, store: Store, settings: Settings, progress: Progress, retry: bool = False) -> None:
        self._client = client
        self._store = store
        self._settings = settings
        self._progress = progress
        self._retry = retry
        self._sizes = BatchSizes()
        self._again: deque[list[str]] = deque()  # batches that must be done again, or their rests
        self._lost: dict[str, int] = {}  # how often a file was alone in a task that was lost
        self._running: dict[Future, list[str]] = {}
        self._results: list[Result] = []  # not yet committed
        self._committed = time.monotonic()
        self._futures = as_completed([], with_results=True, raise_errors=False, loop=client.loop)

    def run(self, entries: Iterator[Entry]) -> None:
        """Ends when all files have their rows. After any exception, what was received is stored if it can be."""
        todo = self._undone(entries)
        try:
            while True:
                self._submit(todo)
                if not self._running and not self._again:
                    break
                self._receive()
        finally:
            self._commit()
        self._store.finish()

    def _undone(self, entries: Iterator[Entry]) -> Iterator[str]:
        for entry in entries:
            if isinstance(entry, Unlisted):
                self._results.append(Result(FileRow(entry.path, None, None, "unreadable", "no listing", entry.message), []))
                self._progress.add(1)
            elif self._is_done(entry):
                self._progress.skip()
            else:
                yield entry

    def _is_done(self, path: str) -> bool:
        known = self._store.known(path)
        if known is None:
            return False
        may_retry = known.reason in TRANSIENT or (self._retry and known.status == "unreadable")
        if may_retry and known.run != self._store.run:
            return False
        try:
            return known.identity == identify(path)
        except (OSError, NotAFile):
            return known.identity == Identity()

    def _submit(self, todo: Iterator[str]) -> None:
        """A few tasks for each thread. The other files wait in their folders, not in memory."""
        self._await_connection()
        count = threads(self._client)
        self._progress.workers(count)
        while len(self._running) < QUEUED * max(1, count):
            batch = self._again.popleft() if self._again else self._next_batch(todo, count)
            if not batch:
                return
            future = self._client.submit(probe_batch, batch, self._sizes.limit(count), self._settings, pure=False)
            self._running[future] = batch
            self._futures.add(future)

    def _next_batch(self, todo: Iterator[str], count: int) -> list[str]:
        batch: list[str] = []
        for path in todo:
            batch.append(path)
            if len(batch) >= self._sizes.files(count):
                break
        return batch

    def _receive(self) -> None:
        if not self._futures.has_ready():
            time.sleep(POLL)  # not a wait without end: the workers, the connection and the bar need looking at
        for future, answer in self._futures.next_batch(block=False):
            batch = self._running.pop(future)
            if isinstance(answer, Answer):
                self._take(answer)
            elif future.status == "cancelled":  # the connection to the scheduler was lost
                self._again.append(batch)
            else:
                self._handle_error(batch, answer)
        late = time.monotonic() - self._committed > COMMIT_SECONDS
        if len(self._results) >= COMMIT_FILES or late:
            self._commit()
        self._progress.show()

    def _take(self, answer: Answer) -> None:
        self._results.extend(answer.results)
        self._progress.add(len(answer.results))
        self._sizes.note(answer)
        if answer.left:
            self._again.append(answer.left)

    def _handle_error(self, batch: list[str], answer: object) -> None:
        error = answer[1] if isinstance(answer, tuple) else answer
        if not isinstance(error, KilledWorker):
            raise WorkerFailed(f"a worker failed: {error}")
        if len(batch) > 1:  # one of the files may be the cause
            middle = len(batch) // 2
            self._again.extend((batch[:middle], batch[middle:]))
            return
        path = batch[0]
        self._lost[path] = self._lost.get(path, 0) + 1
        if self._lost[path] < LOST_WORKERS:
            self._again.append(batch)
        else:
            row = FileRow(path, None, None, "unreadable", "worker lost", "the workers that read this file ended")
            self._take(Answer([Result(row, [])], []))

    def _await_connection(self) -> None:
        while self._client.status == "connecting":
            self._progress.workers(0)
            time.sleep(POLL)
        if self._client.status != "running":
            raise NoScheduler("the connection to the scheduler is lost")

    def _commit(self) -> None:
        self._committed = time.monotonic()
        results, self._results = self._results, []
        if results:
            self._store.put(results)

