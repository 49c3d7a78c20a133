"""The workers: processes of this machine, or those of a scheduler that runs already."""

from __future__ import annotations

import contextlib
import logging
import signal
import tempfile
from multiprocessing import resource_tracker
from typing import Iterator, Optional

import dask
from distributed import Client, LocalCluster

# For the processes of this machine. Nothing here reads the profile. A worker that is killed takes no batch with it.
LOCAL = {
    "distributed.worker.profile.enabled": False,
    "distributed.scheduler.allowed-failures": 20,
    "distributed.scheduler.active-memory-manager.start": False,
    "distributed.admin.tick.interval": "1s",
    "distributed.admin.tick.limit": "1h",
    "distributed.admin.system-monitor.interval": "5s",
    "distributed.scheduler.work-stealing-interval": "1s",
}


class NoScheduler(Exception):
    """The scheduler does not answer."""


@contextlib.contextmanager
def connect(scheduler: Optional[str], workers: int, seconds: float) -> Iterator[Client]:
    """`seconds`: how long to wait for a scheduler, at the start and when the connection is lost."""
    # Dask reports what it does about lost workers. The survey says what matters of it.
    logging.getLogger("distributed").setLevel(logging.CRITICAL)
    logging.getLogger("tornado").setLevel(logging.CRITICAL)
    logging.getLogger("asyncio").setLevel(logging.CRITICAL)
    with contextlib.ExitStack() as stack:
        address: object = scheduler
        if scheduler is None:
            folder = stack.enter_context(tempfile.TemporaryDirectory(prefix="videoparams-survey-", ignore_cleanup_errors=True))
            stack.enter_context(dask.config.set(LOCAL))
            with _ctrl_c_blocked():
                address = stack.enter_context(LocalCluster(
                    n_workers=workers, threads_per_worker=1, processes=True, memory_limit=0, local_directory=folder,
                    dashboard_address="127.0.0.1:0", silence_logs=logging.CRITICAL))
        try:
            client = Client(address, timeout=seconds, set_as_default=False)
        except OSError as error:
            raise NoScheduler(f"{scheduler}: the scheduler does not answer ({error})") from error
        yield stack.enter_context(client)


@contextlib.contextmanager
def _ctrl_c_blocked() -> Iterator[None]:
    """A terminal sends SIGINT to all processes of a command. The threads and processes that start meanwhile leave it to the main thread."""
    resource_tracker.ensure_running()  # else it starts with the first worker, and ends the block
    old = signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGINT})
    try:
        yield
    finally:
        signal.pthread_sigmask(signal.SIG_SETMASK, old)


def threads(client: Client) -> int:
    """Of all workers, as far as the client knows at this moment."""
    return sum(worker["nthreads"] for worker in client.scheduler_info()["workers"].values())
