// What `info` prints, as a list of terms.

import type { Results } from "../messages.js";
import type { Model } from "../model/model.js";
import { byId, bytes, count, make } from "./dom.js";

export class SummaryView {
    readonly #list = byId<HTMLDListElement>("summary-list");
    readonly #damage = byId("summary-damage");

    constructor(private readonly model: Model) {
        model.on(["phase", "records"], () => this.#draw());
    }

    #draw(): void {
        const { facts, results, units, accessUnits } = this.model;
        this.#damage.hidden = true;
        if (results !== null) return this.#drawResults(results);
        const codec = facts === null ? "" : facts.codec === "h264" ? "H.264/AVC" : "H.265/HEVC";
        this.#setTerms([
            ["codec", codec],
            ["format", facts?.format ?? ""],
            ["file", facts === null ? "" : bytes(facts.size)],
            ["NAL units", count(units.count)],
            ["access units", count(accessUnits.count)],
        ]);
    }

    #drawResults({ description, damage, milliseconds }: Results): void {
        const { facts, units } = this.model;
        const time = milliseconds === undefined ? "" : `, read in ${(milliseconds / 1000).toPrecision(2)} s`;
        this.#setTerms([
            ...description,
            ["NAL units", count(units.count)],
            ["file", `${facts?.format ?? ""}, ${bytes(facts?.size ?? 0)}${time}`],
        ]);
        this.#damage.hidden = damage === null;
        this.#damage.textContent = damage;
    }

    #setTerms(terms: [string, string][]): void {
        const items = terms.map(([term, text]) => {
            const item = make("div", "term");
            item.append(make("dt", "", term), make("dd", "", text));
            return item;
        });
        this.#list.replaceChildren(...items);
    }
}
