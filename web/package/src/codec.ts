import { VideoParamsError } from "./errors.js";

/** The codec of a stream: H.264/AVC or H.265/HEVC. */
export type Codec = "h264" | "h265";

const codecs: readonly Codec[] = ["h264", "h265"];

/** @internal VideoCodecType */
export function numberOfCodec(codec: Codec): number {
    const number = codecs.indexOf(codec);
    if (number < 0) throw new VideoParamsError("bad-argument", `no such codec: ${String(codec)} (h264 or h265)`);
    return number;
}

/** @internal */
export function codecOfNumber(number: number): Codec | null {
    return codecs[number] ?? null;
}
