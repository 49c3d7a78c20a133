// A gigabyte: how long it takes, what memory it takes, and whether the page answers meanwhile.

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { after, before, describe, it } from "node:test";
import type { Browser } from "playwright-core";
import { Inspector, launch } from "./browser.js";
import { longClip, repeated, toolInfo } from "./files.js";

const gigabyte = 1e9;
const mostMemory = 300e6;
const longestTask = 200e3; // microseconds of processor time: the machine may do other work

interface TraceEvent {
    name: string;
    ph: string;
    pid: number;
    tid: number;
    tdur?: number;
    args: { name?: string };
}

let browser: Browser;
before(async () => {
    browser = await launch();
});
after(() => browser.close());

// Memory that belongs to no other process, of the process that shows the page: the largest renderer.
async function memoryOfPage(): Promise<number> {
    const session = await browser.newBrowserCDPSession();
    const { processInfo } = await session.send("SystemInfo.getProcessInfo");
    const sizes = processInfo
        .filter(({ type }) => type === "renderer")
        .map(({ id }) => {
            const status = readFileSync(`/proc/${id}/status`, "utf8");
            return 1024 * Number(/^RssAnon:\s+(\d+)/m.exec(status)![1]);
        });
    return Math.max(...sizes);
}

function longTasks(trace: Buffer): string[] {
    const { traceEvents } = JSON.parse(trace.toString()) as { traceEvents: TraceEvent[] };
    const mainThreads = new Set(
        traceEvents
            .filter(({ name, args }) => name === "thread_name" && args.name === "CrRendererMain")
            .map(({ pid, tid }) => `${pid}:${tid}`),
    );
    return traceEvents
        .filter(({ ph, tdur, pid, tid }) => ph === "X" && (tdur ?? 0) > longestTask && mainThreads.has(`${pid}:${tid}`))
        .map(({ name, tdur }) => `${name}: ${Math.round(tdur! / 1000)} ms`);
}

describe("A file of a gigabyte", () => {
    it("is read in bounded memory while the page answers, and can be cancelled", async (context) => {
        const once = readFileSync(longClip());
        const path = repeated("gigabyte.h264", once, gigabyte);
        const inspector = await Inspector.open(browser);
        const { page } = inspector;
        await browser.startTracing(page, { categories: ["toplevel"] });
        await inspector.choose(path);
        await page.waitForSelector("#units-table .row");
        await page.click("#units-table .row >> nth=4");
        await page.focus("#plot");
        await page.keyboard.press("ArrowRight");
        await inspector.finished();
        const tasks = longTasks(await browser.stopTracing());
        const memory = await memoryOfPage();
        const summary = await inspector.summary();
        context.diagnostic(`${summary["file"]}; ${Math.round(memory / 1e6)} MB`);
        assert.equal(await inspector.phase, "ready");
        assert.deepEqual(tasks, []);
        assert.ok(memory < mostMemory, `${memory} bytes`);
        const { accessUnitCount } = toolInfo(path);
        assert.match(summary["access units"]!, new RegExp(`^${accessUnitCount} in `));

        await inspector.choose(path);
        await page.waitForSelector("#units-table .row");
        await page.click("#cancel");
        await inspector.expectText("#work-message", /^Cancelled/);
        await inspector.close();
    });
});
