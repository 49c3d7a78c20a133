#!/usr/bin/env python3
"""Cut a stream to what a test is about: drop units, change where it begins, turn a CRA picture into a BLA one."""

import argparse
import sys
from pathlib import Path

import annexb


def without_repeated_headers(units):
    seen = set()
    for unit in units:
        if unit.is_parameter_set:
            if unit.payload in seen:
                continue
            seen.add(unit.payload)
        yield unit


def from_second_key_picture(units):
    """Begin with the parameter sets before the second IDR or IRAP picture."""
    keys = [i for i, unit in enumerate(units) if unit.is_key_slice and starts_picture(unit)]
    first = keys[1]
    while units[first - 1].may_open_access_unit:
        first -= 1
    return units[first:]


def starts_picture(unit):
    """first_mb_in_slice 0 and first_slice_segment_in_pic_flag 1 both begin with a set bit."""
    return bool(unit.payload[1 if unit.codec == "h264" else 2] & 0x80)


def with_second_cra_as_bla(units):
    pictures = 0
    for unit in units:
        if unit.type == 21:
            pictures += starts_picture(unit)
            if pictures == 2:
                data = bytearray(unit.data)
                data[unit.header_offset] = 16 << 1
                unit = annexb.NalUnit(bytes(data), unit.header_offset, unit.codec)
        yield unit


def with_fixed_sps(units):
    """x265 writes a vui_hrd_parameters_present_flag into a VUI without timing; the flags after it are zero too,
    so the bit before the stop bit is as good a one to take out."""
    for unit in units:
        if unit.type == 33:
            bits = "".join(f"{byte:08b}" for byte in unit.payload.replace(b"\0\0\3", b"\0\0")).rstrip("0")
            bits = bits[:-2] + "1"
            bits += "0" * (-len(bits) % 8)
            payload = b""
            for byte in (int(bits[i : i + 8], 2) for i in range(0, len(bits), 8)):
                payload += b"\3" if byte <= 3 and payload.endswith(b"\0\0") else b""
                payload += bytes([byte])
            unit = annexb.NalUnit(unit.data[: unit.header_offset] + payload, unit.header_offset, unit.codec)
        yield unit


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("input", type=Path)
    parser.add_argument("output", type=Path)
    parser.add_argument("--drop-user-data", action="store_true")
    parser.add_argument("--headers-once", action="store_true")
    parser.add_argument("--from-second-key-picture", action="store_true")
    parser.add_argument("--second-cra-as-bla", action="store_true")
    parser.add_argument("--fix-sps-without-timing", action="store_true")
    options = parser.parse_args()

    units = annexb.nal_units(options.input.read_bytes(), annexb.codec_of(options.output))
    if options.drop_user_data:
        units = [unit for unit in units if not unit.is_user_data]
    if options.from_second_key_picture:
        units = from_second_key_picture(units)
    if options.second_cra_as_bla:
        units = with_second_cra_as_bla(units)
    if options.fix_sps_without_timing:
        units = with_fixed_sps(units)
    if options.headers_once:
        units = without_repeated_headers(units)
    options.output.write_bytes(b"".join(unit.data for unit in units))


if __name__ == "__main__":
    sys.exit(main())
