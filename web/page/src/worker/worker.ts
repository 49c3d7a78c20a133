// Reads files, away from the page: nothing here makes it wait.

import type { Element, EmbeddedFile, FileFacts, FromWorker, Notice, Requests, ToWorker } from "../messages.js";
import { ByteStreamSource } from "./byteStream.js";
import { ContainerSource } from "./container.js";
import { EmbeddedSource } from "./embedded.js";
import { exportStream } from "./export.js";
import { Inspector, type TakenRecords } from "./inspector.js";
import { FileError, type StreamSource } from "./source.js";

const headSize = 8 << 20;
const mostElementBytes = 1 << 16;

/** The reading of one file. It tells the page what it finds until it is stopped, by another file or by the user. */
class Reading {
    isStopped = false;

    constructor(private readonly opening: number) {}

    post(notice: Notice, transfer: Transferable[] = []): void {
        post({ type: "notice", opening: this.opening, notice }, transfer);
    }

    postRecords(records: TakenRecords, read: number): void {
        this.post({ type: "records", ...records, read }, [records.units, records.accessUnits]);
    }

    /** False: it was stopped before the end. */
    async take(
        inspector: Inspector,
        source: StreamSource,
        report: (records: TakenRecords, read: number) => void,
    ): Promise<boolean> {
        inspector.open(source.codec);
        report(inspector.takeOutOfBand(source.outOfBand), 0);
        for await (const { bytes, read } of source.pieces()) {
            if (this.isStopped) break;
            report(inspector.take(bytes), read);
        }
        return !this.isStopped;
    }
}

class Reader {
    #inspector: Promise<Inspector> = Inspector.load();
    #source: StreamSource | null = null;
    #file: { blob: Blob; name: string } | null = null;
    #reading: Reading | null = null;

    open(opening: number, blob: Blob, name: string): Promise<void> {
        return this.#start(opening, async (reading, inspector) => {
            const source = await this.#openSource(inspector, blob);
            if (reading.isStopped) return;
            this.#source = source;
            this.#file = { blob, name };
            reading.post({ type: "opened", facts: factsOf(source, blob.size, name, inspector) });
            const begin = performance.now();
            if (!(await reading.take(inspector, source, (records, read) => reading.postRecords(records, read)))) return;
            reading.postRecords(inspector.finish(), blob.size);
            const milliseconds = performance.now() - begin;
            reading.post({ type: "finished", results: inspector.results(), milliseconds });
        });
    }

    // The tool has read the file. The stream is read again so that its parameter sets are known.
    openEmbedded(opening: number, file: EmbeddedFile): Promise<void> {
        return this.#start(opening, async (reading, inspector) => {
            const source = new EmbeddedSource(file);
            if (file.stream !== null && !(await reading.take(inspector, source, () => undefined))) return;
            this.#source = source;
            this.#file = { blob: file.stream ?? new Blob(), name: file.name };
            reading.post({ type: "opened", facts: factsOf(source, file.size, file.name, inspector) });
            for (const units of file.units) reading.postRecords({ units, accessUnits: new ArrayBuffer() }, file.size);
            for (const accessUnits of file.accessUnits)
                reading.postRecords({ units: new ArrayBuffer(), accessUnits }, file.size);
            reading.post({ type: "finished", results: JSON.stringify(file.results) });
        });
    }

    cancel(): void {
        this.#reading?.post({ type: "failed", message: "Cancelled. What was read so far is shown." });
        this.#stop();
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
        const head = await this.#head(blob);
        if (head.length === 0) throw new FileError("The file is empty.");
        const container = await ContainerSource.open(blob);
        if (container !== null) return container;
        const codec = inspector.detectCodec(head);
        if (codec === null) throw new FileError("There is no H.264 or H.265 video in this file.");
        return new ByteStreamSource(blob, codec);
    }

    async #head(blob: Blob): Promise<Uint8Array> {
        try {
            return new Uint8Array(await blob.slice(0, headSize).arrayBuffer());
        } catch {
            throw new FileError(
                "This cannot be read. It is a folder, or the file was moved or removed: choose a file.",
            );
        }
    }

    async #start(opening: number, read: (reading: Reading, inspector: Inspector) => Promise<void>): Promise<void> {
        this.#stop();
        const reading = new Reading(opening);
        this.#reading = reading;
        try {
            const inspector = await this.#inspector;
            if (!reading.isStopped) await read(reading, inspector);
        } catch (error) {
            if (!reading.isStopped) reading.post({ type: "failed", message: this.#explain(error) });
        }
        if (this.#reading === reading) this.#reading = null;
    }

    #stop(): void {
        if (this.#reading !== null) this.#reading.isStopped = true;
        this.#reading = null;
    }

    // A module that failed is replaced.
    #explain(error: unknown): string {
        if (error instanceof FileError) return error.message;
        this.#inspector = Inspector.load();
        return `The file cannot be read: ${String(error)}`;
    }
}

function factsOf(source: StreamSource, size: number, name: string, inspector: Inspector): FileFacts {
    const { codec, format, writesContainer } = source;
    return { name, size, codec, format, writesContainer, typeNames: inspector.typeNames(codec) };
}

function post(message: FromWorker, transfer: Transferable[] = []): void {
    self.postMessage(message, { transfer });
}

const reader = new Reader();

self.onmessage = ({ data }: MessageEvent<ToWorker>) => {
    if (data.type === "open") void reader.open(data.opening, data.file, data.name);
    else if (data.type === "openEmbedded") void reader.openEmbedded(data.opening, data.file);
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
