"""What check reports of a container that disagrees with its stream. Each file differs in a few bytes from one without a finding."""

import json
import struct
import tempfile
import unittest

from running import tool
from samples import Case, Workshop


def add_to(file, box, offset, amount, form=">I"):
    """Adds to a number, `offset` bytes after the name of the first such box."""
    place = file.index(box) + len(box) + offset
    struct.pack_into(form, file, place, struct.unpack_from(form, file, place)[0] + amount)


def give_sample_1_the_next_one(file):
    sizes = file.index(b"stsz") + 16
    first, second = struct.unpack_from(">II", file, sizes + 4)
    struct.pack_into(">II", file, sizes + 4, first + second, 0)


FINDINGS = (
    # The file, what is changed in it, the number of the sample, the beginnings of what is found and what is expected.
    (Case("width.mp4", "avc"), lambda file: add_to(file, b"avc1\0", 23, 16, ">H"), 0, "the container records 176 x 120", "160 x 120"),
    (Case("rate.mp4", "avc-p"), lambda file: add_to(file, b"mdhd", 12, 16000), None, "the times of the container give 50 frames/s", "25"),
    (Case("set.mp4", "avc-headers"), lambda file: add_to(file, b"avcC", 11, 1, ">B"), 0, "Sequence parameter set 0 differs", "the same set"),
    (Case("two.mp4", "avc-p", inputs=()), give_sample_1_the_next_one, 1, "it holds 2 pictures", "one picture"),
    (Case("twice.ts", "avc"), lambda file: file.extend(bytes(file)), 50, "its decoding time goes back to 1.400 s", "more than"),
    (Case("length.mp4", "avc"), lambda file: add_to(file, b"mdat", 0, 1 << 20), 0, "2953 bytes at its end", "units that fill"),
)


class Findings(unittest.TestCase):
    def test_each_has_its_place_and_what_is_expected(self):
        with tempfile.TemporaryDirectory() as scratch:
            workshop = Workshop(scratch)
            for case, change, sample, text, expected in FINDINGS:
                with self.subTest(file=case.name):
                    path = workshop.make(case)
                    before = {str(finding) for finding in self.findings(path)}
                    file = bytearray(path.read_bytes())
                    change(file)
                    path.write_bytes(file)
                    found = [finding for finding in self.findings(path) if str(finding) not in before]
                    matching = [finding for finding in found if finding["text"].startswith(text)]
                    self.assertEqual(len(matching), 1, found)
                    self.assertTrue(matching[0]["expected"].startswith(expected), matching)
                    self.assertEqual(matching[0].get("sample"), sample)
                    if sample is not None:
                        self.assertIn("seconds", matching[0])
                        self.assertGreater(matching[0]["offset"], 0)

    def findings(self, path):
        try:
            return json.loads(tool("check", "--json", path))["findings"]
        except AssertionError:
            return json.loads(tool("check", "--json", path, status=1))["findings"]

    def test_sets_in_samples_may_differ_from_the_description_if_the_entry_allows_it(self):
        with tempfile.TemporaryDirectory() as scratch:
            path = Workshop(scratch).make(Case("avc3.mp4", "avc-headers", ("-tag:v", "avc3")))
            before = self.findings(path)
            file = bytearray(path.read_bytes())
            add_to(file, b"avcC", 11, 1, ">B")
            path.write_bytes(file)
            self.assertEqual(self.findings(path), before)


if __name__ == "__main__":
    unittest.main()
