// How the samples of a container hold their units: each after its length (ISO/IEC 14496-15), or as a byte stream.
//
//     avcC: version 1, profile, compatibility, level, 6 bits and lengthSizeMinusOne (2), 3 bits and the number of SPS (5),
//           for each its length (16) and bytes, the number of PPS (8), the same
//     hvcC: 21 bytes, 6 bits and lengthSizeMinusOne (2), the number of arrays (8), for each a type (8), the number of
//           units (16), for each its length (16) and bytes

import type { Codec } from "../messages.js";

const startCode = Uint8Array.of(0, 0, 0, 1);

export class SampleForm {
    /** Bytes of a length; 0: start codes. */
    readonly lengthSize: number;
    /** With start codes. */
    readonly parameterSets: Uint8Array[] = [];

    constructor(codec: Codec, description: AllowSharedBufferSource | undefined) {
        const record = description === undefined ? new Uint8Array() : bytesOf(description);
        const hasLengths = record.length > 6 && record[0] === 1;
        const lengthAt = codec === "h264" ? 4 : 21;
        this.lengthSize = hasLengths ? ((record[lengthAt] ?? 3) & 3) + 1 : 0;
        if (!hasLengths) return;
        if (codec === "h264") this.#readAvc(record);
        else this.#readHevc(record);
    }

    toByteStream(sample: Uint8Array): Uint8Array {
        if (this.lengthSize === 0) return sample;
        const units = [...this.#unitsOf(sample)];
        const stream = new Uint8Array(units.reduce((sum, unit) => sum + startCode.length + unit.length, 0));
        let at = 0;
        for (const unit of units) {
            stream.set(startCode, at);
            stream.set(unit, at + startCode.length);
            at += startCode.length + unit.length;
        }
        return stream;
    }

    /** The other way round; the units begin with start codes. */
    fromUnits(units: readonly Uint8Array[]): Uint8Array {
        const bare = units.map((unit) => unit.subarray(unit[2] === 1 ? 3 : 4));
        const sample = new Uint8Array(bare.reduce((sum, unit) => sum + this.lengthSize + unit.length, 0));
        let at = 0;
        for (const unit of bare) {
            for (let byte = 0; byte < this.lengthSize; ++byte)
                sample[at + byte] = unit.length / 2 ** (8 * (this.lengthSize - 1 - byte));
            sample.set(unit, at + this.lengthSize);
            at += this.lengthSize + unit.length;
        }
        return sample;
    }

    // A length that is too large ends at the sample's end.
    *#unitsOf(sample: Uint8Array): Generator<Uint8Array> {
        for (let at = 0; at + this.lengthSize <= sample.length;) {
            let length = 0;
            for (let byte = 0; byte < this.lengthSize; ++byte) length = length * 256 + sample[at + byte]!;
            at += this.lengthSize;
            yield sample.subarray(at, at + length);
            at += length;
        }
    }

    #readAvc(record: Uint8Array): void {
        const afterSps = this.#readSets(record, 6, (record[5] ?? 0) & 0x1f);
        this.#readSets(record, afterSps + 1, record[afterSps] ?? 0);
    }

    #readHevc(record: Uint8Array): void {
        let at = 23;
        for (let arrays = record[22] ?? 0; arrays > 0 && at < record.length; --arrays)
            at = this.#readSets(record, at + 3, (record[at + 1] ?? 0) * 256 + (record[at + 2] ?? 0));
    }

    #readSets(record: Uint8Array, at: number, count: number): number {
        for (; count > 0 && at + 2 <= record.length; --count) {
            const length = record[at]! * 256 + record[at + 1]!;
            const set = new Uint8Array(startCode.length + length);
            set.set(startCode);
            set.set(record.subarray(at + 2, at + 2 + length), startCode.length);
            this.parameterSets.push(set);
            at += 2 + length;
        }
        return at;
    }
}

function bytesOf(source: AllowSharedBufferSource): Uint8Array {
    return ArrayBuffer.isView(source)
        ? new Uint8Array(source.buffer, source.byteOffset, source.byteLength)
        : new Uint8Array(source);
}
