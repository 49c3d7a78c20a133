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
const tabs = [
    "#tab-sets",
    "#tab-user-data",
    "#tab-findings",
    "#tab-elements",
    "#tab-picture",
    "#tab-edit",
    "#tab-units",
    "#tab-bytes",
];

let browser: Browser;
before(async () => {
    browser = await launch();
});
after(() => browser.close());

async function seriousFindings({ page }: Inspector): Promise<string[]> {
    const { violations } = await page.evaluate<AxeResults>("axe.run()");
    return violations
        .filter(({ impact }) => impact === "serious" || impact === "critical")
        .map(({ id, nodes }) => `${id}: ${nodes.map(({ html }) => html.slice(0, 120)).join(" | ")}`);
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
                    await inspector.page.click(tab);
                    assert.deepEqual(await seriousFindings(inspector), [], tab);
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
        for (let press = 0; press < 40; ++press) {
            await inspector.page.keyboard.press("Tab");
            reached.add(
                await inspector.page.evaluate(
                    () => document.activeElement?.id || document.activeElement?.className || "",
                ),
            );
        }
        for (const id of ["theme", "zoom-in", "plot", "tab-units", "list", "tab-bytes", "chip"])
            assert.ok(reached.has(id), id);
        await inspector.page.focus("#tab-bytes");
        await inspector.page.keyboard.press("ArrowRight");
        assert.equal(await inspector.page.evaluate(() => document.activeElement?.id), "tab-elements");
        assert.ok(await inspector.page.isVisible("#panel-elements"));
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
