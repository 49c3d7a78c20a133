"""Tests of the Python package on the streams of the library's own tests."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import videoparams as vp

PROJECT = pathlib.Path(__file__).resolve().parents[2]
STREAMS = PROJECT / "tests" / "streams"


def streams():
    for suffix, codec in ((".h264", vp.Codec.AVC), (".h265", vp.Codec.HEVC)):
        for path in sorted(STREAMS.glob("*" + suffix)):
            yield path.stem, codec, path.read_bytes()


def pieces(stream, size):
    return (stream[i:i + size] for i in range(0, len(stream), size))


def analyse(codec, parts):
    with vp.Parser(codec) as parser:
        reports = [parser.parse(part) for part in parts]
        reports.append(parser.flush())
    return [report for report in reports if report is not None]


class AnalysisTest(unittest.TestCase):
    def test_reports_are_described_field_by_field(self):
        stream = (STREAMS / "hevc-vui.h265").read_bytes()
        reports = analyse(vp.Codec.HEVC, vp.units([stream]))
        self.assertEqual([report.key_frame for report in reports], [True] + 19 * [False])
        self.assertEqual(b"".join(report.data for report in reports), stream)
        self.assertTrue(all(report.sequence is None for report in reports[1:]))
        self.assertEqual(reports[0].sequence, vp.SequenceInfo(
            width=176, height=144, frame_rate_numerator=30000, frame_rate_denominator=1001,
            video_signal_type_present_flag=1, video_format=2, video_full_range_flag=1,
            colour_description_present_flag=1, colour_primaries=6, transfer_characteristics=4, matrix_coefficients=4))

    def test_key_frames_without_parameter_sets_are_key_frames(self):
        reports = analyse(vp.Codec.HEVC, vp.units([(STREAMS / "hevc-headers-once.h265").read_bytes()]))
        self.assertEqual([i for i, report in enumerate(reports) if report.key_frame], [0, 10, 20])
        self.assertEqual([i for i, report in enumerate(reports) if report.sequence], [0])

    def test_every_new_size_is_described(self):
        stream = (STREAMS / "avc-size-change.h264").read_bytes()
        reports = analyse(vp.Codec.AVC, vp.units([stream]))
        sizes = {number: (report.sequence.width, report.sequence.height)
                 for number, report in enumerate(reports) if report.sequence}
        self.assertEqual(sizes, {0: (128, 96), 8: (160, 112), 16: (128, 96)})

    def test_pieces_of_any_size_give_the_same_units(self):
        for name, _, stream in streams():
            whole = list(vp.units([stream]))
            self.assertEqual(b"".join(whole), stream, name)
            for size in (1, 2, 3, 7, 1000):
                if size > 3 or len(stream) < 20000:
                    self.assertEqual(list(vp.units(pieces(stream, size))), whole, (name, size))

    def test_short_units_are_not_lost(self):
        stream = (STREAMS / "avc-bframes.h264").read_bytes()
        withEnd = stream + b"\0\0\1\x0a" + stream
        reports = analyse(vp.Codec.AVC, vp.units([withEnd]))
        self.assertEqual(b"".join(report.data for report in reports), withEnd)

    def test_units_at_the_edges(self):
        cases = {
            b"": [],
            b"\0\0\1\x09": [],
            b"\0\0\1\x09\x10": [b"\0\0\1\x09\x10"],
            b"\0\0\0\0\1\x09": [b"\0\0\0\1\x09"],
            b"\0\0\1\0\0\1\x65\xab": [b"\0\0\1", b"\0\0\1\x65\xab"],
            b"\0\0\1\x65\xab\0\0\1\x0a\0\0\1\x0b\0\0\1\x68\xee":
                [b"\0\0\1\x65\xab\0\0\1\x0a\0\0\1\x0b", b"\0\0\1\x68\xee"],
            b"\0\0\1\x65\xab\0\0\1\x41\x9a\0\0\0\1\x67\x42":
                [b"\0\0\1\x65\xab", b"\0\0\1\x41\x9a", b"\0\0\0\1\x67\x42"],
            b"x\0\0\1\x65\xab\0\0\0\0\1\x41\0\0\1\xaa": [b"\0\0\1\x65\xab\0", b"\0\0\0\1\x41\0\0\1\xaa"],
        }
        for stream, wanted in cases.items():
            for size in range(1, len(stream) + 1):
                self.assertEqual(list(vp.units(pieces(stream, size))), wanted, (stream, size))


class QueriesTest(unittest.TestCase):
    def setUp(self):
        self.stream = (STREAMS / "avc-bframes.h264").read_bytes()

    def test_units_are_views_of_the_callers_bytes(self):
        with vp.Parser(vp.Codec.AVC) as parser:
            for data in (self.stream, bytearray(self.stream), memoryview(self.stream)[0:]):
                split = parser.split(data)
                self.assertEqual(b"".join(split), self.stream)
                measured = parser.nal_units(data)
                self.assertEqual([unit.data for unit in measured], split)
                self.assertTrue(all((unit.slice_header_length > 0) == unit.is_slice for unit in measured))
                self.assertIs(split[0].obj, data if not isinstance(data, memoryview) else self.stream)

    def test_samples(self):
        reports = analyse(vp.Codec.AVC, vp.units([self.stream]))
        with vp.Parser(vp.Codec.AVC) as parser:
            tests = [parser.test_sample(report.data) for report in reports]
            self.assertFalse(any(test.error for test in tests))
            self.assertTrue(tests[0].is_intra and tests[0].is_frame)
            self.assertIn(parser.picture_type(reports[0].data), (vp.PictureType.I, vp.PictureType.ALL_I))
            del reports[1]
            cut = [parser.test_sample(report.data).error for report in reports]
            self.assertEqual(cut.count(True), 1)
            self.assertIsNone(parser.picture_type(b"\0\0\1\x09\x10"))

    def test_samples_are_described_field_by_field(self):
        stream = (STREAMS / "avc-paff.h264").read_bytes()
        with vp.Parser(vp.Codec.AVC) as parser:
            tests = [parser.test_sample(report.data) for report in analyse(vp.Codec.AVC, vp.units([stream]))]
        self.assertEqual("".join("F" if test.is_frame else "-" for test in tests), "----F------F--F--F--F")
        self.assertEqual("".join("I" if test.is_intra else "-" for test in tests), "I------I----I----I---")

    def test_every_picture_type_is_known(self):
        with vp.Parser(vp.Codec.AVC) as parser:
            for value in (*vp.PictureType, 10):
                bits = bin(value + 1)[2:]
                header = "1" + "0" * (len(bits) - 1) + bits + "1" * 24  # first_mb_in_slice, slice_type, more
                sample = b"\0\0\1\x65" + int(header[:24], 2).to_bytes(3, "big")
                self.assertEqual(parser.picture_type(sample), value if value < 10 else None)

    def test_parameter_sets_go_from_one_parser_to_another(self):
        with vp.Parser(vp.Codec.AVC) as parser, vp.Parser(vp.Codec.AVC) as other:
            sets = parser.parameter_sets(self.stream)
            other.set_parameter_sets(sets.sps, sets.pps)
            bare = b"".join(unit.data for unit in parser.nal_units(self.stream) if unit.is_slice)
            for unit in vp.units([bare]):
                report = other.parse(unit)
                if report is not None:
                    break
            self.assertTrue(report.data.startswith(sets.sps + sets.pps))
            self.assertEqual(parser.parameter_sets(b"\0\0\1\x09\x10"), vp.ParameterSets(None, None))

    def test_errors(self):
        with vp.Parser(vp.Codec.AVC) as parser:
            self.assertRaises(vp.Error, parser.parse, b"no start code")
            self.assertRaises(vp.Error, parser.set_parameter_sets, b"", b"x")
            self.assertIsNone(parser.parse(b""))
        self.assertRaises(vp.Error, parser.parse, self.stream)  # closed
        with vp.Parser(vp.Codec.HEVC) as parser:
            self.assertIsNone(parser.test_sample(self.stream))
            self.assertIsNone(parser.picture_type(self.stream))


class UserDataTest(unittest.TestCase):
    def test_round_trip(self):
        for name, codec, stream in streams():
            accessUnit = analyse(codec, vp.units([stream]))[0].data
            with vp.UserDataEditor(codec) as editor:
                plain = editor.remove(accessUnit)
                for userData in (b"", b"\0\0\1", bytes(range(256)) * 3):
                    edited = editor.add(plain, userData)
                    self.assertEqual(editor.get(edited), userData, name)
                    self.assertEqual(editor.remove(edited), plain, name)
                self.assertIsNone(editor.get(plain))
                self.assertRaises(vp.Error, editor.add, b"\0\0\1\x68\x10", b"no place")


class PackageTest(unittest.TestCase):
    def test_version_is_the_librarys(self):
        header = (PROJECT / "include" / "VideoParams.h").read_text()
        self.assertEqual(".".join(re.findall(r"define VIDEOPARAMS_VERSION_\w+ (\d+)", header)), vp.__version__)

    def test_wheel_works(self):
        build = "import setuptools.build_meta as build, sys; build.build_wheel(sys.argv[1])"
        with tempfile.TemporaryDirectory() as folder:
            source = shutil.copytree(PROJECT / "python", os.path.join(folder, "source"))  # the build writes there
            subprocess.check_output([sys.executable, "-c", build, folder], cwd=source, text=True)
            path = os.path.join(folder, f"videoparams-{vp.__version__}-py3-none-any.whl")
            use = "import videoparams as vp; vp.Parser(vp.Codec.AVC).close(); print(vp.__file__)"
            printed = subprocess.check_output([sys.executable, "-c", use], cwd=folder, text=True,
                                              env={**os.environ, "PYTHONPATH": path})
            self.assertTrue(printed.startswith(path), printed)


if __name__ == "__main__":
    unittest.main()
