// What the page and its worker say to each other.

export type Codec = "h264" | "h265";

/** What is known of a file when it is opened. */
export interface FileFacts {
    name: string;
    size: number;
    codec: Codec;
    /** "byte stream", or the container's name. */
    format: string;
    /** Whether an edited copy can be written in the same container. */
    writesContainer: boolean;
    /** By nal_unit_type. */
    typeNames: string[];
}

export interface ParameterSet {
    kind: "VPS" | "SPS" | "PPS";
    id: number;
    /** Number of the unit. */
    unit: number;
    /** Units that repeat it, itself included. */
    count: number;
    /** Hex, header first. */
    bytes: string;
}

export interface UserDataMessage {
    unit: number;
    /** The program that writes such messages, or an empty string. */
    writer: string;
    /** A UUID. */
    identifier: string;
    size: number;
    /** A time, text, or hex. */
    text: string;
}

export interface Finding {
    /** Number of the unit, or null for the stream as a whole. */
    unit: number | null;
    text: string;
}

export interface Lists {
    parameterSets: ParameterSet[];
    userData: UserDataMessage[];
    userDataCount: number;
    findings: Finding[];
    findingCount: number;
}

/** What is known of a file when it was read to its end (tools/inspect/Inspection.h). */
export interface Results extends Lists {
    /** Labels and texts, as `videoparams info` prints them. */
    description: [string, string][];
    /** Null: the file is not damaged. */
    damage: string | null;
    /** Absent if the tool read the file. */
    milliseconds?: number;
}

/** A file that `videoparams inspect` read: all that it writes into the page (tools/inspect/PageWriter.h). */
export interface EmbeddedFile {
    name: string;
    size: number;
    codec: Codec;
    format: string;
    /** Parameter sets that are beside the stream, in hex with start codes. */
    outOfBand: string[];
    results: Results;
    /** Records of the units and access units, in blocks. */
    units: ArrayBuffer[];
    accessUnits: ArrayBuffer[];
    /** The stream; null if it is too long for a page. */
    stream: Blob | null;
}

export type Edit =
    | { action: "add"; payload: Uint8Array }
    /** `all`: also that of other programs. */
    | { action: "remove"; all: boolean };

/** Units that are next to each other, by place in the stream. */
export interface Range {
    offset: number;
    size: number;
    /** Number of a parameter set that is beside the stream; the offset does not count. */
    outOfBand?: number;
}

export interface Requests {
    bytes: { request: Range; reply: Uint8Array };
    elements: { request: { unit: number; range: Range }; reply: Element[] };
    export: { request: ExportRequest; reply: ExportResult };
}

/** A syntax element, or the name of a structure. */
export interface Element {
    name: string;
    value?: number;
}

export interface ExportRequest {
    edit: Edit;
    /** Offset and size of each access unit to edit, in order. */
    accessUnits: Float64Array;
    /** Write the container of the file, not a byte stream. */
    container: boolean;
}

export interface ExportResult {
    blob: Blob;
    name: string;
    /** Access units that are different now. */
    edited: number;
    /** Access units that could not be edited, for they have no place for user data. */
    failed: number;
}

/** `opening`: the page counts the files that it opens, so that it can tell what is said about an earlier one. */
export type ToWorker =
    | { type: "open"; opening: number; file: Blob; name: string }
    | { type: "openEmbedded"; opening: number; file: EmbeddedFile }
    | { type: "cancel" }
    | { [Name in keyof Requests]: { type: Name; id: number; body: Requests[Name]["request"] } }[keyof Requests];

/** What happens while a file is read. */
export type Notice =
    | { type: "opened"; facts: FileFacts }
    | { type: "records"; units: ArrayBuffer; accessUnits: ArrayBuffer; read: number }
    /** `results`: JSON of Results, without `milliseconds`. The page reads a text much faster than many objects. */
    | { type: "finished"; results: string; milliseconds?: number }
    | { type: "failed"; message: string };

export type FromWorker =
    | { type: "notice"; opening: number; notice: Notice }
    | { type: "exporting"; done: number }
    | { type: "reply"; id: number; body: unknown }
    | { type: "refused"; id: number; message: string };
