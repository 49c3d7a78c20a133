"""A stream in pieces is cut into units as the library cuts it."""

import unittest

import support
from videoparams._units import join_short, split


def joined(stream, size):
    return [unit for _, unit in join_short(split(support.pieces(stream, size)))]


class UnitsTest(unittest.TestCase):
    def test_pieces_of_any_size_give_the_same_units(self):
        for path, _ in support.streams():
            stream = path.read_bytes()
            whole = list(split([stream]))
            self.assertEqual(b"".join(unit for _, unit in whole), stream, path.name)
            self.assertTrue(all(stream.startswith(unit, offset) for offset, unit in whole))
            for size in (1, 2, 3, 7, 1000):
                if size > 3 or len(stream) < 20000:
                    self.assertEqual(list(split(support.pieces(stream, size))), whole, (path.name, size))

    def test_units_at_the_edges(self):
        cases = {
            b"": [],
            b"\0\0\1\x09\x10": [b"\0\0\1\x09\x10"],
            b"\0\0\0\0\1\x09\x10": [b"\0\0\0\1\x09\x10"],
            b"\0\0\1\0\0\1\x65\xab": [b"\0\0\1", b"\0\0\1\x65\xab"],
            b"\0\0\1\x65\xab\0\0\1\x0a\0\0\1\x0b\0\0\1\x68\xee":
                [b"\0\0\1\x65\xab\0\0\1\x0a\0\0\1\x0b", b"\0\0\1\x68\xee"],
            b"\0\0\1\x65\xab\0\0\1\x41\x9a\0\0\0\1\x67\x42":
                [b"\0\0\1\x65\xab", b"\0\0\1\x41\x9a", b"\0\0\0\1\x67\x42"],
            b"x\0\0\1\x65\xab\0\0\0\0\1\x41\0\0\1\xaa": [b"\0\0\1\x65\xab\0", b"\0\0\0\1\x41\0\0\1\xaa"],
        }
        for stream, wanted in cases.items():
            for size in range(1, len(stream) + 1):
                self.assertEqual(joined(stream, size), wanted, (stream, size))


if __name__ == "__main__":
    unittest.main()
