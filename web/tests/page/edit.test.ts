import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { after, before, describe, it } from "node:test";
import type { Browser } from "playwright-core";
import { Inspector, launch } from "./browser.js";
import { container, stream, toolInfo, toolUserData } from "./files.js";

let browser: Browser;
before(async () => {
    browser = await launch();
});
after(() => browser.close());

interface Edit {
    action: "add" | "remove" | "remove-all";
    where: "selected" | "key" | "all";
    text?: string;
    hex?: string;
    asByteStream?: boolean;
    edited?: number;
}

// Edits a file on the page and returns the path of the download.
async function edit(path: string, { action, where, text, hex, asByteStream, edited }: Edit): Promise<string> {
    const inspector = await Inspector.open(browser);
    const { page } = inspector;
    await inspector.load(path);
    await page.click("#tab-edit");
    await page.check(`input[name=action][value=${action}]`);
    await page.check(`input[name=where][value=${where}]`);
    if (hex !== undefined) await page.check("input[name=form][value=hex]");
    if (action === "add") await page.fill("#edit-payload", hex ?? text ?? "");
    if (asByteStream) await page.uncheck("#edit-container");
    const saved = await inspector.download();
    if (edited !== undefined) await inspector.expectText("#edit-note", new RegExp(` ${edited} access units? edited`));
    await inspector.close();
    return saved;
}

// The pictures, however they are packed.
function decoded(path: string): string {
    return execFileSync("ffmpeg", ["-v", "error", "-i", path, "-map", "0:v", "-vsync", "0", "-f", "md5", "-"], {
        encoding: "utf8",
    });
}

function audioPackets(path: string): string {
    const options = ["-v", "error", "-i", path, "-map", "0:a", "-c", "copy", "-f", "framemd5", "-"];
    return execFileSync("ffmpeg", options, { encoding: "utf8" })
        .replace(/^#.*\n/gm, "")
        .replace(/^.*, /gm, "");
}

const messagesIn = (path: string, text: string): number => toolUserData(path).split(text).length - 1;

describe("User data that the page inserts", () => {
    it("is found by the tool, and comes out again", async () => {
        for (const name of ["avc-slices.h264", "hevc-aud.h265"]) {
            const stamped = await edit(stream(name), { action: "add", where: "all", text: "take 7" });
            assert.equal(messagesIn(stamped, "take 7"), toolInfo(stream(name)).accessUnitCount);
            const plain = await edit(stamped, { action: "remove", where: "all" });
            assert.deepEqual(readFileSync(plain), readFileSync(stream(name)));
        }
    });

    it("is distinguished from that of encoders", async () => {
        const path = stream("avc-user-data.h264");
        const same = await edit(path, { action: "remove", where: "all", edited: 0 });
        assert.deepEqual(readFileSync(same), readFileSync(path));
        const plain = await edit(path, { action: "remove-all", where: "all" });
        assert.ok(readFileSync(path).includes("x264 - core"));
        assert.ok(!readFileSync(plain).includes("x264 - core"));
        assert.equal(decoded(plain), decoded(path));
    });

    it("goes into the chosen access units only", async () => {
        const path = stream("avc-bframes.h264");
        const one = await edit(path, { action: "add", where: "selected", hex: "74 61 6B 65 20 31", edited: 1 });
        assert.equal(messagesIn(one, "take 1"), 1);
        const keys = await edit(path, { action: "add", where: "key", text: "key" });
        assert.equal(messagesIn(keys, "key"), toolInfo(path).keyFrameCount);
    });

    it("leaves everything else in a container as it was", async () => {
        const inputs = [
            container("edit.mp4", "avc-slices.h264", "-c:a", "aac"),
            container("edit.mov", "hevc-aud.h265", "-c:a", "aac", "-tag:v", "hvc1"),
            container("edit.mkv", "avc-baseline.h264", "-c:a", "aac"),
        ];
        for (const path of inputs) {
            const copy = await edit(path, { action: "add", where: "all", text: "take 9" });
            assert.match(copy, /-edited\.(mp4|mov|mkv)$/);
            assert.equal(messagesIn(copy, "take 9"), toolInfo(path).accessUnitCount);
            assert.equal(decoded(copy), decoded(path));
            assert.equal(audioPackets(copy), audioPackets(path));
        }
        const bare = await edit(inputs[0]!, { action: "add", where: "all", text: "take 9", asByteStream: true });
        assert.match(bare, /\.h264$/);
        assert.equal(messagesIn(bare, "take 9"), toolInfo(inputs[0]!).accessUnitCount);
    });

    it("must be hex if it is to be", async () => {
        const inspector = await Inspector.open(browser);
        await inspector.load(stream("avc-aud.h264"));
        await inspector.page.click("#tab-edit");
        await inspector.page.check("input[name=form][value=hex]");
        await inspector.page.fill("#edit-payload", "12 3");
        await inspector.page.click("#edit-download");
        await inspector.expectText("#edit-note", /two digits/);
        await inspector.close();
    });
});
