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
     * Gives the memory of the chunk to its access units, which is up to three times as fast: an access unit of up to
     * 16 MB that lies in one chunk is a view of it, others are copies. The chunk's `ArrayBuffer` is transferred: your own
     * views of it become empty. What may belong to somebody else is copied: a chunk that is only a part of its
     * `ArrayBuffer`, as are small buffers of Node.js and the output of `zlib`, and a `SharedArrayBuffer`. So is what
     * cannot be transferred or would not serve as well: the memory of a WebAssembly module, a resizable `ArrayBuffer`,
     * chunks of WebCodecs.
     */
    transfer?: boolean;
}

// Older hosts have none. Functions such as those of WebCodecs refuse views of them.
function isResizable(buffer: ArrayBuffer & { resizable?: boolean }): boolean {
    return buffer.resizable ?? false;
}

function has(name: PropertyKey, source: unknown): boolean {
    return typeof source === "object" && source !== null && name in source;
}

function isCopyable(chunk: Chunk): chunk is CopyableChunk {
    return has("copyTo", chunk);
}

/** @internal The bytes of a chunk in memory that nobody else can write to. Null: it cannot be transferred. */
export function takeOver(chunk: Chunk): Uint8Array<ArrayBuffer> | null {
    if (isCopyable(chunk)) return null;
    const { buffer, byteLength } = viewOf(chunk);
    if (!(buffer instanceof ArrayBuffer) || byteLength !== buffer.byteLength || isResizable(buffer)) return null;
    try {
        return new Uint8Array(structuredClone(buffer, { transfer: [buffer] }));
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
    if (isCopyable(chunk)) {
        yield { size: chunk.byteLength, copyTo: (destination) => chunk.copyTo(destination) };
        return;
    }
    const bytes = viewOf(chunk);
    for (let begin = 0; begin < bytes.length; begin += stepSize) {
        const step = bytes.subarray(begin, begin + stepSize);
        yield { size: step.length, copyTo: (destination) => destination.set(step) };
    }
}

function isStream(source: ChunkSource): source is ReadableStream<Chunk> {
    return has("getReader", source);
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
    if (isStream(source)) return readAll(source);
    if (!ArrayBuffer.isView(source) && (has(Symbol.asyncIterator, source) || has(Symbol.iterator, source)))
        return source;
    throw new VideoParamsError("bad-argument", "a stream or an iterable of chunks is expected");
}
