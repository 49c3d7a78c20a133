// A file that `videoparams inspect` put into the page.

import type { Model } from "./model.js";

interface Embedded {
    name: string;
    /** The file, base64. */
    bytes: string;
}

export function openEmbedded(model: Model): void {
    const text = document.getElementById("embedded")?.textContent?.trim() ?? "";
    if (text === "" || text === "null") return;
    const { name, bytes } = JSON.parse(text) as Embedded;
    const decoded = Uint8Array.from(atob(bytes), (character) => character.charCodeAt(0));
    model.open(new Blob([decoded]), name);
}
