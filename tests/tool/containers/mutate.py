"""Damaged containers: a clear error or a partial result, never a crash, a hang or a half-written output.

    mutate.py TOOL [FILES] [SEED]    mutates FILES files (500), cut short or with changed bytes; SEED (1)
"""

import os
import random
import resource
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

from samples import CASES, Workshop

NAMES = {"avc.mp4", "hevc.mov", "avc-fragments.mp4", "avc.mkv", "hevc.ts", "avc.flv", "avc-p.avi", "avc-p.mxf", "length-1.mp4"}
COMMANDS = (["info", "--json", "--units"], ["check"], ["userdata", "add", "--text", "take 7", "--where", "all"], ["fix"])
SECONDS = 20  # of processor time, so that other load does no harm
MOST_SECONDS = 300
MEMORY = 2 << 30


def mutate(original, chance):
    data = bytearray(original)
    if chance.random() < 0.3:
        del data[chance.randrange(len(data)) :]
    head = min(len(data), 4096)
    for _ in range(chance.choice((0, 1, 2, 8, 64)) if data else 0):
        # The headers are at either end.
        place = chance.choice((chance.randrange(head), len(data) - 1 - chance.randrange(head), chance.randrange(len(data))))
        data[place] = chance.choice((0, 1, 0x7F, 0x80, 0xFF, chance.randrange(256)))
    return bytes(data)


def limit():
    resource.setrlimit(resource.RLIMIT_CPU, (SECONDS, SECONDS))
    if not os.environ.get("SANITIZE"):
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))


def try_command(tool, command, path, folder):
    output = folder / ("output" + path.suffix)
    writes = command[0] in ("userdata", "fix")
    arguments = [tool, *command, path, *(["-o", output] if writes else [])]
    try:
        done = subprocess.run(arguments, stdin=subprocess.DEVNULL, capture_output=True, timeout=MOST_SECONDS, preexec_fn=limit)
    except subprocess.TimeoutExpired:
        return f"no end after {MOST_SECONDS} s"
    if done.returncode == -signal.SIGXCPU:
        return f"more than {SECONDS} s of processor time"
    if done.returncode not in (0, 1, 2):
        return f"status {done.returncode}: {done.stderr.decode(errors='replace')[-200:]}"
    if done.returncode == 2 and not done.stderr:
        return "an error without a message"
    if writes and output.exists() == (done.returncode == 2):
        return f"status {done.returncode}, output {'' if output.exists() else 'not '}there"
    output.unlink(missing_ok=True)
    rest = [entry.name for entry in folder.iterdir() if entry != path]
    return f"left behind: {rest}" if rest else None


def main():
    tool = str(Path(sys.argv[1]).resolve())
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 500
    seed = int(sys.argv[3]) if len(sys.argv) > 3 else 1
    chance = random.Random(seed)
    faults = 0
    with tempfile.TemporaryDirectory() as scratch:
        workshop = Workshop(scratch)
        originals = [workshop.make(case) for case in CASES if case.name in NAMES]
        contents = {path: path.read_bytes() for path in originals}
        folder = Path(scratch) / "mutants"
        folder.mkdir()
        for number in range(count):
            original = originals[number % len(originals)]
            path = folder / original.name
            path.write_bytes(mutate(contents[original], chance))
            command = COMMANDS[number // len(originals) % len(COMMANDS)]
            fault = try_command(tool, command, path, folder)
            if fault:
                faults += 1
                kept = Path(tempfile.gettempdir()) / f"mutant-{seed}-{number}{path.suffix}"
                kept.write_bytes(path.read_bytes())
                print(f"{kept}: {' '.join(command)}: {fault}")
                for entry in folder.iterdir():
                    entry.unlink()
            path.unlink(missing_ok=True)
    print(f"{count} files, {faults} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
