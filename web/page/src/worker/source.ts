// Where the stream of a file comes from.

import type { Codec, Range } from "../messages.js";

export interface StreamSource {
    readonly codec: Codec;
    /** "byte stream", or the container's name. */
    readonly format: string;
    readonly writesContainer: boolean;

    /** Parameter sets that are beside the stream, with start codes. */
    readonly outOfBand: Uint8Array;

    /** The stream as Annex B, in pieces; `read` counts bytes of the file. Nothing of it is kept. */
    pieces(): AsyncGenerator<{ bytes: Uint8Array; read: number }>;

    /** Bytes of the stream, after `pieces` has come past them. */
    read(range: Range): Promise<Uint8Array>;
}

/** An error that is for the user. */
export class FileError extends Error {}
