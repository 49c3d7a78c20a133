/**
 * Analyses and edits H.264/AVC and H.265/HEVC byte streams (Annex B).
 *
 * Begin with {@link VideoParams.load}.
 *
 * @module
 */

export type { AccessUnit, Colour, FrameRate, Sequence } from "./accessUnit.js";
export type { Chunk, ChunkOptions, ChunkSource, CopyableChunk } from "./chunk.js";
export type { Codec } from "./codec.js";
export { VideoParamsError, type Reason } from "./errors.js";
export { Handle } from "./handle.js";
export type { Bytes } from "./module.js";
export { Parser, type ParameterSets, type SampleTest } from "./parser.js";
export type { Clock, Timestamp } from "./timestamp.js";
export type { SliceHeader, SliceType, Unit } from "./unit.js";
export { UserData } from "./userData.js";
export { VideoParams, type LoadOptions } from "./videoParams.js";
