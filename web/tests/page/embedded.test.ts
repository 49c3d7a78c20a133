// The page that the tool writes.

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { after, before, describe, it } from "node:test";
import { pathToFileURL } from "node:url";
import type { Browser } from "playwright-core";
import { Inspector, launch } from "./browser.js";
import { compare } from "./compare.js";
import { container, file, repeated, stream, toolPage, toolSummary, toolUserData } from "./files.js";

let browser: Browser;
before(async () => {
    browser = await launch();
});
after(() => browser.close());

async function openPage(path: string, hash = ""): Promise<Inspector> {
    const inspector = await Inspector.open(browser, {}, pathToFileURL(toolPage(path)).href + hash);
    await inspector.finished();
    return inspector;
}

describe("The page that the tool writes", () => {
    it("shows its results, elements and pictures without the file", async () => {
        const paths = [stream("hevc-user-data.h265"), container("inside.mp4", "avc-slices.h264")];
        for (const path of paths) {
            const inspector = await openPage(path);
            const summary = await inspector.summary();
            for (const [term, text] of Object.entries(toolSummary(path))) assert.equal(summary[term], text);
            await compare(inspector, path);
            await inspector.page.click("#tab-elements");
            await inspector.expectText("#elements-list", /slice_pic_parameter_set_id|pic_order_cnt_lsb/);
            await inspector.page.click("#tab-picture");
            await inspector.expectText("#picture-note", /decoded from key frame|cannot decode/);
            await inspector.close();
        }
    });

    it("says that a container is cut short", async () => {
        const whole = readFileSync(container("whole.ts", "avc-slices.h264"));
        const inspector = await openPage(file("cut.ts", whole.subarray(0, whole.length - 100)));
        await inspector.page.click("#tab-findings");
        await inspector.expectText("#panel-findings", /the file is cut short/);
        await inspector.close();
    });

    it("gives a copy with user data, and takes a deep link", async () => {
        const path = stream("avc-aud.h264");
        const inspector = await openPage(path, "#unit=9");
        await inspector.expectText("#bytes-note", /^Unit 9:/);
        await inspector.page.click("#tab-edit");
        const copy = await inspector.download();
        assert.match(toolUserData(copy), /take 1/);
        assert.equal(readFileSync(copy).length > readFileSync(path).length, true);
        await inspector.close();
    });

    it("has no bytes of a long stream until its file is dropped", async () => {
        const path = repeated("longer.h264", readFileSync(stream("avc-1080.h264")), 4e7);
        const inspector = await openPage(path);
        const shown = await inspector.summary();
        await inspector.expectText("#bytes-note", /Drop the file here/);
        await inspector.page.click("#tab-edit");
        await inspector.page.click("#edit-download");
        await inspector.expectText("#edit-note", /Drop the file here/);
        await inspector.load(path);
        await compare(inspector, path);
        assert.equal((await inspector.summary())["access units"], shown["access units"]);
        await inspector.close();
    });
});
