// Kinds of units, each with a colour.

import type { Codec } from "../messages.js";
import type { UnitRecords } from "../model/records.js";

export type UnitKind = "key" | "slice" | "set" | "sei" | "delimiter" | "other" | "damaged";

// The parameter sets, SEI units and delimiters by nal_unit_type.
const types: Record<Codec, { set: number[]; sei: number[]; delimiter: number[] }> = {
    h264: { set: [7, 8, 13, 15], sei: [6], delimiter: [9, 10, 11] },
    h265: { set: [32, 33, 34], sei: [39, 40], delimiter: [35, 36, 37] },
};

export function kindOf(units: UnitRecords, index: number, codec: Codec): UnitKind {
    if (units.isUnreadable(index)) return "damaged";
    if (units.isSlice(index)) return units.isKeySlice(index) ? "key" : "slice";
    const type = units.type(index);
    const { set, sei, delimiter } = types[codec];
    if (set.includes(type)) return "set";
    if (sei.includes(type)) return "sei";
    return delimiter.includes(type) ? "delimiter" : "other";
}

const sliceTypeNames = ["P", "B", "I", "SP", "SI"];

/** Of an H.264 slice_type; an empty string for a value that is none. */
export function sliceTypeName(sliceType: number): string {
    return sliceType < 0 || sliceType > 9 ? "" : sliceTypeNames[sliceType % 5]!;
}
