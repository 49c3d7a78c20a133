// A file that `videoparams inspect` put into the page.

import type { EmbeddedFile } from "../messages.js";
import type { Model } from "./model.js";

type Header = Omit<EmbeddedFile, "units" | "accessUnits" | "stream"> & { hasStream: boolean };

export async function openEmbedded(model: Model): Promise<void> {
    const { hasStream, ...header } = JSON.parse(document.getElementById("embedded")?.textContent || "null") ?? {};
    if (hasStream === undefined) return;
    const units = await takePart("units");
    const accessUnits = await takePart("access-units");
    const stream = await takePart("stream");
    model.openEmbedded({ ...(header as Header), units, accessUnits, stream: hasStream ? new Blob(stream) : null });
}

// The elements go, so that their text takes no memory. The page may draw between two of them.
async function takePart(name: string): Promise<ArrayBuffer[]> {
    const blocks: ArrayBuffer[] = [];
    for (const element of document.querySelectorAll(`script[data-part="${name}"]`)) {
        const text = atob(element.textContent ?? "");
        blocks.push(Uint8Array.from(text, (character) => character.charCodeAt(0)).buffer);
        element.remove();
        await new Promise((resolve) => setTimeout(resolve));
    }
    return blocks;
}
