// Parameter sets, user data and findings: a row for each, which selects its unit.

import type { Finding, ParameterSet, Results, UserDataMessage } from "../messages.js";
import type { Model } from "../model/model.js";
import { byId, countOf, make } from "./dom.js";
import { VirtualList } from "./virtualList.js";

const rowHeight = 66; // a title and two lines

interface Item {
    unit: number | null;
    title: string;
    detail: string;
}

class ItemList {
    readonly #list: VirtualList;
    readonly #note: HTMLElement;
    #items: Item[] = [];

    constructor(
        private readonly model: Model,
        panel: HTMLElement,
        label: string,
    ) {
        this.#note = make("p", "note");
        this.#list = new VirtualList({
            label,
            rowHeight,
            render: (row, index) => this.#render(row, this.#items[index]!),
            choose: (index) => this.#choose(index),
        });
        this.#list.element.classList.add("items");
        panel.append(this.#note, this.#list.element);
        model.on(["selection"], () => this.#showSelection());
    }

    set(items: Item[], note: string): void {
        this.#items = items;
        this.#note.textContent = note;
        this.#note.hidden = note === "";
        this.#list.element.hidden = items.length === 0;
        this.#list.count = items.length;
        this.#showSelection();
    }

    #choose(index: number): void {
        const unit = this.#items[index]?.unit;
        this.#list.active = index;
        if (unit !== null && unit !== undefined) this.model.selectUnit(unit);
    }

    #showSelection(): void {
        const selected = this.model.selectedUnit;
        this.#list.active = selected < 0 ? -1 : this.#items.findIndex(({ unit }) => unit === selected);
    }

    #render(row: HTMLElement, { title, detail }: Item): void {
        row.replaceChildren(make("span", "item-title", title), make("span", "item-detail", detail));
    }
}

export class ListViews {
    readonly #sets: ItemList;
    readonly #userData: ItemList;
    readonly #findings: ItemList;

    constructor(private readonly model: Model) {
        this.#sets = new ItemList(model, byId("panel-sets"), "Parameter sets");
        this.#userData = new ItemList(model, byId("panel-user-data"), "User data");
        this.#findings = new ItemList(model, byId("panel-findings"), "Findings");
        model.on(["phase"], () => this.#update());
        this.#update();
    }

    #update(): void {
        const { results } = this.model;
        if (results !== null) return this.#show(results);
        const note =
            this.model.phase === "failed" ? "The file was not read to its end." : "Comes when the file is read.";
        for (const list of [this.#sets, this.#userData, this.#findings]) list.set([], note);
        this.#showCounts(null);
    }

    #show(results: Results): void {
        const { parameterSets, userData, findings, userDataCount, findingCount } = results;
        const beyond = (total: number, listed: number): string =>
            total > listed ? ` The first ${listed} are listed.` : "";
        this.#sets.set(parameterSets.map(itemOfSet), parameterSets.length === 0 ? "No parameter sets." : "");
        this.#userData.set(
            userData.map(itemOfMessage),
            userDataCount === 0
                ? "No user data."
                : `${countOf(userDataCount, "message")}.${beyond(userDataCount, userData.length)}`,
        );
        this.#findings.set(findings.map(itemOfFinding), this.#noteOfFindings(findingCount, findings.length));
        this.#showCounts(results);
    }

    #noteOfFindings(total: number, listed: number): string {
        const { facts } = this.model;
        const scope = facts?.codec === "h265" ? " In H.265 the order of units is checked, continuity is not." : "";
        if (total === 0) return `Nothing found.${scope}`;
        return `${countOf(total, "finding")}.${total > listed ? ` The first ${listed} are listed.` : ""}${scope}`;
    }

    #showCounts(results: Results | null): void {
        byId("count-sets").textContent = results === null ? "" : String(results.parameterSets.length);
        byId("count-user-data").textContent = results === null ? "" : String(results.userDataCount);
        byId("count-findings").textContent = results === null ? "" : String(results.findingCount);
        byId("count-findings").classList.toggle("alert", (results?.findingCount ?? 0) > 0);
    }
}

function itemOfSet({ kind, id, unit, count, bytes }: ParameterSet): Item {
    const repeated = count > 1 ? `, repeated ${countOf(count - 1, "time")}` : "";
    const pairs = bytes.match(/../g) ?? [];
    return {
        unit,
        title: `${kind} ${id} · unit ${unit}${repeated} · ${countOf(pairs.length, "byte")}`,
        detail: pairs.slice(0, 64).join(" "),
    };
}

function itemOfMessage({ unit, writer, identifier, size, text }: UserDataMessage): Item {
    return { unit, title: `Unit ${unit} · ${countOf(size, "byte")} · ${writer || identifier}`, detail: text };
}

function itemOfFinding({ unit, text }: Finding): Item {
    return { unit, title: text, detail: unit === null ? "the stream as a whole" : `unit ${unit}` };
}
