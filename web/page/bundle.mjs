// Puts the page together: one HTML file with its style, its program and the program of its worker.

import { build } from "esbuild";
import { createHash } from "node:crypto";
import { mkdirSync, readFileSync, renameSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const folder = dirname(fileURLToPath(import.meta.url));
const source = (name) => join(folder, "src", name);
const read = (name) => readFileSync(source(name), "utf8");

const options = {
    bundle: true,
    write: false,
    minify: true,
    legalComments: "inline",
    target: "es2022",
    charset: "utf8",
};

async function bundle(name, plugins = []) {
    const result = await build({ ...options, entryPoints: [source(name)], format: "iife", plugins });
    return result.outputFiles[0].text;
}

// The worker's program is a text in that of the page: nothing has to be fetched.
const workerText = await bundle("worker/worker.ts");
const withWorker = {
    name: "worker",
    setup(plugin) {
        plugin.onLoad({ filter: /workerText\.ts$/ }, () => ({
            contents: `export const workerText = ${JSON.stringify(workerText)};`,
            loader: "js",
        }));
    },
};

// What is narrow comes last: it changes the others.
const styles = ["colours", "base", "panels", "lists", "unit", "narrow"];

async function bundleStyle() {
    const library = readFileSync(join(folder, "../node_modules/uplot/dist/uPlot.min.css"), "utf8");
    const own = styles.map((name) => read(`style/${name}.css`)).join("\n");
    const result = await build({
        ...options,
        stdin: { contents: `${library}\n${own.replaceAll("@dark@", () => read("style/dark.css"))}`, loader: "css" },
    });
    return result.outputFiles[0].text.trim();
}

// What an HTML parser would take for the end of the element, or for a comment.
const inScript = (text) => text.replaceAll("</script", "<\\/script").replaceAll("<!--", "<\\!--").trim();
const hashOf = (text) => `'sha256-${createHash("sha256").update(text).digest("base64")}'`;

const script = inScript(await bundle("main.ts", [withWorker]));
const style = await bundleStyle();
const policy = [
    "default-src 'none'",
    `script-src ${hashOf(script)} 'wasm-unsafe-eval'`,
    `style-src ${hashOf(style)}`,
    "worker-src blob:",
    "img-src data: blob:",
    "base-uri 'none'",
    "form-action 'none'",
].join("; ");
const parts = { policy, style, script };
const page = read("index.html").replace(/@(policy|style|script)@/g, (_, name) => parts[name]);
mkdirSync(join(folder, "dist"), { recursive: true });
// Whoever copies the page meanwhile gets the old one or the new one.
writeFileSync(join(folder, "dist/inspector.html.new"), page);
renameSync(join(folder, "dist/inspector.html.new"), join(folder, "dist/inspector.html"));
console.log(`page/dist/inspector.html: ${Math.round(page.length / 1000)} kB`);
