import type { Codec } from "./codec.js";
import { codecOfNumber } from "./codec.js";
import type { Bytes } from "./module.js";
import { Module, viewOf } from "./module.js";
import { Parser } from "./parser.js";
import type { Timestamp } from "./timestamp.js";
import { clockOfNumber, numberOfClock, timestampSize } from "./timestamp.js";
import { UserData } from "./userData.js";

/** How to load. */
export interface LoadOptions {
    /** From `VideoParams.compile()`, if several workers share one compilation. */
    module?: WebAssembly.Module;
}

/** The library, loaded. Everything starts here. */
export class VideoParams {
    readonly #module: Module;

    private constructor(module: Module) {
        this.#module = module;
    }

    /** Compiles the module without an instance. The result can be sent to workers. */
    static compile(): Promise<WebAssembly.Module> {
        return Module.compile();
    }

    /** Loads the library. Each call makes an instance with a memory of its own. */
    static async load(options: LoadOptions = {}): Promise<VideoParams> {
        return new VideoParams(Module.instantiate(options.module ?? (await Module.compile())));
    }

    /** A parser for one stream. */
    parser(codec: Codec): Parser {
        return new Parser(this.#module, codec);
    }

    /** An editor of user data. */
    userData(codec: Codec): UserData {
        return new UserData(this.#module, codec);
    }

    /** The codec of a byte stream by its first bytes, or null if they look like neither. A megabyte is enough. */
    detectCodec(data: Bytes): Codec | null {
        return this.#module.withInput([viewOf(data)], (exports, [place]) =>
            codecOfNumber(exports.DetectCodec(place!.address, place!.size)),
        );
    }

    /** A timestamp as 24 bytes of user data. */
    encodeTimestamp(timestamp: Timestamp): Uint8Array<ArrayBuffer> {
        const clock = numberOfClock(timestamp.clock);
        return this.#module.withRoom(timestampSize, (exports, address) => {
            exports.WriteTimestamp(address, clock, timestamp.nanoseconds);
            return new Uint8Array(this.#module.bytes({ address, size: timestampSize }));
        });
    }

    /** The timestamp in a payload of user data, or null if it is none. */
    decodeTimestamp(payload: Bytes): Timestamp | null {
        return this.#module.withInput([viewOf(payload)], (exports, [place]) => {
            if (!exports.ReadTimestamp(place!.address, place!.size)) return null;
            const { buffer, byteOffset } = this.#module.bytes({ address: place!.address, size: timestampSize });
            const view = new DataView(buffer, byteOffset);
            return { nanoseconds: view.getBigInt64(0, true), clock: clockOfNumber(view.getUint32(8, true)) };
        });
    }

    /** Bytes of memory that this instance holds. WebAssembly never gives memory back to the system. */
    get memorySize(): number {
        return this.#module.memorySize;
    }
}
