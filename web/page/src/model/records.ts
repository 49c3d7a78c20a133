// The records of tools/inspect/Inspection.h, as they are in memory, in blocks: a stream has millions of them.

const recordsPerBlock = 32768;

interface Block {
    bytes: Uint8Array;
    view: DataView;
}

class Records {
    readonly #blocks: Block[] = [];
    #count = 0;

    constructor(private readonly recordSize: number) {}

    get count(): number {
        return this.#count;
    }

    append(records: ArrayBuffer): void {
        const source = new Uint8Array(records);
        for (let taken = 0; taken < source.length;) {
            const at = (this.#count % recordsPerBlock) * this.recordSize;
            if (at === 0) this.#addBlock();
            const { bytes } = this.#blocks[this.#blocks.length - 1]!;
            const step = source.subarray(taken, taken + bytes.length - at);
            bytes.set(step, at);
            taken += step.length;
            this.#count += step.length / this.recordSize;
        }
    }

    protected view(index: number): DataView {
        return this.#blocks[Math.floor(index / recordsPerBlock)]!.view;
    }

    protected at(index: number): number {
        return (index % recordsPerBlock) * this.recordSize;
    }

    #addBlock(): void {
        const buffer = new ArrayBuffer(recordsPerBlock * this.recordSize);
        this.#blocks.push({ bytes: new Uint8Array(buffer), view: new DataView(buffer) });
    }
}

export const noAccessUnit = 0xffffffff;

export class UnitRecords extends Records {
    constructor() {
        super(24);
    }

    offset(index: number): number {
        return this.view(index).getFloat64(this.at(index), true);
    }
    size(index: number): number {
        return this.view(index).getUint32(this.at(index) + 8, true);
    }
    /** Its number, or noAccessUnit. */
    accessUnit(index: number): number {
        return this.view(index).getUint32(this.at(index) + 12, true);
    }
    type(index: number): number {
        return this.view(index).getUint8(this.at(index) + 16);
    }
    startCodeLength(index: number): number {
        return this.view(index).getUint8(this.at(index) + 17);
    }
    /** -1: none */
    sliceType(index: number): number {
        return this.view(index).getInt8(this.at(index) + 18);
    }
    isSlice(index: number): boolean {
        return (this.#flags(index) & 1) !== 0;
    }
    isKeySlice(index: number): boolean {
        return (this.#flags(index) & 2) !== 0;
    }
    isUnreadable(index: number): boolean {
        return (this.#flags(index) & 4) !== 0;
    }
    hasHeader(index: number): boolean {
        return (this.#flags(index) & 8) !== 0;
    }
    /** Whether it is beside the stream, in a container's description of its samples. */
    isOutOfBand(index: number): boolean {
        return (this.#flags(index) & 16) !== 0;
    }
    /** nal_ref_idc of H.264, nuh_layer_id of H.265 */
    idc(index: number): number {
        return this.view(index).getUint8(this.at(index) + 20);
    }
    temporalIdPlus1(index: number): number {
        return this.view(index).getUint8(this.at(index) + 21);
    }
    /** 0: not measured */
    sliceHeaderLength(index: number): number {
        return this.view(index).getUint16(this.at(index) + 22, true);
    }

    #flags(index: number): number {
        return this.view(index).getUint8(this.at(index) + 19);
    }
}

export class AccessUnitRecords extends Records {
    constructor() {
        super(32);
    }

    offset(index: number): number {
        return this.view(index).getFloat64(this.at(index), true);
    }
    seconds(index: number): number {
        return this.view(index).getFloat64(this.at(index) + 8, true);
    }
    size(index: number): number {
        return this.view(index).getUint32(this.at(index) + 16, true);
    }
    firstUnit(index: number): number {
        return this.view(index).getUint32(this.at(index) + 20, true);
    }
    unitCount(index: number): number {
        return this.view(index).getUint32(this.at(index) + 24, true);
    }
    isKeyFrame(index: number): boolean {
        return this.view(index).getUint8(this.at(index) + 28) !== 0;
    }
    isField(index: number): boolean {
        return this.view(index).getUint8(this.at(index) + 29) !== 0;
    }
    sliceType(index: number): number {
        return this.view(index).getInt8(this.at(index) + 30);
    }
}
