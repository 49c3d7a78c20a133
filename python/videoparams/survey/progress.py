"""The progress bar, with rate and time left, and the summary line."""

from __future__ import annotations

import sys
import threading
import time
from typing import Iterable, Optional

from tqdm import tqdm

from .paths import Entry


class Progress:
    """Counts the files beside the survey: until it knows how many there are, the bar has no time left."""

    def __init__(self, entries: Optional[Iterable[Entry]]) -> None:
        """None: show nothing."""
        self._bar: Optional[tqdm[None]] = None
        self._start = time.monotonic()
        self._count: Optional[int] = None
        self.done = 0
        self.skipped = 0
        if entries is not None:
            self._bar = tqdm(unit=" files", smoothing=0.05, dynamic_ncols=True, file=sys.stderr, disable=None)
            if not self._bar.disable:
                threading.Thread(target=self._count_entries, args=(entries,), daemon=True).start()

    def _count_entries(self, entries: Iterable[Entry]) -> None:
        self._count = sum(1 for _ in entries)

    def skip(self) -> None:
        self.skipped += 1

    def add(self, files: int) -> None:
        self.done += files
        if self._bar is not None:
            self._bar.update(files)

    def show(self) -> None:
        """The bar is of the files that were not done before, so that its rate is that of the work."""
        if self._bar is not None and self._count is not None:
            self._bar.total = max(self._count - self.skipped, self.done)

    def workers(self, count: int) -> None:
        if self._bar is not None:
            self._bar.set_postfix_str("" if count else "waiting for workers", refresh=False)

    def close(self) -> None:
        if self._bar is not None:
            self._bar.close()

    def summary(self, totals: dict[str, int], database: str) -> str:
        seconds = time.monotonic() - self._start
        files = totals["good"] + totals["damaged"] + totals["unreadable"]
        return (f"{database}: {files:,} files, {totals['good']:,} good, {totals['damaged']:,} damaged, {totals['unreadable']:,} could not be read; "
                f"{totals['findings']:,} findings. This run: {self.done:,} files in {seconds:.0f} s ({self.done / max(seconds, 0.001):,.0f} files/s), "
                f"{self.skipped:,} were done before.")
