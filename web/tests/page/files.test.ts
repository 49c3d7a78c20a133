import assert from "node:assert/strict";
import { after, before, describe, it } from "node:test";
import type { Browser } from "playwright-core";
import { Inspector, launch } from "./browser.js";
import {
    container,
    damaged,
    file,
    repeated,
    stream,
    toolInfo,
    toolSummary,
    toolUnits,
    webm,
    type ToolUnit,
} from "./files.js";
import { readFileSync } from "node:fs";

let browser: Browser;
before(async () => {
    browser = await launch();
});
after(() => browser.close());

const count = (text: string | undefined): number => Number((text ?? "").replaceAll(",", ""));

// Counts, sizes and lines are those of the tool; the terms of a container are the tool's alone. libavformat may give the
// tool the first parameter sets of a stream twice.
async function compare(path: string, givenTwice: number): Promise<void> {
    const inspector = await Inspector.open(browser);
    await inspector.load(path);
    assert.equal(await inspector.phase, "ready");
    const summary = await inspector.summary();
    const expected = toolSummary(path);
    const terms = ["codec", "picture size", "frame rate", "access units", "unit sizes", "key frames", "bit rate"];
    for (const term of terms) assert.equal(summary[term], expected[term], term);
    const info = toolInfo(path);
    assert.equal(count(summary["NAL units"]), info.unitCount - givenTwice);
    await compareUnits(inspector, toolUnits(path).slice(givenTwice));
    await inspector.close();
}

// Units from the beginning, the middle and the end.
async function compareUnits(inspector: Inspector, units: ToolUnit[]): Promise<void> {
    for (const number of [0, 3, units.length >> 1, units.length - 1]) {
        const unit = units[number]!;
        await inspector.page.evaluate((wanted) => (location.hash = `#unit=${wanted}`), number);
        const row = inspector.page.locator("#units-table .row[aria-selected=true]");
        await inspector.expectText("#units-table .row[aria-selected=true] .cell-number", new RegExp(`^${number}$`));
        assert.equal(count(await row.locator(".cell-offset").innerText()), unit.offset);
        assert.equal(count(await row.locator(".cell-size").innerText()), unit.size);
        assert.equal(await row.locator(".cell-type").innerText(), `${unit.nal_unit_type} ${unit.name}`);
        await inspector.expectText(
            "#bytes-note",
            new RegExp(`^Unit ${number}: .*\\b${unit.size.toLocaleString("en")} byte`),
        );
    }
}

describe("The page shows what the tool says", () => {
    const makers: Record<string, () => string> = {
        "an H.264 byte stream": () => stream("avc-bframes.h264"),
        "an H.265 byte stream": () => stream("hevc-hdr10.h265"),
        fields: () => stream("avc-paff.h264"),
        MP4: () => container("film.mp4", "avc-slices.h264"),
        "fragmented MP4": () => container("fragments.mp4", "avc-aud.h264", "-movflags", "frag_keyframe+empty_moov"),
        MOV: () => container("film.mov", "hevc-bframes.h265", "-tag:v", "hvc1"),
        MKV: () => container("film.mkv", "avc-open-gop.h264", "-c:a", "aac"),
        "MPEG-TS": () => container("film.ts", "hevc-aud.h265", "-c:a", "aac"),
        "a damaged stream": damaged,
    };
    for (const [what, make] of Object.entries(makers))
        it(`of ${what}`, () => compare(make(), what === "MPEG-TS" ? 3 : 0));
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
            /./,
        ],
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

describe("A drop", () => {
    it("opens the file", async () => {
        const inspector = await Inspector.open(browser);
        const bytes = [...readFileSync(stream("avc-aud.h264"))];
        const transfer = await inspector.page.evaluateHandle((content) => {
            const files = new DataTransfer();
            files.items.add(new File([new Uint8Array(content)], "dropped.h264"));
            return files;
        }, bytes);
        await inspector.page.dispatchEvent("body", "drop", { dataTransfer: transfer });
        await inspector.finished();
        assert.equal(await inspector.text("#file-name"), "dropped.h264");
        await inspector.close();
    });

    it("is read again from the start if reading was cancelled", async () => {
        const inspector = await Inspector.open(browser);
        await inspector.choose(repeated("long.h264", readFileSync(stream("avc-1080.h264")), 4e8));
        await inspector.page.click("#cancel");
        await inspector.finished();
        assert.equal(await inspector.phase, "failed");
        await inspector.load(stream("avc-aud.h264"));
        assert.equal(await inspector.phase, "ready");
        assert.equal(count((await inspector.summary())["NAL units"]), toolInfo(stream("avc-aud.h264")).unitCount);
        await inspector.close();
    });
});
