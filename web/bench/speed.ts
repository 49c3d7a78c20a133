// The package's speed against that of the native library, on the same stream in the same run.
//
//     node dist/bench/speed.js

import { execFileSync } from "node:child_process";
import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import type { Codec } from "videoparams";
import { VideoParams } from "videoparams";
import { randomNumbers, streamNamed } from "../tests/package/streams.js";

interface Speed {
    search: number;
    analysis: number;
}

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

// Bytes a second of the best round, by processor time, as the native host measures.
function measure(bytesPerRound: number, task: () => void): number {
    let best = Infinity;
    for (let sum = 0; sum < 1e6;) {
        const before = process.cpuUsage();
        task();
        const { user, system } = process.cpuUsage(before);
        best = Math.min(best, user + system);
        sum += user + system;
    }
    return (bytesPerRound * 1e6) / best;
}

function measurePackage(codec: Codec, stream: Uint8Array, videoParams: VideoParams): Speed {
    using parser = videoParams.parser(codec);
    return {
        search: measure(stream.length, () => parser.units(stream)),
        analysis: measure(stream.length, () => {
            for (let at = 0; at < stream.length; at += chunkSize) parser.push(stream.subarray(at, at + chunkSize));
            parser.flush();
        }),
    };
}

function best(one: Speed, other: Speed): Speed {
    return { search: Math.max(one.search, other.search), analysis: Math.max(one.analysis, other.analysis) };
}

function describeSpeed(what: string, own: number, native: number): string {
    const [here, there] = [own, native].map((speed) => `${(speed / 1e9).toFixed(2)} GB/s`);
    return `${what.padEnd(20)} ${here} of ${there}: ${(own / native).toFixed(2)}`;
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
    let native: Speed = { search: 0, analysis: 0 };
    let own = native;
    for (let turn = 0; turn < turns; ++turn) {
        const text = execFileSync(host, ["speed", codec, path], { encoding: "utf8" });
        native = best(native, JSON.parse(text) as Speed);
        own = best(own, measurePackage(codec, stream, videoParams));
    }
    console.log(describeSpeed(`${codec} search`, own.search, native.search));
    console.log(describeSpeed(`${codec} analysis`, own.analysis, native.analysis));
}
rmSync(folder, { recursive: true });
