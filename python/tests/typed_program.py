"""A program of a user, which test_package.py runs and checks with mypy --strict. Uses what the package promises."""

import array
import io
import pathlib
import sys
from fractions import Fraction
from typing import Iterator, Optional

import videoparams as vp


def key_frames(source: vp.Source) -> Iterator[tuple[Optional[Fraction], int]]:
    for unit in vp.access_units(source, errors="ignore"):
        if unit.key_frame:
            yield unit.pts, len(unit.data)


def rate(info: vp.VideoInfo) -> Fraction:
    return info.frame_rate if info.frame_rate is not None else Fraction(25)


path = pathlib.Path(sys.argv[1])
stream: bytes = path.read_bytes()
sources: list[vp.Source] = [path, str(path), stream, bytearray(stream), io.BytesIO(stream), iter([stream]),
                            array.array("B", stream)]
assert len({tuple(key_frames(source)) for source in sources}) == 1

with vp.Parser(vp.Codec.AVC) as parser, vp.UserData(vp.Codec.AVC) as editor:
    for unit in vp.access_units(path):
        kind: Optional[vp.PictureType] = parser.picture_type(unit)
        stamped: bytes = editor.add(unit, b"take 7")
        test: vp.SampleTest = parser.test_sample(stamped)
        assert kind is not None and editor.get(stamped) == b"take 7" and not test.error
        if unit.info is not None:
            primaries: vp.ColourPrimaries = unit.info.colour.primaries
            assert rate(unit.info) == 25 and primaries is vp.ColourPrimaries.UNSPECIFIED
try:
    parser.flush()
except vp.ClosedError as error:
    print(vp.__version__, vp.__file__, error)
