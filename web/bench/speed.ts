// The package's speed against that of the native library, on the same stream in the same run.
//
//     node --expose-gc dist/bench/speed.js

import { execFileSync } from "node:child_process";
import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import type { ChunkOptions, Codec } from "videoparams";
import { VideoParams } from "videoparams";
import { randomNumbers, streamNamed } from "../tests/package/streams.js";

// Bytes a second, by what was done.
type Speeds = Record<string, number>;

const host = process.env["VIDEOPARAMS_HOST"] ?? "";
const chunkSize = 0x100000;
const turns = 4;

// A stream with units of a usual size: the slices of a small one, made longer by bytes that look coded.
function makeStream(name: string, codec: Codec, videoParams: VideoParams): Uint8Array {
    using parser = videoParams.parser(codec);
    const random = randomNumbers(88172645);
    const coded = Uint8Array.from({ length: 60000 }, () => (random.next().value % 255) | 2);
    const pieces = parser.units(streamNamed(name).bytes).flatMap(({ data, type }) => {
        const isSlice = codec === "h264" ? type === 1 || type === 5 : (type ?? 99) < 32;
        return isSlice ? [data, coded] : [data];
    });
    const once = Buffer.concat(pieces);
    return Buffer.concat(new Array<Uint8Array>(Math.ceil(64e6 / once.length)).fill(once));
}

// Bytes a second of the best round, by processor time, as the native host measures. Each measurement begins without
// the garbage of the one before.
function measure(bytesPerRound: number, prepare: () => Uint8Array[], task: (chunks: Uint8Array[]) => void): number {
    let best = Infinity;
    globalThis.gc?.();
    for (let sum = 0; sum < 1e6;) {
        const chunks = prepare();
        const before = process.cpuUsage();
        task(chunks);
        const { user, system } = process.cpuUsage(before);
        best = Math.min(best, user + system);
        sum += user + system;
    }
    return (bytesPerRound * 1e6) / best;
}

function chunksOf(stream: Uint8Array): Uint8Array[] {
    const count = Math.ceil(stream.length / chunkSize);
    return Array.from({ length: count }, (_, index) => stream.subarray(index * chunkSize, (index + 1) * chunkSize));
}

function measurePackage(codec: Codec, stream: Uint8Array, videoParams: VideoParams): Speeds {
    using parser = videoParams.parser(codec);
    const analyse = (chunks: Uint8Array[], options: ChunkOptions): void => {
        for (const chunk of chunks) parser.push(chunk, options);
        parser.flush();
    };
    const ownChunks = () => chunksOf(stream).map((chunk) => new Uint8Array(chunk));
    return {
        search: measure(
            stream.length,
            () => [stream],
            () => parser.units(stream),
        ),
        "analysis, chunks copied": measure(
            stream.length,
            () => chunksOf(stream),
            (chunks) => analyse(chunks, {}),
        ),
        // As the native library does: what it returns are views.
        "analysis, chunks transferred": measure(stream.length, ownChunks, (chunks) =>
            analyse(chunks, { transfer: true }),
        ),
    };
}

function best(one: Speeds, other: Speeds): Speeds {
    return Object.fromEntries(Object.entries(other).map(([name, speed]) => [name, Math.max(speed, one[name] ?? 0)]));
}

function describeSpeed(what: string, own: number, native: number): string {
    const [here, there] = [own, native].map((speed) => `${(speed / 1e9).toFixed(2)} GB/s`);
    return `${what.padEnd(35)} ${here} of ${there}: ${(own / native).toFixed(2)}`;
}

const folder = mkdtempSync(join(tmpdir(), "videoparams-"));
const videoParams = await VideoParams.load();
for (const [name, codec] of [
    ["avc-baseline.h264", "h264"],
    ["hevc-aud.h265", "h265"],
] as const) {
    const stream = makeStream(name, codec, videoParams);
    const path = join(folder, name);
    writeFileSync(path, stream);
    // In turns, and the best of each: other work on the machine slows down either of them.
    let native: Speeds = {};
    let own: Speeds = {};
    for (let turn = 0; turn < turns; ++turn) {
        const text = execFileSync(host, ["speed", codec, path], { encoding: "utf8" });
        native = best(native, JSON.parse(text) as Speeds);
        own = best(own, measurePackage(codec, stream, videoParams));
    }
    for (const [name, speed] of Object.entries(own))
        console.log(describeSpeed(`${codec} ${name}`, speed, native[name.replace(/,.*/, "")]!));
}
rmSync(folder, { recursive: true });
