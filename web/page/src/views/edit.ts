// Insert or remove user data, and download the result.

import type { Edit } from "../messages.js";
import type { Model } from "../model/model.js";
import { byId, bytes, bytesOfHex, countOf, messageOf } from "./dom.js";

export class EditView {
    readonly #form = byId<HTMLFormElement>("edit-form");
    readonly #payload = byId<HTMLTextAreaElement>("edit-payload");
    readonly #note = byId("edit-note");
    readonly #button = byId<HTMLButtonElement>("edit-download");
    readonly #container = byId<HTMLInputElement>("edit-container");

    constructor(private readonly model: Model) {
        this.#form.addEventListener("submit", (event) => {
            event.preventDefault();
            void this.#download();
        });
        this.#form.addEventListener("change", () => this.#update());
        model.on(["phase", "selection"], () => this.#update());
        this.#update();
    }

    #value(name: string): string {
        return String(new FormData(this.#form).get(name) ?? "");
    }

    #update(): void {
        const { phase, facts } = this.model;
        const isAdding = this.#value("action") === "add";
        byId("edit-payload-row").hidden = !isAdding;
        byId("edit-key-row").hidden = !isAdding;
        byId("edit-warning").hidden = this.#value("action") !== "remove-all";
        this.#container.disabled = !(facts?.writesContainer ?? false);
        byId("edit-container-row").hidden = this.#container.disabled;
        byId("edit-container-name").textContent = facts?.format ?? "";
        this.#button.disabled = phase !== "ready";
    }

    async #download(): Promise<void> {
        const edit = this.#edit();
        const accessUnits = this.#chosenAccessUnits();
        if (edit === null || accessUnits === null) return;
        const container = this.#container.checked && !this.#container.disabled;
        this.#button.disabled = true;
        const timer = setInterval(() => this.#say(`Writing … ${Math.round(100 * this.model.exported)} %`), 250);
        try {
            const result = await this.model.request("export", {
                edit,
                accessUnits: this.#ranges(accessUnits),
                container,
            });
            save(result.blob, result.name);
            const failed = result.failed === 0 ? "" : `; ${countOf(result.failed, "access unit")} could not be edited`;
            this.#say(
                `${result.name}: ${bytes(result.blob.size)}, ${countOf(result.edited, "access unit")} edited${failed}.`,
            );
        } catch (error) {
            this.#say(`The copy cannot be written: ${messageOf(error)}`);
        }
        clearInterval(timer);
        this.#update();
    }

    #edit(): Edit | null {
        const action = this.#value("action");
        if (action !== "add") return { action: "remove", all: action === "remove-all" };
        const text = this.#payload.value;
        if (this.#value("form") === "text") return { action: "add", payload: new TextEncoder().encode(text) };
        const digits = text.replace(/\s/g, "");
        if (/^([0-9a-f]{2})*$/i.test(digits)) return { action: "add", payload: bytesOfHex(digits) };
        this.#say("Hex has two digits for each byte, such as 01 AB FF.");
        return null;
    }

    #chosenAccessUnits(): number[] | null {
        const { accessUnits, selectedAccessUnit, selectedUnit } = this.model;
        const where = this.#value("where");
        if (where === "selected") {
            if (selectedAccessUnit >= 0) return [selectedAccessUnit];
            this.#say(
                selectedUnit < 0
                    ? "Select a unit first."
                    : "The selected unit is in no access unit. Select another one.",
            );
            return null;
        }
        const all = Array.from({ length: accessUnits.count }, (_, index) => index);
        return where === "key" ? all.filter((index) => accessUnits.isKeyFrame(index)) : all;
    }

    #ranges(accessUnits: number[]): Float64Array {
        const ranges = new Float64Array(2 * accessUnits.length);
        accessUnits.forEach((index, at) => {
            const { offset, size } = this.model.rangeOfAccessUnit(index);
            ranges[2 * at] = offset;
            ranges[2 * at + 1] = size;
        });
        return ranges;
    }

    #say(text: string): void {
        this.#note.textContent = text;
    }
}

function save(blob: Blob, name: string): void {
    const link = document.createElement("a");
    link.href = URL.createObjectURL(blob);
    link.download = name;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 60000);
}
