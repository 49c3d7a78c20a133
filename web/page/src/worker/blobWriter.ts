// Collects the bytes of a new file. The browser keeps them, on disk if they are many.

const partSize = 8 << 20;

interface Part {
    position: number;
    blob: Blob;
}

export class BlobWriter {
    #parts: Part[] = [];
    #waiting: Uint8Array<ArrayBuffer>[] = [];
    #waitingSize = 0;
    #end = 0;

    /** At the end. The bytes are copied. */
    append(bytes: Uint8Array): void {
        this.#waiting.push(new Uint8Array(bytes));
        this.#waitingSize += bytes.length;
        if (this.#waitingSize >= partSize) this.#store();
    }

    /** At a position that may be within what was written before. */
    write(position: number, bytes: Uint8Array): void {
        if (position === this.#end + this.#waitingSize) {
            this.append(bytes);
            return;
        }
        this.#store();
        const end = position + bytes.length;
        const blob = new Blob([new Uint8Array(bytes)]);
        const before = this.#parts.flatMap((part) => cut(part, 0, position));
        const after = this.#parts.flatMap((part) => cut(part, end, Infinity));
        this.#parts = [...before, { position, blob }, ...after];
        this.#end = Math.max(this.#end, end);
    }

    finish(): Blob {
        this.#store();
        return new Blob(this.#parts.map(({ blob }) => blob));
    }

    #store(): void {
        if (this.#waitingSize === 0) return;
        this.#parts.push({ position: this.#end, blob: new Blob(this.#waiting) });
        this.#end += this.#waitingSize;
        this.#waiting = [];
        this.#waitingSize = 0;
    }
}

// What a part has between two positions.
function cut({ position, blob }: Part, begin: number, end: number): Part[] {
    const from = Math.max(begin - position, 0);
    const to = Math.min(end - position, blob.size);
    return from < to ? [{ position: position + from, blob: blob.slice(from, to) }] : [];
}
