// The files that the tests drop on the page, made from the repository's streams, and what the tool says about them.

import { execFileSync, spawnSync } from "node:child_process";
import { appendFileSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";

const project = process.env["VIDEOPARAMS_PROJECT"] ?? "";
const tool = process.env["VIDEOPARAMS_TOOL"] ?? "";
export const pageFile = join(project, "web/page/dist/inspector.html");
const folder = mkdtempSync(join(tmpdir(), "videoparams-page-"));

process.on("exit", () => rmSync(folder, { recursive: true }));

export function stream(name: string): string {
    return join(project, "tests/streams", name);
}

/** A container of a stream, and of a tone. */
export function container(name: string, streamName: string, ...options: string[]): string {
    const path = join(folder, name);
    const input = ["-r", "25", "-i", stream(streamName), "-f", "lavfi", "-i", "sine=d=1"];
    const copy = ["-map", "0:v", "-map", "1:a", "-c:v", "copy", "-bsf:v", "setts=ts=N/25/TB"]; // a stream has no times
    execFileSync("ffmpeg", ["-v", "error", "-y", ...input, ...copy, ...options, path]);
    return path;
}

/** A clip with units of a usual size. */
export function longClip(): string {
    const path = join(folder, "clip.h264");
    const source = ["-f", "lavfi", "-i", "testsrc2=s=640x360:r=30", "-frames:v", "150"];
    const encoder = ["-c:v", "libx264", "-preset", "ultrafast", "-b:v", "2M"];
    execFileSync("ffmpeg", ["-v", "error", "-y", ...source, ...encoder, path]);
    return path;
}

/** The pictures of a stream, 3 bytes for each pixel. */
export function decodedPictures(name: string): Uint8Array[] {
    const { width, height } = JSON.parse(readFileSync(stream(name.replace(/h26\d$/, "json")), "utf8")) as Picture;
    const raw = ["-v", "error", "-i", stream(name), "-f", "rawvideo", "-pix_fmt", "rgb24", "-"];
    const pixels = execFileSync("ffmpeg", raw, { maxBuffer: 1e9 });
    const size = width * height * 3;
    return Array.from({ length: pixels.length / size }, (_, at) => pixels.subarray(at * size, (at + 1) * size));
}

interface Picture {
    width: number;
    height: number;
}

/** A WebM file: its video is of another codec. */
export function webm(): string {
    const path = join(folder, "film.webm");
    const source = ["-f", "lavfi", "-i", "testsrc=s=64x64:d=0.2"];
    execFileSync("ffmpeg", ["-v", "error", "-y", ...source, "-c:v", "libvpx", path]);
    return path;
}

export function file(name: string, bytes: Uint8Array | string): string {
    const path = join(folder, name);
    writeFileSync(path, bytes);
    return path;
}

/** A stream again and again, up to a size. */
export function repeated(name: string, once: Uint8Array, size: number): string {
    const path = file(name, "");
    const several = Buffer.concat(new Array<Uint8Array>(Math.ceil(1e7 / once.length)).fill(once));
    for (let written = 0; written < size; written += several.length) appendFileSync(path, several);
    return path;
}

/** A stream of which a slice is lost, and another one cut short. */
export function damaged(): string {
    const bytes = readFileSync(stream("avc-bframes.h264"));
    const starts = [...startsOf(bytes)];
    const [lost, next, cut] = [starts[8]!, starts[9]!, starts[20]!];
    return file(
        "damaged.h264",
        Buffer.concat([bytes.subarray(0, lost), bytes.subarray(next, cut + 30), bytes.subarray(starts[21]!)]),
    );
}

export function endOfSequence(): string {
    return file("end.h264", Buffer.concat([readFileSync(stream("avc-aud.h264")), Uint8Array.of(0, 0, 1, 10)]));
}

function* startsOf(bytes: Buffer): Generator<number> {
    for (let at = bytes.indexOf("\0\0\x01"); at >= 0; at = bytes.indexOf("\0\0\x01", at + 3)) yield at;
}

export interface ToolInfo {
    codec: string;
    accessUnitCount: number;
    keyFrameCount: number;
    unitCount: number;
    accessUnitSize: { smallest: number; largest: number };
}

/** The tool also prints what it found if the file is damaged. */
function run(...options: string[]): string {
    return spawnSync(tool, options, { encoding: "utf8", maxBuffer: 1e9 }).stdout;
}

export function toolInfo(path: string): ToolInfo {
    return JSON.parse(run("info", "--json", path)) as ToolInfo;
}

export interface ToolUnit {
    number: number;
    offset: number;
    size: number;
    nal_unit_type: number;
    /** H.264 only. */
    nal_ref_idc?: number;
    name: string;
}

export function toolUnits(path: string): ToolUnit[] {
    return (JSON.parse(run("units", "--json", path)) as { units: ToolUnit[] }).units;
}

/** "  term     text" */
export function toolSummary(path: string): Record<string, string> {
    const lines = [...run("info", path).matchAll(/^ {2}(\S.*?) {2,}(.*)$/gm)];
    return Object.fromEntries(lines.map(([, term, text]) => [term!, text!]));
}

/** The page that the tool writes for a file. */
export function toolPage(path: string): string {
    const page = join(folder, "page.html");
    const { status, stderr } = spawnSync(tool, ["inspect", "--no-open", "--page", pageFile, "-o", page, path]);
    if (status !== 0 && status !== 1) throw new Error(String(stderr));
    return page;
}

export function toolUserData(path: string): string {
    return run("userdata", "get", path);
}
