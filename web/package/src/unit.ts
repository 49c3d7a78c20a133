import type { Codec } from "./codec.js";
import { numberOfCodec } from "./codec.js";
import type { Module } from "./module.js";

/** The `slice_type` of an H.264 slice (ITU-T H.264, Table 7-6): 5 to 9 say that all slices of the picture are alike. */
export interface SliceType {
    /** As coded. Values above 9 are errors of the stream. */
    value: number;
    /** `P`, `B`, `I`, `SP`, `SI`, or an empty string for a value above 9. */
    name: string;
}

/** What is measured of an H.264 slice. */
export interface SliceHeader {
    /** Null if it cannot be read. */
    type: SliceType | null;
    /**
     * Bytes from the one after the NAL unit header up to the picture order count, emulation prevention included: less
     * than the whole slice header.
     */
    length: number;
}

/** One NAL unit of a buffer. */
export interface Unit {
    /** Its bytes with the start code: a view of the buffer. */
    data: Uint8Array;
    /** Where it begins in the buffer. */
    offset: number;
    /** 3 or 4. */
    startCodeLength: number;
    /** `nal_unit_type`, or null if the unit is shorter than its header. */
    type: number | null;
    /** The standard's name of the type. */
    typeName: string;
    /** Of slices of types 1, 2 and 5 in H.264; otherwise null. */
    slice: SliceHeader | null;
}

const sliceTypeNames = ["P", "B", "I", "SP", "SI", "P", "B", "I", "SP", "SI"];

/** @internal */
export function sliceTypeOf(value: number): SliceType | null {
    return value < 0 ? null : { value, name: sliceTypeNames[value] ?? "" };
}

// The 32-bit fields of a UnitRecord.
const recordSize = 5;

/** Gives units their names, each asked for once. @internal */
export class UnitReader {
    readonly #names = new Map<number, string>();

    constructor(
        private readonly module: Module,
        private readonly codec: Codec,
    ) {}

    /** Reads `count` units that were found in `data`. */
    read(data: Uint8Array, records: number, count: number): Unit[] {
        const fields = this.module.words(records, recordSize * count).slice();
        const units: Unit[] = [];
        for (let at = 0; at < fields.length; at += recordSize) units.push(this.#unit(data, fields, at));
        return units;
    }

    #unit(data: Uint8Array, fields: Uint32Array, at: number): Unit {
        const offset = fields[at] ?? 0;
        const size = fields[at + 1] ?? 0;
        const isSlice = fields[at + 2] !== 0;
        const unit = data.subarray(offset, offset + size);
        const startCodeLength = unit[2] === 1 ? 3 : 4;
        const type = this.#typeOf(unit, startCodeLength);
        return {
            data: unit,
            offset,
            startCodeLength,
            type,
            typeName: type === null ? "" : this.#nameOf(type),
            slice: isSlice ? { type: sliceTypeOf((fields[at + 4] ?? 0) | 0), length: fields[at + 3] ?? 0 } : null,
        };
    }

    #typeOf(unit: Uint8Array, startCodeLength: number): number | null {
        const isH264 = this.codec === "h264";
        if (unit.length < startCodeLength + (isH264 ? 1 : 2)) return null;
        const first = unit[startCodeLength] ?? 0;
        return isH264 ? first & 0x1f : (first >> 1) & 0x3f;
    }

    #nameOf(type: number): string {
        let name = this.#names.get(type);
        if (name === undefined) {
            name = this.module.call((exports) =>
                this.module.text(exports.UnitTypeName(numberOfCodec(this.codec), type)),
            );
            this.#names.set(type, name);
        }
        return name;
    }
}
