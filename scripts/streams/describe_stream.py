#!/usr/bin/env python3
"""Write NAME.json beside a stream: what ffprobe and a plain walk of its NAL units report.

Access units are those of the standards: of a field pair each field is one, and a key frame holds an IDR (H.264) or
IRAP (H.265) slice.
"""

import json
import re
import subprocess
import sys
from fractions import Fraction
from itertools import accumulate
from pathlib import Path

import annexb

SPS_TYPE = {"h264": 7, "hevc": 33}
COLOUR_DEFAULTS = {
    "video_signal_type_present_flag": 0,
    "video_format": 5,
    "video_full_range_flag": 0,
    "colour_description_present_flag": 0,
    "colour_primaries": 2,
    "transfer_characteristics": 2,
    "matrix_coefficients": 2,
}
TRACE_FIELD = re.compile(r"\[trace_headers @ [^]]*\] \d+ +([a-z0-9_\[\]]+) .*= (-?\d+)$")
TRACE_PACKET = re.compile(r"\[trace_headers @ [^]]*\] Packet: ")


def run(*command):
    result = subprocess.run(command, check=True, capture_output=True, text=True)
    return result.stdout, result.stderr


def probe(path):
    entries = "-show_streams", "-show_packets", "-count_frames"
    out, err = run("ffprobe", "-v", "error", "-threads", "1", *entries, "-of", "json", str(path))
    return json.loads(out), err


def traced_units(path):
    """The syntax elements of every unit, in stream order, as ffmpeg's trace_headers prints them."""
    command = ["ffmpeg", "-hide_banner", "-nostats", "-i", str(path), "-c", "copy"]
    _, err = run(*command, "-bsf:v", "trace_headers", "-f", "null", "-")
    units = []
    in_packets = False
    for line in err.splitlines():
        in_packets = in_packets or bool(TRACE_PACKET.match(line))
        match = TRACE_FIELD.match(line)
        if not in_packets or not match:
            continue
        name, value = match.group(1), int(match.group(2))
        if name == "forbidden_zero_bit":
            units.append({})
        units[-1].setdefault(name, value)
    return units


def avc_starts_picture(unit, previous):
    """First slice of a primary coded picture (H.264 7.4.1.2.4)."""
    a, b = unit.syntax, previous.syntax
    same = ["frame_num", "pic_parameter_set_id", "field_pic_flag", "bottom_field_flag", "idr_pic_id"]
    same += ["pic_order_cnt_lsb", "delta_pic_order_cnt_bottom", "delta_pic_order_cnt[0]", "delta_pic_order_cnt[1]"]
    return (
        any(a.get(name) != b.get(name) for name in same)
        or (a["nal_ref_idc"] == 0) != (b["nal_ref_idc"] == 0)
        or (unit.type == 5) != (previous.type == 5)
    )


def hevc_starts_picture(unit, _):
    return unit.syntax["first_slice_segment_in_pic_flag"] == 1


def slice_letter(unit):
    if unit.codec == "h264":
        return "PBI"[unit.syntax["slice_type"] % 5]
    return "BPI"[unit.syntax["slice_type"]]


def structure_letter(unit):
    if not unit.syntax.get("field_pic_flag"):
        return "F"
    return "B" if unit.syntax["bottom_field_flag"] else "T"


def frame_rate(sps, codec):
    """An H.264 frame is two ticks, an H.265 picture one. None where the SPS gives no timing."""
    prefix, ticks = ("", 2) if codec == "h264" else ("vui_", 1)
    if prefix + "time_scale" not in sps:
        return None
    rate = Fraction(sps[prefix + "time_scale"], ticks * sps[prefix + "num_units_in_tick"])
    return f"{rate.numerator}/{rate.denominator}"


def describe(path):
    codec = annexb.codec_of(path)
    data = path.read_bytes()
    units = annexb.nal_units(data, codec)
    traced = traced_units(path)
    if [unit.type for unit in units] != [syntax["nal_unit_type"] for syntax in traced]:
        raise ValueError("ffmpeg sees other NAL units than the walk of the start codes")
    for unit, syntax in zip(units, traced):
        unit.syntax = syntax
    groups = annexb.access_units(units, avc_starts_picture if codec == "h264" else hevc_starts_picture)
    slices = [[unit for unit in group if unit.is_slice] for group in groups]
    sizes = [sum(len(unit.data) for unit in group) for group in groups]
    if sum(sizes) != len(data):
        raise ValueError("the access units do not add up to the file")

    document, errors = probe(path)
    if errors:
        raise ValueError(f"does not decode cleanly: {errors.strip()}")
    video = document["streams"][0]
    packets = document["packets"]
    check_packets([int(packet["size"]) for packet in packets], sizes)
    sps = next(unit.syntax for unit in units if unit.type == SPS_TYPE[codec])
    return {
        "accessUnits": {
            "keyFrames": [i for i, group in enumerate(slices) if any(unit.is_key_slice for unit in group)],
            "nalUnitTypes": [" ".join(str(unit.type) for unit in group) for group in groups],
            "number": len(groups),
            "sizes": sizes,
            "sliceTypes": "".join(slice_letter(group[0]) for group in slices),
            "structures": "".join(structure_letter(group[0]) for group in slices),
        },
        "colour": {name: sps.get(name, default) for name, default in COLOUR_DEFAULTS.items()},
        "fileSize": len(data),
        "height": video["height"],
        "sequences": sequences(groups),
        "width": video["width"],
    }


def check_packets(packet_sizes, unit_sizes):
    """ffprobe's packets are the access units, except that it may leave out the first zero of a 4-byte start code."""
    shifts = {p - u for p, u in zip(accumulate(packet_sizes), accumulate(unit_sizes))}
    if len(packet_sizes) != len(unit_sizes) or not shifts <= {0, 1}:
        raise ValueError("ffprobe's packets are not the access units")


def sequences(groups):
    """Each SPS that changes the cropped picture size or the frame rate, with the access unit that it comes with."""
    changes = []
    previous = None
    for index, group in enumerate(groups):
        for unit in group:
            if unit.type == SPS_TYPE[unit.codec]:
                width, height = cropped_size(unit)
                rate = frame_rate(unit.syntax, unit.codec)
                if (width, height, rate) != previous:
                    previous = (width, height, rate)
                    changes.append({"accessUnit": index, "frameRate": rate, "height": height, "width": width})
    return changes


def cropped_size(unit):
    s = unit.syntax
    chroma = s.get("chroma_format_idc", 1)
    unit_x = 2 if chroma in (1, 2) else 1
    unit_y = 2 if chroma == 1 else 1
    if unit.codec == "h264":
        field_factor = 2 - s["frame_mbs_only_flag"]
        width = 16 * (s["pic_width_in_mbs_minus1"] + 1)
        height = 16 * field_factor * (s["pic_height_in_map_units_minus1"] + 1)
        unit_y *= field_factor
        names = ["frame_crop_%s_offset" % side for side in ("left", "right", "top", "bottom")]
    else:
        width = s["pic_width_in_luma_samples"]
        height = s["pic_height_in_luma_samples"]
        names = ["conf_win_%s_offset" % side for side in ("left", "right", "top", "bottom")]
    left, right, top, bottom = (s.get(name, 0) for name in names)
    return [width - unit_x * (left + right), height - unit_y * (top + bottom)]


def main():
    for name in sys.argv[1:]:
        path = Path(name)
        try:
            description = describe(path)
        except (ValueError, subprocess.CalledProcessError) as error:
            sys.exit(f"{path.name}: {error}")
        lines = [f'"{key}": {json.dumps(value, sort_keys=True)}' for key, value in sorted(description.items())]
        path.with_suffix(".json").write_text("{\n" + ",\n".join(lines) + "\n}\n")


if __name__ == "__main__":
    sys.exit(main())
