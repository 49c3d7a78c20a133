"""What several tests need: the project's streams, the tool's answers about them, and containers made of them."""

import io
import json
import os
import pathlib
import subprocess
from fractions import Fraction

import videoparams as vp

PACKAGE = pathlib.Path(__file__).resolve().parents[1]
PROJECT = PACKAGE.parent
STREAMS = PROJECT / "tests" / "streams"


def stream(name):
    return next(STREAMS.glob(name + ".h26?")).read_bytes()


def streams():
    """The path and the codec of every stream."""
    for suffix, codec in ((".h264", vp.Codec.AVC), (".h265", vp.Codec.HEVC)):
        for path in sorted(STREAMS.glob("*" + suffix)):
            yield path, codec


def pieces(data, size):
    return (data[i:i + size] for i in range(0, len(data), size))


def tool(*arguments):
    """The tool's answer, which is there also if the tool finds a fault."""
    command = [os.environ["VIDEOPARAMS_TOOL"], *map(str, arguments), "--json"]
    return json.loads(subprocess.run(command, capture_output=True, check=False).stdout)


def container(path, format_name):
    """A stream in a container, 25 samples a second, every second one shown two samples late. Needs PyAV."""
    import av

    output = io.BytesIO()
    with av.open(str(path)) as source, av.open(output, "w", format=format_name) as target:
        video = target.add_stream(template=source.streams.video[0])
        number = 0
        for packet in source.demux(video=0):
            if packet.size:
                packet.time_base = Fraction(1, 25)
                packet.dts, packet.pts = number, number + 2 * (number % 2)
                packet.stream = video
                target.mux(packet)
                number += 1
    return output.getvalue()
