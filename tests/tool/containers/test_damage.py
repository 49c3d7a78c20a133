"""Files that are cut short, and outputs that cannot be written: what is missing is said, and nothing is lost."""

import json
import resource
import signal
import subprocess
import tempfile
import unittest
from pathlib import Path

from running import TOOL, tool
from samples import Case, Workshop

FASTSTART = ("-movflags", "faststart")
FRAGMENTS = ("-movflags", "frag_keyframe+empty_moov+default_base_moof")
CUT = [
    Case("avc.mp4", "avc", FASTSTART),
    Case("fragments.mp4", "hevc", FRAGMENTS),
    Case("hevc.mkv", "hevc"),
    Case("avc.ts", "avc"),
    Case("avc.flv", "avc"),
    Case("avc-p.avi", "avc-p", ("-bsf:v", "h264_mp4toannexb"), ("pcm",)),
    Case("avc-p.mxf", "avc-p", ("-bsf:v", "h264_mp4toannexb"), ("pcm",)),
]
EDITS = (["userdata", "add", "--text", "x", "--where", "all"], ["userdata", "remove"], ["fix"])


class Damage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.scratch.cleanup)
        cls.workshop = Workshop(cls.scratch.name)

    def refuse(self, command, status=2, **options):
        """The tool fails with a message, and the folder stays as it was."""
        folder = Path(self.scratch.name)
        before = {path: path.read_bytes() for path in folder.iterdir()}
        done = subprocess.run([TOOL, *map(str, command)], stdin=subprocess.DEVNULL, capture_output=True, **options)
        self.assertEqual(done.returncode, status, done.stderr)
        self.assertEqual({path: path.read_bytes() for path in folder.iterdir()}, before)
        return done.stderr.decode()

    def test_what_is_missing_is_reported(self):
        for case in CUT:
            path = self.workshop.make(case)
            whole = path.read_bytes()
            self.assertEqual(json.loads(tool("info", "--json", path))["container"]["incomplete"], [])
            for part in (50, 75, 99):
                with self.subTest(file=case.name, part=part):
                    path.write_bytes(whole[: len(whole) * part // 100])
                    info = json.loads(tool("info", "--json", "--units", path, status=1))
                    self.assertEqual(len(info["container"]["incomplete"]), 1)
                    self.assertLessEqual(len(info["accessUnits"]), 50)
                    self.assertIn("cut short", tool("check", path, status=1).decode())
                    self.assertIn("not made", self.refuse([*EDITS[part % 2], path, "-o", path]))
                    tool("units", path, status=1)

    def test_a_jump_of_time_that_cannot_be_written_is_refused(self):
        path = self.workshop.make(Case("jump.mp4", "avc", FRAGMENTS))
        data = bytearray(path.read_bytes())
        times = data.rindex(b"tfdt") + 4  # version and flags, then the time of the last fragment of a track
        data[times + 4 : times + 8] = b"\xaa\0\0\0" if data[times] == 0 else b"\0\0\0\x03"
        path.write_bytes(data)
        self.assertIn("jump from", self.refuse(["userdata", "remove", path, "-o", path], status=2))

    def test_a_full_disk_loses_nothing(self):
        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (20000, 20000))

        for case in (Case("full.mp4", "avc"), Case("full-fast.mp4", "avc", FASTSTART), Case("full.mkv", "hevc"), Case("full.ts", "avc")):
            path = self.workshop.make(case)
            for edit in EDITS:
                with self.subTest(file=case.name, edit=edit):
                    if edit != ["fix"] or path.suffix != ".ts":
                        self.refuse([*edit, path, "-o", path.with_name("new" + path.suffix)], preexec_fn=limit)
                        self.refuse([*edit, path, "-o", path], preexec_fn=limit)

    def test_a_folder_that_cannot_be_written(self):
        path = self.workshop.make(Case("folder.mp4", "avc"))
        for edit in EDITS:
            self.assertIn("/proc/new.mp4", self.refuse([*edit, path, "-o", "/proc/new.mp4"]))
            self.refuse([*edit, path, "-o", path.with_name("missing") / "new.mp4"])

    def test_playlists_open_nothing(self):
        path = self.workshop.make(Case("secret.ts", "avc"))
        playlists = {
            "list.ffconcat": f"ffconcat version 1.0\nfile {path.name}\n",
            "list.m3u8": f"#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2,\n{path}\n#EXT-X-ENDLIST\n",
            "list.sdp": "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\nm=video 5004 RTP/AVP 96\na=rtpmap:96 H264/90000\n",
        }
        for name, contents in playlists.items():
            with self.subTest(playlist=name):
                playlist = path.with_name(name)
                playlist.write_text(contents)
                self.assertIn("names other files", self.refuse(["info", playlist]))

    def test_signals_while_writing_leave_nothing(self):
        contents = self.workshop.make(Case("signals.ts", "avc")).read_bytes()
        for number in (signal.SIGINT, signal.SIGTERM):
            with tempfile.TemporaryDirectory() as folder, self.subTest(signal=number):
                output = Path(folder) / "out.ts"
                output.write_bytes(contents)
                command = [TOOL, "userdata", "add", "-", "--text", "x", "-o", output]
                with subprocess.Popen(command, stdin=subprocess.PIPE, stderr=subprocess.DEVNULL) as process:
                    process.stdin.write(contents)
                    process.stdin.flush()
                    while len(list(Path(folder).iterdir())) < 2 and process.poll() is None:
                        pass
                    process.send_signal(number)
                    process.wait()
                self.assertEqual(process.returncode, -number)
                self.assertEqual([path.read_bytes() for path in Path(folder).iterdir()], [contents])


if __name__ == "__main__":
    unittest.main()
