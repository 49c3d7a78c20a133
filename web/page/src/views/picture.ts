// The selected picture, decoded by the browser from its key frame on.

import type { Model } from "../model/model.js";
import type { ParameterSet } from "../messages.js";
import { codecString } from "../model/codecString.js";
import { byId, bytesOfHex, count, messageOf } from "./dom.js";

const mostDecoded = 1000; // pictures from the key frame on
const nothing = -2; // neither a picture nor the note that none is selected (-1)
const mostBytes = 256e6; // of them

export class PictureView {
    readonly #canvas = byId<HTMLCanvasElement>("picture-canvas");
    readonly #note = byId("picture-note");
    #isShown = false;
    #drawn = nothing; // an access unit
    #attempt = 0; // counts, so that a picture that is not wanted any more stops

    constructor(private readonly model: Model) {
        model.on(["selection", "phase"], () => this.#update());
    }

    /** Nothing is decoded while nobody sees it. */
    set shown(isShown: boolean) {
        this.#isShown = isShown;
        this.#update();
    }

    #update(): void {
        const { model } = this;
        if (model.phase === "opening") this.#drawn = nothing;
        const wanted = model.selectedAccessUnit;
        if (!this.#isShown || wanted === this.#drawn) return;
        const attempt = ++this.#attempt;
        this.#drawn = wanted;
        this.#canvas.hidden = true;
        if (wanted < 0) return this.#say("Select a unit of a picture.");
        this.#decode(wanted, () => attempt === this.#attempt).catch((error: unknown) => {
            if (attempt === this.#attempt) this.#say(`The picture cannot be decoded: ${messageOf(error)}`);
        });
    }

    #say(text: string): void {
        this.#note.textContent = text;
    }

    async #decode(wanted: number, isWanted: () => boolean): Promise<void> {
        const config = this.#config(wanted);
        if (config === null) {
            this.#drawn = nothing;
            return this.#say("The parameter sets are not known yet.");
        }
        if (!("VideoDecoder" in window)) return this.#say("This browser cannot decode video for a page (WebCodecs).");
        const { supported } = await VideoDecoder.isConfigSupported(config);
        if (!supported) return this.#say(`This browser cannot decode ${config.codec}.`);
        const key = this.#keyFrameBefore(wanted);
        if (key < 0) return this.#say("There is no key frame before this picture.");
        if (wanted - key > mostDecoded)
            return this.#say(`The key frame is ${count(wanted - key)} pictures away: too far.`);
        this.#say("Decoding …");
        const frame = await this.#decodeFrom(key, wanted, config, isWanted);
        if (!isWanted()) return frame?.close();
        if (frame === null) return this.#say("The decoder gave no picture for this access unit.");
        this.#draw(frame);
        const { width, height } = this.#canvas;
        this.#say(
            `Picture of access unit ${count(wanted)}, ${width} × ${height}, decoded from key frame ${count(key)}.`,
        );
    }

    // The decoder also gets some pictures that follow: it may wait for them to bring pictures into order.
    async #decodeFrom(
        key: number,
        wanted: number,
        config: VideoDecoderConfig,
        isWanted: () => boolean,
    ): Promise<VideoFrame | null> {
        let found: VideoFrame | null = null;
        let failure: unknown = null;
        const target = this.#pairBegin(wanted);
        const decoder = new VideoDecoder({
            output: (frame) => {
                if (frame.timestamp === target && found === null) found = frame;
                else frame.close();
            },
            error: (error) => (failure = error),
        });
        decoder.configure(config);
        let size = 0;
        for (let first = key; first <= wanted && failure === null && isWanted() && size < mostBytes;) {
            const end = this.#pairEnd(first);
            const parts = first === key ? this.#parameterSets(wanted) : [];
            for (let index = first; index < end; ++index)
                parts.push(new Uint8Array(await this.model.request("bytes", this.model.rangeOfAccessUnit(index))));
            const data = await new Blob(parts).arrayBuffer();
            size += data.byteLength;
            if (failure !== null || decoder.state === "closed") break;
            const type = this.model.accessUnits.isKeyFrame(first) ? "key" : "delta";
            decoder.decode(new EncodedVideoChunk({ type, timestamp: first, data }));
            first = end;
        }
        if (failure === null && decoder.state === "configured") await decoder.flush();
        if (decoder.state !== "closed") decoder.close();
        if (failure !== null) throw failure;
        return found;
    }

    // Two fields are one picture for the decoder. The first one is the one after a frame, or after a second field.
    #pairBegin(index: number): number {
        const { accessUnits } = this.model;
        if (!accessUnits.isField(index)) return index;
        let first = index;
        while (first > 0 && accessUnits.isField(first - 1) && !accessUnits.isKeyFrame(first)) --first;
        return index - ((index - first) % 2);
    }

    #pairEnd(first: number): number {
        const { accessUnits } = this.model;
        const hasSecond = accessUnits.isField(first) && first + 1 < accessUnits.count && accessUnits.isField(first + 1);
        return hasSecond ? first + 2 : first + 1;
    }

    #keyFrameBefore(wanted: number): number {
        let key = wanted;
        while (key >= 0 && !this.model.accessUnits.isKeyFrame(key)) --key;
        return key;
    }

    #config(wanted: number): VideoDecoderConfig | null {
        const { facts } = this.model;
        const sps = this.#setsAt(wanted).find(({ kind }) => kind === "SPS");
        const codec = facts === null || sps === undefined ? null : codecString(facts.codec, bytesOfHex(sps.bytes));
        return codec === null ? null : { codec, optimizeForLatency: true };
    }

    // Each set as it was sent last, the latest first; a container has them outside of the stream.
    #setsAt(accessUnit: number): ParameterSet[] {
        const { results, accessUnits } = this.model;
        if (results === null) return [];
        const end = accessUnits.firstUnit(accessUnit) + accessUnits.unitCount(accessUnit);
        const last = new Map<string, ParameterSet>();
        for (const set of results.parameterSets)
            if (set.unit < end || !last.has(set.kind + set.id)) last.set(set.kind + set.id, set);
        return [...last.values()].sort((one, other) => other.unit - one.unit);
    }

    // A key frame may come without those that it needs.
    #parameterSets(accessUnit: number): Uint8Array<ArrayBuffer>[] {
        const order = ["VPS", "SPS", "PPS"];
        return this.#setsAt(accessUnit)
            .sort((one, other) => order.indexOf(one.kind) - order.indexOf(other.kind))
            .map(({ bytes }) => bytesOfHex(`00000001${bytes}`));
    }

    #draw(frame: VideoFrame): void {
        this.#canvas.width = frame.displayWidth;
        this.#canvas.height = frame.displayHeight;
        this.#canvas.getContext("2d")!.drawImage(frame, 0, 0, frame.displayWidth, frame.displayHeight);
        this.#canvas.hidden = false;
        frame.close();
    }
}
