"""Live input: results appear while it runs, and Ctrl-C ends it with the summary of what was read."""

import contextlib
import http.server
import signal
import subprocess
import tempfile
import threading
import time
import unittest
from pathlib import Path

from running import TOOL, check_json
from samples import Case, Workshop

PIECE = 2000
STREAMS = Path(__file__).parents[2] / "streams"
SECONDS = 120


class SlowServer(http.server.ThreadingHTTPServer):
    """Serves a file in small pieces, and never ends the answer."""

    daemon_threads = True

    def __init__(self, contents):
        super().__init__(("127.0.0.1", 0), SlowAnswer)
        self.contents = contents
        self.ended = threading.Event()
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def end(self):
        self.ended.set()
        self.shutdown()
        self.server_close()


class SlowAnswer(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        self.send_response(200)
        self.end_headers()
        feed(self.wfile, self.server.contents)
        self.server.ended.wait(SECONDS)

    def log_message(self, *arguments):
        pass


def feed(file, contents):
    try:
        for start in range(0, len(contents), PIECE):
            file.write(contents[start : start + PIECE])
            file.flush()
            time.sleep(0.01)
    except (OSError, ValueError):
        pass  # the tool ended


class LiveInput(unittest.TestCase):
    def run_until(self, marker, arguments, contents=None):
        """Sends Ctrl-C when `marker` was printed as often as wanted. Feeds `contents` to a pipe that stays open."""
        text, times = marker
        command = [TOOL, *arguments]
        with subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
            guard = threading.Timer(SECONDS, process.kill)
            guard.start()
            feeder = threading.Thread(target=feed, args=(process.stdin, contents or b""), daemon=True)
            feeder.start()
            printed = b""
            while printed.count(text) < times:
                piece = process.stdout.read1()
                self.assertTrue(piece, "it ended, or printed too little")
                printed += piece
            process.send_signal(signal.SIGINT)
            # Not communicate(), which would end the pipe.
            printed += process.stdout.read()
            complaints = process.stderr.read().decode()
            guard.cancel()
            feeder.join()
            with contextlib.suppress(OSError):  # what was not read yet
                process.stdin.close()
        self.assertEqual(process.returncode, 0, complaints)
        self.assertIn("ended by Ctrl-C", complaints)
        return printed.decode()

    def test_http(self):
        with tempfile.TemporaryDirectory() as scratch:
            workshop = Workshop(scratch)
            for case in (Case("live.ts", "avc"), Case("live.mkv", "hevc")):
                with self.subTest(file=case.name):
                    server = SlowServer(workshop.make(case).read_bytes())
                    self.addCleanup(server.end)
                    url = f"http://127.0.0.1:{server.server_address[1]}/{case.name}"
                    printed = self.run_until((b"\n", 20), ["info", "--units", url])
                    self.assertIn("access units", printed)
                    result = check_json(self.run_until((b'"number"', 20), ["units", "--json", url]))
                    self.assertGreaterEqual(result["unitCount"], 20)

    def test_pipes_that_do_not_end(self):
        stream = (STREAMS / "avc-bframes.h264").read_bytes() * 2
        with tempfile.TemporaryDirectory() as scratch:
            path = Workshop(scratch).make(Case("live.ts", "avc"))
            for name, contents in (("byte stream", stream), ("container", path.read_bytes())):
                with self.subTest(input=name):
                    self.assertIn("access units", self.run_until((b"\n", 3), ["info", "--units", "-"], contents))
                    result = check_json(self.run_until((b'"number"', 3), ["info", "--units", "--json", "-"], contents))
                    self.assertEqual(result["accessUnitCount"], len(result["accessUnits"]))
            found = check_json(self.run_until((b"identifier", 1), ["userdata", "list", "--json", "-"], path.read_bytes()))
            self.assertEqual(found["messages"][0]["writer"], "x264")
            self.assertGreaterEqual(found["messageCount"], 1)

    def test_nothing_is_written_after_an_interrupt(self):
        with tempfile.TemporaryDirectory() as scratch:
            output = Path(scratch) / "out.h264"
            command = [TOOL, "userdata", "add", "-", "--text", "x", "-o", output]
            with subprocess.Popen(command, stdin=subprocess.PIPE, stderr=subprocess.PIPE) as process:
                process.stdin.write((STREAMS / "avc-bframes.h264").read_bytes())
                process.stdin.flush()
                while not list(Path(scratch).iterdir()):
                    time.sleep(0.01)
                process.send_signal(signal.SIGINT)
                process.stderr.read()
            self.assertEqual(process.returncode, -signal.SIGINT)
            self.assertEqual(list(Path(scratch).iterdir()), [])


if __name__ == "__main__":
    unittest.main()
