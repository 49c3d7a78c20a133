/// <reference lib="esnext.disposable" preserve="true" />

import { VideoParamsError } from "./errors.js";
import type { Module } from "./module.js";

interface Held {
    module: Module;
    address: number;
    release: (module: Module, address: number) => void;
}

function release(held: Held): void {
    try {
        held.release(held.module, held.address);
    } catch (error) {
        if (!(error instanceof VideoParamsError)) throw error; // the module is lost, and its memory with it
    }
}

// Frees what a program forgot.
const forgotten = new FinalizationRegistry<Held>(release);

/**
 * An object with memory in the module. `dispose()` frees it, as does the end of a `using` block; an object that is
 * forgotten is freed some time later.
 */
export abstract class Handle {
    #held: Held | null;

    /** @internal */
    protected constructor(held: Held) {
        this.#held = held;
        forgotten.register(this, held, this);
    }

    /** @internal The object's address. */
    protected get address(): number {
        if (this.#held === null) throw new VideoParamsError("closed", "the object was disposed of");
        return this.#held.address;
    }

    /** Frees the object's memory. A second call does nothing. */
    dispose(): void {
        if (this.#held === null) return;
        forgotten.unregister(this);
        release(this.#held);
        this.#held = null;
    }

    /** The same, for a `using` block. */
    [Symbol.dispose](): void {
        this.dispose();
    }
}
