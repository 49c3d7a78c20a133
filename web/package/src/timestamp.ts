import { VideoParamsError } from "./errors.js";

/**
 * What the nanoseconds of a timestamp count: since 1970 (UTC), of the machine's clock since it started, the
 * presentation time of the picture, the time of a pipeline since it started to play, or a clock that sender and receiver
 * agree on.
 */
export type Clock = "utc" | "monotonic" | "pts" | "running-time" | "reference";

/** A point in time that travels as user data. */
export interface Timestamp {
    /** A number is a clock that this version does not know. */
    clock: Clock | number;
    /** Of the clock, signed, 64 bits. */
    nanoseconds: bigint;
}

/** Bytes of a timestamp payload. @internal */
export const timestampSize = 24;

const clocks: readonly Clock[] = ["utc", "monotonic", "pts", "running-time", "reference"];

/** @internal */
export function numberOfClock(clock: Clock | number): number {
    const number = typeof clock === "number" ? clock : clocks.indexOf(clock);
    if (number < 0 || number > 255) throw new VideoParamsError("bad-argument", `no such clock: ${String(clock)}`);
    return number;
}

/** @internal */
export function clockOfNumber(number: number): Clock | number {
    return clocks[number] ?? number;
}
