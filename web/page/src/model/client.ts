// The worker, as the page sees it.

import type { EmbeddedFile, FromWorker, Notice, Requests, ToWorker } from "../messages.js";
import { workerText } from "../workerText.js";

interface Pending {
    resolve: (body: unknown) => void;
    reject: (error: Error) => void;
}

export class Client {
    readonly #worker: Worker;
    readonly #pending = new Map<number, Pending>();
    #opening = 0;
    #lastId = 0;

    /** The notices are about the file that was opened last. */
    constructor(
        private readonly onNotice: (notice: Notice) => void,
        private readonly onExporting: (done: number) => void,
    ) {
        const url = URL.createObjectURL(new Blob([workerText], { type: "text/javascript" }));
        this.#worker = new Worker(url);
        this.#worker.onmessage = ({ data }: MessageEvent<FromWorker>) => this.#take(data);
        this.#worker.onerror = (event) =>
            this.onNotice({ type: "failed", message: `The reader failed: ${event.message}` });
    }

    open(file: Blob, name: string): void {
        this.#post({ type: "open", opening: ++this.#opening, file, name });
    }

    openEmbedded(file: EmbeddedFile): void {
        this.#post({ type: "openEmbedded", opening: ++this.#opening, file });
    }

    cancel(): void {
        this.#post({ type: "cancel" });
    }

    request<Name extends keyof Requests>(
        type: Name,
        body: Requests[Name]["request"],
    ): Promise<Requests[Name]["reply"]> {
        const id = ++this.#lastId;
        return new Promise((resolve, reject) => {
            this.#pending.set(id, { resolve: resolve as Pending["resolve"], reject });
            this.#post({ type, id, body } as ToWorker);
        });
    }

    #post(message: ToWorker): void {
        this.#worker.postMessage(message);
    }

    #take(message: FromWorker): void {
        if (message.type === "notice") {
            if (message.opening === this.#opening) this.onNotice(message.notice);
            return;
        }
        if (message.type === "exporting") return this.onExporting(message.done);
        const pending = this.#pending.get(message.id);
        this.#pending.delete(message.id);
        if (message.type === "reply") pending?.resolve(message.body);
        else pending?.reject(new Error(message.message));
    }
}
