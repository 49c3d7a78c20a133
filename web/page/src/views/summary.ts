// What `info` prints, as a list of terms.

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
        if (results !== null) return this.#drawInfo(results.info);
        const codec = facts === null ? "" : facts.codec === "h264" ? "H.264/AVC" : "H.265/HEVC";
        this.#setTerms([
            ["codec", codec],
            ["format", facts?.format ?? ""],
            ["file", facts === null ? "" : bytes(facts.size)],
            ["NAL units", count(units.count)],
            ["access units", count(accessUnits.count)],
        ]);
    }

    // Lines of "  term        text", of which the first one is the file's name.
    #drawInfo(info: string): void {
        const { facts, results, units } = this.model;
        const lines = info.split("\n");
        const terms = lines.flatMap((line) => [...(/^ {2}(\S.*?) {2,}(.*)$/.exec(line) ?? [])].slice(1)) as string[];
        const pairs: [string, string][] = [];
        for (let i = 0; i + 1 < terms.length; i += 2) pairs.push([terms[i]!, terms[i + 1]!]);
        const seconds = ((results?.milliseconds ?? 0) / 1000).toPrecision(2);
        this.#setTerms([
            ...pairs,
            ["NAL units", count(units.count)],
            ["file", `${facts?.format ?? ""}, ${bytes(facts?.size ?? 0)}, read in ${seconds} s`],
        ]);
        const damage = lines.find((line) => line.startsWith("damaged:"));
        this.#damage.hidden = damage === undefined;
        this.#damage.textContent = damage ?? "";
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
