// Compares what the page shows with what the tool says.

import assert from "node:assert/strict";
import type { Inspector } from "./browser.js";
import { toolInfo, toolSummary, toolUnits, type ToolUnit } from "./files.js";

export const count = (text: string | undefined): number => Number((text ?? "").replaceAll(",", ""));

/** Counts, sizes and lines are those of the tool, of which the terms of a container are its own. */
export async function compare(inspector: Inspector, path: string): Promise<void> {
    assert.equal(await inspector.phase, "ready");
    const summary = await inspector.summary();
    const expected = toolSummary(path);
    const terms = ["codec", "picture size", "frame rate", "access units", "unit sizes", "key frames", "bit rate"];
    for (const term of terms) assert.equal(summary[term], expected[term], term);
    const { codec, unitCount, keyFrameCount } = toolInfo(path);
    assert.equal(count(summary["NAL units"]), unitCount);
    assert.equal(count(summary["key frames"]), keyFrameCount);
    await compareUnits(inspector, toolUnits(path), codec);
}

// The first byte of its header, in hex.
function headerByte({ nal_unit_type: type, nal_ref_idc: reference = 0 }: ToolUnit, codec: string): RegExp {
    const byte = codec.startsWith("H.264") ? (reference << 5) | type : type << 1;
    return new RegExp(`^${byte.toString(16).padStart(2, "0")}$`, "i");
}

// Units from the beginning, the middle and the end.
async function compareUnits(inspector: Inspector, units: ToolUnit[], codec: string): Promise<void> {
    for (const number of [0, 3, units.length >> 1, units.length - 1]) {
        const unit = units[number]!;
        await inspector.page.evaluate((wanted) => (location.hash = `#unit=${wanted}`), number);
        const row = inspector.page.locator("#units-table .row[aria-selected=true]");
        await inspector.expectText(
            "#units-table .row[aria-selected=true] .cell-number",
            new RegExp(`^${number.toLocaleString("en")}$`),
        );
        assert.equal(count(await row.locator(".cell-offset").innerText()), unit.offset);
        assert.equal(count(await row.locator(".cell-size").innerText()), unit.size);
        assert.equal(await row.locator(".cell-type").innerText(), `${unit.nal_unit_type} ${unit.name}`);
        await inspector.expectText(
            "#bytes-note",
            new RegExp(`^Unit ${number}: .*\\b${unit.size.toLocaleString("en")} byte`),
        );
        await inspector.expectText("#bytes-table .hex-codes .mark-header >> nth=0", headerByte(unit, codec));
    }
}
