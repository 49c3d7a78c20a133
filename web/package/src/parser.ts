import type { AccessUnit } from "./accessUnit.js";
import { readAccessUnit } from "./accessUnit.js";
import type { Chunk, ChunkOptions, ChunkSource } from "./chunk.js";
import { chunksOf, stepsOf, takeOver } from "./chunk.js";
import type { Codec } from "./codec.js";
import { numberOfCodec } from "./codec.js";
import { VideoParamsError } from "./errors.js";
import { Handle } from "./handle.js";
import type { Bytes, Exports, Module } from "./module.js";
import { viewOf } from "./module.js";
import type { SliceType, Unit } from "./unit.js";
import { UnitReader, sliceTypeOf } from "./unit.js";

/** NAL units with their start codes; null for a set that was not found. H.264 has no VPS. */
export interface ParameterSets {
    /** The video parameter set (H.265). */
    vps: Uint8Array<ArrayBuffer> | null;
    /** The sequence parameter set. */
    sps: Uint8Array<ArrayBuffer> | null;
    /** The picture parameter set. */
    pps: Uint8Array<ArrayBuffer> | null;
}

/** What `testSample` found. */
export interface SampleTest {
    /** Whether reference pictures are missing before this sample (by `frame_num`), or its parameter sets are unknown. */
    error: boolean;
    /** Whether the parameter sets of the sample are known. The next two are false if not. */
    known: boolean;
    /** Whether the first slice codes a frame, not a field. */
    isFrame: boolean;
    /** Whether the first slice is an IDR slice or an I slice. */
    isIntra: boolean;
}

/** Analyses one stream, and answers questions about its samples. */
export class Parser extends Handle {
    /** Of its stream. */
    readonly codec: Codec;
    readonly #module: Module;
    readonly #units: UnitReader;

    /** @internal */
    constructor(module: Module, codec: Codec) {
        const address = module.call((exports) => exports.CreateParser(numberOfCodec(codec)));
        if (address === 0) throw module.outOfMemory();
        super({ module, address, release: (of, at) => of.call((exports) => exports.ReleaseParser(at)) });
        this.codec = codec;
        this.#module = module;
        this.#units = new UnitReader(module, codec);
    }

    /**
     * Takes the next bytes of the stream, cut anywhere, and returns the access units that they complete. An access unit
     * is complete when the next one begins, so the last one comes with `flush()`. If memory runs out, the access units
     * of the chunk are lost.
     */
    push(chunk: Chunk, { transfer = false }: ChunkOptions = {}): AccessUnit[] {
        const address = this.address;
        let given: Uint8Array<ArrayBuffer> | null = null;
        let taken = 0;
        return this.#collect(
            (exports) => {
                given = transfer ? takeOver(chunk) : null;
                for (const { size, copyTo } of stepsOf(given ?? chunk)) {
                    const room = exports.StreamRoom(address, size);
                    if (room === 0) throw this.#module.outOfMemory();
                    copyTo(this.#module.bytes({ address: room, size }));
                    taken += size;
                    exports.Take(address, size, given === null ? 0 : 1);
                }
            },
            (distance, size) => {
                if (given === null || distance === 0 || distance > taken) return null;
                return given.subarray(taken - distance, taken - distance + size);
            },
        );
    }

    /** Ends the stream, or a part of it, and returns its last access units. The next chunk begins a new stream. */
    flush(): AccessUnit[] {
        const address = this.address;
        return this.#collect((exports) => exports.Finish(address));
    }

    /**
     * All access units of a source, such as the body of a response or the stream of a file. If you leave the loop early
     * or the source fails, call `flush()` before the parser gets another stream.
     */
    async *parse(source: ChunkSource, options: ChunkOptions = {}): AsyncGenerator<AccessUnit, void, undefined> {
        for await (const chunk of chunksOf(source)) yield* this.push(chunk, options);
        yield* this.flush();
    }

    /** Units so far that could not be read: their `forbidden_zero_bit` is 1. */
    get damagedUnits(): number {
        return this.#module.call((exports) => exports.DamagedUnits(this.address));
    }

    /**
     * The NAL units of a buffer. Slice headers of H.264 are measured by the parameter sets that this method has met, in
     * this buffer or an earlier one.
     */
    units(data: Bytes): Unit[] {
        const address = this.address;
        const bytes = viewOf(data);
        return this.#module.call((exports) => {
            exports.ClearUnits(address);
            for (const { size, copyTo } of stepsOf(bytes)) {
                const room = exports.BufferRoom(address, size);
                if (room === 0) throw this.#module.outOfMemory();
                copyTo(this.#module.bytes({ address: room, size }));
                exports.TakeUnits(address, size);
            }
            const count = this.#checked(exports.FinishUnits(address));
            return this.#units.read(bytes, exports.Units(address), count);
        });
    }

    /** The type of a picture by its first slice. Null if the sample has no slice. H.264 only. */
    pictureType(sample: Bytes): SliceType | null {
        this.#requireH264("pictureType");
        return this.#module.withInput([viewOf(sample)], (exports, [place]) =>
            sliceTypeOf(this.#checked(exports.PictureType(this.address, place!.address, place!.size))),
        );
    }

    /** Whether a sample continues the sequence of reference pictures. Give it every sample, in order. H.264 only. */
    testSample(sample: Bytes): SampleTest {
        this.#requireH264("testSample");
        const bits = this.#module.withInput([viewOf(sample)], (exports, [place]) =>
            this.#checked(exports.TestSample(this.address, place!.address, place!.size)),
        );
        return {
            error: (bits & 1) !== 0,
            isFrame: (bits & 2) !== 0,
            isIntra: (bits & 4) !== 0,
            known: (bits & 8) === 0,
        };
    }

    /** The last parameter set of each kind in a buffer. */
    parameterSets(data: Bytes): ParameterSets {
        if (this.codec === "h265") return this.#lastSets(data);
        return this.#module.withInput([viewOf(data)], (exports, [place]) => {
            const sets = exports.FindParameterSets(this.address, place!.address, place!.size);
            if (sets === 0) throw this.#failure("no-start-code", "there is no start code in the bytes");
            const [, , sps = 0, spsSize = 0, pps = 0, ppsSize = 0] = this.#module.words(sets, 6);
            return { vps: null, sps: this.#copy(sps, spsSize), pps: this.#copy(pps, ppsSize) };
        });
    }

    /** Gives the parser the parameter sets of a stream that carries none, with their start codes or without. H.264 only. */
    setParameterSets(sets: { sps: Bytes; pps: Bytes }): void {
        this.#requireH264("setParameterSets");
        this.#module.withInput([viewOf(sets.sps), viewOf(sets.pps)], (exports, [sps, pps]) => {
            if (!exports.HoldParameterSets(this.address, sps!.address, sps!.size, pps!.address, pps!.size))
                throw this.#failure("malformed", "the parameter sets cannot be read");
        });
    }

    // The access units that a task completes. `given` returns the bytes of one by where it begins, counted back from
    // the end of the stream so far; null: they are copied.
    #collect(
        task: (exports: Exports) => void,
        given: (distance: number, size: number) => Uint8Array<ArrayBuffer> | null = () => null,
    ): AccessUnit[] {
        const found: AccessUnit[] = [];
        let failure: unknown;
        this.#module.takeAccessUnit = (info, distance) => {
            try {
                found.push(readAccessUnit(this.#module, info, (size) => given(distance, size)));
            } catch (error) {
                failure = error;
            }
        };
        this.#module.call(task);
        if (failure !== undefined || this.#module.ranOutOfMemory()) throw this.#module.outOfMemory(failure);
        return found;
    }

    #lastSets(data: Bytes): ParameterSets {
        const sets: ParameterSets = { vps: null, sps: null, pps: null };
        const kinds = new Map<number | null, keyof ParameterSets>([
            [32, "vps"],
            [33, "sps"],
            [34, "pps"],
        ]);
        for (const unit of this.units(data)) {
            const kind = kinds.get(unit.type);
            if (kind !== undefined) sets[kind] = new Uint8Array(unit.data);
        }
        return sets;
    }

    #copy(address: number, size: number): Uint8Array<ArrayBuffer> | null {
        return address === 0 ? null : new Uint8Array(this.#module.bytes({ address, size }));
    }

    #failure(reason: "no-start-code" | "malformed", message: string): VideoParamsError {
        return this.#module.ranOutOfMemory() ? this.#module.outOfMemory() : new VideoParamsError(reason, message);
    }

    // A query of the library answers alike for several reasons.
    #checked<Result>(result: Result): Result {
        if (this.#module.ranOutOfMemory()) throw this.#module.outOfMemory();
        return result;
    }

    #requireH264(method: string): void {
        if (this.codec !== "h264") throw new VideoParamsError("wrong-codec", `${method} is for H.264 streams`);
    }
}
