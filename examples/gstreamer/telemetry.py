#!/usr/bin/python3
"""Sends a JSON record with each picture of a live H.264 stream, and prints it at the other end.

    telemetry.py                     both ends, through UDP on this machine
    telemetry.py --receive PORT      one end each
    telemetry.py --send HOST:PORT

Needs python3-gi, gstreamer1.0-videoparams, gstreamer1.0-plugins-ugly (x264enc) and gstreamer1.0-libav (avdec_h264).
"""

from __future__ import annotations

import argparse
import json
import math
import sys
from datetime import datetime, timezone
from typing import Any

import gi

gi.require_version("Gst", "1.0")
from gi.repository import GLib, Gst  # noqa: E402

CAPS = "application/x-rtp,media=video,clock-rate=90000,encoding-name=H264,payload=96"


class Sender:
    """A test picture, encoded, and a record for each picture."""

    def __init__(self, host: str, port: int, pictures: int) -> None:
        self.pipeline = Gst.parse_launch(
            f"videotestsrc is-live=true num-buffers={pictures} ! video/x-raw,format=I420,framerate=25/1 ! "
            "x264enc tune=zerolatency key-int-max=25 ! h264parse ! vpuserdatainsert name=insert ! "
            f"rtph264pay config-interval=-1 ! udpsink host={host} port={port} sync=false"
        )
        self.insert = self.pipeline.get_by_name("insert")
        self.count = 0
        pad = self.insert.get_static_pad("sink")
        pad.add_probe(Gst.PadProbeType.BUFFER, self.add_record)

    def add_record(self, pad: Gst.Pad, info: Gst.PadProbeInfo) -> Gst.PadProbeReturn:
        """Queues the record for the picture that is about to enter the element."""
        angle = self.count / 100
        record = {
            "picture": self.count,
            "time": datetime.now(timezone.utc).isoformat(),
            "latitude": round(52.5 + 0.001 * math.sin(angle), 6),
            "longitude": round(13.4 + 0.001 * math.cos(angle), 6),
        }
        if not self.insert.emit("push", GLib.Bytes.new(json.dumps(record).encode())):
            print("the queue of records is full", file=sys.stderr)
        self.count += 1
        return Gst.PadProbeReturn.OK


class Receiver:
    """Prints the records of the stream that arrives at a port."""

    def __init__(self, port: int) -> None:
        self.pipeline = Gst.parse_launch(
            f"udpsrc port={port} caps={CAPS} ! rtpjitterbuffer latency=50 ! rtph264depay ! h264parse ! "
            "vpuserdataextract name=extract post-messages=false ! avdec_h264 ! fakesink sync=false async=false"
        )
        self.pipeline.get_by_name("extract").connect("user-data", self.print_record)

    def print_record(self, element: Gst.Element, data: GLib.Bytes, pts: int, clock: int, timestamp: int) -> None:
        """Runs in the streaming thread. Other senders may use the same identifier, so the bytes may be anything."""
        try:
            record: Any = json.loads(data.get_data() or b"")
        except ValueError:
            print(f"{pts / Gst.SECOND:9.3f} s  {data.get_size()} bytes that are no JSON", flush=True)
            return
        print(f"{pts / Gst.SECOND:9.3f} s  {json.dumps(record)}", flush=True)


def run(pipelines: list[Gst.Element]) -> int:
    """Plays the pipelines until one ends, or Ctrl-C."""
    loop = GLib.MainLoop()
    status = 0

    def take_message(bus: Gst.Bus, message: Gst.Message) -> None:
        nonlocal status
        if message.type == Gst.MessageType.ERROR:
            print(message.parse_error()[0].message, file=sys.stderr)
            status = 1
        if message.type in (Gst.MessageType.ERROR, Gst.MessageType.EOS):
            GLib.timeout_add(1000, loop.quit)  # for what is on its way

    for pipeline in pipelines:
        bus = pipeline.get_bus()
        bus.add_signal_watch()
        bus.connect("message", take_message)
        pipeline.set_state(Gst.State.PLAYING)
    try:
        loop.run()
    except KeyboardInterrupt:
        pass
    for pipeline in pipelines:
        pipeline.set_state(Gst.State.NULL)
    return status


def address(text: str) -> tuple[str, int]:
    """The parts of HOST:PORT."""
    host, _, port = text.rpartition(":")
    if not host or not port.isdecimal():
        raise argparse.ArgumentTypeError(f"{text} is not HOST:PORT, such as 127.0.0.1:5006")
    return host, int(port)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0] if __doc__ else None)
    ends = parser.add_mutually_exclusive_group()
    ends.add_argument("--send", metavar="HOST:PORT", type=address)
    ends.add_argument("--receive", metavar="PORT", type=int)
    parser.add_argument("--pictures", metavar="N", type=int, default=-1, help="end after N pictures")
    options = parser.parse_args()
    Gst.init(None)

    try:
        if options.send:
            return run([Sender(*options.send, options.pictures).pipeline])
        if options.receive:
            return run([Receiver(options.receive).pipeline])
        receiver = Receiver(5006)
        return run([receiver.pipeline, Sender("127.0.0.1", 5006, options.pictures).pipeline])
    except GLib.Error as error:  # an element is not installed
        print(error.message, file=sys.stderr)
        return 1


if __name__ == "__main__":
    sys.exit(main())
