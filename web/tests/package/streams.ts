// The repository's streams, and what the native library says about them.

import type { AccessUnit, ChunkOptions, Codec, Parser } from "videoparams";
import { execFileSync } from "node:child_process";
import { readFileSync, readdirSync } from "node:fs";
import { join } from "node:path";

export interface Stream {
    name: string;
    path: string;
    codec: Codec;
    bytes: Uint8Array;
}

export interface NativeReport {
    size: number;
    keyFrame: number;
    hash: number;
    valid: number;
    sequence: number[];
    type: number;
    test: number[];
    added: number;
    carried: number;
    removed: number;
}

export interface NativeFacts {
    reports: NativeReport[];
    units: [offset: number, size: number, isSlice: number, headerLength: number][];
    sets: number[];
}

const project = process.env["VIDEOPARAMS_PROJECT"] ?? "";
const host = process.env["VIDEOPARAMS_HOST"] ?? "";

function readStreams(): Stream[] {
    const folder = join(project, "tests/streams");
    return readdirSync(folder)
        .filter((name) => /\.h26[45]$/.test(name))
        .map((name) => {
            const path = join(folder, name);
            return { name, path, codec: name.endsWith(".h265") ? "h265" : "h264", bytes: readFileSync(path) };
        });
}

export const streams = readStreams();

export function streamNamed(name: string): Stream {
    return streams.find((stream) => stream.name === name)!;
}

export function nativeFacts({ codec, path }: Stream): NativeFacts {
    return JSON.parse(execFileSync(host, ["facts", codec, path], { encoding: "utf8" })) as NativeFacts;
}

/** FNV-1a */
export function hash(bytes: Uint8Array | null): number {
    let value = 0x811c9dc5;
    for (const byte of bytes ?? []) value = Math.imul(value ^ byte, 0x01000193);
    return value >>> 0;
}

export function parseInChunks(
    parser: Parser,
    bytes: Uint8Array,
    chunkSize: number,
    options: ChunkOptions = {},
): AccessUnit[] {
    const found: AccessUnit[] = [];
    for (let begin = 0; begin < bytes.length; begin += chunkSize) {
        const chunk = bytes.subarray(begin, begin + chunkSize);
        found.push(...parser.push(options.transfer ? new Uint8Array(chunk) : chunk, options));
    }
    return [...found, ...parser.flush()];
}

/** Numbers that look random and are the same in every run (xorshift). */
export function* randomNumbers(seed: number): Generator<number, never> {
    for (let state = seed; ;) {
        state ^= state << 13;
        state ^= state >>> 17;
        state ^= state << 5;
        yield state >>> 0;
    }
}
