import assert from "node:assert/strict";
import { readFileSync, readdirSync } from "node:fs";
import { join } from "node:path";
import { describe, it } from "node:test";
import type { Codec } from "videoparams";
import { VideoParams, VideoParamsError } from "videoparams";
import { parseInChunks, randomNumbers, streams } from "./streams.js";

const videoParams = await VideoParams.load();
const corpus = join(process.env["VIDEOPARAMS_PROJECT"] ?? "", "fuzz/corpus");

// Any answer will do but a module that fails.
function attempt(task: () => unknown): void {
    try {
        task();
    } catch (error) {
        assert.ok(error instanceof VideoParamsError && error.reason !== "lost", String(error));
    }
}

function useEverything(codec: Codec, bytes: Uint8Array, chunkSize: number): void {
    using parser = videoParams.parser(codec);
    using userData = videoParams.userData(codec);
    attempt(() => parseInChunks(parser, bytes, chunkSize));
    attempt(() => parser.units(bytes));
    attempt(() => parser.parameterSets(bytes));
    attempt(() => parser.pictureType(bytes));
    attempt(() => parser.testSample(bytes));
    attempt(() => parser.setParameterSets({ sps: bytes, pps: bytes }));
    attempt(() => userData.get(userData.add(bytes, bytes.subarray(0, 40))));
    attempt(() => userData.remove(bytes));
    attempt(() => videoParams.detectCodec(bytes));
    attempt(() => videoParams.decodeTimestamp(bytes));
}

function damage(bytes: Uint8Array, random: Generator<number, never>): Uint8Array {
    const next = (limit: number): number => random.next().value % limit;
    const damaged = bytes.slice(0, next(2) ? bytes.length : next(bytes.length));
    for (let changes = next(20); changes > 0 && damaged.length > 0; --changes) {
        const at = next(damaged.length);
        if (next(3)) damaged[at] = next(256);
        else damaged.copyWithin(at, next(damaged.length), damaged.length - next(64));
    }
    return damaged;
}

describe("Damaged input never traps the module", () => {
    it("over the inputs that the fuzzers keep", () => {
        for (const folder of readdirSync(corpus)) {
            for (const name of readdirSync(join(corpus, folder))) {
                const bytes = readFileSync(join(corpus, folder, name));
                useEverything(bytes.length % 2 ? "h264" : "h265", bytes, 1 + (bytes.length % 97));
            }
        }
    });

    it("over 3,000 streams with damage", () => {
        const random = randomNumbers(2463534242);
        for (let round = 0; round < 3000; ++round) {
            const { codec, bytes } = streams[round % streams.length]!;
            useEverything(codec, damage(bytes, random), 1 + (random.next().value % 5000));
        }
    });
});
