import { VideoParamsError } from "./errors.js";
import { wasmText } from "./wasm.js";

/** The functions of web/native/Exports.cpp and of the library. Addresses are numbers. @internal */
export interface Exports {
    memory: WebAssembly.Memory;
    _initialize(): void;
    TakeMemoryShortage(): number;
    Input(size: number): number;
    ReleaseInput(): void;
    Outputs(): number;
    CreateParser(codec: number): number;
    ReleaseParser(parser: number): void;
    StreamRoom(parser: number, size: number): number;
    Take(parser: number, size: number, wantsPlaces: number): void;
    Finish(parser: number): void;
    DamagedUnits(parser: number): number;
    ClearUnits(parser: number): void;
    BufferRoom(parser: number, size: number): number;
    TakeUnits(parser: number, size: number): void;
    FinishUnits(parser: number): number;
    Units(parser: number): number;
    PictureType(parser: number, sample: number, size: number): number;
    TestSample(parser: number, sample: number, size: number): number;
    FindParameterSets(parser: number, data: number, size: number): number;
    HoldParameterSets(parser: number, sps: number, spsSize: number, pps: number, ppsSize: number): number;
    DetectCodec(data: number, size: number): number;
    UnitTypeName(codec: number, nalUnitType: number): number;
    WriteTimestamp(payload: number, clock: number, nanoseconds: bigint): void;
    ReadTimestamp(payload: number, size: number): number;
    UserDataCreate(handle: number, codec: number): bigint;
    UserDataRelease(handle: number): bigint;
    AddUserData(
        handle: number,
        data: number,
        size: number,
        userData: number,
        count: number,
        output: number,
        outputSize: number,
    ): bigint;
    GetUserData(handle: number, data: number, size: number, output: number, outputSize: number): bigint;
    RemoveUserData(handle: number, data: number, size: number, output: number, outputSize: number): bigint;
}

/** Bytes in any form that JavaScript has for them. */
export type Bytes = ArrayBuffer | SharedArrayBuffer | ArrayBufferView;

/** @internal */
export function viewOf(bytes: Bytes): Uint8Array {
    try {
        if (ArrayBuffer.isView(bytes)) return new Uint8Array(bytes.buffer, bytes.byteOffset, bytes.byteLength);
        if (bytes instanceof ArrayBuffer) return new Uint8Array(bytes);
        if (typeof SharedArrayBuffer !== "undefined" && bytes instanceof SharedArrayBuffer)
            return new Uint8Array(bytes);
    } catch (cause) {
        throw new VideoParamsError(
            "bad-argument",
            "the memory of these bytes was transferred: pass a copy that was made before",
            {
                cause,
            },
        );
    }
    throw new VideoParamsError("bad-argument", "bytes are expected: an ArrayBuffer or a view of one");
}

/** A run of bytes in the module's memory. @internal */
export interface Place {
    address: number;
    size: number;
}

// The input of one call. What the module makes of it takes several times as much, and its memory ends at 2 GB.
const largestInput = 0x20000000;

// A larger input block is given back after the call.
const keptInput = 0x1000000;

/** One instance of the WebAssembly module. @internal */
export class Module {
    readonly #exports: Exports;
    #loss: unknown = undefined;

    /**
     * Receives the address of each VideoInfo that a call completes, and, if the call wants places, how long before the
     * end of the stream so far the same bytes begin; 0 if they are not there. Throws nothing.
     */
    takeAccessUnit: (info: number, distance: number) => void = () => undefined;

    private constructor(compiled: WebAssembly.Module) {
        const exit = (): never => {
            throw new WebAssembly.RuntimeError("the module ended");
        };
        const instance = new WebAssembly.Instance(compiled, {
            env: {
                emscripten_notify_memory_growth: () => undefined,
                TakeAccessUnit: (info: number, distance: number) => this.takeAccessUnit(info, distance >>> 0),
            },
            wasi_snapshot_preview1: { proc_exit: exit },
        });
        this.#exports = instance.exports as unknown as Exports;
        this.#exports._initialize();
    }

    static compile(): Promise<WebAssembly.Module> {
        const text = atob(wasmText);
        const bytes = Uint8Array.from(text, (character) => character.charCodeAt(0));
        return WebAssembly.compile(bytes);
    }

    static instantiate(compiled: WebAssembly.Module): Module {
        return new Module(compiled);
    }

    get memorySize(): number {
        return this.#exports.memory.buffer.byteLength;
    }

    /** Calls into the module. A trap ends it: its memory may then be in any state. */
    call<Result>(task: (exports: Exports) => Result): Result {
        if (this.#loss !== undefined)
            throw new VideoParamsError("lost", "the module has failed before; load another one", { cause: this.#loss });
        try {
            return task(this.#exports);
        } catch (error) {
            if (!(error instanceof WebAssembly.RuntimeError)) throw error;
            this.#loss = error;
            throw new VideoParamsError("lost", `the module failed: ${error.message}`, { cause: error });
        }
    }

    /** Puts the parts into the module's memory, one after the other, for the time of a task. */
    withInput<Result>(parts: readonly Uint8Array[], task: (exports: Exports, places: Place[]) => Result): Result {
        const size = parts.reduce((sum, part) => sum + part.length, 0);
        return this.withRoom(size, (exports, address) => {
            const places = parts.map((part) => {
                const place = { address, size: part.length };
                this.bytes(place).set(part);
                address += part.length;
                return place;
            });
            return task(exports, places);
        });
    }

    /** Room for input, for the time of a task. */
    withRoom<Result>(size: number, task: (exports: Exports, address: number) => Result): Result {
        if (size > largestInput)
            throw new VideoParamsError("bad-argument", `${size} bytes are too many for one call (${largestInput})`);
        return this.call((exports) => {
            const address = exports.Input(Math.max(size, 1));
            if (address === 0) throw this.outOfMemory();
            try {
                return task(exports, address);
            } finally {
                if (size > keptInput) exports.ReleaseInput();
            }
        });
    }

    /** A view of the module's memory, until the next call. */
    bytes(place: Place): Uint8Array {
        return new Uint8Array(this.#exports.memory.buffer, place.address >>> 0, place.size);
    }

    words(address: number, count: number): Uint32Array {
        return new Uint32Array(this.#exports.memory.buffer, address >>> 0, count);
    }

    text(address: number): string {
        const memory = new Uint8Array(this.#exports.memory.buffer, address >>> 0);
        return new TextDecoder().decode(memory.slice(0, memory.indexOf(0)));
    }

    /** Whether memory ran out since the last question. */
    ranOutOfMemory(): boolean {
        return this.#exports.TakeMemoryShortage() !== 0;
    }

    outOfMemory(cause?: unknown): VideoParamsError {
        this.ranOutOfMemory();
        return new VideoParamsError("out-of-memory", "memory ran out", cause === undefined ? {} : { cause });
    }
}
