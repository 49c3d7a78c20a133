"""Measures what the lock of a handle costs, as a share of calls with 60 KB. Prints a table in Markdown.

    lock.py [ROUNDS]    200 by default

The lock alone and the whole call are measured in turns, and the smallest time of all rounds counts. The calls take turns on
more bytes than a cache holds, as in a stream. Ends with status 1 if the share is above 3 % for a call that reads all bytes.
"""

import itertools
import pathlib
import sys
import threading
import timeit

import videoparams as vp

SIZE = 60_000
LOCKS, CALLS = 20_000, 500  # in one round
COPIES = 100
LARGEST_SHARE = 0.03
STREAM = pathlib.Path(__file__).resolve().parents[2] / "tests" / "streams" / "avc-intra.h264"


def pictures():
    """Access units with parameter sets and an IDR slice, made 60 KB long. Each call with one completes the previous one."""
    units = [unit.data + b"\x55" * (SIZE - len(unit.data)) for unit in vp.access_units(STREAM)]
    return [bytes(bytearray(unit)) for unit in units * COPIES]


def lock_cost(call, rounds):
    """Seconds for the lock alone and for the whole call: the smallest of all rounds, taken in turns."""
    locked = timeit.Timer("with lock: pass", globals={"lock": threading.Lock()})
    empty = timeit.Timer("pass")
    whole = timeit.Timer("call()", globals={"call": call})
    found = [(locked.timeit(LOCKS) / LOCKS, empty.timeit(LOCKS) / LOCKS, whole.timeit(CALLS) / CALLS) for _ in range(rounds)]
    with_lock, without, taken = map(min, zip(*found))
    return with_lock - without, taken


def main():
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else 200
    units = pictures()
    following = itertools.cycle(units).__next__
    with vp.Parser(vp.Codec.AVC) as parser, vp.Parser(vp.Codec.AVC) as tester, vp.UserData(vp.Codec.AVC) as editor:
        calls = {
            "Parser.parse": lambda: parser.parse(following()),
            "Parser.parameter_sets": lambda: tester.parameter_sets(following()),
            "UserData.add": lambda: editor.add(following(), b"take 7"),
            "UserData.get": lambda: editor.get(following()),
            "UserData.remove": lambda: editor.remove(following()),
            "Parser.test_sample (reads the first bytes)": lambda: tester.test_sample(following()),
        }
        print(f"| call with {SIZE // 1000} KB | lock | whole call | share of the lock |\n|---|---|---|---|")
        largest = 0.0
        for name, call in calls.items():
            lock, whole = lock_cost(call, rounds)
            if "first" not in name:
                largest = max(largest, lock / whole)
            print(f"| {name} | {lock * 1e9:.0f} ns | {whole * 1e6:.2f} µs | {lock / whole:.2%} |")
    return 1 if largest > LARGEST_SHARE else 0


sys.exit(main())
