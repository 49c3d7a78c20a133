// Writes the container of a file again, its video edited. The packets of all other tracks are copied as they are.

import {
    EncodedAudioPacketSource,
    EncodedPacketSink,
    EncodedVideoPacketSource,
    MkvOutputFormat,
    MovOutputFormat,
    Mp4OutputFormat,
    MpegTsOutputFormat,
    Output,
    StreamTarget,
    type EncodedPacket,
    type InputTrack,
    type OutputFormat,
    type StreamTargetChunk,
} from "mediabunny";
import type { Parser } from "videoparams";
import { BlobWriter } from "./blobWriter.js";
import type { ContainerSource } from "./container.js";
import type { Editor } from "./export.js";
import { FileError } from "./source.js";

/** A track on its way from the file to the copy. */
interface Route {
    packets: AsyncGenerator<EncodedPacket>;
    next: EncodedPacket | null;
    add: (packet: EncodedPacket) => Promise<void>;
}

const formats: readonly [name: RegExp, make: () => OutputFormat][] = [
    [/MP4/i, () => new Mp4OutputFormat({ fastStart: false })],
    [/QuickTime/i, () => new MovOutputFormat({ fastStart: false })],
    [/Matroska/i, () => new MkvOutputFormat()],
    [/MPEG Transport/i, () => new MpegTsOutputFormat()],
];

export function canWrite(format: string): boolean {
    return formats.some(([name]) => name.test(format));
}

export async function writeContainer(
    source: ContainerSource,
    accessUnits: Float64Array,
    editor: Editor,
    parser: Parser,
    report: (done: number) => void,
): Promise<Blob> {
    const make = formats.find(([name]) => name.test(source.format))?.[1];
    if (make === undefined) throw new FileError(`${source.format} files cannot be written.`);
    const writer = new BlobWriter();
    const writable = new WritableStream<StreamTargetChunk>({
        write: ({ position, data }) => writer.write(position, data),
    });
    const output = new Output({ format: make(), target: new StreamTarget(writable, { chunked: true }) });
    const samples = new SampleEditor(source, accessUnits, editor, parser);
    const duration = await source.track.computeDuration();
    const routes: Route[] = [];
    for (const track of await source.input.getTracks()) {
        const add = await addTrack(output, track);
        if (add === null) continue;
        const isEdited = track.id === source.track.id;
        const packets = new EncodedPacketSink(track).packets();
        routes.push({ packets, next: null, add: isEdited ? (packet) => add(samples.edit(packet)) : add });
    }
    await output.start();
    await copyPackets(routes, (seconds) => report(seconds / duration));
    await output.finalize();
    return writer.finish();
}

// Returns what takes the packets; null for a track that the library cannot copy.
async function addTrack(output: Output, track: InputTrack): Promise<Route["add"] | null> {
    const metadata = { languageCode: await track.getLanguageCode() };
    if (track.isVideoTrack()) {
        const codec = await track.getCodec();
        const decoderConfig = await track.getDecoderConfig();
        if (codec === null || decoderConfig === null) return null;
        const source = new EncodedVideoPacketSource(codec);
        output.addVideoTrack(source, { ...metadata, rotation: await track.getRotation() });
        return (packet) => source.add(packet, { decoderConfig });
    }
    if (track.isAudioTrack()) {
        const codec = await track.getCodec();
        const decoderConfig = await track.getDecoderConfig();
        if (codec === null || decoderConfig === null) return null;
        const source = new EncodedAudioPacketSource(codec);
        output.addAudioTrack(source, metadata);
        return (packet) => source.add(packet, { decoderConfig });
    }
    return null;
}

// The track whose packet comes first goes on, so that the copy is interleaved.
async function copyPackets(routes: Route[], report: (seconds: number) => void): Promise<void> {
    const advance = async (route: Route): Promise<void> => {
        const { done, value } = await route.packets.next();
        route.next = done ? null : value;
    };
    for (const route of routes) await advance(route);
    for (;;) {
        const waiting = routes.filter(({ next }) => next !== null);
        if (waiting.length === 0) return;
        const first = waiting.reduce((one, other) => (other.next!.timestamp < one.next!.timestamp ? other : one));
        await first.add(first.next!);
        report(first.next!.timestamp);
        await advance(first);
    }
}

// Edits the samples whose access units are chosen.
class SampleEditor {
    #offset = 0;
    #next = 0;

    constructor(
        private readonly source: ContainerSource,
        private readonly accessUnits: Float64Array,
        private readonly editor: Editor,
        private readonly parser: Parser,
    ) {}

    edit(packet: EncodedPacket): EncodedPacket {
        const { form } = this.source;
        const stream = form.toByteStream(packet.data);
        const end = this.#offset + stream.length;
        const isChosen = this.#next < this.accessUnits.length && this.accessUnits[this.#next]! < end;
        this.#offset = end;
        if (!isChosen) return packet;
        while (this.#next < this.accessUnits.length && this.accessUnits[this.#next]! < end) this.#next += 2;
        const edited = this.editor.apply(stream);
        const isByteStream = form.lengthSize === 0;
        return packet.clone({
            data: isByteStream ? edited : form.fromUnits(this.parser.units(edited).map(({ data }) => data)),
        });
    }
}
