// The worker, as the page sees it.

import type { EmbeddedFile, FromWorker, Requests, ToWorker } from "../messages.js";
import { workerText } from "../workerText.js";

interface Pending {
    resolve: (body: unknown) => void;
    reject: (error: Error) => void;
}

export type Notice = Exclude<FromWorker, { type: "reply" } | { type: "refused" }>;

export class Client {
    readonly #worker: Worker;
    readonly #pending = new Map<number, Pending>();
    #lastId = 0;

    constructor(private readonly onNotice: (notice: Notice) => void) {
        const url = URL.createObjectURL(new Blob([workerText], { type: "text/javascript" }));
        this.#worker = new Worker(url);
        this.#worker.onmessage = ({ data }: MessageEvent<FromWorker>) => this.#take(data);
        this.#worker.onerror = (event) =>
            this.onNotice({ type: "failed", message: `The reader failed: ${event.message}`, isCancelled: false });
    }

    open(file: Blob, name: string): void {
        this.#post({ type: "open", file, name });
    }

    openEmbedded(file: EmbeddedFile): void {
        this.#post({ type: "openEmbedded", file });
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
        if (message.type !== "reply" && message.type !== "refused") {
            this.onNotice(message);
            return;
        }
        const pending = this.#pending.get(message.id);
        this.#pending.delete(message.id);
        if (message.type === "reply") pending?.resolve(message.body);
        else pending?.reject(new Error(message.message));
    }
}
