import type { Module } from "./module.js";

/** The colour description of a sequence: elements of the VUI (ITU-T H.264 E.2.1, H.265 E.3.1) as coded. */
export interface Colour {
    /** `video_format`; 5 is unspecified. */
    videoFormat: number;
    /** `video_full_range_flag` */
    fullRange: boolean;
    /** Whether the next three are coded; if not, they are 2, unspecified. */
    described: boolean;
    /** `colour_primaries` */
    primaries: number;
    /** `transfer_characteristics` */
    transfer: number;
    /** `matrix_coefficients` */
    matrix: number;
}

/** Frames a second as a fraction. */
export interface FrameRate {
    /** `time_scale` */
    numerator: number;
    /** In H.264 twice `num_units_in_tick`, in H.265 once. May be 0. */
    denominator: number;
}

/** What a sequence parameter set says about the pictures. Values are as coded: check them before you rely on them. */
export interface Sequence {
    /** Luma samples after cropping. */
    width: number;
    /** Luma samples after cropping; in H.264 of a frame, also if the stream codes fields. */
    height: number;
    /** Null if the stream does not say. */
    frameRate: FrameRate | null;
    /** Null if the stream does not describe its colour. */
    colour: Colour | null;
}

/** One coded picture with everything that belongs to it. */
export interface AccessUnit {
    /**
     * Its NAL units with their start codes. They stay valid: a copy, or with `transfer` perhaps a view of the chunk. Its
     * `buffer` is then the whole chunk's, and stays in memory as long as one of its views.
     */
    data: Uint8Array<ArrayBuffer>;
    /** Whether it holds an IDR slice (H.264) or an IRAP slice (H.265). */
    keyFrame: boolean;
    /** Set if the access unit carries a sequence parameter set, or is an H.264 key frame whose set is known. */
    sequence: Sequence | null;
}

// The first 32-bit fields of a VideoInfo.
const infoSize = 16;
const sequenceInfoValid = 1;
const keyFrame = 2;
const accessUnitData = 3;
const accessUnitSize = 4;
const firstOfSequence = 5;

function readSequence(fields: Uint32Array): Sequence {
    const field = (index: number): number => fields[index] ?? 0;
    const hasRate = field(2) !== 0 || field(3) !== 0;
    return {
        width: field(0),
        height: field(1),
        frameRate: hasRate ? { numerator: field(2), denominator: field(3) } : null,
        colour: field(4)
            ? {
                  videoFormat: field(5),
                  fullRange: field(6) !== 0,
                  described: field(7) !== 0,
                  primaries: field(8),
                  transfer: field(9),
                  matrix: field(10),
              }
            : null,
    };
}

/** @internal Copies an access unit out of the module, or takes its bytes from where they are given. */
export function readAccessUnit(
    module: Module,
    info: number,
    given: (size: number) => Uint8Array<ArrayBuffer> | null,
): AccessUnit {
    const fields = module.words(info, infoSize);
    const place = { address: fields[accessUnitData] ?? 0, size: fields[accessUnitSize] ?? 0 };
    return {
        data: given(place.size) ?? new Uint8Array(module.bytes(place)),
        keyFrame: fields[keyFrame] !== 0,
        sequence: fields[sequenceInfoValid] ? readSequence(fields.subarray(firstOfSequence)) : null,
    };
}
