// A file that is a byte stream (Annex B).

import type { Codec, Range } from "../messages.js";
import type { StreamSource } from "./source.js";

const pieceSize = 2 << 20;

export class ByteStreamSource implements StreamSource {
    readonly format = "byte stream";
    readonly writesContainer = false;
    readonly outOfBand = new Uint8Array();

    constructor(
        private readonly file: Blob,
        readonly codec: Codec,
    ) {}

    // The next piece is read while the current one is taken.
    async *pieces(): AsyncGenerator<{ bytes: Uint8Array; read: number }> {
        let next = this.#piece(0);
        for (let begin = 0; begin < this.file.size;) {
            const bytes = await next;
            begin += bytes.length;
            next = this.#piece(begin);
            yield { bytes, read: begin };
        }
        await next;
    }

    read({ offset, size }: Range): Promise<Uint8Array> {
        return this.#slice(offset, offset + size);
    }

    #piece(begin: number): Promise<Uint8Array> {
        return this.#slice(begin, begin + pieceSize);
    }

    async #slice(begin: number, end: number): Promise<Uint8Array> {
        return new Uint8Array(await this.file.slice(begin, end).arrayBuffer());
    }
}
