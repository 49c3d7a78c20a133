// The WebAssembly module of the page (web/native/Inspector.cpp).

import { wasmText } from "../wasm.js";
import type { Codec, Element } from "../messages.js";

interface Exports {
    memory: WebAssembly.Memory;
    _initialize(): void;
    Room(size: number): number;
    OpenStream(codec: number): void;
    TakeBytes(size: number): void;
    TakeOutOfBand(size: number): void;
    FinishStream(): void;
    UnitRecords(): number;
    UnitRecordCount(): number;
    AccessUnitRecords(): number;
    AccessUnitRecordCount(): number;
    PrintResults(): void;
    PrintUnitTypeName(codec: number, nalUnitType: number): void;
    PrintElements(codec: number, size: number, unit: number): void;
    WithoutUserDataOf(codec: number, size: number, removesAll: number): number;
    Edited(): number;
    DetectCodec(size: number): number;
}

export interface TakenRecords {
    units: ArrayBuffer;
    accessUnits: ArrayBuffer;
}

const unitRecordSize = 24;
const accessUnitRecordSize = 32;
const typeCount = 64;

const codecs: readonly Codec[] = ["h264", "h265"];

export class Inspector {
    readonly #exports: Exports;
    #printed: Uint8Array[] = [];

    private constructor(compiled: WebAssembly.Module) {
        const nothing = (): number => 0;
        const instance = new WebAssembly.Instance(compiled, {
            env: { emscripten_notify_memory_growth: nothing },
            wasi_snapshot_preview1: {
                fd_write: (_file: number, parts: number, count: number, written: number) =>
                    this.#write(parts, count, written),
                fd_close: nothing,
                fd_seek: nothing,
                environ_get: nothing,
                environ_sizes_get: nothing,
                proc_exit: () => {
                    throw new Error("memory ran out");
                },
            },
        });
        this.#exports = instance.exports as unknown as Exports;
        this.#exports._initialize();
    }

    static async load(): Promise<Inspector> {
        const bytes = Uint8Array.from(atob(wasmText), (character) => character.charCodeAt(0));
        return new Inspector(await WebAssembly.compile(bytes));
    }

    detectCodec(head: Uint8Array): Codec | null {
        this.#put(head);
        return codecs[this.#exports.DetectCodec(head.length)] ?? null;
    }

    open(codec: Codec): void {
        this.#exports.OpenStream(codecs.indexOf(codec));
    }

    take(bytes: Uint8Array): TakenRecords {
        this.#put(bytes);
        this.#exports.TakeBytes(bytes.length);
        return this.#records();
    }

    takeOutOfBand(sets: Uint8Array): TakenRecords {
        this.#put(sets);
        this.#exports.TakeOutOfBand(sets.length);
        return this.#records();
    }

    finish(): TakenRecords {
        this.#exports.FinishStream();
        return this.#records();
    }

    /** JSON of Results. */
    results(): string {
        return this.#print(() => this.#exports.PrintResults());
    }

    elements(codec: Codec, unit: number, bytes: Uint8Array): Element[] {
        this.#put(bytes);
        return JSON.parse(
            this.#print(() => this.#exports.PrintElements(codecs.indexOf(codec), bytes.length, unit)),
        ) as Element[];
    }

    /** A copy of an access unit without user data: of the library, or of all programs. */
    withoutUserData(codec: Codec, accessUnit: Uint8Array, removesAll: boolean): Uint8Array {
        this.#put(accessUnit);
        const size = this.#exports.WithoutUserDataOf(codecs.indexOf(codec), accessUnit.length, Number(removesAll));
        return new Uint8Array(this.#copy(this.#exports.Edited(), size));
    }

    typeNames(codec: Codec): string[] {
        return Array.from({ length: typeCount }, (_, type) =>
            this.#print(() => this.#exports.PrintUnitTypeName(codecs.indexOf(codec), type)).trim(),
        );
    }

    #put(bytes: Uint8Array): void {
        const address = this.#exports.Room(bytes.length);
        new Uint8Array(this.#exports.memory.buffer, address, bytes.length).set(bytes);
    }

    #records(): TakenRecords {
        const { UnitRecords, UnitRecordCount, AccessUnitRecords, AccessUnitRecordCount } = this.#exports;
        return {
            units: this.#copy(UnitRecords(), UnitRecordCount() * unitRecordSize),
            accessUnits: this.#copy(AccessUnitRecords(), AccessUnitRecordCount() * accessUnitRecordSize),
        };
    }

    #copy(address: number, size: number): ArrayBuffer {
        return this.#exports.memory.buffer.slice(address, address + size);
    }

    // What a task prints.
    #print(task: () => void): string {
        this.#printed = [];
        task();
        const decoder = new TextDecoder();
        const text = this.#printed.map((part) => decoder.decode(part, { stream: true })).join("");
        return text + decoder.decode();
    }

    #write(parts: number, count: number, written: number): number {
        const memory = new DataView(this.#exports.memory.buffer);
        let size = 0;
        for (let part = parts; part < parts + 8 * count; part += 8) {
            const begin = memory.getUint32(part, true);
            const length = memory.getUint32(part + 4, true);
            this.#printed.push(new Uint8Array(memory.buffer.slice(begin, begin + length)));
            size += length;
        }
        memory.setUint32(written, size, true);
        return 0;
    }
}
