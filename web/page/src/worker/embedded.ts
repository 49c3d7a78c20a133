// A stream that the tool put into the page. The page takes it as a byte stream, whatever it came in.

import type { Codec, EmbeddedFile, Range } from "../messages.js";
import { ByteStreamSource } from "./byteStream.js";
import { concatenate } from "./container.js";
import { FileError, type StreamSource } from "./source.js";

export class EmbeddedSource implements StreamSource {
    readonly codec: Codec;
    readonly format: string;
    readonly writesContainer = false;
    readonly #sets: Uint8Array[];
    readonly #stream: ByteStreamSource | null;

    constructor({ codec, format, outOfBand, stream }: EmbeddedFile) {
        this.codec = codec;
        this.format = format;
        this.#sets = outOfBand.map((hex) => Uint8Array.from(hex.match(/../g) ?? [], (byte) => parseInt(byte, 16)));
        this.#stream = stream === null ? null : new ByteStreamSource(stream, codec);
    }

    get outOfBand(): Uint8Array {
        return concatenate(this.#sets);
    }

    pieces(): AsyncGenerator<{ bytes: Uint8Array; read: number }> {
        return this.#whole.pieces();
    }

    async read(range: Range): Promise<Uint8Array> {
        if (range.outOfBand !== undefined) return this.#sets[range.outOfBand] ?? new Uint8Array();
        return this.#whole.read(range);
    }

    get #whole(): ByteStreamSource {
        if (this.#stream !== null) return this.#stream;
        throw new FileError(
            "The bytes of a stream as long as this are not in the page. Drop the file here to see them.",
        );
    }
}
