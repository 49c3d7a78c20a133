import assert from "node:assert/strict";
import { describe, it } from "node:test";
import type { AccessUnit, Parser, SampleTest, Sequence } from "videoparams";
import { VideoParams } from "videoparams";
import type { NativeReport, Stream } from "./streams.js";
import { hash, nativeFacts, parseInChunks, streams } from "./streams.js";

const videoParams = await VideoParams.load();
const payload = new TextEncoder().encode("take \0\0\x01 7\0");

function fieldsOf(sequence: Sequence | null): number[] {
    if (sequence === null) return new Array<number>(11).fill(0);
    const { width, height, frameRate, colour } = sequence;
    const signal = [colour?.videoFormat ?? 5, Number(colour?.fullRange ?? 0), Number(colour?.described ?? 0)];
    const description = [colour?.primaries ?? 2, colour?.transfer ?? 2, colour?.matrix ?? 2];
    const rate = [frameRate?.numerator ?? 0, frameRate?.denominator ?? 0];
    return [width, height, ...rate, Number(colour !== null), ...signal, ...description];
}

// Where nothing is coded, the library writes 0 or the value that then holds.
function comparable([width, height, numerator, denominator, isPresent, ...colour]: number[]): unknown {
    return [width, height, numerator, denominator, isPresent, isPresent ? colour : null];
}

function bitsOf({ error, isFrame, isIntra, known }: SampleTest): number[] {
    return [Number(error), Number(isFrame), Number(isIntra), known ? 0 : -1];
}

function compareQueries(parser: Parser, { data }: AccessUnit, expected: NativeReport): void {
    if (parser.codec === "h265") return;
    assert.equal(parser.pictureType(data)?.value ?? -1, expected.type);
    assert.deepEqual(bitsOf(parser.testSample(data)), expected.test);
}

function compareReports(stream: Stream, chunkSize: number): void {
    using parser = videoParams.parser(stream.codec);
    using queries = videoParams.parser(stream.codec);
    using userData = videoParams.userData(stream.codec);
    const expected = nativeFacts(stream).reports;
    const found = parseInChunks(parser, stream.bytes, chunkSize);
    assert.equal(found.length, expected.length);
    found.forEach((unit, index) => {
        const report = expected[index]!;
        assert.equal(unit.data.length, report.size);
        assert.equal(hash(unit.data), report.hash);
        assert.equal(Number(unit.keyFrame), report.keyFrame);
        assert.equal(Number(unit.sequence !== null), report.valid);
        assert.deepEqual(comparable(fieldsOf(unit.sequence)), comparable(report.sequence));
        compareQueries(queries, unit, report);
        assert.equal(hash(userData.add(unit.data, payload)), report.added);
        assert.equal(userData.get(unit.data)?.length ?? -1, report.carried);
        assert.equal(hash(userData.remove(unit.data)), report.removed);
    });
}

describe("The package agrees with the native library", () => {
    for (const stream of streams) {
        it(`on access units, queries and edits of ${stream.name}`, () => compareReports(stream, 0x100000));

        it(`on the units of ${stream.name}`, () => {
            using parser = videoParams.parser(stream.codec);
            const expected = nativeFacts(stream);
            const found = parser.units(stream.bytes);
            assert.deepEqual(
                found.map(({ offset, data, slice }) => [
                    offset,
                    data.length,
                    Number(slice !== null),
                    slice?.length ?? 0,
                ]),
                expected.units,
            );
            assert.equal(Buffer.compare(Buffer.concat(found.map(({ data }) => data)), stream.bytes), 0);
            if (stream.codec === "h265") return;
            const { sps, pps } = parser.parameterSets(stream.bytes);
            assert.deepEqual([hash(sps), hash(pps)], expected.sets);
        });
    }
});

describe("Chunks may be cut anywhere", () => {
    for (const chunkSize of [1, 2, 3, 5, 64, 1000, 65536]) {
        it(`into pieces of ${chunkSize} bytes`, () => {
            for (const stream of streams.filter(({ name }) => /-(aud|slices|size-change|paff|open-gop)\./.test(name)))
                compareReports(stream, chunkSize);
        });
    }

    it("from a web stream, an iterable and a WebCodecs chunk", async () => {
        const { codec, bytes } = streams[0]!;
        using parser = videoParams.parser(codec);
        const sizes = parseInChunks(parser, bytes, bytes.length).map(({ data }) => data.length);
        const encodedChunk = { byteLength: bytes.length, copyTo: (to: Uint8Array) => to.set(bytes) };
        for (const source of [new Blob([bytes.slice()]).stream(), [bytes], [encodedChunk]]) {
            const found: number[] = [];
            for await (const { data } of parser.parse(source)) found.push(data.length);
            assert.deepEqual(found, sizes);
        }
    });
});
