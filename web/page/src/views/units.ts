// The table of NAL units, and which types it shows.

import type { Model } from "../model/model.js";
import { noAccessUnit } from "../model/records.js";
import { byId, count, make } from "./dom.js";
import { kindOf, sliceTypeName } from "./unitKind.js";
import { VirtualList } from "./virtualList.js";

const rowHeight = 26;
const filterStep = 50000; // units between two pauses

export class UnitsView {
    readonly #list = new VirtualList({
        label: "NAL units",
        rowHeight,
        render: (row, index) => this.#render(row, this.#unitAt(index)),
        choose: (index) => this.model.selectUnit(this.#unitAt(index)),
    });
    readonly #isNarrow = matchMedia("(max-width: 760px)");
    readonly #types = byId("unit-types");
    readonly #counts = new Map<number, number>(); // by type
    readonly #buttons = new Map<number, HTMLButtonElement>();
    readonly #chosen = new Set<number>(); // empty: all
    #counted = 0;
    #shown = new Uint32Array(1024); // the units of the chosen types
    #shownCount = 0;
    #filtered = 0; // units that were looked at for them

    constructor(private readonly model: Model) {
        byId("units-table").append(this.#list.element);
        model.on(["phase"], () => this.#restart());
        model.on(["records"], () => this.#update());
        model.on(["selection"], () => this.#showSelection());
    }

    #restart(): void {
        if (this.model.phase !== "opening") return;
        this.#counts.clear();
        this.#buttons.clear();
        this.#types.replaceChildren();
        this.#counted = 0;
        this.#chosen.clear();
        this.#refilter();
        this.#list.active = -1;
    }

    #update(): void {
        const { units } = this.model;
        const end = Math.min(units.count, this.#counted + filterStep);
        for (; this.#counted < end; ++this.#counted) {
            const type = units.hasHeader(this.#counted) ? units.type(this.#counted) : -1;
            this.#counts.set(type, (this.#counts.get(type) ?? 0) + 1);
        }
        this.#drawTypes();
        this.#filter();
        if (this.#counted < units.count) setTimeout(() => this.#update());
    }

    #unitAt(index: number): number {
        return this.#chosen.size === 0 ? index : this.#shown[index]!;
    }

    #refilter(): void {
        this.#shownCount = 0;
        this.#filtered = 0;
        this.#filter();
        this.#list.scrollToTop();
        this.#showSelection();
    }

    // Takes the units that are new.
    #filter(): void {
        const { units } = this.model;
        if (this.#chosen.size === 0) {
            this.#list.count = units.count;
            return;
        }
        const end = Math.min(units.count, this.#filtered + filterStep);
        for (; this.#filtered < end; ++this.#filtered) {
            const type = units.hasHeader(this.#filtered) ? units.type(this.#filtered) : -1;
            if (this.#chosen.has(type)) this.#show(this.#filtered);
        }
        this.#list.count = this.#shownCount;
        if (this.#filtered < units.count) setTimeout(() => this.#filter());
        else this.#showSelection();
    }

    #show(unit: number): void {
        if (this.#shownCount === this.#shown.length) {
            const larger = new Uint32Array(2 * this.#shown.length);
            larger.set(this.#shown);
            this.#shown = larger;
        }
        this.#shown[this.#shownCount++] = unit;
    }

    #showSelection(): void {
        this.#list.active = this.#indexOf(this.model.selectedUnit);
    }

    // Where a unit is in the list, or -1.
    #indexOf(unit: number): number {
        if (this.#chosen.size === 0 || unit < 0) return unit;
        let low = 0;
        for (let high = this.#shownCount; low < high;) {
            const middle = (low + high) >> 1;
            if (this.#shown[middle]! < unit) low = middle + 1;
            else high = middle;
        }
        return low < this.#shownCount && this.#shown[low] === unit ? low : -1;
    }

    #drawTypes(): void {
        for (const [type, number] of [...this.#counts].sort(([one], [other]) => one - other)) {
            const button = this.#buttons.get(type) ?? this.#makeButton(type);
            button.lastElementChild!.textContent = count(number);
        }
    }

    #makeButton(type: number): HTMLButtonElement {
        const button = make("button", "chip");
        const name = type < 0 ? "no header" : this.model.typeName(type);
        button.type = "button";
        button.title = `Show only units of type ${type < 0 ? "" : type} ${name}`;
        button.setAttribute("aria-pressed", "false");
        button.dataset["type"] = String(type);
        button.append(
            make("span", "chip-name", type < 0 ? name : `${type} ${shortName(name)}`),
            make("span", "chip-count"),
        );
        button.addEventListener("click", () => this.#toggle(type, button));
        this.#buttons.set(type, button);
        const next = [...this.#buttons].filter(([other]) => other > type).sort(([one], [other]) => one - other)[0];
        this.#types.insertBefore(button, next?.[1] ?? null);
        return button;
    }

    #toggle(type: number, button: HTMLButtonElement): void {
        const isChosen = !this.#chosen.has(type);
        if (isChosen) this.#chosen.add(type);
        else this.#chosen.delete(type);
        button.setAttribute("aria-pressed", String(isChosen));
        this.#refilter();
    }

    #nameOf(type: number): string {
        const name = this.model.typeName(type);
        return `${type} ${this.#isNarrow.matches ? shortName(name) : name}`;
    }

    #render(row: HTMLElement, unit: number): void {
        if (row.childElementCount === 0) {
            for (const name of ["number", "offset", "size", "type", "picture", "header", "access-unit"])
                row.append(make("span", `cell-${name}`));
        }
        const { units, facts } = this.model;
        const [number, offset, size, type, picture, header, accessUnit] = row.children as unknown as HTMLElement[];
        const access = units.accessUnit(unit);
        const length = units.sliceHeaderLength(unit);
        row.dataset["kind"] = kindOf(units, unit, facts?.codec ?? "h264");
        number!.textContent = count(unit);
        offset!.textContent = count(units.offset(unit));
        size!.textContent = count(units.size(unit));
        type!.textContent = units.hasHeader(unit) ? this.#nameOf(units.type(unit)) : "no header";
        picture!.textContent = sliceTypeName(units.sliceType(unit));
        header!.textContent = length === 0 ? "" : String(length);
        accessUnit!.textContent = access === noAccessUnit ? "–" : count(access);
    }
}

// What fits on a button.
function shortName(name: string): string {
    const short: Readonly<Record<string, string>> = {
        "Coded slice of a non-IDR picture": "Slice",
        "Coded slice of an IDR picture": "IDR slice",
        "Supplemental enhancement information (SEI)": "SEI",
        "Sequence parameter set": "SPS",
        "Picture parameter set": "PPS",
        "Access unit delimiter": "Delimiter",
    };
    return short[name] ?? name.replace(/_NUT$/, "");
}
