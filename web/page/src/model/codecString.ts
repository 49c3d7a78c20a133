// The name of a codec with its profile and level, as WebCodecs wants it (RFC 6381, ISO/IEC 14496-15 Annex E).

import type { Codec } from "../messages.js";

/** From an SPS without start code; null if it is too short. */
export function codecString(codec: Codec, sps: Uint8Array): string | null {
    const rbsp = withoutPrevention(sps.subarray(0, 64));
    return codec === "h264" ? avcString(rbsp) : hevcString(rbsp);
}

const hex = (byte: number): string => byte.toString(16).toUpperCase().padStart(2, "0");

function avcString(sps: Uint8Array): string | null {
    return sps.length < 4 ? null : `avc1.${[...sps.subarray(1, 4)].map(hex).join("")}`;
}

// profile_tier_level() begins after the unit header and one byte.
function hevcString(sps: Uint8Array): string | null {
    if (sps.length < 15) return null;
    const first = sps[3]!;
    const space = ["", "A", "B", "C"][first >> 6]!;
    const tier = first & 0x20 ? "H" : "L";
    const flags = (sps[4]! << 24) | (sps[5]! << 16) | (sps[6]! << 8) | sps[7]!;
    let reversed = 0;
    for (let bit = 0; bit < 32; ++bit) reversed |= ((flags >>> bit) & 1) << (31 - bit);
    const constraints = [...sps.subarray(8, 14)];
    while (constraints.at(-1) === 0) constraints.pop();
    const parts = [`${space}${first & 0x1f}`, (reversed >>> 0).toString(16).toUpperCase(), `${tier}${sps[14]!}`];
    return ["hev1", ...parts, ...constraints.map(hex)].join(".");
}

function withoutPrevention(bytes: Uint8Array): Uint8Array {
    return bytes.filter((byte, at) => !(byte === 3 && at >= 2 && bytes[at - 1] === 0 && bytes[at - 2] === 0));
}
