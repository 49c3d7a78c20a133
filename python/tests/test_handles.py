"""Parser and UserData: results, misuse, threads and memory."""

import array
import concurrent.futures
import copy
import gc
import mmap
import re
import resource
import subprocess
import sys
import threading
import unittest

import support
import videoparams as vp

STREAM = support.stream("avc-bframes")
UNITS = [unit.data for unit in vp.access_units(STREAM)]


def resident_bytes():
    gc.collect()
    with open("/proc/self/statm", encoding="ascii") as file:
        return int(file.read().split()[1]) * mmap.PAGESIZE


class ParserTest(unittest.TestCase):
    def test_units_are_views_of_the_callers_bytes(self):
        with vp.Parser(vp.Codec.AVC) as parser:
            for data in (STREAM, bytearray(STREAM), memoryview(STREAM)[0:]):
                split = parser.split(data)
                self.assertEqual(b"".join(split), STREAM)
                measured = parser.nal_units(data)
                self.assertEqual([unit.data for unit in measured], split)
                self.assertTrue(all((unit.slice_header_length > 0) == unit.is_slice for unit in measured))
                self.assertIs(split[0].obj, data if not isinstance(data, memoryview) else STREAM)

    def test_views_keep_their_bytes(self):
        data = bytearray(STREAM)
        parser = vp.Parser(vp.Codec.AVC)
        views = parser.split(data)
        parser.close()
        self.assertRaises(BufferError, data.clear)  # while there are views
        del data, parser
        gc.collect()
        self.assertEqual(b"".join(views), STREAM)

    def test_results_are_not_changed_by_later_calls(self):
        with vp.Parser(vp.Codec.AVC) as parser:
            found = [parser.parse(unit) for unit in UNITS * 3]
        self.assertEqual([unit.data for unit in found[1:]], (UNITS * 3)[:-1])

    def test_samples_are_described_field_by_field(self):
        tests = [test for _, test in vp.test_samples(support.STREAMS / "avc-paff.h264")]
        self.assertEqual("".join("F" if test.is_frame else "-" for test in tests), "----F------F--F--F--F")
        self.assertEqual("".join("I" if test.is_intra else "-" for test in tests), "I------I----I----I---")
        with vp.Parser(vp.Codec.AVC) as parser:
            cut = [parser.test_sample(unit).error for unit in UNITS[:1] + UNITS[2:]]
        self.assertEqual(cut.count(True), 1)

    def test_every_picture_type_is_known(self):
        for value in (*vp.PictureType, 10):
            bits = bin(value + 1)[2:]
            header = "1" + "0" * (len(bits) - 1) + bits + "1" * 24  # first_mb_in_slice, slice_type, more
            sample = b"\0\0\1\x65" + int(header[:24], 2).to_bytes(3, "big")
            self.assertEqual(vp.picture_type(sample), value if value < 10 else None)
        self.assertIsNone(vp.picture_type(b"\0\0\1\x09\x10"))

    def test_parameter_sets_go_from_one_parser_to_another(self):
        with vp.Parser(vp.Codec.AVC) as parser, vp.Parser(vp.Codec.AVC) as other:
            sets = parser.parameter_sets(STREAM)
            other.set_parameter_sets(sets.sps, sets.pps[4:])
            bare = b"".join(unit.data for unit in parser.nal_units(STREAM) if unit.is_slice)
            report = next(filter(None, (other.parse(unit.data) for unit in vp.units(bare))))
            self.assertTrue(report.data.startswith(sets.sps + sets.pps))
            self.assertTrue(report.has_own_info)
            self.assertEqual(parser.parameter_sets(b""), vp.ParameterSets(None, None, None))

    def test_user_data_comes_back(self):
        for path, codec in support.streams():
            access_unit = next(vp.access_units(path))
            with vp.UserData(codec) as editor:
                plain = editor.remove(access_unit)
                for user_data in (b"", b"\0\0\1", bytes(range(256)) * 3):
                    edited = editor.add(plain, user_data)
                    self.assertEqual(editor.get(edited), user_data, path.name)
                    self.assertEqual(editor.remove(edited), plain, path.name)
                self.assertIsNone(editor.get(plain))


class MisuseTest(unittest.TestCase):
    def test_closed_handles(self):
        parser, editor = vp.Parser(vp.Codec.AVC), vp.UserData(vp.Codec.AVC)
        for handle in (parser, editor):
            handle.close()
            handle.close()
            self.assertTrue(handle.closed)
        calls = {
            parser: ("parse", "test_sample", "picture_type", "parameter_sets", "split", "nal_units"),
            editor: ("get", "remove"),
        }
        for handle, names in calls.items():
            for name in names:
                self.assertRaises(vp.ClosedError, getattr(handle, name), STREAM)
        self.assertRaises(vp.ClosedError, parser.flush)
        self.assertRaises(vp.ClosedError, parser.set_parameter_sets, b"\x67", b"\x68")
        self.assertRaises(vp.ClosedError, editor.add, STREAM, b"")

    def test_calls_for_h264_on_h265(self):
        with vp.Parser(vp.Codec.HEVC) as parser:
            for name in ("test_sample", "picture_type", "parameter_sets", "split", "nal_units"):
                self.assertRaisesRegex(vp.WrongCodecError, "H.264 only", getattr(parser, name), STREAM)
            self.assertRaises(vp.WrongCodecError, parser.set_parameter_sets, b"\x67", b"\x68")
        self.assertRaises(ValueError, vp.Parser, 2)

    def test_samples_of_the_other_codec(self):
        sample = next(vp.access_units(support.stream("hevc-aud")))
        with vp.Parser(vp.Codec.AVC) as parser, vp.UserData(vp.Codec.AVC) as editor:
            for call in parser.parse, parser.split, parser.nal_units, editor.get, lambda unit: editor.add(unit, b""):
                self.assertRaisesRegex(vp.WrongCodecError, "the sample is H.265", call, sample)

    def test_a_handle_has_one_owner(self):
        with vp.Parser(vp.Codec.AVC) as parser:
            self.assertRaisesRegex(TypeError, "neither copied nor pickled", copy.copy, parser)

    def test_bytes_that_cannot_be_read(self):
        damaged = b"\0\0\1\x65\x88\x84\0\0\1\xe7\x42\0"
        with vp.Parser(vp.Codec.AVC) as parser, vp.UserData(vp.Codec.AVC) as editor:
            for call in (parser.parse, parser.test_sample, parser.picture_type, parser.parameter_sets, parser.split,
                         editor.get, editor.remove):
                self.assertRaisesRegex(vp.StreamError, "no start code .* in 13 bytes", call, b"no start code")
            for call in (parser.parse, lambda data: parser.picture_type(damaged[6:] + data)):
                with self.assertRaisesRegex(vp.StreamError, "forbidden_zero_bit"):
                    call(damaged)
            self.assertRaises(ValueError, parser.set_parameter_sets, b"", b"x")
            self.assertRaisesRegex(vp.StreamError, "PPS", parser.set_parameter_sets, b"\x67\x42\0\x0b\x88", b"\xe8\xee")
            self.assertRaises(vp.NoPlaceError, editor.add, b"\0\0\1\x68\x10", b"no place")
            self.assertRaisesRegex(vp.StreamError, "no end", editor.add, b"\0\0\1\x06\x05\x01\x41", b"no end")
            self.assertIsNone(parser.parse(b""))

    def test_what_a_failing_call_completed_is_not_lost(self):
        with vp.Parser(vp.Codec.AVC) as parser:
            parser.parse(UNITS[0])
            with self.assertRaises(vp.StreamError) as caught:
                parser.parse(UNITS[1] + b"\0\0\1\xe7\x42\0")
        self.assertEqual(caught.exception.access_unit.data, UNITS[0])

    def test_bytes_like_objects_of_any_kind(self):
        double = bytes(byte for pair in zip(STREAM, STREAM) for byte in pair)
        even = STREAM + b"\0" * (len(STREAM) % 2)
        mapped = mmap.mmap(-1, len(STREAM))
        mapped[:] = STREAM
        with vp.Parser(vp.Codec.AVC) as parser:
            wanted = parser.parameter_sets(STREAM)
            for data in (bytearray(STREAM), memoryview(STREAM), mapped, memoryview(double)[::2], array.array("H", even),
                         memoryview(STREAM).cast("B", (1, len(STREAM)))):
                self.assertEqual(parser.parameter_sets(data), wanted, type(data))
                self.assertEqual(b"".join(parser.split(data))[:len(STREAM)], STREAM, type(data))
            for data in ("text", 5, None, [1, 2]):
                self.assertRaisesRegex(TypeError, "bytes-like object expected", parser.parse, data)
            view = memoryview(STREAM)
            view.release()
            self.assertRaises(ValueError, parser.parse, view)
            with mmap.mmap(-1, 2**32) as huge:  # no memory is used until it is read
                self.assertRaises(vp.TooLargeError, parser.parse, huge)

    def test_reasons_for_a_lack_of_memory(self):
        program = f"""
import resource, sys
sys.path[:0] = {sys.path!r}
import videoparams as vp
parser, editor = vp.Parser(0), vp.UserData(0)
many, large = b"\\0\\0\\1\\x65\\x88" * 500_000, b"\\0\\0\\1\\x65" + b"\\x88" * 40_000_000
size = int(open("/proc/self/statm").read().split()[0]) * {mmap.PAGESIZE}
resource.setrlimit(resource.RLIMIT_AS, (size + 5_000_000, -1))
for call in (lambda: editor.add(large, b""), lambda: editor.remove(large), lambda: parser.split(many)):
    try:
        call()
    except vp.OutOfMemoryError as error:
        print(error)
print(editor.get(b"\\0\\0\\1\\x65\\x88"))
"""
        run = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True, check=False)
        self.assertEqual(len(re.findall("out of memory for a call", run.stdout)), 3, run)
        self.assertTrue(run.stdout.endswith("None\n"), run)


class ThreadsTest(unittest.TestCase):
    def test_a_pool_shares_handles(self):
        wanted = list(vp.access_units(STREAM))
        with vp.Parser(vp.Codec.AVC) as parser, vp.UserData(vp.Codec.AVC) as editor:
            def work(number):
                unit = UNITS[number % len(UNITS)]
                edited = editor.add(unit, b"%d" % number)
                types = parser.picture_type(edited), parser.picture_type(unit)
                parser.parse(unit)
                return editor.get(edited) == b"%d" % number and types[0] == types[1] and editor.remove(edited) != edited

            with concurrent.futures.ThreadPoolExecutor(8) as pool:
                self.assertTrue(all(pool.map(work, range(2000))))
                streams = pool.map(lambda _: list(vp.access_units(STREAM)), range(16))
                self.assertTrue(all(units == wanted for units in streams))

    def test_closing_on_many_threads_frees_once(self):
        large = b"\0\0\1\x65" + b"\x88" * 1_000_000
        for _ in range(50):
            parser = vp.Parser(vp.Codec.AVC)
            barrier = threading.Barrier(4)

            def work():
                barrier.wait()
                try:
                    parser.parse(large)
                except vp.ClosedError:
                    pass
                parser.close()

            threads = [threading.Thread(target=work) for _ in range(4)]
            for thread in threads:
                thread.start()
            for thread in threads:
                thread.join()
            self.assertTrue(parser.closed)


class MemoryTest(unittest.TestCase):
    def test_nothing_leaks(self):
        def everything():
            with vp.Parser(vp.Codec.AVC) as parser, vp.UserData(vp.Codec.AVC) as editor:
                for data in (STREAM, bytearray(STREAM), memoryview(STREAM)[::1]):
                    parser.parse(data)
                    parser.nal_units(data)
                    parser.parameter_sets(data)
                    editor.remove(editor.add(data, b"x" * 5000))
            try:
                vp.Parser(vp.Codec.AVC).parse(b"no start code")  # not closed
            except vp.StreamError:
                pass
            next(vp.access_units(STREAM))  # not ended

        for _ in range(300):
            everything()
        before = resident_bytes()
        for _ in range(400):
            everything()
        self.assertLess(resident_bytes() - before, 4_000_000)


class DescriptionTest(unittest.TestCase):
    def test_reprs_are_one_short_line(self):
        parser = vp.Parser(vp.Codec.AVC)
        unit = next(vp.access_units(STREAM))
        for thing in (parser, vp.UserData(vp.Codec.HEVC), unit, unit.info, unit.info.colour, next(vp.units(STREAM)),
                      parser.nal_units(STREAM)[0], parser.test_sample(unit), vp.parameter_sets(STREAM),
                      vp.ColourPrimaries(255)):
            self.assertRegex(repr(thing), r"\A<[^\n]{5,80}>\Z")
        self.assertEqual(repr(unit), "<AccessUnit H.264, 1649 bytes, key frame>")
        parser.close()
        self.assertEqual(repr(parser), "<Parser H.264, closed>")

    def test_help_documents_every_name_and_field(self):
        for name in vp.__all__:
            thing = getattr(vp, name)
            if getattr(thing, "__module__", "").startswith("videoparams"):
                self.assertGreater(len(thing.__doc__ or ""), 20, name)
                for field in getattr(thing, "__dataclass_fields__", ()):
                    self.assertRegex(thing.__doc__, rf"\n +{field}: [A-Z\w]", f"{name}.{field}")


if __name__ == "__main__":
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    unittest.main()
