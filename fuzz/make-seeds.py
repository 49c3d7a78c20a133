#!/usr/bin/env python3
"""Writes seeds for the fuzzers: the heads of the test streams, and hand-built corner cases.

    make-seeds.py FOLDER        then fuzz FOLDER, and merge what is worth keeping into corpus/<target>/;
                                all targets replay the corner cases, corpus/Corners/
"""

import pathlib
import sys

STREAMS = pathlib.Path(__file__).parent.parent / "tests" / "streams"
HEAD = 3000

AVC_SPS = bytes.fromhex("0000000167 42001e 95a0 50 1e d0")
AVC_PPS = bytes.fromhex("0000000168 ce 3c 80")
AVC_IDR = bytes.fromhex("000001 65 88 84 00 21")
AVC_P = bytes.fromhex("000001 41 9a 24 6c 43")
HEVC_SLICE = bytes.fromhex("000001 26 01 af 08 40")
IDENTIFIER = bytes.fromhex("99AED31BB8944B97AD39FB4ED5902BA1")


def sei(header, messages, tail=b"\x80"):
    return b"\0\0\0\1" + header + messages + tail


def user_data(payload):
    size = 16 + len(payload)
    return b"\x05" + b"\xff" * (size // 255) + bytes([size % 255]) + IDENTIFIER + payload


CORNERS = {
    "empty-units": b"\0\0\1" * 20 + AVC_IDR,
    "four-bytes": bytes.fromhex("00000109"),
    "tail-start-code": AVC_IDR + bytes.fromhex("000001aa"),
    "zeros": bytes(400),
    "emulation": AVC_IDR + bytes.fromhex("000003") * 50,
    "sets-and-slices": AVC_SPS + AVC_PPS + AVC_IDR + AVC_P * 3,
    "delimiters": (bytes.fromhex("0000000109 10") + AVC_IDR) * 3,
    "one-byte-units": b"".join(b"\0\0\0\1" + bytes([header]) for header in range(128)) + AVC_IDR,
    "forbidden": AVC_SPS + AVC_PPS + bytes.fromhex("000001e5000000") + AVC_IDR,
    "golomb-zeros": bytes.fromhex("0000016742001e") + bytes(20) + b"\xff",
    "golomb-largest": bytes.fromhex("0000016742001e 80000000ffffffff") * 2,
    "avc-message": sei(b"\x06", user_data(b"abc")) + AVC_IDR,
    "avc-messages": sei(b"\x06", b"\0\1\xaa" + user_data(bytes(300)) + b"\1\2\0\0", b"\x80\0") + AVC_IDR,
    "avc-overrun": sei(b"\x06", b"\5\x20" + IDENTIFIER + b"\xff" * 40, b"") + AVC_IDR,
    "hevc-message": sei(b"\x4e\x01", user_data(b"\0\0\3\0\0\1")) + HEVC_SLICE,
    "hevc-bare-sei": bytes.fromhex("0000014e80") + HEVC_SLICE,
    "hevc-one-byte": bytes.fromhex("00000126") + HEVC_SLICE * 2,
}


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    for name, stream in CORNERS.items():
        for codec in (0, 1):
            (folder / f"{name}-{codec}").write_bytes(bytes([11, codec, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10]) + stream)
    for path in sorted(STREAMS.glob("*.h26[45]")):
        codec = 0 if path.suffix == ".h264" else 1
        choices = bytes([24, codec]) + bytes(range(1, 24))
        (folder / path.name).write_bytes(choices + path.read_bytes()[:HEAD])


if __name__ == "__main__":
    main()
