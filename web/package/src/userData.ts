import type { Codec } from "./codec.js";
import { numberOfCodec } from "./codec.js";
import type { Reason } from "./errors.js";
import { VideoParamsError } from "./errors.js";
import { Handle } from "./handle.js";
import type { Bytes, Module } from "./module.js";
import { viewOf } from "./module.js";

/** Puts bytes of your own into access units, finds them and takes them out. Decoders skip them. */
export class UserData extends Handle {
    /** Of the access units. */
    readonly codec: Codec;
    readonly #module: Module;

    /** @internal */
    constructor(module: Module, codec: Codec) {
        const address = module.call((exports) => {
            const output = exports.Outputs();
            exports.UserDataCreate(output, numberOfCodec(codec));
            return module.words(output, 1)[0] ?? 0;
        });
        if (address === 0) throw module.outOfMemory();
        super({ module, address, release: (of, at) => of.call((exports) => exports.UserDataRelease(at)) });
        this.codec = codec;
        this.#module = module;
    }

    /** A copy of an access unit that carries the payload. A string is written as UTF-8. */
    add(accessUnit: Bytes, payload: Bytes | string): Uint8Array<ArrayBuffer> {
        const bytes = typeof payload === "string" ? new TextEncoder().encode(payload) : viewOf(payload);
        return this.#module.withInput([viewOf(accessUnit), bytes], (exports, [unit, user]) => {
            const outputs = this.#clearOutputs();
            const result = exports.AddUserData(
                this.address,
                unit!.address,
                unit!.size,
                user!.address,
                user!.size,
                outputs,
                outputs + 4,
            );
            const output = this.#output(outputs);
            if (result === 0n && output !== null) return output;
            throw output !== null
                ? this.#failure("no-place", "the access unit has neither an SEI unit nor a slice to put user data at")
                : this.#failure("malformed", "an SEI unit ends without its trailing byte");
        });
    }

    /** The payload that an access unit carries, or null. Of several, the last one. */
    get(accessUnit: Bytes): Uint8Array<ArrayBuffer> | null {
        return this.#module.withInput([viewOf(accessUnit)], (exports, [unit]) => {
            const outputs = this.#clearOutputs();
            if (exports.GetUserData(this.address, unit!.address, unit!.size, outputs, outputs + 4) !== 0n)
                throw this.#failure("no-start-code", "there is no start code in the bytes");
            return this.#output(outputs);
        });
    }

    /**
     * A copy of a stream without any user data. Every SEI message of payloadType 5 goes, whoever wrote it: also the
     * notes of encoders.
     */
    remove(stream: Bytes): Uint8Array<ArrayBuffer> {
        return this.#module.withInput([viewOf(stream)], (exports, [place]) => {
            const outputs = this.#clearOutputs();
            if (exports.RemoveUserData(this.address, place!.address, place!.size, outputs, outputs + 4) !== 0n)
                throw this.#failure("no-start-code", "there is no start code in the bytes");
            return this.#output(outputs) ?? new Uint8Array();
        });
    }

    #clearOutputs(): number {
        return this.#module.call((exports) => {
            const outputs = exports.Outputs();
            this.#module.words(outputs, 2).fill(0);
            return outputs;
        });
    }

    #output(outputs: number): Uint8Array<ArrayBuffer> | null {
        const [address = 0, size = 0] = this.#module.words(outputs, 2);
        return address === 0 ? null : new Uint8Array(this.#module.bytes({ address, size }));
    }

    #failure(reason: Reason, message: string): VideoParamsError {
        return this.#module.ranOutOfMemory() ? this.#module.outOfMemory() : new VideoParamsError(reason, message);
    }
}
