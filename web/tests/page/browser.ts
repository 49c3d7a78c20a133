// Debian's Chromium, without a screen, and the page in it.

import assert from "node:assert/strict";
import { basename } from "node:path";
import { pathToFileURL } from "node:url";
import { chromium, type Browser, type BrowserContextOptions, type Page } from "playwright-core";
import { file, pageFile } from "./files.js";

const pageAddress = pathToFileURL(pageFile).href;

// The background services of the browser look for hosts that a test must not need.
const flags = [
    "--no-sandbox",
    "--headless",
    "--disable-gpu",
    "--disable-quic",
    "--no-first-run",
    "--disable-background-networking",
    "--disable-component-update",
    "--disable-sync",
];

export function launch(): Promise<Browser> {
    return chromium.launch({ executablePath: "/usr/bin/chromium", args: flags });
}

/** The page, and everything that it should not do. */
export class Inspector {
    readonly complaints: string[] = [];

    private constructor(readonly page: Page) {
        page.on("console", (message) => {
            if (["error", "warning"].includes(message.type())) this.complaints.push(message.text());
        });
        page.on("pageerror", (error) => this.complaints.push(error.message));
        page.on("request", (request) => {
            if (!/^(file|blob|data):/.test(request.url())) this.complaints.push(`request: ${request.url()}`);
        });
    }

    static async open(
        browser: Browser,
        options: BrowserContextOptions = {},
        address: string = pageAddress,
    ): Promise<Inspector> {
        const page = await browser.newPage({ viewport: { width: 1440, height: 900 }, ...options });
        const inspector = new Inspector(page);
        await page.goto(address);
        return inspector;
    }

    /** As from a file manager. */
    async drop(path: string): Promise<void> {
        const session = await this.page.context().newCDPSession(this.page);
        const data = { items: [], files: [path], dragOperationsMask: 1 };
        for (const type of ["dragEnter", "dragOver", "drop"] as const)
            await session.send("Input.dispatchDragEvent", { type, x: 200, y: 200, data });
        await session.detach();
    }

    /** Drops a file and waits until it is read. */
    async load(path: string): Promise<void> {
        await this.page.evaluate("document.body.dataset.phase = 'dropped'"); // not the end of the file before
        await this.drop(path);
        await this.finished(path);
    }

    /** Chooses a file and waits until it is read. Other than a drop, it always gets to a page that is busy. */
    async choose(path: string): Promise<void> {
        await this.page.setInputFiles("#file-input", path);
        await this.finished(path);
    }

    /** Waits until this file is read. */
    async finished(path?: string): Promise<void> {
        const phase = "body:is([data-phase=ready], [data-phase=failed])";
        const name = path === undefined ? "" : `:has(#file-name:text-is("${basename(path)}"))`;
        await this.page.waitForSelector(phase + name, { timeout: 60000 });
        await this.page.evaluate("new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done)))"); // drawn
    }

    get phase(): Promise<string | null> {
        return this.page.getAttribute("body", "data-phase");
    }

    text(selector: string): Promise<string> {
        return this.page.locator(selector).innerText();
    }

    /** What the summary says, by term. */
    async summary(): Promise<Record<string, string>> {
        const items = await this.page.locator("#summary-list .term").all();
        const terms = items.map(async (item) => [
            await item.locator("dt").innerText(),
            await item.locator("dd").innerText(),
        ]);
        return Object.fromEntries((await Promise.all(terms)) as [string, string][]) as Record<string, string>;
    }

    /** Waits until a text matches. */
    async expectText(selector: string, pattern: RegExp): Promise<void> {
        const deadline = Date.now() + 20000;
        let text = "";
        while (Date.now() < deadline) {
            text = (await this.page.locator(selector).textContent()) ?? "";
            if (pattern.test(text)) return;
            await this.page.waitForTimeout(50);
        }
        assert.match(text, pattern);
    }

    /** Presses the button of the tab of edits, and returns the path of the copy. */
    async download(press = (): Promise<void> => this.page.click("#edit-download")): Promise<string> {
        const [download] = await Promise.all([this.page.waitForEvent("download"), press()]);
        const saved = file(download.suggestedFilename(), "");
        await download.saveAs(saved);
        await this.expectText("#edit-note", /edited\.$/);
        return saved;
    }

    async close(): Promise<void> {
        await this.page.close();
        assert.deepEqual(this.complaints, []);
    }
}
