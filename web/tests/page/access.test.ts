// What everybody needs: names and contrasts that axe-core can check, room in narrow windows, and no network.

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { after, before, describe, it } from "node:test";
import type { AxeResults } from "axe-core";
import type { Browser } from "playwright-core";
import { Inspector, launch } from "./browser.js";
import { damaged, stream } from "./files.js";

const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
const tabs = ["sets", "user-data", "findings", "elements", "picture", "edit"];

let browser: Browser;
before(async () => {
    browser = await launch();
});
after(() => browser.close());

async function seriousFindings({ page }: Inspector, place = "html"): Promise<string[]> {
    const { violations } = await page.evaluate<AxeResults>(`axe.run("${place}", { resultTypes: ["violations"] })`);
    return violations
        .filter(({ impact }) => impact === "serious" || impact === "critical")
        .map(({ id, nodes }) => `${id}: ${nodes.map(({ html }) => html.slice(0, 120)).join(" | ")}`);
}

function focused({ page }: Inspector): Promise<string> {
    return page.evaluate(() => document.activeElement?.id || document.activeElement?.className || "");
}

describe("Accessibility", () => {
    for (const colorScheme of ["light", "dark"] as const) {
        for (const width of [360, 1920]) {
            it(`holds in the ${colorScheme} scheme, ${width} pixels wide`, async () => {
                const inspector = await Inspector.open(browser, { colorScheme, viewport: { width, height: 900 } });
                await inspector.page.evaluate(axe); // not a script element, which the page's policy forbids
                assert.deepEqual(await seriousFindings(inspector), []);
                await inspector.load(width === 360 ? stream("avc-user-data.h264") : damaged());
                for (const tab of tabs) {
                    await inspector.page.click(`#tab-${tab}`);
                    assert.deepEqual(await seriousFindings(inspector, `#panel-${tab}`), [], tab);
                }
                const overflow = await inspector.page.evaluate(() => document.documentElement.scrollWidth - innerWidth);
                assert.ok(overflow <= 0, `${overflow} pixels wider than the window`);
                await inspector.close();
            });
        }
    }

    it("lets everything be reached with the keyboard", async () => {
        const inspector = await Inspector.open(browser);
        await inspector.load(stream("avc-user-data.h264"));
        const reached = new Set<string>();
        for (let press = 0; press < 30; ++press) {
            await inspector.page.keyboard.press("Tab");
            reached.add(await focused(inspector));
        }
        for (const id of ["theme", "zoom-in", "plot", "tab-units", "list", "tab-bytes", "chip"])
            assert.ok(reached.has(id), id);
        await inspector.close();
    });

    it("lets a file be opened, searched and edited with the keyboard alone", async () => {
        const inspector = await Inspector.open(browser);
        const { page } = inspector;
        const { keyboard } = page;
        const chooser = page.waitForEvent("filechooser");
        await keyboard.press("Tab");
        await keyboard.press("Tab");
        await keyboard.press("Enter");
        await (await chooser).setFiles(stream("avc-user-data.h264"));
        await inspector.finished();
        await page.focus(".chip[data-type='7']");
        await keyboard.press("Space");
        await keyboard.press("Tab"); // past the next type
        await keyboard.press("Tab");
        assert.equal(await focused(inspector), "list");
        await keyboard.press("End");
        await inspector.expectText("#bytes-note", /^Unit 9:/);
        await page.focus("#tab-units");
        await keyboard.press("ArrowRight");
        await keyboard.press("ArrowRight");
        assert.equal(await focused(inspector), "tab-user-data");
        await keyboard.press("Tab");
        await keyboard.press("Home");
        await inspector.expectText("#bytes-note", /^Unit 2:/);
        await page.focus("#tab-bytes");
        await keyboard.press("End");
        assert.ok(await page.isVisible("#panel-edit"));
        await keyboard.press("Tab");
        await keyboard.press("ArrowDown");
        assert.ok(await page.isChecked("input[value=remove]"));
        assert.equal((await inspector.download(() => keyboard.press("Enter"))).endsWith("-edited.h264"), true);
        await inspector.close();
    });

    it("lets colours be chosen", async () => {
        const inspector = await Inspector.open(browser, { colorScheme: "light" });
        const ground = (): Promise<string> =>
            inspector.page.evaluate(() => getComputedStyle(document.body).backgroundColor);
        const light = await ground();
        await inspector.page.click("#theme");
        assert.equal(await ground(), light);
        await inspector.page.click("#theme");
        assert.notEqual(await ground(), light);
        await inspector.close();
    });
});

describe("The network", () => {
    it("cannot be reached", async () => {
        const inspector = await Inspector.open(browser);
        const { page } = inspector;
        const attempts = await page.evaluate(async () => {
            const tryOut = async (task: () => Promise<unknown>): Promise<string> =>
                task().then(
                    () => "done",
                    () => "refused",
                );
            const image = (): Promise<unknown> =>
                new Promise((resolve, reject) => {
                    const element = new Image();
                    element.onload = resolve;
                    element.onerror = reject;
                    element.src = "http://127.0.0.1:9/x.png";
                });
            const socket = async (): Promise<unknown> =>
                new Promise((resolve, reject) => {
                    const opened = new WebSocket("ws://127.0.0.1:9/");
                    opened.onopen = resolve;
                    opened.onerror = reject;
                });
            const refusals: string[] = [];
            document.addEventListener("securitypolicyviolation", ({ effectiveDirective }) =>
                refusals.push(effectiveDirective),
            );
            const results = [
                await tryOut(() => fetch("http://127.0.0.1:9/")),
                await tryOut(image),
                await tryOut(socket),
            ];
            await new Promise((resolve) => setTimeout(resolve, 100));
            return [...results, ...new Set(refusals)];
        });
        assert.deepEqual(attempts, ["refused", "refused", "refused", "connect-src", "img-src"]);
        inspector.complaints.length = 0; // the refusals are on the console
        await inspector.close();
    });
});
