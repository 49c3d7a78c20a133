import { VideoParamsError } from "./errors.js";
import type { Bytes } from "./module.js";
import { viewOf } from "./module.js";

/** What an `EncodedVideoChunk` of WebCodecs has. Its bytes must be Annex B. */
export interface CopyableChunk {
    /** Its bytes. */
    readonly byteLength: number;
    /** Copies all of them. */
    copyTo(destination: Uint8Array): void;
}

/** A piece of a stream. */
export type Chunk = Bytes | CopyableChunk;

/** Anything that gives chunks: a `ReadableStream` (`response.body`, `blob.stream()`), a Node.js stream, an array. */
export type ChunkSource = ReadableStream<Chunk> | AsyncIterable<Chunk> | Iterable<Chunk>;

/** How a parser takes its chunks. */
export interface ChunkOptions {
    /**
     * Gives the memory of the chunk to its access units, which is up to three times as fast: an access unit that lies in one
     * chunk is a view of it, others are copies. The chunk's whole `ArrayBuffer` is transferred: your own views of it
     * become empty. What cannot be transferred is copied: a `SharedArrayBuffer`, the memory of a WebAssembly module,
     * small buffers of Node.js (they share one), chunks of WebCodecs.
     */
    transfer?: boolean;
}

/** @internal The bytes of a chunk in memory that nobody else can write to. Null: it cannot be transferred. */
export function takeOver(chunk: Chunk): Uint8Array<ArrayBuffer> | null {
    if ("copyTo" in chunk) return null;
    const { buffer, byteOffset, byteLength } = viewOf(chunk);
    if (!(buffer instanceof ArrayBuffer)) return null;
    try {
        return new Uint8Array(structuredClone(buffer, { transfer: [buffer] }), byteOffset, byteLength);
    } catch {
        return null;
    }
}

// A chunk goes into the module in steps of this size: what is copied is still in the cache when it is searched.
const stepSize = 0x40000;

interface Step {
    size: number;
    copyTo: (destination: Uint8Array) => void;
}

/** @internal */
export function* stepsOf(chunk: Chunk): Generator<Step> {
    if ("copyTo" in chunk) {
        yield { size: chunk.byteLength, copyTo: (destination) => chunk.copyTo(destination) };
        return;
    }
    const bytes = viewOf(chunk);
    for (let begin = 0; begin < bytes.length; begin += stepSize) {
        const step = bytes.subarray(begin, begin + stepSize);
        yield { size: step.length, copyTo: (destination) => destination.set(step) };
    }
}

// Not every browser can iterate over a ReadableStream.
async function* readAll(stream: ReadableStream<Chunk>): AsyncGenerator<Chunk> {
    const reader = stream.getReader();
    let isDone = false;
    try {
        for (;;) {
            const { done, value } = await reader.read();
            if (done) {
                isDone = true;
                return;
            }
            yield value;
        }
    } finally {
        if (!isDone) await reader.cancel();
        reader.releaseLock();
    }
}

/** @internal */
export function chunksOf(source: ChunkSource): AsyncIterable<Chunk> | Iterable<Chunk> {
    if ("getReader" in source) return readAll(source);
    if (Symbol.asyncIterator in source || Symbol.iterator in source) return source;
    throw new VideoParamsError("bad-argument", "a stream or an iterable of chunks is expected");
}
