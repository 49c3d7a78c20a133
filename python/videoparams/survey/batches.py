"""How many files a task gets. docs/archives.md has the arithmetic."""

from __future__ import annotations

from .records import Answer

TASKS_PER_SECOND = 100.0  # of the whole cluster; a scheduler can do several hundred
SHORTEST = 1.0  # seconds; a small cluster needs no longer tasks, and short ones lose little if a worker ends
MOST_FILES = 10_000  # so that no task or answer is large
FIRST_GUESS = 0.1  # seconds a file
MEMORY = 0.8  # share of the past in the mean, for each answer
PATIENCE = 2.0  # a task may take so many times as long as planned; then it returns the rest of its files
QUEUED = 2  # tasks for each worker thread: one runs, and one waits so that the thread is never idle


class BatchSizes:
    """Keeps the tasks of all workers together under TASKS_PER_SECOND, whatever the files are like."""

    def __init__(self) -> None:
        self._mean = FIRST_GUESS

    def note(self, answer: Answer) -> None:
        times = [result.row.probe_seconds or 0.0 for result in answer.results]
        if times:
            self._mean = MEMORY * self._mean + (1 - MEMORY) * sum(times) / len(times)

    def seconds(self, threads: int) -> float:
        return max(SHORTEST, threads / TASKS_PER_SECOND)

    def limit(self, threads: int) -> float:
        return PATIENCE * self.seconds(threads)

    def files(self, threads: int) -> int:
        return max(1, min(MOST_FILES, round(self.seconds(threads) / max(self._mean, 1e-6))))
