import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { after, before, describe, it } from "node:test";
import type { Browser } from "playwright-core";
import { Inspector, launch } from "./browser.js";
import { container, decodedPictures, file, repeated, stream, toolUnits } from "./files.js";

let browser: Browser;
before(async () => {
    browser = await launch();
});
after(() => browser.close());

const selectedRow = "#units-table .row[aria-selected=true]";

async function openStream(name: string): Promise<Inspector> {
    const inspector = await Inspector.open(browser);
    await inspector.load(stream(name));
    return inspector;
}

// How much of each colour a picture has, from 0 to 1.
function meanColour(pixels: ArrayLike<number>, bytesPerPixel: number): number[] {
    const sums = [0, 0, 0];
    for (let at = 0; at < pixels.length; ++at) if (at % bytesPerPixel < 3) sums[at % bytesPerPixel]! += pixels[at]!;
    return sums.map((sum) => sum / (pixels.length / bytesPerPixel) / 255);
}

async function shownColour(inspector: Inspector): Promise<number[]> {
    const pixels = await inspector.page.evaluate(() => {
        const canvas = document.querySelector<HTMLCanvasElement>("#picture-canvas")!;
        const copy = new OffscreenCanvas(canvas.width, canvas.height).getContext("2d", { willReadFrequently: true })!;
        copy.drawImage(canvas, 0, 0);
        return [...copy.getImageData(0, 0, canvas.width, canvas.height).data];
    });
    return meanColour(pixels, 4);
}

describe("Selecting in one view selects in all", () => {
    it("from the table by pointer and by keys", async () => {
        const inspector = await openStream("avc-slices.h264");
        const { page } = inspector;
        const units = toolUnits(stream("avc-slices.h264"));
        await page.click("#units-table .row >> nth=5");
        await inspector.expectText("#bytes-note", /^Unit 5:/);
        await inspector.expectText("#plot-legend", /^Access unit 0 /);
        assert.match(page.url(), /#unit=5$/);
        await page.keyboard.press("End");
        await inspector.expectText("#bytes-note", new RegExp(`^Unit ${units.length - 1}:`));
        await page.keyboard.press("ArrowUp");
        await page.keyboard.press("PageUp");
        await page.keyboard.press("Home");
        await page.keyboard.press("ArrowDown");
        await inspector.expectText("#bytes-note", /^Unit 1:/);
        await inspector.close();
    });

    it("from the plot, the lists and the address", async () => {
        const inspector = await openStream("hevc-user-data.h265");
        const { page } = inspector;
        await page.focus("#plot");
        for (let press = 0; press < 6; ++press) await page.keyboard.press("ArrowRight");
        await inspector.expectText("#plot-legend", /^Access unit 6 .*key frame/);
        await inspector.expectText(`${selectedRow} .cell-access-unit`, /^6$/);
        await page.click("#tab-user-data");
        await page.click("#panel-user-data .row >> nth=1");
        await inspector.expectText("#bytes-note", /^Unit 13: 39 PREFIX_SEI_NUT/);
        await page.click("#tab-sets");
        await page.click("#panel-sets .row:has-text('PPS 0')");
        await inspector.expectText("#bytes-note", /^Unit 2: 34 PPS_NUT/);
        await page.evaluate(() => (location.hash = "#unit=7"));
        await inspector.expectText("#bytes-note", /^Unit 7:/);
        const linked = await Inspector.open(browser, {}, page.url());
        await linked.load(stream("hevc-user-data.h265"));
        await linked.expectText("#bytes-note", /^Unit 7:/);
        await linked.close();
        await inspector.close();
    });
});

describe("The table", () => {
    it("shows the chosen types only", async () => {
        const inspector = await openStream("avc-aud.h264");
        const { page } = inspector;
        const units = toolUnits(stream("avc-aud.h264"));
        const keys = units.filter((unit) => unit.nal_unit_type === 5 || unit.nal_unit_type === 7);
        await page.click(".chip[data-type='5']");
        await page.click(".chip[data-type='7']");
        await page.focus("#units-table .list");
        await page.keyboard.press("End");
        await inspector.expectText(`${selectedRow} .cell-number`, new RegExp(`^${keys.at(-1)!.number}$`));
        await page.waitForSelector(`${selectedRow}[aria-setsize="${keys.length}"]`);
        await page.click(".chip[data-type='5']");
        await page.click(".chip[data-type='7']");
        await inspector.expectText(`${selectedRow} .cell-number`, new RegExp(`^${keys.at(-1)!.number}$`));
        await page.waitForSelector(`${selectedRow}[aria-setsize="${units.length}"]`);
        await inspector.close();
    });

    it("scrolls through a million rows", async () => {
        const once = readFileSync(stream("hevc-400.h265"));
        const perRound = toolUnits(stream("hevc-400.h265")).length;
        const inspector = await Inspector.open(browser);
        const { page } = inspector;
        const path = repeated("many.h265", once, Math.ceil(1e6 / perRound) * once.length);
        await inspector.load(path);
        const total = (readFileSync(path).length / once.length) * perRound;
        assert.ok(total >= 1e6);
        await page.focus("#units-table .list");
        await page.keyboard.press("End");
        await inspector.expectText(`${selectedRow} .cell-number`, new RegExp(`^${(total - 1).toLocaleString("en")}$`));
        await page.mouse.move(300, 700);
        await page.mouse.wheel(0, -2600);
        await page.locator(`#units-table .row[data-index='${total - 100}']`).waitFor();
        await page.evaluate(() => {
            const list = document.querySelector("#units-table .list")!;
            list.scrollTop = (list.scrollHeight - list.clientHeight) / 2;
        });
        await page.waitForTimeout(200);
        const first = Number(await page.locator("#units-table .row:visible").first().getAttribute("data-index"));
        assert.ok(Math.abs(first / total - 0.5) < 0.01, `${first} of ${total}`);
        assert.ok((await page.locator("#units-table .row").count()) < 60);
        await inspector.close();
    });
});

describe("The plot", () => {
    it("zooms by wheel, range and keys, moves, and shows the access unit at the pointer", async () => {
        const inspector = await openStream("avc-bframes.h264");
        const { page } = inspector;
        const box = (await page.locator("#plot .u-over").boundingBox())!;
        const pointAt = async (place: number): Promise<string> => {
            await page.mouse.move(box.x + place * box.width, box.y + 40);
            return inspector.text("#plot-legend");
        };
        const numberAt = async (place: number): Promise<number> =>
            Number(/^Access unit (\d+)/.exec(await pointAt(place))![1]);
        const last = await numberAt(0.99);
        assert.equal(await numberAt(0.01), 0);
        await page.mouse.move(box.x + 0.6 * box.width, box.y + 40);
        await page.mouse.down();
        await page.mouse.move(box.x + 0.9 * box.width, box.y + 60, { steps: 5 });
        await page.mouse.up();
        const [begin, end] = [await numberAt(0.01), await numberAt(0.99)];
        assert.ok(begin > 0.5 * last && end < last, `${begin} to ${end} of ${last}`);
        await page.focus("#plot");
        await page.keyboard.press("PageUp");
        assert.ok((await numberAt(0.01)) < begin);
        await page.keyboard.press("0");
        assert.equal(await numberAt(0.99), last);
        await page.mouse.wheel(0, -300);
        assert.ok((await numberAt(0.01)) > 0);
        await page.click("#zoom-all");
        assert.match(await pointAt(0.001), /at 0\.000 s · [\d,]+ bytes · key frame/);
        await page.mouse.click(box.x + 0.5 * box.width, box.y + 40);
        const clicked = await numberAt(0.5);
        await inspector.expectText(`${selectedRow} .cell-access-unit`, new RegExp(`^${clicked}$`));
        await inspector.close();
    });
});

describe("The picture", () => {
    // In a stream without B pictures, pictures are shown in the order of decoding.
    it("is the one that ffmpeg decodes, from a stream and from a container", async () => {
        const name = "avc-baseline.h264";
        const pictures = decodedPictures(name);
        const keyFrames = [0, 15]; // as avc-baseline.json says
        for (const path of [stream(name), container("pictures.mp4", name)]) {
            const inspector = await Inspector.open(browser);
            await inspector.load(path);
            await inspector.page.click("#tab-picture");
            await inspector.page.focus("#plot");
            for (const [number, keys] of [
                [0, ["Home"]],
                [1, ["ArrowRight"]],
                [pictures.length - 1, ["End"]],
            ] as const) {
                for (const key of keys) await inspector.page.keyboard.press(key);
                const keyFrame = keyFrames.filter((candidate) => candidate <= number).at(-1)!;
                await inspector.expectText(
                    "#picture-note",
                    new RegExp(`^Picture of access unit ${number}, .* key frame ${keyFrame}\\.`),
                );
                const shown = await shownColour(inspector);
                meanColour(pictures[number]!, 3).forEach((part, at) => assert.ok(Math.abs(part - shown[at]!) < 0.01));
            }
            await inspector.close();
        }
    });

    it("is not promised for what the browser cannot decode", async () => {
        const inspector = await openStream("avc-422-10bit.h264");
        await inspector.page.click("#tab-picture");
        await inspector.expectText("#picture-note", /cannot|decoded from key frame/);
        await inspector.load(file("cut.h264", readFileSync(stream("avc-open-gop.h264")).subarray(0, 3000)));
        await inspector.expectText("#picture-note", /^Picture of access unit 0/);
        await inspector.close();
    });
});

describe("The bytes", () => {
    it("mark start code, header, slice header and emulation prevention", async () => {
        const bytes = [0, 0, 0, 1, 0x67, 0x42, 0, 0, 3, 1, 0, 0, 1, 0x65, 0x88, 0x84, 0, 0, 3, 0, 0, 3, 0x80];
        const inspector = await openStream("avc-aud.h264");
        await inspector.load(file("marks.h264", Uint8Array.from([...readFileSync(stream("avc-aud.h264")), ...bytes])));
        await inspector.page.focus("#units-table .list");
        await inspector.page.keyboard.press("End");
        await inspector.expectText("#bytes-note", /13 bytes, 2 emulation prevention bytes$/);
        await inspector.page.locator("#bytes-table .hex-codes .mark-prevention").nth(1).waitFor(); // drawn after the note
        const marks = inspector.page.locator("#bytes-table .hex-codes span");
        const classes = await marks.evaluateAll((spans) => spans.map((span) => span.className.replace("mark-", "")));
        assert.deepEqual(classes.slice(0, 4), ["start-code", "start-code", "start-code", "header"]);
        assert.equal(classes.filter((name) => name === "prevention").length, 2);
        assert.ok(classes.includes("slice-header"));
        await inspector.close();
    });
});
