import assert from "node:assert/strict";
import { describe, it } from "node:test";
import type { Reason } from "videoparams";
import { VideoParams, VideoParamsError } from "videoparams";
import { parseInChunks, streamNamed } from "./streams.js";

const videoParams = await VideoParams.load();
const { bytes } = streamNamed("avc-slices.h264");
const delimiter = Uint8Array.of(0, 0, 0, 1, 9, 0xf0);

function expectReason(reason: Reason, task: () => unknown): void {
    assert.throws(task, (error) => error instanceof VideoParamsError && error.reason === reason);
}

describe("Errors are exceptions with a reason", () => {
    it("after dispose", () => {
        const parser = videoParams.parser("h264");
        parser.dispose();
        parser.dispose();
        expectReason("closed", () => parser.push(bytes));
        expectReason("closed", () => parser.units(bytes));
    });

    it("for the wrong codec, no bytes and no byte stream", () => {
        using parser = videoParams.parser("h265");
        using userData = videoParams.userData("h264");
        expectReason("wrong-codec", () => parser.pictureType(bytes));
        expectReason("bad-argument", () => videoParams.parser("h266" as "h265"));
        expectReason("bad-argument", () => parser.units("text" as unknown as Uint8Array));
        for (const chunk of ["text", null, undefined, 7, {}] as unknown as Uint8Array[])
            expectReason("bad-argument", () => parser.push(chunk));
        expectReason("bad-argument", () => userData.get({ byteLength: 9 } as ArrayBuffer));
        expectReason("no-start-code", () => userData.get(new Uint8Array(9).fill(7)));
        expectReason("no-start-code", () => userData.remove(new Uint8Array(9).fill(7)));
    });

    it("for a source that gives no chunks", async () => {
        using parser = videoParams.parser("h264");
        for (const source of ["text", null, 7, {}, bytes] as unknown as Uint8Array[][]) {
            await assert.rejects(
                parser.parse(source).next(),
                (error) => error instanceof VideoParamsError && error.reason === "bad-argument",
            );
        }
    });

    it("for user data without a place, and after an SEI unit that is cut short", () => {
        using userData = videoParams.userData("h264");
        expectReason("no-place", () => userData.add(delimiter, "x"));
        expectReason("malformed", () => userData.add(Uint8Array.of(0, 0, 0, 1, 6, 5, 1, 7), "x"));
    });

    it("for more than the memory holds, and the parser stays usable", () => {
        using parser = videoParams.parser("h264");
        const filler = new Uint8Array(0x4000000).fill(0x55);
        filler.set([0, 0, 0, 1, 12]);
        const count = parseInChunks(parser, bytes, 1000).length;
        parser.push(bytes);
        expectReason("out-of-memory", () => {
            for (let i = 0; i < 40; ++i) parser.push(filler);
        });
        expectReason("out-of-memory", () => parser.flush()); // its access unit is too large to hand out
        assert.equal(parseInChunks(parser, bytes, 1000).length, count);
    });
});

describe("User data", () => {
    it("comes back as it was added, also text and timestamps", () => {
        using userData = videoParams.userData("h264");
        const timestamp = { clock: "pts", nanoseconds: -1234567890123456789n } as const;
        const stamped = userData.add(bytes, videoParams.encodeTimestamp(timestamp));
        assert.deepEqual(videoParams.decodeTimestamp(userData.get(stamped)!), timestamp);
        const text = userData.get(userData.add(bytes, "Grüße"))!;
        assert.equal(new TextDecoder().decode(text), "Grüße");
        assert.equal(videoParams.decodeTimestamp(text), null);
        assert.deepEqual(userData.remove(stamped), new Uint8Array(bytes));
    });
});

describe("A parser", () => {
    it("detects the codec", () => {
        assert.equal(videoParams.detectCodec(bytes), "h264");
        assert.equal(videoParams.detectCodec(streamNamed("hevc-aud.h265").bytes), "h265");
        assert.equal(videoParams.detectCodec(new Uint8Array(100)), null);
    });

    it("reads a stream without parameter sets once it was given them", () => {
        using parser = videoParams.parser("h264");
        const { sps, pps } = parser.parameterSets(bytes);
        const slices = parser.units(bytes).filter(({ slice }) => slice !== null);
        const bare = Buffer.concat(slices.map(({ data }) => data));
        assert.equal(parseInChunks(parser, bare, 999).length, 0);
        parser.setParameterSets({ sps: sps!, pps: pps! });
        assert.equal(parseInChunks(parser, bare, 999)[0]?.sequence?.width, 176);
    });

    it("counts units that are damaged", () => {
        using parser = videoParams.parser("h264");
        const damaged = new Uint8Array(bytes);
        damaged[parser.units(bytes).at(-1)!.offset + 3] = 0xff;
        parseInChunks(parser, damaged, 1000);
        assert.equal(parser.damagedUnits, 1);
    });
});
