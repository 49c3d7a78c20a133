"""Makes real files: every container with both codecs and the forms that a container allows, all from ffmpeg."""

import struct
import subprocess
from dataclasses import dataclass
from pathlib import Path


@dataclass(frozen=True)
class Case:
    name: str  # of the file
    video: str  # a key of VIDEOS
    muxing: tuple = ()
    inputs: tuple = ("tone",)  # besides the video, in the order of the streams
    length_size: int = 4  # of the length fields, MP4 only
    descriptions: int = 1  # of the samples, MP4 only


X264 = ["-c:v", "libx264", "-preset", "veryfast"]
X265 = ["-c:v", "libx265", "-preset", "ultrafast"]
VIDEOS = {
    "avc": [*X264, "-g", "12", "-bf", "2"],
    "avc-p": [*X264, "-g", "12", "-bf", "0"],
    "avc-headers": [*X264, "-g", "12", "-x264-params", "repeat-headers=1:aud=1"],
    "avc-open": [*X264, "-g", "12", "-x264-params", "open-gop=1"],
    "avc-refresh": [*X264, "-g", "12", "-x264-params", "intra-refresh=1"],
    "avc-fields": [*X264, "-g", "12", "-x264-params", "tff=1"],
    "avc-tiny": [*X264, "-g", "12", "-qp", "50", "-x264-params", "slice-max-size=180", "-bsf:v", "filter_units=remove_types=6"],
    "hevc": [*X265, "-x265-params", "log-level=none:keyint=12:min-keyint=12:open-gop=0:bframes=2:repeat-headers=0"],
    "hevc-p": [*X265, "-x265-params", "log-level=none:keyint=12:min-keyint=12:bframes=0"],
    "hevc-open": [*X265, "-x265-params", "log-level=none:keyint=12:min-keyint=12:open-gop=1:bframes=3"],
    "hevc-headers": [*X265, "-x265-params", "log-level=none:keyint=12:min-keyint=12:repeat-headers=1:aud=1"],
}

FRAGMENTS = ("-movflags", "frag_keyframe+empty_moov+default_base_moof")
TWO_TONES = ("tone", "tone")

CASES = [
    *(Case(f"{video}.{extension}", video) for video in ("avc", "avc-p", "hevc") for extension in ("mp4", "mov", "mkv", "ts")),
    *(Case(f"{video}.mp4", video) for video in ("avc-headers", "avc-open", "avc-refresh", "avc-fields", "hevc-p", "hevc-open")),
    *(Case(f"{video}.mkv", video) for video in ("avc-fields", "hevc-open", "avc-refresh")),
    *(Case(f"{video}.ts", video, inputs=TWO_TONES) for video in ("avc-headers", "hevc-headers")),
    Case("avc.flv", "avc"),
    Case("avc-p.avi", "avc-p", ("-bsf:v", "h264_mp4toannexb"), ("pcm",)),
    Case("avc-p-aac.avi", "avc-p", ("-bsf:v", "h264_mp4toannexb")),
    Case("avc-p.mxf", "avc-p", ("-bsf:v", "h264_mp4toannexb"), ("pcm",)),
    Case("avc.3gp", "avc"),
    Case("avc-fragments.mp4", "avc", FRAGMENTS),
    Case("hevc-fragments.mp4", "hevc", FRAGMENTS),
    Case("avc-delay.mp4", "avc", ("-itsoffset", "0.5")),
    Case("avc-faststart.mp4", "avc", ("-movflags", "faststart")),
    Case("avc-tracks.mp4", "avc", ("-metadata:s:a:1", "language=deu"), (*TWO_TONES, "subtitles", "chapters")),
    Case("hevc-tracks.mkv", "hevc", ("-metadata:s:a:1", "language=deu"), (*TWO_TONES, "subtitles", "chapters")),
    Case("avc3.mp4", "avc-headers", ("-tag:v", "avc3")),
    Case("hev1.mp4", "hevc-headers", ("-tag:v", "hev1")),
    Case("hvc1.mp4", "hevc", ("-tag:v", "hvc1")),
    Case("hvc1.mov", "hevc-headers", ("-tag:v", "hvc1")),
    Case("rotated.mp4", "avc", ("-metadata:s:v", "rotate=90")),
    Case("length-2.mp4", "avc-tiny", length_size=2),
    Case("length-1.mp4", "avc-tiny", length_size=1),
]

# libavformat reads them, but cannot write a copy that keeps everything.
READ_ONLY = [
    *(Case(f"{codec}.{extension}", codec, ("-bsf:v", f"{name}_mp4toannexb", "-c:a", "mp2"))
      for codec, name in (("avc", "h264"), ("hevc", "hevc")) for extension in ("mpg", "vob")),
    Case("descriptions.mp4", "avc", descriptions=2),
]

SUBTITLES = "1\n00:00:00,100 --> 00:00:01,000\nFirst\n\n2\n00:00:01,200 --> 00:00:01,900\nSecond\n"
CHAPTERS = ";FFMETADATA1\ntitle=A title\n" + "".join(
    f"[CHAPTER]\nTIMEBASE=1/1000\nSTART={start}\nEND={start + 1000}\ntitle=Part {start}\n" for start in (0, 1000)
)


def run(*command):
    return subprocess.run([str(part) for part in command], check=True, stdin=subprocess.DEVNULL, capture_output=True).stdout


def ffmpeg(*arguments):
    run("ffmpeg", "-v", "error", "-y", *arguments)


class Workshop:
    """Makes files in a folder; each source is encoded once."""

    def __init__(self, folder):
        self.folder = Path(folder)
        (self.folder / "subtitles.srt").write_text(SUBTITLES)
        (self.folder / "chapters.txt").write_text(CHAPTERS)
        ffmpeg("-f", "lavfi", "-i", "sine=d=2", "-c:a", "aac", self.folder / "tone.m4a")
        ffmpeg("-f", "lavfi", "-i", "sine=d=2", "-ar", "48000", "-c:a", "pcm_s16le", self.folder / "pcm.wav")

    def video(self, name):
        path = self.folder / f"{name}.video.mkv"
        if not path.exists():
            size = "64x48" if name == "avc-tiny" else "160x120"
            ffmpeg("-f", "lavfi", "-i", f"testsrc2=s={size}:r=25:d=2", *VIDEOS[name], path)
        return path

    def make(self, case):
        path = self.folder / case.name
        sources = {"tone": "tone.m4a", "pcm": "pcm.wav", "subtitles": "subtitles.srt", "chapters": "chapters.txt"}
        offset = case.muxing[:2] if case.muxing[:1] == ("-itsoffset",) else ()
        arguments = [*offset, "-i", self.video(case.video)]
        maps = ["-map", "0:v"]
        for number, name in enumerate(case.inputs, 1):
            arguments += ["-i", self.folder / sources[name]]
            maps += ["-map_metadata", str(number)] if name == "chapters" else ["-map", str(number)]
        text = {"mp4": "mov_text", "mkv": "srt"}.get(path.suffix[1:])
        codecs = ["-c", "copy", *(["-c:s", text] if "subtitles" in case.inputs else [])]
        ffmpeg(*arguments, *maps, *codecs, *case.muxing[len(offset):], path)
        if case.length_size != 4:
            shorten_lengths(path, case.length_size)
        if case.descriptions == 2:
            add_description(path)
        return path


def shorten_lengths(path, size):
    """Length fields of fewer bytes, in place: the bytes that become free are zeros after the unit."""
    file = bytearray(path.read_bytes())
    listing = run("ffprobe", "-v", "error", "-select_streams", "v", "-show_entries", "packet=pos,size", "-of", "csv=p=0", path)
    for line in listing.decode().split():
        length, offset = map(int, line.split(",")[:2])
        end = offset + length
        while offset < end:
            (unit,) = struct.unpack_from(">I", file, offset)
            field = (unit + 4 - size).to_bytes(size, "big")
            file[offset : offset + 4 + unit] = field + file[offset + 4 : offset + 4 + unit] + bytes(4 - size)
            offset += 4 + unit
    record = file.index(b"avcC") + 4
    file[record + 4] = file[record + 4] & 0xFC | size - 1
    path.write_bytes(file)


def add_description(path):
    """A second sample description, of another level, from the second entry of the table of chunks on. The index is last."""
    file = path.read_bytes()
    entries = file.index(b"stsd") + 12
    (size,) = struct.unpack_from(">I", file, entries)
    second = bytearray(file[entries : entries + size])
    second[second.index(b"avcC") + 7] += 1
    table = file.index(b"stsc") + 8
    (count,) = struct.unpack_from(">I", file, table)
    chunks = bytearray(file[table : table + 4 + 12 * count])
    for place in range(24, len(chunks), 12):
        struct.pack_into(">I", chunks, place, 2)
    head = bytearray(file[:entries])
    struct.pack_into(">I", head, entries - 4, 2)
    for name in (b"moov", b"trak", b"mdia", b"minf", b"stbl", b"stsd"):
        box = head.index(name) - 4
        struct.pack_into(">I", head, box, struct.unpack_from(">I", head, box)[0] + size)
    path.write_bytes(head + file[entries : entries + size] + second + file[entries + size : table] + chunks + file[table + len(chunks) :])
