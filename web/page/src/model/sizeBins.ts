// What a plot shows of many access units: for each column the largest size, apart for key frames and others.

import type { AccessUnitRecords } from "./records.js";

export interface SizeBins {
    /** Number of the access unit that each column begins with. */
    first: number[];
    largest: (number | null)[];
    largestKey: (number | null)[];
}

interface Largest {
    other: number;
    key: number;
}

const blockSize = 64;

/** Knows the largest sizes of whole blocks of access units, so that a view of all of them takes no longer than of some. */
export class SizeHistory {
    readonly #blocks: Largest[] = [];

    constructor(private readonly records: AccessUnitRecords) {}

    /** The access units from `begin` to `end` in at most `columns` columns; each has the same number of them. */
    bins(begin: number, end: number, columns: number): SizeBins {
        this.#addBlocks();
        const from = Math.max(Math.floor(begin), 0);
        const to = Math.min(Math.ceil(end), this.records.count);
        // A power of two, and aligned, so that columns keep their contents while the plot moves.
        const step = 2 ** Math.max(Math.ceil(Math.log2((to - from) / columns)), 0);
        const bins: SizeBins = { first: [], largest: [], largestKey: [] };
        for (let first = Math.floor(from / step) * step; first < to; first += step) {
            const { other, key } = this.#largest(first, Math.min(first + step, this.records.count));
            bins.first.push(first);
            bins.largest.push(other === 0 ? null : other);
            bins.largestKey.push(key === 0 ? null : key);
        }
        return bins;
    }

    #addBlocks(): void {
        for (let first = this.#blocks.length * blockSize; first + blockSize <= this.records.count; first += blockSize)
            this.#blocks.push(this.#scan(first, first + blockSize));
    }

    #largest(first: number, end: number): Largest {
        if (end - first < blockSize) return this.#scan(first, end);
        const result = { other: 0, key: 0 };
        let at = first;
        for (; at + blockSize <= end; at += blockSize) merge(result, this.#blocks[at / blockSize]!);
        merge(result, this.#scan(at, end));
        return result;
    }

    #scan(first: number, end: number): Largest {
        const result = { other: 0, key: 0 };
        for (let index = first; index < end; ++index) {
            const size = this.records.size(index);
            if (this.records.isKeyFrame(index)) result.key = Math.max(result.key, size);
            else result.other = Math.max(result.other, size);
        }
        return result;
    }
}

function merge(result: Largest, { other, key }: Largest): void {
    result.other = Math.max(result.other, other);
    result.key = Math.max(result.key, key);
}
