// A file that is a container: MP4, MOV, MKV, WebM, MPEG-TS.

import {
    ALL_FORMATS,
    BlobSource,
    EncodedPacketSink,
    Input,
    type EncodedPacket,
    type InputVideoTrack,
} from "mediabunny";
import type { Codec, Range } from "../messages.js";
import { canWrite } from "./containerWriter.js";
import { SampleForm } from "./sampleForm.js";
import { FileError, type StreamSource } from "./source.js";

const codecNames: Readonly<Record<string, Codec>> = { avc: "h264", hevc: "h265" };
const pieceSize = 1 << 20;

/** Where each sample is in the stream, so that it can be read again. */
interface SampleIndex {
    offsets: number[];
    timestamps: number[];
}

export class ContainerSource implements StreamSource {
    readonly #index: SampleIndex = { offsets: [], timestamps: [] };
    #isIndexed = false;
    #last: { number: number; bytes: Uint8Array } | null = null;

    private constructor(
        readonly input: Input,
        readonly track: InputVideoTrack,
        readonly codec: Codec,
        readonly format: string,
        readonly form: SampleForm,
        private readonly fileSize: number,
    ) {}

    /** Null if the file is no container. Throws a FileError for one without such video. */
    static async open(file: Blob): Promise<ContainerSource | null> {
        const input = new Input({ source: new BlobSource(file), formats: ALL_FORMATS });
        if (!(await input.canRead())) return null;
        const format = (await input.getFormat()).name;
        const track = await input.getPrimaryVideoTrack();
        if (track === null) throw new FileError(`This ${format} file has no video, or it is cut and lacks its index.`);
        const inFile = await track.getInternalCodecId();
        const name = (await track.getCodec()) ?? (typeof inFile === "string" ? inFile : "of an unknown codec");
        const codec = codecNames[name];
        if (codec === undefined)
            throw new FileError(`The video of this ${format} file is ${name}, not H.264 or H.265.`);
        const { description } = (await track.getDecoderConfig()) ?? {};
        return new ContainerSource(input, track, codec, format, new SampleForm(codec, description), file.size);
    }

    get outOfBand(): Uint8Array {
        return concatenate(this.form.parameterSets);
    }

    get writesContainer(): boolean {
        return canWrite(this.format);
    }

    // Samples are put together, so that each step has something to do.
    async *pieces(): AsyncGenerator<{ bytes: Uint8Array; read: number }> {
        let waiting: Uint8Array[] = [];
        let size = 0;
        let offset = 0;
        for await (const packet of this.packets()) {
            const bytes = this.form.toByteStream(packet.data);
            if (!this.#isIndexed) {
                this.#index.offsets.push(offset);
                this.#index.timestamps.push(packet.timestamp);
            }
            offset += bytes.length;
            size += bytes.length;
            waiting.push(bytes);
            if (size < pieceSize) continue;
            yield { bytes: concatenate(waiting), read: Math.min(offset, this.fileSize) };
            waiting = [];
            size = 0;
        }
        this.#isIndexed = true;
        yield { bytes: concatenate(waiting), read: this.fileSize };
    }

    packets(): AsyncGenerator<EncodedPacket> {
        return new EncodedPacketSink(this.track).packets();
    }

    async read({ offset, size, outOfBand }: Range): Promise<Uint8Array> {
        if (outOfBand !== undefined) return this.form.parameterSets[outOfBand] ?? new Uint8Array();
        const parts: Uint8Array[] = [];
        const { offsets } = this.#index;
        for (
            let number = this.#sampleAt(offset);
            number < offsets.length && offsets[number]! < offset + size;
            ++number
        ) {
            const begin = offsets[number]!;
            const bytes = await this.#sample(number);
            parts.push(bytes.subarray(Math.max(offset - begin, 0), offset + size - begin));
        }
        return concatenate(parts);
    }

    // The last sample that does not begin after the offset; the first one if all do.
    #sampleAt(offset: number): number {
        const { offsets } = this.#index;
        let low = 0;
        for (let high = offsets.length; high - low > 1;) {
            const middle = (low + high) >> 1;
            if (offsets[middle]! <= offset) low = middle;
            else high = middle;
        }
        return low;
    }

    // The units of a sample are asked for one after the other.
    async #sample(number: number): Promise<Uint8Array> {
        if (this.#last?.number !== number) {
            const packet = await new EncodedPacketSink(this.track).getPacket(this.#index.timestamps[number]!);
            if (packet === null) throw new FileError("The sample cannot be read again.");
            this.#last = { number, bytes: this.form.toByteStream(packet.data) };
        }
        return this.#last.bytes;
    }
}

export function concatenate(parts: readonly Uint8Array[]): Uint8Array {
    const whole = new Uint8Array(parts.reduce((sum, part) => sum + part.length, 0));
    let at = 0;
    for (const part of parts) {
        whole.set(part, at);
        at += part.length;
    }
    return whole;
}
