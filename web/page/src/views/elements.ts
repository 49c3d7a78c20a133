// The syntax elements of the selected unit.

import type { Model } from "../model/model.js";
import { byId, make, messageOf } from "./dom.js";

export class ElementsView {
    readonly #host = byId("elements-list");
    readonly #note = byId("elements-note");

    constructor(private readonly model: Model) {
        model.on(["selection"], () => void this.#load());
        model.on(["phase"], () => {
            if (model.phase === "opening") this.#show([], "Select a unit.");
        });
    }

    async #load(): Promise<void> {
        const { model } = this;
        const unit = model.selectedUnit;
        const { units } = model;
        const isWanted = (): boolean => model.selectedUnit === unit && model.units === units;
        try {
            const elements = await model.request("elements", { unit, range: model.rangeOfUnit(unit) });
            if (!isWanted()) return;
            const rows = elements.map(({ name, value }) => {
                const row = make("div", value === undefined ? "structure" : "element");
                row.append(make("dt", "", name), make("dd", "", value === undefined ? "" : String(value)));
                return row;
            });
            this.#show(rows, rows.length === 0 ? "The unit has no header." : "");
        } catch (error) {
            if (isWanted()) this.#show([], messageOf(error));
        }
    }

    #show(rows: HTMLElement[], note: string): void {
        this.#host.replaceChildren(...rows);
        this.#note.textContent = note;
    }
}
