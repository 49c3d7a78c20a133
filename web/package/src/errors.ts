/**
 * Why a call failed.
 *
 * - `closed`: the object was disposed of.
 * - `wrong-codec`: the call is not for streams of this codec.
 * - `bad-argument`: not bytes, or too many of them.
 * - `no-start-code`: the bytes are no byte stream (Annex B).
 * - `no-place`: the access unit has neither an SEI unit nor a slice, so user data cannot go into it.
 * - `malformed`: an SEI unit ends without its trailing byte, or a parameter set cannot be read.
 * - `out-of-memory`: memory ran out. The object stays usable.
 * - `lost`: the module failed and cannot be used again. Load another one.
 */
export type Reason =
    "closed" | "wrong-codec" | "bad-argument" | "no-start-code" | "no-place" | "malformed" | "out-of-memory" | "lost";

/** Every exception of this package. */
export class VideoParamsError extends Error {
    /** The name of the class. */
    override readonly name = "VideoParamsError";

    /** @internal */
    constructor(
        /** Why the call failed. */
        readonly reason: Reason,
        message: string,
        options?: ErrorOptions,
    ) {
        super(message, options);
    }
}
