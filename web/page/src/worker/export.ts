// Writes an edited copy of a stream: as a byte stream, or in the container that it came in.

import { VideoParams, VideoParamsError, type UserData } from "videoparams";
import type { Codec, Edit, ExportRequest, ExportResult } from "../messages.js";
import { BlobWriter } from "./blobWriter.js";
import { ContainerSource, concatenate } from "./container.js";
import { writeContainer } from "./containerWriter.js";
import type { Inspector } from "./inspector.js";
import type { StreamSource } from "./source.js";

type Report = (done: number) => void;

/** Edits access units, one at a time. */
export class Editor {
    edited = 0;
    failed = 0;

    constructor(
        private readonly codec: Codec,
        private readonly edit: Edit,
        private readonly userData: UserData,
        private readonly inspector: Inspector,
    ) {}

    apply(accessUnit: Uint8Array): Uint8Array {
        try {
            const copy = this.#edited(accessUnit);
            this.edited += Number(copy.length !== accessUnit.length);
            return copy;
        } catch (error) {
            if (!(error instanceof VideoParamsError) || error.reason === "lost") throw error;
            ++this.failed;
            return accessUnit;
        }
    }

    #edited(accessUnit: Uint8Array): Uint8Array {
        if (this.edit.action === "add") return this.userData.add(accessUnit, this.edit.payload);
        return this.inspector.withoutUserData(this.codec, accessUnit, this.edit.all);
    }
}

export async function exportStream(
    source: StreamSource,
    file: { blob: Blob; name: string },
    request: ExportRequest,
    inspector: Inspector,
    report: Report,
): Promise<ExportResult> {
    const videoParams = await VideoParams.load();
    const editor = new Editor(source.codec, request.edit, videoParams.userData(source.codec), inspector);
    const isContainer = request.container && source instanceof ContainerSource;
    const blob = isContainer
        ? await writeContainer(source, request.accessUnits, editor, videoParams.parser(source.codec), report)
        : await writeByteStream(source, request.accessUnits, editor, file.blob.size, report);
    const extension = isContainer ? (/\.\w+$/.exec(file.name)?.[0] ?? "") : `.${source.codec}`;
    const { edited, failed } = editor;
    return { blob, name: `${file.name.replace(/\.\w+$/, "")}-edited${extension}`, edited, failed };
}

async function writeByteStream(
    source: StreamSource,
    accessUnits: Float64Array,
    editor: Editor,
    fileSize: number,
    report: Report,
): Promise<Blob> {
    const writer = new BlobWriter();
    let rest: Uint8Array = new Uint8Array(); // of an access unit that goes on in the next piece
    let offset = 0; // of the rest in the stream
    let next = 0; // in accessUnits
    for await (const piece of source.pieces()) {
        const bytes = rest.length === 0 ? piece.bytes : concatenate([rest, piece.bytes]);
        let at = 0;
        for (; next < accessUnits.length; next += 2) {
            const begin = accessUnits[next]! - offset;
            const end = begin + accessUnits[next + 1]!;
            writer.append(bytes.subarray(at, begin));
            at = Math.min(begin, bytes.length);
            if (end > bytes.length) break;
            writer.append(editor.apply(bytes.subarray(begin, end)));
            at = end;
        }
        if (next === accessUnits.length) {
            writer.append(bytes.subarray(at));
            at = bytes.length;
        }
        rest = bytes.slice(at);
        offset += at;
        report(piece.read / fileSize);
    }
    writer.append(rest);
    return writer.finish();
}
