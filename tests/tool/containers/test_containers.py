"""Containers through the tool: what it reads agrees with ffprobe, and what it edits differs in the edited units only."""

import json
import re
import struct
import tempfile
import unittest
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from running import tool
from samples import CASES, READ_ONLY, Case, Workshop, run

# What a muxer writes of itself and of the sizes.
MADE_ANEW = ("number_of", "bps", "_stat", "duration", "encoder", "software", "minor_version", "file_package", "material_package", "timecode", "uid", "product_uid")
FIELDS = "packet=stream_index,pts,dts,duration,size,flags,data_hash"


def packets(path):
    """The packets of each stream, in its order."""
    listing = json.loads(run("ffprobe", "-v", "error", "-show_entries", FIELDS, "-show_data_hash", "md5", "-of", "json", path))
    streams = {}
    for packet in listing["packets"]:
        packet.pop("side_data_list", None)
        streams.setdefault(packet.pop("stream_index"), []).append(packet)
    return streams


def decoded(path):
    return run("ffmpeg", "-v", "error", "-i", path, "-map", "0:v", "-f", "framemd5", "-").decode()


def description(path):
    """What must survive an edit besides the packets."""
    entries = "stream=codec_name,codec_tag_string,width,height,time_base:stream_tags:stream_side_data=rotation:format_tags:chapters"
    found = json.loads(run("ffprobe", "-v", "error", "-show_entries", entries, "-show_chapters", "-of", "json", path))
    for part in [*found["streams"], found.get("format", {})]:
        tags = part.pop("tags", {})
        part["tags"] = {tag: tags[tag] for tag in tags if not tag.lower().startswith(MADE_ANEW)}
    return found


class Containers(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory(prefix="videoparams containers ")
        cls.addClassCleanup(cls.scratch.cleanup)
        cls.workshop = Workshop(cls.scratch.name)

    def for_each(self, cases, check):
        for name in {case.video for case in cases}:
            self.workshop.video(name)
        with ThreadPoolExecutor(2) as pool:
            results = {case.name: pool.submit(check, case) for case in cases}
        for name, result in results.items():
            with self.subTest(file=name):
                result.result()

    def test_reading_agrees_with_ffprobe(self):
        self.for_each([*CASES, *READ_ONLY], self.compare_reading)

    def compare_reading(self, case):
        path = self.workshop.make(case)
        info = json.loads(tool("info", "--json", "--units", path))
        video = packets(path)[info["container"]["stream"]]
        if case.video != "avc-headers":  # x264 writes its signature before the first delimiter
            tool("check", path)
        units = info["accessUnits"]
        if "fields" in case.name:
            self.assertGreaterEqual(len(units), len(video))
            return
        self.assertEqual(len(units), len(video))
        for unit, packet in zip(units, video):
            times = [(unit[key] or {}).get("ticks") for key in ("pts", "dts", "duration")]
            self.assertEqual(times, [packet.get(key) for key in ("pts", "dts", "duration")])
            if case.length_size == 4:
                self.assertEqual(unit["size"], int(packet["size"]))
            if unit["keyFrame"]:
                self.assertIn("K", packet["flags"])

    def test_mpeg_ts_has_the_units_of_its_stream_only(self):
        path = self.workshop.make(Case("units.ts", "hevc-headers"))
        stream = path.with_name("units.h265")
        run("ffmpeg", "-v", "error", "-i", path, "-map", "0:v", "-c", "copy", "-f", "hevc", stream)
        listings = [json.loads(tool("units", "--json", file))["units"] for file in (path, stream)]
        types = [[unit["nal_unit_type"] for unit in units] for units in listings]
        self.assertEqual(*types)

    def test_wrong_marks_are_found_and_fixed(self):
        path = self.workshop.make(Case("marks.mp4", "avc"))
        wrong = path.with_name("wrong.mp4")
        file = bytearray(path.read_bytes())
        table = file.index(b"stss") + 12
        struct.pack_into(">I", file, table + 4, 15)  # the second key sample, 13, is said to be 15
        wrong.write_bytes(file)
        findings = json.loads(tool("check", "--json", wrong, status=1))["findings"]
        self.assertEqual([(finding["sample"], finding["seconds"]) for finding in findings], [(12, 0.48), (14, 0.52)])
        fixed = path.with_name("fixed.mp4")
        changes = json.loads(tool("fix", "--json", wrong, "-o", fixed))["changes"]
        self.assertEqual([(change["sample"], change["keySample"]) for change in changes], [(12, True), (14, False)])
        self.assertEqual(packets(fixed), packets(path))
        tool("check", fixed)

    def test_marks_are_fixed_with_given_parameter_sets(self):
        path = self.workshop.make(Case("sets.mp4", "avc"))
        sets, lacking = path.with_name("sets"), path.with_name("lacking.mp4")
        tool("params", path, "-o", sets, "--force")
        file = bytearray(path.read_bytes())
        for unit in sets.read_bytes().split(bytes([0, 0, 0, 1]))[1:]:
            for place in (match.start() for match in re.finditer(re.escape(unit), bytes(file))):
                file[place] |= 0x1F  # nal_unit_type 31: an unspecified unit
        struct.pack_into(">I", file, file.index(b"stss") + 16, 15)
        lacking.write_bytes(file)
        tool("fix", lacking, "-o", path.with_name("fixed.mp4"), status=2)
        changes = json.loads(tool("fix", "--json", lacking, "--params", sets, "-o", path.with_name("fixed.mp4")))
        self.assertEqual(changes["changeCount"], 2)

    def test_what_cannot_be_kept_is_refused(self):
        for case in READ_ONLY:
            path = self.workshop.make(case)
            output = path.with_name("out" + path.suffix)
            tool("userdata", "add", path, "--text", "x", "-o", output, status=2)
            self.assertFalse(output.exists())

    def test_adding_and_removing_gives_the_packets_back(self):
        self.for_each(CASES, self.edit)

    def edit(self, case):
        path = self.workshop.make(case)
        added = path.with_name("added " + path.name)
        removed = path.with_name("removed " + path.name)
        tool("userdata", "add", path, "--text", "take 7", "--where", "all", "-o", added)
        tool("userdata", "remove", added, "-o", removed)
        before, edited, after = packets(path), packets(added), packets(removed)
        self.assertEqual(before, after)
        self.assertEqual(description(path), description(removed))
        self.assertEqual(decoded(path), decoded(added))
        for stream in before:
            times = [[packet[key] for key in ("pts", "dts") if key in packet] for packet in before[stream]]
            self.assertEqual(times, [[packet[key] for key in ("pts", "dts") if key in packet] for packet in edited[stream]])
            if stream != 0:
                self.assertEqual(before[stream], edited[stream])
        messages = json.loads(tool("userdata", "get", "--json", added))["messages"]
        self.assertEqual({message["text"] for message in messages}, {"take 7"})
        self.assertEqual(len(messages), len(json.loads(tool("info", "--json", "--units", path))["accessUnits"]))


if __name__ == "__main__":
    unittest.main()
