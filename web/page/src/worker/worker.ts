// Reads files, away from the page: nothing here makes it wait.

import type { Element, EmbeddedFile, FileFacts, FromWorker, Requests, ToWorker } from "../messages.js";
import { ByteStreamSource } from "./byteStream.js";
import { ContainerSource } from "./container.js";
import { EmbeddedSource } from "./embedded.js";
import { exportStream } from "./export.js";
import { Inspector, type TakenRecords } from "./inspector.js";
import { FileError, type StreamSource } from "./source.js";

const headSize = 8 << 20;
const mostElementBytes = 1 << 16;

class Reader {
    #inspector: Promise<Inspector> = Inspector.load();
    #source: StreamSource | null = null;
    #file: { blob: Blob; name: string } | null = null;
    #opening = 0; // counts, so that a file that was replaced stops

    async open(blob: Blob, name: string): Promise<void> {
        const opening = ++this.#opening;
        this.#file = { blob, name };
        try {
            const inspector = await this.#inspector;
            const source = await this.#openSource(inspector, blob);
            if (opening !== this.#opening) return;
            this.#source = source;
            post({ type: "opened", facts: factsOf(source, blob.size, name, inspector) });
            await this.#read(inspector, source, () => opening === this.#opening);
        } catch (error) {
            if (opening === this.#opening) this.#fail(error);
        }
    }

    // The tool has read the file. The stream is read again so that its parameter sets are known.
    async openEmbedded(file: EmbeddedFile): Promise<void> {
        const opening = ++this.#opening;
        const inspector = await this.#inspector;
        const source = new EmbeddedSource(file);
        inspector.open(source.codec);
        inspector.takeOutOfBand(source.outOfBand);
        if (file.stream !== null) for await (const { bytes } of source.pieces()) inspector.take(bytes);
        if (opening !== this.#opening) return;
        this.#source = source;
        this.#file = { blob: file.stream ?? new Blob(), name: file.name };
        post({ type: "opened", facts: factsOf(source, file.size, file.name, inspector) });
        for (const units of file.units) postRecords({ units, accessUnits: new ArrayBuffer() }, file.size);
        for (const accessUnits of file.accessUnits) postRecords({ units: new ArrayBuffer(), accessUnits }, file.size);
        post({ type: "finished", results: file.results });
    }

    cancel(): void {
        ++this.#opening;
        post({ type: "failed", message: "Cancelled. What was read so far is shown.", isCancelled: true });
    }

    async answer<Name extends keyof Requests>(name: Name, body: Requests[Name]["request"]): Promise<unknown> {
        if (this.#source === null || this.#file === null) throw new FileError("There is no file.");
        if (name === "bytes") return this.#source.read(body as Requests["bytes"]["request"]);
        if (name === "elements") return this.#elements(this.#source, body as Requests["elements"]["request"]);
        const report = (done: number): void => post({ type: "exporting", done });
        const request = body as Requests["export"]["request"];
        return exportStream(this.#source, this.#file, request, await this.#inspector, report);
    }

    async #elements(source: StreamSource, { unit, range }: Requests["elements"]["request"]): Promise<Element[]> {
        const bytes = await source.read({ ...range, size: Math.min(range.size, mostElementBytes) });
        return (await this.#inspector).elements(source.codec, unit, bytes);
    }

    async #openSource(inspector: Inspector, blob: Blob): Promise<StreamSource> {
        if (blob.size === 0) throw new FileError("The file is empty.");
        const container = await ContainerSource.open(blob);
        if (container !== null) return container;
        const head = new Uint8Array(await blob.slice(0, headSize).arrayBuffer());
        const codec = inspector.detectCodec(head);
        if (codec === null) throw new FileError("There is no H.264 or H.265 video in this file.");
        return new ByteStreamSource(blob, codec);
    }

    async #read(inspector: Inspector, source: StreamSource, isCurrent: () => boolean): Promise<void> {
        const begin = performance.now();
        let read = 0;
        inspector.open(source.codec);
        postRecords(inspector.takeOutOfBand(source.outOfBand), read);
        for await (const piece of source.pieces()) {
            if (!isCurrent()) return;
            ({ read } = piece);
            postRecords(inspector.take(piece.bytes), read);
        }
        postRecords(inspector.finish(), read);
        post({ type: "finished", results: { ...inspector.results(), milliseconds: performance.now() - begin } });
    }

    // A module that failed is replaced.
    #fail(error: unknown): void {
        const isForUser = error instanceof FileError;
        if (!isForUser) this.#inspector = Inspector.load();
        const message = isForUser ? error.message : `The file cannot be read: ${String(error)}`;
        post({ type: "failed", message, isCancelled: false });
    }
}

function factsOf(source: StreamSource, size: number, name: string, inspector: Inspector): FileFacts {
    const { codec, format, writesContainer } = source;
    return { name, size, codec, format, writesContainer, typeNames: inspector.typeNames(codec) };
}

function post(message: FromWorker, transfer: Transferable[] = []): void {
    self.postMessage(message, { transfer });
}

function postRecords(records: TakenRecords, read: number): void {
    post({ type: "records", ...records, read }, [records.units, records.accessUnits]);
}

const reader = new Reader();

self.onmessage = ({ data }: MessageEvent<ToWorker>) => {
    if (data.type === "open") void reader.open(data.file, data.name);
    else if (data.type === "openEmbedded") void reader.openEmbedded(data.file);
    else if (data.type === "cancel") reader.cancel();
    else {
        const { id } = data;
        reader.answer(data.type, data.body).then(
            (body) => post({ type: "reply", id, body }),
            (error: unknown) =>
                post({ type: "refused", id, message: error instanceof Error ? error.message : String(error) }),
        );
    }
};
