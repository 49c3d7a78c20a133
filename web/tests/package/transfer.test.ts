import assert from "node:assert/strict";
import { describe, it } from "node:test";
import { VideoParams, VideoParamsError } from "videoparams";
import type { Stream } from "./streams.js";
import { parseInChunks, randomNumbers, streams, streamNamed } from "./streams.js";

const videoParams = await VideoParams.load();

function compareWithCopies({ name, codec, bytes }: Stream, chunkSize: number): void {
    using copying = videoParams.parser(codec);
    using transferring = videoParams.parser(codec);
    const copies = parseInChunks(copying, bytes, chunkSize);
    const transferred = parseInChunks(transferring, bytes, chunkSize, { transfer: true });
    assert.equal(transferred.length, copies.length);
    transferred.forEach(({ data }, index) => {
        assert.equal(Buffer.compare(data, copies[index]!.data), 0, `${name}, access unit ${index}`);
    });
}

// Leaves out, repeats, moves and damages units, of which more than usual are alike.
function shuffle({ name, codec, bytes }: Stream, random: Generator<number, never>): Stream {
    const next = (limit: number): number => random.next().value % limit;
    using parser = videoParams.parser(codec);
    const units = parser.units(bytes).map(({ data }) => Buffer.from(data));
    for (let changes = next(8); changes > 0; --changes) {
        const [from, to] = [next(units.length), next(units.length)];
        if (next(4) === 0) units.splice(from, 1 + next(3));
        else if (next(3) === 0) units.splice(to, 0, ...units.slice(from, from + 1 + next(3)));
        else if (next(2) === 0) units[from] = units[to]!;
        else units[from]?.fill(next(256), 3, 3 + next(4));
        if (units.length === 0) break;
    }
    return { name, codec, path: "", bytes: Buffer.concat(units) };
}

describe("Chunks whose memory is transferred", () => {
    it("give the same access units as copied ones", () => {
        for (const stream of streams) {
            for (const chunkSize of [100, 1000, 1e6]) compareWithCopies(stream, chunkSize);
        }
    });

    it("hold all access units that lie in them", () => {
        for (const { name, codec, bytes } of streams) {
            using parser = videoParams.parser(codec);
            const found = parser.push(new Uint8Array(bytes), { transfer: true });
            const copies = found.filter(({ data }) => data.buffer.byteLength === data.length);
            // Key frames without parameter sets of their own get some.
            assert.ok(copies.length <= 2, name);
            assert.ok(!copies.some(({ data }) => Buffer.from(bytes).includes(Buffer.from(data))), name);
        }
    });

    it("hold access units of any size", () => {
        using parser = videoParams.parser("h264");
        const filler = new Uint8Array(700000).fill(0x55);
        const pieces = parser.units(streamNamed("avc-headers-once.h264").bytes).flatMap(({ data, slice }) => {
            return slice === null ? [data] : [data, filler];
        });
        const found = parser.push(new Uint8Array(Buffer.concat(pieces)), { transfer: true });
        const copies = found.filter(({ data }) => data.buffer.byteLength === data.length);
        // All but the first get parameter sets.
        assert.deepEqual(copies, found.filter(({ keyFrame }) => keyFrame).slice(1));
    });

    it("give the same access units of damaged streams", () => {
        const random = randomNumbers(362436069);
        for (let round = 0; round < 3000; ++round)
            compareWithCopies(shuffle(streams[round % streams.length]!, random), 500 + (random.next().value % 9000));
    });

    it("give the same access units if as much is left out as comes from elsewhere", () => {
        using parser = videoParams.parser("h264");
        const units = parser.units(streamNamed("avc-headers-once.h264").bytes).map(({ data }) => data);
        const [key, first, second, third] = units.filter((unit) => (unit[4]! & 0x1f) % 4 === 1);
        const [sps, pps] = [7, 8].map((type) => units.find((unit) => (unit[4]! & 0x1f) === type));
        const ppsOfUnknownSps = Uint8Array.of(0, 0, 0, 1, 0x68, 0x98, 0x80);
        const sliceOfUnknownPps = Uint8Array.of(0, 0, 0, 1, 0x61, 0xc4, 0x40);
        const sei = Uint8Array.of(0, 0, 0, 1, 6, 5, 1, 7, 0x80);
        const withoutPps = [ppsOfUnknownSps, first!, sei, pps!];
        const leftOut = [sps!, pps!, key!, first!, ...withoutPps, second!, sliceOfUnknownPps, third!, first!];
        const unreadable = new Uint8Array(first!.length).fill(0xff);
        unreadable.set(sliceOfUnknownPps);
        // Two short units, which go with the unit before them: the library takes them for one, a slice.
        const shortUnits = Uint8Array.of(0, 0, 1, 2, 0, 0, 1, 0);
        const joined = [sps!, pps!, first!, unreadable, first!, shortUnits, second!];
        for (const pieces of [leftOut, joined])
            compareWithCopies({ name: "left out", codec: "h264", path: "", bytes: Buffer.concat(pieces) }, 1e6);
    });

    it("are copied if they can change their size", { skip: !("resizable" in ArrayBuffer.prototype) }, () => {
        const { bytes, codec } = streamNamed("avc-aud.h264");
        using parser = videoParams.parser(codec);
        const chunk = Reflect.construct(ArrayBuffer, [1, { maxByteLength: bytes.length }]) as ArrayBuffer;
        (chunk as unknown as { resize: (size: number) => void }).resize(bytes.length);
        new Uint8Array(chunk).set(bytes);
        const [first] = parser.push(chunk, { transfer: true });
        assert.equal(first!.data.buffer.byteLength, first!.data.length);
        assert.equal(chunk.byteLength, bytes.length);
    });

    it("are empty afterwards, and those that cannot be transferred are not", () => {
        const { bytes, codec } = streamNamed("avc-aud.h264");
        using parser = videoParams.parser(codec);
        const chunk = new Uint8Array(bytes);
        const [first] = parser.push(chunk, { transfer: true });
        assert.equal(chunk.length, 0);
        assert.throws(
            () => parser.push(chunk),
            (error) => error instanceof VideoParamsError && error.reason === "bad-argument",
        );
        parser.flush();
        const pooled = Buffer.from("a small buffer");
        const whole = new Uint8Array(bytes.length + 1);
        whole.set(bytes, 1);
        const shared = new Uint8Array(new SharedArrayBuffer(bytes.length));
        shared.set(bytes);
        parser.push(pooled, { transfer: true });
        for (const kept of [shared, whole.subarray(1)]) {
            assert.deepEqual(parser.push(kept, { transfer: true })[0]!.data, new Uint8Array(first!.data));
            assert.equal(kept.byteLength, bytes.length);
            parser.flush();
        }
        assert.equal(pooled.toString(), "a small buffer");
    });
});
