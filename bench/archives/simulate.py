"""Simulates a survey of ten million files on a thousand workers, from measured costs. Prints tables in Markdown.

    simulate.py COSTS.json    of bench-archives.sh: processor seconds of client and scheduler, and the times of real files

Client and scheduler are served one request after the other. The sizes of the batches are those of the real class.
"""

import collections
import heapq
import json
import math
import random
import sys

from videoparams.survey.batches import QUEUED, BatchSizes
from videoparams.survey.records import Answer, FileRow, Result

FILES, WORKERS = 10_000_000, 1000


class OneFile(BatchSizes):
    """What happens without batches."""

    def files(self, threads):
        return 1


class Server:
    """Does one thing after the other."""

    def __init__(self):
        self.free = self.busy = 0.0

    def serve(self, now, seconds):
        self.free = max(now, self.free) + seconds
        self.busy += seconds
        return self.free


def work_seconds(count, times, random_numbers):
    """Of `count` files. For many, their sum has a normal distribution."""
    if count < 30:
        return sum(random_numbers.choices(times, k=count))
    mean = sum(times) / len(times)
    variance = sum((time - mean) ** 2 for time in times) / len(times)
    return max(0.0, random_numbers.gauss(count * mean, (count * variance) ** 0.5))


def simulate(times, costs, sizes, files=FILES, workers=WORKERS):
    """Returns figures of the run. A task: client, scheduler, worker, scheduler, client."""
    random_numbers = random.Random(1)
    client, scheduler = Server(), Server()
    idle, waiting, events = workers, collections.deque(), []
    mean = sum(times) / len(times)
    left, running, tasks, worked, submitted, done, now = files, 0, 0, 0.0, [], 0.0, 0.0
    while left or running:
        while left and running < QUEUED * workers:
            count = min(sizes.files(workers), left)
            left -= count
            running += 1
            tasks += 1
            sent = client.serve(now, costs["client_task"] / 2 + costs["client_file"] * count / 2)
            heapq.heappush(events, (scheduler.serve(sent, costs["scheduler_task"] / 2), tasks, "ready", count, 0.0))
        now, number, kind, count, seconds = heapq.heappop(events)
        if kind == "ready":
            submitted.append(now)
            waiting.append((number, count))
        elif kind == "worked":
            idle += 1
            came = scheduler.serve(now, costs["scheduler_task"] / 2 + costs["scheduler_file"] * count)
            heapq.heappush(events, (client.serve(came, costs["client_task"] / 2 + costs["client_file"] * count / 2), number, "stored", count, seconds))
        else:
            running -= 1
            done = now
            sizes.note(Answer([Result(FileRow("", 0, 0, "good", probe_seconds=seconds / count), [])], []))
        while idle and waiting:
            idle -= 1
            number, handed = waiting.popleft()
            count = min(handed, max(1, math.ceil(sizes.limit(workers) / mean)))  # then the task ends, and returns the others
            left += handed - count
            seconds = work_seconds(count, times, random_numbers)
            worked += seconds
            heapq.heappush(events, (now + seconds, number, "worked", count, seconds))
    ramp = done / 10
    steady = [time for time in submitted if ramp < time < done - ramp]
    return {"batch": files / tasks, "tasks": tasks, "seconds": done, "rate": len(steady) / (done - 2 * ramp), "workers": worked / done / workers,
            "client": client.busy / done, "scheduler": scheduler.busy / done}


def row(name, times, costs, sizes, share):
    """`share`: a part of the files has the same rates, sooner. Time and tasks are those of all."""
    result = simulate(times, costs, sizes, FILES // share)
    print(f"| {name} | {result['batch']:,.0f} | {share * result['tasks']:,} | {result['rate']:,.0f} | {share * result['seconds'] / 3600:,.2f} h "
          f"| {result['workers']:.0%} | {result['client']:.0%} | {result['scheduler']:.0%} |")


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        costs = json.load(file)
    times = costs["file_seconds"]
    mean = sum(times) / len(times)
    print("| a file takes | files in a task | tasks | tasks/s | time | workers busy | client busy | scheduler busy |\n|---|---|---|---|---|---|---|---|")
    row(f"{mean * 1000:.0f} ms, one file a task", times, costs, OneFile(), 100)
    for name, seconds, share in ((f"{mean * 1000:.0f} ms, as measured", mean, 1), ("0.3 s", 0.3, 4), ("1 s", 1, 10), ("10 s", 10, 20)):
        row(name, [time * seconds / mean for time in times], costs, BatchSizes(), share)


if __name__ == "__main__":
    main()
