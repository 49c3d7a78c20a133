// User data as a person reads it: a time, text, or hex.

import { hex } from "./dom.js";

// include/videoparams/timestamp.h
const timestampMark = [0x56, 0x50, 0x53, 0x54, 0x41, 0x4d, 0x50, 0x00, 1];
const clocks = ["UTC", "monotonic", "pts", "running time", "reference"];

export function describePayload(payload: Uint8Array): string {
    return timeOf(payload) ?? textOf(payload) ?? [...payload].map((byte) => hex(byte)).join(" ");
}

function timeOf(payload: Uint8Array): string | null {
    if (payload.length < 24 || !timestampMark.every((byte, at) => payload[at] === byte)) return null;
    const nanoseconds = new DataView(payload.buffer, payload.byteOffset).getBigInt64(16);
    const clock = clocks[payload[9]!] ?? `clock ${payload[9]}`;
    if (clock !== "UTC") return `${clock} ${nanoseconds} ns`;
    const date = new Date(Number(nanoseconds / 1000000n));
    const isDate = !Number.isNaN(date.valueOf());
    return isDate ? `${date.toISOString()} (UTC, ${nanoseconds} ns)` : `UTC ${nanoseconds} ns`;
}

// Null if it is no text. The end may be cut in a character.
function textOf(payload: Uint8Array): string | null {
    const text = new TextDecoder().decode(payload);
    const isText = payload.length > 0 && !/[\u0000-\u0008\u000e-\u001f]|\ufffd(?!$)/.test(text.replace(/\0+$/, ""));
    return isText ? text.replace(/\0+$/, "") : null;
}
