"""The functions that read whole streams give what the command gives, from every kind of source."""

import array
import io
import logging
import mmap
import os
import pathlib
import tempfile
import threading
import unittest
from fractions import Fraction
from unittest import mock

import support
import videoparams as vp


def named(value, is_coded):
    return {"value": value, "name": value.title if is_coded else None}


def sequence_as_the_tool_writes_it(info):
    colour = info.colour
    return {
        "width": info.width,
        "height": info.height,
        "frameRate": info.frame_rate,
        "colour": {
            "video_signal_type_present_flag": colour.has_signal_type,
            "video_format": named(colour.video_format, colour.has_signal_type),
            "video_full_range_flag": colour.full_range,
            "colour_description_present_flag": colour.has_description,
            "colour_primaries": named(colour.primaries, colour.has_description),
            "transfer_characteristics": named(colour.transfer, colour.has_description),
            "matrix_coefficients": named(colour.matrix, colour.has_description),
        },
    }


def changes(units):
    """The access units from which on another description holds, as in the tool's list."""
    last = None
    for number, unit in enumerate(units):
        if unit.info != last:
            last = unit.info
            yield {"firstAccessUnit": number, **sequence_as_the_tool_writes_it(last)}


class SameAsTheToolTest(unittest.TestCase):
    """Every stream of the project: what the package returns is what the command writes as JSON."""

    def test_access_units(self):
        for path, codec in support.streams():
            with self.subTest(path.name):
                stream, wanted = path.read_bytes(), support.tool("info", "--units", path)
                units = list(vp.access_units(path))
                self.assertEqual({unit.codec for unit in units}, {codec})
                self.assertEqual([unit.key_frame for unit in units], [au["keyFrame"] for au in wanted["accessUnits"]])
                for unit, au in zip(units, wanted["accessUnits"]):
                    original = stream[au["offset"]:au["offset"] + au["size"]]
                    inserted = b"" if unit.data == original else b"".join(filter(None, vars(vp.parameter_sets(path)).values()))
                    self.assertEqual(unit.data.replace(inserted, b"", 1), original, au)
                sequences = [{key: value for key, value in sequence.items() if key in (
                    "firstAccessUnit", "width", "height", "frameRate", "colour")} for sequence in wanted["sequences"]]
                for sequence in sequences:
                    rate = sequence["frameRate"]
                    sequence["frameRate"] = rate and Fraction(rate["numerator"], rate["denominator"])
                self.assertEqual(list(changes(units)), sequences)

    def test_units(self):
        for path, _ in support.streams():
            for stream in (path.read_bytes(), path.read_bytes() + b"\0\0\1\x8a\x00\0\0\1\x0a"):
                with self.subTest(path.name), tempfile.NamedTemporaryFile() as file:
                    pathlib.Path(file.name).write_bytes(stream)
                    wanted = support.tool("units", file.name)["units"]
                    found = [(unit.offset, len(unit.data), unit.type, unit.is_slice, unit.damaged)
                             for unit in vp.units(stream)]
                    self.assertEqual(found, [
                        (unit["offset"], unit["size"], unit.get("nal_unit_type", 0), unit.get("isSlice", False),
                         unit.get("forbidden_zero_bit", 1) == 1) for unit in wanted])

    def test_picture_types_and_continuity(self):
        for path, codec in support.streams():
            if codec is vp.Codec.HEVC:
                continue
            with self.subTest(path.name):
                wanted = support.tool("info", "--units", path)["accessUnits"]
                tested = list(vp.test_samples(path))
                self.assertEqual([vp.picture_type(unit) for unit, _ in tested], [au["slice_type"] for au in wanted])
                self.assertEqual([not test.is_frame for _, test in tested], [au["field"] for au in wanted])

    def test_parameter_sets(self):
        for path, codec in support.streams():
            with self.subTest(path.name):
                last = {entry["kind"].lower(): entry["hex"].lower() for entry in support.tool("params", path)["contents"]}
                sets = vp.parameter_sets(path)
                if len(last) == len(support.tool("params", path)["contents"]):  # none changes
                    self.assertEqual({k: v.rstrip(b"\0").hex() for k, v in vars(sets).items() if v}, last)
                if codec is vp.Codec.AVC:
                    with vp.Parser(codec) as parser:
                        self.assertEqual(parser.parameter_sets(path.read_bytes()), sets)

    def test_containers(self):
        for name in "avc-bframes.h264", "avc-headers-once.h264", "hevc-bframes.h265", "avc-paff.h264":
            for kind in "mp4", "matroska", "mpegts":
                with self.subTest(name, kind=kind), tempfile.NamedTemporaryFile(suffix="." + kind) as file:
                    file.write(support.container(support.STREAMS / name, kind))
                    file.flush()
                    wanted = support.tool("info", "--units", file.name)["accessUnits"]
                    units = list(vp.access_units(file.name))
                    self.assertEqual([unit.key_frame for unit in units], [au["keyFrame"] for au in wanted])
                    for unit, au in zip(units, wanted):
                        self.assertAlmostEqual(float(unit.pts), au["pts"]["seconds"], 5)
                    self.assertEqual(sum(unit.is_slice for unit in vp.units(file.name)),
                                     sum(unit["isSlice"] for unit in support.tool("units", file.name)["units"]))


class SourcesTest(unittest.TestCase):
    def setUp(self):
        self.path = support.STREAMS / "avc-slices.h264"
        self.stream = self.path.read_bytes()
        self.wanted = list(vp.access_units(self.path))

    def sources(self, data):
        with tempfile.TemporaryFile() as file:
            file.write(data)
            file.flush()
            yield mmap.mmap(file.fileno(), len(data))
            file.seek(0)
            yield file
        yield from (data, bytearray(data), memoryview(data), io.BytesIO(data), array.array("B", data))
        yield memoryview(bytes(byte for pair in zip(data, data) for byte in pair))[::2]
        yield from ([data], iter([data[:5], data[5:]]), support.pieces(bytearray(data), 7))
        yield io.BufferedReader(io.BytesIO(data), 16)

    def test_every_kind_of_source_gives_the_same(self):
        for source in self.sources(self.stream):
            with self.subTest(type(source).__name__):
                self.assertEqual(list(vp.access_units(source)), self.wanted)
        self.assertEqual(list(vp.access_units(str(self.path))), self.wanted)

    def test_every_kind_of_source_can_be_a_container(self):
        data = support.container(self.path, "matroska")
        wanted = [unit.data for unit in vp.access_units(data)]
        self.assertEqual(len(wanted), len(self.wanted))
        for source in self.sources(data):
            with self.subTest(type(source).__name__):
                self.assertEqual([unit.data for unit in vp.access_units(source)], wanted)

    def test_numpy_arrays_are_sources(self):
        import numpy  # a dependency of python3-av

        both = numpy.frombuffer(self.stream, numpy.uint8).repeat(2)
        self.assertEqual(list(vp.access_units(both[::2])), self.wanted)
        self.assertEqual(list(vp.access_units([both[:40:2], both[40::2].reshape(1, -1)])), self.wanted)

    def test_a_source_may_use_its_memory_again(self):
        def pieces():
            memory = bytearray(50)
            file = io.BytesIO(self.stream)
            while size := file.readinto(memory):
                yield memoryview(memory)[:size]

        self.assertEqual(list(vp.access_units(pieces())), self.wanted)

    def test_a_pipe_gives_results_before_it_ends(self):
        reader, writer = os.pipe()
        with open(reader, "rb") as file, open(writer, "wb") as feed:
            units = vp.access_units(file, codec=vp.Codec.AVC)
            feeding = threading.Thread(target=lambda: (feed.write(self.stream), feed.flush()))
            feeding.start()
            first = next(units)
            feeding.join()
            feed.close()
            self.assertEqual([first, *units], self.wanted)

    def test_files_are_closed_and_file_objects_are_not(self):
        units = vp.access_units(self.path)
        before = set(os.listdir("/proc/self/fd"))
        next(units)
        self.assertEqual(len(set(os.listdir("/proc/self/fd")) - before), 1)
        units.close()
        self.assertEqual(set(os.listdir("/proc/self/fd")), before)
        with open(self.path, "rb") as file:
            list(vp.access_units(file))
            self.assertFalse(file.closed)


class FaultsTest(unittest.TestCase):
    def setUp(self):
        logging.getLogger("libav").setLevel(logging.CRITICAL)  # what PyAV says of damaged containers
    def test_a_damaged_unit_stops_or_is_left_out(self):
        stream = bytearray(support.stream("avc-bframes"))
        unit = [unit for unit in vp.units(bytes(stream)) if unit.is_slice][4]
        stream[unit.offset + unit.data.index(1) + 1] |= 128
        units = vp.access_units(stream)
        with self.assertRaisesRegex(vp.StreamError, f"at byte {unit.offset}.*errors='ignore'") as caught:
            list(units)
        self.assertEqual(caught.exception.offset, unit.offset)
        everything = b"".join(unit.data for unit in vp.access_units(stream, errors="ignore"))
        self.assertEqual(len(everything), len(stream) - len(unit.data))

    def test_what_is_no_video_is_refused(self):
        cases = {
            b"": "empty",
            b"no video at all" * 100: "neither",
            b"#EXTM3U\n#EXTINF:1,\nfile:///etc/passwd\n#EXT-X-ENDLIST\n": "neither|another file",
        }
        for data, message in cases.items():
            with self.subTest(data[:9]), self.assertRaisesRegex(vp.ContainerError, message):
                list(vp.access_units(data))

    def test_a_container_needs_pyav(self):
        data = support.container(support.STREAMS / "avc-aud.h264", "mp4")
        with mock.patch.dict("sys.modules", av=None):
            with self.assertRaisesRegex(vp.MissingPyAVError, "this bytes object is an MP4 file: .* python3-av"):
                list(vp.access_units(data))

    def test_damaged_containers_end_with_an_exception_of_the_package(self):
        whole = support.container(support.STREAMS / "avc-headers-once.h264", "mp4")
        ends = 0
        for place in range(0, len(whole), 97):
            data = whole[:place] + bytes(255 - byte for byte in whole[place:place + 6]) + whole[place + 6:]
            try:
                list(vp.access_units(data))
            except vp.Error:
                ends += 1
        self.assertGreater(ends, 3)

    def test_another_codec_than_the_callers_is_refused(self):
        data = support.container(support.STREAMS / "hevc-aud.h265", "mp4")
        for source in data, support.stream("hevc-aud"):
            self.assertRaises(vp.WrongCodecError, list, vp.access_units(source, codec=vp.Codec.AVC))
        self.assertRaisesRegex(vp.ContainerError, "in stream 3 .*0: video hevc", list, vp.access_units(data, stream=3))
        for call in vp.test_samples, lambda source: vp.picture_type(next(vp.access_units(source))):
            self.assertRaises(vp.WrongCodecError, lambda: list(call(support.STREAMS / "hevc-aud.h265")))

    def test_misuse_is_found_by_the_call(self):
        for source in 7, None, 1.5, object():
            self.assertRaisesRegex(TypeError, "path, bytes, a binary file or an iterable", vp.access_units, source)
        with open(os.devnull, encoding="ascii") as text:
            self.assertRaisesRegex(TypeError, "mode 'rb'", vp.units, text)
        with open(os.devnull, "wb") as output:
            self.assertRaisesRegex(TypeError, "mode 'rb'", vp.units, output)
        self.assertRaises(ValueError, vp.access_units, b"", errors="replace")
        self.assertRaises(ValueError, vp.access_units, b"", codec=2)
        self.assertRaises(TypeError, list, vp.access_units(["text"]))
        self.assertRaises(FileNotFoundError, list, vp.access_units("missing.h264"))


if __name__ == "__main__":
    unittest.main()
