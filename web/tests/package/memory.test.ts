import assert from "node:assert/strict";
import { describe, it } from "node:test";
import { setImmediate } from "node:timers/promises";
import { VideoParams } from "videoparams";
import { parseInChunks, streamNamed } from "./streams.js";

const { codec, bytes } = streamNamed("avc-baseline.h264");
const handles = 10000;

async function growth(makeHandle: (videoParams: VideoParams) => void): Promise<number> {
    const videoParams = await VideoParams.load();
    let before = 0;
    for (let i = 0; i < handles; ++i) {
        makeHandle(videoParams);
        if (i % 100 !== 99) continue;
        globalThis.gc?.();
        await setImmediate();
        if (i === 999) before = videoParams.memorySize;
    }
    return videoParams.memorySize - before;
}

describe("Memory does not grow", () => {
    it("with 10,000 handles that are disposed of", async () => {
        const grown = await growth((videoParams) => {
            using parser = videoParams.parser(codec);
            using userData = videoParams.userData(codec);
            const [first] = parseInChunks(parser, bytes, bytes.length);
            parser.testSample(first!.data);
            userData.add(first!.data, "text");
        });
        assert.equal(grown, 0);
    });

    it("without end with 10,000 handles that are forgotten", async () => {
        const grown = await growth((videoParams) => {
            videoParams.parser(codec).push(bytes);
            videoParams.userData(codec);
        });
        assert.ok(grown < 64e6, `${grown} bytes`);
    });
});
