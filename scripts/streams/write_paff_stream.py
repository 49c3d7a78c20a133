#!/usr/bin/env python3
"""Write an H.264 stream that mixes field pairs and frames picture by picture (PAFF).

x264 codes interlaced video as MBAFF frames only, so this stream is written bit by bit: intra pictures are
made of I_PCM macroblocks, all others of skipped ones.
"""

import argparse
import sys
from pathlib import Path

WIDTH_MBS = 4
FRAME_HEIGHT_MBS = 4
MAX_FRAME_NUM_BITS = 4
POC_LSB_BITS = 6
POC_PER_FRAME = 4
I_PCM_IN_I_SLICE = 25

# Each entry is a frame: "pair" (top field first), "pair-bottom-first" or "frame"; idr, i or p (of a pair: its first
# field, the second is p); whether it is a reference; slices a picture.
FRAMES = [
    ("pair", "idr", True, 2),
    ("pair", "p", True, 1),
    ("frame", "p", True, 1),
    ("pair", "p", False, 1),
    ("pair", "i", True, 1),
    ("pair-bottom-first", "p", True, 2),
    ("frame", "p", False, 1),
    ("pair", "idr", True, 1),
    ("frame", "p", True, 2),
    ("pair", "p", True, 1),
    ("frame", "idr", True, 2),
    ("pair", "p", True, 2),
    ("frame", "p", False, 1),
]


class BitWriter:
    def __init__(self):
        self.bits = []

    def u(self, count, value):
        self.bits += [(value >> shift) & 1 for shift in range(count - 1, -1, -1)]
        return self

    def ue(self, value):
        length = (value + 1).bit_length()
        return self.u(2 * length - 1, value + 1)

    def se(self, value):
        return self.ue(2 * value - 1 if value > 0 else -2 * value)

    def align(self):
        self.u(-len(self.bits) % 8, 0)

    def rbsp(self):
        self.u(1, 1)
        self.align()
        return bytes(int("".join(map(str, self.bits[i : i + 8])), 2) for i in range(0, len(self.bits), 8))


def nal_unit(nal_ref_idc, nal_unit_type, rbsp):
    payload = bytearray()
    for byte in rbsp:
        if byte <= 3 and payload[-2:] == b"\x00\x00":
            payload.append(3)
        payload.append(byte)
    return b"\x00\x00\x00\x01" + bytes([nal_ref_idc << 5 | nal_unit_type]) + bytes(payload)


def sequence_parameter_set(poc_type):
    w = BitWriter().u(8, 77).u(8, 0).u(8, 30)  # Main profile, level 3
    w.ue(0).ue(MAX_FRAME_NUM_BITS - 4).ue(poc_type)
    if poc_type == 0:
        w.ue(POC_LSB_BITS - 4)
    else:
        w.u(1, 0)  # delta_pic_order_always_zero_flag
        w.se(POC_PER_FRAME // 2).se(1)  # offset_for_non_ref_pic, offset_for_top_to_bottom_field
        w.ue(1).se(POC_PER_FRAME)  # a cycle of one offset_for_ref_frame
    w.ue(2).u(1, 0)  # max_num_ref_frames, gaps_in_frame_num_value_allowed_flag
    w.ue(WIDTH_MBS - 1).ue(FRAME_HEIGHT_MBS // 2 - 1)  # map units are pairs of rows
    w.u(1, 0).u(1, 0).u(1, 1)  # frame_mbs_only_flag, mb_adaptive_frame_field_flag, direct_8x8_inference_flag
    w.u(1, 1).ue(0).ue(1).ue(0).ue(1)  # cropping left, right, top, bottom: 2 columns and 4 rows
    w.u(1, 1).u(4, 0)  # VUI: no aspect ratio, overscan, video signal type, chroma location
    w.u(1, 1).u(32, 1).u(32, 50).u(1, 1)  # timing, fixed_frame_rate_flag
    w.u(4, 0)  # no HRD (two), pic_struct, bitstream restriction
    return nal_unit(3, 7, w.rbsp())


def picture_parameter_set():
    w = BitWriter().ue(0).ue(0)
    w.u(1, 0).u(1, 1)  # CAVLC, bottom_field_pic_order_in_frame_present_flag
    w.ue(0).ue(0).ue(0)  # num_slice_groups_minus1, num_ref_idx_l0_default_active_minus1, the same of l1
    w.u(3, 0).se(0).se(0).se(0)  # no weighted prediction; pic_init_qp, pic_init_qs, chroma_qp_index_offset
    w.u(1, 1).u(2, 0)  # deblocking_filter_control_present_flag; no constrained intra, redundant pictures
    return nal_unit(3, 8, w.rbsp())


def pcm_macroblock(w, address, picture_number):
    w.ue(I_PCM_IN_I_SLICE)
    w.align()
    column = address % WIDTH_MBS
    row = address // WIDTH_MBS
    for y in range(16):
        for x in range(16):
            w.u(8, (16 + 3 * (16 * column + x) + 2 * (16 * row + y) + 8 * picture_number) % 220 + 16)
    for plane in range(2):
        w.bits += [(96 + 24 * plane + 8 * column) >> shift & 1 for shift in range(7, -1, -1)] * 64


def picture(poc_type, structure, coding, is_reference, slices, frame_num, idr_pic_id, poc, poc_delta, number):
    """The slices of one coded picture; structure is "top", "bottom" or "frame"."""
    is_field = structure != "frame"
    macroblocks = WIDTH_MBS * (FRAME_HEIGHT_MBS // 2 if is_field else FRAME_HEIGHT_MBS)
    nal_ref_idc = (3 if coding != "p" else 2) if is_reference else 0
    data = b""
    for index in range(slices):
        first = macroblocks * index // slices
        end = macroblocks * (index + 1) // slices
        w = BitWriter().ue(first).ue(5 if coding == "p" else 7).ue(0)  # slice_type, pic_parameter_set_id
        w.u(MAX_FRAME_NUM_BITS, frame_num).u(1, is_field)
        if is_field:
            w.u(1, structure == "bottom")
        if coding == "idr":
            w.ue(idr_pic_id)
        if poc_type == 0:
            w.u(POC_LSB_BITS, poc % (1 << POC_LSB_BITS))
            if not is_field:
                w.se(1)  # delta_pic_order_cnt_bottom
        else:
            w.se(poc_delta)
            if not is_field:
                w.se(0)
        if coding == "p":
            w.u(2, 0)  # num_ref_idx_active_override_flag, ref_pic_list_modification_flag_l0
        if is_reference:
            w.u(2 if coding == "idr" else 1, 0)  # dec_ref_pic_marking: sliding window
        w.se(0).ue(1)  # slice_qp_delta, disable_deblocking_filter_idc
        if coding == "p":
            w.ue(end - first)  # mb_skip_run
        else:
            for address in range(first, end):
                pcm_macroblock(w, address, number)
        data += nal_unit(nal_ref_idc, 5 if coding == "idr" else 1, w.rbsp())
    return data


def stream(poc_type):
    data = sequence_parameter_set(poc_type) + picture_parameter_set()
    frame_num = 0
    idr_pic_id = 0
    poc = 0
    previous_was_reference = True
    for number, (structure, coding, is_reference, slices) in enumerate(FRAMES):
        if coding == "idr":
            frame_num = 0
            poc = 0
            idr_pic_id ^= 1
        elif previous_was_reference:
            frame_num = (frame_num + 1) % (1 << MAX_FRAME_NUM_BITS)
        previous_was_reference = is_reference
        common = (is_reference, slices, frame_num, idr_pic_id)
        if structure == "frame":
            data += picture(poc_type, "frame", coding, *common, poc, 0, number)
        else:
            if structure == "pair":
                fields = (("top", poc, 0), ("bottom", poc + 1, 0))
            else:
                fields = (("bottom", poc, -1), ("top", poc + 1, 1))
            for field_coding, (parity, field_poc, delta) in zip((coding, "p"), fields):
                data += picture(poc_type, parity, field_coding, *common, field_poc, delta, number)
        poc += 2
    return data


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("output", type=Path)
    parser.add_argument("--poc-type", type=int, choices=(0, 1), default=0)
    options = parser.parse_args()
    options.output.write_bytes(stream(options.poc_type))


if __name__ == "__main__":
    sys.exit(main())
