// Opening a file by drop or choice, and how far it is read.

import type { Model } from "../model/model.js";
import { byId, bytes } from "./dom.js";

export class FileView {
    readonly #input = byId<HTMLInputElement>("file-input");
    readonly #progress = byId<HTMLProgressElement>("progress-bar");

    constructor(private readonly model: Model) {
        this.#input.addEventListener("change", () => this.#open(this.#input.files));
        for (const button of document.querySelectorAll("[data-action=open]"))
            button.addEventListener("click", () => this.#input.click());
        byId("cancel").addEventListener("click", () => model.cancel());
        document.addEventListener("dragover", (event) => this.#dragged(event, true));
        document.addEventListener("dragleave", (event) => this.#dragged(event, event.relatedTarget !== null));
        document.addEventListener("drop", (event) => {
            this.#dragged(event, false);
            this.#open(event.dataTransfer?.files ?? null);
        });
        model.on(["phase"], () => this.#showPhase());
        model.on(["records"], () => this.#showProgress());
    }

    #open(files: FileList | null): void {
        const file = files?.[0];
        if (file !== undefined) this.model.open(file, file.name);
        this.#input.value = ""; // so that the same file can be chosen again
    }

    #dragged(event: DragEvent, isOver: boolean): void {
        event.preventDefault();
        document.body.classList.toggle("dragged", isOver);
    }

    #showPhase(): void {
        const { phase, name, message, units } = this.model;
        document.body.dataset["phase"] = phase;
        byId("file-name").textContent = name;
        document.title = name === "" ? "VideoParams Inspector" : `${name} – VideoParams Inspector`;
        byId("start").hidden = phase !== "empty" && !(phase === "failed" && units.count === 0);
        byId("work").hidden = !byId("start").hidden;
        byId("progress").hidden = phase !== "opening" && phase !== "reading";
        const isFailed = phase === "failed";
        for (const id of ["start-message", "work-message"]) {
            byId(id).hidden = !isFailed;
            byId(id).textContent = isFailed ? message : "";
        }
        byId("status").textContent = {
            empty: "",
            opening: "Opening",
            reading: "Reading",
            ready: "Ready",
            failed: message,
        }[phase];
        this.#showProgress();
    }

    #showProgress(): void {
        const { read, facts } = this.model;
        const size = facts?.size ?? 0;
        this.#progress.max = Math.max(size, 1);
        this.#progress.value = read;
        byId("progress-text").textContent = size === 0 ? "Opening …" : `${bytes(read)} of ${bytes(size)}`;
    }
}
