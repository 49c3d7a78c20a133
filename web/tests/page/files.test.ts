import assert from "node:assert/strict";
import { dirname } from "node:path";
import { after, before, describe, it } from "node:test";
import type { Browser } from "playwright-core";
import { Inspector, launch } from "./browser.js";
import { compare } from "./compare.js";
import { container, damaged, endOfSequence, file, repeated, stream, toolInfo, webm } from "./files.js";
import { readFileSync } from "node:fs";

let browser: Browser;
before(async () => {
    browser = await launch();
});
after(() => browser.close());

describe("The page shows what the tool says", () => {
    const makers: Record<string, () => string> = {
        "an H.264 byte stream": () => stream("avc-bframes.h264"),
        "an H.265 byte stream": () => stream("hevc-hdr10.h265"),
        fields: () => stream("avc-paff.h264"),
        MP4: () => container("film.mp4", "avc-slices.h264"),
        "fragmented MP4": () => container("fragments.mp4", "avc-aud.h264", "-movflags", "frag_keyframe+empty_moov"),
        MOV: () => container("film.mov", "hevc-bframes.h265", "-tag:v", "hvc1"),
        MKV: () => container("film.mkv", "avc-open-gop.h264", "-c:a", "aac"),
        "a damaged stream": damaged,
        "a stream whose last unit is a header alone": endOfSequence,
    };
    for (const [what, make] of Object.entries(makers)) {
        it(`of ${what}`, async () => {
            const path = make();
            const inspector = await Inspector.open(browser);
            await inspector.load(path);
            await compare(inspector, path);
            await inspector.close();
        });
    }

    // libavformat counts the first byte of a start code to the unit before.
    it("of MPEG-TS, as of the stream that is in it", async () => {
        const inspector = await Inspector.open(browser);
        const path = container("film.ts", "hevc-aud.h265", "-c:a", "aac");
        await inspector.load(path);
        await compare(inspector, stream("hevc-aud.h265"));
        assert.equal(toolInfo(path).unitCount, toolInfo(stream("hevc-aud.h265")).unitCount);
        await inspector.close();
    });
});

describe("Other files get a message that says why", () => {
    const cases: [string, () => string, RegExp][] = [
        ["an empty one", () => file("empty.h264", ""), /The file is empty/],
        ["text", () => file("notes.txt", "Not a video.\n".repeat(1000)), /no H\.264 or H\.265 video/],
        ["zeros", () => file("zeros.bin", new Uint8Array(100000)), /no H\.264 or H\.265 video/],
        ["WebM", webm, /WebM.* vp8, not H\.264 or H\.265/],
        [
            "an MP4 that is cut",
            () => file("cut.mp4", readFileSync(container("whole.mp4", "avc-aud.h264")).subarray(0, 5000)),
            /no video, or it is cut/,
        ],
        ["a folder", () => dirname(stream("avc-aud.h264")), /It is a folder/],
    ];
    for (const [what, make, message] of cases) {
        it(`such as ${what}`, async () => {
            const inspector = await Inspector.open(browser);
            await inspector.load(make());
            assert.equal(await inspector.phase, "failed");
            await inspector.expectText("#start-message", message);
            await inspector.load(stream("avc-aud.h264"));
            assert.equal(await inspector.phase, "ready");
            await inspector.close();
        });
    }
});

describe("A file", () => {
    it("may be chosen instead of dropped", async () => {
        const inspector = await Inspector.open(browser);
        await inspector.choose(stream("avc-aud.h264"));
        assert.equal(await inspector.text("#file-name"), "avc-aud.h264");
        await inspector.close();
    });

    it("is read again from the start if reading was cancelled", async () => {
        const inspector = await Inspector.open(browser);
        await inspector.drop(repeated("long.h264", readFileSync(stream("avc-1080.h264")), 4e8));
        await inspector.page.click("#cancel");
        await inspector.finished();
        assert.equal(await inspector.phase, "failed");
        await inspector.load(stream("avc-aud.h264"));
        await compare(inspector, stream("avc-aud.h264"));
        await inspector.close();
    });

    // The end of the first one may be on its way to the page when the second one is opened.
    it("is shown alone if it is opened while another one is read", async () => {
        const inspector = await Inspector.open(browser);
        const long = repeated("first.h264", readFileSync(stream("avc-1080.h264")), 2e7);
        for (const pause of [0, 10, 20, 40, 80, 160]) {
            await inspector.page.setInputFiles("#file-input", long);
            await inspector.page.waitForTimeout(pause);
            await inspector.choose(stream("hevc-aud.h265"));
            await compare(inspector, stream("hevc-aud.h265"));
        }
        await inspector.close();
    });
});
