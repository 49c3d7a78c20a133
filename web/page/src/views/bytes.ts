// The bytes of the selected unit: start code, header, slice header and emulation prevention are marked.

import type { Model } from "../model/model.js";
import { byId, bytes as sizeOf, countOf, hex, make, messageOf } from "./dom.js";
import { VirtualList } from "./virtualList.js";

const rowHeight = 22;
const widest = 16;
const narrowest = 8;
const mostBytes = 8 << 20; // that are loaded

export class BytesView {
    readonly #list = new VirtualList({
        label: "Bytes of the unit",
        rowHeight,
        render: (row, index) => this.#render(row, index),
    });
    readonly #note = byId("bytes-note");
    readonly #host = byId("bytes-table");
    #bytes = new Uint8Array();
    #marks = new Marks(this.#bytes, 0, 0, 0);
    #perRow = widest;

    constructor(private readonly model: Model) {
        this.#host.append(this.#list.element);
        model.on(["selection"], () => void this.#load());
        model.on(["phase"], () => this.#clear());
        new ResizeObserver(() => this.#fit()).observe(this.#host);
    }

    #clear(): void {
        if (this.model.phase !== "opening") return;
        this.#set(new Uint8Array(), new Marks(new Uint8Array(), 0, 0, 0), "Select a unit.");
    }

    async #load(): Promise<void> {
        const { model } = this;
        const unit = model.selectedUnit;
        const { units } = model;
        const isWanted = (): boolean => model.selectedUnit === unit && model.units === units;
        const range = model.rangeOfUnit(unit);
        const shown = { ...range, size: Math.min(range.size, mostBytes) };
        try {
            const bytes = await model.request("bytes", shown);
            if (!isWanted()) return;
            const header = model.facts?.codec === "h265" ? 2 : 1;
            const marks = new Marks(bytes, units.startCodeLength(unit), header, units.sliceHeaderLength(unit));
            this.#set(bytes, marks, this.#describe(unit, range.size, marks));
        } catch (error) {
            if (isWanted()) this.#set(new Uint8Array(), this.#marks, messageOf(error));
        }
    }

    #set(bytes: Uint8Array<ArrayBuffer> | Uint8Array, marks: Marks, note: string): void {
        this.#bytes = new Uint8Array(bytes);
        this.#marks = marks;
        this.#note.textContent = note;
        this.#list.count = Math.ceil(bytes.length / this.#perRow);
        this.#list.scrollToTop();
    }

    #describe(unit: number, size: number, marks: Marks): string {
        const { model } = this;
        const name = `${model.units.type(unit)} ${model.typeName(model.units.type(unit))}`;
        const prevention =
            marks.preventionCount === 0 ? "" : `, ${countOf(marks.preventionCount, "emulation prevention byte")}`;
        const cut = size > mostBytes ? `; the first ${sizeOf(mostBytes)} are shown` : "";
        return `Unit ${unit}: ${name}, ${countOf(size, "byte")}${prevention}${cut}`;
    }

    #fit(): void {
        const perRow = this.#host.clientWidth < 540 ? narrowest : widest;
        if (perRow === this.#perRow) return;
        this.#perRow = perRow;
        this.#list.count = Math.ceil(this.#bytes.length / perRow);
    }

    #render(row: HTMLElement, index: number): void {
        const begin = index * this.#perRow;
        const end = Math.min(begin + this.#perRow, this.#bytes.length);
        const codes = make("span", "hex-codes");
        const text = make("span", "hex-text");
        for (let at = begin; at < end; ++at) {
            const byte = this.#bytes[at]!;
            const mark = this.#marks.at(at);
            codes.append(make("span", mark, hex(byte)));
            text.append(make("span", mark, byte >= 0x20 && byte < 0x7f ? String.fromCharCode(byte) : "·"));
        }
        row.classList.add("hex-row");
        row.replaceChildren(make("span", "hex-offset", hex(begin, 6)), codes, text);
    }
}

/** What each byte of a unit is. */
class Marks {
    readonly preventionCount: number;
    readonly #headerEnd: number;
    readonly #sliceHeaderEnd: number;

    constructor(
        private readonly bytes: Uint8Array,
        private readonly startCodeLength: number,
        headerLength: number,
        sliceHeaderLength: number,
    ) {
        this.#headerEnd = startCodeLength + headerLength;
        this.#sliceHeaderEnd = sliceHeaderLength === 0 ? 0 : this.#headerEnd + sliceHeaderLength;
        this.preventionCount = this.#countPrevention();
    }

    at(index: number): string {
        if (index < this.startCodeLength) return "mark-start-code";
        if (this.#isPrevention(index)) return "mark-prevention";
        if (index < this.#headerEnd) return "mark-header";
        return index < this.#sliceHeaderEnd ? "mark-slice-header" : "mark-payload";
    }

    // 03 after 00 00, but not at the very end.
    #isPrevention(at: number): boolean {
        const { bytes } = this;
        const isWithin = at >= this.startCodeLength + 2 && at < bytes.length - 1;
        return isWithin && bytes[at] === 3 && bytes[at - 1] === 0 && bytes[at - 2] === 0;
    }

    #countPrevention(): number {
        let found = 0;
        for (let at = this.bytes.indexOf(3); at >= 0; at = this.bytes.indexOf(3, at + 1))
            found += Number(this.#isPrevention(at));
        return found;
    }
}
