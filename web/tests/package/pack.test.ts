import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, describe, it } from "node:test";

const project = process.env["VIDEOPARAMS_PROJECT"] ?? "";
const packageFolder = join(project, "web/package");
const folder = mkdtempSync(join(tmpdir(), "videoparams-"));
const host = join(folder, "host");

function run(command: string, ...options: string[]): string {
    return execFileSync(command, options, { cwd: host, encoding: "utf8", stdio: ["ignore", "pipe", "pipe"] });
}

// The programs of the README, in order.
function readmePrograms(): string[] {
    const readme = readFileSync(join(packageFolder, "README.md"), "utf8");
    return [...readme.matchAll(/^```js\n(.*?)^```/gms)].map(([, program]) => program!);
}

describe("The packed package", () => {
    let archive = "";

    before(() => {
        mkdirSync(host);
        writeFileSync(join(host, "package.json"), JSON.stringify({ private: true, type: "module" }));
        const packed = execFileSync("npm", ["pack", "--json", "--pack-destination", folder], {
            cwd: packageFolder,
            encoding: "utf8",
            stdio: ["ignore", "pipe", "ignore"],
        });
        archive = join(folder, (JSON.parse(packed) as { filename: string }[])[0]!.filename);
        run("npm", "install", "--offline", "--no-audit", "--no-fund", "--loglevel=error", archive);
    });
    after(() => rmSync(folder, { recursive: true }));

    it("has less than 60 KB and needs no other package", () => {
        assert.ok(readFileSync(archive).length < 60000);
        const lock = JSON.parse(readFileSync(join(host, "package-lock.json"), "utf8")) as { packages: object };
        assert.deepEqual(Object.keys(lock.packages), ["", "node_modules/videoparams"]);
    });

    it("runs the examples of its README", () => {
        const [sizes, stamp, browser] = readmePrograms();
        writeFileSync(join(host, "sizes.js"), sizes!);
        writeFileSync(join(host, "stamp.js"), stamp!);
        writeFileSync(join(host, "browser.js"), browser!);
        const stream = join(project, "tests/streams/hevc-hdr10.h265");
        assert.match(run("node", "sizes.js", stream), /^176 x 144\n24 access units, 8969 bytes, 2 key frames\n$/);
        assert.match(run("node", "stamp.js", stream, "stamped.h265"), /^stamped 24 access units\nfirst: utc \d{19}\n$/);
        assert.equal(run("node", "--check", "browser.js"), "");
    });

    it("has types for a strict project", () => {
        writeFileSync(
            join(host, "host.ts"),
            `import { VideoParams, type AccessUnit } from "videoparams";
             const units: AccessUnit[] = (await VideoParams.load()).parser("h264").push(new Uint8Array());
             // @ts-expect-error no such codec
             (await VideoParams.load()).parser("vp9");
             console.log(units[0]?.sequence?.frameRate?.numerator.toFixed());`,
        );
        const compiler = join(project, "web/node_modules/typescript/bin/tsc");
        run("node", compiler, "--strict", "--noEmit", "--module", "nodenext", "--lib", "es2022,dom", "host.ts");
    });
});
