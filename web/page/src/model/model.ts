// What is known of the file, and what is selected. Views listen to it.

import type { EmbeddedFile, FileFacts, Notice, Range, Requests, Results } from "../messages.js";
import { Client } from "./client.js";
import { AccessUnitRecords, UnitRecords, noAccessUnit } from "./records.js";

export type Phase = "empty" | "opening" | "reading" | "ready" | "failed";

/**
 * - `phase`: another file, or another state of it
 * - `records`: there are more units and access units
 * - `selection`: another unit is selected
 */
export type ModelEvent = "phase" | "records" | "selection";

const none = -1;
const reportPause = 250; // milliseconds

export class Model {
    phase: Phase = "empty";
    message = "";
    name = "";
    facts: FileFacts | null = null;
    results: Results | null = null;
    read = 0;
    units = new UnitRecords();
    accessUnits = new AccessUnitRecords();
    exported = 0;

    /** Number of the selected unit, or -1. */
    selectedUnit = none;

    readonly #client = new Client(
        (notice) => this.#take(notice),
        (done) => (this.exported = done),
    );
    readonly #listeners: [ModelEvent, () => void][] = [];
    #wanted: number | null = null; // selected before it was read
    #reported = false;

    on(events: ModelEvent[], listener: () => void): void {
        for (const event of events) this.#listeners.push([event, listener]);
    }

    open(file: Blob, name: string): void {
        this.#restart(name);
        this.#client.open(file, name);
    }

    openEmbedded(file: EmbeddedFile): void {
        this.#restart(file.name);
        this.#client.openEmbedded(file);
    }

    cancel(): void {
        this.#client.cancel();
    }

    request<Name extends keyof Requests>(
        type: Name,
        body: Requests[Name]["request"],
    ): Promise<Requests[Name]["reply"]> {
        return this.#client.request(type, body);
    }

    /** A unit that is not read yet is selected when it comes. */
    selectUnit(unit: number): void {
        if (unit >= this.units.count) {
            this.#wanted = unit;
            return;
        }
        this.#wanted = null;
        if (unit < 0 || unit === this.selectedUnit) return;
        this.selectedUnit = unit;
        this.#emit("selection");
    }

    /** Selects its first slice, whose unit represents the picture. */
    selectAccessUnit(accessUnit: number): void {
        if (accessUnit < 0 || accessUnit >= this.accessUnits.count) return;
        const first = this.accessUnits.firstUnit(accessUnit);
        const end = first + this.accessUnits.unitCount(accessUnit);
        let unit = first;
        while (unit < end - 1 && !this.units.isSlice(unit)) ++unit;
        this.selectUnit(this.units.isSlice(unit) ? unit : first);
    }

    /** Of the selected unit, or -1. */
    get selectedAccessUnit(): number {
        if (this.selectedUnit === none) return none;
        const accessUnit = this.units.accessUnit(this.selectedUnit);
        return accessUnit === noAccessUnit || accessUnit >= this.accessUnits.count ? none : accessUnit;
    }

    rangeOfUnit(unit: number): Range {
        const range = { offset: this.units.offset(unit), size: this.units.size(unit) };
        return this.units.isOutOfBand(unit) ? { ...range, outOfBand: unit } : range; // they come first
    }

    rangeOfAccessUnit(accessUnit: number): Range {
        const first = this.accessUnits.firstUnit(accessUnit);
        const last = first + this.accessUnits.unitCount(accessUnit) - 1;
        const offset = this.units.offset(first);
        return { offset, size: this.units.offset(last) + this.units.size(last) - offset };
    }

    typeName(type: number): string {
        return this.facts?.typeNames[type] ?? "";
    }

    #restart(name: string): void {
        this.units = new UnitRecords();
        this.accessUnits = new AccessUnitRecords();
        this.facts = null;
        this.results = null;
        this.read = 0;
        this.selectedUnit = none;
        this.#wanted = null;
        this.name = name;
        this.#setPhase("opening");
    }

    #take(notice: Notice): void {
        switch (notice.type) {
            case "opened":
                this.facts = notice.facts;
                return this.#setPhase("reading");
            case "records":
                this.units.append(notice.units);
                this.accessUnits.append(notice.accessUnits);
                this.read = notice.read;
                return this.#reportRecords();
            case "finished":
                this.results = {
                    ...(JSON.parse(notice.results) as Results),
                    ...(notice.milliseconds === undefined ? {} : { milliseconds: notice.milliseconds }),
                };
                this.#emit("records");
                return this.#setPhase("ready");
            case "failed":
                this.message = notice.message;
                this.#emit("records");
                return this.#setPhase("failed");
        }
    }

    // Records come faster than they need to be shown.
    #reportRecords(): void {
        if (this.#reported) return;
        this.#reported = true;
        setTimeout(() => {
            this.#reported = false;
            this.#emit("records");
        }, reportPause);
    }

    #setPhase(phase: Phase): void {
        this.phase = phase;
        this.#emit("phase");
    }

    #emit(event: ModelEvent): void {
        if (event === "records" && this.#wanted !== null) this.selectUnit(this.#wanted);
        for (const [wanted, listener] of this.#listeners) if (wanted === event) listener();
    }
}
